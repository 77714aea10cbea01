"""The land of Quelra at dusk, behind the launcher's window."""

import io
import math

import numpy as np
from PIL import Image

from .canvas import Layer, blur, clouds, grain, grid, mask, mix, ramp, smooth, value_noise
from .letters import draw_name, name_width, spark
from .palette import BONE, BRONZE, EMBER, GLOW, GOLD, INK, NIGHT, VIOLET

WIDTH, HEIGHT = 800, 454
SUN = (604.0, 236.0)  # where the sun went down

# The name stands as high as it can: above the licence text, and as clear of the group under
# it as may be when the window has grown. The first eight rows stay empty, a whole row of JPEG
# blocks, because the topmost four are stretched and would draw any ringing out into streaks.
NAME_TOP, NAME_HEIGHT, NAME_GAP = 10, 28, 48
EMPTY = 8

# The licence is read on top of the picture, from below the name downwards. Its text keeps its
# contrast up to a luminance of 0.1249; grain and JPEG take up what is left to that.
QUIET_FROM, BRIGHTEST = 46, 0.110


def luminance(colour):
    c = np.clip(colour, 0, 255) / 255.0
    c = np.where(c <= 0.04045, c / 12.92, ((c + 0.055) / 1.055) ** 2.4)
    return c @ np.array([0.2126, 0.7152, 0.0722])


def ridge(points, seed, rough, cell):
    """The height line of a ridge: a path through the points, broken by noise."""
    x = np.arange(WIDTH) + 0.5
    line = np.interp(x, [p[0] for p in points], [p[1] for p in points])
    line = np.convolve(np.pad(line, 12, mode="edge"), np.ones(25) / 25, mode="valid")
    for octave in range(5):
        noise = value_noise(WIDTH, 1, cell / 2**octave, 1, seed + octave * 17)[0]
        line = line + noise * rough / 1.75**octave
    return line


def below(line):
    """Coverage under a height line, soft by one pixel."""
    _, y = grid(WIDTH, HEIGHT)
    return np.clip(y - line[None, :] + 0.5, 0, 1)


def pines(line, seed, chance, low, high):
    """A fringe of conifers that stand on a height line."""
    random = np.random.RandomState(seed)

    def draw(c):
        x = -10.0
        while x < WIDTH + 10:
            x += random.uniform(1.5, 7)
            size = random.uniform(low, high)
            lean = random.uniform(-0.6, 0.6)
            if random.uniform() > chance(x):
                continue
            foot = line[int(min(max(x, 0), WIDTH - 1))] + 3
            c.move_to(x + lean, foot - size)
            tiers = 4
            for i in range(1, tiers + 1):
                out = size * 0.2 * i / tiers
                y = foot - size + size * i / tiers
                c.line_to(x + out, y)
                if i < tiers:
                    c.line_to(x + out * 0.45, y - size * 0.02)
            for i in range(tiers, 0, -1):
                out = size * 0.2 * i / tiers
                y = foot - size + size * i / tiers
                c.line_to(x - out, y)
                if i > 1:
                    c.line_to(x - size * 0.2 * (i - 1) / tiers * 0.45, foot - size + size * (i - 1) / tiers)
            c.close_path()
            c.fill()

    return mask(WIDTH, HEIGHT, draw)


def tower(c, x, foot, top, half, lantern=0.0):
    """A tower of dressed stone: a splayed foot, a corbelled crown, on top a lantern house."""
    c.move_to(x - half * 1.5, foot)
    c.curve_to(x - half, foot - (foot - top) * 0.35, x - half * 0.92, top + half * 2, x - half * 0.9, top + half)
    c.line_to(x - half * 1.3, top)
    c.line_to(x + half * 1.3, top)
    c.line_to(x + half * 0.9, top + half)
    c.curve_to(x + half * 0.92, top + half * 2, x + half, foot - (foot - top) * 0.35, x + half * 1.5, foot)
    c.close_path()
    c.fill()
    teeth = 5 if half > 5 else 3
    for i in range(teeth):
        w = half * 2.6 / (2 * teeth - 1)
        c.rectangle(x - half * 1.3 + 2 * i * w, top - half * 0.34, w, half * 0.4)
        c.fill()
    if lantern:
        r = half * 0.62
        c.rectangle(x - r, top - lantern * 0.25, r * 2, lantern * 0.3)
        for px in (-r, -r * 0.16, r * 0.74):
            c.rectangle(x + px, top - lantern * 0.72, r * 0.28, lantern * 0.5)
        c.fill()
        c.move_to(x - r * 1.45, top - lantern * 0.68)
        c.line_to(x - r * 0.5, top - lantern)
        c.line_to(x + r * 0.5, top - lantern)
        c.line_to(x + r * 1.45, top - lantern * 0.68)
        c.close_path()
        c.fill()
        c.rectangle(x - 0.35, top - lantern * 1.25, 0.7, lantern * 0.3)
        c.fill()


# The hold on its crag, climbing from left to right: x, foot, top, half width, lantern.
HOLD = [
    (128, 262, 214, 4.4, 0), (147, 250, 190, 5.4, 0), (166, 244, 172, 4.6, 10), (184, 240, 186, 7.0, 0), (206, 240, 108, 6.4, 17),
    (226, 240, 158, 8.4, 0), (243, 244, 142, 4.6, 10), (262, 254, 188, 6.0, 0), (322, 276, 214, 4.2, 8),
]
# Walls between them: left, top, width, down to.
WALLS = [(128, 228, 20, 262), (147, 208, 20, 250), (166, 200, 20, 244), (184, 196, 44, 244), (226, 182, 18, 244), (243, 204, 20, 254)]
LIT = [
    (206, 126, 1.4, 3.2), (204, 143, 1.2, 2.4), (208, 160, 1.2, 2.4), (205, 178, 1.2, 2.4), (226, 172, 1.4, 2.8), (221, 188, 1.2, 2.4), (230, 200, 1.2, 2.4),
    (184, 198, 1.3, 2.6), (188, 212, 1.2, 2.4), (166, 186, 1.1, 2.4), (147, 203, 1.2, 2.4), (149, 218, 1.2, 2.2), (243, 158, 1.1, 2.4), (243, 176, 1.1, 2.4),
    (262, 203, 1.3, 2.4), (259, 220, 1.2, 2.2), (128, 226, 1.1, 2.2), (198, 208, 1.2, 2.4), (213, 216, 1.2, 2.4), (236, 214, 1.2, 2.2), (322, 227, 1.1, 2.2),
]
LANTERNS = [(206, 99.5, 6, 5), (166, 167, 3.6, 3), (243, 137, 3.6, 3), (322, 210, 3.2, 2.6)]


def hold(c):
    for x, foot, top, half, lantern in HOLD:
        tower(c, x, foot, top, half, lantern)
    for left, top, width, down in WALLS:
        c.rectangle(left, top, width, down - top)
        c.fill()
        for i in range(int(width / 4)):
            c.rectangle(left + 1 + i * 4, top - 1.8, 2.2, 2)
            c.fill()
    # The bridge to the gate tower: three arches over the gap.
    c.move_to(262, 226)
    c.line_to(322, 230)
    c.line_to(322, 262)
    for x in (315, 298, 281):
        c.line_to(x + 2, 262)
        c.line_to(x + 2, 240)
        c.curve_to(x + 1, 232, x - 11, 231, x - 12, 239)
        c.line_to(x - 12, 262)
    c.line_to(262, 262)
    c.close_path()
    c.fill()


def lights(points, draw_size=1.0):
    def draw(c):
        for x, y, w, h in points:
            c.rectangle(x - w / 2 * draw_size, y - h / 2, w * draw_size, h)
            c.fill()

    return mask(WIDTH, HEIGHT, draw)


def paint_land():
    x, y = grid(WIDTH, HEIGHT)
    # Nothing may vary from row to row at the very top, where the picture is stretched.
    calm = smooth(EMPTY, 40, y)
    far = np.hypot((x - SUN[0]) / 1.75, y - SUN[1])
    warped = far + calm * 26 * clouds(WIDTH, HEIGHT, 260, 46, 11)
    sky = ramp(
        [(0, (17, 18, 32)), (EMPTY, (17, 18, 32)), (80, (26, 25, 46)), (150, (44, 36, 63)), (215, (66, 48, 72)), (260, (72, 52, 70))],
        y,
    )
    picture = Layer(WIDTH, HEIGHT, sky)
    picture.over((116, 62, 62), 0.72 * np.exp(-((warped / 150) ** 2)) * calm)
    picture.over((176, 84, 44), 0.85 * np.exp(-((warped / 84) ** 2)) * calm)
    picture.over((206, 104, 48), 0.7 * np.exp(-((warped / 40) ** 2)))
    picture.shade(1 - 0.30 * smooth(180, 520, abs(x - 420)) * calm)

    # Long bars of cloud: lit from below near the sun, dark above.
    bars = clouds(WIDTH, HEIGHT, 230, 15, 41, 5) + 0.5 * clouds(WIDTH, HEIGHT, 90, 9, 57, 3)
    cover = smooth(0.12, 0.85, bars) * smooth(44, 110, y) * smooth(262, 190, y)
    lit = np.exp(-((far / 175) ** 2))
    picture.over(mix((36, 31, 54), (150, 74, 52), lit[..., None]), 0.55 * cover)
    rim = smooth(0.1, 0.7, bars - np.roll(bars, -3, axis=0)) * smooth(60, 130, y)
    picture.over((204, 108, 62), 0.42 * rim * lit)

    # A thin moon, lit from where the sun went down, and the first stars.
    moon_x, moon_y = 676.0, 84.0
    to_sun = math.atan2(SUN[1] - moon_y, SUN[0] - moon_x)
    dark_x, dark_y = moon_x - 9.3 * math.cos(to_sun), moon_y - 9.3 * math.sin(to_sun)
    crescent = mask(WIDTH, HEIGHT, lambda c: (c.arc(moon_x, moon_y, 17, 0, 7), c.fill()))
    crescent = np.clip(crescent - mask(WIDTH, HEIGHT, lambda c: (c.arc(dark_x, dark_y, 15.6, 0, 7), c.fill())), 0, 1)
    picture.glow((96, 88, 124), crescent, 13, 0.9)
    picture.over((44, 41, 66), 0.35 * mask(WIDTH, HEIGHT, lambda c: (c.arc(moon_x, moon_y, 17, 0, 7), c.fill())))
    picture.over((112, 103, 124), crescent)
    random = np.random.RandomState(5)
    stars = np.zeros((HEIGHT, WIDTH))
    for _ in range(150):
        sx, sy = random.randint(4, WIDTH - 4), int(44 + 130 * random.uniform() ** 1.6)
        stars[sy, sx] = random.uniform(0.25, 0.95)
    stars = np.clip(stars + 0.22 * blur(stars, 0.8), 0, 1) * smooth(100, 230, far)
    picture.over((108, 104, 128), stars * (cover < 0.25))

    # Ridges, from the farthest to the nearest, with mist lying between them.
    haze = lambda line, depth, colour, amount: picture.over(
        colour, amount * below(line) * smooth(depth, 0, y - line[None, :] - 4) * (0.75 + 0.25 * clouds(WIDTH, HEIGHT, 140, 26, 91))
    )
    warm = np.exp(-(((x - SUN[0]) / 170) ** 2))[..., None]

    line = ridge([(0, 176), (90, 190), (180, 206), (300, 200), (420, 214), (520, 196), (560, 216), (640, 222), (720, 182), (760, 166), (800, 190)], 210, 13, 90)
    picture.over(mix((58, 45, 70), (112, 58, 58), warm), below(line))
    slopes = clouds(WIDTH, HEIGHT, 30, 22, 71, 4)
    picture.shade(1 - 0.13 * below(line) * smooth(-0.1, 0.8, slopes))
    line2 = ridge([(0, 214), (130, 222), (330, 238), (470, 226), (600, 246), (690, 232), (800, 208)], 260, 10, 70)
    picture.over(mix((92, 62, 80), (168, 84, 54), warm), 0.42 * below(line) * smooth(44, 0, line2[None, :] - y))
    picture.over(mix((42, 36, 57), (72, 44, 52), warm), below(line2))

    # The hold stands on the second ridge, its crag falling off on both sides.
    crag = ridge([(0, 306), (84, 296), (112, 268), (130, 254), (160, 238), (200, 231), (240, 234), (266, 244), (282, 264), (302, 266), (316, 258), (332, 262), (352, 284), (430, 312), (800, 330)], 310, 4, 30)
    walls = mask(WIDTH, HEIGHT, hold)
    stone = mix((27, 25, 41), (50, 36, 48), np.clip((x - 140) / 130, 0, 1)[..., None])
    body = np.maximum(walls, below(crag))
    picture.glow((96, 62, 66), walls, 16, 0.35)
    picture.over(stone, body)
    sunward = np.clip(walls - np.roll(walls, -1, axis=1), 0, 1)
    picture.over((132, 70, 54), 0.7 * sunward * (1 - below(crag)))
    # Broken rock: faces that look to the right catch the afterglow, the others fall away.
    rock = clouds(WIDTH, HEIGHT, 20, 34, 131, 5) + 0.35 * clouds(WIDTH, HEIGHT, 9, 30, 137, 3)
    face = rock - np.roll(rock, -2, axis=1)
    deep = below(crag) * smooth(86, 4, y - crag[None, :])
    picture.over((92, 56, 54), 0.6 * deep * smooth(0.02, 0.22, face) * smooth(120, 250, x))
    picture.over((15, 15, 25), 0.55 * deep * smooth(0.02, 0.22, -face))
    haze(crag, 70, (70, 50, 66), 0.26)

    # On the right a valley with a village, and the beacon on its spur.
    spur = ridge([(0, 420), (420, 330), (520, 300), (600, 276), (668, 258), (716, 232), (752, 226), (800, 244)], 350, 6, 40)
    beacon = mask(WIDTH, HEIGHT, lambda c: tower(c, 735, 240, 170, 4.8, 15))
    picture.over((28, 25, 39), np.maximum(beacon, below(spur)))
    picture.over((150, 78, 52), 0.75 * np.clip(beacon - np.roll(beacon, 1, axis=1), 0, 1))
    picture.over((66, 44, 50), 0.35 * below(spur) * smooth(0.1, 0.8, clouds(WIDTH, HEIGHT, 24, 14, 151, 4)) * smooth(60, 0, y - spur[None, :]))
    haze(spur, 60, (84, 54, 62), 0.30)

    near = ridge([(0, 300), (70, 318), (150, 330), (300, 352), (500, 350), (640, 322), (720, 306), (800, 292)], 410, 8, 60)
    fringe = pines(near, 8, lambda px: 0.35 + 0.6 * smooth(250, 20, np.array(px)) + 0.6 * smooth(560, 780, np.array(px)), 9, 24)
    picture.over((19, 19, 30), np.maximum(below(near), fringe))
    haze(near, 60, (44, 37, 52), 0.30)
    front = ridge([(0, 352), (60, 366), (140, 390), (300, 404), (520, 404), (660, 388), (740, 364), (800, 344)], 440, 5, 50)
    fringe = pines(front, 18, lambda px: 0.25 + 0.75 * smooth(190, 0, np.array(px)) + 0.75 * smooth(600, 800, np.array(px)), 16, 46)
    picture.over((11, 12, 19), np.maximum(below(front), fringe))

    # Under the lowest row of texts nothing but night.
    picture.over((11, 12, 19), smooth(372, 412, y))

    # The brush: short strokes that follow the lie of the land, none in the topmost rows.
    strokes = clouds(WIDTH, HEIGHT, 14, 4, 201, 3) + 0.6 * clouds(WIDTH, HEIGHT, 5, 2, 211, 2)
    picture.shade(1 + 0.045 * strokes * calm * smooth(440, 380, y))

    # Every light that people have lit tonight.
    homes = [
        (628, 292, 1.6, 1.4), (636, 296, 1.4, 1.4), (647, 290, 1.6, 1.6), (655, 297, 1.4, 1.2), (664, 288, 1.4, 1.4), (672, 293, 1.6, 1.4),
        (641, 302, 1.4, 1.2), (684, 284, 1.4, 1.4), (694, 290, 1.6, 1.4), (702, 282, 1.2, 1.2), (60, 306, 1.4, 1.4), (69, 311, 1.4, 1.4), (84, 304, 1.2, 1.2),
    ]
    lamps = lights(LIT + homes)
    picture.glow((190, 84, 30), lamps, 4.5, 1.5)
    picture.glow((180, 80, 30), lights([(735, 162, 5, 4), LANTERNS[0]]), 17, 2.6)
    picture.glow((190, 84, 30), lights(LANTERNS), 5, 1.6)
    frames = np.maximum(walls, beacon)
    picture.over((255, 150, 60), lights(LANTERNS + [(735, 162, 5, 4.6)]) * (1 - 0.75 * frames))
    picture.over((255, 150, 60), lights(LIT + homes))
    return picture, calm


def quieten(colour, y):
    """Holds every pixel below the brightest tone that the licence text can lie on."""
    limit = np.where(y >= QUIET_FROM - 1, BRIGHTEST, 1.0)
    for _ in range(6):
        light = luminance(colour)
        factor = np.where(light > limit, (limit / np.maximum(light, 1e-9)) ** 0.5, 1.0)
        colour = colour * factor[..., None]
    return colour


def paint_name(picture):
    width = name_width(NAME_HEIGHT, NAME_GAP)
    left = (WIDTH - width) / 2
    shape = mask(WIDTH, HEIGHT, lambda c: draw_name(c, left, NAME_TOP, NAME_HEIGHT, NAME_GAP), 8)
    star = mask(WIDTH, HEIGHT, lambda c: draw_name(c, left, NAME_TOP, NAME_HEIGHT, NAME_GAP, sparks=True), 8)
    x, y = grid(WIDTH, HEIGHT)
    below_top = y > EMPTY
    picture.glow((8, 8, 14), shape, 2.2, 1.1 * below_top)
    picture.glow((150, 80, 40), shape, 6, 0.34 * smooth(EMPTY, EMPTY + 8, y))
    t = (y - NAME_TOP) / NAME_HEIGHT
    metal = ramp([(0, (250, 240, 214)), (0.42, (232, 208, 160)), (0.55, (206, 166, 106)), (1.0, (170, 116, 64)), (1.3, (120, 76, 44))], t)
    metal = metal + 10 * clouds(WIDTH, HEIGHT, 9, 3, 77, 3)[..., None]
    picture.over(metal, shape * below_top)
    rim = np.clip(shape - np.roll(np.roll(shape, 1, axis=0), 1, axis=1), 0, 1)
    picture.over((255, 250, 232), 0.55 * rim * below_top)
    picture.glow((255, 140, 50), star, 2.6, 1.3)
    picture.over((255, 176, 84), star)
    # A hairline with a spark under the name, dim enough to be read over.
    rule = smooth(150, 20, abs(x - 400)) * np.clip(1 - abs(y - 55.5) / 0.75, 0, 1) * smooth(8, 14, abs(x - 400))
    picture.over((120, 92, 66), 0.75 * rule)
    picture.draw((150, 92, 50), lambda c: (spark(c, 400, 55.5, 4.6, 4.6, 0.2), c.fill()))


def background():
    """The painted scene as floats, before it is encoded."""
    land, calm = paint_land()
    _, y = grid(WIDTH, HEIGHT)
    paint_name(land)
    land.colour = quieten(land.colour, y)
    return land.colour, calm


_painted = {}


def encode(step):
    """The JPEG whose grain grows with the step, so that its size can be chosen finely."""
    if not _painted:
        colour, calm = background()
        _painted["colour"], _painted["calm"] = colour, calm
        _painted["grain"] = grain(WIDTH, HEIGHT, 3, 0.55)
    amount = 0.35 + step / 1024
    light = luminance(_painted["colour"])
    strength = _painted["calm"] * (0.35 + 0.65 * np.clip(light / 0.05, 0, 1))
    picture = _painted["colour"] + (amount * strength * _painted["grain"])[..., None]
    out = io.BytesIO()
    Image.fromarray(np.rint(np.clip(picture, 0, 255)).astype(np.uint8)).save(
        out, "JPEG", quality=96, subsampling=0, optimize=True
    )
    return out.getvalue()
