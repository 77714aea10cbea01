"""The web server's rules: what may be kept, what is asked for again, what is served at all."""

import gzip
import http.client
import itertools
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest
import urllib.parse

import kit
import publishkit
from webserver import make_certificate, temporary_paths

SERVER = kit.ROOT / "packaging/server"


class Server(publishkit.PublishTest):
    def setUp(self):
        super().setUp()
        self.site.publish("1.0", {f"{number}.bin": b"%d" % number for number in range(30)},
                          {"assets/sky.bin": b"sky"})
        hints = self.folder / "hints.json"
        hints.write_text('["<img src=\\"/images/news/rh_misc.png\\">"]')
        publishkit.run("hints", hints, self.site.content, "--images",
                       kit.ROOT / "tools/democlient/images")
        self.site.start()
        self.packed = next(iter(publishkit.packed_paths(
            publishkit.document(self.site.content)).values()))

    def ask(self, path, method="GET", **headers):
        connection = http.client.HTTPConnection(urllib.parse.urlsplit(self.site.address).netloc)
        self.addCleanup(connection.close)
        connection.request(method, path, headers=headers)
        answer = connection.getresponse()
        return answer, answer.read()

    def file(self, address):
        return (self.site.content / address.lstrip("/")).read_bytes()

    def test_what_never_changes_may_be_kept_for_ever(self):
        build = publishkit.build(self.site.content)
        for address in (self.packed, build["url"], build["versionurl"], build["assetsurl"],
                        build["assetsversionurl"]):
            answer, body = self.ask(address)
            self.assertEqual(answer.status, 200, address)
            self.assertEqual(answer.getheader("Cache-Control"),
                             "public, max-age=31536000, immutable", address)
            self.assertEqual(body, self.file(address))

    def test_verify_agrees_and_quick_leaves_the_packed_files_where_they_are(self):
        publishkit.run("verify", "--url", self.site.address)
        self.site.forget_requests()
        publishkit.run("verify", "--url", self.site.address, "--quick", "--all")
        lines = (self.site.server / "access.log").read_text().splitlines()
        packed = [line.split()[3] for line in lines if line.endswith(".lzma")]
        self.assertEqual(packed, ["HEAD"] * 32)

    def test_what_changes_in_place_is_asked_for_again(self):
        for address in ("/launcher/quelrametadata.json", "/hints.json"):
            answer, body = self.ask(address)
            self.assertEqual(answer.getheader("Cache-Control"), "no-cache")
            self.assertEqual(answer.getheader("Content-Type"), "application/json")
            self.assertEqual(body, self.file(address))
            tag = answer.getheader("ETag")
            self.assertEqual(self.ask(address, **{"If-None-Match": tag})[0].status, 304)

    def test_a_channel_is_served_like_the_rest(self):
        self.site.publish("1.1", {"0.bin": b"new"}, options=["--channel", "beta"])
        hints = self.folder / "hints.json"
        publishkit.run("hints", hints, self.site.content, "--channel", "beta")
        for address in ("/beta/launcher/quelrametadata.json", "/beta/hints.json"):
            answer, body = self.ask(address)
            self.assertEqual(answer.getheader("Cache-Control"), "no-cache")
            self.assertEqual(body, self.file(address))
        answer, _ = self.ask("/beta/images/news/rh_misc.png")
        self.assertEqual(answer.getheader("Content-Type"), "image/png")
        self.assertEqual(answer.getheader("Cache-Control"), "public, max-age=86400")
        for path in ("/beta/", "/beta/launcher/", "/.publisher/hints.json", "/a/b/hints.json"):
            self.assertEqual(self.ask(path)[0].status, 404, path)

    def test_a_publication_shows_to_caches_even_within_a_second(self):
        address = "/launcher/quelrametadata.json"
        tags = set()
        for version in ("1.1", "1.2", "1.3"):
            tags.add(self.ask(address)[0].getheader("ETag"))
            self.site.publish(version, {"0.bin": version.encode()})
        tags.add(self.ask(address)[0].getheader("ETag"))
        self.assertEqual(len(tags), 4)

    def test_documents_are_compressed_and_packed_files_are_not(self):
        accept = {"Accept-Encoding": "gzip"}
        url = publishkit.build(self.site.content)["url"]
        answer, body = self.ask(url, **accept)
        self.assertEqual(answer.getheader("Content-Encoding"), "gzip")
        self.assertEqual(gzip.decompress(body), self.file(url))
        answer, body = self.ask(self.packed, **accept)
        self.assertIsNone(answer.getheader("Content-Encoding"))
        self.assertEqual(answer.getheader("Content-Type"), "application/octet-stream")
        self.assertEqual(int(answer.getheader("Content-Length")), len(body))

    def test_nothing_else_is_served(self):
        self.assertTrue((self.site.content / ".publisher/packed.index").exists())
        (self.site.content / "notes.txt").write_text("of the operator")
        for path in ("/", "/launcher/", "/launcher/files/", "/launcher/files",
                     self.packed.rpartition("/")[0], "/launcher/packages/", "/launcher/self/",
                     "/images/", "/images/news", "/images/news/", "/notes.txt",
                     "/.publisher/packed.index", "/launcher/files/../../.publisher/packed.index",
                     "/launcher/packages/Quelra/", "/launcher/packages/Quelra/1.0",
                     "/launcher/../notes.txt", "/nothing"):
            self.assertEqual(self.ask(path)[0].status, 404, path)
        for method in ("POST", "PUT", "DELETE"):
            for path in (self.packed, "/hints.json", "/launcher/quelrametadata.json"):
                self.assertIn(self.ask(path, method)[0].status, (403, 405))
        self.assertEqual(self.ask(self.packed, "HEAD")[0].status, 200)

    def test_pictures_are_served_as_such(self):
        answer, body = self.ask("/images/news/rh_misc.png")
        self.assertEqual(answer.getheader("Content-Type"), "image/png")
        self.assertEqual(body, self.file("/images/news/rh_misc.png"))

    def test_a_part_of_a_packed_file(self):
        answer, body = self.ask(self.packed, Range="bytes=3-9")
        self.assertEqual(answer.status, 206)
        self.assertEqual(body, self.file(self.packed)[3:10])


class ProductionSite(unittest.TestCase):
    def listen_in(self, folder):
        """Replaces each port by a socket in that folder."""
        numbers = itertools.count()
        return lambda _: f"listen unix:{folder}/{next(numbers)}.socket"

    def test_nginx_accepts_it(self):
        if not shutil.which("openssl"):
            self.skipTest("openssl is missing; on Debian: apt-get install openssl")
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            make_certificate(folder / "privkey.pem", folder / "fullchain.pem")
            (folder / "snippets").mkdir()
            shutil.copy(SERVER / "vornak-content.conf", folder / "snippets")
            site = (SERVER / "vornak-site.conf").read_text()
            site = site.replace("/etc/ssl/quelra", str(folder))
            # Testing opens what it listens on; the real ports belong to root, and any other may be
            # somebody's.
            site = re.sub(r"listen (?:\[::\]:)?(\d+)", self.listen_in(folder), site)
            (folder / "nginx.conf").write_text(
                f"pid {folder}/pid; error_log stderr; events {{}}\n"
                f"http {{ access_log off; {temporary_paths(folder)}{site}\n}}\n")
            done = subprocess.run(["nginx", "-t", "-q", "-p", folder, "-c", folder / "nginx.conf",
                                   "-e", folder / "error.log"], text=True, capture_output=True,
                                  env=os.environ | {"PATH": os.environ["PATH"] + ":/usr/sbin"})
            self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    publishkit.main()
