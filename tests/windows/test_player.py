"""The real launcher under Wine, from its installer to its removal. The tests build on each other and
run in the order of their names, as a player's days follow each other."""

import hashlib
import os
import pathlib
import shutil
import struct
import tempfile
import time
import unittest

from kit import (LAUNCHER, PATIENCE, STARTER, Player, Site, installer, release, wait_for,
                 windows_path)

UNINSTALL_KEY = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\VornakLauncher"
# In the data folder longer than the 260 characters that old programs have room for.
DEEP_FILE = "data/" + "/".join(["a folder with a rather long name"] * 6) + "/deep.txt"
FILES = {"data/map.txt": b"the map\n" * 5000, DEEP_FILE: b"deep", "data/\u6f22\u5b57.txt": b"name"}
STILL_RUNNING = 3


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class TestPlayer(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="vornak-windows."))
        # Started by root, nginx reads as another user.
        cls.folder.chmod(0o755)
        cls.site = Site(cls.folder)
        cls.site.publish("1.0.1", FILES)
        cls.site.publish_hints()
        cls.site.start()
        cls.player = Player(cls.folder, cls.site)

    @classmethod
    def tearDownClass(cls):
        cls.player.kill_everything()
        cls.site.stop()
        shutil.rmtree(cls.folder)

    def setUp(self):
        self.addCleanup(self.player.kill_everything)

    def assert_installed(self, version, files):
        package = self.player.package
        self.assertEqual((package / "package.json.version").read_text(), version)
        self.assertFalse((package / "partial.package.json.version").exists())
        for path, data in files.items():
            self.assertEqual((package / path).read_bytes(), data, path)

    def play(self, actions="exit:0"):
        """Updates if needed and plays, without a click, until the launcher ends."""
        self.player.launch("--patch", actions=actions)
        wait_for(self.player.records, "the game to start")
        self.player.wait_for_end()

    # The installer.

    def test_01_installs_silently_without_questions(self):
        player = self.player
        self.assertIn("\u6f22", player.home.name, "the session was to be started for another user")
        done = player.run(installer("1.0"), "/S")
        self.assertEqual(done.returncode, 0, done.stderr)
        for file in release("1.0").rglob("*"):
            if file.is_file():
                self.assertEqual(sha256(player.programs / file.relative_to(release("1.0"))),
                                 sha256(file))
        self.assertTrue(player.start_menu_entry().exists())
        self.assertIn(STARTER.encode("utf-16-le"), player.start_menu_entry().read_bytes())
        self.assertFalse(player.desktop_entry().exists())
        self.assertEqual(player.registry(UNINSTALL_KEY, "DisplayVersion"), "1.0")
        self.assertEqual(player.registry(UNINSTALL_KEY, "DisplayName"), "Vornak Launcher")
        size = int(player.registry(UNINSTALL_KEY, "EstimatedSize"), 16)
        self.assertAlmostEqual(size, sum(f.stat().st_size for f in player.programs.rglob("*")
                                         if f.is_file()) / 1024, delta=100)
        self.assertFalse(player.launchers())

    def test_02_makes_the_desktop_entry_when_asked(self):
        self.assertEqual(self.player.run(installer("1.0"), "/S", "/DESKTOP").returncode, 0)
        self.assertTrue(self.player.desktop_entry().exists())

    # A first evening.

    def test_03_shows_the_licence_once(self):
        player = self.player
        player.launch()
        window = player.wait_for_window()
        wait_for(lambda: self.site.requests("/hints.json"), "the configuration")
        time.sleep(1)
        player.picture("licence")
        self.assertIsNone(player.registry(r"HKCU\Software\Vornak\Launcher", "eulaAccepted"))
        player.click(window, 400, 410)
        wait_for(lambda: player.registry(r"HKCU\Software\Vornak\Launcher", "eulaAccepted"),
                 "the licence to be accepted", 20)
        time.sleep(1)
        player.picture("first-start")

    def test_04_installs_and_plays(self):
        player = self.player
        player.accept_licence()
        self.play()
        self.assert_installed("1.0.1", FILES)
        (record,) = player.records()
        self.assertEqual(record["VORNAK_LAUNCHER"], "1")
        self.assertEqual(record["VORNAK_CLIENT_REVISION"], "1.0.1")
        self.assertEqual(record["VORNAK_ASSET_BASE"], self.site.address)
        self.assertTrue(record["VORNAK_LAUNCHER_BIN"].endswith(
            f"{player.home.name}/AppData/Local/Programs/Vornak Launcher/{LAUNCHER}"))
        self.assertTrue(record["VORNAK_RESTART_FILE"].endswith("/Vornak/Launcher/.restart"))
        self.assertTrue(record["program"].endswith("/packages/Quelra/bin/quelra demo.exe"))
        self.assertTrue(record["working directory"].endswith("/packages/Quelra"))
        self.assertEqual(record["arguments"], "")
        location = player.home / "AppData/Local/Vornak/launcher.path"
        self.assertEqual(location.read_text(encoding="utf-8"), record["VORNAK_LAUNCHER_BIN"])

    def test_05_updates_only_what_changed(self):
        FILES["data/map.txt"] = b"a new map\n" * 5000
        self.site.publish("1.0.2", FILES)
        deep = self.player.package / DEEP_FILE
        before = deep.stat().st_mtime_ns
        self.play()
        self.assert_installed("1.0.2", FILES)
        self.assertEqual(deep.stat().st_mtime_ns, before)

    # The game asks something of the launcher.

    def test_06_hides_while_the_game_runs_and_shows_when_asked(self):
        player = self.player
        show, end = self.folder / "show", self.folder / "end"
        player.launch("--patch", actions=f"waitfor:{windows_path(show)},show,"
                                         f"waitfor:{windows_path(end)},exit:0")
        wait_for(player.records, "the game to start")
        player.wait_for_no_window()
        show.touch()
        player.wait_for_window()
        wait_for(lambda: not (player.data / ".show-launcher").exists(), "the request to be taken")
        self.assertTrue(player.clients())
        time.sleep(1)
        player.picture("shown-on-request")
        end.touch()
        player.wait_for_end()

    def test_07_starts_over_when_the_game_asks_for_a_restart(self):
        player = self.player
        before = self.site.requests("/launcher/quelrametadata.json")
        player.launch("--patch", actions="restart,exit:0")
        # Each start of the game asks again.
        wait_for(lambda: len(player.records()) >= 3, "the game to start for the third time")
        self.assertGreaterEqual(self.site.requests("/launcher/quelrametadata.json"), before + 3)
        self.assertTrue(player.launchers())

    def test_08_comes_back_when_the_game_crashes(self):
        self.comes_back_after("crash")
        self.player.picture("after-crash")

    def test_09_comes_back_when_the_game_fails(self):
        self.comes_back_after("exit:3")

    def comes_back_after(self, end):
        player = self.player
        gone = self.folder / f"gone-{end.split(':')[0]}"
        player.launch("--patch", actions=f"waitfor:{windows_path(gone)},{end}")
        wait_for(player.records, "the game to start")
        player.wait_for_no_window()
        gone.touch()
        player.wait_for_window()
        wait_for(lambda: not player.clients(), "the game to end")
        self.assertTrue(player.launchers())
        self.assertEqual(len(player.records()), 1)
        time.sleep(1)

    # Damage.

    def test_10_repairs_a_damaged_file(self):
        player = self.player
        damaged = player.package / "data/map.txt"
        content = bytearray(damaged.read_bytes())
        content[1234] ^= 1
        damaged.write_bytes(content)
        player.launch()
        window = player.wait_for_window()
        before = self.site.requests("/hints.json")
        wait_for(lambda: self.site.requests("/hints.json") > before - 1, "the configuration")
        time.sleep(2)
        player.picture("damaged")
        player.click_main_button(window)
        wait_for(lambda: damaged.read_bytes() == FILES["data/map.txt"], "the repair")
        self.assertFalse(player.records())

    def test_11_keeps_what_it_cannot_replace_and_goes_on_later(self):
        player = self.player
        self.play()
        old = sha256(player.client)
        version = (player.package / "package.json.version").read_text()
        changed = {**FILES, "zz-last.txt": b"last"}
        end = self.folder / "end-of-old-game"
        # The game runs, started without the launcher, and its program is to be replaced.
        player.start(player.client, actions=f"waitfor:{windows_path(end)},exit:0")
        wait_for(player.records, "the game to start")
        self.site.publish("1.0.3", changed, program_tail=b"changed")
        player.launch()
        window = player.wait_for_window()
        time.sleep(3)
        player.click_main_button(window)
        time.sleep(6)
        self.assertEqual(sha256(player.client), old)
        self.assertEqual((player.package / "package.json.version").read_text(), version)
        self.assertFalse(list(player.package.rglob("*.vornak-new")))
        end.touch()
        wait_for(lambda: not player.clients(), "the game to end")
        player.click_main_button(window)
        wait_for(lambda: (player.package / "package.json.version").read_text() == "1.0.3",
                 "the update")
        self.assertNotEqual(sha256(player.client), old)

    # The system's settings.

    def test_12_follows_the_systems_proxy(self):
        player = self.player
        key = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Internet Settings\Connections"
        proxy = self.site.address.removeprefix("http://").encode("ascii")
        by_hand = 2
        settings = struct.pack("<IIII", 0x46, 1, by_hand, len(proxy)) + proxy + bytes(44)
        player.run("reg", "add", key, "/v", "DefaultConnectionSettings", "/t", "REG_BINARY", "/d",
                   settings.hex(), "/f")
        try:
            # A host that is nowhere: only a proxy can answer for it. nginx answers for every host.
            player.launch("--patch", base="http://content.quelra.example")
            wait_for(player.records, "the game to start")
            player.wait_for_end()
            self.assertEqual(player.records()[0]["VORNAK_ASSET_BASE"],
                             "http://content.quelra.example")
        finally:
            player.run("reg", "delete", key, "/v", "DefaultConnectionSettings", "/f")

    # The launcher replaces itself.

    def test_20_replaces_itself(self):
        player = self.player
        old = sha256(player.programs / LAUNCHER)
        self.site.publish_launcher("1.1")
        player.launch()
        wait_for(lambda: (player.programs / LAUNCHER).exists() and
                 sha256(player.programs / LAUNCHER) == sha256(release("1.1") / LAUNCHER),
                 "the new launcher to be in place")
        self.assertNotEqual(sha256(player.programs / LAUNCHER), old)
        wait_for(lambda: len(player.launchers()) == 1, "the old launcher to end")
        player.wait_for_window()
        time.sleep(2)
        self.assertEqual(len(player.launchers()), 1, "the new one does not replace itself again")
        player.picture("replaced-itself")
        player.kill_everything()
        # What could not be removed while the old one ran goes with the next start.
        self.play()
        self.assertFalse(list(player.programs.glob("*.vornak-*")))
        for file in release("1.1").rglob("*"):
            if file.is_file():
                self.assertEqual(sha256(player.programs / file.relative_to(release("1.1"))),
                                 sha256(file))

    def test_21_starts_after_a_kill_at_each_step(self):
        player = self.player
        old, new = release("1.0"), release("1.1")
        fresh, aside = LAUNCHER + ".vornak-new", LAUNCHER + ".vornak-old1"
        half = (new / LAUNCHER).read_bytes()[:5_000_000]
        steps = {
            "while the new one is copied": {LAUNCHER: old / LAUNCHER, fresh: half},
            "when the new one is copied": {LAUNCHER: old / LAUNCHER, fresh: new / LAUNCHER},
            "between the renames": {aside: old / LAUNCHER, fresh: new / LAUNCHER},
            "after the renames": {LAUNCHER: new / LAUNCHER, aside: old / LAUNCHER},
            "before the starter": {LAUNCHER: old / LAUNCHER, STARTER: old / STARTER,
                                   STARTER + ".vornak-new": new / STARTER},
        }
        for step, files in steps.items():
            with self.subTest(step):
                for name in (LAUNCHER, fresh, aside):
                    (player.programs / name).unlink(missing_ok=True)
                for name, content in files.items():
                    target = player.programs / name
                    target.unlink(missing_ok=True)
                    if isinstance(content, bytes):
                        target.write_bytes(content)
                    else:
                        shutil.copy(content, target)
                self.assert_recovers()

    def test_22_starts_after_a_kill_at_any_moment(self):
        player = self.player
        for attempt in range(6):
            with self.subTest(attempt=attempt):
                for name in (LAUNCHER, STARTER):
                    (player.programs / name).unlink(missing_ok=True)
                    shutil.copy(release("1.0") / name, player.programs / name)
                shutil.rmtree(player.data / "self-update", ignore_errors=True)
                player.launch()
                wait_for(lambda: (player.data / "self-update/package.json.version").exists(),
                         "the new launcher to be installed beside")
                time.sleep(0.01 * attempt)
                player.kill(LAUNCHER)
                player.kill_everything()
                self.assert_recovers()

    def assert_recovers(self):
        """The start menu's entry leads to a launcher that runs, and in the end to the new one."""
        player = self.player
        player.launch()
        player.wait_for_window()
        wait_for(lambda: (player.programs / LAUNCHER).exists() and
                 sha256(player.programs / LAUNCHER) == sha256(release("1.1") / LAUNCHER),
                 "the new launcher to be in place")
        wait_for(lambda: len(player.launchers()) == 1 and player.windows(), "one launcher")
        time.sleep(1)
        self.assertEqual(len(player.launchers()), 1)
        player.kill_everything()
        player.launch()
        player.wait_for_window()
        wait_for(lambda: not list(player.programs.glob("*.vornak-*")), "the folder to be cleared up")
        player.kill_everything()

    # The installer again, and the end.

    def test_30_installer_leaves_a_running_launcher_alone(self):
        player = self.player
        player.launch()
        player.wait_for_window()
        before = sha256(player.programs / LAUNCHER)
        self.assertEqual(player.run(installer("1.0"), "/S").returncode, STILL_RUNNING)
        self.assertEqual(sha256(player.programs / LAUNCHER), before)
        player.uninstall()
        self.assertEqual(sha256(player.programs / LAUNCHER), before)
        self.assertTrue(player.start_menu_entry().exists())
        self.assertTrue(player.launchers())

    def test_31_installer_updates_what_is_there(self):
        player = self.player
        # What replacing itself leaves.
        (player.programs / (LAUNCHER + ".vornak-old7")).write_bytes(b"left behind")
        (player.programs / "package.json.version").write_bytes(b"1.1")
        self.assertEqual(player.run(installer("1.1"), "/S").returncode, 0)
        self.assertEqual(player.registry(UNINSTALL_KEY, "DisplayVersion"), "1.1")
        self.assertEqual(sha256(player.programs / LAUNCHER), sha256(release("1.1") / LAUNCHER))
        self.assertFalse(list(player.programs.glob("*.vornak-*")))
        self.assertTrue(player.desktop_entry().exists())

    def test_32_uninstalls_and_keeps_the_game(self):
        player = self.player
        player.uninstall()
        self.assertEqual(list(player.programs.rglob("*")), [])
        wait_for(lambda: not player.programs.exists(), "the program's folder to go")
        self.assertFalse(player.start_menu_entry().exists())
        self.assertFalse(player.desktop_entry().exists())
        self.assertIsNone(player.registry(UNINSTALL_KEY, "DisplayName"))
        self.assertTrue(player.client.exists())
        self.assertEqual(player.registry(r"HKCU\Software\Vornak\Launcher", "eulaAccepted"), "true")


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("VORNAK_FAIL_FAST")))
