"""The name, the emblem and the maker's mark."""

import math

import numpy as np

from .canvas import Layer, blur, clouds, grain, grid, mask, mix, ramp, smooth
from .controls import rounded
from .letters import caption_width, cut_q, draw_caption, draw_name, ellipse, name_width, spark, stroke
from .palette import BONE, BRONZE, EMBER, GLOW, GOLD, INK, MIST, NIGHT, SLATE, VIOLET

METAL = [(0, (252, 242, 216)), (0.42, (234, 210, 162)), (0.55, (208, 168, 108)), (1.0, (168, 114, 64)), (1.25, (122, 78, 46))]


def gild(picture, shape, top, height, seed=77):
    """Gilds a shape: light from above, a break in the middle, a bright upper left edge."""
    _, y = grid(picture.width, picture.height)
    metal = ramp(METAL, (y - top) / height) + 7 * clouds(picture.width, picture.height, 11, 4, seed, 3)[..., None]
    picture.over(np.clip(metal, 0, 255), shape)
    rim = np.clip(shape - np.roll(np.roll(shape, 1, axis=0), 1, axis=1), 0, 1)
    picture.over((255, 251, 236), 0.5 * rim)


def lay_name(picture, top, height, gap, fade=1.0):
    width = name_width(height, gap)
    left = (picture.width - width) / 2
    shape = mask(picture.width, picture.height, lambda c: draw_name(c, left, top, height, gap), 8)
    star = mask(picture.width, picture.height, lambda c: draw_name(c, left, top, height, gap, sparks=True), 8)
    picture.glow((6, 6, 12), np.maximum(shape, star), 3.2, 1.5)
    picture.glow((6, 6, 12), np.roll(shape, 2, axis=0), 1.0, 0.9)
    picture.glow((200, 96, 40), shape, 7, 0.30 * fade)
    gild(picture, shape, top, height)
    picture.glow((255, 140, 50), star, height / 14, 1.2 * fade)
    picture.over((255, 184, 92), star)
    return width


def lay_caption(picture, text, top, height, colour, rules=True):
    gap = 60
    width = caption_width(text, height, gap)
    left = (picture.width - width) / 2
    shape = mask(picture.width, picture.height, lambda c: draw_caption(c, text, left, top, height, gap, 13), 8)
    picture.glow((6, 6, 12), shape, 2.2, 2.0)
    picture.over(colour, shape)
    if rules:
        x, y = grid(picture.width, picture.height)
        away = abs(x - picture.width / 2)
        line = np.clip(1.1 - abs(y - top - height / 2), 0, 1)
        line = line * smooth(width / 2 + 7, width / 2 + 10, away) * smooth(width / 2 + 40, width / 2 + 12, away)
        picture.over(BRONZE, 0.9 * line)


def emblem(picture, cx, cy, r, sign=None, lit=1.0):
    """A round window on the land: dusk, a ridge and the beacon; around it a bronze ring."""
    w, h = picture.width, picture.height
    x, y = grid(w, h)
    disc = lambda radius: mask(w, h, lambda c: (c.arc(cx, cy, radius, 0, 7), c.fill()), 8)
    picture.glow((6, 6, 12), disc(r), 3.0, 1.2)
    ring = ramp([(-1, (236, 200, 138)), (-0.2, (176, 130, 78)), (0.6, (98, 70, 46)), (1, (136, 98, 60))], (y - cy) / r)
    picture.over((8, 8, 12), disc(r))
    picture.over(ring, disc(r - 0.8))
    picture.over((10, 9, 14), disc(r - 0.8 - r * 0.085))
    inner = disc(r - 1.4 - r * 0.09)
    t = (y - cy) / r
    sky = ramp([(-1, (24, 25, 46)), (-0.3, (62, 48, 78)), (0.15, (140, 74, 62)), (0.42, (224, 128, 62)), (0.6, (240, 158, 84))], t)
    sky = sky * (0.55 + 0.45 * lit)
    picture.over(np.clip(sky + 6 * clouds(w, h, 22, 5, 61, 3)[..., None], 0, 255), inner)

    def land(c):
        c.move_to(cx - r, cy + r * 0.52)
        c.curve_to(cx - r * 0.6, cy + r * 0.2, cx - r * 0.4, cy + r * 0.38, cx - r * 0.1, cy + r * 0.46)
        c.curve_to(cx + r * 0.3, cy + r * 0.5, cx + r * 0.6, cy + r * 0.24, cx + r, cy + r * 0.34)
        c.line_to(cx + r, cy + r)
        c.line_to(cx - r, cy + r)
        c.fill()

    picture.over((58, 42, 62), mask(w, h, land) * inner * 0.9)

    def near(c):
        c.move_to(cx - r, cy + r * 0.86)
        c.curve_to(cx - r * 0.5, cy + r * 0.7, cx - r * 0.2, cy + r * 0.5, cx, cy + r * 0.5)
        c.curve_to(cx + r * 0.3, cy + r * 0.52, cx + r * 0.5, cy + r * 0.76, cx + r, cy + r * 0.8)
        c.line_to(cx + r, cy + r)
        c.line_to(cx - r, cy + r)
        c.fill()
        c.move_to(cx - r * 0.15, cy + r * 0.6)
        c.line_to(cx - r * 0.085, cy - r * 0.12)
        c.line_to(cx - r * 0.15, cy - r * 0.2)
        c.line_to(cx + r * 0.15, cy - r * 0.2)
        c.line_to(cx + r * 0.085, cy - r * 0.12)
        c.line_to(cx + r * 0.15, cy + r * 0.6)
        c.fill()

    picture.over((17, 16, 27), mask(w, h, near) * inner)
    star = mask(w, h, lambda c: (spark(c, cx, cy - r * 0.42, r * 0.36, r * 0.24), c.fill()), 8)
    picture.over((255, 150, 60), np.clip(blur(star, r * 0.16) * 1.3, 0, 1) * inner * lit)
    picture.over(mix((150, 120, 100), (255, 226, 160), lit), star * inner)
    if sign == "updating":

        def arrows(c):
            for turn in (0, math.pi):
                c.save()
                c.translate(cx, cy)
                c.rotate(turn)
                radius = r + 6
                c.set_line_width(2.4)
                c.new_sub_path()
                c.arc(0, 0, radius, math.radians(200), math.radians(318))
                c.stroke()
                end = math.radians(318)
                c.translate(radius * math.cos(end), radius * math.sin(end))
                c.rotate(end + math.pi / 2)
                c.move_to(-1, -4.6)
                c.line_to(7, 0.4)
                c.line_to(-1, 4.6)
                c.fill()
                c.restore()

        shape = mask(w, h, arrows, 8)
        picture.glow((6, 6, 12), shape, 1.6, 1.2)
        picture.over(ramp([(cy - r, (255, 206, 130)), (cy + r, (226, 120, 50))], y), shape)
    if sign == "launching":

        def rays(c):
            for i in range(16):
                c.save()
                c.translate(cx, cy)
                c.rotate(i * math.pi / 8)
                far = r + (11 if i % 2 == 0 else 7.5)
                c.move_to(-1.1, -(r + 3))
                c.line_to(0, -far)
                c.line_to(1.1, -(r + 3))
                c.fill()
                c.restore()

        shape = mask(w, h, rays, 8)
        picture.glow((6, 6, 12), shape, 1.4, 1.2)
        picture.glow((232, 124, 48), shape, 2.2, 1.0)
        picture.over((255, 210, 136), shape)


def sprinkle(picture, amount, seed):
    """A fine grain over everything that is not quite clear."""
    if amount:
        noise = grain(picture.width, picture.height, seed, 0.5, wrap=False)
        stain = np.stack([grain(picture.width, picture.height, seed + k) for k in (1, 2, 3)], axis=-1)
        picture.colour += (noise[..., None] * amount * 0.05 + stain * amount * 0.02) * picture.alpha[..., None]
        picture.colour = np.clip(picture.colour, 0, 255 * picture.alpha[..., None])


def dim(picture):
    """The look of something that cannot be chosen: grey, and without its light."""
    grey = (picture.colour @ np.array([0.3, 0.59, 0.11]))[..., None]
    picture.colour = (grey * 0.8 + picture.colour * 0.2) * np.array((0.50, 0.51, 0.57))


def classic(disabled=False):
    if not disabled:

        def paint(amount=0):
            picture = Layer(240, 96)
            x, y = grid(240, 96)
            lay_name(picture, 22, 37, 20)
            fade = smooth(112, 20, abs(x - 120))
            picture.over(BRONZE, 0.9 * fade * smooth(7, 12, abs(x - 120)) * np.clip(1.1 - abs(y - 83.5), 0, 1))
            star = mask(240, 96, lambda c: (spark(c, 120, 83.5, 7, 6, 0.2), c.fill()), 8)
            picture.glow((255, 140, 50), star, 2.6, 1.0)
            picture.over((255, 196, 110), star)
            sprinkle(picture, amount, 401)
            return picture.rgba()

        return paint
    return variant("", True)


def variant(word, disabled):
    """A logo of another client: emblem, name and the word for what it is."""

    def paint(amount=0):
        picture = Layer(196, 129)
        x, y = grid(196, 129)
        emblem(picture, 98, 34, 29, lit=0.35 if disabled else 1.0)
        lay_name(picture, 71, 27, 26, 0.2 if disabled else 1.0)
        if word:
            lay_caption(picture, word, 112, 9, (255, 190, 108))
        else:
            star = mask(196, 129, lambda c: (spark(c, 98, 116.5, 6, 5, 0.2), c.fill()), 8)
            picture.over((255, 190, 108), star)
            picture.over(BRONZE, 0.9 * smooth(80, 14, abs(x - 98)) * smooth(7, 11, abs(x - 98)) * np.clip(1.1 - abs(y - 116.5), 0, 1))
        if disabled:
            dim(picture)
        sprinkle(picture, amount, 431 + len(word))
        return picture.rgba()

    return paint


def busy(word, sign):
    def paint(amount=0):
        picture = Layer(196, 152)
        emblem(picture, 98, 46, 33, sign)
        lay_name(picture, 94, 27, 26)
        lay_caption(picture, word, 136, 9, (255, 190, 108))
        sprinkle(picture, amount, 461 + len(word))
        return picture.rgba()

    return paint


def maker():
    """Orlenvik: two ridges and a star between them, and the name in plain capitals."""
    picture = Layer(168, 36)
    tone = (150, 142, 136)

    width = caption_width("ORLENVIK", 12.5, 54)
    left = (168 - width - 40) / 2

    def mark(c):
        c.translate(left - 6, 0.5)
        c.set_line_width(1.7)
        c.set_line_join(1)
        c.move_to(6, 26)
        c.line_to(15.5, 10)
        c.line_to(20.5, 18.4)
        c.move_to(17, 26)
        c.line_to(25, 13)
        c.line_to(33, 26)
        c.stroke()

    picture.over(tone, mask(168, 36, mark, 8))
    picture.draw((222, 150, 84), lambda c: (spark(c, left + 21.5, 7.1, 4.6, 3.4), c.fill()))
    letters = mask(168, 36, lambda c: draw_caption(c, "ORLENVIK", left + 40, 12.5, 12.5, 54, 12), 8)
    picture.over(tone, letters)
    return picture.rgba()


def app_icon(size):
    """The Q of the name with the spark in its eye, on a plate of dusk."""
    fine = {16: 16, 24: 12, 32: 12}.get(size, 8)
    picture = Layer(size, size)
    x, y = grid(size, size)
    u = size / 100
    small = size <= 24

    def plate(inset):
        def draw(c):
            rounded(c, inset * u, inset * u, size - 2 * inset * u, size - 2 * inset * u, (20 - inset) * u)
            c.fill()

        return mask(size, size, draw, fine)

    picture.over((8, 8, 12), plate(0))
    rim = ramp([(0, (240, 204, 142)), (30, (170, 124, 74)), (80, (84, 60, 42)), (100, (126, 90, 56))], y / u)
    picture.over(rim, plate(2.5 if not small else 0.5))
    picture.over((10, 9, 14), plate(7))
    face = plate(9 if not small else 7)
    sky = ramp([(8, (26, 27, 50)), (40, (60, 46, 80)), (66, (132, 68, 62)), (84, (206, 108, 54)), (92, (224, 130, 66))], y / u)
    picture.over(np.clip(sky + 4 * clouds(size, size, 30 * u, 8 * u, 91, 3)[..., None], 0, 255) if not small else sky * 0.8, face)
    if size >= 48:

        def ridge(c):
            c.scale(u, u)
            c.move_to(0, 84)
            c.curve_to(16, 70, 26, 76, 38, 82)
            c.curve_to(56, 90, 70, 66, 100, 78)
            c.line_to(100, 100)
            c.line_to(0, 100)
            c.fill()

        picture.over((34, 27, 42), mask(size, size, ridge) * face)

    def letter(c):
        scale = (0.66 if small else 0.60) * u
        c.translate((15.5 if small else 18.5) * u, (14 if small else 17) * u)
        c.scale(scale, scale)
        cut_q(c)
        if size <= 32:
            c.set_line_width(7 if small else 4)
            ellipse(c, 54, 50, 46, 48)
            c.stroke()

    shape = mask(size, size, letter, fine)
    picture.over((6, 6, 12), np.clip(blur(shape, 2.6 * u + 0.3) * 1.2, 0, 1) * face * 0.8)
    cover = Layer(size, size)
    gild(cover, shape, 16 * u, 60 * u)
    if small:
        picture.over((250, 226, 178), shape)
    else:
        picture.colour = picture.colour * (1 - cover.alpha[..., None]) + cover.colour
        picture.alpha = np.maximum(picture.alpha, cover.alpha)
    cx, cy = ((15.5 + 54 * 0.66) * u, (14 + 50 * 0.66) * u) if small else ((18.5 + 54 * 0.6) * u, (17 + 50 * 0.6) * u)
    star = mask(size, size, lambda c: (spark(c, cx, cy, 17 * u, 12.5 * u, 0.24 if size > 32 else 0.34), c.fill()), fine)
    picture.over((255, 132, 44), np.clip(blur(star, 4 * u) * 1.2, 0, 1) * face)
    picture.over((255, 214, 140), star)
    return picture.rgba()
