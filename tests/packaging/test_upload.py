"""The upload of a content folder: the order, the headers, again and again, and what is removed."""

import http.server
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/support"))

from contentsite import served  # noqa: E402

UPLOAD = ROOT / "packaging/server/upload"
PUBLISHER = pathlib.Path(os.environ["VORNAK_BIN"]) / "vornak-publish"
FOREVER = "public, max-age=31536000, immutable"


class Recorder(http.server.BaseHTTPRequestHandler):
    """As much of a WebDAV store as an upload needs; it keeps what it was given, and in which order."""

    protocol_version = "HTTP/1.1"

    def log_message(self, *words):
        pass

    def answer(self, code, body=b"", kind="text/xml"):
        self.send_response(code)
        self.send_header("Content-Length", str(len(body)))
        self.send_header("Content-Type", kind)
        self.end_headers()
        self.wfile.write(body)

    def do_PROPFIND(self):
        self.rfile.read(int(self.headers.get("Content-Length") or 0))
        size = self.server.sizes.get(self.path)
        if size is None:
            return self.answer(404)
        return self.answer(207, (
            '<?xml version="1.0"?><d:multistatus xmlns:d="DAV:"><d:response><d:href>'
            f"{self.path}</d:href><d:propstat><d:prop><d:getcontentlength>{size}"
            "</d:getcontentlength><d:resourcetype/></d:prop><d:status>HTTP/1.1 200 OK</d:status>"
            "</d:propstat></d:response></d:multistatus>").encode())

    def do_MKCOL(self):
        self.answer(201)

    def do_PUT(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.server.sizes[self.path] = len(body)
        self.server.received.append((self.path, self.headers["Cache-Control"],
                                     self.headers["Content-Type"]))
        self.answer(201)


@unittest.skipUnless(shutil.which("rclone"), "rclone is missing: apt-get install rclone")
class Upload(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.content = self.folder / "content"
        self.remote = self.folder / "remote"
        self.publish("1.0")
        self.publish("1.1", "--channel", "beta")
        hints = self.folder / "hints.json"
        hints.write_text('["<img src=\\"/images/news/rh_misc.png\\">"]')
        self.run_publisher("hints", hints, self.content, "--images",
                           ROOT / "tools/democlient/images")

    def run_publisher(self, *words):
        subprocess.run([PUBLISHER, *map(str, words), "--quiet"], check=True)

    def publish(self, version, *options):
        source = self.folder / f"client-{version}"
        (source / "assets").mkdir(parents=True)
        (source / "client").write_text("program")
        (source / "assets/sky").write_text(f"sky of {version}")
        self.run_publisher("package", source, self.content, "--version", version, "--executable",
                           "client", "--assets", "assets", "--level", "0", *options)

    def upload(self, *words, code=0):
        done = subprocess.run([UPLOAD, *map(str, words)], text=True, capture_output=True,
                              env=os.environ | {"RCLONE_CONFIG": str(self.folder / "none")})
        self.assertEqual(done.returncode, code, done.stderr)
        return done.stdout.splitlines()

    def test_copies_everything_and_tells_what_caches_must_forget(self):
        told = self.upload("--url", "https://static.example/", self.content, self.remote)
        self.assertEqual(served(self.remote), served(self.content))
        self.assertFalse((self.remote / ".publisher").exists())
        self.assertEqual(told, ["https://static.example" + path for path in
                                ("/beta/launcher/quelrametadata.json", "/hints.json",
                                 "/launcher/quelrametadata.json")])
        self.run_publisher("verify", self.remote)

    def test_a_second_upload_brings_what_is_new_and_keeps_what_is_old(self):
        self.upload(self.content, self.remote)
        before = {path: path.stat().st_ctime_ns for path in self.remote.rglob("*.lzma")}
        self.publish("1.2")
        self.run_publisher("prune", self.content, "--keep", "0")
        self.upload(self.content, self.remote)
        for path, time in before.items():
            self.assertEqual(path.stat().st_ctime_ns, time)
        self.assertTrue((self.remote / "launcher/packages/Quelra/1.0").exists())
        self.run_publisher("verify", self.remote)
        self.upload("--delete", self.content, self.remote)
        self.assertEqual(served(self.remote), served(self.content))

    def test_a_dry_run_copies_and_removes_nothing(self):
        self.upload("--dry-run", self.content, self.remote)
        self.assertFalse(self.remote.exists())
        self.upload(self.content, self.remote)
        self.publish("1.2")
        self.run_publisher("prune", self.content, "--keep", "0")
        before = served(self.remote)
        self.upload("--dry-run", "--delete", self.content, self.remote)
        self.assertEqual(served(self.remote), before)

    def test_wrong_usage_and_no_content(self):
        self.upload(self.content, code=2)
        self.upload("--nonsense", self.content, self.remote, code=2)
        self.upload(self.folder / "nowhere", self.remote, code=1)
        self.assertFalse(self.remote.exists())

    def test_a_failed_copy_ends_it_before_the_documents(self):
        self.remote.mkdir()
        (self.remote / "launcher").write_text("in the way")
        self.upload(self.content, self.remote, code=1)
        self.assertEqual(list(self.remote.rglob("*")), [self.remote / "launcher"])

    def test_order_and_headers(self):
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Recorder)
        server.sizes, server.received = {}, []
        self.addCleanup(server.server_close)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        self.upload(self.content, f":webdav,url='http://127.0.0.1:{server.server_port}':game")
        steps = [("/game/launcher/files/.*", FOREVER, "application/octet-stream"),
                 (r"/game/launcher/packages/.*\.json", FOREVER, "application/json"),
                 (r"/game/launcher/packages/.*\.txt", FOREVER, "text/plain; charset=utf-8"),
                 (r"/game/images/.*\.png", "public, max-age=86400", "image/png"),
                 ("/game/hints.json", "no-cache", "application/json"),
                 ("/game/(beta/)?launcher/quelrametadata.json", "no-cache", "application/json")]
        seen = []
        for path, *headers in server.received:
            step = next(number for number, (pattern, *_) in enumerate(steps)
                        if re.fullmatch(pattern, path))
            self.assertEqual(headers, list(steps[step][1:]), path)
            seen.append(step)
        self.assertEqual(seen, sorted(seen))
        self.assertEqual(set(seen), set(range(len(steps))))
        self.assertEqual({path for path, *_ in server.received},
                         {f"/game/{path}" for path in served(self.content)})

    def test_a_store_over_the_network(self):
        self.remote.mkdir()
        server = subprocess.Popen(["rclone", "serve", "webdav", "--addr", "127.0.0.1:0",
                                   self.remote], stderr=subprocess.PIPE, text=True,
                                  env=os.environ | {"RCLONE_CONFIG": str(self.folder / "none")})
        self.addCleanup(server.wait)
        self.addCleanup(server.stderr.close)
        self.addCleanup(server.terminate)
        address = None
        while not address:
            line = server.stderr.readline()
            self.assertTrue(line, "rclone serve ended")
            address = re.search(r"http://127\.0\.0\.1:\d+", line)
        store = f":webdav,url='{address.group()}':"
        self.upload(self.content, store)
        self.assertEqual(served(self.remote), served(self.content))
        self.publish("1.2")
        self.upload(self.content, store)
        self.assertEqual(served(self.remote), served(self.content))


if __name__ == "__main__":
    unittest.main()
