"""What the machine plays: a sound server nobody hears, and a recorder of its output.

Times are seconds of the recording. Sounds of the tests are tones, so that what
is heard can be told by its frequency; a `sweep` rises steadily, which tells how
far a track has been played.
"""

import functools
import os
import pathlib
import shutil
import subprocess
import tempfile

import numpy

from .displays import stop_process
from .waiting import wait_until

RATE = 44100
STEP = 0.05          # s, of one look at the sound
SILENCE = -70.0      # dB below full scale; less is silence
FADE = 0.005         # s


def _wave(phase, amplitude):
    """16 bits, stereo, from the phase in turns at each sample."""
    samples = amplitude * numpy.sin(2 * numpy.pi * phase)
    ramp = int(FADE * RATE)
    samples[:ramp] *= numpy.linspace(0, 1, ramp)
    samples[-ramp:] *= numpy.linspace(1, 0, ramp)
    return (numpy.repeat(samples, 2) * 32767).astype("<i2").tobytes()


@functools.lru_cache(maxsize=None)
def _encoded(raw, suffix):
    codec = {".wav": [], ".ogg": ["-c:a", "libvorbis", "-q:a", "5"],
             ".mp3": ["-c:a", "libmp3lame", "-b:a", "192k"],
             ".mp2": ["-c:a", "mp2", "-b:a", "256k"],
             ".wma": ["-c:a", "wmav2", "-b:a", "192k"]}[suffix]
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / ("sound" + suffix)
        subprocess.run(["ffmpeg", "-nostdin", "-loglevel", "error", "-f", "s16le", "-ar", str(RATE),
                        "-ac", "2", "-i", "pipe:0", *codec, file], input=raw, check=True)
        return file.read_bytes()


def tone(hertz, seconds, suffix, amplitude=0.5):
    """A sound file of one tone, in the format of the suffix."""
    time = numpy.arange(int(seconds * RATE)) / RATE
    return _encoded(_wave(hertz * time, amplitude), suffix)


SWEEP_LOW, SWEEP_RISE = 300.0, 100.0  # Hz, Hz a second


def sweep(seconds, suffix):
    """A tone that rises by SWEEP_RISE each second from SWEEP_LOW on."""
    time = numpy.arange(int(seconds * RATE)) / RATE
    return _encoded(_wave((SWEEP_LOW + SWEEP_RISE / 2 * time) * time, 0.5), suffix)


def sweep_position(hertz):
    """How far into a sweep that frequency stands, s."""
    return (hertz - SWEEP_LOW) / SWEEP_RISE


class SoundServer:
    """PulseAudio with a sink that leads nowhere."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="velmora-sound-"))
        self._socket = self.folder / "pulse" / "native"
        with open(self.folder / "server.log", "wb") as log:
            self._process = subprocess.Popen(
                ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                 "-L", "module-null-sink sink_name=null", "-L", "module-native-protocol-unix"],
                env=self._own_environment(), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                start_new_session=True)
        try:
            wait_until("the sound server", self._answers, alive=self._ended)
        except BaseException:
            self.close()
            raise

    def _own_environment(self):
        return {**os.environ, "HOME": str(self.folder), **self.environment()}

    def environment(self):
        """What a program needs to play here, and nowhere else."""
        return {"XDG_RUNTIME_DIR": str(self.folder), "PULSE_SERVER": f"unix:{self._socket}"}

    def _ended(self):
        if self._process.poll() is None:
            return None
        return (self.folder / "server.log").read_text(errors="replace")

    def _answers(self):
        return self._socket.exists() and subprocess.run(
            ["pactl", "info"], env=self._own_environment(), stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, check=False).returncode == 0

    def record(self):
        return Recording(self.folder, self._own_environment())

    def close(self):
        stop_process(self._process)
        shutil.rmtree(self.folder, ignore_errors=True)


def no_device():
    """The environment of a machine without any sound."""
    return {"XDG_RUNTIME_DIR": "/nonexistent", "PULSE_SERVER": "unix:/nonexistent"}


class Recording:
    """What the server plays, from the making of this object on."""

    def __init__(self, folder, environment):
        handle, self._path = tempfile.mkstemp(suffix=".raw", dir=folder)
        with os.fdopen(handle, "wb") as file:
            self._process = subprocess.Popen(
                ["parec", "-d", "null.monitor", "--raw", "--format=s16le", f"--rate={RATE}",
                 "--channels=2", "--latency-msec=20"],
                env=environment, stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.DEVNULL,
                start_new_session=True)
        wait_until("the recording", lambda: self.now() > 0)

    def close(self):
        stop_process(self._process)
        os.unlink(self._path)

    def now(self):
        """How much is recorded, s."""
        return os.stat(self._path).st_size // 4 / RATE

    def samples(self, start, seconds):
        """The left side, -1 to 1; fewer samples if there aren't as many yet."""
        with open(self._path, "rb") as file:
            file.seek(int(start * RATE) * 4)
            raw = file.read(int(seconds * RATE) * 4)
        return numpy.frombuffer(raw[:len(raw) // 4 * 4], "<i2")[::2] / 32768

    def level(self, start, seconds):
        """The mean level, dB below full scale."""
        samples = self.samples(start, seconds)
        return 10 * numpy.log10(max(1e-12, float(numpy.mean(samples ** 2))))

    def steady_level(self, start, seconds):
        """The level of a steady tone: a busy machine may tear holes into it."""
        steps = int(seconds / STEP)
        return max(self.level(start + step * STEP, STEP) for step in range(steps))

    def heard(self, start, seconds=STEP):
        """The strongest frequency, Hz; 0 for silence, None if it isn't recorded yet."""
        samples = self.samples(start, seconds)
        if len(samples) < int(seconds * RATE):
            return None
        if 10 * numpy.log10(max(1e-12, float(numpy.mean(samples ** 2)))) < SILENCE:
            return 0.0
        size = 16 * len(samples)
        spectrum = numpy.abs(numpy.fft.rfft(samples * numpy.hanning(len(samples)), size))
        return float(numpy.argmax(spectrum) * RATE / size)

    def wait_for(self, what, wanted, since, looks=4, seconds=30.0, alive=None):
        """When, from `since` on, `wanted(Hz)` begins to hold for some looks in a row."""
        state = {"at": since, "from": since, "run": 0, "last": None}

        def found():
            while (hertz := self.heard(state["at"])) is not None:
                state["last"] = hertz
                if wanted(hertz):
                    state["run"] += 1
                    if state["run"] == looks:
                        return True
                else:
                    state["run"] = 0
                    state["from"] = state["at"] + STEP
                state["at"] += STEP
            return False

        wait_until(f"{what} is heard", found, seconds, alive=alive)
        return state["from"]

    def wait_for_tone(self, hertz, since=0.0, **how):
        return self.wait_for(f"a tone of {hertz} Hz", lambda h: abs(h - hertz) < 0.03 * hertz,
                             since, **how)

    def wait_for_silence(self, since=0.0, looks=8, **how):
        return self.wait_for("silence", lambda h: h == 0, since, looks=looks, **how)

    def wait_for_sound(self, since=0.0, **how):
        return self.wait_for("a sound", lambda h: h > 0, since, **how)
