"""What the Windows tests stand on besides the player (player.py): published content, a web server and
real releases of the launcher."""

import hashlib
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/support"))

from waiting import PATIENCE, wait_for  # noqa: E402, F401

# Releases by packaging/windows/make-release, the programs of the windows preset, the publisher.
RELEASES = pathlib.Path(os.environ["VORNAK_WINDOWS_RELEASES"])
WINDOWS_BIN = pathlib.Path(os.environ["VORNAK_WINDOWS_BIN"])
PUBLISHER = pathlib.Path(os.environ["VORNAK_PUBLISHER"])
HINT_PICTURES = ROOT / "tools/democlient/images"
DEMO_CLIENT = WINDOWS_BIN / "quelra-demo-client.exe"
LAUNCHER = "vornak-launcher.exe"
STARTER = "vornak-start.exe"


def release(version):
    """Folder of the released launcher's files."""
    return RELEASES / version / "launcher"


def installer(version):
    return RELEASES / version / f"vornak-launcher-{version}-setup.exe"


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


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

    def start(self, *rate):
        """Serves the content, at most `rate` (nginx's "3m" are 3 MiB a second) for each transfer."""
        done = subprocess.run([ROOT / "packaging/server/serve", self.content, self.server, *rate],
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


class SecureSite:
    """https in front of a site, with a certificate of its own. A context: serves inside."""

    def __init__(self, folder, site):
        self.folder = folder
        self.site = site
        self.key, self.certificate = folder / "key.pem", folder / "certificate.pem"
        self.address = None
        self.server = None

    def __enter__(self):
        self.folder.mkdir()
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                        "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                        "-keyout", self.key, "-out", self.certificate],
                       check=True, stderr=subprocess.DEVNULL)
        with socket.socket() as unused:
            unused.bind(("127.0.0.1", 0))
            port = unused.getsockname()[1]
        temporary = "".join(f"{kind}_temp_path {self.folder}/{kind};\n" for kind in
                            ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        configuration = self.folder / "nginx.conf"
        configuration.write_text(textwrap.dedent(f"""\
            daemon off;
            pid {self.folder}/pid;
            error_log {self.folder}/error.log info;
            events {{}}
            http {{
            access_log {self.folder}/access.log;
            # Whoever connects and then asks for nothing shows in the log soon.
            client_header_timeout 2s;
            {temporary}
            server {{
                listen 127.0.0.1:{port} ssl;
                ssl_certificate {self.certificate};
                ssl_certificate_key {self.key};
                location / {{ proxy_pass {self.site.address}; }}
            }}
            }}
            """))
        self.server = subprocess.Popen(["/usr/sbin/nginx", "-c", configuration],
                                       stderr=subprocess.DEVNULL)
        wait_for((self.folder / "pid").exists, "nginx to start")
        self.address = f"https://127.0.0.1:{port}"
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()

    def log(self, name):
        return (self.folder / f"{name}.log").read_text()
