"""What a web server needs that is started for one test or measurement."""

import socket
import subprocess


def free_port():
    with socket.socket() as unused:
        unused.bind(("127.0.0.1", 0))
        return unused.getsockname()[1]


def make_certificate(key, certificate):
    """Makes a key and a certificate that it signs itself, for https on loopback."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                    "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                    "-keyout", key, "-out", certificate], check=True, stderr=subprocess.DEVNULL)


def temporary_paths(folder):
    """nginx's settings that keep its temporary files in that folder; the system's own belong to
    root."""
    return "".join(f"{kind}_temp_path {folder}/{kind};\n" for kind in
                   ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
