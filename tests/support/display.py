"""An X server for programs that want a screen."""

import os
import subprocess


class Display:
    """An X server that nobody sees."""

    def __init__(self):
        read, write = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24", "-nolisten", "tcp",
             # It would begin anew, and refuse who comes meanwhile, whenever its only client leaves.
             "-noreset"],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as stream:
            number = stream.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start; it comes with the Debian package xvfb")
        self.name = f":{number}"

    def run(self, *words):
        return subprocess.run(words, env={**os.environ, "DISPLAY": self.name}, text=True,
                              capture_output=True)

    def windows(self, title):
        """Numbers of the visible windows with exactly this title."""
        found = self.run("xdotool", "search", "--onlyvisible", "--name", f"^{title}$")
        return found.stdout.split()

    def click(self, window, x, y):
        self.run("xdotool", "mousemove", "--window", window, str(x), str(y), "click", "1")

    def key(self, window, name):
        self.run("xdotool", "windowfocus", "--sync", window)
        self.run("xdotool", "key", name)

    def close(self):
        self.process.terminate()
        self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
