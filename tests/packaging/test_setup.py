"""What the README's commands say and do about missing packages, on machines that are not this one."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class InstallPackages(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vornak-setup-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.bin = self.folder / "bin"
        self.bin.mkdir()
        for name in ("bash", "dirname", "grep", "xargs", "readlink", "echo"):
            (self.bin / name).symlink_to(shutil.which(name))
        self.list = self.folder / "packages"
        self.list.write_text("# What is needed.\nalpha\nbeta\ngamma\n")

    def program(self, name, script):
        path = self.bin / name
        path.write_text(f"#!/bin/bash\n{script}\n")
        path.chmod(0o755)

    def debian_with(self, *installed):
        found = "|".join(installed) or "nothing"
        self.program("dpkg-query", f'case "${{!#}}" in {found}) echo install ok installed ;; '
                                   '*) exit 1 ;; esac')
        self.program("apt-get", f"echo called >>{self.folder}/apt")

    def user(self, number):
        self.program("id", f"echo {number}")

    def run_it(self):
        return subprocess.run(
            ["bash", "-c", f'source "{ROOT}/packaging/setup.sh"; install_packages "{self.list}"'],
            env={"PATH": str(self.bin)}, text=True, capture_output=True)

    def test_without_debians_tools_it_tells_what_is_needed_and_goes_on(self):
        self.user(1000)
        done = self.run_it()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("alpha beta gamma", done.stdout)
        self.assertNotIn("What is needed.", done.stdout)

    def test_nothing_is_done_when_all_is_there(self):
        self.user(1000)
        self.debian_with("alpha", "beta", "gamma")
        done = self.run_it()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertFalse((self.folder / "apt").exists())

    def test_without_sudo_it_tells_the_whole_line_for_root(self):
        self.user(1000)
        self.debian_with("beta")
        done = self.run_it()
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.splitlines()[-1].split(),
                         [str(ROOT / "packaging/install-packages"), "alpha", "gamma"])
        self.assertFalse((self.folder / "apt").exists())

    def test_with_sudo_it_runs_that_line(self):
        self.user(1000)
        self.debian_with("alpha")
        self.program("sudo", f'printf "%s\\n" "$@" >{self.folder}/sudo')
        done = self.run_it()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual((self.folder / "sudo").read_text().splitlines(),
                         [str(ROOT / "packaging/install-packages"), "beta", "gamma"])

    def test_only_root_installs(self):
        self.user(1000)
        done = subprocess.run([ROOT / "packaging/install-packages", "alpha"],
                              env={"PATH": str(self.bin)}, text=True, capture_output=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn("must be run as root", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
