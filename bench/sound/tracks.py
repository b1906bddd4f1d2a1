#!/usr/bin/python3
"""tracks.py TrackBench.exe: what a change of DirectShow tracks is made of.

Records the output of a sound server of its own while the benchmark changes between two
tones, and prints a table of medians, in milliseconds after the change was asked for.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(REPOSITORY / "tests" / "e2e"), str(REPOSITORY / "tools")]

from harness import sound

CHANGES = 12
TONES = (2000, 5000)  # Hz


def heard_after(recording, hertz, since):
    """By looks of 30 ms, 10 ms apart."""
    at = since
    while (heard := recording.heard(at, 0.03)) is not None:
        if abs(heard - hertz) < 0.05 * hertz:
            return 1000 * (at - since)
        at += 0.01
    raise RuntimeError(f"{hertz} Hz weren't heard")


def measure(program, way, files):
    """Medians of each step and of the moment when the new track is heard; the first two tracks
    load the system's libraries and don't count."""
    server = sound.SoundServer()
    try:
        recording = server.record()
        with subprocess.Popen(["wine", program, way, *map(str, files), str(CHANGES)],
                              env={**os.environ, **server.environment()}, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as run:
            changes, steps = [], []
            for line in run.stdout:
                if line.strip() == "change":
                    changes.append(recording.now())
                else:
                    steps.append([float(field) for field in line.split()])
        rows = [[*steps[n], heard_after(recording, TONES[n % 2], changes[n])]
                for n in range(2, CHANGES)]
        recording.close()
    finally:
        server.close()
    return [statistics.median(column) for column in zip(*rows)]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip())
    print("| renderer | old graph gone | file loaded | rendered | Run is back | heard |")
    print("|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as folder:
        files = [pathlib.Path(folder) / f"{hertz}.mp3" for hertz in TONES]
        for file, hertz in zip(files, TONES):
            file.write_bytes(sound.tone(hertz, 5, ".mp3"))
        for way in ("searched", "offered"):
            row = measure(sys.argv[1], way, files)
            print(f"| {way} | " + " | ".join(f"{ms:.0f}" for ms in row) + " |")


if __name__ == "__main__":
    main()
