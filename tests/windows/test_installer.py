"""The installer and the uninstaller under Wine, silent and by hand."""

from kit import LAUNCHER, STARTER, installer, release, sha256, wait_for
from player import SETTINGS_KEY, UNINSTALL_KEY, PlayerCase, main

# Exit code of an installer that found the program running.
STILL_RUNNING = 3


class TestInstaller(PlayerCase):
    INSTALLED = None

    # Silent.

    def test_01_installs_without_questions(self):
        player = self.player
        self.assertIn("\u6f22", player.home.name, "the session was to be started for another user")
        done = player.run(installer("1.0"), "/S")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assert_programs_are("1.0")
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

    def test_03_leaves_a_running_launcher_alone(self):
        player = self.player
        player.accept_licence()
        self.play()
        player.launch()
        player.wait_for_window()
        before = sha256(player.programs / LAUNCHER)
        self.assertEqual(player.run(installer("1.0"), "/S").returncode, STILL_RUNNING)
        self.assertEqual(sha256(player.programs / LAUNCHER), before)
        player.uninstall()
        self.assertEqual(sha256(player.programs / LAUNCHER), before)
        self.assertTrue(player.start_menu_entry().exists())
        self.assertTrue(player.launchers())

    def test_04_updates_what_is_there(self):
        player = self.player
        # What replacing itself leaves.
        (player.programs / (LAUNCHER + ".vornak-old7")).write_bytes(b"left behind")
        (player.programs / "package.json.version").write_bytes(b"1.1")
        self.assertEqual(player.run(installer("1.1"), "/S").returncode, 0)
        self.assertEqual(player.registry(UNINSTALL_KEY, "DisplayVersion"), "1.1")
        self.assertEqual(sha256(player.programs / LAUNCHER), sha256(release("1.1") / LAUNCHER))
        self.assertFalse(list(player.programs.glob("*.vornak-*")))
        self.assertTrue(player.desktop_entry().exists())

    def test_05_uninstalls_and_keeps_the_game(self):
        player = self.player
        player.uninstall()
        self.assert_uninstalled()
        self.assertTrue(player.client.exists())
        self.assertEqual(player.registry(SETTINGS_KEY, "eulaAccepted"), "true")

    # By hand.

    def test_06_installs_page_by_page_and_starts_the_launcher(self):
        player = self.player
        player.start(installer("1.0"))
        self.confirm_page("Vornak Launcher Setup", "setup-components")
        self.confirm_page("Vornak Launcher Setup", "setup-folder")
        wait_for(lambda: player.registry(UNINSTALL_KEY, "EstimatedSize"), "the installation")
        self.assertFalse(player.launchers())
        self.confirm_page("Vornak Launcher Setup", "setup-finish")
        player.wait_for_window()
        self.assert_programs_are("1.0")
        player.wait_for_no_window("Vornak Launcher Setup")

    def test_07_asks_to_close_a_launcher_that_runs(self):
        player = self.player
        player.launch()
        player.wait_for_window()
        before = sha256(player.programs / LAUNCHER)
        player.start(installer("1.1"))
        self.confirm_page("Vornak Launcher Setup")
        self.confirm_page("Vornak Launcher Setup")
        # The question bears the same title as the pages.
        wait_for(lambda: len(player.windows("Vornak Launcher Setup")) == 2, "the question")
        player.settle("setup-still-running")
        self.assertEqual(sha256(player.programs / LAUNCHER), before)
        player.kill(LAUNCHER)
        player.press("r")
        wait_for(lambda: sha256(player.programs / LAUNCHER) == sha256(release("1.1") / LAUNCHER),
                 "the new launcher")
        wait_for(lambda: player.registry(UNINSTALL_KEY, "DisplayVersion") == "1.1", "its version")
        # Not to be started this time.
        player.settle()
        player.press("space")
        self.confirm_page("Vornak Launcher Setup")
        player.wait_for_no_window("Vornak Launcher Setup")
        self.assertFalse(player.launchers())

    def test_08_uninstalls_by_hand_and_removes_the_game_when_told_so(self):
        player = self.player
        self.assertTrue(player.client.exists())
        player.start(player.programs / "uninstall.exe")
        self.confirm_page("Vornak Launcher Uninstall", "uninstall")
        wait_for(lambda: len(player.windows("Vornak Launcher Uninstall")) == 2, "the question")
        player.settle("uninstall-question")
        self.assertTrue(player.client.exists())
        player.press("y")
        wait_for(lambda: not player.data.exists(), "the game to go")
        self.confirm_page("Vornak Launcher Uninstall")
        player.wait_for_no_window("Vornak Launcher Uninstall")
        self.assert_uninstalled()
        self.assertIsNone(player.registry(SETTINGS_KEY, "eulaAccepted"))

    def confirm_page(self, title, picture=None):
        """Takes the page as it is, as the return key does."""
        wait_for(lambda: self.player.windows(title), f"a window {title}")
        self.player.settle(picture)
        self.player.press("Return")

    def assert_uninstalled(self):
        player = self.player
        wait_for(lambda: not player.programs.exists(), "the program's folder to go")
        self.assertFalse(player.start_menu_entry().exists())
        self.assertFalse(player.desktop_entry().exists())
        self.assertIsNone(player.registry(UNINSTALL_KEY, "DisplayName"))


if __name__ == "__main__":
    main()
