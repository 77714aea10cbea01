"""cmake --install brings what users need and nothing of what developers need, and it runs there."""

import configparser
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/support"))

from waiting import wait_for  # noqa: E402

BUILD = pathlib.Path(os.environ["VORNAK_BUILD"])
SIZES = (16, 24, 32, 48, 64, 128, 256)
DOC = "share/doc/vornak-publish"
PUBLISHER = {"bin/vornak-publish", "share/man/man1/vornak-publish.1", f"{DOC}/publishing.md",
             f"{DOC}/security.md", f"{DOC}/examples/vornak-content.conf", f"{DOC}/examples/vornak-site.conf",
             f"{DOC}/examples/upload"}
LAUNCHER = {"bin/vornak-launcher", "share/applications/vornak-launcher.desktop",
            *(f"share/icons/hicolor/{size}x{size}/apps/vornak-launcher.png" for size in SIZES)}


class TestInstall(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vornak-install-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.prefix = self.folder / "a prefix"

    def install(self, *options):
        subprocess.run([os.environ["CMAKE_COMMAND"], "--install", BUILD, "--prefix", self.prefix,
                        *options], check=True, capture_output=True)
        return {str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*")
                if path.is_file()}

    def test_brings_both_and_nothing_else(self):
        self.assertEqual(self.install(), PUBLISHER | LAUNCHER)

    def test_publisher_comes_alone_and_works(self):
        self.assertEqual(self.install("--component", "publisher"), PUBLISHER)
        program = self.prefix / "bin/vornak-publish"
        told = subprocess.run([program, "--version"], check=True, text=True, capture_output=True)
        self.assertEqual(told.stdout.splitlines()[0],
                         f"vornak-publish {os.environ['VORNAK_VERSION']}")
        client, content = self.folder / "client", self.folder / "content"
        client.mkdir()
        (client / "quelra.exe").write_bytes(b"program")
        subprocess.run([program, "package", client, content, "--version", "1", "--executable",
                        "quelra.exe", "--quiet"], check=True)
        subprocess.run([program, "verify", content, "--quiet"], check=True)
        libraries = subprocess.run(["ldd", program], check=True, text=True,
                                   capture_output=True).stdout
        self.assertNotIn("Qt6Gui", libraries)
        self.assertIn("Qt6Core", libraries)

    def test_launcher_comes_alone_and_starts(self):
        self.assertEqual(self.install("--component", "launcher"), LAUNCHER)
        program = self.prefix / "bin/vornak-launcher"
        data, log = self.folder / "data", self.folder / "log"
        with log.open("wb") as sink:
            launcher = subprocess.Popen(
                [program], stdout=sink, stderr=sink,
                env={**os.environ, "HOME": str(self.folder), "XDG_DATA_HOME": str(data),
                     "XDG_CONFIG_HOME": str(self.folder / "config"),
                     "XDG_RUNTIME_DIR": str(self.folder / "run"),
                     "QT_QPA_PLATFORM": "offscreen",
                     # Nobody answers there.
                     "VORNAK_CDN_URL": "http://127.0.0.1:9"})
        try:
            # Its window stands when it asks for the first time.
            wait_for(lambda: "Download failed" in log.read_text(), "the launcher to start")
            self.assertEqual((data / "Vornak/launcher.path").read_text(), str(program))
            self.assertIsNone(launcher.poll())
        finally:
            launcher.kill()
            launcher.wait()

    def test_desktop_entry_names_what_is_installed(self):
        files = self.install("--component", "launcher")
        parser = configparser.RawConfigParser(delimiters="=")
        parser.optionxform = str
        parser.read(self.prefix / "share/applications/vornak-launcher.desktop", encoding="utf-8")
        entry = parser["Desktop Entry"]
        self.assertEqual(entry["Type"], "Application")
        self.assertIn("bin/" + entry["Exec"], files)
        for size in SIZES:
            picture = f"share/icons/hicolor/{size}x{size}/apps/{entry['Icon']}.png"
            self.assertIn(picture, files)
            # Width and height stand in the first chunk.
            head = (self.prefix / picture).read_bytes()[16:24]
            self.assertEqual(head, 2 * size.to_bytes(4, "big"))


if __name__ == "__main__":
    unittest.main()
