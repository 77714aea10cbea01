"""What the Windows tests stand on besides the player (player.py): published content, a web server and
real releases of the launcher."""

import hashlib
import os
import pathlib
import subprocess
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/support"))

import contentsite  # noqa: E402
from contentsite import served, write_files  # noqa: E402, F401
from waiting import PATIENCE, wait_for  # noqa: E402, F401
from webserver import free_port, make_certificate, temporary_paths  # noqa: E402

# Releases by packaging/windows/make-release, the programs of the windows preset, the publisher.
RELEASES = pathlib.Path(os.environ["VORNAK_WINDOWS_RELEASES"])
WINDOWS_BIN = pathlib.Path(os.environ["VORNAK_WINDOWS_BIN"])
PUBLISHER = pathlib.Path(os.environ["VORNAK_PUBLISHER"])
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


class Site(contentsite.Site):
    """A content tree with Windows' demo client, and the web server in front of it."""

    def __init__(self, folder):
        super().__init__(folder, PUBLISHER, DEMO_CLIENT, "bin/quelra demo.exe",
                         packing=["--level", "1"])


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
        make_certificate(self.key, self.certificate)
        port = free_port()
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
            {temporary_paths(self.folder)}
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
