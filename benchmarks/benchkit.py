"""What benchmarks/compare stands on: published packages, nginx, a player's machine, one run of a
program with its times. Everything is started here and ended here."""

import itertools
import json
import os
import pathlib
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import time
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.append(str(ROOT / "tests/support"))

import signing  # noqa: E402, F401
from display import Display  # noqa: E402, F401
from webserver import free_port, make_certificate, temporary_paths  # noqa: E402

BIN = pathlib.Path(os.environ.get("VORNAK_BIN", ROOT / "build" / "release" / "bin"))
FOLDER = pathlib.Path(os.environ.get("VORNAK_BENCH_FOLDER", ROOT / "build" / "benchmarks"))
SCALE = float(os.environ.get("VORNAK_BENCH_SCALE", "1"))
RUNS = int(os.environ.get("VORNAK_BENCH_RUNS", "5"))
NOTHING_NEW_S = 2.2  # a file that is younger is read again, because it may be changing


def median(values):
    return statistics.median(values)


def say(text):
    print(f"==> {text}", file=sys.stderr, flush=True)


class Package:
    """A published package of `count` files of `size` bytes whose program is the measuring client."""

    def __init__(self, name, count, size):
        self.name, self.count, self.size = name, count, size
        self.folder = FOLDER / f"{name}-{count}x{size}"
        self.source = self.folder / "client"
        self.tree = self.folder / "content"
        if not (self.folder / "ready").exists():
            self._make()
        self._read_documents()

    def _make(self):
        say(f"Making the package '{self.name}': {self.count} files of {self.size} bytes")
        shutil.rmtree(self.folder, ignore_errors=True)
        (self.source / "bin").mkdir(parents=True)
        shutil.copy(BIN / "bench-client", self.source / "bin")
        subprocess.run([BIN / "bench-payload", self.source, str(self.count), str(self.size)],
                       check=True)
        publish(self.source, self.tree)
        (self.folder / "ready").touch()

    def _read(self, address):
        """A document of the tree by the address that the launcher's documents give it."""
        path = urllib.parse.urlsplit(address).path
        return json.loads((self.tree / path.lstrip("/")).read_text())

    def _read_documents(self):
        launcher = "/launcher/quelrametadata.json"
        build = self._read(launcher)["packages"][0]["builds"][0]
        self.address = urllib.parse.urljoin(launcher, build["url"])
        self.files = self._read(self.address)["files"]

    def write_bare_list(self, path):
        """The list for bench-bareloop: what the package document says, without its form."""
        with path.open("w") as out:
            for file in self.files:
                address = urllib.parse.urljoin(self.address, file["url"])
                fields = [urllib.parse.urlsplit(address).path, file["localfile"], file["packedhash"],
                          file["unpackedhash"], str(file["unpackedsize"])]
                out.write("\t".join(fields) + "\n")

    def write_sums(self, path):
        with path.open("w") as out:
            for file in self.files:
                out.write(f"{file['unpackedhash']}  {file['localfile']}\n")

    def paths(self):
        """Where the packed files are on the server, in the order of their installation."""
        return [urllib.parse.urlsplit(urllib.parse.urljoin(self.address, file["url"])).path
                for file in self.files]

    def largest(self):
        """Packed size of the largest file, and the dictionary that it is packed with."""
        number = max(range(len(self.files)), key=lambda i: int(self.files[i]["packedsize"]))
        packed = self.tree / self.paths()[number].lstrip("/")
        with packed.open("rb") as file:
            dictionary = int.from_bytes(file.read(5)[1:], "little")
        return packed.stat().st_size, dictionary


def fetch_all(server, package, target=None):
    """Seconds that one connection takes to fetch all packed files, into a folder or to nowhere."""
    words = ["curl", "--fail", "--silent", "--insecure", "--http1.1"]
    for number, path in enumerate(package.paths()):
        out = target / f"{number}.lzma" if target else "/dev/null"
        words += ["--output", out, server.address + path]
    run = Run(words)
    if run.code != 0:
        sys.exit("curl failed")
    return run.seconds


class Server:
    """nginx as an ordinary user on a free loopback port; `rate` is what a connection gets a second
    ("12207k"), `tls` a certificate of its own. With `delay_ms` every answer comes that much later,
    by way of bench-relay.py."""

    def __init__(self, tree, rate=None, tls=False, delay_ms=0):
        self.folder = FOLDER / "server"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.port = free_port()
        extra = f"limit_rate {rate}; " if rate else ""
        if tls:
            self.certificate = self.folder / "certificate.pem"
            make_certificate(self.folder / "key.pem", self.certificate)
            extra += (f"ssl_certificate {self.certificate}; "
                      f"ssl_certificate_key {self.folder}/key.pem; ")
        (self.folder / "nginx.conf").write_text(
            f"daemon off; pid {self.folder}/pid; error_log {self.folder}/error.log;\n"
            "worker_processes 1; events {}\n"
            f"http {{ {temporary_paths(self.folder)} access_log off; sendfile on; tcp_nopush on;\n"
            # A player's connection stays open for the whole installation; so does this one.
            "keepalive_requests 1000000; types { application/json json; }\n"
            f"server {{ listen 127.0.0.1:{self.port}{' ssl' if tls else ''}; root {tree}; "
            f"{extra}}} }}\n")
        self.process = subprocess.Popen(["/usr/sbin/nginx", "-p", self.folder,
                                         "-c", self.folder / "nginx.conf"],
                                        stderr=subprocess.DEVNULL)
        self._wait()
        self.relay = None
        if delay_ms:
            server, self.port = self.port, free_port()
            self.relay = subprocess.Popen([sys.executable, ROOT / "benchmarks/bench-relay.py",
                                           str(self.port), str(server), str(delay_ms)])
            self._wait()
        self.address = f"{'https' if tls else 'http'}://127.0.0.1:{self.port}"

    def _wait(self):
        for _ in range(250):
            try:
                socket.create_connection(("127.0.0.1", self.port), 1).close()
                return
            except OSError:
                time.sleep(0.02)
        sys.exit("the server did not start")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.relay:
            self.relay.terminate()
            self.relay.wait()
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()


class Run:
    """One run of a program: its start (CLOCK_MONOTONIC, ns), seconds to its end, highest memory."""

    def __init__(self, command, environment=None, folder=None, output=subprocess.DEVNULL):
        self.started = time.monotonic_ns()
        process = subprocess.Popen(command, env=environment, cwd=folder, stdout=output,
                                   stderr=subprocess.DEVNULL, text=True)
        self.output = process.stdout.read() if output == subprocess.PIPE else ""
        _, status, usage = os.wait4(process.pid, 0)
        self.seconds = (time.monotonic_ns() - self.started) / 1e9
        self.memory = usage.ru_maxrss * 1024 / 1e6
        self.code = process.returncode = os.waitstatus_to_exitcode(status)


class Player:
    """A player's machine: settings and data of its own; the licence is accepted. It stays on disk
    until clear_players(): a file system that has just deleted thousands of files is slower."""

    numbers = itertools.count()

    def __init__(self, server=None, platform="offscreen", display=None):
        self.home = FOLDER / "players" / str(next(self.numbers))
        settings = self.home / "config" / "Vornak"
        settings.mkdir(parents=True)
        (settings / "Launcher.conf").write_text("[General]\neulaAccepted=true\n")
        self.package = self.home / "data" / "Vornak" / "Launcher" / "packages" / "Quelra"
        kept = {name: os.environ[name] for name in ("PATH", "LANG", "LC_ALL") if name in os.environ}
        self.environment = {
            **kept, "HOME": str(self.home), "XDG_DATA_HOME": str(self.home / "data"),
            "XDG_CONFIG_HOME": str(self.home / "config"), "QT_QPA_PLATFORM": platform,
            "VORNAK_CDN_URL": server.address if server else "http://127.0.0.1:9",
            "BENCH_CLIENT_FILE": str(self.home / "client")}
        if display:
            self.environment["DISPLAY"] = display

    def patch(self, launcher="vornak-launcher"):
        """Runs the launcher with --patch; adds the seconds until the client started."""
        mark = self.home / "client"
        mark.unlink(missing_ok=True)
        run = Run([BIN / launcher, "--patch"], self.environment)
        if run.code != 0 or not mark.exists():
            sys.exit(f"the launcher did not start the client (exit code {run.code})")
        run.until_client = (int(mark.read_text()) - run.started) / 1e9
        return run

    def installation_seconds(self):
        """From the making of the package folder to the marker of the finished installation, by the
        file system's clock."""
        begin = float(subprocess.check_output(["stat", "-c", "%.9W", self.package]))
        end = (self.package / "package.json.version").stat().st_mtime_ns / 1e9
        return end - begin

    def watched(self, command, first_window_only=False):
        """Runs a Qt program with the watch module and returns what that noted."""
        notes = self.home / "watch"
        notes.unlink(missing_ok=True)
        environment = {**self.environment, "LD_PRELOAD": str(BIN / "bench-watch.so"),
                       "BENCH_WATCH_FILE": str(notes)}
        if first_window_only:
            environment["BENCH_WATCH_FIRST"] = "1"
        run = Run(command, environment)
        figures = {}
        for line in notes.read_text().splitlines():
            name, value = line.split()
            figures.setdefault(name, float(value))
        figures["shown"] = (figures["shown"] - run.started) / 1e9
        return figures


def clear_players():
    shutil.rmtree(FOLDER / "players", ignore_errors=True)


def publish(source, tree):
    """The content that players get, made by the project's publisher; packed quickly, since how hard
    hardly matters to the time that unpacking takes."""
    publisher = BIN / "vornak-publish"
    subprocess.run([publisher, "package", source, tree, "--version", "1.0.1", "--executable",
                    "bin/bench-client", "--name", "Quelra", "--level", "1", "--quiet"], check=True)
    subprocess.run([publisher, "hints", ROOT / "resources" / "hints.json", tree,
                    "--images", ROOT / "tools" / "democlient" / "images", "--quiet"], check=True)
