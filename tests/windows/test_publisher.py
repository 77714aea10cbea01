"""The publisher under Wine: what it makes, it makes like the one on Linux."""

import contextlib
import json
import os
import pathlib
import pty
import random
import select
import subprocess
import tempfile
import unittest

from kit import PATIENCE, PUBLISHER, RELEASES, ROOT, Site, served, windows_path, write_files

PROGRAM = RELEASES / "1.0/publisher/vornak-publish.exe"
DRIVES = pathlib.Path(os.environ["WINEPREFIX"]) / "dosdevices"
# A name that is no name in any single code page.
STRANGE = "größe λ 漢字 😀"


def same_for_both(content):
    """As served(), without what differs from one publication to the next: an identity of assets is the
    hash of their list and then digits at random."""
    return {path: data.split(b"-")[0] if path.endswith("/assets.txt") else data
            for path, data in served(content).items()}


def client(folder, version):
    """A client's folder; versions differ in one file."""
    numbers = random.Random(1)
    files = {"bin/quelra.exe": b"program " * 5000 + version,
             f"{STRANGE}/{STRANGE}.txt": STRANGE.encode() * 100,
             # Qt on Windows would follow what it takes for a shortcut.
             "play.lnk": b"L\0\0\0 no real one",
             ".hidden": b"x", "empty": b"",
             "assets/sky.bin": numbers.randbytes(300_000), "assets/copy.bin": b"program"}
    write_files(folder, files)
    return folder


class TestPublisher(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vornak-publisher-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.content = self.folder / f"content {STRANGE}"

    def run_program(self, *words, code=0):
        done = subprocess.run(["wine64", PROGRAM, *map(str, words)], capture_output=True, timeout=300)
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        self.assertNotIn(b"\r\n", done.stdout + done.stderr)
        return done

    def publish(self, version):
        source = client(self.folder / "client", version.encode())
        words = ["package", "--version", version, "--executable", "bin/quelra.exe", "--assets",
                 "assets", "--generation", STRANGE, "--level", "6"]
        self.run_program(*words, windows_path(source), windows_path(self.content), "--quiet")
        subprocess.run([PUBLISHER, *words, source, self.folder / "linux", "--quiet"], check=True)

    def test_publishes_like_the_one_on_linux(self):
        self.publish("1.0")
        self.assertGreater(len(served(self.content)), 8)
        self.assertEqual(same_for_both(self.content), same_for_both(self.folder / "linux"))
        self.publish("1.1")
        words = ["hints", ROOT / "resources/hints.json", self.content,
                 "--images", ROOT / "tools/democlient/images"]
        self.run_program(*(windows_path(word) if isinstance(word, pathlib.Path) else word
                           for word in words))
        words[2] = self.folder / "linux"
        subprocess.run([PUBLISHER, *words, "--quiet"], check=True)
        self.assertEqual(same_for_both(self.content), same_for_both(self.folder / "linux"))

    def test_verifies_switches_and_prunes(self):
        self.publish("1.0")
        self.publish("1.1")
        content = windows_path(self.content)
        self.run_program("switch", content, "--version", "1.0")
        done = self.run_program("prune", content, "--keep", "0", "--json")
        self.assertEqual(json.loads(done.stdout)["removed"], ["Quelra 1.1"])
        self.assertFalse(list(self.content.glob(".publisher/unfinished/*")))
        self.run_program("verify", content)
        # The one on Linux agrees, and goes on where this one stopped.
        subprocess.run([PUBLISHER, "verify", self.content, "--quiet"], check=True)
        packed = next(path for path in self.content.rglob("*.lzma"))
        packed.write_bytes(packed.read_bytes()[:-1])
        done = self.run_program("verify", content, code=1)
        self.assertIn(packed.name.encode(), done.stderr)

    def test_verifies_a_server(self):
        self.publish("1.0")
        site = Site(self.folder)
        site.content = self.content
        site.start()
        self.addCleanup(site.stop)
        done = self.run_program("verify", "--url", site.address)
        self.assertIn(b"no fault in 1 build,", done.stdout)

    def test_takes_the_root_of_a_drive(self):
        source, target = client(self.folder / "client", b""), self.folder / "target"
        target.mkdir()
        for letter, folder in (("p", source), ("q", target)):
            drive = DRIVES / f"{letter}:"
            drive.symlink_to(folder)
            self.addCleanup(drive.unlink)
        self.run_program("package", "P:\\", "Q:\\", "--version", "1", "--executable",
                         "bin/quelra.exe", "--assets", "P:\\assets", "--level", "1", "--quiet")
        self.run_program("verify", "q:/")
        self.assertIn("launcher/quelrametadata.json", served(target))
        documents = json.loads(next(target.rglob("package.json")).read_bytes())
        self.assertEqual(len(documents["files"]), 5)

    def test_tells_its_version_and_its_faults_in_utf8(self):
        told = self.run_program("--version").stdout.decode()
        self.assertEqual(told.splitlines()[0], f"vornak-publish {os.environ['VORNAK_VERSION']}")
        done = self.run_program(STRANGE, code=2)
        self.assertIn(f"unknown command '{STRANGE}'\n", done.stderr.decode())

    def test_a_console_shows_every_character(self):
        controller, terminal = pty.openpty()
        # Characters of one unit: Wine's console knows no others.
        name = "größe-λ-漢字"
        process = subprocess.Popen(["wine64", PROGRAM, name], stdin=terminal, stdout=terminal,
                                   stderr=terminal, start_new_session=True)
        os.close(terminal)
        self.addCleanup(os.close, controller)
        self.assertEqual(process.wait(timeout=PATIENCE), 2)
        # Not to the end: whatever of Wine's own was started meanwhile holds the terminal open.
        shown = b""
        # Once nobody holds it open any more, reading fails behind the last byte.
        with contextlib.suppress(OSError):
            while select.select([controller], [], [], 0)[0]:
                shown += os.read(controller, 4096)
        self.assertIn(f"unknown command '{name}'", shown.decode())


if __name__ == "__main__":
    unittest.main()
