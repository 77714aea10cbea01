"""What the player presses and reads: buttons, icons, progress, check box, scroll bar."""

import math

import numpy as np

from .canvas import Layer, blur, clouds, grain, grid, mask, mix, ramp, smooth
from .letters import ellipse, quad, spark, stroke
from .palette import BLUE, BONE, BRONZE, EMBER, GLOW, GOLD, GREEN, INK, NIGHT, RED, SLATE, STONE


def rounded(c, x, y, width, height, radius):
    c.new_sub_path()
    c.arc(x + width - radius, y + radius, radius, -math.pi / 2, 0)
    c.arc(x + width - radius, y + height - radius, radius, 0, math.pi / 2)
    c.arc(x + radius, y + height - radius, radius, math.pi / 2, math.pi)
    c.arc(x + radius, y + radius, radius, math.pi, math.pi * 1.5)
    c.close_path()


def plate(width, height, inset, radius, cut=0.0):
    """Coverage of a plate with rounded corners, `inset` from the edge of the picture."""

    def draw(c):
        rounded(c, inset, inset, width - 2 * inset, height - 2 * inset, max(radius - inset, 0.5))
        c.fill()

    return mask(width, height, draw)


ENAMEL = {"Blue": BLUE, "Orange": (202, 104, 38), "Green": GREEN, "Red": RED}


def button(colour, state):
    """Enamel in a bronze rim. Hover lights it from within; pressed, it sinks into its rim."""
    width, height = 98, 40
    x, y = grid(width, height)
    enamel = np.array(ENAMEL[colour], float)
    rim_light = {"idle": 1.0, "hover": 1.42, "pressed": 0.72}[state]
    picture = Layer(width, height)
    outer, bronze, inner = (plate(width, height, i, 7) for i in (0, 1, 3))
    picture.over(NIGHT, 0.92 * outer)
    metal = ramp(
        [(0, (206, 168, 112)), (0.18, (150, 110, 66)), (0.6, (92, 66, 44)), (0.86, (66, 48, 36)), (1, (118, 84, 52))],
        (y - 1) / (height - 2),
    )
    picture.over(np.clip(metal * rim_light, 0, 255), bronze)
    picture.over((10, 9, 12), plate(width, height, 2.5, 7))
    t = (y - 3) / (height - 6)
    if state == "pressed":
        face = ramp([(0, enamel * 0.30), (0.25, enamel * 0.48), (1, enamel * 0.66)], t)
    elif state == "hover":
        face = ramp([(0, enamel * 1.22 + 10), (0.42, enamel * 1.04), (1, enamel * 0.68)], t)
    else:
        face = ramp([(0, enamel * 0.98 + 8), (0.42, enamel * 0.76), (1, enamel * 0.44)], t)
    face = face * (1 + 0.05 * clouds(width, height, 18, 6, 31, 3))[..., None]
    picture.over(np.clip(face, 0, 255), inner)
    # A gloss that ends in a soft arc; none on a pressed button, which lies in shade.
    arc = y - 3 - (15.5 + 2.6 * np.cos((x - width / 2) / width * math.pi))
    if state != "pressed":
        strength = 0.15 if state == "hover" else 0.13
        picture.over((255, 255, 255), strength * inner * smooth(1.0, -1.2, arc) * smooth(30, 0, y))
        picture.over(np.clip(enamel * 1.5 + 60, 0, 255), 0.75 * np.clip(inner - np.roll(inner, 1, axis=0), 0, 1))
        picture.over(np.clip(enamel * 0.9, 0, 255), 0.55 * np.clip(inner - np.roll(inner, -1, axis=0), 0, 1))
    else:
        depth = np.clip(inner - blur(inner, 2.2), 0, 1) * smooth(26, 3, y)
        picture.over((4, 4, 8), 1.5 * depth)
        picture.over(np.clip(enamel * 0.95, 0, 255), 0.6 * np.clip(inner - np.roll(inner, -1, axis=0), 0, 1))
    if state == "hover":
        centre = np.exp(-(((x - width / 2) / 34) ** 2) - (((y - height / 2 - 3) / 15) ** 2))
        picture.over(np.clip(enamel * 1.35 + 44, 0, 255), 0.36 * centre * inner)
        edge = np.clip(bronze - plate(width, height, 2, 7), 0, 1)
        picture.over(GLOW, 0.62 * edge)
    # A rivet with a spark at each end of the plate.
    for cx in (10.5, width - 10.5):
        tone = {"idle": (214, 176, 116), "hover": (255, 226, 168), "pressed": (150, 116, 74)}[state]
        picture.draw((8, 8, 12), lambda c: (spark(c, cx, 20.8, 5.6, 4.4, 0.22), c.fill()), 0.5)
        picture.draw(tone, lambda c: (spark(c, cx, 20.0, 5.2, 4.0, 0.2), c.fill()), 0.85)
    return picture.rgba()


def icon(draw):
    """A bone-white sign with a dark lip, so that it stands on any enamel."""
    shape = mask(34, 34, draw, 8)
    picture = Layer(34, 34)
    picture.over((8, 8, 14), np.clip(blur(shape, 1.1) * 1.15, 0, 1) * 0.62)
    picture.over((8, 8, 14), np.roll(shape, 1, axis=0) * 0.7)
    _, y = grid(34, 34)
    picture.over(ramp([(4, (255, 252, 240)), (16, (242, 232, 208)), (30, (216, 190, 148))], y), shape)
    return picture.rgba()


def sign_download(c):
    c.move_to(14, 4)
    quad(c, 14.8, 9, 14.6, 13.4)
    c.line_to(8.2, 13.4)
    quad(c, 12.6, 18.4, 17, 24.6)
    quad(c, 21.4, 18.4, 25.8, 13.4)
    c.line_to(19.4, 13.4)
    quad(c, 19.2, 9, 20, 4)
    c.close_path()
    c.fill()
    c.move_to(4.4, 21.4)
    c.line_to(8.0, 21.4)
    c.line_to(8.6, 26.4)
    c.line_to(25.4, 26.4)
    c.line_to(26, 21.4)
    c.line_to(29.6, 21.4)
    c.line_to(28.6, 30)
    c.line_to(5.4, 30)
    c.close_path()
    c.fill()


def sign_update(c):
    for turn in (0, math.pi):
        c.save()
        c.translate(17, 17)
        c.rotate(turn)
        start, end = math.radians(188), math.radians(312)
        c.arc(0, 0, 12.6, start, end)
        c.arc_negative(0, 0, 8.8, end, start + 0.10)
        c.close_path()
        c.fill()
        # The head: it points along the ring, clockwise.
        c.translate(10.7 * math.cos(end), 10.7 * math.sin(end))
        c.rotate(end + math.pi / 2)
        c.move_to(-0.8, -6.2)
        quad(c, 3.4, -3.0, 8.4, 1.0)
        quad(c, 3.4, 3.4, -0.8, 5.6)
        c.close_path()
        c.fill()
        c.restore()


def sign_play(c):
    c.move_to(8.4, 4.6)
    quad(c, 19.5, 10.2, 29.4, 17)
    quad(c, 19.5, 23.8, 8.4, 29.4)
    quad(c, 10.6, 17, 8.4, 4.6)
    c.close_path()
    c.fill()


# Progress ---------------------------------------------------------------------------------

# The text of the bar lies on the fill and on the trough: both stay dark behind it, and the
# brightness of the fill sits in its upper and lower edges.
def progress_frame(amount=0.0):
    width, height = 106, 42
    x, y = grid(width, height)
    picture = Layer(width, height, (15, 16, 24))
    trough = ramp([(2, (6, 7, 11)), (8, (13, 14, 21)), (28, (19, 20, 30)), (39, (25, 26, 38))], y)
    picture.over(trough, np.ones((height, width)))
    picture.colour += amount * 0.1 * grain(width, height, 17, 0.6)[..., None]
    frame = np.ones((height, width))
    frame[2:39, 2:103] = 0
    picture.over((9, 9, 14), frame)
    for place, colour in (
        ((slice(1, 2), slice(1, 104)), (146, 108, 68)),
        ((slice(1, 40), slice(1, 2)), (112, 84, 56)),
        ((slice(39, 40), slice(1, 104)), (84, 62, 44)),
        ((slice(1, 40), slice(103, 104)), (84, 62, 44)),
    ):
        line = np.zeros((height, width))
        line[place] = 1
        picture.over(colour, line)
    # A thrown shadow to the lower right, which is why those borders are one pixel wider.
    picture.alpha[41, :] = picture.alpha[:, 105] = 0.45
    picture.colour[41, :] = picture.colour[:, 105] = np.array((4, 4, 7)) * 0.45
    for yy, xx in ((0, 0), (0, 104), (0, 105), (40, 0), (41, 0), (41, 105)):
        picture.alpha[yy, xx] = 0
        picture.colour[yy, xx] = 0
    return picture.rgba()


def progress_fill():
    stops = [
        (0, (255, 190, 110)), (1.5, (240, 138, 58)), (4, (170, 80, 30)), (8, (118, 51, 20)), (18, (104, 43, 17)),
        (28, (84, 33, 15)), (33, (104, 44, 18)), (36, (160, 76, 30)),
    ]
    picture = Layer(1, 37, (0, 0, 0))
    picture.over(ramp(stops, np.arange(37.0))[:, None, :], np.ones((37, 1)))
    return picture.rgba()


# Check box --------------------------------------------------------------------------------


def box(checked):
    picture = Layer(12, 12, (176, 134, 82))
    inside = np.zeros((12, 12))
    inside[1:11, 1:11] = 1
    picture.over((13, 14, 21), inside)
    lip = np.zeros((12, 12))
    lip[10, 1:11] = 1
    lip[1:11, 10] = 1
    picture.over((38, 34, 38), lip)
    for yy, xx in ((0, 0), (0, 11), (11, 0), (11, 11)):
        picture.over((70, 56, 44), np.eye(12)[yy][:, None] * np.eye(12)[xx][None, :])
    if checked:

        def tick(c):
            c.set_line_width(2.3)
            c.set_line_join(0)
            c.move_to(2.4, 5.6)
            c.line_to(5.0, 8.4)
            c.line_to(9.7, 2.8)
            c.stroke()

        shape = mask(12, 12, tick, 8)
        picture.glow((232, 124, 48), shape, 1.1, 0.8)
        picture.over((255, 202, 124), shape)
    return picture.rgba()


# Scroll bar -------------------------------------------------------------------------------


def groove(amount=0.0):
    width, height = 12, 96
    x, _ = grid(width, height)
    picture = Layer(width, height)
    tone = ramp([(0.5, (4, 5, 8)), (2, (9, 10, 15)), (9, (15, 16, 24)), (11.5, (27, 27, 38))], x)
    picture.over(tone, np.full((height, width), 0.9))
    picture.colour += amount * 0.035 * grain(width, height, 23, 0.7)[..., None]
    return picture.rgba()


def handle():
    """Cut in the middle and drawn out, so nothing but its ends may vary from row to row."""
    width, height = 12, 44
    x, y = grid(width, height)
    picture = Layer(width, height)

    def shape(inset):
        return mask(width, height, lambda c: (rounded(c, 1 + inset, inset, 10 - 2 * inset, height - 2 * inset, 4 - inset), c.fill()))

    picture.over((9, 8, 11), shape(0))
    picture.over(ramp([(1, (208, 164, 104)), (4, (160, 118, 72)), (9, (92, 68, 46)), (11, (70, 52, 38))], x), shape(1))
    picture.over((236, 198, 136), 0.5 * smooth(2.6, 1.4, y) * shape(1))
    return picture.rgba()


def arrow(up, pressed):
    picture = Layer(12, 12)
    face = mask(12, 12, lambda c: (rounded(c, 0, 0, 12, 12, 2), c.fill()))
    core = mask(12, 12, lambda c: (rounded(c, 1, 1, 10, 10, 1.4), c.fill()))
    _, y = grid(12, 12)
    picture.over((104, 80, 54) if not pressed else (66, 52, 40), face)
    t = (11 - y) if pressed else y
    picture.over(ramp([(1, (44, 42, 54)), (11, (20, 21, 30))], t), core)

    def head(c):
        d = 1 if pressed else 0
        c.translate(6 + 0.0, 6 + d * 0.6)
        if not up:
            c.scale(1, -1)
        c.move_to(-3.6, 2.1)
        c.line_to(0, -2.7)
        c.line_to(3.6, 2.1)
        c.close_path()
        c.fill()

    picture.over((255, 186, 104) if pressed else (222, 204, 170), mask(12, 12, head, 8))
    return picture.rgba()


def close(state):
    picture = Layer(16, 16)
    x, y = grid(16, 16)
    disc = lambda r: mask(16, 16, lambda c: (c.arc(8, 8, r, 0, 7), c.fill()), 8)
    rim = {"up": (122, 92, 60), "hover": (255, 190, 112), "down": (104, 70, 48)}[state]
    face = {"up": ((48, 46, 60), (22, 23, 33)), "hover": ((190, 74, 50), (110, 34, 30)), "down": ((62, 22, 22), (112, 42, 34))}[state]
    picture.over((8, 8, 12), disc(7.9))
    picture.over(rim, disc(7.2))
    picture.over(ramp([(2, face[0]), (14, face[1])], y), disc(6.1))

    def cross(c):
        d = 0.4 if state == "down" else 0
        c.set_line_width(1.9)
        for sign in (1, -1):
            c.move_to(8 + d - 2.6, 8 + d - 2.6 * sign)
            c.line_to(8 + d + 2.6, 8 + d + 2.6 * sign)
        c.stroke()

    picture.over({"up": (222, 208, 180), "hover": (255, 246, 226), "down": (228, 190, 150)}[state], mask(16, 16, cross, 8))
    return picture.rgba()
