"""The script for a build server, as the document shows it: what it publishes, and what it does when one
of its steps fails."""

import os
import re
import shutil
import subprocess
import unittest

import kit
import publishkit

DOCUMENT = kit.ROOT / "docs/publishing.md"
UPLOAD = kit.ROOT / "packaging/server/upload"


def recipe():
    """The only script of the document."""
    scripts = re.findall(r"^```bash\n(#!/bin/bash\n.*?)^```$", DOCUMENT.read_text(),
                         re.MULTILINE | re.DOTALL)
    assert len(scripts) == 1, f"{len(scripts)} scripts in {DOCUMENT}"
    return scripts[0]


@unittest.skipUnless(shutil.which("rclone"), "rclone is missing: apt-get install rclone")
class Recipe(publishkit.PublishTest):
    def setUp(self):
        super().setUp()
        self.script = self.folder / "publish-client"
        self.script.write_text(recipe())
        self.script.chmod(0o755)
        # What the server shows is what was uploaded.
        self.content = self.folder / "published"
        self.uploads = self.folder / "uploads"
        self.uploader = self.wrapper("")
        self.build("1.0")
        self.site.start()
        self.run_recipe("1.0")

    def wrapper(self, then):
        """An upload of which the commands `then` are a part; they find its number in $number."""
        path = self.folder / "upload"
        path.write_text(f'#!/bin/bash\nset -e\necho >>"{self.uploads}"\n'
                        f'number=$(wc -l <"{self.uploads}")\n"{UPLOAD}" "$@"\n{then}\n')
        path.chmod(0o755)
        self.uploads.write_text("")
        return path

    def build(self, version, extra=()):
        client = self.folder / "build/client"
        shutil.rmtree(client, ignore_errors=True)
        for path, data in {"bin/quelra.exe": f"client {version}", "same.bin": "the same",
                           "assets/sky.bin": f"sky {version}", **dict(extra)}.items():
            (client / path).parent.mkdir(parents=True, exist_ok=True)
            (client / path).write_text(data)

    def run_recipe(self, *words, code=0):
        done = subprocess.run(
            [self.script, *words], cwd=self.folder, text=True, capture_output=True,
            env=os.environ | {"CONTENT": str(self.content), "STORE": str(self.site.content),
                              "ADDRESS": self.site.address, "UPLOAD": str(self.uploader),
                              "RCLONE_CONFIG": str(self.folder / "none"),
                              "PATH": f"{kit.BIN}:{os.environ['PATH']}"})
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        return done

    def assert_current(self, version, folder=None):
        self.assertIn(f"/{version}/", publishkit.build(folder or self.site.content)["url"])

    def packed(self, version, path):
        document = publishkit.document(self.content, version)
        return self.content / publishkit.packed_paths(document)[path].lstrip("/")

    def test_publishes_for_players(self):
        self.assert_current("1.0")
        self.build("1.1")
        done = self.run_recipe("1.1")
        self.assert_current("1.1")
        self.assertIn(f"{self.site.address}/launcher/quelrametadata.json\n", done.stdout)
        publishkit.run("verify", "--url", self.site.address)
        # Again, as after a cut connection.
        self.run_recipe("1.1")
        self.assert_current("1.1")

    def test_wrong_usage(self):
        self.run_recipe(code=2)

    def test_a_fault_in_the_build_changes_nothing(self):
        self.build("1.1", {"a.vornak-new": "x"})
        done = self.run_recipe("1.1", code=1)
        self.assertIn("the launcher keeps this name for itself", done.stdout)
        for folder in (self.content, self.site.content):
            self.assert_current("1.0", folder)

    def test_a_damaged_folder_is_not_uploaded(self):
        packed = self.packed("1.0", "same.bin")
        # Of the same size, so that only reading finds it.
        packed.write_bytes(bytes(byte ^ 1 for byte in packed.read_bytes()))
        self.build("1.1")
        uploads = self.uploads.read_text()
        self.run_recipe("1.1", code=1)
        self.assertEqual(self.uploads.read_text(), uploads)
        for folder in (self.content, self.site.content):
            self.assert_current("1.0", folder)

    def test_an_upload_that_breaks_off_is_run_again(self):
        self.build("1.1")
        self.uploader = self.folder / "no such program"
        self.run_recipe("1.1", code=3)
        for folder in (self.content, self.site.content):
            self.assert_current("1.0", folder)
        self.uploader = self.wrapper("")
        self.run_recipe("1.1")
        self.assert_current("1.1")

    def test_goes_back_when_players_would_get_faults(self):
        self.build("1.1")
        damaged = self.site.content / "launcher/packages/Quelra/1.1/windows-x86_64/assets.txt"
        self.uploader = self.wrapper(f'echo nonsense >"{damaged}"')
        done = self.run_recipe("1.1", code=4)
        self.assertIn("1.0 is current again", done.stderr)
        for folder in (self.content, self.site.content):
            self.assert_current("1.0", folder)
        publishkit.run("verify", "--url", self.site.address)

    def test_tells_when_going_back_fails(self):
        self.build("1.1")
        damaged = self.site.content / "launcher/packages/Quelra/1.1/windows-x86_64/assets.txt"
        self.uploader = self.wrapper(f'echo nonsense >"{damaged}"; [ "$number" -lt 2 ]')
        done = self.run_recipe("1.1", code=5)
        self.assertIn("going back failed", done.stderr)


if __name__ == "__main__":
    publishkit.main()
