"""Letter forms of our own.

The name is set in cut capitals: strokes that swell at both ends, thin where they lie and
thick where they stand, and an A that carries a spark in place of its bar. Captions are set
in plain strokes of one width with the same proportions. A capital is 100 units high.
"""

import math


def stroke(c, x0, y0, x1, y1, start, end, waist):
    """A stroke whose sides bend inwards: widths at its start, at its end, at its waist."""
    length = math.hypot(x1 - x0, y1 - y0)
    nx, ny = -(y1 - y0) / length / 2, (x1 - x0) / length / 2
    mx, my = (x0 + x1) / 2, (y0 + y1) / 2
    bend = lambda a, b: 2 * waist - (a + b) / 2
    w = bend(start, end)
    c.move_to(x0 + nx * start, y0 + ny * start)
    quad(c, mx + nx * w, my + ny * w, x1 + nx * end, y1 + ny * end)
    c.line_to(x1 - nx * end, y1 - ny * end)
    quad(c, mx - nx * w, my - ny * w, x0 - nx * start, y0 - ny * start)
    c.close_path()


def quad(c, qx, qy, x, y):
    px, py = c.get_current_point()
    c.curve_to(
        px + (qx - px) * 2 / 3, py + (qy - py) * 2 / 3, x + (qx - x) * 2 / 3, y + (qy - y) * 2 / 3, x, y
    )


def ellipse(c, x, y, rx, ry, turn=0.0, backwards=False):
    c.save()
    c.translate(x, y)
    c.rotate(turn)
    c.scale(rx, ry)
    c.new_sub_path()
    (c.arc_negative if backwards else c.arc)(0, 0, 1, 0, -2 * math.pi if backwards else 2 * math.pi)
    c.close_path()
    c.restore()


def spark(c, x, y, long, wide, waist=0.16):
    """A star of four points."""
    c.move_to(x, y - long)
    for dx, dy, ex, ey in (
        (wide * waist, -long * waist, wide, 0),
        (wide * waist, long * waist, 0, long),
        (-wide * waist, long * waist, -wide, 0),
        (-wide * waist, -long * waist, 0, -long),
    ):
        quad(c, x + dx, y + dy, x + ex, y + ey)
    c.close_path()


def cut_q(c):
    ellipse(c, 54, 50, 54, 52)
    ellipse(c, 54, 50, 38.5, 44.5, 0.16, backwards=True)
    c.fill()
    c.move_to(50, 80)
    c.curve_to(74, 81, 84, 108, 122, 110)
    c.curve_to(112, 117, 92, 119, 80, 112)
    c.curve_to(66, 103, 62, 92, 50, 80)
    c.close_path()
    c.fill()


def cut_u(c):
    c.move_to(-3, -1)
    quad(c, 9, 1, 21, -1)
    quad(c, 15.5, 30, 15.5, 58)
    c.curve_to(15.5, 82, 27, 92, 43, 92)
    c.curve_to(60, 92, 70, 82, 70, 58)
    quad(c, 70, 26, 66, -1)
    quad(c, 76, 1, 86, -1)
    quad(c, 80, 26, 80, 60)
    c.curve_to(80, 90, 64, 102, 41, 102)
    c.curve_to(17, 102, 2.5, 90, 2.5, 58)
    quad(c, 2.5, 26, -3, -1)
    c.close_path()
    c.fill()


def cut_e(c):
    stroke(c, 9, -1, 9, 101, 22, 22, 13)
    c.fill()
    stroke(c, 4, 4.5, 60, 3.5, 9, 15, 7.5)
    c.fill()
    stroke(c, 8, 49, 50, 49, 8, 14, 7)
    c.fill()
    stroke(c, 4, 95.5, 64, 96.5, 9, 15, 7.5)
    c.fill()


def cut_l(c):
    stroke(c, 9, -1, 9, 101, 22, 22, 13)
    c.fill()
    stroke(c, 4, 95.5, 63, 96, 9, 16, 7.5)
    c.fill()


def cut_r(c):
    stroke(c, 9, -1, 9, 101, 22, 22, 13)
    c.fill()
    c.move_to(6, 0)
    c.line_to(34, 0)
    c.curve_to(58, 0, 69, 11, 69, 27)
    c.curve_to(69, 44, 56, 55, 34, 55)
    c.line_to(14, 55)
    c.line_to(14, 47.5)
    c.line_to(30, 47.5)
    c.curve_to(47, 47.5, 54, 40, 54, 27)
    c.curve_to(54, 14, 47, 7.5, 30, 7.5)
    c.line_to(6, 7.5)
    c.close_path()
    c.fill()
    c.move_to(33, 52)
    c.curve_to(48, 66, 56, 92, 88, 101)
    c.curve_to(76, 104, 60, 103, 51, 93)
    c.curve_to(40, 80, 34, 66, 20, 53)
    c.close_path()
    c.fill()


def cut_a(c):
    stroke(c, 45, 1, 5, 101, 9, 17, 7)
    c.fill()
    c.move_to(36, -2)
    quad(c, 46, -4, 53, -6)
    c.curve_to(62, 30, 74, 74, 98, 101)
    quad(c, 84, 99, 72, 101)
    c.curve_to(62, 76, 50, 34, 36, -2)
    c.close_path()
    c.fill()


NAME = ((cut_q, 118), (cut_u, 84), (cut_e, 62), (cut_l, 60), (cut_r, 82), (cut_a, 98))


def name_width(height, gap):
    return (sum(w for _, w in NAME) + gap * (len(NAME) - 1)) * height / 100


def draw_name(c, x, y, height, gap=26, sparks=False):
    """Draws the name from (x, y), its upper left corner; with `sparks` the spark alone."""
    c.save()
    c.translate(x, y)
    c.scale(height / 100, height / 100)
    at = 0.0
    for glyph, width in NAME:
        c.save()
        c.translate(at, 0)
        if sparks:
            if glyph is cut_a:
                spark(c, 43, 73, 21, 13)
                c.fill()
        else:
            glyph(c)
        c.restore()
        at += width + gap
    c.restore()


# Captions: poly-lines and arcs in a box 60 wide (less for narrow letters) and 100 high.
PLAIN = {
    "A": (62, ["M2 100 L31 0 L60 100", "M13 66 L49 66"]),
    "B": (54, ["M4 0 L4 100 L28 100 C58 100 58 48 28 48 L4 48", "M28 48 C50 48 50 0 28 0 L4 0"]),
    "C": (60, ["M58 16 C40 -8 2 -4 2 50 C2 104 40 108 58 84"]),
    "D": (60, ["M4 0 L4 100 L20 100 C72 100 72 0 20 0 L4 0"]),
    "E": (48, ["M46 0 L4 0 L4 100 L46 100", "M4 49 L38 49"]),
    "G": (64, ["M60 16 C40 -8 2 -4 2 50 C2 104 42 108 60 84 L60 54 L40 54"]),
    "H": (58, ["M4 0 L4 100", "M54 0 L54 100", "M4 49 L54 49"]),
    "I": (8, ["M4 0 L4 100"]),
    "K": (54, ["M4 0 L4 100", "M50 0 L6 56", "M20 40 L54 100"]),
    "L": (46, ["M4 0 L4 100 L44 100"]),
    "N": (60, ["M4 100 L4 0 L56 100 L56 0"]),
    "O": (70, ["M35 0 C80 0 80 100 35 100 C-10 100 -10 0 35 0"]),
    "P": (52, ["M4 100 L4 0 L26 0 C58 0 58 54 26 54 L4 54"]),
    "Q": (72, ["M35 0 C80 0 80 100 35 100 C-10 100 -10 0 35 0", "M42 74 L70 108"]),
    "R": (56, ["M4 100 L4 0 L26 0 C56 0 56 52 26 52 L4 52", "M26 52 L54 100"]),
    "S": (52, ["M48 14 C34 -8 4 -2 4 24 C4 56 50 42 50 74 C50 104 16 108 2 84"]),
    "T": (56, ["M0 0 L56 0", "M28 0 L28 100"]),
    "U": (58, ["M4 0 L4 64 C4 112 54 112 54 64 L54 0"]),
    "V": (60, ["M2 0 L30 100 L58 0"]),
    "W": (84, ["M2 0 L22 100 L42 16 L62 100 L82 0"]),
    " ": (30, []),
}


def caption_width(text, height, gap=34):
    return (sum(PLAIN[t][0] for t in text) + gap * (len(text) - 1)) * height / 100


def draw_caption(c, text, x, y, height, gap=34, weight=11):
    c.save()
    c.translate(x, y)
    c.scale(height / 100, height / 100)
    c.set_line_width(weight)
    # Round joins: the sharp ones of N and V would stand above and below the line.
    c.set_line_join(1)
    c.set_line_cap(0)
    at = 0.0
    for letter in text:
        width, lines = PLAIN[letter]
        for line in lines:
            words = line.replace("M", " M ").replace("L", " L ").replace("C", " C ").split()
            i = 0
            while i < len(words):
                count = {"M": 2, "L": 2, "C": 6}[words[i]]
                values = [float(v) for v in words[i + 1 : i + 1 + count]]
                values = [v + at if k % 2 == 0 else v for k, v in enumerate(values)]
                {"M": c.move_to, "L": c.line_to, "C": c.curve_to}[words[i]](*values)
                i += 1 + count
            c.stroke()
        at += width + gap
    c.restore()
