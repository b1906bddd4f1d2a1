#!/usr/bin/env python3
"""Puts the built-in music into one folder, ready to be packed.

Playing and encoding the pieces takes a while, so the finished files are kept in a cache outside the
build tree, under a key made of everything that decides how they sound; a key of the music's own, so
that a new tune doesn't have the pictures painted anew. Any number of builds may run at once: the
first to come plays, the others wait for it.
"""

import argparse
import concurrent.futures
import contextlib
import fcntl
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
FLAGS = ["-std=c++20", "-O2", "-fno-math-errno", "-fno-trapping-math",
         "-Wall", "-Wextra", "-Wshadow", "-Werror", f"-I{HERE}"]
SERIAL = "1"  # of the Ogg stream; random unless told


class Track:
    """One line of tracks.txt."""

    def __init__(self, line):
        self.file, self.piece, self.quality = (part.strip() for part in line.split("|"))


def read_tracks():
    lines = (HERE / "tracks.txt").read_text(encoding="utf-8").splitlines()
    return [Track(line) for line in lines if line.strip() and not line.startswith("#")]


def sources():
    return sorted(p for p in HERE.iterdir() if p.suffix in (".cpp", ".h"))


def cache_key():
    digest = hashlib.sha256()
    for path in [*sources(), HERE / "tracks.txt", pathlib.Path(__file__)]:
        digest.update(path.name.encode() + b"\0" + path.read_bytes() + b"\0")
    return digest.hexdigest()[:16]


def cache_root():
    named = os.environ.get("VELMORA_CACHE")
    if named:
        return pathlib.Path(named)
    base = os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"
    return pathlib.Path(base) / "velmora2"


def say(text):
    print(f"music: {text}", flush=True)


@contextlib.contextmanager
def only_one(lock_path):
    """Holds the lock file for as long as the block runs; the system drops it if we die."""
    with open(lock_path, "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield


def in_parallel(work, items):
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        for future in [pool.submit(work, item) for item in items]:
            future.result()


def compile_player(compiler, folder):
    say(f"compiling the player with {compiler}")
    folder.mkdir(parents=True, exist_ok=True)
    units = [p for p in sources() if p.suffix == ".cpp"]
    objects = [folder / f"{n}.o" for n in range(len(units))]
    commands = [[compiler, *FLAGS, "-c", unit, "-o", o] for unit, o in zip(units, objects)]
    in_parallel(lambda command: subprocess.run(command, check=True), commands)
    program = folder / "music"
    subprocess.run([compiler, *map(str, objects), "-o", program], check=True)
    return program


def play(program, track, folder):
    """Plays one piece into `folder`; it appears there whole or not at all."""
    start = time.monotonic()
    raw, unfinished = folder / f".{track.piece}.wav", folder / f".{track.piece}.part"
    with open(raw, "wb") as out:
        subprocess.run([program, track.piece], stdout=out, check=True)
    subprocess.run(["oggenc", "--quiet", "--serial", SERIAL, "--quality", track.quality,
                    "--title", pathlib.Path(track.file).stem[3:], "--output", unfinished, raw],
                   check=True)
    unfinished.rename(folder / track.file)
    raw.unlink()
    say(f"played {track.file} in {time.monotonic() - start:.1f} s")


def play_missing(tracks, compiler, folder):
    missing = [t for t in tracks if not (folder / t.file).exists()]
    if not missing:
        return
    tools = folder / ".tools"
    program = compile_player(compiler, tools)
    in_parallel(lambda track: play(program, track, folder), missing)
    shutil.rmtree(tools)


def ensure_cached(tracks, compiler):
    """The folder with all tracks, played if need be."""
    done = cache_root() / f"music-{cache_key()}"
    if not done.exists():
        done.parent.mkdir(parents=True, exist_ok=True)
        with only_one(done.with_suffix(".lock")):
            if not done.exists():
                unfinished = done.with_suffix(".part")
                unfinished.mkdir(exist_ok=True)
                play_missing(tracks, compiler, unfinished)
                unfinished.rename(done)
                say(f"{len(tracks)} tracks are kept in {done}")
                return done
    say(f"all {len(tracks)} tracks come from the cache, {done}")
    return done


def same_file(a, b):
    return b.exists() and a.stat().st_size == b.stat().st_size and a.read_bytes() == b.read_bytes()


def stage(tracks, cached, out):
    """Makes `out` hold exactly the tracks."""
    out.mkdir(parents=True, exist_ok=True)
    wanted = {track.file for track in tracks}
    for old in out.iterdir():
        if old.name not in wanted:
            old.unlink()
    for name in wanted:
        if not same_file(cached / name, out / name):
            shutil.copyfile(cached / name, out / name)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", default="c++", help="C++ compiler of this machine")
    parser.add_argument("--out", type=pathlib.Path, required=True)
    parser.add_argument("--stamp", type=pathlib.Path, required=True,
                        help="file that gets the name of the cache's folder once all is in place")
    options = parser.parse_args()
    tracks = read_tracks()
    try:
        cached = ensure_cached(tracks, options.compiler)
        stage(tracks, cached, options.out)
        options.stamp.write_text(f"{cached}\n", encoding="utf-8")
    except subprocess.CalledProcessError as fault:
        sys.exit(f"music: {fault.cmd[0]} failed ({fault.returncode})")


if __name__ == "__main__":
    main()
