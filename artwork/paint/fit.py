"""Writes pictures that have an exact size in bytes.

A picture is encoded at the best quality that leaves room for its metadata, and the
metadata then takes exactly the room that is left. Nothing is ever appended after the
end of a picture.
"""

import struct
import zlib

import numpy as np

from .words import describe

SIGNATURE = b"\x89PNG\r\n\x1a\n"


class DoesNotFit(Exception):
    pass


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def text_chunks(words):
    return b"".join(
        chunk(b"tEXt", key.encode("latin-1") + b"\0" + value.encode("latin-1"))
        for key, value in words
    )


def filtered_rows(rows, bpp):
    """All five PNG filters of every row: an array filter x row x byte."""
    rows = rows.astype(np.int16)
    left = np.zeros_like(rows)
    left[:, bpp:] = rows[:, :-bpp]
    up = np.zeros_like(rows)
    up[1:] = rows[:-1]
    corner = np.zeros_like(rows)
    corner[1:, bpp:] = rows[:-1, :-bpp]
    estimate = left + up - corner
    to_left, to_up, to_corner = (abs(estimate - x) for x in (left, up, corner))
    paeth = np.where(
        (to_left <= to_up) & (to_left <= to_corner), left, np.where(to_up <= to_corner, up, corner)
    )
    variants = [rows, rows - left, rows - up, rows - (left + up) // 2, rows - paeth]
    return np.stack([v & 255 for v in variants]).astype(np.uint8)


def deflated(rows, bpp):
    """The distinct results of the filter and deflate choices, smallest first."""
    variants = filtered_rows(rows, bpp)
    height = rows.shape[0]
    signed = variants.astype(np.int8).astype(np.int32)
    choices = [np.full(height, f) for f in range(5)]
    choices.append(abs(signed).sum(axis=2).argmin(axis=0))
    changes = (variants[:, :, 1:] != variants[:, :, :-1]).sum(axis=2)
    choices.append(changes.argmin(axis=0))
    results = set()
    for choice in choices:
        raw = b"".join(
            bytes([f]) + variants[f, y].tobytes() for y, f in enumerate(choice.tolist())
        )
        for strategy in (zlib.Z_DEFAULT_STRATEGY, zlib.Z_FILTERED, zlib.Z_RLE):
            packer = zlib.compressobj(9, zlib.DEFLATED, 15, 9, strategy)
            results.add(packer.compress(raw) + packer.flush())
    return sorted(results, key=lambda r: (len(r), r))


def header(width, height, depth, colour):
    return SIGNATURE + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, depth, colour, 0, 0, 0))


def bare_truecolour(rgba):
    """(head, tail variants) of the picture with every pixel as it is."""
    height, width, _ = rgba.shape
    opaque = bool((rgba[:, :, 3] == 255).all())
    pixels = rgba[:, :, :3] if opaque else rgba
    head = header(width, height, 8, 2 if opaque else 6)
    bpp = pixels.shape[2]
    return head, deflated(np.ascontiguousarray(pixels).reshape(height, width * bpp), bpp)


def bare_palette(indices, palette):
    height, width = indices.shape
    count = len(palette)
    depth = 1 if count <= 2 else 2 if count <= 4 else 4 if count <= 16 else 8
    order = np.lexsort((palette[:, 2], palette[:, 1], palette[:, 0], palette[:, 3]))
    palette = palette[order]
    place = np.empty(count, np.uint8)
    place[order] = np.arange(count)
    indices = place[indices]
    if depth < 8:
        per = 8 // depth
        wide = np.zeros((height, -(-width // per) * per), np.uint8)
        wide[:, :width] = indices
        rows = np.zeros((height, wide.shape[1] // per), np.uint8)
        for i in range(per):
            rows |= wide[:, i::per] << (8 - depth * (i + 1))
    else:
        rows = indices
    head = header(width, height, depth, 3) + chunk(b"PLTE", palette[:, :3].astype(np.uint8).tobytes())
    alphas = palette[:, 3].astype(np.uint8)
    if (alphas < 255).any():
        head += chunk(b"tRNS", alphas[: int(np.nonzero(alphas < 255)[0].max()) + 1].tobytes())
    return head, deflated(rows, 1)


def quantised(rgba, count, dither=0.0):
    """Indices and palette of at most `count` colours: median cut, then Lloyd's rounds.

    Works on colour multiplied by alpha, so that faint pixels do not eat palette entries.
    Dither scatters each pixel by so much before it looks for its palette entry.
    """
    flat = rgba.reshape(-1, 4).astype(np.int64)
    flat[flat[:, 3] == 0] = 0
    colours, inverse, weight = np.unique(flat, axis=0, return_inverse=True, return_counts=True)
    if len(colours) <= count:
        return inverse.reshape(rgba.shape[:2]).astype(np.uint8), colours
    alpha = colours[:, 3:4] / 255.0
    points = np.concatenate([colours[:, :3] * alpha, colours[:, 3:4]], axis=1)
    boxes = [np.arange(len(points))]
    while len(boxes) < count:
        spread = []
        for box in boxes:
            part = points[box]
            mean = np.average(part, axis=0, weights=weight[box])
            spread.append((((part - mean) ** 2) * weight[box][:, None]).sum(axis=0))
        scores = [s.max() if len(b) > 1 else -1.0 for s, b in zip(spread, boxes)]
        widest = int(np.argmax(scores))
        if scores[widest] <= 0:
            break
        box = boxes.pop(widest)
        axis = int(np.argmax(spread[widest]))
        box = box[np.argsort(points[box][:, axis], kind="stable")]
        heavy = np.cumsum(weight[box])
        cut = int(np.searchsorted(heavy, heavy[-1] / 2)) + 1
        cut = min(max(cut, 1), len(box) - 1)
        boxes += [box[:cut], box[cut:]]
    centres = np.array([np.average(points[b], axis=0, weights=weight[b]) for b in boxes])
    for _ in range(12):
        nearest = nearest_centre(points, centres)
        for i in range(len(centres)):
            mine = nearest == i
            if mine.any():
                centres[i] = np.average(points[mine], axis=0, weights=weight[mine])
    nearest = nearest_centre(points, centres)
    alpha = np.rint(centres[:, 3:4])
    plain = np.where(alpha > 0, centres[:, :3] * 255.0 / np.maximum(centres[:, 3:4], 1), 0)
    palette = np.clip(np.rint(np.concatenate([plain, alpha], axis=1)), 0, 255).astype(np.int64)
    palette, merged = np.unique(palette, axis=0, return_inverse=True)
    if dither:
        scattered = points[inverse]
        noise = np.random.RandomState(count).uniform(-dither, dither, scattered.shape)
        nearest = nearest_centre(scattered + noise * (scattered[:, 3:4] > 0), centres)
        return merged[nearest].reshape(rgba.shape[:2]).astype(np.uint8), palette
    return merged[nearest][inverse].reshape(rgba.shape[:2]).astype(np.uint8), palette


def nearest_centre(points, centres):
    nearest = np.empty(len(points), np.int64)
    for start in range(0, len(points), 4096):
        part = points[start : start + 4096]
        distance = ((part[:, None, :] - centres[None, :, :]) ** 2).sum(axis=2)
        nearest[start : start + 4096] = distance.argmin(axis=1)
    return nearest


def rounded(rgba, step):
    """Rounds what the eye sees of every channel to a step.

    Faint pixels show little of their colour, so that theirs is rounded most.
    """
    alpha = np.rint(rgba[:, :, 3:4] / step) * step
    alpha = np.clip(np.where(rgba[:, :, 3:4] == 255, 255, alpha), 0, 255)
    seen = np.rint(rgba[:, :, :3] * (alpha / 255.0) / step) * step
    plain = np.where(alpha > 0, seen * 255.0 / np.maximum(alpha, 1), 0)
    return np.clip(np.rint(np.concatenate([plain, alpha], axis=2)), 0, 255).astype(np.uint8)


def levels(rgba):
    """Encodings from the best quality to the smallest palette."""
    yield "every pixel as painted", bare_truecolour(rgba)
    if rgba.shape[0] * rgba.shape[1] > 10000:
        for step in (1, 1.5, 2, 2.5, 3, 3.5, 4, 5, 6, 7, 8):
            yield f"channels in steps of {step}", bare_truecolour(rounded(rgba, step))
        for dither in (6, 5, 4, 3, 2, 1):
            yield f"256 colours, scattered by {dither}", bare_palette(*quantised(rgba, 256, dither))
    for count in (256, 224, 192, 160, 128, 112, 96, 80, 64, 56, 48, 40, 32, 28, 24, 20, 16, 12, 10, 8, 6, 5, 4, 3, 2):
        yield f"{count} colours", bare_palette(*quantised(rgba, count))


def png(rgba, size, title, about):
    """The PNG of exactly `size` bytes (any size when None), and how it was reached."""
    rgba = np.ascontiguousarray(rgba)
    end = chunk(b"IEND", b"")
    for quality, (head, bodies) in levels(rgba):
        for body in bodies:
            idat = chunk(b"IDAT", body)
            bare = len(head) + len(idat) + len(end)
            if size is None:
                words = [("Title", title), ("Author", "Vornak"), ("Description", about[0])]
                return head + text_chunks(words) + idat + end, quality
            words = describe(size - bare, title, about)
            if words is not None:
                return head + text_chunks(words) + idat + end, f"{quality}, {size - bare} of text"
    raise DoesNotFit(f"{title}: not even the smallest palette fits into {size} bytes")


def textured(paint, size, title, about):
    """The PNG of exactly `size` bytes of a picture whose grain may grow or be left away.

    `paint(amount)` gives the picture with more or less grain; the most that fits is taken.
    A picture that is too large without any is quantised.
    """

    def bare(amount):
        head, bodies = bare_truecolour(np.ascontiguousarray(paint(amount)))
        return len(head) + 12 + len(bodies[0]) + 12

    room = size - 250
    if bare(0) > room:
        return png(paint(0), size, title, about)
    low, high = 0, 128
    while high - low > 1:
        middle = (low + high) // 2
        low, high = (middle, high) if bare(middle) <= room else (low, middle)
    data, note = png(paint(low), size, title, about)
    return data, f"grain {low}, {note}"


def jpeg(encode, size, title, about):
    """The JPEG of exactly `size` bytes; `encode(step)` gets larger files for larger steps.

    The finest step that fits is found by bisection; a comment takes the rest.
    """
    low, high = 0, 4096
    while high - low > 1:
        middle = (low + high) // 2
        if len(encode(middle)) + 200 <= size:
            low = middle
        else:
            high = middle
    picture = encode(low)
    room = size - len(picture) - 4
    sentences = describe(room, title, about, plain=True)
    if room < 0 or sentences is None:
        raise DoesNotFit(f"{title}: {room} bytes of comment cannot be written")
    comment = sentences.encode("latin-1")
    at = 2
    while picture[at + 1] in (0xE0, 0xEE):
        at += 2 + struct.unpack(">H", picture[at + 2 : at + 4])[0]
    segment = b"\xff\xfe" + struct.pack(">H", len(comment) + 2) + comment
    return picture[:at] + segment + picture[at:], f"step {low}, {room} of comment"


def ico(pictures):
    """A Windows icon: bitmaps with alpha up to 64 pixels, PNGs above."""
    entries, bodies = b"", b""
    offset = 6 + 16 * len(pictures)
    for side, rgba in sorted(pictures.items()):
        if side > 64:
            head, idat = bare_truecolour(np.ascontiguousarray(rgba))
            if rgba[:, :, 3].min() == 255:
                raise DoesNotFit("an icon without alpha")
            body = head + chunk(b"IDAT", idat[0]) + chunk(b"IEND", b"")
        else:
            bgra = rgba[::-1, :, [2, 1, 0, 3]].tobytes()
            stride = -(-side // 32) * 4
            clear = np.zeros((side, stride * 8), np.uint8)
            clear[:, :side] = rgba[::-1, :, 3] == 0
            mask = np.packbits(clear, axis=1).tobytes()
            header_size = 40
            body = struct.pack("<IiiHHIIiiII", header_size, side, side * 2, 1, 32, 0, len(bgra) + len(mask), 0, 0, 0, 0)
            body += bgra + mask
        entries += struct.pack("<BBBBHHII", side % 256, side % 256, 0, 0, 1, 32, len(body), offset + len(bodies))
        bodies += body
    return struct.pack("<HHH", 0, 1, len(pictures)) + entries + bodies
