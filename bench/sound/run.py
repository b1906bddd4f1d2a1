#!/usr/bin/env python3
"""run.py SoundBench.exe: how fast the sound library decodes, against its libraries' own tools.

Encodes a minute of noise and tones, decodes it by the benchmark under Wine and by oggdec and, where
it is installed, mpg123 on this machine, and prints a table of medians.
"""

import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

SECONDS = 60
TURNS = 7
SOURCE = ("aevalsrc=0.2*sin(440*2*PI*t)+0.1*random(0)|0.2*sin(660*2*PI*t)+0.1*random(1):"
          f"d={SECONDS}:s=44100")
FORMATS = {
    "ogg": (["-c:a", "libvorbis", "-q:a", "4"], ["oggdec", "-Q", "-o", "/dev/null"]),
    "mp3": (["-c:a", "libmp3lame", "-b:a", "192k"], ["mpg123", "-q", "-w", "/dev/null"]),
    "mp2": (["-c:a", "mp2", "-b:a", "256k"], ["mpg123", "-q", "-w", "/dev/null"]),
    "wav": (["-c:a", "pcm_s16le"], None),
}


def encode(path, options):
    subprocess.run(["ffmpeg", "-nostdin", "-loglevel", "error", "-f", "lavfi", "-i", SOURCE,
                    *options, path], check=True)


def ours(program, path):
    """Medians in ms: decoded, and decoded and mixed."""
    text = subprocess.run(["wine", program, str(path), str(TURNS)], check=True,
                          stdout=subprocess.PIPE, text=True).stdout
    rows = [tuple(map(float, line.split())) for line in text.splitlines()]
    return [statistics.median(column) for column in zip(*rows)]


def theirs(command, path):
    """The median in ms of a whole run of a tool, or None without it."""
    if not command or not shutil.which(command[0]):
        return None
    times = []
    for _ in range(TURNS):
        start = time.monotonic()
        subprocess.run([*command, path], check=True, stderr=subprocess.DEVNULL)
        times.append(1000 * (time.monotonic() - start))
    return statistics.median(times)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip())
    program = sys.argv[1]
    print(f"| {SECONDS} s as | decoded, ms | and mixed, ms | times real time | tool | tool, ms |")
    print("|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as folder:
        for suffix, (options, command) in FORMATS.items():
            path = pathlib.Path(folder) / f"sound.{suffix}"
            encode(path, options)
            decoded, mixed = ours(program, path)
            tool = theirs(command, path)
            print(f"| {suffix} | {decoded:.0f} | {mixed:.0f} | {1000 * SECONDS / mixed:.0f} "
                  f"| {command[0] if tool else '-'} | {f'{tool:.0f}' if tool else '-'} |")


if __name__ == "__main__":
    main()
