"""Things: tools, treasures, locks and works."""

import math

import numpy as np

from paint.canvas import blur, clouds, mix, ramp, smooth
from paint.controls import rounded
from paint.letters import ellipse, quad, spark

from .lands import poly
from .tile import DUSK, HALL, NIGHT, Tile

BRASS = (186, 136, 72)
IRON = (86, 88, 102)
WOOD = (124, 86, 58)


def table(t, y=58, colour=(66, 46, 42)):
    top = lambda c: poly(c, (0, y), (80, y), (80, 80), (0, 80))
    cover = t.form(top, colour, 1.4, 0.3, 0.3, 0.0)
    away = np.hypot(t.x - t.light_at[0], (t.y - y) * 1.6)
    t.over(t.warmth, cover * 0.32 * np.exp(-((away / 30) ** 2)))
    grain_lines = clouds(80, 80, 40, 2.2, t.seed + 81, 3)
    t.over((22, 16, 20), cover * 0.4 * smooth(0.1, 0.6, grain_lines))


def security():
    t = Tile(HALL, 61)
    t.lamp(36, 52, 34, halo=0.35)
    table(t, 66)
    shackle = lambda c: (c.set_line_width(7), c.move_to(22.5, 42), c.line_to(22.5, 28), c.curve_to(22.5, 8, 49.5, 8, 49.5, 28), c.line_to(49.5, 42), c.stroke())
    t.shadow(shackle, 2, 0.6)
    t.form(shackle, (116, 118, 130), 2.0, 0.8, 0.9)
    body = lambda c: (c.move_to(13, 38), c.line_to(59, 38), c.curve_to(61, 54, 60, 64, 54, 71), c.line_to(18, 71), c.curve_to(12, 64, 11, 54, 13, 38), c.close_path(), c.fill())
    t.shadow(body, 2.6, 0.9, 1, 2)
    t.form(body, IRON, 3.0, 0.7, 0.8, 0.14)
    band = lambda c: (c.rectangle(12.5, 40.5, 47, 3), c.rectangle(14.5, 65, 43, 3), c.fill())
    t.form(band, BRASS, 1.0, 0.6, 0.8)
    for x, y in ((17, 48), (55, 48), (18, 61), (54, 61)):
        t.form(lambda c, x=x, y=y: (c.arc(x, y, 1.7, 0, 7), c.fill()), BRASS, 0.8, 0.7, 0.9)
    plate = lambda c: (c.arc(36, 53, 9, 0, 7), c.fill())
    t.form(plate, (112, 84, 54), 1.2, 0.6, 0.7)
    hole = lambda c: (c.arc(36, 50.6, 3.1, 0, 7), c.fill(), poly(c, (34.8, 51), (37.2, 51), (38.6, 59), (33.4, 59)))
    t.shine(hole, (255, 216, 138), 3.4, 1.8)
    key = lambda c: (c.set_line_width(2.8), c.arc(69, 52, 4.6, 0, 7), c.stroke(), c.set_line_width(2.6), c.move_to(68.4, 57), c.line_to(66.6, 75), c.stroke(), poly(c, (66.8, 69), (62.4, 68.4), (62.2, 71), (66.6, 71.6)), poly(c, (66.4, 73), (61.4, 72.4), (61.2, 75.2), (66.2, 75.8)))
    t.shadow(key, 1.6, 0.8, 1, 1)
    t.form(key, (210, 156, 84), 1.0, 0.9, 0.9)
    return t.done()


def cog(c, x, y, radius, teeth, turn=0.0, hole=0.34):
    c.save()
    c.translate(x, y)
    c.rotate(turn)
    step = 2 * math.pi / teeth
    for i in range(teeth):
        a = i * step
        for da, r in ((-0.28, 0.84), (-0.17, 1.0), (0.17, 1.0), (0.28, 0.84)):
            px, py = radius * r * math.cos(a + da * step), radius * r * math.sin(a + da * step)
            c.line_to(px, py) if i or da != -0.28 else c.move_to(px, py)
    c.close_path()
    c.new_sub_path()
    c.arc_negative(0, 0, radius * hole, 2 * math.pi, 0)
    c.close_path()
    c.fill()
    c.restore()


def options():
    t = Tile(HALL, 71)
    t.lamp(60, 14, 56, halo=0.5)
    t.colour += 8 * clouds(80, 80, 20, 26, 73, 3)[..., None]
    for x, y, r, n, turn, colour in ((56, 26, 19, 12, 0.1, (120, 86, 54)), (23, 27, 15, 10, 0.24, (164, 118, 66))):
        shape = lambda c: cog(c, x, y, r, n, turn)
        t.shadow(shape, 2.4, 0.9, -1, 2)
        t.form(shape, colour, 1.6, 0.9, 0.8, 0.1)
        t.form(lambda c: (c.set_line_width(1.2), c.arc(x, y, r * 0.62, 0, 7), c.stroke()), tuple(v * 0.6 for v in colour), 0.8, 0.3, -0.6)
        t.form(lambda c: (c.arc(x, y, r * 0.22, 0, 7), c.fill()), (70, 60, 62), 1.0, 0.8, 0.9)
    dial = lambda c: (c.arc(40, 55, 20, 0, 7), c.fill())
    t.shadow(dial, 2.8, 1.0, -1, 2)
    t.form(dial, BRASS, 1.6, 0.9, 0.9)
    t.form(lambda c: (c.arc(40, 55, 16.4, 0, 7), c.fill()), (206, 188, 156), 3.0, 0.4, 0.3, 0.08)
    marks = lambda c: [(c.set_line_width(1.6 if i % 2 == 0 else 1.0), c.move_to(40 + 14.6 * math.cos(a), 55 + 14.6 * math.sin(a)), c.line_to(40 + (10.8 if i % 2 == 0 else 12.4) * math.cos(a), 55 + (10.8 if i % 2 == 0 else 12.4) * math.sin(a)), c.stroke()) for i, a in enumerate(math.pi * (0.75 + 1.5 * k / 8) for k in range(9))]
    t.over((58, 42, 40), t.shape(marks))
    needle = lambda c: (c.save(), c.translate(40, 55), c.rotate(math.radians(-48)), poly(c, (-5, -1.8), (13.4, 0), (-5, 1.8)), c.restore())
    t.shadow(needle, 0.8, 0.6, 0, 1)
    t.over((184, 66, 36), t.shape(needle))
    t.form(lambda c: (c.arc(40, 55, 2.8, 0, 7), c.fill()), (110, 80, 52), 1.0, 0.8, 0.9)
    return t.done()


def controls():
    t = Tile(HALL, 81)
    t.lamp(62, 10, 60, halo=0.55)
    table(t, 0, (58, 42, 42))
    base = lambda c: (c.move_to(14, 16), c.curve_to(14, 12, 16, 11, 19, 11), c.line_to(57, 11), c.curve_to(60, 11, 62, 12, 62, 16), c.line_to(67, 62), c.curve_to(67, 68, 65, 70, 61, 70), c.line_to(15, 70), c.curve_to(11, 70, 9, 68, 9, 62), c.close_path(), c.fill())
    t.shadow(base, 3.4, 1.0, -1, 3)
    t.form(base, (92, 62, 44), 2.4, 0.6, 0.5, 0.1)
    top = lambda c: (c.move_to(19, 15), c.curve_to(19, 13, 20, 12.6, 22, 12.6), c.line_to(54, 12.6), c.curve_to(56, 12.6, 57, 13, 57, 15), c.line_to(59.4, 52), c.curve_to(59.6, 56, 58, 57.4, 55, 57.4), c.line_to(21, 57.4), c.curve_to(18, 57.4, 16.4, 56, 16.6, 52), c.close_path(), c.fill())
    cover = t.form(top, (150, 104, 68), 2.6, 0.7, 0.6, 0.05)
    t.over((84, 54, 40), cover * 0.45 * smooth(0.05, 0.6, clouds(80, 80, 7, 40, 83, 3)))
    arrow = lambda c: poly(c, (38, 19), (52, 34.5), (43.4, 34.5), (43.6, 49.5), (32.4, 49.5), (32.6, 34.5), (24, 34.5))
    t.over((44, 28, 26), t.shape(arrow))
    t.over((252, 176, 96), 0.55 * np.clip(t.shape(arrow) - np.roll(np.roll(t.shape(arrow), -1, axis=0), 1, axis=1), 0, 1))
    pointer = lambda c: poly(c, (44, 36), (72, 56), (60.5, 58.4), (67, 69.4), (61.4, 72.6), (55.2, 61.6), (47.4, 69.4))
    t.shadow(pointer, 2.2, 1.2, -2, 2)
    t.form(pointer, (214, 158, 86), 1.8, 0.7, 0.9)
    return t.done()


def coin(t, x, y, colour, r=5.0, flat=0.5, thick=1.8):
    """A coin that lies on the table: its edge, a flat face with a raised rim, the spark."""
    tone = lambda v: tuple(min(v * k, 255) for k in colour)
    edge = lambda c: (ellipse(c, x, y + thick, r, r * flat), c.fill(), c.rectangle(x - r, y, 2 * r, thick), c.fill())
    face = lambda grow: t.shape(lambda c: (ellipse(c, x, y, r - grow, (r - grow) * flat), c.fill()))
    t.shadow(edge, 0.8, 0.6, 0, 1)
    t.over(ramp([(x - r, tone(0.62)), (x + r, tone(0.34))], t.x), t.shape(edge))
    away = np.hypot(t.x - t.light_at[0], t.y - t.light_at[1])
    lit = 0.82 + 0.3 * np.exp(-((away / t.reach) ** 2))
    t.over(np.clip(np.array(tone(1.32)) * lit[..., None], 0, 255), face(0.0))
    t.over(np.clip(np.array(tone(0.98)) * lit[..., None], 0, 255), face(1.0))
    t.over(tone(0.45), t.shape(lambda c: (spark(c, x, y, (r - 1.2) * flat * 0.9, (r - 1.2) * 0.66, 0.2), c.fill())))


def store():
    t = Tile(NIGHT, 91)
    t.lamp(63, 13, 50, halo=0.0)
    t.shine(lambda c: (spark(c, 63, 14, 8.5, 6, 0.16), c.fill()), (255, 226, 160), 4, 1.1)
    table(t, 50, (60, 44, 50))
    # The purse has toppled over: its mouth is open towards us, the cord hangs loose.
    purse = lambda c: (c.move_to(37, 40), c.curve_to(31, 33, 18, 29, 11, 35), c.curve_to(3, 42, 5, 60, 14, 65), c.curve_to(22, 69, 33, 65, 38, 60), c.close_path(), c.fill())
    t.shadow(purse, 3, 0.9, 1, 3)
    t.form(purse, (112, 58, 124), 3.8, 0.8, 0.9, 0.1)
    folds = lambda c: [(c.set_line_width(1.2), c.move_to(36, y0), c.curve_to(31, y0 + dy * 0.3, 26, y0 + dy, 20, y0 + dy * 1.3), c.stroke()) for y0, dy in ((44, -5), (49, -1), (54, 4))]
    t.over((46, 22, 58), 0.6 * t.shape(folds))
    flare = lambda c: (c.move_to(36, 41), c.curve_to(41, 41, 44, 38, 47, 35), c.curve_to(53, 38, 54, 62, 47, 66), c.curve_to(44, 62, 41, 59, 36, 59), c.close_path(), c.fill())
    t.form(flare, (130, 70, 142), 2.0, 0.8, 0.9)
    mouth = lambda c: (ellipse(c, 47.6, 50.6, 4.4, 13.4, -0.06), c.fill())
    t.over((26, 13, 34), t.shape(mouth))
    t.over((168, 108, 180), 0.8 * t.shape(lambda c: (c.set_line_width(1.1), ellipse(c, 47.6, 50.6, 4.4, 13.4, -0.06), c.stroke())))
    cord = lambda c: (c.set_line_width(2.2), c.move_to(37, 40.6), c.curve_to(34.6, 46, 34.6, 54, 37, 59.6), c.stroke(), c.set_line_width(1.5), c.move_to(36.6, 58.6), c.curve_to(34, 64, 28, 66, 27, 72), c.stroke())
    t.form(cord, (214, 166, 92), 0.8, 0.8, 0.8)
    silver = (176, 160, 212)
    for x, y, r in ((49.6, 56, 5.2), (62, 55, 6.4), (54.4, 61, 6.6), (69.4, 62, 6.6), (46, 67.6, 6.8), (61, 66.6, 7.0), (54.6, 73, 7.0), (70, 71.6, 7.0)):
        coin(t, x, y, silver, r, 0.56)
    return t.done()


def trade():
    t = Tile(DUSK, 101)
    t.lamp(40, 60, 44, halo=0.4)
    table(t, 60)
    post = lambda c: (poly(c, (38.6, 64), (39.2, 16), (41.4, 16), (42, 64)), poly(c, (30, 66), (33, 61.6), (47.6, 61.6), (50.6, 66)))
    t.shadow(post, 2, 0.6, 1, 1)
    t.form(post, BRASS, 1.1, 0.9, 0.9)
    beam = lambda c: (c.set_line_width(2.4), c.move_to(13, 22.4), c.curve_to(24, 15, 34, 21, 40.3, 18.4), c.curve_to(47, 15.4, 57, 20.4, 67.4, 15), c.stroke())
    t.form(beam, (206, 152, 82), 0.9, 0.9, 0.9)
    t.form(lambda c: (spark(c, 40.3, 12.6, 6, 4.2), c.fill()), (236, 186, 108), 0.7, 0.6, 0.7)
    for x, y, pan in ((13, 22.4, 45), (67.4, 15, 37.5)):
        t.over((170, 126, 74), t.shape(lambda c: (c.set_line_width(0.8), c.move_to(x, y), c.line_to(x - 10.5, pan), c.move_to(x, y), c.line_to(x + 10.5, pan), c.move_to(x, y), c.line_to(x, pan), c.stroke())))
        bowl = lambda c: (c.move_to(x - 12, pan), c.curve_to(x - 9, pan + 9.5, x + 9, pan + 9.5, x + 12, pan), c.close_path(), c.fill())
        t.form(bowl, (180, 130, 70), 1.6, 0.9, 0.7)
    t.form(lambda c: (c.arc(10, 43, 3.2, 0, 7), c.arc(16, 43, 3, 0, 7), c.arc(13, 40, 2.8, 0, 7), c.fill()), (100, 110, 84), 1.2, 0.6, 0.9)
    t.form(lambda c: poly(c, (63, 37.4), (64, 32), (71, 32), (72, 37.4)), (150, 128, 150), 1.0, 0.6, 0.9)
    # Two stacks and a few that lie loose.
    copper, silver, gold = (196, 108, 66), (176, 178, 194), (232, 178, 82)
    for x, y, colour in ((27, 68, silver), (27, 65.4, silver), (27, 62.8, silver), (53, 68, copper), (53, 65.4, copper), (40.4, 68.4, gold), (40.4, 65.8, gold), (40.4, 63.2, gold), (40.4, 60.6, gold), (16, 72, copper), (65, 72, gold), (33.4, 74, copper), (48.6, 74.2, silver)):
        coin(t, x, y, colour, 6.4, 0.46)
    return t.done()


def craft():
    t = Tile(HALL, 111)
    t.lamp(42, 34, 40, halo=0.6)
    block = lambda c: poly(c, (24, 60), (57, 60), (61, 80), (20, 80))
    t.form(block, (84, 58, 44), 2.4, 0.6, 0.4, 0.16)
    anvil = lambda c: (c.move_to(5, 37.5), c.curve_to(12, 46, 22, 47, 29, 47), c.curve_to(30, 53, 27, 57, 23, 61), c.line_to(60, 61), c.curve_to(55, 57, 52, 53, 53, 47), c.line_to(66, 46), c.line_to(66, 36.5), c.line_to(18, 36.5), c.close_path(), c.fill())
    t.shadow(anvil, 2.6, 0.9, 0, 2)
    t.form(anvil, (74, 76, 90), 2.0, 1.0, 0.9, 0.08)
    t.over((150, 146, 150), 0.7 * t.shape(lambda c: (c.rectangle(18, 36.5, 48, 1.2), c.fill())))
    hot = lambda c: poly(c, (28, 33.4), (54, 33.4), (55, 36.6), (27, 36.6))
    t.shine(hot, (255, 190, 92), 3.6, 1.6)
    handle = lambda c: poly(c, (49, 27), (74, 13.6), (75.6, 16.6), (51, 30.6))
    t.shadow(handle, 1.5, 0.7, 0, 2)
    t.form(handle, WOOD, 1.0, 0.9, 0.8)
    head = lambda c: (c.save(), c.translate(47.4, 26.2), c.rotate(math.radians(-29)), c.rectangle(-4.6, -9.4, 9.2, 18.8), c.fill(), c.restore())
    t.form(head, (104, 106, 120), 1.6, 1.0, 0.9)
    random = np.random.RandomState(5)
    for _ in range(30):
        a = random.uniform(math.pi * 1.02, math.pi * 1.98)
        r = 6 + 28 * random.uniform() ** 0.8
        x, y = 38 + r * math.cos(a), 35 + r * math.sin(a) * 0.95 + 0.006 * r * r
        size = random.uniform(0.5, 1.1)
        t.shine(lambda c: (c.set_line_width(size), c.move_to(x, y), c.line_to(x - 2.4 * math.cos(a), y - 2.4 * math.sin(a)), c.stroke()), (255, 224, 150), 1.2, 0.9)
    return t.done()


def gather():
    t = Tile(DUSK, 121)
    t.lamp(46, 34, 44, (226, 214, 255), 0.15)
    table(t, 48, (62, 60, 48))
    t.ridge([(0, 46), (30, 43), (60, 47), (80, 42)], (58, 48, 58), seed=4, light=0.1)
    t.form(lambda c: poly(c, (0, 56), (80, 54), (80, 80), (0, 80)), (64, 64, 50), 1.6, 0.4, 0.3, 0.2)
    # A miner's pick: a straight handle through the eye of a head with two pointed arms.
    handle = lambda c: poly(c, (21.4, 76), (43.6, 9.6), (47.4, 10.8), (25.8, 77.4))
    t.shadow(handle, 2, 0.9, 1, 2)
    t.form(handle, WOOD, 1.4, 0.5, 0.9, 0.12)
    pick = lambda c: (c.move_to(12.6, 22.6), c.curve_to(22, 12.4, 32, 10.8, 43.4, 14.4), c.curve_to(55, 18.2, 65, 26, 70.4, 39.6), c.curve_to(60.6, 29.6, 52, 24.8, 41.2, 21.4), c.curve_to(31, 18.2, 22.6, 18.4, 12.6, 22.6), c.close_path(), c.fill())
    t.shadow(pick, 2, 0.8, 0, 2)
    t.form(pick, (122, 124, 138), 1.4, 0.7, 1.0)
    eye = lambda c: (c.save(), c.translate(42.6, 17.6), c.rotate(0.32), rounded(c, -4.4, -5.4, 8.8, 10.8, 1.6), c.fill(), c.restore())
    t.shadow(eye, 1.0, 0.6, 0, 1)
    t.form(eye, (104, 106, 120), 1.2, 0.8, 0.9)
    random = np.random.RandomState(9)
    stems = []
    for i in range(9):
        x, y = 10 + i * 1.0, 50 + i * 2.2
        ex, ey = 60 + random.uniform(-6, 8), 44 + i * 3.0 + random.uniform(-2, 2)
        stems.append((x, y, ex, ey))
    leaf = lambda c: [(c.set_line_width(1.5), c.move_to(x, y), c.curve_to(25, 57, 40, 57, ex, ey), c.stroke()) for x, y, ex, ey in stems]
    t.shadow(leaf, 1.6, 0.9, 0, 2)
    t.form(leaf, (84, 120, 66), 0.9, 0.5, 0.9)

    def leaves(c):
        for x, y, ex, ey in stems:
            for k in (0.3, 0.5, 0.72):
                px, py = x + (ex - x) * k, y + (ey - y) * k + 3
                for s in (-1, 1):
                    c.move_to(px, py)
                    quad(c, px + 3, py + s * 4.6, px + 7.4, py + s * 4)
                    quad(c, px + 4.6, py + s * 0.6, px, py)
                    c.fill()

    t.form(leaves, (74, 112, 62), 0.8, 0.5, 1.0)
    t.form(lambda c: (c.save(), c.translate(30, 57), c.rotate(0.12), c.rectangle(-2, -5.4, 4, 12), c.fill(), c.restore()), (190, 146, 88), 1.0, 0.5, 0.8)
    for _, _, x, y in stems:
        bloom = lambda c: [(c.save(), c.translate(x, y), c.rotate(k * math.pi * 2 / 5), ellipse(c, 2.0, 0, 2.1, 1.2), c.fill(), c.restore()) for k in range(5)]
        cover = t.shape(bloom)
        t.over((226, 206, 255), np.clip(blur(cover, 3.0) * 1.5, 0, 0.6))
        t.over((240, 232, 255), cover)
        t.over((255, 226, 150), t.shape(lambda c: (c.arc(x, y, 1.1, 0, 7), c.fill())))
    return t.done()


def combat():
    t = Tile(DUSK, 131)
    t.lamp(16, 14, 66, halo=0.55)

    def blade(c):
        c.save()
        c.translate(40, 40)
        c.rotate(math.radians(45))
        poly(c, (-2.9, 12), (-2.9, -40), (0, -47), (2.9, -40), (2.9, 12))
        c.restore()

    def hilt(c):
        c.save()
        c.translate(40, 40)
        c.rotate(math.radians(45))
        c.rectangle(-8, 27, 16, 3.4)
        c.rectangle(-1.7, 29, 3.4, 11)
        c.fill()
        c.arc(0, 42.6, 3.2, 0, 7)
        c.fill()
        c.restore()

    bow = lambda c: (c.save(), c.translate(40, 40), c.rotate(math.radians(45)), c.set_line_width(3.2), c.move_to(-44, 7), c.curve_to(-30, -17, -10, -13, 0, -13), c.curve_to(10, -13, 30, -17, 44, 7), c.stroke(), c.restore())
    string = lambda c: (c.save(), c.translate(40, 40), c.rotate(math.radians(45)), c.set_line_width(0.9), c.move_to(-44, 7), c.line_to(44, 7), c.stroke(), c.restore())
    t.over((206, 196, 180), 0.8 * t.shape(string))
    t.form(bow, (138, 92, 58), 1.2, 0.9, 0.8)
    t.shadow(blade, 1.6, 0.7, 0, 1)
    t.form(blade, (168, 170, 184), 1.2, 0.9, 0.8)
    t.form(lambda c: (c.save(), c.translate(40, 40), c.rotate(math.radians(45)), c.rectangle(-2.9, 12, 5.8, 16), c.fill(), c.restore()), (168, 170, 184), 1.2, 0.9, 0.8)
    t.form(hilt, BRASS, 1.0, 0.9, 0.9)
    disc = lambda r: t.shape(lambda c: (c.arc(40, 41, r, 0, 7), c.fill()))
    t.shadow(disc(24), 3, 1.0, 1, 2)
    t.form(disc(24), (150, 110, 66), 1.6, 1.0, 0.9)
    t.form(disc(21), (56, 66, 92), 4.0, 0.9, 0.9, 0.1)
    rays = lambda c: [(c.save(), c.translate(40, 41), c.rotate(k * math.pi / 4), poly(c, (-1.2, 0), (0, -20.4), (1.2, 0)), c.restore()) for k in range(8)]
    t.form(rays, (128, 94, 60), 0.8, 0.8, 0.8)
    t.form(lambda c: (spark(c, 40, 41, 17, 13, 0.2), c.fill()), (216, 168, 96), 1.2, 0.9, 0.9)
    t.form(disc(5.4), (150, 110, 66), 1.6, 1.0, 0.9)
    for k in range(12):
        a = (k + 0.5) * math.pi / 6
        t.form(lambda c: (c.arc(40 + 22.5 * math.cos(a), 41 + 22.5 * math.sin(a), 0.9, 0, 7), c.fill()), (232, 196, 130), 0.6, 0.6, 0.6)
    return t.done()


THINGS = {
    "rh_security": ("The lock", "A closed iron padlock with warm light in its keyhole, and its brass key.", security),
    "rh_options": ("The works", "Two cog wheels and a dial, like the works of an old tower clock.", options),
    "rh_controls": ("The key cap", "A wooden key cap with a carved arrow, and a brass pointer.", controls),
    "rh_store": ("The purse", "A velvet purse that spills violet silver coins with the evening star.", store),
    "rh_trade": ("The scales", "A pair of merchant's scales and a heap of coins.", trade),
    "rh_craft": ("The anvil", "An anvil, a hammer and the sparks between them.", craft),
    "rh_gather": ("Lampwort", "Herbs with pale glowing blossoms across a miner's pick.", gather),
    "rh_combat": ("Shield and sword", "A round shield with a sword and a bow behind it.", combat),
}
