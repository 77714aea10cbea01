"""A player who was interrupted among the assets of an update that is then taken back: whatever the
moment, the next start makes one whole version of the folder."""

import hashlib
import time

import kit
import publishkit

COUNT = 5
OLD = {f"sky/{number}.bin": kit.noise(number, 90_000) for number in range(COUNT)}
NEW = {f"sky/{number}.bin": kit.noise(100 + number, 90_000) for number in range(COUNT)}


def digests(files):
    return {path: hashlib.sha256(data).hexdigest() for path, data in files.items()}


class TakenBack(publishkit.PublishTest):
    # One asset takes about a second, so that the launcher can be killed between any two.
    rate = "80k"

    def setUp(self):
        super().setUp()
        self.site.publish("1.0", {"data.bin": b"1.0"}, OLD)
        self.site.start()
        self.update()
        self.assertEqual(self.assets(), digests(OLD))
        self.site.publish("2.0", {"data.bin": b"2.0"}, NEW)

    def assets(self):
        return digests({path: data for path, data in self.launcher.installed().items()
                        if path.startswith("sky/")})

    def new_ones(self):
        new = digests(NEW)
        return sum(new[path] == digest for path, digest in self.assets().items())

    def kill_among_the_assets(self, count):
        """Updates till so many assets of the new set are in place, then kills the launcher."""
        self.launcher.start("--patch")
        kit.wait_for(lambda: self.new_ones() >= count
                     and self.launcher.marker("package.json.version") == "2.0",
                     f"{count} new assets")
        if count == 0:
            time.sleep(0.1)
        self.launcher.kill()
        self.assertLess(self.new_ones(), COUNT)
        return self.new_ones()

    def assert_whole(self, version, assets):
        self.update()
        self.assertEqual(self.launcher.marker("package.json.version"), version)
        self.assertEqual(self.assets(), digests(assets))

    def test_killed_at_every_asset_and_switched_back(self):
        mixtures = set()
        for count in range(COUNT):
            mixtures.add(self.kill_among_the_assets(count))
            publishkit.run("switch", self.site.content, "--version", "1.0")
            self.assert_whole("1.0", OLD)
            publishkit.run("switch", self.site.content, "--version", "2.0")
        self.assertGreaterEqual(len(mixtures), COUNT - 2, mixtures)
        self.assert_whole("2.0", NEW)

    def test_killed_and_the_old_set_published_anew(self):
        self.kill_among_the_assets(3)
        self.site.publish("2.1", {"data.bin": b"2.1"}, OLD)
        self.assert_whole("2.1", OLD)

    def test_failed_download_and_switched_back(self):
        folder = self.site.content / "launcher/packages/Quelra/2.0/windows-x86_64"
        listed = publishkit.json.loads((folder / "assets.json").read_text())
        broken = self.site.content / publishkit.packed_paths(listed)["sky/3.bin"].lstrip("/")
        broken.unlink()
        self.launcher.start("--patch")
        kit.wait_for(lambda: self.new_ones() == 3, "the download to fail")
        # The failure is shown, and the launcher stays.
        kit.wait_for(lambda: "Download failed" in self.launcher.log.read_text(), "the failure")
        self.launcher.kill()
        publishkit.run("switch", self.site.content, "--version", "1.0")
        self.assert_whole("1.0", OLD)

    def test_an_update_of_the_client_alone_looks_at_no_asset(self):
        self.assert_whole("2.0", NEW)
        self.site.publish("2.1", {"data.bin": b"2.1"}, NEW)
        self.site.forget_requests()
        self.update()
        self.assertEqual(self.launcher.marker("package.json.version"), "2.1")
        asked = self.site.requests()
        self.assertEqual([path for path in asked if path.endswith("assets.json")], [])
        self.assertEqual(len([path for path in asked if path.endswith(".lzma")]), 1)


if __name__ == "__main__":
    publishkit.main()
