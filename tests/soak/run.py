#!/usr/bin/python3
"""Runs the saver for long, or often, and tells what grows.

usage: run.py --slides 2000 --mode fast|direct3d [--delay SECONDS] [--pictures 256]
              [--warm-up SLIDES] [--driver-thread]
       run.py --starts 500 --mode fast|direct3d|preview [--driver-thread]

Prints a table of what the program, or what it leaves behind, holds: medians of the
readings' first, middle and last fifth, after a warm-up. Ends with status 1 if
something grows or goes wrong, 2 if the run was stopped early (by Ctrl+C or SIGTERM,
which print the table of what was reached).

The display, the prefix and a copy of build/dist are the run's own, so that any number
of runs may go on at once.
"""

import argparse
import pathlib
import signal
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "tests" / "e2e"), str(ROOT / "tools")]

from harness.displays import VirtualDisplay
from harness.saver import Desktop
from soak import gauges
from soak.slides import Slides
from soak.starts import Starts

WIDTH, HEIGHT = 160, 120  # a small screen takes little time to draw


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    what = parser.add_mutually_exclusive_group(required=True)
    what.add_argument("--slides", type=int, help="one run of so many slides")
    what.add_argument("--starts", type=int, help="so many starts and ends")
    parser.add_argument("--mode", required=True, choices=["fast", "direct3d", "preview"])
    parser.add_argument("--delay", type=float, help="seconds that each slide stands, by default "
                        "the shortest: 0 in fast mode and -4 in Direct3D, see soak/slides.py")
    parser.add_argument("--pictures", type=int, default=256,
                        help="how many different ones, a multiple of 64")
    parser.add_argument("--warm-up", type=int, help="slides before the first reading, by default "
                        "until all pictures have been read once")
    parser.add_argument("--driver-thread", action="store_true",
                        help="let Wine draw on a thread of its own, as it does for users: "
                        "slow on a busy machine, see soak/scenes.py")
    parsed = parser.parse_args()
    if parsed.slides and parsed.mode == "preview":
        parser.error("slides are counted on a whole screen: --mode fast or direct3d")
    return parsed


class Reporter:
    """Prints what is going on, at most every half minute."""

    def __init__(self):
        self._started = time.monotonic()
        self._next = 0.0

    def seconds(self):
        return time.monotonic() - self._started

    def tell(self, text):
        if self.seconds() >= self._next:
            print(f"{time.strftime('%H:%M:%S')} {text}", flush=True)
            self._next = self.seconds() + 30


def report(soak, unit, reporter):
    print(f"{soak.reached:,} of {soak.wanted:,} {unit} in {reporter.seconds():,.0f} s")
    print("\n".join(soak.readings.table(unit)))
    for name, (opened, closed) in soak.openings.items():
        print(f"{name}: opened {opened:,} times, closed {closed:,} times")
    if getattr(soak, "killed", 0):
        print(f"{soak.killed} ended programs were killed by Wine's server, see soak/starts.py")
    print("\n".join(soak.faults) or "nothing grows, nothing went wrong", flush=True)


def main():
    options = arguments()
    reporter = Reporter()
    desktop = Desktop(VirtualDisplay(WIDTH, HEIGHT))
    try:
        gauges.check(desktop.hand)
        if options.slides:
            unit = "slides"
            soak = Slides(desktop, options.mode, options.slides, options.pictures, options.delay,
                          options.warm_up, options.driver_thread)
        else:
            unit = "starts"
            soak = Starts(desktop, options.mode, options.starts, options.driver_thread)

        def stop(*_):
            soak.stop = True
        signal.signal(signal.SIGTERM, stop)
        signal.signal(signal.SIGINT, stop)
        soak.run(reporter.tell)
        report(soak, unit, reporter)
    finally:
        desktop.close()
    if soak.faults:
        return 1
    return 2 if soak.reached < soak.wanted else 0


if __name__ == "__main__":
    sys.exit(main())
