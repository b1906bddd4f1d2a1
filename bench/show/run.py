#!/usr/bin/python3
"""Measures the Direct3D show against the least that its frames can cost.

usage: run.py SHOW_BENCH_EXE [--sizes 1280x1024,1920x1080] [--cram 1024] [--changes 6]
              [--delay 4] [--captions] [--out DIR]

For each screen size, on a display and a Wine prefix of its own:

- a whole session alone: time to the first picture, peak memory, frames a second
- a session between whose frames those of two baselines are drawn: `bare`, the
  same quads and the same calls and nothing else, and `decoding`, the same with a
  thread below normal priority that decodes pictures all the time
- the loader by itself: time of each state, and of each texture
- a bare OpenGL loop with the tiles of one slide, for orientation

Times of one run belong together: on a shared machine the ratios say more than
the milliseconds. Prints tables and draws out/show-bench.png.
"""

import argparse
import io
import pathlib
import subprocess
import sys

import numpy
import PIL.Image
import PIL.ImageDraw
import PIL.ImageFont

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "bench"), str(ROOT / "tests" / "e2e"), str(ROOT / "tools")]

from harness import bundles, pictures
from harness.displays import VirtualDisplay
from harness.prefixes import Prefix
from photographs import photograph

# Width, height: 6 to 24 megapixels, in the shapes of cameras.
SIZES = [(3000, 2000), (6000, 4000), (3464, 2310), (4000, 3000), (5472, 3648), (2448, 3264),
         (4608, 3456), (3000, 2000), (4000, 6000), (4272, 2848), (5184, 3456), (6000, 4000)]
STATES = ["created", "reading", "decoding", "building", "planning", "to tiles", "to powers",
          "resized"]
MEGABYTE = 1e6
SERIES = {"show": "show", "bare": "B1, the same quads alone", "decoding": "B2, B1 beside a decoder"}
# Kinds of frames that the baselines have as well, by how many slides are on the
# screen: where their shares differ, a median over both jumps between the two.
PHASES = {"one slide": "steady", "two slides": "transition"}
# Highest ratios. That of the memory is the peak, less what the process had when
# the first loader started, to what must be held: two slides' textures, one
# decoded picture, the encoded bytes of all pictures read so far.
TARGETS = dict(median=1.05, p99=1.25, worst=1.5, memory=1.3)


def make_bundle(path):
    """Twelve pictures, written once: painting them takes a minute."""
    if path.exists():
        return
    print(f"painting {len(SIZES)} pictures for {path}", flush=True)
    shown = []
    for n, (width, height) in enumerate(SIZES):
        stream = io.BytesIO()
        PIL.Image.fromarray(photograph(width, height, n)).save(
            stream, "JPEG", quality=90, progressive=n % 4 == 3)
        shown.append(pictures.Picture(f"{n:02}.jpg", width, height, stream.getvalue(), None))
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(bundles.slide_bundle(shown, [(p.name, f"Picture {p.name}") for p in shown]))


class Bench:
    """The benchmark program on one display."""

    def __init__(self, exe, width, height):
        self.exe = exe
        self.display = VirtualDisplay(width, height)
        self.prefix = Prefix(self.display)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.prefix.remove()
        self.display.close()

    def run(self, *arguments):
        """The lines that the program prints, as lists of words."""
        process = self.prefix.start(self.exe, *arguments, stdout=subprocess.PIPE, text=True)
        output, _ = process.communicate()
        if process.returncode:
            raise SystemExit(f"{self.exe} {' '.join(map(str, arguments))} failed")
        return [line.split() for line in output.splitlines()]


class Session:
    """What a session has told: frames by series and kind, and single values."""

    def __init__(self, lines):
        self.frames = [(series, kind, float(ms))
                       for word, series, kind, ms in (row for row in lines if row[0] == "frame")]
        self.values = {row[1]: float(row[2]) for row in lines if row[0] == "value"}

    def times(self, series, *kinds):
        return numpy.array([ms for s, kind, ms in self.frames
                            if s == series and kind != "opening" and (not kinds or kind in kinds)])


def figures(times):
    return len(times), 1000 / (times.mean() + 5), numpy.median(times), \
        numpy.percentile(times, 99), times.max()


def print_row(name, times):
    if len(times):
        print(f"{name:<28}{'%10d%10.1f%10.2f%10.2f%10.2f' % figures(times)}")


def verdict(name, value, limit):
    outcome = "met" if value <= limit else "MISSED"
    print(f"  {name:<48} {value:6.2f}   target {limit:.2f}   {outcome}")


def report_frames(session):
    print(f"{'frames, ms without the sleep':<28}"
          + "".join(f"{head:>10}" for head in ("count", "fps", "median", "p99", "worst")))
    for series, name in SERIES.items():
        print_row(name, session.times(series))
    for kind in ("steady", "decoding", "tile", "handover", "transition", "takeover"):
        print_row("  show: " + kind, session.times("show", kind))
        for name, series in (("B1", "bare"), ("B2", "decoding")):
            if kind in ("steady", "transition"):
                print_row(f"  {name}: {kind}", session.times(series, kind))
    show, decoding = (figures(session.times(series)) for series in ("show", "decoding"))
    verdict("median frame, show / B1",
            show[2] / numpy.median(session.times("bare")), TARGETS["median"])
    for phase, kind in PHASES.items():
        frames, least = session.times("show", kind), session.times("bare", kind)
        if len(frames) and len(least):
            verdict(f"median frame, {phase}, show / B1",
                    numpy.median(frames) / numpy.median(least), TARGETS["median"])
        else:
            print(f"  no frames of both to compare with {phase}; try a longer --delay")
    verdict("99th percentile, show / B2", show[3] / decoding[3], TARGETS["p99"])
    verdict("worst frame, show / B2", show[4] / decoding[4], TARGETS["worst"])
    print(f"  heap calls in a steady frame: {session.values['steady_allocations']:.0f}")


def report_session(alone, decoded_bytes):
    v = alone.values
    held = v["textures"] + v["encoded"] + decoded_bytes
    fps = len(alone.times("show")) / v["seconds"]
    print(f"alone: {fps:.1f} frames a second; first picture after {v['first_picture_ms']:.0f} ms, "
          "2.5 s of which the desktop fades")
    print(f"memory, MB: peak {v['memory_peak'] / MEGABYTE:.0f}, before the first picture "
          f"{v['memory_before'] / MEGABYTE:.0f}; to be held: textures of two slides "
          f"{v['textures'] / MEGABYTE:.1f}, encoded {v['encoded'] / MEGABYTE:.1f}, "
          f"one decoded picture {decoded_bytes / MEGABYTE:.1f}")
    verdict("peak memory beyond the start / what must be held",
            (v["memory_peak"] - v["memory_before"]) / held, TARGETS["memory"])


def report_loader(lines):
    print("loader, ms in each state; then the making of each texture")
    shown = [n for n in range(len(STATES)) if any(float(row[2 + n]) >= 0.05 for row in lines)]
    print(f"{'picture':<16}" + "".join(f"{STATES[n]:>10}" for n in shown) +
          f"{'tiles':>8}{'least':>9}{'median':>9}{'worst':>9}")
    for row in lines:
        n = int(row[1].split(".")[0])
        size = f"{row[1]} {SIZES[n][0] * SIZES[n][1] / 1e6:.0f} MP"
        print(f"{size:<16}" + "".join(f"{float(row[2 + s]):10.1f}" for s in shown) +
              f"{int(row[10]):8}" + "".join(f"{float(ms):9.2f}" for ms in row[11:14]))


COLOURS = {"show": (30, 90, 200), "bare": (40, 150, 60), "decoding": (210, 120, 30)}
PANEL_WIDTH, PANEL_HEIGHT, MARGIN, TICK_MS = 1200, 330, 50, 20


def plot_panel(draw, top, font, title, session):
    """Each series' frames in their order, over lines of equal time."""
    bottom, right = top + PANEL_HEIGHT - 2 * MARGIN, PANEL_WIDTH - MARGIN
    highest = max(session.times(series).max() for series in SERIES) * 1.05

    def height(ms):
        return bottom - (bottom - top) * ms / highest

    draw.text((MARGIN, top - 35), title, "black", font)
    for tick in range(0, int(highest) + 1, TICK_MS):
        draw.line((MARGIN, height(tick), right, height(tick)), (225, 225, 225))
        draw.text((MARGIN - 8, height(tick)), f"{tick}", "black", font, anchor="rm")
    legend = MARGIN + 330
    for series, name in SERIES.items():
        draw.text((legend, top - 35), name, COLOURS[series], font)
        legend += draw.textlength(name, font) + 40
        times = session.times(series)
        for index, ms in enumerate(times):
            x, y = MARGIN + (right - MARGIN) * index / len(times), height(ms)
            draw.ellipse((x - 1, y - 1, x + 1, y + 1), COLOURS[series])


def plot(sessions, path):
    """A panel for each screen size."""
    font = PIL.ImageFont.truetype("LiberationSans-Regular.ttf", 14)
    image = PIL.Image.new("RGB", (PANEL_WIDTH, PANEL_HEIGHT * len(sessions)), "white")
    draw = PIL.ImageDraw.Draw(image)
    for panel, (size, session) in enumerate(sessions.items()):
        plot_panel(draw, panel * PANEL_HEIGHT + MARGIN, font, f"{size}, ms of each frame in order",
                   session)
    path.parent.mkdir(parents=True, exist_ok=True)
    image.save(path, optimize=True)
    print(f"plot: {path}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("exe", type=pathlib.Path)
    parser.add_argument("--sizes", default="1280x1024,1920x1080")
    parser.add_argument("--cram", type=int, default=1024)
    parser.add_argument("--changes", type=int, default=6)
    parser.add_argument("--delay", type=float, default=4)
    parser.add_argument("--captions", action="store_true")
    parser.add_argument("--out", type=pathlib.Path, default=ROOT / "out")
    options = parser.parse_args()
    bundle = ROOT / "build" / "bench" / "photographs.bdl"
    make_bundle(bundle)
    largest = max(w * h for w, h in SIZES[:options.changes + 2])
    session = ["session", bundle, options.changes, options.cram, options.delay]
    session += ["captions"] if options.captions else []
    sessions = {}
    for size in options.sizes.split(","):
        print(f"\n=== {size}, pictures limited to {options.cram} px", flush=True)
        with Bench(options.exe, *map(int, size.split("x"))) as bench:
            both = Session(bench.run(*session, "baselines"))
            report_frames(both)
            alone = Session(bench.run(*session))
            report_session(alone, 4.0 * largest)
            tiles = int(alone.values["tiles"])
            opengl = Session(bench.run("opengl", tiles, 5))
            print_row(f"OpenGL, {tiles} tiles", opengl.times("opengl"))
            print(f"  its peak memory, MB: {opengl.values['memory_peak'] / MEGABYTE:.0f}")
            if not sessions:
                report_loader([row for row in bench.run("loader", bundle, options.cram)
                               if row[0] == "loader"])
            sessions[size] = both
    plot(sessions, options.out / "show-bench.png")


if __name__ == "__main__":
    main()
