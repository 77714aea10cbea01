"""What the Windows tests stand on: one player's Windows, which is a Wine of its own with an X server
that nobody sees (packaging/windows/wine-session makes both), published content, a web server and real
releases of the launcher. Only processes that were started from here are ended here."""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PATIENCE = 60
PREFIX = pathlib.Path(os.environ["WINEPREFIX"])
# Releases by packaging/windows/make-release, the programs of the windows preset, the publisher.
RELEASES = pathlib.Path(os.environ["VORNAK_WINDOWS_RELEASES"])
WINDOWS_BIN = pathlib.Path(os.environ["VORNAK_WINDOWS_BIN"])
PUBLISHER = pathlib.Path(os.environ["VORNAK_PUBLISHER"])
HINT_PICTURES = ROOT / "tools/democlient/images"
PICTURES = pathlib.Path(os.environ.get("VORNAK_WINDOWS_PICTURES", RELEASES / "pictures"))
DEMO_CLIENT = WINDOWS_BIN / "quelra-demo-client.exe"
LAUNCHER = "vornak-launcher.exe"
STARTER = "vornak-start.exe"


def wait_for(condition, what, seconds=PATIENCE):
    """Polls until the condition holds and returns its value; fails the test after a while."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise AssertionError(f"waited {seconds} s in vain for {what}")


def release(version):
    """Folder of the released launcher's files."""
    return RELEASES / version / "launcher"


def installer(version):
    return RELEASES / version / f"vornak-launcher-{version}-setup.exe"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Site:
    """A content tree and the web server in front of it."""

    def __init__(self, folder):
        self.folder = folder
        self.content = folder / "content"
        self.server = folder / "server"
        self.address = None

    def publish(self, version, files, program_tail=b""):
        """Publishes a client of these files (path -> bytes); the demo client itself comes along. What
        is appended to a program makes it another file and changes nothing of what it does."""
        source = pathlib.Path(tempfile.mkdtemp(dir=self.folder, prefix="client-"))
        program = source / "bin" / "quelra demo.exe"
        program.parent.mkdir()
        program.write_bytes(DEMO_CLIENT.read_bytes() + program_tail)
        for path, data in files.items():
            target = source / path
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)
        subprocess.run([PUBLISHER, "package", source, self.content, "--version", version,
                        "--executable", "bin/quelra demo.exe", "--level", "1", "--quiet"],
                       check=True)

    def publish_launcher(self, version):
        """Offers a release of the launcher."""
        subprocess.run([PUBLISHER, "launcher", release(version), self.content, "--version", version,
                        "--executable", LAUNCHER, "--level", "1", "--quiet"], check=True)

    def publish_hints(self):
        subprocess.run([PUBLISHER, "hints", ROOT / "resources/hints.json", self.content,
                        "--images", HINT_PICTURES, "--quiet"], check=True)

    def start(self):
        done = subprocess.run([ROOT / "packaging/server/serve", self.content, self.server],
                              check=True, text=True, stdout=subprocess.PIPE)
        self.address = done.stdout.strip()

    def requests(self, ending):
        log = self.server / "access.log"
        return sum(line.endswith(ending) for line in log.read_text().splitlines()) \
            if log.exists() else 0

    def stop(self):
        pid = self.server / "nginx.pid"
        if pid.exists():
            os.kill(int(pid.read_text()), signal.SIGTERM)
            wait_for(lambda: not pid.exists(), "nginx to end")


class Player:
    """Whoever sits at this Windows."""

    def __init__(self, folder, site):
        self.folder = folder
        self.site = site
        self.record_file = folder / "record"
        self.started = []
        users = [user for user in (PREFIX / "drive_c/users").iterdir() if user.name != "Public"]
        self.home = users[0]

    # Folders.

    @property
    def programs(self):
        return self.home / "AppData/Local/Programs/Vornak Launcher"

    @property
    def data(self):
        return self.home / "AppData/Roaming/Vornak/Launcher"

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
        wait_for(lambda: not self.processes("Un_A.exe") and not self.processes("Au_.exe"),
                 "the uninstaller to end")

    def launchers(self):
        return self.processes(LAUNCHER)

    def clients(self):
        return self.processes(self.client.name)

    def wait_for_end(self, seconds=PATIENCE):
        wait_for(lambda: not self.launchers() and not self.clients(), "the launcher to end", seconds)

    def kill(self, name):
        """Ends this Windows' processes of that program as the task manager does."""
        for process in self.processes(name):
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass
        wait_for(lambda: not self.processes(name), f"{name} to be gone")

    def kill_everything(self):
        for name in (LAUNCHER, STARTER, self.client.name):
            self.kill(name)
        for process in self.started:
            process.wait()
        self.started.clear()

    # What they see and do.

    def windows(self):
        """Numbers of the launcher's visible windows."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Vornak$"],
                               text=True, capture_output=True)
        return found.stdout.split()

    def wait_for_window(self):
        return wait_for(self.windows, "the launcher's window")[0]

    def wait_for_no_window(self):
        wait_for(lambda: not self.windows(), "the launcher's window to hide")

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
        if not self.record_file.exists():
            return []
        text = self.record_file.read_text(encoding="utf-8")
        decoder = json.JSONDecoder()
        found = []
        while text.strip():
            try:
                record, end = decoder.raw_decode(text.lstrip())
            except json.JSONDecodeError:
                break
            found.append(record)
            text = text.lstrip()[end:]
        return found

    # The registry.

    def registry(self, key, name):
        """A value's text, or None."""
        output = self.run("reg", "query", key, "/v", name).stdout
        for line in output.splitlines():
            words = line.split(None, 2)
            if words and words[0] == name:
                return words[2].strip() if len(words) > 2 else ""
        return None

    def accept_licence(self):
        self.run("reg", "add", r"HKCU\Software\Vornak\Launcher", "/v", "eulaAccepted", "/t",
                 "REG_SZ", "/d", "true", "/f")
