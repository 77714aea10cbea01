"""The panels under the texts: dark slate in a bronze rim, drawn out by repeating tiles."""

import numpy as np

from .canvas import Layer, clouds, grain, grid, smooth

# How much of the land shows through. More would take the texts below their contrast.
COVER = 0.90


def tile_noise(side, offset_x, offset_y, width, height, seed, amount):
    """Slate that repeats without a seam every `side` pixels, counted from the offset."""
    soft = clouds(side, side, side / 3, side / 6, seed, 3, wrap=True)
    veins = clouds(side, side, side / 8, side / 16, seed + 7, 3, wrap=True)
    fine = grain(side, side, seed + 13, 0.6)
    # The grain is mostly one grey, a little of each colour, so that slate looks like stone.
    stained = np.stack([grain(side, side, seed + k) for k in (17, 19, 23)], axis=-1)
    tone = (1.5 * soft + 0.9 * veins + amount * 0.05 * fine)[..., None] + amount * 0.02 * stained
    y = (np.arange(height) - offset_y) % side
    x = (np.arange(width) - offset_x) % side
    return tone[np.ix_(y, x)]


def lines(picture, places):
    height, width = picture.alpha.shape
    for colour, opacity, top, bottom, left, right in places:
        cover = np.zeros((height, width))
        cover[top:bottom, left:right] = opacity
        picture.over(colour, cover)


def corners(picture):
    """Takes the outermost pixel of each corner away and sets a stud inside it."""
    h, w = picture.alpha.shape
    for yy in (0, h - 1):
        for xx in (0, w - 1):
            picture.alpha[yy, xx] = 0
            picture.colour[yy, xx] = 0
            iy, ix = (1 if yy == 0 else h - 2), (1 if xx == 0 else w - 2)
            lit = (236, 190, 124) if yy == 0 else (176, 134, 86)
            picture.colour[iy, ix] = lit
            picture.alpha[iy, ix] = 1
            for dy, dx in ((0, 1), (1, 0)):
                ny, nx = iy + (dy if yy == 0 else -dy), ix + (dx if xx == 0 else -dx)
                picture.colour[ny, nx] = np.array(lit) * 0.72
                picture.alpha[ny, nx] = 1


def package(amount=0.0):
    size, side = 102, 94
    tone = tile_noise(side, 4, 4, size, size, 301, amount)
    picture = Layer(size, size)
    picture.over(np.array((18, 19, 29)) + tone, np.full((size, size), COVER))
    rim(picture)
    return picture.rgba()


def rim(picture):
    h, w = picture.alpha.shape
    lines(picture, [
        ((6, 6, 10), 0.95, 0, 1, 0, w), ((6, 6, 10), 0.95, h - 1, h, 0, w), ((6, 6, 10), 0.95, 0, h, 0, 1), ((6, 6, 10), 0.95, 0, h, w - 1, w),
        ((124, 94, 62), 1, 1, 2, 1, w - 1), ((74, 58, 46), 1, 1, h - 1, 1, 2), ((74, 58, 46), 1, 1, h - 1, w - 2, w - 1), ((58, 46, 40), 1, h - 2, h - 1, 1, w - 1),
        ((4, 4, 8), 0.7, 2, 3, 2, w - 2), ((4, 4, 8), 0.5, 2, h - 2, 2, 3), ((4, 4, 8), 0.3, 2, h - 2, w - 3, w - 2),
    ])
    corners(picture)


def hint(amount=0.0):
    width, height, side, head = 104, 117, 96, 17
    tone = tile_noise(side, 4, head, width, height, 331, amount)
    picture = Layer(width, height)
    x, y = grid(width, height)
    picture.over(np.array((18, 19, 29)) + tone, np.full((height, width), COVER))
    # The head holds the title: a darker bar, closed by a bronze hairline.
    cover = np.zeros((height, width))
    cover[:head] = 0.8
    shade = 11 + 7 * smooth(15, 2, y)
    picture.over(np.stack([shade, shade, shade + 6], axis=-1) + 0.5 * tone, cover)
    lines(picture, [((96, 72, 50), 0.85, head - 2, head - 1, 2, width - 2), ((4, 4, 8), 0.7, head - 1, head, 2, width - 2)])
    rim(picture)
    return picture.rgba()
