"""The manual page names every command and option that the publisher's own help names, and no other."""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

BUILD = pathlib.Path(os.environ["VORNAK_BUILD"])
PUBLISHER = pathlib.Path(os.environ["VORNAK_BIN"]) / "vornak-publish"
PAGE = BUILD / "vornak-publish.1"


def helped(*words):
    return subprocess.run([PUBLISHER, *words, "--help"], check=True, text=True,
                          capture_output=True).stdout


def commands():
    return re.findall(r"^  ([a-z]+) +[A-Z]", helped(), re.MULTILINE)


def parts(macro, text):
    """The text behind each heading of that kind."""
    pieces = re.split(rf"^\.{macro} (.*)$", text, flags=re.MULTILINE)
    return dict(zip(pieces[1::2], pieces[2::2]))


class TestManual(unittest.TestCase):
    def setUp(self):
        self.text = PAGE.read_text(encoding="utf-8").replace(r"\-", "-")
        self.sections = parts("SH", self.text)

    def test_names_every_command(self):
        self.assertGreater(len(commands()), 3)
        self.assertEqual(re.findall(r"^\.B ([a-z]+)$", self.sections["COMMANDS"], re.MULTILINE),
                         commands())
        synopsis = re.findall(r"^\.B vornak-publish ([a-z]+)$", self.sections["SYNOPSIS"],
                              re.MULTILINE)
        self.assertEqual(synopsis, commands())

    def test_names_every_option_and_no_other(self):
        groups = parts("SS", self.sections["OPTIONS"])
        for command in commands():
            with self.subTest(command):
                told = set(re.findall(r"^  (?:-h, )?(--[a-z-]+)", helped(command), re.MULTILINE))
                self.assertGreater(len(told), 2)
                written = set()
                for title, group in groups.items():
                    if title == "All commands" or command in re.split(", | and ", title):
                        for heading in re.findall(r"^\.TP\n(.*)$", group, re.MULTILINE):
                            written.update(re.findall(r"--[a-z-]+", heading))
                self.assertEqual(written, told)

    def test_tells_the_version(self):
        told = subprocess.run([PUBLISHER, "--version"], check=True, text=True,
                              capture_output=True).stdout.splitlines()[0]
        self.assertEqual(told, "vornak-publish " + os.environ["VORNAK_VERSION"])
        self.assertIn(f'"{told}"', self.text)

    def test_reads_without_a_warning(self):
        if not shutil.which("groff"):
            self.skipTest("groff is missing: apt-get install groff-base")
        for device in ("utf8", "ascii"):
            done = subprocess.run(["groff", "-man", f"-T{device}", "-ww", "-z", PAGE],
                                  check=True, text=True, capture_output=True)
            self.assertEqual(done.stderr, "")


if __name__ == "__main__":
    unittest.main()
