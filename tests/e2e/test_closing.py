"""A player closes the window: the launcher ends, whatever it was doing."""

import time
import unittest

import kit
from kit import wait_for
from xclose import Closer


class Closing(kit.EndToEnd):
    rate = "200k"

    def setUp(self):
        super().setUp()
        self.site.publish("1.0", {"data.bin": kit.noise(1, 3_000_000)}, options=["--level", "0"])
        self.site.start()
        self.launcher.accept_licence()
        self.closer = Closer(self.display.name)

    def assert_ends_soon(self):
        self.assertEqual(self.launcher.ended(seconds=10), 0)
        self.assertIsNone(self.launcher.marker("package.json.version"))

    def test_as_soon_as_it_shows(self):
        self.launcher.start("--patch")
        self.closer.close_next_at_once()
        self.assert_ends_soon()
        self.assertEqual(self.launcher.installed(), {})

    def test_at_any_moment_of_its_start(self):
        for hundredths in range(12):
            with self.subTest(seconds=hundredths / 100):
                self.launcher.start()
                window = self.launcher.window()
                time.sleep(hundredths / 100)
                self.closer.close(window)
                self.assert_ends_soon()

    def test_while_it_downloads(self):
        self.launcher.start("--patch")
        wait_for(lambda: self.launcher.marker("partial.package.json.version"), "the installation")
        time.sleep(1)
        # What is left of the file would take longer than the patience of this.
        self.closer.close(self.launcher.window())
        self.assert_ends_soon()
        self.assertEqual(self.launcher.marker("partial.package.json.version"), "1.0")
        self.assertNotIn("data.bin", self.launcher.installed())


if __name__ == "__main__":
    unittest.main(verbosity=2)
