"""X servers without a screen, each on a number that it picks by itself."""

import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time

import numpy
import PIL.Image

from framebuffer import FrameBuffer

from .waiting import wait_until


def stop_process(process):
    """Ends a child of ours and everything in its session."""
    if process.poll() is None:
        try:
            os.killpg(process.pid, signal.SIGTERM)
            process.wait(10)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    process.wait()


def _start_server(command, folder):
    """Starts an X server; returns the process and its display number."""
    if not shutil.which(command[0]):
        raise RuntimeError(f"{command[0]} isn't installed; run tools/setup.sh")
    reader, writer = os.pipe()
    with open(folder / "server.log", "wb") as log:
        process = subprocess.Popen(
            command + ["-displayfd", str(writer)], pass_fds=[writer], stdin=subprocess.DEVNULL,
            stdout=log, stderr=log, start_new_session=True)
    os.close(writer)
    with os.fdopen(reader) as answer:
        number = answer.readline().strip()
    if not number:
        stop_process(process)
        raise RuntimeError(f"{command[0]} didn't start: " + (folder / "server.log").read_text())
    return process, number


class _Connection:
    """A client that asks an X server one thing only. A library would end our process with
    the server."""

    _HELLO = struct.pack("<BxHHHHxx", ord("l"), 11, 0, 0, 0)  # little-endian, version 11.0
    _GET_INPUT_FOCUS = struct.pack("<BxH", 43, 1)
    _REPLY = 1

    def __init__(self, number):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(f"/tmp/.X11-unix/X{number}")
        self._socket.sendall(self._HELLO)
        accepted, words = struct.unpack("<B5xH", self._receive(8))
        reason = self._receive(4 * words)
        if accepted != 1:
            raise RuntimeError(f"the X server refuses us: {reason}")

    def _receive(self, size):
        data = b""
        while len(data) < size:
            piece = self._socket.recv(size - len(data))
            if not piece:
                raise RuntimeError("the X server has ended")
            data += piece
        return data

    def wait_for_answer(self):
        """Returns while no other client's request is half done."""
        self._socket.sendall(self._GET_INPUT_FOCUS)
        while self._receive(32)[0] != self._REPLY:  # all clients are told of some events
            pass

    def close(self):
        self._socket.close()


class _Display:
    """What all displays share: the number, the environment, mouse and keys."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="velmora-display-"))
        self.process = None
        self.name = None
        self._connection = None

    def environment(self):
        return {**os.environ, "DISPLAY": self.name}

    def finish_request(self):
        """Waits until the server has done what it was at."""
        self._connection = self._connection or _Connection(self.name.removeprefix(":"))
        self._connection.wait_for_answer()

    def close(self):
        if self._connection:
            self._connection.close()
        if self.process:
            stop_process(self.process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def restored(self):
        """Undoes what a test has done to it; whether all is as it was made."""
        return True

    def xdotool(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env=self.environment(), check=True,
                       start_new_session=True)

    def move_mouse(self, x, y):
        self.xdotool("mousemove", x, y)

    def click(self, button=1):
        self.xdotool("click", button)

    def key(self, name):
        self.xdotool("key", name)


def stable_shot(display):
    """The screen between two drawings of it: two looks at it agree. A server that lost its
    core in the middle of a drawing has finished it before each."""
    def look():
        display.finish_request()
        return display.shot()

    shots = [look()]

    def agree():
        shots.append(look())
        return (shots[-1] == shots[-2]).all()

    wait_until("the screen stands still for a moment", agree, step=0)
    return shots[-1]


class VirtualDisplay(_Display):
    """Xvfb: one monitor of any size and depth, its pixels mapped from a file."""

    def __init__(self, width=640, height=480, depth=24):
        super().__init__()
        self.width, self.height, self.depth = width, height, depth
        self.process, number = _start_server(
            ["Xvfb", "-screen", "0", f"{width}x{height}x{depth}", "-nolisten", "tcp",
             "-noreset", "-fbdir", str(self.folder)], self.folder)
        self.name = ":" + number
        self.shot = FrameBuffer(self.folder).shot

    def paint_desktop(self, marked, mark, ground):
        """Paints what lies behind all windows: where `marked`, a screen of flags,
        is true in the colour `mark`, elsewhere in `ground`."""
        path = self.folder / "desktop.xbm"
        PIL.Image.fromarray(marked).save(path)
        subprocess.run(["xsetroot", "-bitmap", str(path), "-fg", "#%02x%02x%02x" % mark,
                        "-bg", "#%02x%02x%02x" % ground], env=self.environment(), check=True)


_DUMMY_SCREENS = """
Section "ServerFlags"
  Option "AutoAddDevices" "false"
  Option "AutoEnableDevices" "false"
  Option "AllowMouseOpenFail" "true"
  Option "DontVTSwitch" "true"
EndSection
Section "Device"
  Identifier "card"
  Driver "dummy"
  VideoRam 256000
EndSection
Section "Monitor"
  Identifier "monitor"
  HorizSync 5-1000
  VertRefresh 5-200
EndSection
Section "Screen"
  Identifier "screen"
  Device "card"
  Monitor "monitor"
  DefaultDepth 24
  SubSection "Display"
    Depth 24
    Virtual 4096 2048
    Modes "1024x768" "800x600" "640x480"
  EndSubSection
EndSection
"""


class MonitorWall(_Display):
    """An X server with several monitors: (width, height, left, top) each.

    The first one is the primary monitor. The sizes must be modes of the card.
    """

    def __init__(self, monitors, switched_off=()):
        super().__init__()
        self.monitors = monitors
        config = self.folder / "xorg.conf"
        config.write_text(_DUMMY_SCREENS)
        self.process, number = _start_server(
            ["Xorg", "-noreset", "-nolisten", "tcp", "-novtswitch", "-sharevts",
             "-logfile", str(self.folder / "xorg.log"), "-config", str(config)], self.folder)
        self.name = ":" + number
        self._arrange(switched_off)

    def _xrandr(self, *words):
        return subprocess.run(["xrandr", *words], env=self.environment(), check=True,
                              capture_output=True, text=True).stdout

    def _arrange(self, switched_off):
        """All at once: xrandr moves a lone monitor back to the origin."""
        words = []
        for index, (width, height, left, top) in enumerate(self.monitors):
            output = f"DUMMY{index}"
            self._xrandr("--addmode", output, f"{width}x{height}")
            words += ["--output", output]
            if index in switched_off:
                words += ["--off"]
            else:
                words += ["--mode", f"{width}x{height}", "--pos", f"{left}x{top}"]
        self._xrandr(*words, "--output", "DUMMY0", "--primary")
        self._xrandr("--query")  # has the server look at its outputs anew
        lit = [m for index, m in enumerate(self.monitors) if index not in switched_off]
        self.width = max(left + width for width, _, left, _ in lit)
        self.height = max(top + height for _, height, _, top in lit)
        wait_until("the monitors stand", lambda: self.shot().shape[:2] == (self.height, self.width))

    def restored(self):
        self.paint_background((0, 0, 0))
        return self.mode() == self.monitors[0][:2]

    def mode(self, index=0):
        """The size of a monitor as the X server has it now."""
        listing = self._xrandr("--query").splitlines()
        line = next(row for row in listing if row.startswith(f"DUMMY{index} "))
        size = next(word for word in line.split() if "x" in word and "+" in word)
        width, height = size.split("+")[0].split("x")
        return int(width), int(height)

    def shot(self):
        """The whole desktop now: height x width x 3, red first."""
        text = subprocess.run(["import", "-window", "root", "-depth", "8", "ppm:-"],
                              env=self.environment(), check=True, capture_output=True).stdout
        magic, size, _, pixels = text.split(b"\n", 3)
        assert magic == b"P6"
        width, height = map(int, size.split())
        return numpy.frombuffer(pixels, "uint8").reshape(height, width, 3)

    def paint_background(self, colour):
        subprocess.run(["xsetroot", "-solid", "#%02x%02x%02x" % colour], env=self.environment(),
                       check=True)

    def monitor_shot(self, index):
        width, height, left, top = self.monitors[index]
        return self.shot()[top:top + height, left:left + width]


def settled(display, seconds=0.15):
    """The screen once it hasn't changed for a while."""
    last = [time.monotonic(), display.shot()]

    def unchanged():
        now = display.shot()
        if (now != last[1]).any():
            last[:] = time.monotonic(), now
        return time.monotonic() - last[0] > seconds

    wait_until("the screen rests", unchanged)
    return last[1]


def record(display, seconds, rate=30.0, until=None, look=None):
    """Samples of the screen, [(seconds since the start, pixels)].

    `look` takes a sample: the screen as it is unless told, or `stable_shot` where
    parts of two frames would mislead. Ends after `seconds`, or as soon as
    `until(pixels)` is true.
    """
    start = time.monotonic()
    frames = []
    while (now := time.monotonic() - start) < seconds:
        frames.append((now, look(display) if look else display.shot()))
        if until and until(frames[-1][1]):
            break
        time.sleep(max(0.0, 1.0 / rate - (time.monotonic() - start - now)))
    return frames
