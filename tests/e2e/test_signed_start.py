"""What a start asks of the server: with publishers' keys in the launcher one request more, without them
the same as ever, to the byte."""

import socket
import subprocess
import threading
import unittest

import kit
import signing

METADATA = "/launcher/quelrametadata.json"
VERSION = "/launcher/packages/Quelra/1.0/windows-x86_64"
# Of a start with everything up to date, in order.
REQUESTS = [METADATA, f"{VERSION}/version.txt", f"{VERSION}/assets.txt", f"{VERSION}/package.json",
            "/hints.json", "/launcher/self/1.0/windows-x86_64/version.txt"]
HEADERS = [b"Host", b"Connection", b"Accept-Encoding", b"Accept-Language", b"User-Agent"]


def path(request):
    return request.split(b" ")[1].decode()


def headers(request):
    return [line.split(b":")[0] for line in request.split(b"\r\n")[1:]]


class Recorder:
    """Passes connections on to a server and keeps what was sent to it."""

    def __init__(self, server):
        self.server = server
        self.sent = []
        self.listening = socket.create_server(("127.0.0.1", 0))
        self.address = f"http://127.0.0.1:{self.listening.getsockname()[1]}"
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                launcher, _ = self.listening.accept()
            except OSError:
                return  # closed
            # Kept in the order in which the connections were made.
            kept = bytearray()
            self.sent.append(kept)
            threading.Thread(target=self._serve, args=(launcher, kept), daemon=True).start()

    def _serve(self, launcher, kept):
        with launcher, socket.create_connection(self.server) as server:
            back = threading.Thread(target=self._pass_on, args=(server, launcher, None), daemon=True)
            back.start()
            self._pass_on(launcher, server, kept)
            back.join()

    @staticmethod
    def _pass_on(source, target, kept):
        try:
            while data := source.recv(65536):
                if kept is not None:
                    kept += data
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # either side is gone, and the other one will notice

    def take(self):
        """The requests since the last time, each as its bytes. Those for a hint's pictures are left out:
        which hint is shown is left to chance, and they are asked for when the window is painted."""
        sent, self.sent = self.sent, []
        requests = []
        for connection in sent:
            heads = bytes(connection).split(b"\r\n\r\n")
            assert heads.pop() == b"", "a request without its end, or with a body"
            requests += [head for head in heads if not path(head).startswith("/images/")]
        return requests

    def close(self):
        # Closing alone does not wake the thread that waits for a connection.
        self.listening.shutdown(socket.SHUT_RDWR)
        self.listening.close()


class SignedStart(kit.EndToEnd):
    needs_display = False

    def setUp(self):
        super().setUp()
        self.site.packing = ("--level", "1")
        self.site.publish("1.0", {"data.bin": b"data"}, {"assets/dusk.bin": b"dusk"})
        program = self.folder / "program"
        program.mkdir()
        (program / "vornak-launcher").write_bytes((kit.BIN / "vornak-launcher-1.0").read_bytes())
        self.site.publish_launcher(program, "1.0", "vornak-launcher")
        self.site.start()
        host, port = self.site.address.removeprefix("http://").split(":")
        self.recorder = Recorder((host, int(port)))
        self.addCleanup(self.recorder.close)
        # Where launchers ask; the content is the same.
        self.site.address = self.recorder.address

    def starts(self, name, binary):
        """The requests of a new player's first start, which installs, and of the second."""
        folder = self.folder / name
        folder.mkdir()
        player = kit.Launcher(folder, self.site, None, kit.BIN / binary)
        self.addCleanup(player.kill)
        player.accept_licence()
        made = []
        for _ in range(2):
            player.start("--patch")
            self.assertEqual(player.ended(), 0)
            made.append(self.recorder.take())
        self.assertEqual(len(player.records()), 2, player.log.read_text())
        return made

    def test_without_keys_signed_content_is_asked_for_as_unsigned_content_is(self):
        unsigned = self.starts("unsigned", "vornak-launcher-1.0")
        self.assertEqual([path(request) for request in unsigned[1]], REQUESTS)
        for request in [*unsigned[0], *unsigned[1]]:
            self.assertEqual(headers(request), HEADERS)
        signing.sign(self.site.content, 1)
        self.assertEqual(self.starts("signed", "vornak-launcher-1.0"), unsigned)

    def test_with_keys_the_signature_is_asked_for_besides(self):
        subprocess.run([self.site.publisher, "sign", self.site.content, "--quiet",
                        "--sign-with", signing.KEYS / "test.key", "--expires-in", "1"], check=True)
        document = (self.site.content / signing.METADATA).read_bytes()
        with_keys = self.starts("with-keys", "vornak-launcher-1.0-signed")
        without = self.starts("without", "vornak-launcher-1.0")
        for made, expected in zip(with_keys, without):
            place = [path(request) for request in made].index(METADATA) + 1
            signature = made.pop(place)
            self.assertEqual(path(signature),
                             f"/launcher/signatures/{signing.sha256(document)}.minisig")
            # Nothing else of it tells that there are keys.
            self.assertEqual(signature.replace(path(signature).encode(), METADATA.encode()),
                             made[place - 1])
            self.assertEqual(made, expected)


if __name__ == "__main__":
    kit.main()
