#!/usr/bin/env python3
"""Watches a show on an Xvfb and makes a contact sheet of it: its pictures and
the wipes between them, in time order, each labelled with its time.

Ends when it has seen enough, when the time is over, or with the show. Exits
with 1 if the show had fewer pictures than asked for, or no wipe between them.
"""

import argparse
import dataclasses
import os
import sys
import time

import numpy
import PIL.Image
import PIL.ImageDraw
import PIL.ImageFont

from framebuffer import FrameBuffer

SAMPLES_PER_SECOND = 15
STILL_SECONDS = 0.6     # a picture stands at least as long
DIFFERENT_LEVELS = 6    # mean difference of two different pictures, of 255
COLUMNS, CELL_WIDTH, MARGIN, LABEL_HEIGHT = 3, 400, 10, 26
PAPER, INK = (24, 24, 28), (235, 235, 235)


@dataclasses.dataclass
class Frame:
    seconds: float           # since the show was started
    pixels: numpy.ndarray    # at the size of a cell
    wipe: bool = False


def cell_of(shot):
    height = round(shot.shape[0] * CELL_WIDTH / shot.shape[1])
    image = PIL.Image.fromarray(shot).resize((CELL_WIDTH, height), PIL.Image.BILINEAR)
    return numpy.asarray(image)


def difference(a, b):
    return float(numpy.abs(a.astype(int) - b.astype(int)).mean())


def wiped(old, new, frame):
    """How much of the frame is the new picture's already, 0 to 1."""
    to_old = numpy.abs(frame.astype(int) - old).sum(axis=2)
    to_new = numpy.abs(frame.astype(int) - new).sum(axis=2)
    return float((to_new < to_old).mean())


class Watcher:
    """Sorts the samples of a screen into standing pictures and wipes."""

    def __init__(self):
        self.frames = []     # what goes to the sheet
        self._since = None   # when the present shot was first seen
        self._shot = None
        self._moving = []    # samples since the last standing picture

    def take(self, seconds, shot):
        if self._shot is None or (shot != self._shot).any():
            self._since, self._shot = seconds, shot
            self._moving.append(Frame(seconds, cell_of(shot)))
        elif self._moving and seconds - self._since >= STILL_SECONDS and shot.any():
            self._stand(Frame(seconds, self._moving[-1].pixels))

    def _stand(self, picture):
        """A picture stands now: what moved before it was the wipe to it."""
        if self.frames and difference(self.frames[-1].pixels, picture.pixels) > DIFFERENT_LEVELS:
            self._keep_wipe(self.frames[-1], picture)
        elif self.frames:
            self._moving = []
            return
        self.frames.append(picture)
        self._moving = []

    def _keep_wipe(self, old, new):
        under_way = [(abs(wiped(old.pixels, new.pixels, f.pixels) - 0.5), n)
                     for n, f in enumerate(self._moving[:-1])]
        if under_way and min(under_way)[0] < 0.4:
            frame = self._moving[min(under_way)[1]]
            self.frames.append(Frame(frame.seconds, frame.pixels, wipe=True))

    def pictures(self):
        """The standing pictures that differ from each other."""
        found = []
        for frame in self.frames:
            if not frame.wipe and all(difference(frame.pixels, other.pixels) > DIFFERENT_LEVELS
                                      for other in found):
                found.append(frame)
        return found

    def wipes(self):
        return [frame for frame in self.frames if frame.wipe]


def watch(screen, arguments):
    watcher = Watcher()
    start = time.monotonic()
    limit = arguments.seconds or arguments.at_most
    while (now := time.monotonic() - start) < limit:
        if not os.path.exists(f"/proc/{arguments.pid}"):
            break
        watcher.take(now, screen.shot())
        if not arguments.seconds and len(watcher.frames) >= arguments.frames:
            break
        time.sleep(max(0.0, 1 / SAMPLES_PER_SECOND - (time.monotonic() - start - now)))
    return watcher


def draw_sheet(frames, path):
    height = max(frame.pixels.shape[0] for frame in frames)
    rows = -(-len(frames) // COLUMNS)
    step_x, step_y = CELL_WIDTH + MARGIN, height + LABEL_HEIGHT + MARGIN
    sheet = PIL.Image.new("RGB", (COLUMNS * step_x + MARGIN, rows * step_y + MARGIN), PAPER)
    draw = PIL.ImageDraw.Draw(sheet)
    font = PIL.ImageFont.truetype("LiberationSans-Regular.ttf", 17)
    for n, frame in enumerate(frames):
        x, y = MARGIN + n % COLUMNS * step_x, MARGIN + n // COLUMNS * step_y
        sheet.paste(PIL.Image.fromarray(frame.pixels), (x, y))
        label = f"{frame.seconds:.1f} s" + ("   wipe under way" if frame.wipe else "")
        draw.text((x + 2, y + height + 3), label, INK, font)
    sheet.save(path)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", help="the -fbdir of the Xvfb")
    parser.add_argument("out", help="the sheet, a PNG file")
    parser.add_argument("--pid", type=int, required=True, help="the show's process")
    parser.add_argument("--seconds", type=float, help="watch exactly so long")
    parser.add_argument("--at-most", type=float, default=120, help="else watch no longer than this")
    parser.add_argument("--frames", type=int, default=9, help="else end with so many frames")
    parser.add_argument("--wanted", type=int, default=4, help="different pictures asked for")
    arguments = parser.parse_args()

    watcher = watch(FrameBuffer(arguments.folder), arguments)
    pictures, wipes = len(watcher.pictures()), len(watcher.wipes())
    print(f"contact sheet: {pictures} different pictures, {wipes} wipes under way")
    if watcher.frames:
        draw_sheet(watcher.frames, arguments.out)
    if pictures < arguments.wanted or (arguments.wanted > 1 and not wipes):
        sys.exit(f"contact sheet: that is less than the {arguments.wanted} pictures and one wipe "
                 "that it should show")


if __name__ == "__main__":
    main()
