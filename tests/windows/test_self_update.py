"""The launcher replaces itself under Wine, from one real release to the next."""

import os
import shutil
import signal
import subprocess
import time

from kit import LAUNCHER, STARTER, release, sha256, wait_for
from player import UNINSTALL_KEY, PlayerCase, main

FRESH, ASIDE = LAUNCHER + ".vornak-new", LAUNCHER + ".vornak-old1"


class TestSelfUpdate(PlayerCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.site.publish_launcher(release("1.1"), "1.1", LAUNCHER)

    def test_01_replaces_itself(self):
        player = self.player
        player.launch()
        self.wait_for_new_launcher()
        self.wait_for_one_launcher()
        player.wait_for_window()
        self.assertEqual(player.registry(UNINSTALL_KEY, "DisplayVersion"), "1.1")
        player.picture("replaced-itself")
        player.kill_everything()
        # What could not be removed while the old one ran goes with the next start.
        self.play()
        self.assertFalse(list(player.programs.glob("*.vornak-*")))
        self.assert_programs_are("1.1")

    def test_02_starts_after_a_kill_at_each_step(self):
        player = self.player
        old, new = release("1.0"), release("1.1")
        half = (new / LAUNCHER).read_bytes()[:5_000_000]
        steps = {
            "while the new one is copied": {LAUNCHER: old / LAUNCHER, FRESH: half},
            "when the new one is copied": {LAUNCHER: old / LAUNCHER, FRESH: new / LAUNCHER},
            "between the renames": {ASIDE: old / LAUNCHER, FRESH: new / LAUNCHER},
            "after the renames": {LAUNCHER: new / LAUNCHER, ASIDE: old / LAUNCHER},
            "before the starter": {LAUNCHER: old / LAUNCHER, STARTER: old / STARTER,
                                   STARTER + ".vornak-new": new / STARTER},
        }
        for step, files in steps.items():
            with self.subTest(step):
                for name in (LAUNCHER, FRESH, ASIDE):
                    (player.programs / name).unlink(missing_ok=True)
                for name, content in files.items():
                    target = player.programs / name
                    target.unlink(missing_ok=True)
                    if isinstance(content, bytes):
                        target.write_bytes(content)
                    else:
                        shutil.copy(content, target)
                self.assert_recovers()

    def test_03_starts_after_a_kill_at_any_moment(self):
        player = self.player
        for attempt in range(6):
            with self.subTest(attempt=attempt):
                self.go_back_to_the_old_launcher()
                player.launch()
                wait_for(lambda: (player.data / "self-update/package.json.version").exists(),
                         "the new launcher to be installed beside")
                time.sleep(0.01 * attempt)
                player.kill(LAUNCHER)
                player.kill_everything()
                self.assert_recovers()

    def test_04_starts_after_a_kill_between_the_renames(self):
        # Wine's server does the renaming. Once it has renamed the old launcher away it is held up,
        # and the launcher, which waits for it, is killed.
        player = self.player
        self.go_back_to_the_old_launcher()
        player.launch()
        (server,) = player.processes("wineserver64")
        holder = subprocess.Popen(
            ["strace", "-qq", "-o", os.devnull, "-p", str(server),
             "-P", str(player.programs / LAUNCHER), "-e", "trace=rename",
             "-e", "inject=rename:delay_exit=5s"],
            stderr=subprocess.PIPE, text=True)
        try:
            wait_for(lambda: (player.programs / ASIDE).exists() or holder.poll() is not None,
                     "the old launcher to be renamed")
            if holder.poll() is not None:
                self.skipTest(f"Wine's server cannot be held up: {holder.stderr.read()}")
            self.assertFalse((player.programs / LAUNCHER).exists())
            for process in player.launchers():
                os.kill(process, signal.SIGKILL)
            wait_for(lambda: not player.launchers(), "the launcher to be gone")
        finally:
            holder.terminate()
            holder.communicate()
        self.assertFalse((player.programs / LAUNCHER).exists())
        self.assert_recovers()

    def test_05_replaces_itself_from_another_drive(self):
        player = self.player
        drive = self.folder / "drive"
        drive.mkdir()
        self.go_back_to_the_old_launcher()
        with player.app_data_on_drive("E", drive):
            self.assert_recovers()
            self.assertTrue((player.data / "self-update").exists())

    def go_back_to_the_old_launcher(self):
        for name in (LAUNCHER, STARTER):
            (self.player.programs / name).unlink(missing_ok=True)
            shutil.copy(release("1.0") / name, self.player.programs / name)
        shutil.rmtree(self.player.data / "self-update", ignore_errors=True)

    def wait_for_new_launcher(self):
        launcher = self.player.programs / LAUNCHER
        new = sha256(release("1.1") / LAUNCHER)
        wait_for(lambda: sha256(launcher) == new, "the new launcher to be in place")

    def wait_for_one_launcher(self):
        """For a while: just before the old one starts the new one, it is one as well."""
        def one_stays():
            found = self.player.launchers()
            time.sleep(3)
            return len(found) == 1 and self.player.launchers() == found

        wait_for(one_stays, "the old launcher to end, and the new one not to be replaced again")

    def assert_recovers(self):
        """The start menu's entry leads to a launcher that runs, and in the end to the new one."""
        player = self.player
        player.launch()
        player.wait_for_window()
        self.wait_for_new_launcher()
        self.wait_for_one_launcher()
        player.wait_for_window()
        player.kill_everything()
        player.launch()
        player.wait_for_window()
        wait_for(lambda: not list(player.programs.glob("*.vornak-*")), "the folder to be cleared up")
        player.kill_everything()


if __name__ == "__main__":
    main()
