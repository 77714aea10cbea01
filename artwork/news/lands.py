"""Places: roads, hills, halls and fires."""

import math

import numpy as np

from paint.canvas import clouds, mix, ramp, smooth
from paint.letters import ellipse, quad, spark

from .tile import DUSK, HALL, NIGHT, Tile


def poly(c, *points):
    c.move_to(*points[0])
    for p in points[1:]:
        c.line_to(*p)
    c.close_path()
    c.fill()


def lantern():
    t = Tile(DUSK, 11)
    t.lamp(41, 34, 34)
    t.ridge([(0, 50), (20, 46), (44, 51), (80, 44)], (62, 46, 66), seed=4)
    t.ridge([(0, 60), (40, 57), (80, 60)], (40, 34, 44), seed=8, light=0.35)
    # The road winds away to the right.
    road = lambda c: (c.move_to(34, 80), c.curve_to(48, 70, 74, 66, 62, 60), c.line_to(66, 60), c.curve_to(86, 66, 66, 72, 64, 80), c.close_path(), c.fill())
    t.form(road, (112, 88, 76), 1.0, 0.4, 0.2, opacity=0.8)
    stone = lambda c: (c.move_to(24, 80), c.curve_to(23, 62, 24, 54, 29, 51), c.curve_to(36, 48.5, 46, 48.5, 52, 51), c.curve_to(57, 54, 58, 66, 57, 80), c.close_path(), c.fill())
    t.shadow(stone, 2.5, 0.8, 2, 1)
    cover = t.form(stone, (92, 88, 98), 3.0, 0.8, 0.6, 0.16)
    moss = np.clip(clouds(80, 80, 9, 6, 15, 3) * 1.4 + 0.5 * smooth(58, 50, t.y) - 0.25 + 0.5 * smooth(70, 78, t.y), 0, 1)
    t.over((70, 88, 50), cover * moss * 0.75)
    cage = lambda c: (c.rectangle(34, 27, 14, 2), c.rectangle(33, 46, 16, 3.4), c.fill(), c.rectangle(34, 28, 1.6, 19), c.rectangle(46.4, 28, 1.6, 19), c.fill(), c.move_to(32.5, 27.6), c.line_to(38, 21.5), c.line_to(44, 21.5), c.line_to(49.5, 27.6), c.close_path(), c.fill())
    glass = t.shape(lambda c: (c.rectangle(35, 29, 12, 17), c.fill()))
    t.shine(glass, (255, 190, 104), 4, 1.1)
    flame = lambda c: (c.move_to(41, 31.5), c.curve_to(44.5, 37, 45.2, 40, 43.6, 43.5), c.curve_to(42, 45.4, 40, 45.4, 38.4, 43.5), c.curve_to(37, 40, 39.5, 36.5, 41, 31.5), c.close_path(), c.fill())
    t.over((255, 244, 206), t.shape(flame))
    t.form(cage, (70, 50, 38), 0.8, 0.5, 0.9)
    ring = lambda c: (c.set_line_width(1.5), c.arc(41, 17.4, 5, math.pi * 0.80, math.pi * 2.2), c.stroke())
    t.form(ring, (110, 80, 54), 0.7, 0.6, 0.8)
    return t.done()


def together():
    t = Tile(NIGHT, 21)
    t.stars(16, 26)
    t.lamp(40, 60, 40, halo=0.7)
    t.ridge([(0, 34), (16, 28), (36, 36), (58, 27), (80, 33)], (44, 38, 60), seed=2, light=0.1)
    t.ridge([(0, 52), (40, 49), (80, 52)], (46, 36, 44), seed=6, light=0.35)
    # The one behind the fire looks at us, the others are seen from the side. All wear pointed
    # hoods whose rims catch the fire, and all have faces: they are company, not ghosts.
    skin, brow = (222, 152, 106), (52, 32, 30)
    back = lambda c: (c.move_to(25, 68), c.curve_to(26, 54, 30, 48, 35, 44), c.line_to(45, 44), c.curve_to(50, 48, 54, 54, 55, 68), c.close_path(), c.fill())
    hood = lambda c: (c.move_to(40, 19), c.curve_to(45, 23, 50, 31, 49.6, 39), c.curve_to(49.4, 44, 47, 48, 44.6, 50), c.line_to(35.4, 50), c.curve_to(33, 48, 30.6, 44, 30.4, 39), c.curve_to(30, 31, 35, 23, 40, 19), c.close_path(), c.fill())
    gap = lambda c: (ellipse(c, 40, 38.4, 6.8, 8.6), c.fill())
    t.form(back, (92, 66, 52), 2.4, 0.9, 0.35)
    t.form(hood, (104, 74, 56), 2.0, 0.9, 0.45)
    t.over((34, 22, 24), t.shape(gap))
    face = t.shape(lambda c: (ellipse(c, 40, 39.6, 5.2, 6.8), c.fill()))
    t.over(ramp([(33, (96, 58, 50)), (38, (170, 106, 76)), (45, (244, 176, 118))], t.y), face)
    t.over(brow, 0.8 * t.shape(lambda c: (ellipse(c, 37.7, 38, 1.3, 0.8), c.fill(), ellipse(c, 42.3, 38, 1.3, 0.8), c.fill())))
    t.over((128, 74, 58), 0.7 * t.shape(lambda c: (c.set_line_width(0.9), c.move_to(40.2, 38.4), c.line_to(40.6, 41), c.stroke())))
    t.over((116, 52, 44), 0.8 * t.shape(lambda c: (c.set_line_width(0.9), c.move_to(38.2, 43), c.curve_to(39.4, 44, 40.8, 44, 42, 43), c.stroke())))
    for x, f, cloak in ((14, 1, (100, 62, 80)), (66, -1, (62, 80, 96))):
        body = lambda c: (c.move_to(x - 14 * f, 80), c.curve_to(x - 14 * f, 62, x - 11 * f, 54, x - 5 * f, 49), c.line_to(x + 4 * f, 49), c.curve_to(x + 8 * f, 54, x + 9 * f, 58, x + 11 * f, 62), c.curve_to(x + 15 * f, 65, x + 17 * f, 71, x + 17 * f, 80), c.close_path(), c.fill())
        profile = lambda c: (c.move_to(x + 2 * f, 34), c.curve_to(x + 6 * f, 34, x + 7.6 * f, 36, x + 7.6 * f, 38.6), c.line_to(x + 10.2 * f, 42.2), c.line_to(x + 8 * f, 43.2), c.line_to(x + 8.4 * f, 45), c.curve_to(x + 8.4 * f, 48, x + 6 * f, 49.4, x + 2 * f, 48.6), c.close_path(), c.fill())
        hood = lambda c: (c.move_to(x - 11 * f, 23), c.curve_to(x - 7 * f, 25.6, x - 3 * f, 26, x + 2 * f, 28), c.curve_to(x + 5.4 * f, 29.2, x + 6.6 * f, 32, x + 6.4 * f, 34.4), c.curve_to(x + 4.2 * f, 38, x + 3.8 * f, 44, x + 5 * f, 51), c.curve_to(x - 1 * f, 54, x - 6 * f, 53, x - 9 * f, 51), c.curve_to(x - 9.4 * f, 44, x - 7.6 * f, 34, x - 11 * f, 23), c.close_path(), c.fill())
        rim = lambda c: (c.set_line_width(1.5), c.set_line_cap(1), c.move_to(x + 5.6 * f, 33.6), c.curve_to(x + 3.4 * f, 38, x + 3.2 * f, 44, x + 4.4 * f, 50.4), c.stroke())
        fold = lambda c: (c.set_line_width(1.0), c.move_to(x - 8.6 * f, 27), c.curve_to(x - 4 * f, 33, x - 3.6 * f, 43, x - 3 * f, 50), c.stroke())
        t.shadow(body, 2, 0.5)
        t.form(body, cloak, 2.8, 1.0, 0.45)
        t.form(profile, skin, 1.0, 0.5, 0.2)
        t.over(brow, 0.85 * t.shape(lambda c: (ellipse(c, x + 6.5 * f, 39.4, 0.8, 0.8), c.fill())))
        t.form(hood, tuple(v * 1.06 for v in cloak), 2.2, 0.9, 0.5)
        t.over(tuple(v * 0.4 for v in cloak), 0.6 * t.shape(fold))
        t.over((236, 168, 110), 0.75 * t.shape(rim))
    logs = lambda c: (poly(c, (29, 68), (51, 72), (50.4, 75.4), (28.6, 71.6)), poly(c, (51, 68), (29, 72), (29.6, 75.4), (51.4, 71.6)))
    t.form(logs, (64, 42, 34), 1.0, 0.9, 0.2)
    flame = lambda c: (c.move_to(40.5, 48), c.curve_to(43.5, 56, 48.5, 60, 46.4, 67), c.curve_to(44, 71.5, 36.4, 71.5, 33.8, 67), c.curve_to(31.8, 61, 38.5, 57, 40.5, 48), c.close_path(), c.fill())
    t.shine(flame, (255, 160, 64), 3.2, 1.1)
    heart = lambda c: (c.move_to(40.2, 57), c.curve_to(43, 62, 44.2, 65, 42.8, 68), c.curve_to(41, 70, 38.8, 70, 37.2, 68), c.curve_to(36, 65, 38.8, 62, 40.2, 57), c.close_path(), c.fill())
    t.over((255, 236, 180), t.shape(heart))
    return t.done()


def hearth():
    t = Tile(HALL, 31)
    t.lamp(40, 56, 36, halo=0.5)
    # Courses of the wall.
    wall = np.zeros((80, 80))
    for i, top in enumerate(range(4, 80, 9)):
        wall[top, :] = 1
        wall[top : top + 9, (i % 2) * 9 :: 18] = 1
    t.over((14, 12, 18), 0.55 * wall)
    mantle = lambda c: (c.move_to(15, 74), c.line_to(15, 36), c.line_to(11, 36), c.line_to(11, 29), c.line_to(69, 29), c.line_to(69, 36), c.line_to(65, 36), c.line_to(65, 74), c.close_path(), c.fill())
    t.shadow(mantle, 2.6, 0.7)
    t.form(mantle, (96, 84, 84), 2.0, 0.9, 0.6, 0.14)
    mouth = lambda c: (c.move_to(24, 74), c.line_to(24, 52), c.curve_to(25, 41, 55, 41, 56, 52), c.line_to(56, 74), c.close_path(), c.fill())
    hole = t.shape(mouth)
    t.over(ramp([(42, (26, 12, 12)), (74, (120, 46, 22))], t.y), hole)
    t.over((255, 150, 66), hole * 0.65 * np.exp(-(((t.x - 40) / 14) ** 2) - (((t.y - 66) / 13) ** 2)))
    for x, top, w in ((32, 58, 5), (40, 49, 7), (48, 56, 5.4)):
        f = lambda c, x=x, top=top, w=w: (c.move_to(x, top), c.curve_to(x + w * 0.6, top + 8, x + w, top + 12, x + w * 0.5, 72), c.line_to(x - w * 0.5, 72), c.curve_to(x - w, top + 12, x - w * 0.3, top + 8, x, top), c.close_path(), c.fill())
        t.shine(t.shape(f) * hole, (255, 176, 80), 2.2, 0.8)
        g = lambda c, x=x, top=top, w=w: (c.move_to(x, top + 8), c.curve_to(x + w * 0.5, top + 13, x + w * 0.4, 71, x, 72), c.curve_to(x - w * 0.5, 70, x - w * 0.3, top + 13, x, top + 8), c.close_path(), c.fill())
        t.over((255, 238, 186), t.shape(g) * hole)
    t.form(lambda c: (poly(c, (27, 70), (53, 70), (54, 74), (26, 74))), (54, 34, 28), 1, 0.6, 0.2)
    t.form(lambda c: (poly(c, (0, 74), (80, 74), (80, 80), (0, 80))), (70, 52, 46), 1.5, 0.6, 0.2)
    for x in (5, 66):
        banner = lambda c, x=x: poly(c, (x, 9), (x + 9, 9), (x + 9, 60), (x + 4.5, 54), (x, 60))
        t.shadow(banner, 1.4, 0.7)
        t.form(banner, (104, 44, 50), 1.6, 0.7, 0.4)
        t.form(lambda c, x=x: (spark(c, x + 4.5, 26, 7, 3.6), c.fill()), (214, 168, 98), 0.6, 0.5, 0.4)
        t.form(lambda c, x=x: (c.rectangle(x - 1, 7.6, 11, 1.8), c.fill()), (130, 96, 60), 0.6, 0.4, 0.6)
    t.form(lambda c: (spark(c, 40, 18, 8, 6), c.fill()), (150, 112, 74), 0.8, 0.5, 0.6)
    return t.done()


def world():
    t = Tile(DUSK, 41)
    t.lamp(24, 46, 30, (255, 150, 78), 0.8)
    t.shine(lambda c: (c.arc(24, 47, 7.5, 0, 7), c.fill()), (255, 190, 110), 4, 0.7)
    t.ridge([(0, 47), (16, 51), (34, 46), (60, 50), (80, 43)], (92, 62, 76), seed=3, light=0.35)
    t.mist(44, 58)
    hill = t.ridge([(0, 60), (20, 57), (40, 50), (54, 43), (64, 45), (80, 55)], (62, 48, 58), 0.8, 20, 5, 0.3)
    tower = lambda c: (c.move_to(51, 46), c.line_to(52.6, 24), c.line_to(51.4, 21.6), c.line_to(60.6, 21.6), c.line_to(59.4, 24), c.line_to(61, 46), c.close_path(), c.fill(), c.move_to(51.6, 15.4), c.line_to(54.4, 11), c.line_to(57.6, 11), c.line_to(60.4, 15.4), c.close_path(), c.fill(), c.rectangle(52.6, 15, 1, 7), c.rectangle(58.4, 15, 1, 7), c.fill())
    t.shine(lambda c: (c.rectangle(53.6, 15.6, 4.8, 5.6), c.fill()), (255, 224, 150), 5, 2.2)
    t.form(tower, (46, 38, 50), 1.0, 0.8, 0.5)
    t.over((255, 190, 110), t.shape(lambda c: (c.rectangle(55.2, 29, 1.4, 3), c.rectangle(54.6, 37, 1.4, 3), c.fill())))
    t.ridge([(0, 62), (18, 66), (44, 62), (80, 68)], (44, 44, 44), 1.2, 16, 9, 0.28)
    t.ridge([(0, 74), (30, 70), (60, 74), (80, 71)], (26, 27, 32), 1.4, 12, 12, 0.15)
    for x, y, s in ((10, 66, 6), (15, 67, 8), (66, 70, 9), (72, 71, 7), (6, 67, 7)):
        t.form(lambda c, x=x, y=y, s=s: poly(c, (x - s * 0.3, y), (x, y - s), (x + s * 0.3, y)), (28, 30, 34), 0.8, 0.5, 0.4)
    return t.done()


def travel():
    t = Tile(DUSK, 51)
    t.lamp(42, 15, 40)
    t.ridge([(0, 52), (24, 47), (50, 53), (80, 46)], (80, 56, 70), seed=4, light=0.15)
    t.mist(46, 62)
    t.ridge([(0, 62), (40, 60), (80, 63)], (44, 38, 44), seed=6, light=0.3)
    for side in (1, -1):
        road = lambda c, s=side: (c.move_to(36, 80), c.curve_to(40, 72, 40 + s * 20, 68, 40 + s * 34, 62), c.line_to(40 + s * 40, 63), c.curve_to(40 + s * 26, 70, 46, 74, 48, 80), c.close_path(), c.fill())
        t.form(road, (116, 92, 80), 1.0, 0.4, 0.1, opacity=0.75)
    post = lambda c: poly(c, (39.6, 76), (40.2, 21), (43.8, 21), (44.6, 76))
    t.shadow(post, 2, 0.6, 1, 0)
    t.form(post, (92, 66, 50), 1.4, 0.8, 0.6, 0.15)
    for y, tip, back, tilt in ((28, 72, 34, -1.5), (39, 10, 50, -1.0), (50, 68, 36, 2)):
        d = 1 if tip > back else -1
        arm = lambda c, y=y, tip=tip, back=back, tilt=tilt, d=d: poly(c, (back, y), (tip - 6 * d, y + tilt), (tip, y + tilt + 4), (tip - 6 * d, y + tilt + 8), (back, y + 8))
        t.shadow(arm, 1.4, 0.7, 0, 2)
        t.form(arm, (140, 102, 70), 1.5, 0.8, 0.6, 0.12)
        t.over((72, 48, 36), 0.75 * t.shape(lambda c, y=y, tip=tip, back=back, tilt=tilt, d=d: (c.set_line_width(1.2), c.move_to(back + 4 * d, y + 3), c.line_to(tip - 12 * d, y + tilt * 0.8 + 3), c.move_to(back + 4 * d, y + 5.6), c.line_to(tip - 18 * d, y + tilt * 0.8 + 5.4), c.stroke())))
    t.shine(lambda c: (c.rectangle(39.4, 10.5, 5.2, 7.5), c.fill()), (255, 222, 150), 4, 1.6)
    t.form(lambda c: (poly(c, (37, 10.6), (40, 6.4), (44, 6.4), (47, 10.6)), c.rectangle(38.2, 18, 7.6, 2), c.rectangle(38.6, 10.5, 1, 8), c.rectangle(44.4, 10.5, 1, 8), c.fill()), (66, 48, 40), 0.7, 0.4, 0.8)
    return t.done()


LANDS = {
    "rh_misc": ("A lantern by the road", "A lit hand lantern on a mossy milestone beside a road at dusk.", lantern),
    "rh_together": ("Round the fire", "Three hooded travellers round a small campfire.", together),
    "rh_hearth": ("The hearth", "A great stone hearth in a dark hall, with a banner on each side.", hearth),
    "rh_world": ("The beacon hill", "Rolling hills under a low sun, and a beacon tower with its light lit.", world),
    "rh_travel": ("The crossroads", "A signpost with three arms and a lamp on its top.", travel),
}
