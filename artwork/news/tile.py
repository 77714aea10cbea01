"""The tile that every hint's picture is painted on, and the way its forms are lit.

A tile is 80 pixels square: dusk behind, one warm light somewhere, a bronze rim around it.
"""

import numpy as np

from paint.canvas import Layer, blur, clouds, grain, grid, mask, mix, ramp, smooth
from paint.controls import rounded

SIDE = 80
DUSK = [(0, (25, 26, 48)), (24, (47, 40, 70)), (44, (92, 58, 76)), (58, (148, 80, 62)), (66, (178, 100, 64))]
NIGHT = [(0, (20, 21, 38)), (40, (38, 34, 58)), (80, (28, 25, 40))]
HALL = [(0, (18, 17, 26)), (50, (42, 32, 38)), (80, (28, 22, 28))]
FIRE = (255, 168, 82)


class Tile(Layer):
    def __init__(self, sky=DUSK, seed=1):
        self.x, self.y = grid(SIDE, SIDE)
        super().__init__(SIDE, SIDE, ramp(sky, self.y))
        self.seed = seed
        self.light_at, self.warmth, self.reach = (40, 40), np.array(FIRE, float), 40.0
        self.colour += 9 * clouds(SIDE, SIDE, 40, 7, seed, 4)[..., None]

    def lamp(self, x, y, reach=40.0, warmth=FIRE, halo=0.55):
        """Sets the one light of the picture and its halo in the air."""
        self.light_at, self.reach, self.warmth = (x, y), reach, np.array(warmth, float)
        away = np.hypot(self.x - x, self.y - y)
        self.over(warmth, halo * np.exp(-((away / (reach * 0.62)) ** 2)) * 0.62)
        self.over(warmth, halo * np.exp(-((away / (reach * 0.26)) ** 2)))
        return self

    def shape(self, draw):
        return mask(SIDE, SIDE, draw, 6)

    def ridge(self, points, colour, rough=1.6, cell=18, seed=3, light=0.25):
        """Land whose upper edge runs through the points."""
        line = np.interp(np.arange(SIDE) + 0.5, [p[0] for p in points], [p[1] for p in points])
        line = np.convolve(np.pad(line, 4, mode="edge"), np.ones(9) / 9, mode="valid")
        line = line + rough * clouds(SIDE, 1, cell, 1, seed, 3)[0]
        cover = np.clip(self.y - line[None, :] + 0.5, 0, 1)
        deep = np.clip((self.y - line[None, :]) / 30, 0, 1)
        tone = np.array(colour, float) * (1 - 0.45 * deep[..., None])
        tone = tone + 5 * clouds(SIDE, SIDE, 9, 4, seed + 5, 3)[..., None]
        self.over(self.lit_ground(tone, light), cover)
        return cover

    def lit_ground(self, tone, amount):
        away = np.hypot(self.x - self.light_at[0], (self.y - self.light_at[1]) * 1.5)
        return tone + self.warmth * (amount * np.exp(-((away / self.reach) ** 2)))[..., None]

    def form(self, draw, colour, bulge=1.6, warm=0.75, cool=0.5, rough=0.06, opacity=1.0):
        """A body: rounded by its shading, cool from the sky, warm from the light."""
        cover = draw if isinstance(draw, np.ndarray) else self.shape(draw)
        height = blur(cover, bulge)
        gy, gx = np.gradient(height)
        dx, dy = self.light_at[0] - self.x, self.light_at[1] - self.y
        away = np.hypot(dx, dy) + 1e-6
        facing = np.clip(-(gx * dx + gy * dy) / away * bulge * 2.6, -1, 1)
        sky = np.clip((gy * 0.8 + gx * 0.4) * bulge * 2.2, -1, 1)
        near = np.exp(-((away / self.reach) ** 2))
        tone = np.array(colour, float) if np.ndim(colour) == 1 else colour
        body = tone * (0.80 + cool * 0.7 * sky - 0.25 * np.clip(-facing, 0, 1) * near)[..., None]
        glow = np.clip(facing, 0, 1) * (0.25 + 0.75 * near)
        body = body + (0.35 * tone + 0.5 * self.warmth) * (warm * glow)[..., None]
        body = body * (1 + rough * clouds(SIDE, SIDE, 7, 4, self.seed + 31, 3))[..., None]
        self.over(np.clip(body, 0, 255), cover * opacity)
        return cover

    def shadow(self, draw, blur_by=1.6, amount=0.6, dx=0, dy=1):
        cover = draw if isinstance(draw, np.ndarray) else self.shape(draw)
        self.over((8, 8, 14), np.clip(blur(np.roll(np.roll(cover, dy, axis=0), dx, axis=1), blur_by) * amount, 0, 1))

    def shine(self, draw, colour=(255, 206, 132), halo=3.0, amount=1.2):
        """Something that gives light itself."""
        cover = draw if isinstance(draw, np.ndarray) else self.shape(draw)
        self.over((240, 126, 48), np.clip(blur(cover, halo) * amount, 0, 0.9))
        self.over(colour, cover)

    def stars(self, count=14, floor=40, colour=(196, 188, 210)):
        random = np.random.RandomState(self.seed + 7)
        for _ in range(count):
            x, y = random.randint(5, SIDE - 5), random.randint(5, floor)
            spot = np.zeros((SIDE, SIDE))
            spot[y, x] = random.uniform(0.25, 0.8)
            self.over(colour, spot)

    def mist(self, top, bottom, colour=(120, 92, 104), amount=0.35):
        band = smooth(top, (top + bottom) / 2, self.y) * smooth(bottom, (top + bottom) / 2, self.y)
        self.over(colour, amount * band * (0.7 + 0.4 * clouds(SIDE, SIDE, 26, 6, self.seed + 51, 3)))

    def done(self):
        """Brushwork, a darker edge and the bronze rim."""
        strokes = clouds(SIDE, SIDE, 6, 2, self.seed + 61, 2)
        self.shade(1 + 0.035 * strokes)
        self.colour += 1.1 * grain(SIDE, SIDE, self.seed + 71, 0.5)[..., None]
        corner = np.hypot(self.x - 40, self.y - 40)
        self.shade(1 - 0.34 * smooth(32, 58, corner))
        self.colour = np.clip(self.colour, 0, 255)
        ring = Layer(SIDE, SIDE)
        plate = lambda i: self.shape(lambda c: (rounded(c, i, i, SIDE - 2 * i, SIDE - 2 * i, 6 - i), c.fill()))
        inner = plate(2.2)
        ring.over((7, 7, 11), plate(0))
        ring.over(ramp([(0, (196, 152, 94)), (40, (118, 86, 58)), (80, (86, 62, 44))], self.y), plate(0.8))
        ring.over((9, 8, 12), plate(1.7))
        ring.colour = ring.colour * (1 - inner[..., None]) + self.colour * inner[..., None]
        ring.alpha = np.maximum(ring.alpha, inner)
        return ring.rgba()
