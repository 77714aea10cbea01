"""Versions come and go: updates, rollbacks, pruning, and publishing while a player installs."""

import kit
import publishkit
from kit import wait_for

FIRST = {"same.bin": kit.noise(1, 120_000), "changed.bin": kit.noise(2, 120_000),
         "removed.bin": kit.noise(3, 50_000), "old name.bin": kit.noise(4, 70_000),
         "empty.bin": b"", "größe/λ.txt": b"text"}
SECOND = {**FIRST, "changed.bin": kit.noise(5, 130_000), "new.bin": kit.noise(6, 40_000),
          "new name.bin": FIRST["old name.bin"]}
del SECOND["removed.bin"], SECOND["old name.bin"]
ASSETS = {"assets/sky.bin": kit.noise(7, 90_000)}


class Versions(publishkit.PublishTest):
    def setUp(self):
        super().setUp()
        self.site.publish("1.0", FIRST, ASSETS)
        self.site.start()

    def publish_second(self):
        self.site.publish("1.1", SECOND, ASSETS)

    def test_update_fetches_exactly_what_is_new(self):
        self.update()
        self.assert_installed(self.launcher, {**FIRST, **ASSETS}, "1.0")
        before = set(self.site.content.rglob("*.lzma"))
        self.publish_second()
        added = {path.name for path in set(self.site.content.rglob("*.lzma")) - before}
        paths = publishkit.packed_paths(publishkit.document(self.site.content))
        # Nothing but new contents was packed; a file that only has another name was not.
        self.assertEqual(added, {paths[name].rsplit("/", 1)[1]
                                 for name in ("changed.bin", "new.bin")})
        old = publishkit.packed_paths(publishkit.document(self.site.content, "1.0"))
        self.assertEqual(paths["new name.bin"], old["old name.bin"])

        self.site.forget_requests()
        self.update()
        self.assert_installed(self.launcher, {**SECOND, **ASSETS}, "1.1")
        # In the document's order, each once, and nothing else.
        self.assertEqual(self.packed_requests(),
                         [paths[name] for name in ("changed.bin", "new name.bin", "new.bin")])

    def test_up_to_date_start_fetches_documents_only(self):
        self.update()
        self.site.forget_requests()
        self.update()
        folder = "/launcher/packages/Quelra/1.0/windows-x86_64/"
        self.assertEqual(self.site.requests(),
                         ["/launcher/quelrametadata.json", folder + "version.txt",
                          folder + "assets.txt", folder + "package.json", "/hints.json"])

    def test_rollback_and_pruning(self):
        self.update()
        self.publish_second()
        self.update()
        publishkit.run("switch", self.site.content, "--version", "1.0")
        self.site.forget_requests()
        self.update()
        self.assert_installed(self.launcher, {**FIRST, **ASSETS}, "1.0")
        old = publishkit.packed_paths(publishkit.document(self.site.content))
        # What the new version did not know is still there from the first time.
        self.assertEqual(self.packed_requests(), [old["changed.bin"]])

        pruned = publishkit.run("prune", self.site.content, "--keep", "0")
        self.assertEqual(pruned["removed"], ["Quelra 1.1"])
        self.assertEqual(pruned["removedfiles"], 2)
        publishkit.run("verify", self.site.content)
        publishkit.run("verify", "--url", self.site.address)
        self.update()
        newcomer = self.new_player("newcomer")
        self.update(newcomer)
        self.assert_installed(newcomer, {**FIRST, **ASSETS}, "1.0")
        publishkit.run("switch", self.site.content, "--version", "1.1", code=1)

    def test_the_public_host_moves_to_the_players_server(self):
        self.site.publish("1.1", SECOND, ASSETS,
                          ["--public-url", "https://cdn.quelra.example/game"])
        self.assertTrue(publishkit.build(self.site.content)["url"]
                        .startswith("https://cdn.quelra.example/game/launcher/"))
        self.update()
        self.assert_installed(self.launcher, {**SECOND, **ASSETS}, "1.1")
        publishkit.run("verify", "--url", self.site.address)

    def test_version_text_of_any_kind(self):
        version = "2.0 β/#1?%41"
        self.site.publish(version, SECOND)
        self.update()
        self.assert_installed(self.launcher, SECOND, version)
        self.site.forget_requests()
        self.update()
        self.assertEqual(self.packed_requests(), [])

    def test_verification_over_the_network_finds_damage(self):
        publishkit.run("verify", "--url", self.site.address)
        victim = next(self.site.content.rglob("*.lzma"))
        victim.write_bytes(victim.read_bytes()[:-1])
        faults = publishkit.run("verify", "--url", self.site.address, code=1)["faults"]
        self.assertEqual(len(faults), 1)
        self.assertIn(victim.name, faults[0])


class SlowNetwork(publishkit.PublishTest):
    # Of each file nginx sends as much as of one second at once.
    rate = "100k"

    def test_publishing_while_a_player_installs(self):
        first = {f"part{number}.bin": kit.noise(number, 250_000) for number in range(5)}
        second = {f"part{number}.bin": kit.noise(100 + number, 2_000) for number in range(5)}
        self.site.publish("1.0", first)
        self.site.start()
        self.launcher.start("--patch")
        wait_for(lambda: len(self.packed_requests()) >= 2, "the installation to be under way")
        self.site.publish("1.1", second)
        self.assertIsNone(self.launcher.process.poll())
        self.assertEqual(publishkit.document(self.site.content)["version"], "1.1")
        self.assertEqual(self.launcher.ended(), 0)
        # The whole of one version, not a part of each.
        self.assert_installed(self.launcher, first, "1.0")
        self.update()
        self.assert_installed(self.launcher, second, "1.1")


if __name__ == "__main__":
    publishkit.main()
