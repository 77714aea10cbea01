"""What the end-to-end tests stand on: a virtual display, a published content tree, nginx and the real
launcher, each with folders of its own. Everything is started here and ended here."""

import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/support"))

import contentsite  # noqa: E402
from display import Display  # noqa: E402
from records import read_records  # noqa: E402
from waiting import PATIENCE, wait_for  # noqa: E402, F401

# The launcher's own lines, and the one of Qt's platform without a screen about a window whose size is
# set, which no player's platform writes.
EXPECTED_LINE = re.compile(r"launcher CDN: |Download failed: |Cannot (lock|read|start|trust|unpack|write) |"
                           r"(un)?packed hash mismatch for |The update failed: |"
                           r"The launcher could not be replaced: |There is no client to start in |"
                           r"This plugin does not support propagateSizeHints\(\)$")
BIN = pathlib.Path(os.environ["VORNAK_BIN"])


class Site(contentsite.Site):
    """A content tree with this build's publisher and demo client, and the web server in front of it."""

    def __init__(self, folder, rate=None):
        super().__init__(folder, BIN / "vornak-publish", BIN / "quelra-demo-client", "bin/quelra",
                         rate=rate)


class Launcher:
    """One player's machine: settings, data folder and, when it runs, the launcher."""

    def __init__(self, folder, site, display, binary=None):
        self.home = folder / "home"
        self.home.mkdir(mode=0o700, exist_ok=True)
        self.site = site
        self.display = display
        self.binary = binary or BIN / "vornak-launcher"
        self.record_file = folder / "record"
        self.process = None
        self.log = folder / "launcher.log"

    @property
    def data(self):
        return self.home / "data" / "Vornak" / "Launcher"

    @property
    def package(self):
        return self.data / "packages" / "Quelra"

    @property
    def settings(self):
        return self.home / "config" / "Vornak" / "Launcher.conf"

    def accept_licence(self):
        self.settings.parent.mkdir(parents=True, exist_ok=True)
        self.settings.write_text("[General]\neulaAccepted=true\n")

    def start(self, *arguments, actions="exit:0", **environment):
        env = {**os.environ,
               "HOME": str(self.home),
               "XDG_DATA_HOME": str(self.home / "data"),
               "XDG_CONFIG_HOME": str(self.home / "config"),
               "XDG_RUNTIME_DIR": str(self.home),
               "VORNAK_CDN_URL": self.site.address,
               "QUELRA_DEMO_RECORD": str(self.record_file),
               "QUELRA_DEMO_ACTIONS": actions,
               **environment}
        if self.display:
            env |= {"DISPLAY": self.display.name, "QT_QPA_PLATFORM": "xcb"}
        else:
            env |= {"QT_QPA_PLATFORM": "offscreen"}
        # Appended to: a restarted launcher must not wipe what the first one said.
        with open(self.log, "ab") as log:
            self.process = subprocess.Popen([self.binary, *arguments], env=env, stdout=log,
                                            stderr=log, start_new_session=True)

    def window(self):
        """The launcher's window once it is visible."""
        return wait_for(lambda: self.display.windows("Vornak"), "the launcher's window")[0]

    def is_hidden(self):
        return not self.display.windows("Vornak")

    def ended(self, seconds=PATIENCE):
        """The exit code, once the launcher has ended by itself."""
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"the launcher has not ended after {seconds} s:\n"
                                 + self.log.read_text()) from None

    def kill(self):
        if self.process and self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait()

    def strange_lines(self):
        """What it said on standard error that is none of its own messages: Qt's complaints about
        the program, above all."""
        text = self.log.read_text(errors="replace") if self.log.exists() else ""
        return [line for line in text.splitlines() if line and not EXPECTED_LINE.match(line)]

    def marker(self, name):
        path = self.package / name
        return path.read_bytes().decode() if path.exists() else None

    def installed(self):
        """Relative paths and contents of the package folder, markers apart."""
        markers = {"package.json", "package.json.version", "partial.package.json.version",
                   "assets.json.sha256"}
        return {str(path.relative_to(self.package)): path.read_bytes()
                for path in self.package.rglob("*")
                if path.is_file() and path.name not in markers}

    def records(self):
        """What each start of the client was given, in order."""
        return read_records(self.record_file)


class EndToEnd(unittest.TestCase):
    """A folder, a display and a site for each test."""

    rate = None
    needs_display = True

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vornak-e2e-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.display = None
        if self.needs_display:
            self.display = Display()
            self.addCleanup(self.display.close)
        self.site = Site(self.folder, self.rate)
        self.addCleanup(self.site.stop)
        self.launcher = Launcher(self.folder, self.site, self.display)
        self.addCleanup(lambda: self.assertEqual(self.launcher.strange_lines(), []))
        self.addCleanup(self.launcher.kill)


def kill_programs(binary):
    """Ends every process that was started as this program."""
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if (process / "cmdline").read_bytes().split(b"\0")[0] == os.fsencode(binary):
                os.kill(int(process.name), signal.SIGTERM)
        except (FileNotFoundError, ProcessLookupError, PermissionError):
            pass  # ended meanwhile, or another user's


def noise(seed, size):
    """Bytes that no packer makes smaller, the same for the same seed."""
    import random
    return random.Random(seed).randbytes(size)


def main():
    unittest.main(verbosity=2, argv=[sys.argv[0], *sys.argv[1:]])
