"""A launcher replaces itself: two real releases, from 1.0 to 1.1."""

import shutil
import subprocess
import unittest

import kit
from kit import wait_for


class SelfUpdate(kit.EndToEnd):
    needs_display = False

    def publish_launcher(self, version):
        source = self.folder / f"launcher-{version}"
        source.mkdir()
        shutil.copy(kit.BIN / f"vornak-launcher-{version}", source / "vornak-launcher")
        (source / "notes.txt").write_text(version)
        self.site.publish_launcher(source, version, "vornak-launcher")

    def test_no_launcher_of_another_version_is_published(self):
        source = self.folder / "launcher"
        source.mkdir()
        for program, version, fault in (
                ("vornak-launcher", "1.2", "version dev, which never updates itself"),
                ("vornak-launcher", "dev", "version dev, which never updates itself"),
                ("vornak-launcher-1.0", "1.1", "version 1.0, not with 1.1"),
                ("quelra-demo-client", "1.1", "carries no version")):
            shutil.copy(kit.BIN / program, source / "vornak-launcher")
            done = subprocess.run([kit.BIN / "vornak-publish", "launcher", source,
                                   self.site.content, "--version", version,
                                   "--executable", "vornak-launcher", "--quiet"],
                                  text=True, stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 1, program)
            self.assertIn(fault, done.stderr)
            self.assertFalse(self.site.content.exists())

    def test_from_one_release_to_the_next(self):
        program = self.folder / "program"
        program.mkdir()
        shutil.copy(kit.BIN / "vornak-launcher-1.0", program / "vornak-launcher")
        (program / "package.json").write_text("not the launcher's")
        self.launcher.binary = program / "vornak-launcher"
        self.site.publish("1.0", {"data.bin": b"data"})
        self.publish_launcher("1.0")
        self.site.start()

        # Its own version is offered: nothing to replace.
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)
        self.assertFalse((self.launcher.data / "self-update").exists())

        self.publish_launcher("1.1")
        self.site.forget_requests()
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)
        new = (kit.BIN / "vornak-launcher-1.1").read_bytes()
        self.assertEqual(self.launcher.binary.read_bytes(), new)
        self.assertEqual((program / "notes.txt").read_text(), "1.1")
        self.assertEqual((program / "package.json").read_text(), "not the launcher's")
        # The new one runs by itself, finds itself current and waits for the player.
        wait_for(lambda: self.site.requests().count("/launcher/quelrametadata.json") == 2,
                 "the new launcher")
        kit.kill_programs(self.launcher.binary)
        self.assertEqual(len(self.launcher.records()), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
