"""Testers get another version than everybody else, from the same server."""

import kit
import publishkit

FIRST = {"same.bin": kit.noise(1, 90_000), "changed.bin": kit.noise(2, 90_000)}
SECOND = {**FIRST, "changed.bin": kit.noise(3, 90_000)}
ASSETS = {"assets/sky.bin": kit.noise(4, 50_000)}


class Channels(publishkit.PublishTest):
    def setUp(self):
        super().setUp()
        self.site.publish("1.0", FIRST, ASSETS)
        self.site.start()
        self.normal = self.site.address
        self.beta = self.normal + "/beta"

    def update_from(self, address, launcher):
        self.site.address = address
        self.site.forget_requests()
        self.update(launcher)

    def test_a_tester_goes_there_and_back(self):
        self.site.publish("1.1", SECOND, ASSETS, ["--channel", "beta"])
        tester = self.new_player("tester")
        self.update_from(self.normal, tester)
        self.assert_installed(tester, {**FIRST, **ASSETS}, "1.0")

        self.update_from(self.beta, tester)
        self.assert_installed(tester, {**SECOND, **ASSETS}, "1.1")
        # Nothing but what differs, from where everybody's files are.
        paths = publishkit.packed_paths(publishkit.document(self.site.content, "1.1"))
        self.assertEqual(self.packed_requests(), [paths["changed.bin"]])
        self.assertIn("/beta/launcher/quelrametadata.json", self.site.requests())

        self.update_from(self.normal, tester)
        self.assert_installed(tester, {**FIRST, **ASSETS}, "1.0")
        newcomer = self.new_player("newcomer")
        self.update_from(self.beta, newcomer)
        self.assert_installed(newcomer, {**SECOND, **ASSETS}, "1.1")

    def test_a_staged_version_reaches_nobody_until_the_switch(self):
        self.site.publish("1.1", SECOND, ASSETS, ["--stage"])
        self.update_from(self.normal, self.launcher)
        self.assert_installed(self.launcher, {**FIRST, **ASSETS}, "1.0")
        publishkit.run("switch", self.site.content, "--version", "1.1")
        self.update_from(self.normal, self.launcher)
        self.assert_installed(self.launcher, {**SECOND, **ASSETS}, "1.1")

    def test_the_public_address_of_a_channel_can_be_verified(self):
        hints = self.folder / "hints.json"
        hints.write_text('["<img src=\\"/images/news/rh_misc.png\\">"]')
        self.site.publish("1.1", SECOND, ASSETS, ["--channel", "beta"])
        publishkit.run("hints", hints, self.site.content, "--channel", "beta", "--images",
                       kit.ROOT / "tools/democlient/images")
        self.site.forget_requests()
        publishkit.run("verify", "--url", self.beta)
        requests = self.site.requests()
        for path in ("/beta/launcher/quelrametadata.json", "/beta/hints.json",
                     "/beta/images/news/rh_misc.png"):
            self.assertIn(path, requests)
        self.assertNotIn("/launcher/quelrametadata.json", requests)
        publishkit.run("verify", "--url", self.normal)
        (self.site.content / "beta/launcher/quelrametadata.json").unlink()
        publishkit.run("verify", "--url", self.beta, code=1)


if __name__ == "__main__":
    publishkit.main()
