"""Layers, masks, noise and light: the tools that every picture is painted with.

Colours are floats from 0 to 255. A layer holds colour already multiplied by alpha, so
that soft edges keep no dark fringe.
"""

import math

import cairo
import numpy as np

FINE = 4  # masks are drawn four times finer and averaged


def mask(width, height, draw, fine=FINE):
    """Coverage from 0 to 1 of what `draw(context)` fills or strokes."""
    surface = cairo.ImageSurface(cairo.FORMAT_A8, width * fine, height * fine)
    context = cairo.Context(surface)
    context.set_antialias(cairo.ANTIALIAS_GOOD)
    context.scale(fine, fine)
    context.set_source_rgba(1, 1, 1, 1)
    draw(context)
    surface.flush()
    rows = np.frombuffer(surface.get_data(), np.uint8).reshape(height * fine, surface.get_stride())
    rows = rows[:, : width * fine].astype(np.float64) / 255.0
    return rows.reshape(height, fine, width, fine).mean(axis=(1, 3))


def grid(width, height):
    """Pixel centres as two arrays, x and y."""
    y, x = np.mgrid[0:height, 0:width]
    return x + 0.5, y + 0.5


def smooth(low, high, value):
    t = np.clip((value - low) / (high - low), 0, 1)
    return t * t * (3 - 2 * t)


def blur(picture, radius, wrap=False):
    """A Gaussian blur of a mask or of a stack of channels; edges are carried on or wrap."""
    if radius <= 0:
        return picture
    reach = int(math.ceil(radius * 3))
    weights = np.exp(-0.5 * (np.arange(-reach, reach + 1) / radius) ** 2)
    weights /= weights.sum()
    for axis in (0, 1):
        pads = [(0, 0)] * picture.ndim
        pads[axis] = (reach, reach)
        padded = np.pad(picture, pads, mode="wrap" if wrap else "edge")
        result = np.zeros_like(picture, dtype=np.float64)
        length = picture.shape[axis]
        for i, weight in enumerate(weights):
            window = [slice(None)] * picture.ndim
            window[axis] = slice(i, i + length)
            result += weight * padded[tuple(window)]
        picture = result
    return picture


def value_noise(width, height, cell_x, cell_y, seed, wrap=False):
    """Smooth noise from -1 to 1 whose features are about a cell wide."""
    cells_x = max(1, round(width / cell_x)) if wrap else int(width / cell_x) + 3
    cells_y = max(1, round(height / cell_y)) if wrap else int(height / cell_y) + 3
    lattice = np.random.RandomState(seed).uniform(-1, 1, (cells_y, cells_x))
    x = np.arange(width) * (cells_x / width if wrap else 1.0 / cell_x)
    y = np.arange(height) * (cells_y / height if wrap else 1.0 / cell_y)
    x0, y0 = np.floor(x).astype(int), np.floor(y).astype(int)
    fx, fy = x - x0, y - y0
    fx, fy = fx * fx * (3 - 2 * fx), (fy * fy * (3 - 2 * fy))[:, None]
    a = lattice[np.ix_(y0 % cells_y, x0 % cells_x)]
    b = lattice[np.ix_(y0 % cells_y, (x0 + 1) % cells_x)]
    c = lattice[np.ix_((y0 + 1) % cells_y, x0 % cells_x)]
    d = lattice[np.ix_((y0 + 1) % cells_y, (x0 + 1) % cells_x)]
    return (a * (1 - fx) + b * fx) * (1 - fy) + (c * (1 - fx) + d * fx) * fy


def clouds(width, height, cell_x, cell_y, seed, octaves=4, wrap=False):
    """Several octaves of noise, about -1 to 1."""
    total, weight, result = 0.0, 1.0, np.zeros((height, width))
    for octave in range(octaves):
        result += weight * value_noise(
            width, height, max(cell_x / 2**octave, 1), max(cell_y / 2**octave, 1), seed + octave * 101, wrap
        )
        total += weight
        weight *= 0.5
    return result / total * 1.5


def grain(width, height, seed, softness=0.0, wrap=True):
    """Fine even noise with a spread of one."""
    noise = np.random.RandomState(seed).uniform(-1, 1, (height, width))
    if softness:
        noise = blur(noise, softness, wrap)
    return noise / noise.std()


def ramp(stops, value):
    """Colours along `stops`, pairs of a position and a colour, at every value."""
    places = [s[0] for s in stops]
    return np.stack(
        [np.interp(value, places, [s[1][i] for s in stops]) for i in range(3)], axis=-1
    )


def mix(a, b, t):
    a, b = np.asarray(a, float), np.asarray(b, float)
    return a + (b - a) * t


class Layer:
    """A picture under the brush."""

    def __init__(self, width, height, colour=None):
        self.width, self.height = width, height
        self.colour = np.zeros((height, width, 3))
        self.alpha = np.zeros((height, width))
        if colour is not None:
            self.over(colour, np.ones((height, width)))

    def over(self, colour, cover):
        """Lays a colour (one, or one for every pixel) over what is there."""
        cover = np.clip(cover, 0, 1)
        self.colour = self.colour * (1 - cover[..., None]) + np.asarray(colour, float) * cover[..., None]
        self.alpha = self.alpha * (1 - cover) + cover
        return self

    def light(self, colour, amount):
        """Adds light where there is something to be lit."""
        self.colour = self.colour + np.asarray(colour, float) * (amount * self.alpha)[..., None]
        return self

    def shade(self, factor):
        """Multiplies the colour by a factor for every pixel."""
        self.colour = self.colour * factor[..., None]
        return self

    def keep(self, cover):
        """Cuts the layer to a shape."""
        self.colour = self.colour * cover[..., None]
        self.alpha = self.alpha * cover
        return self

    def draw(self, colour, draw, opacity=1.0):
        return self.over(colour, mask(self.width, self.height, draw) * opacity)

    def glow(self, colour, shape, radius, amount):
        """A halo of the shape that is laid over like thin mist."""
        return self.over(colour, np.clip(blur(shape, radius) * amount, 0, 1))

    def rgba(self):
        alpha = np.clip(self.alpha, 0, 1)
        plain = self.colour / np.maximum(alpha, 1e-6)[..., None]
        result = np.concatenate([np.clip(plain, 0, 255), alpha[..., None] * 255], axis=-1)
        result = np.rint(result).astype(np.uint8)
        result[result[..., 3] == 0] = 0
        return result
