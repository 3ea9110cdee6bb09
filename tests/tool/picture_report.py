"""Judges a picture of `katessel plot`: picture_report.py FILE CLAIM ARGUMENTS. Prints what it found; fails when wrong.

size W H                             its size
shades N                             the spectrogram has at least N colours
line COLOUR AXES F BEGIN END         the line of that colour (red, green) runs at F Hz from BEGIN to END seconds
onset AXES T                         the spectrogram turns dark at T seconds
ridge AXES F                         the darkest row of the spectrogram within 10 % of F Hz is at F

AXES is log|linear,BOTTOM,TOP,START,END [Hz, s]: what the edges of the spectrogram's frame stand for. The frame is
found by its colour. Of an SVG only size, and shades of the image in it.
"""
import base64
import re
import statistics
import struct
import sys
import xml.dom.minidom
import zlib

INK, RED, GREEN = (51, 51, 51), (230, 64, 13), (0, 153, 51)


def read_png(data):
    """Rows of (r, g, b)."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "no PNG"
    position, packed = 8, b""
    while position < len(data):
        length, kind = struct.unpack_from(">I4s", data, position)
        chunk = data[position + 8:position + 8 + length]
        assert zlib.crc32(kind + chunk) == struct.unpack_from(">I", data, position + 8 + length)[0], "damaged PNG"
        if kind == b"IHDR":
            width, height, depth, colours = struct.unpack_from(">IIBB", chunk)
        if kind == b"IDAT":
            packed += chunk
        position += 12 + length
    assert depth == 8 and colours in (2, 6), "another kind of PNG"
    step = 3 if colours == 2 else 4
    raw, rows, above = zlib.decompress(packed), [], bytes(width * step)
    for y in range(height):
        kind = raw[y * (width * step + 1)]
        row = bytearray(raw[y * (width * step + 1) + 1:(y + 1) * (width * step + 1)])
        for i in range(len(row)):
            left = row[i - step] if i >= step else 0
            corner = above[i - step] if i >= step else 0
            guess = left + above[i] - corner
            nearest = min((left, above[i], corner), key=lambda v: abs(guess - v))
            row[i] = row[i] + (0, left, above[i], (left + above[i]) // 2, nearest)[kind] & 255
        rows.append([tuple(row[x:x + 3]) for x in range(0, len(row), step)])
        above = row
    return rows


def panel(rows):
    """The spectrogram inside its frame: the space between the first two long lines."""
    lines = [y for y, row in enumerate(rows) if row.count(INK) > len(row) // 2]
    top = rows[lines[0]]
    left = next(x for x in range(len(top)) if all(pixel == INK for pixel in top[x:x + len(top) // 2])) + 1
    right = next(x for x in range(left, len(top)) if top[x] != INK) - 1
    return [row[left:right] for row in rows[lines[0] + 1:lines[1]]]


class Axes:
    def __init__(self, text, rows):
        self.kind, *numbers = text.split(",")
        self.bottom, self.top, self.start, self.end = map(float, numbers)
        self.rows, self.columns = len(rows), len(rows[0])

    def frequency(self, y):
        part = 1 - (y + 0.5) / self.rows
        if self.kind == "linear":
            return self.bottom + part * (self.top - self.bottom)
        return self.bottom * (self.top / self.bottom) ** part

    def time(self, x):
        return self.start + (x + 0.5) / self.columns * (self.end - self.start)


def line(rows, axes, colour):
    """Where pixels are nearly of that colour: median frequency, first and last time."""
    near = [(x, y) for y, row in enumerate(rows) for x, pixel in enumerate(row)
            if max(abs(a - b) for a, b in zip(pixel, colour)) < 30]
    if not near:
        sys.exit("no such line")
    xs = [x for x, _ in near]
    return statistics.median(axes.frequency(y) for _, y in near), axes.time(min(xs)), axes.time(max(xs))


def ridge(rows, axes, around):
    candidates = [y for y in range(axes.rows) if abs(axes.frequency(y) / around - 1) < 0.1]
    return axes.frequency(min(candidates, key=lambda y: sum(sum(pixel) for pixel in rows[y])))


def judge(path, claim, arguments):
    with open(path, "rb") as f:
        data = f.read()
    if path.endswith(".svg"):
        root = xml.dom.minidom.parseString(data).documentElement
        size = [float(re.match("[0-9.]+", root.getAttribute(side))[0]) for side in ("width", "height")]
        images = [i.getAttribute("xlink:href") for i in root.getElementsByTagName("image")]
        pixels = max((read_png(base64.b64decode(i.split(",", 1)[1])) for i in images), key=lambda rows: len(rows[0]))
    else:
        rows = read_png(data)
        size = [len(rows[0]), len(rows)]
        pixels = panel(rows)
    if claim == "size":
        return size == [float(a) for a in arguments], "size %g x %g" % tuple(size)
    if claim == "shades":
        count = len({pixel for row in pixels for pixel in row})
        return count >= int(arguments[0]), "%d colours" % count
    if claim == "line":
        colour = {"red": RED, "green": GREEN}[arguments[0]]
        found = line(pixels, Axes(arguments[1], pixels), colour)
        wanted = [float(a) for a in arguments[2:]]
        good = abs(found[0] / wanted[0] - 1) < 0.015 and all(abs(f - w) < 0.012 for f, w in zip(found[1:], wanted[1:]))
        return good, "%.2f Hz from %.3f to %.3f s" % found
    if claim == "onset":
        darkness = [-sum(sum(row[x]) for row in pixels) for x in range(len(pixels[0]))]
        middle = 0.5 * (min(darkness) + max(darkness))
        found = Axes(arguments[0], pixels).time(next(x for x, dark in enumerate(darkness) if dark > middle))
        return abs(found - float(arguments[1])) < 0.03, "onset at %.3f s" % found
    if claim == "ridge":
        found = ridge(pixels, Axes(arguments[0], pixels), float(arguments[1]))
        return abs(found / float(arguments[1]) - 1) < 0.015, "%.2f Hz" % found
    sys.exit("unknown claim: " + claim)


if __name__ == "__main__":
    good, found = judge(sys.argv[1], sys.argv[2], sys.argv[3:])
    print(" ".join(sys.argv[1:]) + ": " + found)
    sys.exit(0 if good else 1)
