"""The saver in its surroundings: a desktop to run in, a run to watch."""

import contextlib
import re
import shutil
import signal
import time

import numpy
import PIL.Image

from . import bundles, pictures, places
from .deskhand import DeskHand
from .displays import stop_process
from .prefixes import Prefix
from .waiting import wait_until

SETTINGS_KEY = r"Software\Tarnwick\TarnwickSaver\Velmora2"
FOLDERS_KEY = SETTINGS_KEY + r"\AppData"
DESKTOP_KEY = r"Control Panel\Desktop"
SYSTEM_KEY = r"Software\Microsoft\Windows\CurrentVersion\Screen Savers"
DIRECT3D_KEY = r"Software\Wine\Direct3D"
MUTEX = "VelmoraSaver"

_LINE = re.compile(r"(?P<mark>[A-Z><! ]) (?P<file> *\S+)\[(?P<line>\d{4})\]"
                   r"(?P<time>\d\d/\d\d \d\d:\d\d:\d\d) (?P<text>.*)")


def log_second(text, line):
    """When the log's line was written, in seconds of the system's clock."""
    row = next(row for row in text.splitlines() if row.endswith(line))
    written = time.strptime(f"{time.localtime().tm_year} {_LINE.fullmatch(row)['time']}",
                            "%Y %m/%d %H:%M:%S")
    return int(time.mktime(written))


def log_lines(text):
    """The log's lines as (mark, text), head, foot and the empty ones left out."""
    lines = []
    for row in text.splitlines():
        match = _LINE.fullmatch(row)
        if match:
            lines.append((match["mark"], match["text"]))
        elif lines and row and not row.startswith("----"):
            lines[-1] = (lines[-1][0], lines[-1][1] + "\n" + row)
    return lines


class Run:
    """One start of the program."""

    def __init__(self, desktop, program, arguments, options):
        self.desktop = desktop
        self.started = time.monotonic()
        self._older_log = desktop.log_text()
        self.process = desktop.prefix.start(program, *arguments, **options)

    def ended(self):
        """Why waiting for the program is in vain, or None while it runs."""
        return None if self.process.poll() is None else "the program has ended"

    def running(self):
        return self.process.poll() is None

    def log_text(self):
        """This run's log; empty while there is none but an older run's."""
        text = self.desktop.log_text()
        return "" if self._older_log and text.startswith(self._older_log) else text

    def wait_for_log(self, text, seconds=30.0):
        """Waits for a line of the log that holds `text`."""
        wait_until(f"the log says {text!r}", lambda: text in self.log_text(),
                   seconds, alive=self.ended)

    def wait_for_show(self):
        """Waits until the main loop is about to begin."""
        self.wait_for_log("Entering main loop...")
        return self

    @contextlib.contextmanager
    def suspended_in_set_up(self):
        """Stops the program's clock during the set-up, in the first wipe."""
        wait_until("the set-up", lambda: "Enter function: initStates" in self.log_text(),
                   step=0.002, alive=self.ended)
        self.process.send_signal(signal.SIGSTOP)
        try:
            assert "Entering main loop..." not in self.log_text()
            yield
        finally:
            self.process.send_signal(signal.SIGCONT)

    def window(self):
        """Waits for the saver's window."""
        return wait_until("the saver's window", lambda: self.desktop.hand.windows("VelmoraSaver"),
                          alive=self.ended)[0]

    def wait_for_picture(self, *wanted, seconds=60.0):
        """Waits until the whole screen shows one of the pictures; returns it."""
        names = " or ".join(p.name for p in wanted)
        return wait_until(
            f"{names} on the screen",
            lambda: pictures.which(self.desktop.display.shot(), wanted), seconds, alive=self.ended)

    def wait_for_next(self, shown):
        """Waits until another picture of `shown` stands than the one now."""
        now = self.wait_for_picture(*shown)
        return self.wait_for_picture(*[p for p in shown if p != now])

    def wait_end(self, seconds=30.0):
        """Waits for the program's end; returns its exit status."""
        wait_until("the program's end", lambda: not self.running(), seconds)
        return self.process.returncode

    def quit(self):
        """Ends the saver as a user does, by a key."""
        self.desktop.display.key("q")
        return self.wait_end()

    def kill(self):
        """Ends the process at once, with no say in it."""
        stop_process(self.process)


class Desktop:
    """A display, a prefix on it, the helper, and an install folder.

    One desktop serves one test after the other: `renew` makes it as good as new.
    """

    def __init__(self, display):
        self.display = display
        self.prefix = Prefix(display)
        self._drive = self.prefix.path / "drive_c"
        self._first_folders = set(self._drive.iterdir())
        # The system ends its own part of the desktop with the last program on it, and
        # takes a second to bring it up again: this one stays from test to test.
        self._resident = DeskHand(self.prefix)
        self.hand = DeskHand(self.prefix)
        self._begin()

    def _begin(self):
        self.runs = []
        self.install = self._drive / "Velmora 2"
        self._install()

    def _install(self):
        """The files of the install folder, but for the slides."""
        source = places.install_folder()
        if not (source / "Velmora2.scr").exists():
            raise RuntimeError(f"{source / 'Velmora2.scr'} isn't there; build first")
        self.install.mkdir()
        for file in source.iterdir():
            if file.is_file() and file.name != "images.bdl":
                shutil.copy2(file, self.install)

    def renew(self):
        """Ends all programs, forgets all settings, removes all new folders."""
        for run in self.runs:
            run.kill()
        self.hand.ask("end-programs", "velmora")
        for root, key in (("HKCU", r"Software\Tarnwick"), ("HKLM", r"Software\Tarnwick"),
                          ("HKLM", SYSTEM_KEY), ("HKCU", DIRECT3D_KEY)):
            self.hand.delete_tree(root, key)
        for name in ("Wallpaper", "TileWallpaper", "WallpaperStyle"):
            self.hand.delete_value("HKCU", DESKTOP_KEY, name)
        if not self.hand.fresh:
            self.hand.close()
            self.hand = DeskHand(self.prefix)
        for folder in set(self._drive.iterdir()) - self._first_folders:
            shutil.rmtree(folder)
        shutil.rmtree(self.data_folder().parent, ignore_errors=True)
        self._begin()

    def close(self):
        for run in self.runs:
            run.kill()
        self.hand.close()
        self._resident.close()
        self.prefix.remove()
        self.display.close()

    # Setting the stage

    def slides(self, shown, captions=()):
        """Writes images.bdl with these pictures, in this order."""
        self.slide_file(bundles.slide_bundle(shown, captions))

    def slide_file(self, data):
        (self.install / "images.bdl").write_bytes(data)

    def settings(self, **values):
        """Stores settings: whole numbers as DWORDs, text as text."""
        for name, value in values.items():
            store = self.hand.set_text if isinstance(value, str) else self.hand.set_dword
            store("HKCU", SETTINGS_KEY, name, value)

    # Running

    def start(self, *arguments, program="Velmora2.scr", **options):
        """Starts the program under a name, which it has or is copied to.

        `options` are those of subprocess.Popen.
        """
        path = self.install / program
        if not path.exists():
            shutil.copy2(self.install / "Velmora2.scr", path)
        run = Run(self, path, arguments, options)
        self.runs.append(run)
        return run

    # Looking

    def data_folder(self):
        """The program's data folder of this user."""
        return self.prefix.roaming() / "Tarnwick" / "Velmora2"

    def log_bytes(self):
        try:
            return (self.data_folder() / "VelmoraLog.txt").read_bytes()
        except (FileNotFoundError, NotADirectoryError, IsADirectoryError):
            return b""

    def log_text(self):
        return self.log_bytes().decode("cp1252").replace("\r\n", "\n")

    def log(self):
        """The log's texts, without marks, places and times."""
        return [text for _, text in log_lines(self.log_text())]

    def saver_running(self):
        """Whether the system believes that a saver runs, as a new process sees it."""
        hand = DeskHand(self.prefix)
        try:
            return hand.value("saver-running") == 1
        finally:
            hand.close()

    def wallpaper_path(self):
        return self.data_folder() / f"{self.user()}_velmora.bmp"

    def wallpaper(self):
        """The wallpaper file as PIL reads it."""
        return PIL.Image.open(self.wallpaper_path())

    def wallpaper_pixels(self):
        return numpy.asarray(self.wallpaper().convert("RGB"))

    def setting_dword(self, name):
        return self.hand.get_dword("HKCU", SETTINGS_KEY, name)

    def setting_text(self, name):
        return self.hand.get_text("HKCU", SETTINGS_KEY, name)

    def user(self):
        """The Windows user's login name."""
        return self.prefix.environment["USER"]
