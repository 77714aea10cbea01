"""Beasts of the dusk."""

import math

import numpy as np

from paint.canvas import blur, clouds, mix, ramp, smooth
from paint.letters import ellipse, quad, spark

from .lands import poly
from .tile import DUSK, NIGHT, Tile


def curve(c, start, *parts):
    """A closed outline of cubic pieces, each six numbers."""
    c.move_to(*start)
    for part in parts:
        if len(part) == 2:
            c.line_to(*part)
        else:
            c.curve_to(*part)
    c.close_path()
    c.fill()


def fur(t, cover, seed, amount, turn_x, turn_y):
    hair = clouds(80, 80, turn_x, turn_y, seed, 3)
    t.over((14, 12, 22), cover * amount * smooth(0.05, 0.6, hair))
    t.over((150, 136, 168), cover * amount * 0.35 * smooth(0.1, 0.7, -hair))


def creature():
    t = Tile(NIGHT, 141)
    t.stars(10, 26)
    t.lamp(66, 18, 62, (190, 160, 220), 0.35)
    t.ridge([(0, 58), (20, 52), (60, 58), (80, 50)], (40, 36, 56), seed=4, light=0.1)
    neck = lambda c: curve(c, (14, 80), (12, 62, 18, 46, 28, 36), (34, 30, 46, 30, 52, 36), (62, 46, 68, 62, 68, 80))
    cover = t.form(neck, (64, 58, 80), 4.0, 0.5, 0.4, 0.2)
    fur(t, cover, 143, 0.45, 3, 12)
    # Ears.
    for s in (-1, 1):
        ear = lambda c: curve(c, (40 + s * 5, 26), (40 + s * 9, 18, 40 + s * 13, 11, 40 + s * 17.5, 6), (40 + s * 21, 15, 40 + s * 21.5, 26, 40 + s * 18, 35))
        t.form(ear, (84, 76, 104), 2.0, 0.5, 0.6)
        inside = lambda c: curve(c, (40 + s * 9.5, 25), (40 + s * 12, 18, 40 + s * 14, 14, 40 + s * 17, 11), (40 + s * 18.6, 18, 40 + s * 18, 24, 40 + s * 15.6, 29))
        t.form(inside, (46, 36, 54), 1.0, 0.2, 0.2)
    # A lean head, seen from the front: brow, cheeks with ragged fur, a long muzzle.
    head = lambda c: curve(
        c, (40, 19), (47, 19, 54, 23, 58, 31), (61, 36, 62, 40, 63.5, 45), (60, 45, 58.5, 47, 57.5, 49), (60, 50, 59, 53, 58, 54),
        (54, 54, 51, 58, 49, 64), (47, 71, 44, 75, 40, 75), (36, 75, 33, 71, 31, 64), (29, 58, 26, 54, 22, 54), (21, 53, 20, 50, 22.5, 49),
        (21.5, 47, 20, 45, 16.5, 45), (18, 40, 19, 36, 22, 31), (26, 23, 33, 19, 40, 19),
    )
    t.shadow(head, 3, 0.9, 0, 2)
    cover = t.form(head, (98, 90, 116), 3.6, 0.6, 0.6, 0.12)
    fur(t, cover, 147, 0.38, 3, 9)
    muzzle = lambda c: curve(c, (40, 36), (44, 40, 46.5, 52, 47.5, 60), (47, 68, 44, 73.6, 40, 73.6), (36, 73.6, 33, 68, 32.5, 60), (33.5, 52, 36, 40, 40, 36))
    t.form(muzzle, (122, 112, 134), 2.8, 0.5, 0.7, 0.08, 0.8)
    t.over((18, 15, 24), t.shape(lambda c: curve(c, (40, 70), (36, 69, 34.4, 65, 35, 62.6), (37, 61, 43, 61, 45, 62.6), (45.6, 65, 44, 69, 40, 70))))
    t.over((120, 112, 130), 0.5 * t.shape(lambda c: (ellipse(c, 40.6, 63.4, 2.6, 0.7), c.fill())))
    t.over((24, 20, 32), 0.8 * t.shape(lambda c: (c.set_line_width(0.9), c.move_to(40, 70), c.line_to(40, 72.4), c.stroke())))
    for s in (-1, 1):
        socket = lambda c: curve(c, (40 + s * 4.6, 43.4), (40 + s * 8, 38, 40 + s * 13, 36.6, 40 + s * 16, 37), (40 + s * 14.6, 43, 40 + s * 9, 46, 40 + s * 4.6, 43.4))
        t.over((20, 16, 28), np.clip(blur(t.shape(socket), 1.2) * 1.3, 0, 0.9))
        eye = lambda c: curve(c, (40 + s * 6.2, 43), (40 + s * 8.4, 39.4, 40 + s * 11.4, 38.4, 40 + s * 14, 38.6), (40 + s * 12.8, 42.4, 40 + s * 9.6, 44.2, 40 + s * 6.2, 43))
        t.shine(eye, (255, 178, 62), 2.4, 1.5)
        t.over((40, 16, 8), t.shape(lambda c: (ellipse(c, 40 + s * 10.2, 41.2, 1.0, 2.0), c.fill())))
    # Half of it stays in shadow.
    t.over((10, 9, 18), 0.62 * smooth(44, 20, t.x + 0.2 * (t.y - 40)) * (t.y > 0))
    left = lambda c: curve(c, (40 - 6.2, 43), (40 - 8.4, 39.4, 40 - 11.4, 38.4, 40 - 14, 38.6), (40 - 12.8, 42.4, 40 - 9.6, 44.2, 40 - 6.2, 43))
    t.shine(left, (255, 166, 56), 2.4, 1.2)
    t.over((40, 16, 8), t.shape(lambda c: (ellipse(c, 29.8, 41.2, 1.0, 2.0), c.fill())))
    return t.done()


def mount():
    t = Tile(DUSK, 151)
    t.lamp(34, 55, 32, halo=0.45)
    t.ridge([(0, 46), (20, 38), (46, 46), (80, 34)], (74, 54, 70), seed=5, light=0.15)
    t.mist(42, 60)
    t.ridge([(0, 70), (40, 67), (80, 70)], (50, 42, 46), seed=9, light=0.45)
    coat = (142, 122, 108)
    far_leg = lambda c: (curve(c, (24, 52), (22, 60, 23, 66, 22, 73), (26, 73), (27.6, 66, 29, 60, 31, 52)), curve(c, (49, 52), (50, 60, 50.4, 66, 50, 73), (54, 73), (54.6, 66, 55.4, 58, 56, 50)))
    t.form(far_leg, (74, 62, 64), 1.6, 0.5, 0.2)
    body = lambda c: curve(
        c, (11, 39), (12, 32, 20, 30, 28, 31), (36, 32, 42, 31, 47, 29), (50, 24, 53, 20, 57, 18), (61, 16, 64, 17, 66, 20), (69, 24, 72, 28, 74.6, 31),
        (75.4, 33, 73, 35.4, 70, 35), (67, 34.8, 64.6, 34.4, 62.6, 36), (61, 41, 60, 46, 57, 51), (52, 57, 40, 58, 30, 57), (20, 57, 12, 52, 11, 39),
    )
    t.shadow(body, 2.4, 0.6, 0, 2)
    cover = t.form(body, coat, 4.0, 0.7, 0.6, 0.16)
    wool = clouds(80, 80, 5, 4, 157, 2)
    t.over((70, 58, 60), cover * 0.5 * smooth(0.1, 0.6, wool) * smooth(56, 46, t.x))
    leg = lambda c: (curve(c, (13, 46), (12, 56, 16, 62, 14.4, 74), (19.4, 74), (21, 66, 23, 60, 25.6, 54)), curve(c, (43, 53), (43.4, 60, 44.4, 66, 43.6, 75), (48.4, 75), (49.6, 66, 52, 60, 54, 53)))
    t.form(leg, (128, 108, 98), 1.8, 0.8, 0.5)
    t.form(lambda c: (c.rectangle(14, 72.4, 5.8, 3.2), c.rectangle(43.2, 73, 5.8, 3.2), c.fill()), (48, 40, 44), 0.8, 0.5, 0.5)
    t.form(lambda c: curve(c, (11.4, 36), (8, 36, 7, 41, 9.6, 44), (12, 42, 12, 38, 11.4, 36)), coat, 1.0, 0.5, 0.6)
    # Saddle, girth and the lamp.
    t.form(lambda c: curve(c, (21, 31), (30, 33, 36, 33, 43, 30), (45, 36, 44, 42, 42, 46), (35, 48, 28, 48, 23, 45), (21, 41, 20, 36, 21, 31)), (116, 48, 50), 2.0, 0.8, 0.6)
    t.form(lambda c: (c.set_line_width(1.2), c.move_to(22.2, 44), c.curve_to(28, 47.4, 36, 47.4, 42.4, 45), c.stroke()), (218, 170, 98), 0.6, 0.5, 0.5)
    t.form(lambda c: curve(c, (23, 31), (24, 27, 27, 25.4, 28, 27), (31, 31, 35, 31, 37.6, 27), (39, 24.6, 42, 26, 42, 30), (36, 34, 28, 34, 23, 31)), (88, 58, 44), 1.4, 0.6, 0.9)
    t.form(lambda c: (c.set_line_width(2.0), c.move_to(33, 47), c.line_to(33.4, 57), c.stroke()), (84, 58, 46), 0.7, 0.4, 0.4)
    t.over((60, 44, 38), t.shape(lambda c: (c.set_line_width(0.9), c.move_to(28, 44), c.line_to(28, 50), c.stroke())))
    t.shine(lambda c: (c.rectangle(25.8, 51.6, 4.6, 5.6), c.fill()), (255, 226, 150), 4.2, 2.6)
    t.form(lambda c: (poly(c, (24.8, 51.8), (26.8, 49.4), (29.4, 49.4), (31.4, 51.8)), c.rectangle(25, 57, 6.2, 1.4), c.fill()), (70, 50, 40), 0.6, 0.4, 0.8)
    # The curled horn, ridged like stone.
    horn = lambda c: (c.set_line_cap(0), [(c.set_line_width(w), c.new_sub_path(), c.arc(58.4 + ox, 26 + oy, r, a0, a1), c.stroke()) for w, r, a0, a1, ox, oy in ((6.4, 8.2, math.radians(175), math.radians(318), 0.4, 0.0), (5.6, 8.0, math.radians(60), math.radians(182), 0.4, -0.2), (4.2, 6.9, math.radians(-28), math.radians(66), 0.4, 0.8), (2.6, 5.0, math.radians(-100), math.radians(-20), 1.2, 0.8))])
    t.shadow(horn, 1.4, 0.8, 0, 1)
    cover = t.form(horn, (168, 158, 150), 1.8, 0.7, 0.8)
    angle = np.arctan2(t.y - 26, t.x - 58.8)
    t.over((74, 64, 68), cover * 0.55 * smooth(0.2, 0.8, np.sin(angle * 17)))
    t.over((24, 16, 18), t.shape(lambda c: (ellipse(c, 67.2, 24.6, 1.3, 1.0), c.fill())))
    t.over((255, 200, 120), t.shape(lambda c: (c.arc(67.5, 24.3, 0.45, 0, 7), c.fill())))
    t.over((60, 46, 46), 0.8 * t.shape(lambda c: (c.set_line_width(0.8), c.move_to(74, 33), c.line_to(70.6, 32.6), c.stroke())))
    return t.done()


def storemount():
    t = Tile([(0, (24, 22, 48)), (40, (58, 42, 84)), (80, (90, 60, 96))], 161)
    t.stars(12, 30)
    t.lamp(60, 20, 46, (214, 180, 255), 0.4)
    t.shine(lambda c: (spark(c, 61, 19, 13, 9, 0.13), c.fill()), (255, 234, 186), 5, 1.2)
    t.ridge([(0, 60), (24, 52), (52, 62), (80, 54)], (62, 46, 78), seed=7, light=0.12)
    t.mist(52, 74, (150, 120, 170), 0.3)
    neck = lambda c: curve(c, (4, 80), (8, 66, 18, 62, 23, 53), (27, 46, 28, 41, 29, 37), (32, 33, 39, 36, 39.6, 43), (39.6, 50, 41, 55, 45, 61), (50, 68, 51, 74, 50, 80))
    t.shadow(neck, 3, 0.7, 0, 1)
    t.form(neck, (110, 84, 100), 3.6, 0.8, 0.5, 0.12)
    ruff = lambda c: curve(c, (36.4, 47), (39.4, 53, 44.4, 59, 48, 66), (50.4, 71, 50, 76, 49, 80), (44, 80), (44, 74, 40, 70, 38, 64), (36, 58, 35.4, 52, 36.4, 47))
    t.form(ruff, (178, 154, 164), 2.2, 0.5, 0.4, 0.18, 0.8)
    head = lambda c: curve(c, (28, 37), (28, 32, 32, 29, 36.4, 29.4), (40.6, 29.8, 43.4, 32.2, 46, 35.2), (49.4, 37.6, 55, 39.6, 58.4, 41.6), (60, 43.4, 58.6, 46, 56, 46.2), (51, 46, 46.6, 45, 42.8, 43.8), (39, 45.4, 31, 44, 28, 37))
    t.shadow(head, 1.6, 0.7, 0, 1)
    t.form(head, (142, 110, 120), 2.2, 0.8, 0.6, 0.08)
    t.form(lambda c: curve(c, (55, 40.8), (57.4, 40.6, 59.6, 42, 59, 44), (58, 46, 56.4, 46.2, 55, 45.6)), (54, 40, 52), 0.9, 0.5, 0.8)
    t.over((60, 44, 56), 0.7 * t.shape(lambda c: (c.set_line_width(0.8), c.move_to(56.6, 46), c.curve_to(53, 45, 51, 44.6, 49.6, 43.6), c.stroke())))
    t.form(lambda c: curve(c, (30.6, 34), (26, 31.6, 20, 31, 15.6, 33.4), (19, 37.6, 25, 39, 30, 37.8)), (124, 96, 110), 1.3, 0.6, 0.8)
    t.over((78, 56, 72), 0.8 * t.shape(lambda c: curve(c, (28.6, 35), (25, 33.6, 21, 33.2, 18, 34), (21, 36.2, 25, 37, 28.6, 36.8))))
    t.over((26, 18, 28), t.shape(lambda c: (ellipse(c, 41.4, 35.8, 1.7, 1.2, 0.5), c.fill())))
    t.over((255, 236, 220), t.shape(lambda c: (c.arc(41.9, 35.3, 0.5, 0, 7), c.fill())))
    # Antlers that give a light of their own.
    def antlers(c):
        c.set_line_cap(1)
        c.set_line_join(1)
        for width, path in (
            (2.6, ((35, 29), (33, 22, 26, 20, 24, 8))), (2.0, ((31.6, 22.6), (26, 22, 21, 22, 16, 17))), (1.7, ((27, 16.4), (22, 14, 18, 13, 15, 9))), (1.5, ((25, 13), (28, 10, 29, 8, 29.4, 5.4))),
            (2.6, ((38, 29), (40, 23, 47, 22, 50, 11))), (2.0, ((41.2, 23.6), (45.4, 24.4, 49, 24.6, 53, 21))), (1.7, ((47, 18), (51, 17, 54, 16, 57, 11.6))), (1.5, ((49.2, 14), (46.6, 12, 45, 10, 44, 7))),
        ):
            c.set_line_width(width)
            c.move_to(*path[0])
            c.curve_to(*path[1])
            c.stroke()

    cover = t.shape(antlers)
    t.over((178, 120, 255), np.clip(blur(cover, 3.4) * 1.5, 0, 0.75))
    t.over((214, 176, 255), cover)
    t.over((248, 236, 255), np.clip(blur(cover, 0.8) * 1.8 - 0.75, 0, 1) * cover)
    return t.done()


BEASTS = {
    "rh_creature": ("The gloamwolf", "A lean wolf with amber eyes, half in shadow.", creature),
    "rh_mount": ("The stonehorn", "A saddled ram with great curled horns and a lamp at its saddle.", mount),
    "rh_storemount": ("The stag of the evening star", "A stag with violet antlers before the evening star.", storemount),
}
