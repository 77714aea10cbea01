"""A player's days: first start, update, a damaged file, and what the client asks for."""

import time
import unittest

import kit
from kit import wait_for

# Where a player clicks, in pixels from the window's corner.
MAIN_BUTTON = (400, 150)

CLIENT = {"README.txt": b"Quelra\n", "data/map.bin": kit.noise(1, 300_000),
          "data/empty.bin": b""}
ASSETS = {"assets/dusk.bin": kit.noise(2, 100_000)}


class FirstStart(kit.EndToEnd):
    def test_licence_download_play_and_remembered_settings(self):
        self.site.publish("1.0", CLIENT, ASSETS)
        self.site.start()
        launcher = self.launcher
        launcher.start(actions="wait:1500,exit:0")
        window = launcher.window()
        time.sleep(0.5)
        # Nothing but the licence page can be used until it is accepted.
        self.display.key(window, "Return")
        time.sleep(0.5)
        self.assertIsNone(launcher.marker("package.json.version"))
        self.display.key(window, "Tab")
        self.display.key(window, "space")
        wait_for(lambda: "eulaAccepted=true" in launcher.settings.read_text(), "the acceptance")

        self.display.click(window, *MAIN_BUTTON)
        wait_for(lambda: launcher.marker("package.json.version") == "1.0", "the installation")
        wait_for(lambda: launcher.marker("assets.json.sha256"), "the assets")
        self.assertIsNone(launcher.marker("partial.package.json.version"))
        expected = {**CLIENT, **ASSETS}
        installed = launcher.installed()
        self.assertTrue(installed.pop("bin/quelra"))
        self.assertEqual(installed, expected)
        self.assertEqual(launcher.records(), [])

        time.sleep(0.5)
        self.display.key(window, "Return")
        record = wait_for(launcher.records, "the client")[0]
        wait_for(launcher.is_hidden, "the window to hide")
        self.assertEqual(record["VORNAK_LAUNCHER"], "1")
        self.assertEqual(record["VORNAK_CLIENT_REVISION"], "1.0")
        self.assertEqual(record["VORNAK_ASSET_BASE"], self.site.address)
        self.assertEqual(record["VORNAK_RESTART_FILE"], str(launcher.data / ".restart"))
        self.assertEqual(record["VORNAK_SHOW_FILE"], str(launcher.data / ".show-launcher"))
        self.assertEqual(record["VORNAK_SSO_SWITCH_FILE"], str(launcher.data / ".sso-switch"))
        self.assertEqual(record["VORNAK_LAUNCHER_BIN"], str(launcher.binary))
        self.assertEqual(record["working directory"], str(launcher.package))
        self.assertEqual(record["arguments"], "")
        self.assertEqual(launcher.ended(), 0)
        path_file = launcher.home / "data" / "Vornak" / "launcher.path"
        self.assertEqual(path_file.read_bytes().decode(), str(launcher.binary))

        # The next start needs no licence: Return plays at once.
        launcher.start()
        window = launcher.window()
        wait_for(lambda: any("hints.json" in path for path in self.site.requests()[-3:]), "hints")
        time.sleep(0.5)
        self.display.key(window, "Return")
        self.assertEqual(launcher.ended(), 0)
        self.assertEqual(len(launcher.records()), 2)


class Later(kit.EndToEnd):
    def setUp(self):
        super().setUp()
        self.site.publish("1.0", CLIENT, ASSETS)
        self.site.start()
        self.launcher.accept_licence()
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)
        self.assertEqual(self.launcher.marker("package.json.version"), "1.0")
        self.launcher.record_file.unlink()

    def test_update_fetches_only_what_changed(self):
        self.site.publish("1.1", {**CLIENT, "data/map.bin": kit.noise(3, 200_000),
                                  "data/new.bin": b"new"}, ASSETS)
        self.site.forget_requests()
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)
        self.assertEqual(self.launcher.marker("package.json.version"), "1.1")
        packed = [path for path in self.site.requests() if path.endswith(".lzma")]
        self.assertEqual(len(packed), 2, self.site.requests())
        self.assertEqual(self.launcher.installed()["data/map.bin"], kit.noise(3, 200_000))
        self.assertEqual(self.launcher.records()[-1]["VORNAK_CLIENT_REVISION"], "1.1")

    def test_damaged_file_waits_for_the_player_and_is_mended(self):
        path = self.launcher.package / "data/map.bin"
        damaged = bytearray(path.read_bytes())
        damaged[1000] ^= 1
        path.write_bytes(damaged)
        self.launcher.start("--patch")
        window = self.launcher.window()
        wait_for(lambda: "/hints.json" in self.site.requests()[-3:], "the end of loading")
        time.sleep(1)
        self.assertEqual(path.read_bytes(), bytes(damaged))
        self.assertEqual(self.launcher.records(), [])
        self.display.key(window, "Return")
        wait_for(lambda: path.read_bytes() == CLIENT["data/map.bin"], "the mended file")
        wait_for(lambda: self.launcher.marker("partial.package.json.version") is None, "the end")
        time.sleep(0.5)
        self.display.key(window, "Return")
        self.assertEqual(self.launcher.ended(), 0)

    def test_restart_request_runs_the_update_again(self):
        ready = self.folder / "ready"
        self.launcher.start("--patch", actions=f"restart,waitfor:{ready},exit:0")
        wait_for(self.launcher.records, "the first client")
        self.site.publish("1.1", {**CLIENT, "data/new.bin": b"new"}, ASSETS)
        ready.touch()
        # The second client finds the file there already and asks for a restart again: stop it then.
        wait_for(lambda: len(self.launcher.records()) >= 2, "the second client")
        self.assertEqual(self.launcher.records()[1]["VORNAK_CLIENT_REVISION"], "1.1")
        self.assertIsNone(self.launcher.process.poll())

    def test_show_request_brings_the_window_back_while_the_client_runs(self):
        go, end = self.folder / "go", self.folder / "end"
        self.launcher.start("--patch", actions=f"waitfor:{go},show,waitfor:{end},exit:0")
        wait_for(self.launcher.records, "the client")
        wait_for(self.launcher.is_hidden, "the window to hide")
        go.touch()
        self.launcher.window()
        self.assertFalse((self.launcher.data / ".show-launcher").exists())
        end.touch()
        self.assertEqual(self.launcher.ended(), 0)

    def test_crash_and_failure_bring_the_window_back(self):
        for actions in ("wait:300,crash", "wait:300,exit:3"):
            self.launcher.record_file.unlink(missing_ok=True)
            self.launcher.start("--patch", actions=actions)
            wait_for(self.launcher.records, "the client")
            wait_for(self.launcher.is_hidden, "the window to hide")
            self.launcher.window()
            self.assertIsNone(self.launcher.process.poll())
            self.launcher.kill()

    def test_talkative_client_outlives_its_launcher(self):
        go = self.folder / "go"
        self.launcher.start("--patch", actions=f"show,waitfor:{go},print:1000000,restart,exit:0")
        wait_for(self.launcher.records, "the client")
        window = self.launcher.window()
        self.display.run("xdotool", "windowclose", window)
        self.launcher.process.terminate()
        self.launcher.process.wait()
        go.touch()
        wait_for((self.launcher.data / ".restart").exists, "the client's last act")


if __name__ == "__main__":
    unittest.main(verbosity=2)
