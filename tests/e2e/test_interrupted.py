"""A launcher that is killed at any moment leaves nothing that the next start cannot finish."""

import hashlib
import json
import os
import random
import time
import unittest

import kit

ROUNDS = int(os.environ.get("VORNAK_KILL_ROUNDS", "25"))


def client(version):
    """Two versions with some files in common; big enough to be caught at work."""
    files = {f"data/shared-{i}.bin": kit.noise(i, 400_000) for i in range(4)}
    files |= {f"data/own-{i}.bin": kit.noise(f"{version}-{i}", 700_000) for i in range(6)}
    files["data/text.txt"] = (version + "\n").encode() * 400_000
    return files


class Killed(kit.EndToEnd):
    rate = "40m"
    needs_display = False

    def check_every_file_is_whole(self, versions):
        """Whatever is there has the content of one of the versions."""
        known = {}
        for files in versions:
            for path, data in files.items():
                known.setdefault(path, set()).add(hashlib.sha256(data).digest())
        for path, data in self.launcher.installed().items():
            if path == "bin/quelra":
                continue
            self.assertIn(path, known, "something half-made was left behind")
            self.assertIn(hashlib.sha256(data).digest(), known[path], path)
        document = self.launcher.package / "package.json"
        if document.exists():
            json.loads(document.read_text())

    def test_installation_and_update_survive_kills(self):
        seed = int(os.environ.get("VORNAK_SEED", random.randrange(1_000_000)))
        print(f"seed {seed}, {ROUNDS} kills; VORNAK_SEED and VORNAK_KILL_ROUNDS set them")
        chance = random.Random(seed)
        old, new = client("1.0"), client("1.1")
        self.site.publish("1.0", old, options=["--level", "0"])
        self.site.start()
        self.launcher.start("--patch")
        began = time.monotonic()
        self.assertEqual(self.launcher.ended(), 0)
        whole = time.monotonic() - began
        self.site.publish("1.1", new, options=["--level", "0"])

        for round_number in range(ROUNDS):
            # From nothing in every other round, from the old version in the rest.
            if round_number % 2 == 0:
                self.assertTrue(self.launcher.home.exists())
                kit.shutil.rmtree(self.launcher.home / "data")
            self.launcher.start("--patch")
            time.sleep(chance.uniform(0.02, whole))
            finished = self.launcher.process.poll() is not None
            self.launcher.kill()
            self.check_every_file_is_whole([old, new])
            if not finished:
                self.assertIn(self.launcher.marker("package.json.version"), (None, "1.0", "1.1"))
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)
        self.assertEqual(self.launcher.marker("package.json.version"), "1.1")
        self.assertIsNone(self.launcher.marker("partial.package.json.version"))
        installed = self.launcher.installed()
        for path, data in new.items():
            self.assertEqual(hashlib.sha256(installed[path]).digest(),
                             hashlib.sha256(data).digest(), path)


if __name__ == "__main__":
    unittest.main(verbosity=2)
