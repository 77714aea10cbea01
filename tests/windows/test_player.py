"""A player's days with the real launcher under Wine."""

import random
import struct
import time

from kit import LAUNCHER, SecureSite, sha256, wait_for, windows_path
from player import SETTINGS_KEY, PlayerCase, main

# In the data folder longer than the 260 characters that old programs have room for.
DEEP_FILE = "data/" + "/".join(["a folder with a rather long name"] * 6) + "/deep.txt"


class TestPlayer(PlayerCase):
    FILES = {"data/map.txt": b"the map\n" * 5000, DEEP_FILE: b"deep",
             "data/\u6f22\u5b57.txt": b"name"}

    # A first evening.

    def test_01_shows_the_licence_once(self):
        player = self.player
        player.launch()
        window = player.wait_for_window()
        wait_for(lambda: self.site.requests().count("/hints.json"), "the configuration")
        player.settle("licence")
        self.assertIsNone(player.registry(SETTINGS_KEY, "eulaAccepted"))
        player.click(window, 400, 410)
        wait_for(lambda: player.registry(SETTINGS_KEY, "eulaAccepted"),
                 "the licence to be accepted", 20)
        player.settle("first-start")

    def test_02_installs_and_plays(self):
        player = self.player
        player.accept_licence()
        self.play()
        self.assert_installed("1.0.1", self.files)
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

    def test_03_updates_only_what_changed(self):
        self.files["data/map.txt"] = b"a new map\n" * 5000
        self.site.publish("1.0.2", self.files)
        deep = self.player.package / DEEP_FILE
        before = deep.stat().st_mtime_ns
        self.play()
        self.assert_installed("1.0.2", self.files)
        self.assertEqual(deep.stat().st_mtime_ns, before)

    def test_04_hides_while_the_game_runs_and_shows_when_asked(self):
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
        player.settle("shown-on-request")
        end.touch()
        player.wait_for_end()

    def test_05_starts_over_when_the_game_asks_for_a_restart(self):
        player = self.player
        before = self.site.requests().count("/launcher/quelrametadata.json")
        player.launch("--patch", actions="restart,exit:0")
        # Each start of the game asks again.
        wait_for(lambda: len(player.records()) >= 3, "the game to start for the third time")
        self.assertGreaterEqual(self.site.requests().count("/launcher/quelrametadata.json"), before + 3)
        self.assertTrue(player.launchers())

    def test_06_comes_back_when_the_game_crashes(self):
        self.comes_back_after("crash")
        self.player.picture("after-crash")

    def test_07_comes_back_when_the_game_fails(self):
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

    def test_08_repairs_a_damaged_file(self):
        player = self.player
        damaged = player.package / "data/map.txt"
        content = bytearray(damaged.read_bytes())
        content[1234] ^= 1
        damaged.write_bytes(content)
        before = self.site.requests().count("/hints.json")
        player.launch()
        window = player.wait_for_window()
        # A click that comes before the files are checked is served when they are.
        wait_for(lambda: self.site.requests().count("/hints.json") > before, "the configuration")
        player.settle("damaged")
        player.click_main_button(window)
        wait_for(lambda: damaged.read_bytes() == self.files["data/map.txt"], "the repair")
        self.assertFalse(player.records())

    def test_09_keeps_what_it_cannot_replace_and_goes_on_later(self):
        player = self.player
        self.play()
        old = sha256(player.client)
        version = (player.package / "package.json.version").read_text()
        changed = {**self.files, "zz-last.txt": b"last"}
        end = self.folder / "end-of-old-game"
        # The game runs, started without the launcher, and its program is to be replaced.
        player.start(player.client, actions=f"waitfor:{windows_path(end)},exit:0")
        wait_for(player.records, "the game to start")
        self.site.publish("1.0.3", changed, program_tail=b"changed")
        before = self.site.requests().count("/hints.json")
        player.launch()
        window = player.wait_for_window()
        wait_for(lambda: self.site.requests().count("/hints.json") > before, "the configuration")
        player.click_main_button(window)
        # It completes the new program, tries for two seconds to put it into its place and gives up.
        unfinished = player.package / "unfinished.vornak-new"
        wait_for(unfinished.exists, "the new program")
        wait_for(lambda: not unfinished.exists(), "the launcher to give up")
        self.assertEqual(sha256(player.client), old)
        self.assertEqual((player.package / "package.json.version").read_text(), version)
        self.assertFalse(list(player.package.rglob("*.vornak-new*")))
        end.touch()
        wait_for(lambda: not player.clients(), "the game to end")
        player.click_main_button(window)
        wait_for(lambda: (player.package / "package.json.version").read_text() == "1.0.3",
                 "the update")
        self.assertNotEqual(sha256(player.client), old)

    def test_10_goes_on_after_a_kill_at_any_stage_of_a_file(self):
        player = self.player
        unfinished = player.package / "unfinished.vornak-new"
        large = random.Random(10).randbytes(6_000_000)
        self.files["data/large.bin"] = large
        self.site.publish("1.0.4", self.files, program_tail=b"changed")
        self.site.stop()
        self.site.start("2m")
        whole = {path: path.read_bytes() for path in player.package.rglob("*")
                 if path.is_file() and "package.json" not in path.name}
        try:
            for size in (0, 1, 1_500_000, 4_000_000):
                # What the launcher that was killed before left does not count.
                began = time.time_ns()
                player.launch("--patch")
                wait_for(lambda: unfinished.stat().st_mtime_ns > began and
                         size <= unfinished.stat().st_size < size + 1_400_000, f"{size} bytes")
                player.kill(LAUNCHER)
                self.assertEqual([path.name for path in player.package.rglob("*.vornak-*")],
                                 [unfinished.name])
                for path, content in whole.items():
                    self.assertTrue(path.read_bytes() == content, path.name)
                self.assertFalse((player.package / "data/large.bin").exists())
        finally:
            self.site.stop()
            self.site.start()
        self.play()
        self.assert_installed("1.0.4", self.files)
        self.assertFalse(unfinished.exists())

    def test_11_follows_the_systems_proxy(self):
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

    def test_12_speaks_https_with_those_whom_the_system_trusts(self):
        player = self.player
        with SecureSite(self.folder / "secure", self.site) as secure:
            player.launch("--patch", base=secure.address)
            player.wait_for_window()
            wait_for(lambda: "client: 127.0.0.1" in secure.log("error") or secure.log("access"),
                     "the launcher to connect")
            time.sleep(1)
            self.assertEqual(secure.log("access"), "")
            self.assertFalse(player.records())
            player.kill_everything()
            player.trust(secure.certificate)
            player.launch("--patch", base=secure.address)
            wait_for(player.records, "the game to start")
            player.wait_for_end()
            self.assertEqual(player.records()[0]["VORNAK_ASSET_BASE"], secure.address)
            self.assertIn("/launcher/quelrametadata.json", secure.log("access"))

    def test_13_keeps_everything_on_another_drive(self):
        player = self.player
        drive = self.folder / "drive"
        drive.mkdir()
        with player.app_data_on_drive("E", drive):
            self.site.publish("1.0.5", self.files)
            self.play()
            (record,) = player.records()
            self.assertEqual(record["program"],
                             "E:/Vornak/Launcher/packages/Quelra/bin/quelra demo.exe")
            self.assertTrue((drive / "Vornak/Launcher/packages/Quelra/data/map.txt").exists())
            self.assert_installed("1.0.5", self.files)
            self.site.publish("1.0.6", {**self.files, "data/map.txt": b"another map"})
            self.play()
            self.assert_installed("1.0.6", {"data/map.txt": b"another map"})


if __name__ == "__main__":
    main()
