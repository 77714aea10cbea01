"""What the publisher's end-to-end tests have in common: running it, and reading what it made."""

import json
import os
import subprocess
import sys
import unittest

import kit

PROGRAM = kit.BIN / "vornak-publish"

# The whole size of each proof takes many minutes; without this, smaller ones stand for them.
FULL = os.environ.get("VORNAK_FULL_PROOFS") == "1"


def proof_size(full, short, what):
    """One of two sizes, and a line in the output that says which."""
    size = full if FULL else short
    remedy = "" if FULL else f"; set VORNAK_FULL_PROOFS=1 for {full}"
    print(f"proof with {size} {what}{remedy}", file=sys.stderr, flush=True)
    return size


def run(*words, code=0, environment=None):
    """Runs the publisher with --json and returns what it tells."""
    done = subprocess.run([PROGRAM, *map(str, words), "--json"], text=True, capture_output=True,
                          env=environment)
    if done.returncode != code:
        raise AssertionError(f"exit code {done.returncode} of {words}:\n{done.stdout}{done.stderr}")
    return json.loads(done.stdout)


def build(content):
    """The only package's only build, as the metadata names it."""
    metadata = json.loads((content / "launcher/quelrametadata.json").read_text())
    return metadata["packages"][0]["builds"][0]


def document(content, version=None):
    """The current package document, or that of another version."""
    address = build(content)["url"]
    if version:
        parts = address.split("/")
        parts[-3] = version
        address = "/".join(parts)
    return json.loads((content / address.lstrip("/")).read_text())


def packed_paths(document):
    """Local path -> path of the packed file on the server."""
    return {file["localfile"]: f"/launcher/files/{file['packedhash'][:2]}/{file['packedhash']}.lzma"
            for file in document["files"]}


class PublishTest(kit.EndToEnd):
    needs_display = False

    def update(self, launcher=None):
        """Lets a player's launcher do its work to the end."""
        launcher = launcher or self.launcher
        launcher.start("--patch")
        self.assertEqual(launcher.ended(), 0, launcher.log.read_text())

    def new_player(self, name):
        folder = self.folder / name
        folder.mkdir()
        launcher = kit.Launcher(folder, self.site, None)
        self.addCleanup(launcher.kill)
        return launcher

    def packed_requests(self):
        return [path for path in self.site.requests() if path.endswith(".lzma")]

    def assert_installed(self, launcher, files, version):
        self.assertEqual(launcher.marker("package.json.version"), version)
        self.assertIsNone(launcher.marker("partial.package.json.version"))
        installed = launcher.installed()
        for path, data in files.items():
            self.assertEqual(installed.get(path), data, path)


def main():
    unittest.main(verbosity=2)
