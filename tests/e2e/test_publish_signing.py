"""Signed content: whoever reads the metadata finds its signature, whatever happens to the publisher."""

import hashlib
import json
import os
import random
import shutil
import subprocess
import threading
import time

import kit
import publishkit

METADATA = "launcher/quelrametadata.json"


def minisign(*words):
    return subprocess.run(["minisign", *map(str, words)], stdin=subprocess.DEVNULL,
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          check=False).returncode == 0


class Signing(publishkit.PublishTest):
    def setUp(self):
        super().setUp()
        if not shutil.which("minisign"):
            self.skipTest("minisign is not installed (Debian: minisign)")
        self.key = self.folder / "key"
        self.public = self.folder / "key.pub"
        self.assertTrue(minisign("-G", "-W", "-s", self.key, "-p", self.public))
        self.content = self.site.content
        self.publish("1.0", "--sign-with", self.key)
        self.publish("1.1", "--sign-with", self.key)

    def publish(self, version, *options, code=0, **more):
        folder = self.folder / f"client-{version}"
        folder.mkdir(exist_ok=True)
        (folder / "client").write_bytes(version.encode())
        return publishkit.run("package", folder, self.content, "--version", version,
                              "--executable", "client", "--level", "0", *options, code=code, **more)

    def signature_of(self, document):
        name = hashlib.sha256(document).hexdigest()
        return self.content / f"launcher/signatures/{name}.minisig"

    def assert_signed(self):
        document = self.content / METADATA
        self.assertTrue(minisign("-V", "-q", "-m", document, "-p", self.public, "-x",
                                 self.signature_of(document.read_bytes())))
        publishkit.run("verify", self.content, "--key", self.public)

    def current(self):
        return json.loads((self.content / METADATA).read_text())

    def test_minisign_verifies_what_is_current(self):
        self.assert_signed()
        document = self.content / METADATA
        document.write_bytes(document.read_bytes() + b" ")
        publishkit.run("verify", self.content, "--key", self.public, code=1)

    def test_nobody_reads_a_document_without_its_signature(self):
        missing = []
        reads = [0]
        done = threading.Event()

        def read():
            while not done.is_set():
                document = (self.content / METADATA).read_bytes()
                if not self.signature_of(document).exists():
                    missing.append(document)
                reads[0] += 1

        reader = threading.Thread(target=read)
        reader.start()
        try:
            for turn in range(10):
                publishkit.run("switch", self.content, "--version", f"1.{turn % 2}",
                               "--sign-with", self.key)
        finally:
            done.set()
            reader.join()
        self.assertGreater(reads[0], 10)
        self.assertEqual(missing, [])

    def killed_switch(self, version, when):
        signatures = self.content / "launcher/signatures"
        before = len(os.listdir(signatures))
        process = subprocess.Popen([publishkit.PROGRAM, "switch", self.content, "--version",
                                    version, "--sign-with", self.key, "--quiet"])
        end = time.monotonic() + when
        if not when:
            # Just when the signature is there, and the document is on its way.
            end += 60
            while len(os.listdir(signatures)) == before and process.poll() is None:
                pass
        while time.monotonic() < end and process.poll() is None and when:
            time.sleep(0.0005)
        process.kill()
        process.wait()

    def test_kills_leave_a_signed_document(self):
        seed = int(os.environ.get("VORNAK_SEED", random.SystemRandom().randrange(10**6)))
        print(f"seed {seed}; repeat with VORNAK_SEED={seed}", flush=True)
        choice = random.Random(seed)
        old = 0
        for turn in range(publishkit.proof_size(200, 30, "kills")):
            version = f"1.{turn % 2}"
            before = (self.content / METADATA).read_bytes()
            self.killed_switch(version, 0 if turn % 2 else choice.uniform(0, 0.05))
            old += before == (self.content / METADATA).read_bytes()
            self.assert_signed()
        print(f"{old} times the old document stayed", flush=True)
        publishkit.run("switch", self.content, "--version", "1.0", "--sign-with", self.key)
        self.assert_signed()

    def test_a_program_signs(self):
        signer = self.folder / "signer"
        signer.write_text(f'#!/bin/sh\nexec minisign -S -s {self.key} -m "$1" -x "$2"\n')
        signer.chmod(0o755)
        environment = {**os.environ, "VORNAK_SIGN_METADATA": str(signer)}
        before = self.current()
        self.publish("1.2", environment=environment)
        self.assert_signed()
        self.assertGreater(self.current()["serial"], before["serial"])

        for script, reason in (("echo no stick >&2; exit 3", "exit code 3: no stick"),
                               ("exit 0", "made no signature"),
                               ("kill -9 $$", "crashed"),
                               ('echo x > "$2"', "the signature is malformed")):
            signer.write_text(f"#!/bin/sh\n{script}\n")
            before = (self.content / METADATA).read_bytes()
            told = publishkit.run("switch", self.content, "--version", "1.0", code=1,
                                  environment=environment)
            self.assertIn(reason, told["faults"][0])
            self.assertEqual((self.content / METADATA).read_bytes(), before)
        signer.unlink()
        told = publishkit.run("switch", self.content, "--version", "1.0", code=1,
                              environment=environment)
        self.assertIn("cannot be started", told["faults"][0])

    def test_a_program_may_not_sign_with_any_key(self):
        other = self.folder / "other"
        self.assertTrue(minisign("-G", "-W", "-s", other, "-p", f"{other}.pub"))
        signer = self.folder / "signer"
        signer.write_text(f'#!/bin/sh\nexec minisign -S -s {other} -m "$1" -x "$2"\n')
        signer.chmod(0o755)
        environment = {**os.environ, "VORNAK_SIGN_METADATA": str(signer)}
        told = publishkit.run("switch", self.content, "--version", "1.0", code=1,
                              environment=environment)
        self.assertIn("another key; --key PUB makes a key known", told["faults"][0])
        publishkit.run("switch", self.content, "--version", "1.0", "--key", f"{other}.pub",
                       environment=environment)
        # From then on it is known.
        publishkit.run("switch", self.content, "--version", "1.1", environment=environment)
        publishkit.run("verify", self.content, "--key", f"{other}.pub")

    def test_another_machine_signs(self):
        served = (self.content / METADATA).read_bytes()
        told = self.publish("1.2", "--stage")
        self.assertEqual((self.content / METADATA).read_bytes(), served)
        there = self.folder / "quelrametadata.json"
        shutil.copy(told["tosign"], there)
        publishkit.run("switch", self.content, "--version", "1.2", code=1)
        self.assertTrue(minisign("-S", "-s", self.key, "-m", there))
        publishkit.run("sign", self.content, "--signature", f"{there}.minisig")
        self.assertEqual((self.content / METADATA).read_bytes(), served)
        publishkit.run("switch", self.content, "--version", "1.2")
        self.assertEqual((self.content / METADATA).read_bytes(), there.read_bytes())
        self.assert_signed()
        states = publishkit.run("list", self.content)["signatures"]
        self.assertEqual(states, [{"channel": "", "serial": self.current()["serial"],
                                   "signed": True}])

    def test_signatures_are_uploaded_and_served(self):
        self.publish("1.2", "--channel", "beta", "--sign-with", self.key)
        self.site.start()
        for address in (self.site.address, self.site.address + "/beta"):
            publishkit.run("verify", "--url", address, "--key", self.public)
        if not shutil.which("rclone"):
            self.skipTest("rclone is not installed (Debian: rclone)")
        uploaded = self.folder / "uploaded"
        subprocess.run([kit.ROOT / "packaging/server/upload", self.content, uploaded],
                       capture_output=True, check=True)
        publishkit.run("verify", uploaded, "--key", self.public)
        publishkit.run("verify", uploaded, "--channel", "beta", "--key", self.public)

    def test_a_pair_made_here(self):
        key = self.folder / "own"
        done = subprocess.run([publishkit.PROGRAM, "key", key, "--json"], input="secret\nrest\n",
                              text=True, capture_output=True, check=True)
        made = json.loads(done.stdout)
        self.assertIn(made["publickey"], (self.folder / "own.pub").read_text())
        done = subprocess.run([publishkit.PROGRAM, "sign", self.content, "--sign-with", key],
                              input="secret\n", text=True, capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        publishkit.run("verify", self.content, "--key", made["publickey"])
        for passphrase in ("wrong\n", ""):
            done = subprocess.run([publishkit.PROGRAM, "sign", self.content, "--sign-with", key],
                                  input=passphrase, text=True, capture_output=True, check=False)
            self.assertEqual(done.returncode, 1)
            self.assertIn("passphrase", done.stderr)


if __name__ == "__main__":
    publishkit.main()
