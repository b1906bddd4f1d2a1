#!/usr/bin/python3
"""Compares the image library's decoding with this machine's own djpeg.

usage: run.py DECODE_BENCH_EXE [ROUNDS]

Makes photograph-like pictures, decodes each by both in turn, and prints medians
and their ratio. Times of one run belong together: on a shared machine the
ratios say more than the milliseconds. djpeg is timed as a whole process and
writes its pixels to nowhere; the library is timed within its process.
Needs WINEPREFIX and DISPLAY, as tests/environment.sh provides.
"""

import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from photographs import photograph

LOADS_A_ROUND = 3


def write_ppm(path, picture):
    height, width, _ = picture.shape
    path.write_bytes(b"P6 %d %d 255\n" % (width, height) + picture.tobytes())


def jpeg(ppm, target, *options):
    subprocess.run(["cjpeg", *options, "-outfile", target, ppm], check=True)
    return target


def time_djpeg(path):
    start = time.perf_counter()
    subprocess.run(["djpeg", "-outfile", "/dev/null", path], check=True)
    return (time.perf_counter() - start) * 1000


def bench(exe, *arguments):
    command = ["wine", exe, *map(str, arguments)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return [float(line) for line in output.split()]


def compare(exe, name, path, rounds):
    native, library = [], []
    for _ in range(rounds):
        native += [time_djpeg(path) for _ in range(LOADS_A_ROUND)]
        library += bench(exe, "load", path, LOADS_A_ROUND)
    a, b = statistics.median(native), statistics.median(library)
    megabytes = path.stat().st_size / 1e6
    print(f"{name:<28} {megabytes:7.1f} {a:10.1f} {b:10.1f} {b / a:8.2f}", flush=True)


def report(exe, name, rounds, *arguments):
    times = bench(exe, *arguments[:2], rounds, *arguments[2:])
    print(f"{name:<56} {statistics.median(times):8.2f}", flush=True)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__.strip())
    exe = sys.argv[1]
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        print(f"{'decoding, median ms':<28} {'MB':>7} {'djpeg':>10} {'library':>10} {'ratio':>8}")
        for name, width, height in (("6 MP", 3000, 2000), ("24 MP", 6000, 4000)):
            ppm = folder / f"{width}.ppm"
            write_ppm(ppm, photograph(width, height))
            for kind, *options in (
                ("4:2:0", "-quality", "90"),
                ("4:4:4", "-quality", "92", "-sample", "1x1"),
                ("progressive", "-quality", "90", "-progressive"),
            ):
                path = jpeg(ppm, folder / f"{width}-{kind.replace(':', '')}.jpg", *options)
                compare(exe, f"{name} {kind}", path, rounds)
        print(f"\n{'scaling, median':<56} {'ms':>8}")
        small, large = folder / "3000-420.jpg", folder / "6000-420.jpg"
        report(exe, "Resize 3000x2000 -> 2816x1792", rounds, "resize", small, 2816, 1792)
        report(exe, "Resize 6000x4000 -> 1536x768", rounds, "resize", large, 1536, 768)
        report(exe, "Stretch 750x500 -> 256x256", 10 * rounds, "tile", small)


if __name__ == "__main__":
    main()
