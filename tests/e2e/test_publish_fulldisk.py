"""A full disk stops a publication; it neither breaks what is there nor blocks the way out."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import kit
import publishkit

# A file system of its own can be mounted by anybody in name spaces of their own.
OWN_MOUNTS = ["unshare", "--user", "--map-root-user", "--mount"]
REASON = "No space left on device"


class FullDisk(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.disk = self.folder / "disk"
        self.disk.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=8m", "none", self.disk], check=True)
        self.addCleanup(subprocess.run, ["umount", self.disk], check=True)
        self.content = self.disk / "content"
        for version in (1, 2):
            self.publish(version)

    def publish(self, version, code=0):
        source = self.folder / f"client-{version}"
        source.mkdir(exist_ok=True)
        for number in range(4):
            (source / f"{number}.bin").write_bytes(kit.noise(version * 10 + number, 300_000))
        (source / "client").write_bytes(b"program")
        return publishkit.run("package", source, self.content, "--version", version,
                              "--executable", "client", "--level", "0", code=code)

    def fill(self):
        """Leaves no byte free."""
        with open(self.disk / "other", "ab", buffering=0) as other:
            size = 1 << 16
            while size:
                try:
                    other.write(bytes(size))
                except OSError:
                    size //= 2
        self.assertEqual(os.statvfs(self.disk).f_bavail, 0)

    def current(self):
        return publishkit.document(self.content)["version"]

    def test_a_publication_fails_with_the_systems_reason(self):
        self.fill()
        faults = self.publish(3, code=1)["faults"]
        self.assertEqual(len(faults), 1)
        self.assertIn(REASON, faults[0])
        self.assertEqual(self.current(), "2")
        publishkit.run("verify", self.content)
        hints = self.folder / "hints.json"
        hints.write_text('["<table><tr><td>x</td></tr></table>"]')
        self.assertIn(REASON, publishkit.run("hints", hints, self.content, code=1)["faults"][0])
        self.assertFalse((self.content / "hints.json").exists())

    def test_switch_and_prune_work(self):
        self.fill()
        publishkit.run("switch", self.content, "--version", "1")
        self.assertEqual(self.current(), "1")
        publishkit.run("verify", self.content)

        # What was kept for this has been used up.
        self.fill()
        faults = publishkit.run("switch", self.content, "--version", "2", code=1)["faults"]
        self.assertIn(REASON, faults[0])
        self.assertEqual(self.current(), "1")

        done = publishkit.run("prune", self.content, "--keep", "0")
        self.assertEqual(done["removed"], ["Quelra 2"])
        publishkit.run("verify", self.content, "--all")
        self.assertGreater(os.statvfs(self.disk).f_bavail, 0)
        # Whoever makes room gets back what is kept.
        (self.disk / "other").unlink()
        self.publish(3)
        self.fill()
        publishkit.run("switch", self.content, "--version", "1")
        self.assertEqual(self.current(), "1")


if __name__ == "__main__":
    if "VORNAK_OWN_MOUNTS" in os.environ:
        publishkit.main()
    elif subprocess.run([*OWN_MOUNTS, "true"], capture_output=True).returncode == 0:
        os.environ["VORNAK_OWN_MOUNTS"] = "1"
        os.execvp(OWN_MOUNTS[0], [*OWN_MOUNTS, sys.executable, *sys.argv])
    else:
        print("skipped: no file system can be mounted here; on Debian: "
              "sysctl kernel.unprivileged_userns_clone=1, or run it as root", file=sys.stderr)
