#!/usr/bin/env python3
"""Watches a show on an Xvfb and makes a contact sheet of it, in time order: of
each picture how it looked when it came and when it went, and between two
pictures the crossfade or wipe in its middle. Each frame is labelled with its
time.

Ends when it has seen enough, when the time is over, or with the show. Exits
with 1 if the show had fewer pictures than asked for, or nothing between them.
"""

import argparse
import os
import sys
import time

import numpy
import PIL.Image
import PIL.ImageDraw
import PIL.ImageFont

from framebuffer import FrameBuffer

SAMPLES_PER_SECOND = 10
STILL_SECONDS = 0.6     # a picture stands at least as long
REACH_SECONDS = 0.3     # two samples so far apart tell whether a picture stands
STILL_LEVELS = 3        # of 255: a zoom changes the coarsest view by less,
STILL_SHARE = 0.04      # and by less than this share of its brightness
BLACK_LEVELS = 4        # mean of a screen that counts as black
DIFFERENT_LEVELS = 6    # mean difference of two different pictures
MIXED_SHARE = 0.3       # of that difference, by which a mixture of two may be off
ZOOM_LEVELS = 3         # of two looks at one picture that both are worth showing
COLUMNS, CELL_WIDTH, MARGIN, LABEL_HEIGHT = 3, 400, 10, 26
BLURRED_SIZE = (24, 18)
COARSE_SIZE = (4, 3)    # hardly sees the zoom, yet every change of pictures
PAPER, INK = (24, 24, 28), (235, 235, 235)


def difference(a, b):
    return float(numpy.abs(a - b).mean())


class Sample:
    """One look at the screen: as a cell of the sheet, and smaller to compare."""

    def __init__(self, seconds, shot):
        image = PIL.Image.fromarray(shot)
        height = round(image.height * CELL_WIDTH / image.width)
        self.seconds = seconds
        self.cell = image.resize((CELL_WIDTH, height), PIL.Image.BILINEAR, reducing_gap=2)
        self.blurred = self._shrunk(BLURRED_SIZE)
        self.coarse = self._shrunk(COARSE_SIZE)
        self.black = self.blurred.mean() < BLACK_LEVELS

    def _shrunk(self, size):
        return numpy.asarray(self.cell.resize(size, PIL.Image.BOX), float)


class Slide:
    """Samples in which one picture stands, or slowly zooms."""

    def __init__(self, samples):
        self.first, self.last = samples[0], samples[-1]
        self.middle = samples[len(samples) // 2].blurred


def is_still(samples, n):
    """Whether the screen hardly changes around sample `n`."""
    near = [s for s in samples if abs(s.seconds - samples[n].seconds) <= REACH_SECONDS]
    least = min(STILL_LEVELS, STILL_SHARE * samples[n].coarse.mean())
    return not samples[n].black and difference(near[0].coarse, near[-1].coarse) < least


def still_stretches(samples):
    stretch = []
    for n, sample in enumerate(samples):
        if is_still(samples, n):
            stretch.append(sample)
        elif stretch:
            yield stretch
            stretch = []
    if stretch:
        yield stretch


def find_slides(samples):
    """The pictures in turn; a picture that only paused comes once."""
    slides = []
    for stretch in still_stretches(samples):
        if stretch[-1].seconds - stretch[0].seconds < STILL_SECONDS:
            continue
        slide = Slide(stretch)
        if slides and difference(slides[-1].middle, slide.middle) < DIFFERENT_LEVELS:
            slides[-1].last = slide.last
        else:
            slides.append(slide)
    return slides


def share_of_new(sample, old, new):
    """How much of the way from one view to the other a sample is, 0 to 1."""
    way = new - old
    return float(((sample - old) * way).sum() / max((way * way).sum(), 1e-9))


def is_mixture(old, slide, new):
    """Whether a slide is but a crossfade between its neighbours that stuck."""
    share = share_of_new(slide.middle, old.middle, new.middle)
    mixed = old.middle + share * (new.middle - old.middle)
    return (0.02 < share < 0.98 and difference(slide.middle, mixed)
            < MIXED_SHARE * difference(old.middle, new.middle))


def without_mixtures(slides):
    kept = list(slides)
    for triple in zip(slides, slides[1:], slides[2:]):
        if is_mixture(*triple):
            kept.remove(triple[1])
    return kept


def half_way(samples, old, new):
    """The sample between two slides that is half the old and half the new."""
    between = [s for s in samples if old.last.seconds < s.seconds < new.first.seconds]

    def distance(sample):
        return abs(share_of_new(sample.blurred, old.last.blurred, new.first.blurred) - 0.5)

    found = min(between, key=distance, default=None)
    return found if found and distance(found) < 0.4 else None


class Watcher:
    """Finds what goes to the sheet among the samples of a screen."""

    def __init__(self, change):
        self._change = change  # what the way from one picture to the next is called
        self._samples = []
        self.slides = []
        self.changes = []

    def take(self, seconds, shot):
        self._samples.append(Sample(seconds, shot))

    def look(self):
        self.slides = without_mixtures(find_slides(self._samples))
        pairs = zip(self.slides, self.slides[1:])
        self.changes = [s for s in (half_way(self._samples, *pair) for pair in pairs) if s]

    def frames(self):
        """The sheet: [(sample, label)]."""
        chosen = [(s, self._change) for s in self.changes]
        for slide in self.slides:
            chosen.append((slide.first, ""))
            if difference(slide.first.blurred, slide.last.blurred) > ZOOM_LEVELS:
                chosen.append((slide.last, "   the same, later"))
        return sorted(chosen, key=lambda frame: frame[0].seconds)

    def pictures(self):
        """How many different pictures there were."""
        found = []
        for slide in self.slides:
            if all(difference(slide.middle, other) > DIFFERENT_LEVELS for other in found):
                found.append(slide.middle)
        return len(found)


def watch(screen, arguments):
    watcher = Watcher(f"   {arguments.change} under way")
    start = time.monotonic()
    limit = arguments.seconds or arguments.at_most
    looked = 0.0
    while (now := time.monotonic() - start) < limit:
        if not os.path.exists(f"/proc/{arguments.pid}"):
            break
        watcher.take(now, screen.shot())
        if now - looked > 1:
            looked = now
            watcher.look()
            if not arguments.seconds and seen_enough(watcher, arguments):
                break
        time.sleep(max(0.0, 1 / SAMPLES_PER_SECOND - (time.monotonic() - start - now)))
    watcher.look()
    return watcher


def seen_enough(watcher, arguments):
    return (len(watcher.frames()) >= arguments.frames and watcher.pictures() >= arguments.wanted
            and watcher.changes)


def draw_sheet(frames, path):
    height = max(sample.cell.height for sample, _ in frames)
    rows = -(-len(frames) // COLUMNS)
    step_x, step_y = CELL_WIDTH + MARGIN, height + LABEL_HEIGHT + MARGIN
    sheet = PIL.Image.new("RGB", (COLUMNS * step_x + MARGIN, rows * step_y + MARGIN), PAPER)
    draw = PIL.ImageDraw.Draw(sheet)
    font = PIL.ImageFont.truetype("LiberationSans-Regular.ttf", 17)
    for n, (sample, label) in enumerate(frames):
        x, y = MARGIN + n % COLUMNS * step_x, MARGIN + n // COLUMNS * step_y
        sheet.paste(sample.cell, (x, y))
        draw.text((x + 2, y + height + 3), f"{sample.seconds:.1f} s{label}", INK, font)
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
    parser.add_argument("--change", default="crossfade", help="what comes between two pictures")
    arguments = parser.parse_args()

    watcher = watch(FrameBuffer(arguments.folder), arguments)
    pictures, changes = watcher.pictures(), len(watcher.changes)
    print(f"contact sheet: {pictures} different pictures, {changes} changes under way")
    frames = watcher.frames()
    if frames:
        draw_sheet(frames, arguments.out)
    if pictures < arguments.wanted or (arguments.wanted > 1 and not changes):
        sys.exit(f"contact sheet: that is less than the {arguments.wanted} pictures and one "
                 f"{arguments.change} that it should show")


if __name__ == "__main__":
    main()
