"""Judges a picture of `katessel plot`: picture_report.py FILE CLAIM ARGUMENTS. Prints what it found; fails when wrong.

size W H                             its size
shades N                             the spectrogram has at least N colours
line COLOUR AXES F BEGIN END         the line of that colour (red, green) runs at F Hz from BEGIN to END seconds
bare AXES F G                        nothing is drawn between F and G Hz
ridge AXES F                         the darkest row of the spectrogram within 10 % of F Hz is at F

AXES is log|linear,BOTTOM,TOP,START,END [Hz, s]: what the edges of the spectrogram's frame stand for. The frame is
found by its colour. Of an SVG only size, and shades of the image in it.
"""
import base64
import io
import re
import sys
import xml.dom.minidom

import numpy as np
from PIL import Image

INK, RED, GREEN = (51, 51, 51), (230, 64, 13), (0, 153, 51)


def read_image(source):
    """rows x columns x 3."""
    return np.asarray(Image.open(source).convert("RGB")).astype(int)


def panel(pixels):
    """The spectrogram inside its frame: the space between the first two long lines."""
    ink = np.all(pixels == INK, axis=2)
    top, bottom = np.flatnonzero(ink.sum(axis=1) > ink.shape[1] // 2)[:2]
    along = np.flatnonzero(ink[top])
    run = max(np.split(along, np.flatnonzero(np.diff(along) > 1) + 1), key=len)
    return pixels[top + 1:bottom, run[0] + 1:run[-1]]


class Axes:
    def __init__(self, text, pixels):
        kind, *numbers = text.split(",")
        bottom, top, start, end = map(float, numbers)
        rows, columns = pixels.shape[:2]
        up = 1 - (np.arange(rows) + 0.5) / rows
        self.frequencies = bottom + up * (top - bottom) if kind == "linear" else bottom * (top / bottom) ** up
        self.times = start + (np.arange(columns) + 0.5) / columns * (end - start)


def line(pixels, axes, colour):
    """Where pixels are nearly of that colour: median frequency, first and last time."""
    ys, xs = np.nonzero(np.abs(pixels - colour).max(axis=2) < 30)
    if len(xs) == 0:
        sys.exit("no such line")
    return np.median(axes.frequencies[ys]), axes.times[xs.min()], axes.times[xs.max()]


def ridge(pixels, axes, around):
    light = np.where(np.abs(axes.frequencies / around - 1) < 0.1, pixels.sum(axis=(1, 2)), np.inf)
    return axes.frequencies[light.argmin()]


def judge(path, claim, arguments):
    if path.endswith(".svg"):
        root = xml.dom.minidom.parse(path).documentElement
        size = [float(re.match("[0-9.]+", root.getAttribute(side))[0]) for side in ("width", "height")]
        images = [i.getAttribute("xlink:href").split(",", 1)[1] for i in root.getElementsByTagName("image")]
        pixels = max((read_image(io.BytesIO(base64.b64decode(i))) for i in images), key=lambda p: p.shape[1])
    else:
        pixels = read_image(path)
        size = list(pixels.shape[1::-1])
        pixels = panel(pixels)
    if claim == "size":
        return size == [float(a) for a in arguments], "size %g x %g" % tuple(size)
    if claim == "shades":
        count = len(np.unique(pixels.reshape(-1, 3), axis=0))
        return count >= int(arguments[0]), "%d colours" % count
    if claim == "line":
        axes = Axes(arguments[1], pixels)
        step = axes.times[1] - axes.times[0]
        found = line(pixels, axes, {"red": RED, "green": GREEN}[arguments[0]])
        wanted = [float(a) for a in arguments[2:]]
        good = abs(found[0] / wanted[0] - 1) < 0.015 and all(abs(f - w) < max(0.012, 2 * step) for f, w in zip(found[1:], wanted[1:]))
        return good, "%.2f Hz from %.3f to %.3f s" % found
    if claim == "bare":
        axes = Axes(arguments[0], pixels)
        within = (axes.frequencies > float(arguments[1])) & (axes.frequencies < float(arguments[2]))
        count = int((np.abs(pixels[within] - pixels[0, 0]).max(axis=2) > 30).sum())
        return count == 0, "%d pixels unlike the one on top" % count
    if claim == "ridge":
        found = ridge(pixels, Axes(arguments[0], pixels), float(arguments[1]))
        return abs(found / float(arguments[1]) - 1) < 0.015, "%.2f Hz" % found
    sys.exit("unknown claim: " + claim)


if __name__ == "__main__":
    good, found = judge(sys.argv[1], sys.argv[2], sys.argv[3:])
    print(" ".join(sys.argv[1:]) + ": " + found)
    sys.exit(0 if good else 1)
