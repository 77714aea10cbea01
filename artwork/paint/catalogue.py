"""Every picture: where it goes, how large it is in pixels and bytes, who paints it."""

from dataclasses import dataclass
from typing import Callable, Optional, Sequence

from . import fit


@dataclass
class Picture:
    path: str
    pixels: tuple
    size: Optional[int]
    title: str
    about: Sequence[str]
    paint: Callable
    colours: Optional[int] = None

    def render(self):
        rgba = self.paint()
        if rgba.shape != (self.pixels[1], self.pixels[0], 4):
            raise fit.DoesNotFit(f"painted {rgba.shape}, wanted {self.pixels}")
        try:
            return fit.png(rgba, self.size, self.title, self.about, self.colours)
        except fit.DoesNotFit:
            return fit.png(rgba, None, self.title, self.about, self.colours)


@dataclass
class Photo(Picture):
    def render(self):
        return fit.jpeg(self.paint, self.size, self.title, self.about)


def launcher(name, width, height, size, title, about, paint, colours=None):
    return Picture(
        f"resources/images/launcher/{name}.png", (width, height), size, title, about, paint, colours
    )


def flat(width, height, rgba):
    import numpy as np

    def paint():
        picture = np.zeros((height, width, 4), np.uint8)
        picture[:] = rgba
        return picture

    return paint


def pictures():
    import io

    import numpy as np
    from PIL import Image

    def background(step):
        ramp = np.linspace([40, 44, 66], [14, 16, 24], 454)[:, None, :].repeat(800, axis=1)
        grain = np.random.RandomState(7).normal(0, step / 200, ramp.shape)
        picture = Image.fromarray(np.clip(ramp + grain, 0, 255).astype(np.uint8))
        out = io.BytesIO()
        picture.save(out, "JPEG", quality=92, subsampling=0)
        return out.getvalue()

    yield Photo("resources/images/launcher/BackgroundImage.jpg", (800, 454), 100342, "Quelra at dusk", ["The background of the launcher's window."], background)
    table = [
        ("QuelraLogo_Classic", 240, 96, 21549), ("QuelraLogo_UpdatingLauncher", 196, 152, 12803),
        ("QuelraLogo_LaunchingClient", 196, 152, 13008), ("OrlenvikLogo", 168, 36, 1586),
        ("Icon_Download", 34, 34, 798), ("Icon_Update", 34, 34, 1024), ("Icon_Play", 34, 34, 773),
        ("ProgressBar_BG", 106, 42, 4221), ("ProgressBar", 1, 37, 236),
        ("checkbox-checked", 12, 12, 337), ("checkbox-unchecked", 12, 12, 202),
        ("hint-background", 104, 117, 15910), ("clientpackage-background", 102, 102, 12904),
        ("scrollbar-texture-vertical", 12, 96, 2041), ("scrollbar-handle-vertical", 12, 44, 424),
        ("scrollbar-buttonup-up", 12, 12, 332), ("scrollbar-buttonup-down", 12, 12, 329),
        ("scrollbar-buttondown-up", 12, 12, 340), ("scrollbar-buttondown-down", 12, 12, 336),
        ("button-close-up", 16, 16, 661), ("button-close-hover", 16, 16, 678), ("button-close-down", 16, 16, 672),
    ]
    for name, size in zip(
        ("Classic_disabled", "Beta", "Beta_disabled", "Preview", "Preview_disabled", "QT", "QT_disabled", "Test", "Test_disabled"),
        (12668, 12783, 12631, 13293, 12745, 12888, 10918, 38978, 20679),
    ):
        table.append((f"QuelraLogo_{name}", 196, 129, size))
    for colour in ("Blue", "Orange", "Green", "Red"):
        for state, size in (("idle", 2554), ("hover", 2471), ("pressed", 2554)):
            table.append((f"Button_{colour}_{state}", 98, 40, size))
    tint = {"Blue": (50, 80, 130), "Orange": (150, 90, 40), "Green": (50, 110, 60), "Red": (130, 50, 50)}
    for name, width, height, size in table:
        colour = next((c for k, c in tint.items() if k in name), (34, 38, 52))
        rng = np.random.RandomState(1)
        grain = max(0, min(8, int((size - 400) / (width * height) * 4)))

        def paint(width=width, height=height, colour=colour, grain=grain):
            picture = flat(width, height, colour + (255,))()
            picture[:, :, :3] += rng.randint(0, grain + 1, (height, width, 1)).astype(np.uint8)
            return picture

        yield launcher(name, width, height, size, "Quelra launcher", ["A first sketch."], paint)
