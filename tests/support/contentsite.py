"""A content server as players meet it: published content and nginx in front of it."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

from waiting import wait_for

ROOT = pathlib.Path(__file__).resolve().parents[2]


def served(content):
    """Path -> bytes of everything but the publisher's own notes."""
    return {str(path.relative_to(content)): path.read_bytes() for path in content.rglob("*")
            if path.is_file() and ".publisher" not in path.parts}


def write_files(folder, files):
    """Writes files (path -> bytes) into the folder."""
    for path, data in files.items():
        target = folder / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(data)


class Site:
    """A content tree and the web server in front of it.

    `publisher` makes the content; `client` is the program that stands in for the game, `executable`
    its place in what is published; `rate` limits each transfer (nginx's "3m" are 3 MiB a second);
    `packing` are the publisher's options for how files are packed."""

    def __init__(self, folder, publisher, client, executable, rate=None, packing=()):
        self.folder = folder
        self.content = folder / "content"
        self.server = folder / "server"
        self.address = None
        self.publisher = publisher
        self.client = client
        self.executable = executable
        self.rate = rate
        self.packing = packing

    def _run_publisher(self, command, source, *words):
        subprocess.run([self.publisher, command, source, self.content, *words, "--quiet"],
                       check=True)

    def publish(self, version, files, assets=None, options=(), program_tail=b""):
        """Publishes a client of these files (path -> bytes); the demo client itself comes along. What
        is appended to a program makes it another file and changes nothing of what it does."""
        program = {self.executable: self.client.read_bytes() + program_tail}
        source = self._folder_of({**program, **files})
        shutil.copymode(self.client, source / self.executable)
        words = ["--version", version, "--executable", self.executable, *self.packing, *options]
        if assets:
            words += ["--assets", self._folder_of(assets)]
        self._run_publisher("package", source, *words)

    def _folder_of(self, files):
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.folder, prefix="published-"))
        write_files(folder, files)
        return folder

    def publish_launcher(self, folder, version, executable):
        """Offers the launcher in that folder to the launchers that run."""
        self._run_publisher("launcher", folder, "--version", version, "--executable", executable,
                            *self.packing)

    def publish_hints(self):
        self._run_publisher("hints", ROOT / "resources/hints.json",
                            "--images", ROOT / "tools/democlient/images")

    def start(self, rate=None):
        """Serves the content; `rate` stands for the site's own this time."""
        rate = rate or self.rate
        done = subprocess.run([ROOT / "packaging/server/serve", self.content, self.server,
                               *([rate] if rate else [])],
                              check=True, text=True, stdout=subprocess.PIPE)
        self.address = done.stdout.strip()

    def requests(self):
        """Paths asked for so far, in order."""
        log = self.server / "access.log"
        lines = log.read_text().splitlines() if log.exists() else []
        return [line.split()[4] for line in lines]

    def forget_requests(self):
        (self.server / "access.log").write_text("")

    def stop(self):
        pid = self.server / "nginx.pid"
        if pid.exists():
            os.kill(int(pid.read_text()), signal.SIGTERM)
            wait_for(lambda: not pid.exists(), "nginx to end")
