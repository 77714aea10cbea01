"""Somebody has the content server, but not the publisher's key: whatever he serves, a launcher that takes
signed content only installs and starts nothing of it."""

import json
import os
import re
import shutil
import time
import unittest

import kit
import signing
from kit import wait_for

VERSIONS = {"1.0": ({"data/map.bin": kit.noise(1, 50_000)}, {"sky.bin": kit.noise(2, 40_000)}),
            "2.0": ({"data/map.bin": kit.noise(3, 50_000)}, {"sky.bin": kit.noise(4, 40_000)})}
# There are no hints here, which is none.
TROUBLE = re.compile(r"^(Cannot trust|Download failed(?!.*hints)|packed hash mismatch)", re.M)
YEARS = 3 * 365 * 24 * 3600


def changed(data):
    return data[:-1] + bytes([data[-1] ^ 1])


class HostileServer(kit.EndToEnd):
    needs_display = False

    def setUp(self):
        super().setUp()
        self.serial = 0
        self.site.packing = ("--level", "0")
        self.served = self.folder / "served"
        self.launcher.binary = kit.BIN / "vornak-launcher-1.0-signed"

    def make(self, name):
        """A folder of content, unsigned, that the publisher writes to from now on."""
        self.site.content = self.folder / name
        return self.site.content

    def serve(self, source, **members):
        """What the publisher does: serves that content, signed, with the next serial."""
        # Emptied and not removed: the web server has it open.
        self.served.mkdir(exist_ok=True)
        for entry in self.served.iterdir():
            shutil.rmtree(entry) if entry.is_dir() else entry.unlink()
        shutil.copytree(source, self.served, dirs_exist_ok=True)
        self.serial += 1
        return signing.sign(self.served, self.serial, **members)

    def path(self, name):
        """The only file of that name in what is served."""
        paths = [path for path in self.served.rglob(name) if ".publisher" not in path.parts]
        self.assertEqual(len(paths), 1, name)
        return paths[0]

    def packed_files(self):
        return sorted((self.served / "launcher/files").rglob("*.lzma"))

    def start_and_end(self, what, **environment):
        """Starts the launcher, waits until it has met the trouble and is at rest, or until it has
        ended by itself, and ends it. Returns what it logged."""
        self.launcher.log.unlink(missing_ok=True)
        self.launcher.start("--patch", **environment)

        def has_ended():
            return self.launcher.process.poll() is not None

        wait_for(lambda: has_ended() or TROUBLE.search(self.launcher.log.read_text()), what)
        before = None
        while not has_ended() and before != (self.launcher.log.read_bytes(), self.site.requests()):
            before = self.launcher.log.read_bytes(), self.site.requests()
            time.sleep(0.3)
        self.launcher.kill()
        return self.launcher.log.read_text()


class Package(HostileServer):
    """The client. Two versions stand against each other: one is installed, the other one is attacked."""

    def setUp(self):
        super().setUp()
        self.sources = {}
        self.contents = {}
        for version, (files, assets) in VERSIONS.items():
            self.sources[version] = self.make(f"source-{version}")
            self.site.publish(version, files, assets, program_tail=version.encode())
            self.contents[version] = {**files, **assets,
                                      "bin/quelra": kit.BIN.joinpath("quelra-demo-client").read_bytes()
                                      + version.encode()}
        self.site.content = self.served
        self.serve(self.sources["1.0"])
        self.site.start()
        self.launcher.accept_licence()
        self.update_to("1.0")

    def update_to(self, version):
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)
        self.assertEqual(self.launcher.installed(), self.contents[version])
        self.installed = version

    def offer(self, **members):
        """Serves the version that is not installed."""
        self.offered = next(version for version in VERSIONS if version != self.installed)
        return self.serve(self.sources[self.offered], **members)

    def state(self):
        return (self.launcher.installed(), self.launcher.marker("package.json"),
                self.launcher.marker("package.json.version"),
                self.launcher.marker("assets.json.sha256"), len(self.launcher.records()))

    def attack(self, name, change, untouched=True, log="", **environment):
        """Starts the launcher against the changed server, looks at what it did, and lets the next start
        against a mended server make up for it. Without `untouched`, what was signed may have come."""
        with self.subTest(name):
            document = self.offer()
            before = self.state()
            change(document)
            text = self.start_and_end(name, **environment)
            self.assertIn(log, text)
            after = self.state()
            if untouched:
                self.assertEqual(after, before)
                self.assertIsNone(self.launcher.marker("partial.package.json.version"))
            for path, data in after[0].items():
                self.assertIn(data, [content[path] for content in self.contents.values()])
            # A package that has come goes again: with "--patch", a launcher leaves assets alone that
            # are all that is to be updated.
            came = self.launcher.marker("package.json.version") == self.offered
            mended = self.installed if came else self.offered
            self.serve(self.sources[mended])
            self.update_to(mended)

    def test_metadata(self):
        metadata = self.served / signing.METADATA
        old = metadata.read_bytes()
        old_signature = signing.signature_file(self.served, old).read_bytes()

        def sign_with(key="test", **members):
            def change(document):
                members.setdefault("serial", self.serial)
                changed_document = json.dumps({**json.loads(document), **members}).encode()
                signing.put(self.served, changed_document, signing.signature(changed_document, key))
            return change

        def replace(make):
            return lambda document: metadata.write_bytes(make(document))

        def replace_signature(make):
            return lambda document: signing.signature_file(self.served, document).write_bytes(
                make(document))

        def huge_signature(document):
            os.truncate(signing.signature_file(self.served, document), 10 ** 9)

        def foreign_program(document):
            metadata.write_bytes(document.replace(b'"serial"', b'"name": "mine", "serial"'))

        def serve_old(document):
            signing.put(self.served, old, old_signature)

        none = "there is no signature of it"
        self.attack("changed", replace(changed), log=none)
        self.attack("cut", replace(lambda document: document[:-20]), log=none)
        self.attack("another member", foreign_program, log=none)
        self.attack("old, with its signature", serve_old, log="was accepted before")
        self.attack("old, with the new signature", lambda document: signing.put(
            self.served, old, signing.signature(document)), log="is not of this document")
        self.attack("unsigned", lambda document: shutil.rmtree(self.served / "launcher/signatures"),
                    log=none)
        self.attack("signed by another key", sign_with("other"), log="is of another key")
        self.attack("with the signature of another document",
                    replace_signature(lambda document: old_signature), log="is not of this document")
        self.attack("a changed signature", replace_signature(
            lambda document: changed(signing.signature(document))), log="Cannot trust")
        self.attack("a cut signature", replace_signature(
            lambda document: signing.signature(document)[:-30]), log="is malformed")
        self.attack("a signature of 1 GB", huge_signature, log=none)
        self.attack("expired", sign_with(expires="2020-01-01T00:00:00Z"), log="it expired at 2020")
        self.attack("the serial of one that was accepted", sign_with(serial=1),
                    log="its serial number is 1, and")
        self.attack("of a channel", sign_with(channel="beta"), log="it is that of the channel beta")

    def test_wrong_clock(self):
        old = (self.served / signing.METADATA).read_bytes()
        old_signature = signing.signature_file(self.served, old).read_bytes()
        clock = {"LD_PRELOAD": str(kit.BIN / "vornak-shift-clock.so")}

        def sign_until(seconds):
            def change(document):
                end = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() + seconds))
                signing.sign(self.served, self.serial, expires=end)
            return change

        # Who reads the time wrong refuses what is good, and never takes what is old.
        self.attack("years ahead", sign_until(3600), log="it expired at ",
                    VORNAK_CLOCK_SHIFT=str(YEARS), **clock)
        self.attack("years behind", lambda document: signing.put(self.served, old, old_signature),
                    log="was accepted before", VORNAK_CLOCK_SHIFT=str(-YEARS), **clock)

    def test_what_lies_below(self):
        def at(name, make):
            def change(document):
                path = self.path(name)
                path.write_bytes(make(path.read_bytes()))
            return change

        def of_the_other(name):
            def change(document):
                source = next((self.sources[self.installed] / "launcher/packages").rglob(name))
                self.path(name).write_bytes(source.read_bytes())
            return change

        def packed(make):
            def change(document):
                for path in self.packed_files():
                    path.write_bytes(make(path.read_bytes()))
            return change

        def swapped_files(document):
            for path in self.packed_files():
                shutil.copy(sorted((self.sources[self.installed] / "launcher/files")
                                   .rglob("*.lzma"))[0], path)

        wrong = "its SHA-256 is not the one that was signed"
        # Without its document or a file of it, nothing of a package comes.
        for name, make in (("changed", changed), ("cut", lambda data: data[:-1]),
                           ("a page", lambda data: b"<html>login</html>")):
            self.attack(f"document {name}", at("package.json", make), log=wrong)
            self.attack(f"version text {name}", at("version.txt", make), untouched=False, log=wrong)
            self.attack(f"list {name}", at("assets.json", make), untouched=False, log=wrong)
            self.attack(f"identity {name}", at("assets.txt", make), untouched=False, log=wrong)
            self.attack(f"files {name}", packed(make), untouched=False, log="packed hash mismatch")
        for name in ("package.json", "version.txt", "assets.json", "assets.txt"):
            self.attack(f"{name} of the other version", of_the_other(name),
                        untouched=name == "package.json", log=wrong)
        self.attack("files of the other version", swapped_files, untouched=False,
                    log="packed hash mismatch")


class Launcher(HostileServer):
    """The launcher's own replacement, from 1.0 to 1.1."""

    def setUp(self):
        super().setUp()
        self.program = self.folder / "program"
        self.program.mkdir()
        self.launcher.binary = self.program / "vornak-launcher"
        self.source = self.make("source")
        self.site.publish("1.0", {"data.bin": b"data"})
        self.current = self.folder / "current"
        shutil.copytree(self.source, self.current)
        build = self.folder / "build"
        build.mkdir()
        shutil.copy(kit.BIN / "vornak-launcher-1.1-signed", build / "vornak-launcher")
        self.site.publish_launcher(build, "1.1", "vornak-launcher")
        self.site.content = self.served
        self.serve(self.current)
        self.site.start()
        self.addCleanup(kit.kill_programs, self.launcher.binary)
        self.restore()
        self.launcher.accept_licence()
        self.launcher.start("--patch")
        self.assertEqual(self.launcher.ended(), 0)

    def restore(self):
        """The launcher is 1.0 again."""
        kit.kill_programs(self.launcher.binary)
        shutil.rmtree(self.program)
        self.program.mkdir()
        shutil.copy(kit.BIN / "vornak-launcher-1.0-signed", self.launcher.binary)

    def attack(self, name, change, log):
        with self.subTest(name):
            document = self.serve(self.source)
            before = self.launcher.binary.read_bytes()
            change(document)
            self.assertIn(log, self.start_and_end(name))
            self.assertEqual(self.launcher.binary.read_bytes(), before)
            self.assertEqual(os.listdir(self.program), ["vornak-launcher"])

            # The next start against the mended server replaces it.
            self.serve(self.source)
            self.site.forget_requests()
            self.launcher.start("--patch")
            self.assertEqual(self.launcher.ended(), 0)
            new = (kit.BIN / "vornak-launcher-1.1-signed").read_bytes()
            self.assertEqual(self.launcher.binary.read_bytes(), new)
            self.restore()

    def test_replacement(self):
        self_folder = self.served / "launcher/self"

        def at(name, make):
            def change(document):
                path = next(self_folder.rglob(name))
                path.write_bytes(make(path.read_bytes()))
            return change

        def foreign_launcher(document):
            # A launcher of his own, with everything that belongs to it but the signature.
            metadata = json.loads(document)
            package = next(self_folder.rglob("package.json"))
            package.write_bytes(package.read_bytes().replace(b"1.1", b"6.6"))
            metadata["launcher"]["builds"][0]["urlsha256"] = signing.sha256(package.read_bytes())
            (self.served / signing.METADATA).write_bytes(json.dumps(metadata).encode())

        def packed(document):
            for path in self.packed_files():
                path.write_bytes(changed(path.read_bytes()))

        wrong = "its SHA-256 is not the one that was signed"
        self.attack("version text", at("version.txt", lambda data: b"1.2"), wrong)
        self.attack("document", at("package.json", changed), wrong)
        self.attack("document with another program",
                    at("package.json", lambda data: data.replace(b"vornak-launcher", b"evil")), wrong)
        self.attack("packed files", packed, "packed hash mismatch")
        self.attack("a launcher of his own", foreign_launcher, "there is no signature of it")
        self.attack("signed by another key", lambda document: signing.put(
            self.served, document, signing.signature(document, "other")), "is of another key")


if __name__ == "__main__":
    unittest.main(verbosity=2)
