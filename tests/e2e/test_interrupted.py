"""A launcher that is killed at any moment leaves nothing that the next start cannot finish."""

import hashlib
import json
import os
import random
import shutil
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


# What a file is called while it is made, where the file system wants a name for it.
UNFINISHED = "unfinished.vornak-new"


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
            # Between getting its name and its place, for some microseconds.
            if path in ("bin/quelra", UNFINISHED):
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
                shutil.rmtree(self.launcher.home / "data")
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
        self.assertNotIn(UNFINISHED, installed)
        for path, data in new.items():
            self.assertEqual(hashlib.sha256(installed[path]).digest(),
                             hashlib.sha256(data).digest(), path)


class KilledHalfway(kit.EndToEnd):
    """The file that is being received when the launcher is killed takes seconds."""

    rate = "3m"
    needs_display = False
    size = 9_000_000
    environment = {}
    may_be_left = set()

    def kill_after(self, seconds):
        """Kills the launcher so long after it began to install; what lies in the folder then."""
        began = self.launcher.package / "partial.package.json.version"
        self.launcher.start("--patch", **self.environment)
        kit.wait_for(began.exists, "the installation to begin")
        time.sleep(seconds)
        self.assertIsNone(self.launcher.process.poll(), "the installation was too fast")
        self.launcher.kill()
        return set(self.launcher.installed())

    def test_a_file_killed_at_every_stage_is_installed_by_the_next_run(self):
        data = kit.noise("half", self.size)
        self.site.publish("1.0", {"data/half.bin": data}, options=["--level", "0"])
        self.site.start()
        for stage in range(8):
            left = self.kill_after(0.05 + stage * 0.3)
            self.assertLessEqual(left - {"bin/quelra"}, self.may_be_left, f"stage {stage}")
        # Another version takes care of what was left, too.
        self.site.publish("2.0", {"other/half.bin": data[::-1]}, options=["--level", "0"])
        left = self.kill_after(0.5)
        self.assertLessEqual(left - {"bin/quelra"}, self.may_be_left)
        self.launcher.start("--patch", **self.environment)
        self.assertEqual(self.launcher.ended(), 0)
        installed = self.launcher.installed()
        self.assertEqual(set(installed), {"bin/quelra", "other/half.bin"})
        self.assertTrue(installed["other/half.bin"] == data[::-1])


class KilledHalfwayWithAName(KilledHalfway):
    """The same where the file system wants a name for every file."""

    environment = {"LD_PRELOAD": str(kit.BIN / "vornak-refuse-unnamed.so")}
    may_be_left = {UNFINISHED}


if __name__ == "__main__":
    unittest.main(verbosity=2)
