"""Large inputs publish in memory that does not grow with them."""

import os
import subprocess

import kit
import publishkit

MIB = 1 << 20


class Size(publishkit.PublishTest):
    def publish_measured(self, source, *options):
        """Publishes and returns the most memory that the publisher had, in bytes."""
        process = subprocess.Popen(
            [publishkit.PROGRAM, "package", source, self.site.content, "--version", "1",
             "--executable", "client", "--quiet", *options])
        _, status, usage = os.wait4(process.pid, 0)
        self.assertEqual(os.waitstatus_to_exitcode(status), 0)
        process.returncode = 0
        return usage.ru_maxrss * 1024

    def verify_measured(self):
        process = subprocess.Popen([publishkit.PROGRAM, "verify", self.site.content, "--quiet"])
        _, status, usage = os.wait4(process.pid, 0)
        self.assertEqual(os.waitstatus_to_exitcode(status), 0)
        process.returncode = 0
        return usage.ru_maxrss * 1024

    def test_many_files(self):
        count = publishkit.proof_size(20_000, 2_000, "files")
        source = self.folder / "source"
        for number in range(count):
            folder = source / f"{number % 100:02}"
            folder.mkdir(parents=True, exist_ok=True)
            (folder / f"{number}.txt").write_bytes(b"file %d\n" % number * 20)
        (source / "client").write_bytes(b"program")
        memory = self.publish_measured(source)
        print(f"{count} files published with at most {memory / MIB:.0f} MiB", flush=True)
        # Some 3 kB for each file's entry in the lists and documents, and the program itself.
        self.assertLess(memory, 64 * MIB + count * 5_000)
        self.verify_measured()
        # The same again packs nothing.
        result = publishkit.run("package", source, self.site.content, "--version", "2",
                                "--executable", "client")
        self.assertEqual((result["packed"], result["files"]), (0, count + 1))
        self.site.start()
        if publishkit.FULL:
            publishkit.run("verify", "--url", self.site.address)

    def test_many_bytes(self):
        megabytes = publishkit.proof_size(3_000, 120, "MB")
        source = self.folder / "source"
        source.mkdir()
        (source / "client").write_bytes(b"program")
        # One file of half of it, and many of the rest.
        self.fill(source / "half.bin", 1, megabytes * 500_000)
        for number in range(20):
            self.fill(source / f"part{number}.bin", 2 + number, megabytes * 25_000)
        memory = self.publish_measured(source, "--level", "0", "--threads", "2")
        print(f"{megabytes} MB published with at most {memory / MIB:.0f} MiB", flush=True)
        self.assertLess(memory, 64 * MIB)
        result = publishkit.run("verify", self.site.content)
        self.assertEqual(result["unpackedbytes"], megabytes * 1_000_000 + len(b"program"))

    def test_strongest_level_stays_within_what_help_tells(self):
        source = self.folder / "source"
        source.mkdir()
        (source / "client").write_bytes(b"program")
        for number in range(3):
            # Larger than the dictionary, and quick: little in it is new.
            (source / f"{number}.bin").write_bytes(kit.noise(number, 10_000) * 4_000)
        single = self.publish_measured(source, "--memory", "400")
        self.assertLess(single, 400 * MIB)
        self.assertGreater(single, 300 * MIB)

    @staticmethod
    def fill(path, seed, size):
        # What repeats itself packs many times faster than noise, and takes the same memory.
        piece = kit.noise(seed, 50_000) * 200
        with open(path, "wb") as file:
            for place in range(0, size, len(piece)):
                file.write(piece[:size - place])


if __name__ == "__main__":
    publishkit.main()
