"""One long run of the saver, slide after slide."""

import time

from harness.saver import log_lines
from harness.waiting import PATIENCE, TooLate, wait_until

from . import gauges, scenes
from .openings import Openings
from .series import Readings

MODES = {"fast": dict(FastMode=1), "direct3d": dict(FastMode=0, Animate=1, Crossfade=1)}
# The shortest that the settings make a difference for, in seconds. A Direct3D show
# begins a crossfade of four seconds as far on as the picture is overdue, so that below
# zero it gets shorter; at zero exactly it moves its pictures out of sight.
SHORTEST = {"fast": 0, "direct3d": -4}
BUNDLE, LOG = "images.bdl", "VelmoraLog.txt"
READINGS = 200           # a run
LOOK_EVERY = 0.02        # seconds
MOST_BETWEEN = 120 * PATIENCE  # seconds without a new slide


class Slides:
    """A run of so many slides on `desktop`, with `delay` seconds for each, or the least
    that there is; readings begin after `warm_up` slides, or when all pictures have been
    read once. Direct3D is drawn on a thread of the driver's if that is asked for."""

    def __init__(self, desktop, mode, slides, pictures, delay=None, warm_up=None,
                 driver_thread=False):
        self.desktop = desktop
        self.wanted = slides
        self.warm_up = min(pictures, slides // 4) if warm_up is None else warm_up
        self.faults = []
        self.stop = False    # set by whoever wants the run to end early
        delay = SHORTEST[mode] if delay is None else delay
        desktop.settings(PlayMusic=0, RandomOrder=0, ShowCaptions=1, ImageDelay=f"{delay:f}",
                         **MODES[mode])
        if not driver_thread:
            scenes.without_driver_threads(desktop)
        desktop.slide_file(scenes.show(pictures, desktop.display.width, desktop.display.height))
        desktop.data_folder().mkdir(parents=True, exist_ok=True)
        self._openings = Openings(desktop.install, desktop.data_folder())
        self._run = desktop.start("/s")
        window = self._run.window()
        self.readings = Readings(gauges.of_program(desktop, self._run.process.pid, window["pid"]) +
                                 gauges.of_surroundings(desktop))
        self._counter = scenes.SlideCounter(desktop.display)

    @property
    def reached(self):
        return self._counter.slides

    def run(self, tell):
        """Watches until the number is reached; tell(text) hears of the progress."""
        every = max(1, (self.wanted - self.warm_up) // READINGS)
        following, last, moved = self.warm_up, 0, time.monotonic()
        try:
            while self.reached < self.wanted and not self.stop:
                self._counter.look()
                if self.reached != last:
                    last, moved = self.reached, time.monotonic()
                if self.reached >= following:
                    self.readings.take(self.reached)
                    following = self.reached + every
                tell(f"{self.reached} slides")
                if not self._run.running():
                    raise TooLate("the saver has ended")
                if time.monotonic() - moved > MOST_BETWEEN:
                    raise TooLate(f"no new slide in {MOST_BETWEEN:.0f} seconds")
                time.sleep(LOOK_EVERY)
        except TooLate as late:
            self.faults.append(f"at slide {self.reached}: {late}")
        self._end()

    def _end(self):
        try:
            if self._run.quit() != 0:
                self.faults.append(f"exit status {self._run.process.returncode}")
        except TooLate as late:
            self.faults.append(str(late))
            self._run.kill()
        try:
            wait_until("all files closed", lambda: self._openings.all_closed(BUNDLE, LOG))
        except TooLate:
            self.faults.append(f"{BUNDLE} or {LOG} is still open")
        self.faults += self.readings.growing()
        self._openings.stop()
        self.openings = {name: self._openings.counts(name) for name in (BUNDLE, LOG)}
        self.faults += log_faults(self.desktop)


def log_faults(desktop):
    """What is wrong with the log of a run that has ended: it begins and ends once, and
    tells of no error."""
    text = desktop.log_text()
    lines = log_lines(text)
    faults = [f"{wanted!r} {text.count(wanted)} times in the log"
              for wanted in ("Log begins on", "Log ends on") if text.count(wanted) != 1]
    faults += [f"the log says {line!r}" for mark, line in lines if mark.strip() in ("E", "!")]
    if not lines or lines[-1][1] != "Successfully exiting WinMain":
        faults.append("the log doesn't end with the last line")
    return faults
