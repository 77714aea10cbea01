"""Every picture: where it goes, how large it is in pixels and bytes, who paints it."""

from dataclasses import dataclass
from typing import Callable, Optional, Sequence

from news import NEWS

from . import controls, fit, frames, logos, scene

LAUNCHER = "resources/images/launcher/"


@dataclass
class Picture:
    path: str
    pixels: tuple
    size: Optional[int]
    title: str
    about: Sequence[str]
    paint: Callable

    def checked(self, rgba):
        if rgba.shape != (self.pixels[1], self.pixels[0], 4):
            raise fit.DoesNotFit(f"painted {rgba.shape}, wanted {self.pixels}")
        return rgba

    def render(self):
        return fit.png(self.checked(self.paint()), self.size, self.title, self.about)


class Textured(Picture):
    """A picture whose grain may grow until the file has its size."""

    def render(self):
        return fit.textured(lambda grain: self.checked(self.paint(grain)), self.size, self.title, self.about)


class Photo(Picture):
    def render(self):
        return fit.jpeg(self.paint, self.size, self.title, self.about)


def small(name, width, height, size, title, about, paint, kind=Picture):
    return kind(f"{LAUNCHER}{name}.png", (width, height), size, title, about, paint)


def buttons():
    meaning = {
        "Blue": "The blue button downloads the game for the first time.",
        "Orange": "The orange button brings the game up to date.",
        "Green": "The green button starts the game.",
        "Red": "The red button is a spare of the same family.",
    }
    state = {
        "idle": (2554, "Here it waits: enamel in a bronze rim, lit from above."),
        "hover": (2471, "Here the pointer is over it: it glows from within and its rim catches fire."),
        "pressed": (2554, "Here it is held down: it has sunk into its rim and lies in shade."),
    }
    for colour, what in meaning.items():
        for name, (size, how) in state.items():
            yield small(
                f"Button_{colour}_{name}", 98, 40, size, f"{colour} button, {name}", [what, how],
                lambda colour=colour, name=name: controls.button(colour, name),
            )


def launcher():
    yield Photo(
        f"{LAUNCHER}BackgroundImage.jpg", (800, 454), 100342, "Quelra at dusk",
        [
            "The hold on its crag and the beacon over the valley, after sunset.",
            "The name stands in the sky, above everything that the window shows.",
        ],
        scene.encode,
    )
    yield small(
        "QuelraLogo_Classic", 240, 96, 21549, "Quelra",
        ["The name of the game, cut in bronze, with a spark in place of the last letter's bar."], logos.classic(), Textured,
    )
    yield small(
        "QuelraLogo_UpdatingLauncher", 196, 152, 12803, "Quelra, updating",
        ["The name under the beacon, and two arrows that chase each other around it."], logos.busy("UPDATING", "updating"), Textured,
    )
    yield small(
        "QuelraLogo_LaunchingClient", 196, 152, 13008, "Quelra, launching",
        ["The name under the beacon, which sends out its rays."], logos.busy("LAUNCHING", "launching"), Textured,
    )
    for name, word, disabled, size in (
        ("Classic_disabled", "", True, 12668),
        ("Beta", "BETA", False, 12783),
        ("Beta_disabled", "BETA", True, 12631),
        ("Preview", "PREVIEW", False, 13293),
        ("Preview_disabled", "PREVIEW", True, 12745),
        ("QT", "QT", False, 12888),
        ("QT_disabled", "QT", True, 10918),
        ("Test", "TEST", False, 38978),
        ("Test_disabled", "TEST", True, 20679),
    ):
        title = " ".join(["Quelra", word.title() if len(word) > 2 else word]).strip()
        yield small(
            f"QuelraLogo_{name}", 196, 129, size, title + (", disabled" if disabled else ""),
            ["The beacon in a bronze ring, the name, and the word for the client that it stands for."]
            + (["Grey and without its light, because it cannot be chosen."] if disabled else []),
            logos.variant(word, disabled), Textured,
        )
    yield small("OrlenvikLogo", 168, 36, 1586, "Orlenvik", ["Two ridges with a star between them, and the maker's name."], logos.maker)
    yield from buttons()
    for name, size, sign, about in (
        ("Download", 798, controls.sign_download, "An arrow that falls into a tray."),
        ("Update", 1024, controls.sign_update, "Two arrows that chase each other round a ring."),
        ("Play", 773, controls.sign_play, "A pennant that points onward."),
    ):
        yield small(f"Icon_{name}", 34, 34, size, name, [about], lambda sign=sign: controls.icon(sign))
    yield small("ProgressBar_BG", 106, 42, 4221, "Progress trough", ["A dark trough in a thin bronze rim, with a shadow to the lower right."], controls.progress_frame, Textured)
    yield small("ProgressBar", 1, 37, 236, "Progress", ["One column of embers."], controls.progress_fill)
    yield small("checkbox-checked", 12, 12, 337, "Checked", ["A box with an ember tick."], lambda: controls.box(True))
    yield small("checkbox-unchecked", 12, 12, 202, "Unchecked", ["An empty box."], lambda: controls.box(False))
    yield small("hint-background", 104, 117, 15910, "Hint panel", ["Slate in a bronze rim, with a darker head for the title.", "Its middle repeats without a seam."], frames.hint, Textured)
    yield small("clientpackage-background", 102, 102, 12904, "Package panel", ["Slate in a bronze rim.", "Its middle repeats without a seam."], frames.package, Textured)
    yield small("scrollbar-texture-vertical", 12, 96, 2041, "Scroll bar groove", ["A groove worn into slate.", "It repeats from end to end without a seam."], lambda grain=0: controls.groove(min(grain, 40)), Textured)
    yield small("scrollbar-handle-vertical", 12, 44, 424, "Scroll bar handle", ["A bronze bar."], controls.handle)
    for way, up, sizes in (("up", True, (332, 329)), ("down", False, (340, 336))):
        for state, pressed, size in (("up", False, sizes[0]), ("down", True, sizes[1])):
            yield small(
                f"scrollbar-button{way}-{state}", 12, 12, size, f"Scroll {way}", ["An arrowhead on slate."],
                lambda up=up, pressed=pressed: controls.arrow(up, pressed),
            )
    for state, size in (("up", 661), ("hover", 678), ("down", 672)):
        yield small(f"button-close-{state}", 16, 16, size, "Close", ["A round button with a cross."], lambda state=state: controls.close(state))


def icons():
    for size in (16, 24, 32, 48, 64, 128, 256):
        yield Picture(
            f"resources/icon/vornak-launcher-{size}.png", (size, size), None, "Vornak launcher",
            ["The first letter of Quelra with a spark in its eye, on a plate of dusk."],
            lambda size=size: logos.app_icon(size),
        )


class WindowsIcon(Picture):
    """All sizes in one file; the largest as a PNG, the others as plain bitmaps that every shell reads."""

    def render(self):
        sizes = (16, 24, 32, 48, 64, 128, 256)
        return fit.ico({size: logos.app_icon(size) for size in sizes}), f"{len(sizes)} sizes"


def pictures():
    yield from launcher()
    yield from icons()
    yield WindowsIcon("resources/icon/vornak-launcher.ico", (256, 256), None, "Vornak launcher", [], None)
    yield from news()


def news():
    for name, (title, about, paint) in NEWS.items():
        yield Picture(f"tools/democlient/images/news/{name}.png", (80, 80), None, title, [about], paint)
