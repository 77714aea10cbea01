"""A publisher that is killed, at any point, breaks no player."""

import os
import random
import shutil
import subprocess
import time

import kit
import publishkit
from contentsite import served, write_files


def files_of(version):
    """Much that is new in each version, some that is not."""
    files = {f"new/{number}.bin": kit.noise(version * 1000 + number, 20_000)
             for number in range(60)}
    return files | {f"old/{number}.bin": kit.noise(number, 20_000) for number in range(20)}


def entries(folder):
    """How many lie in the folder, which may come and go meanwhile."""
    try:
        return len(os.listdir(folder))
    except FileNotFoundError:
        return 0


class Kills(publishkit.PublishTest):
    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("VORNAK_SEED", random.SystemRandom().randrange(10**6)))
        self.random = random.Random(self.seed)
        print(f"seed {self.seed}; repeat with VORNAK_SEED={self.seed}", flush=True)

    def source(self, version):
        folder = self.folder / f"client-{version}"
        (folder / "bin").mkdir(parents=True)
        shutil.copy(kit.BIN / "quelra-demo-client", folder / "bin/quelra")
        write_files(folder, files_of(version))
        return folder

    def command(self, version, content=None):
        return [publishkit.PROGRAM, "package", self.folder / f"client-{version}",
                content or self.site.content, "--version", str(version), "--executable",
                "bin/quelra", "--quiet", "--level", "0"]

    def killed_publication(self, version, duration):
        """Kills the publisher, soon or late, or just when one of its last steps shows."""
        process = subprocess.Popen(self.command(version))
        metadata = self.site.content / "launcher/quelrametadata.json"
        before = metadata.stat().st_mtime_ns
        folder = self.site.content / f"launcher/packages/Quelra/{version}"
        way = self.random.choice(["time", "time", "documents", "work", "metadata"])
        end = time.monotonic() + (self.random.uniform(0, duration) if way == "time" else 60)
        seen = {"time": lambda: False,
                "documents": folder.exists,
                "work": lambda: entries(self.site.content / ".publisher/unfinished") > 2,
                "metadata": lambda: metadata.stat().st_mtime_ns != before}[way]
        while time.monotonic() < end and process.poll() is None and not seen():
            time.sleep(0.0005)
        process.kill()
        process.wait()
        return way

    def current_version(self):
        return publishkit.document(self.site.content)["version"]

    def assert_nothing_broken(self, player, allowed):
        publishkit.run("verify", self.site.content)
        version = self.current_version()
        self.assertIn(version, allowed)
        self.update(player)
        self.assert_installed(player, files_of(int(version)), version)

    def test_kills_at_random_points(self):
        kills = publishkit.proof_size(50, 12, "kills")
        self.source(1)
        begin = time.monotonic()
        subprocess.run(self.command(1), check=True)
        duration = time.monotonic() - begin
        self.site.start()
        self.assert_nothing_broken(self.launcher, {"1"})
        version = 2
        self.source(version)
        ways = []
        for attempt in range(kills):
            before = self.current_version()
            ways.append(self.killed_publication(version, duration))
            player = self.launcher if attempt % 4 else self.new_player(f"newcomer-{attempt}")
            self.assert_nothing_broken(player, {before, str(version)})
            # A version that came through, or was tried often enough, makes room for the next.
            if self.current_version() == str(version) or self.random.random() < 0.3:
                version += 1
                self.source(version)
        print("killed by:", {way: ways.count(way) for way in set(ways)}, flush=True)

        # Running it again completes it, and leaves what an undisturbed publisher makes.
        subprocess.run(self.command(version), check=True)
        self.assert_nothing_broken(self.launcher, {str(version)})
        publishkit.run("prune", self.site.content, "--keep", "0")
        fresh = self.folder / "fresh"
        subprocess.run(self.command(version, fresh), check=True)
        self.assertEqual(served(self.site.content), served(fresh))


if __name__ == "__main__":
    publishkit.main()
