"""One player's Windows, which is a Wine of its own with an X server that nobody sees
(packaging/windows/wine-session makes both), and what the player does there. Only processes that were
started from here are ended here."""

import contextlib
import hashlib
import os
import pathlib
import shutil
import signal
import ssl
import struct
import subprocess
import tempfile
import time
import unittest

from kit import (LAUNCHER, PATIENCE, RELEASES, STARTER, Site, installer, release, sha256, wait_for,
                 windows_path)
from records import read_records

PREFIX = pathlib.Path(os.environ["WINEPREFIX"])
PICTURES = pathlib.Path(os.environ.get("VORNAK_WINDOWS_PICTURES", RELEASES / "pictures"))
SETTINGS_KEY = r"HKCU\Software\Vornak\Launcher"
UNINSTALL_KEY = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\VornakLauncher"


class Player:
    """Whoever sits at this Windows."""

    def __init__(self, folder, site):
        self.folder = folder
        self.site = site
        self.record_file = folder / "record"
        self.started = []
        users = [user for user in (PREFIX / "drive_c/users").iterdir() if user.name != "Public"]
        self.home = users[0]
        self.app_data = self.home / "AppData/Roaming"

    # Folders.

    @property
    def programs(self):
        return self.home / "AppData/Local/Programs/Vornak Launcher"

    @property
    def data(self):
        return self.app_data / "Vornak/Launcher"

    @property
    def package(self):
        return self.data / "packages/Quelra"

    @property
    def client(self):
        return self.package / "bin/quelra demo.exe"

    def start_menu_entry(self):
        return self.home / "AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Vornak Launcher.lnk"

    def desktop_entry(self):
        return self.home / "Desktop/Vornak Launcher.lnk"

    @contextlib.contextmanager
    def app_data_on_drive(self, letter, folder):
        """Meanwhile the user's application data is on a drive of its own, which is that folder."""
        key = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders"
        drive = PREFIX / f"dosdevices/{letter.lower()}:"
        before = self.app_data
        drive.symlink_to(folder)
        self.run("reg", "add", key, "/v", "AppData", "/d", f"{letter}:\\", "/f", check=True)
        self.app_data = folder
        try:
            yield
        finally:
            self.kill_everything()
            self.app_data = before
            self.run("reg", "delete", key, "/v", "AppData", "/f", check=True)
            drive.unlink()

    # Programs.

    def run(self, *words, **options):
        """Runs a Windows program to its end."""
        return subprocess.run(["wine64", *map(str, words)], capture_output=True, text=True,
                              errors="replace", timeout=120, **options)

    def start(self, program, *arguments, actions="exit:0", base=None):
        """Starts a Windows program; the game, when it comes to that, does the actions."""
        self.record_file.unlink(missing_ok=True)
        environment = {**os.environ, "VORNAK_CDN_URL": base or self.site.address,
                       "QUELRA_DEMO_ACTIONS": actions,
                       "QUELRA_DEMO_RECORD": windows_path(self.record_file)}
        process = subprocess.Popen(["wine64", str(program), *arguments], env=environment,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.started.append(process)
        return process

    def launch(self, *arguments, actions="exit:0", base=None):
        """Starts the launcher as its entry in the start menu does."""
        return self.start(self.programs / STARTER, *arguments, actions=actions, base=base)

    def processes(self, name):
        """Numbers of this Windows' processes of that program. Each process of Wine carries its
        program in its command line and the prefix in its environment."""
        found = []
        for folder in pathlib.Path("/proc").iterdir():
            if not folder.name.isdigit():
                continue
            try:
                words = (folder / "cmdline").read_bytes().split(b"\0")
                mine = f"WINEPREFIX={PREFIX}".encode() in (folder / "environ").read_bytes()
            except OSError:
                continue
            program = words[0].replace(b"\\", b"/").rsplit(b"/", 1)[-1].decode(errors="replace")
            if program.endswith(("wine64", "wine64-preloader")) and len(words) > 1:
                program = words[1].replace(b"\\", b"/").rsplit(b"/", 1)[-1].decode(errors="replace")
            if mine and program.lower() == name.lower():
                found.append(int(folder.name))
        return found

    def uninstall(self):
        """Runs the uninstaller as "Installed apps" does, to its end: it goes on as a copy of itself,
        so that it can delete itself."""
        self.run(self.programs / "uninstall.exe", "/S")
        wait_for(lambda: not any(self.processes(f"Un_{letter}.exe") for letter in "ABC"),
                 "the uninstaller to end")

    def launchers(self):
        return self.processes(LAUNCHER)

    def clients(self):
        return self.processes(self.client.name)

    def wait_for_end(self, seconds=PATIENCE):
        wait_for(lambda: not self.launchers() and not self.clients(), "the launcher to end", seconds)

    def kill(self, name):
        """Ends this Windows' processes of that program as the task manager does, those too that
        another starts meanwhile."""
        def none_left():
            found = self.processes(name)
            for process in found:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(process, signal.SIGKILL)
            return not found

        wait_for(none_left, f"{name} to be gone")

    def kill_everything(self):
        for name in (LAUNCHER, STARTER, self.client.name):
            self.kill(name)
        for process in self.started:
            process.kill()
            process.wait()
        self.started.clear()
        # The display outlives them by a moment, and the next launcher's window has the same title.
        self.wait_for_no_window()

    # What they see and do.

    def windows(self, title="Vornak"):
        """Numbers of the visible windows of that title, by default the launcher's."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title} *$"],
                               text=True, capture_output=True)
        return found.stdout.split()

    def wait_for_window(self):
        return wait_for(self.windows, "the launcher's window")[0]

    def wait_for_no_window(self, title="Vornak"):
        wait_for(lambda: not self.windows(title), f"the window {title} to go")

    def settle(self, picture=None):
        """Lets what has just opened finish its painting; then takes a picture if one is wanted."""
        time.sleep(1)
        if picture:
            self.picture(picture)

    def press(self, key):
        subprocess.run(["xdotool", "key", key], check=True)

    def click(self, window, x, y):
        subprocess.run(["xdotool", "mousemove", "--window", window, str(x), str(y), "click", "1"],
                       check=True)

    def click_main_button(self, window):
        self.click(window, 400, 148)

    def picture(self, name):
        PICTURES.mkdir(parents=True, exist_ok=True)
        subprocess.run(["import", "-window", "root", PICTURES / f"{name}.png"], check=True)

    def records(self):
        """What the game was given at each of its starts."""
        return read_records(self.record_file)

    # The registry.

    def registry(self, key, name):
        """A value's text, or None."""
        output = self.run("reg", "query", key, "/v", name).stdout
        for line in output.splitlines():
            words = line.split(None, 2)
            if words and words[0] == name:
                return words[2].strip() if len(words) > 2 else ""
        return None

    def trust(self, certificate):
        """Adds a certificate (PEM) to the user's trusted root certificates."""
        der = ssl.PEM_cert_to_DER_cert(certificate.read_text())
        property_of_the_certificate_itself = 32
        blob = struct.pack("<III", property_of_the_certificate_itself, 1, len(der)) + der
        key = "\\".join([r"HKCU\Software\Microsoft\SystemCertificates\Root\Certificates",
                         hashlib.sha1(der).hexdigest().upper()])
        self.run("reg", "add", key, "/v", "Blob", "/t", "REG_BINARY", "/d", blob.hex(), "/f",
                 check=True)

    def accept_licence(self):
        self.run("reg", "add", SETTINGS_KEY, "/v", "eulaAccepted", "/t",
                 "REG_SZ", "/d", "true", "/f")


class PlayerCase(unittest.TestCase):
    """A player with a content server. The tests of a class build on each other and run in the order
    of their names, as a player's days follow each other; a class starts on a Windows without the
    launcher and leaves none behind."""

    # Path -> bytes of what the game consists of beside its program.
    FILES = {}
    # The release that is installed when the tests begin; None for none.
    INSTALLED = "1.0"

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="vornak-windows."))
        # Started by root, nginx reads as another user.
        cls.folder.chmod(0o755)
        cls.files = dict(cls.FILES)
        cls.site = Site(cls.folder)
        cls.site.publish("1.0.1", cls.files)
        cls.site.publish_hints()
        cls.site.start()
        cls.player = Player(cls.folder, cls.site)
        if cls.INSTALLED:
            cls.player.run(installer(cls.INSTALLED), "/S", check=True)

    @classmethod
    def tearDownClass(cls):
        cls.player.kill_everything()
        if cls.player.programs.exists():
            cls.player.uninstall()
        shutil.rmtree(cls.player.data, ignore_errors=True)
        cls.player.run("reg", "delete", SETTINGS_KEY, "/f")
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

    def assert_programs_are(self, version):
        """Every file of the release lies in the program's folder."""
        for file in release(version).rglob("*"):
            if file.is_file():
                installed = self.player.programs / file.relative_to(release(version))
                self.assertEqual(sha256(installed), sha256(file), file.name)

    def play(self, actions="exit:0"):
        """Updates if needed and plays, without a click, until the launcher ends."""
        self.player.launch("--patch", actions=actions)
        wait_for(self.player.records, "the game to start")
        self.player.wait_for_end()


def main():
    unittest.main(verbosity=2, failfast=bool(os.environ.get("VORNAK_FAIL_FAST")))
