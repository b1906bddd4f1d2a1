"""Many starts and ends of the saver, as fast as they go."""

import signal
import time

from harness.saver import SETTINGS_KEY
from harness.waiting import PATIENCE, TooLate, wait_until

from . import gauges, scenes
from .openings import Openings
from .series import Readings
from .slides import BUNDLE, LOG, log_faults

MODES = {"fast": dict(FastMode=1), "direct3d": dict(FastMode=0, Animate=1, Crossfade=1),
         "preview": dict(FastMode=0)}
READINGS = 100           # a run
KEY_AGAIN = 3.0 / PATIENCE  # a wait's limit: after three seconds an unheard key is pressed again
MOST_TO_END = 60 * PATIENCE  # seconds
WM_CLOSE = 0x0010
WS_VISIBLE = 0x10000000


class Starts:
    """So many starts of the saver in `mode`; each is ended once its window is there."""

    def __init__(self, desktop, mode, starts, driver_thread=False):
        self.desktop = desktop
        self.wanted = starts
        self.reached = 0
        # Ended, and then killed by Wine's server: it gives an ended program's host
        # process a second to go, which isn't enough on a machine with far too much to do.
        self.killed = 0
        self.faults = []
        self.stop = False    # set by whoever wants the run to end early
        self._sessions = set()
        desktop.settings(PlayMusic=0, ShowCaptions=1, **MODES[mode])
        if not driver_thread:
            scenes.without_driver_threads(desktop)
        desktop.slide_file(scenes.show(len(scenes.PALETTE), desktop.display.width,
                                       desktop.display.height))
        self._frame = None
        if mode == "preview":
            self._frame = desktop.hand.value("open-preview-frame", 152, 112)
        self._start_and_end()  # what only the first start does
        self._settings = self._stored()
        self._mode = desktop.hand.ask("display-mode")
        self._windows = len(desktop.hand.windows())
        self.readings = Readings(gauges.of_desktop_without_programs(desktop, self._sessions) +
                                 gauges.of_surroundings(desktop))
        self._openings = Openings(desktop.install, desktop.data_folder())

    def run(self, tell):
        """Starts and ends until the number is reached; tell(text) hears of the progress."""
        every = max(1, self.wanted // READINGS)
        self.readings.take(0)
        while self.reached < self.wanted and not self.stop:
            before = self._counts()
            try:
                status = self._start_and_end()
            except TooLate as late:
                self._fault(late)
                break
            self.reached += 1
            if status == -signal.SIGKILL and not log_faults(self.desktop):
                self.killed += 1
            elif status != 0:
                self._fault(f"exit status {status}")
            self._check_files(before)
            self._check_what_is_left()
            if self.reached % every == 0:
                self.readings.take(self.reached)
            tell(f"{self.reached} starts, {len(self.faults)} faults")
        if self.desktop.saver_running():
            self._fault("the system believes that a saver runs")
        self.faults += self.readings.growing()
        self._openings.stop()
        self.openings = self._counts()

    def _fault(self, what):
        self.faults.append(f"start {self.reached}: {what}")

    # One start

    def _start_and_end(self):
        """Returns the exit status."""
        run = self.desktop.start(*(["/p", self._frame] if self._frame else ["/s"]))
        self._sessions.add(run.process.pid)
        end = self._close_preview if self._frame else self._press_key
        wait_until("the saver's window", self._window, alive=run.ended)
        limit = time.monotonic() + MOST_TO_END
        while run.running() and time.monotonic() < limit:
            end()
            try:
                wait_until("the end", lambda: not run.running(), KEY_AGAIN)
            except TooLate:
                continue
        status = run.wait_end()
        self.desktop.runs.remove(run)
        return status

    def _window(self):
        hand = self.desktop.hand
        windows = hand.children(self._frame) if self._frame else hand.windows("VelmoraSaver")
        return next((w for w in windows if w["style"] & WS_VISIBLE), None)

    def _press_key(self):
        self.desktop.display.key("q")

    def _close_preview(self):
        window = self._window()
        if window:
            self.desktop.hand.ask("post", window["hwnd"], WM_CLOSE, 0, 0)

    # What a start leaves

    def _counts(self):
        return {name: self._openings.counts(name) for name in (BUNDLE, LOG)}

    def _check_files(self, before):
        """Each start opens the files, and closes them."""
        try:
            wait_until("both files opened", lambda: all(
                opened > before[name][0] for name, (opened, _) in self._counts().items()))
            wait_until("both files closed", lambda: self._openings.all_closed(BUNDLE, LOG))
        except TooLate as late:
            self._fault(late)
        for fault in log_faults(self.desktop):
            self._fault(fault)

    def _stored(self):
        """All settings but the frame rate, which each run stores."""
        hand = self.desktop.hand
        return {name: hand.get_raw("HKCU", SETTINGS_KEY, name)
                for name in hand.value_names("HKCU", SETTINGS_KEY) if name != "AvgFps"}

    def _check_what_is_left(self):
        hand = self.desktop.hand
        if self._stored() != self._settings:
            self._fault(f"the settings are {self._stored()}")
        if hand.ask("display-mode") != self._mode:
            self._fault(f"the display mode is {hand.ask('display-mode')}")
        if len(hand.windows()) != self._windows:
            self._fault(f"there are {len(hand.windows())} windows")
        if hand.value("count-programs", "velmora"):
            self._fault("the program still runs")
