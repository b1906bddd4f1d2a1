#!/usr/bin/env python3
"""Puts the sample pictures and their captions into one folder, ready to be packed.

Painting takes minutes, so the finished pictures are kept in a cache outside the build tree, under
a key made of everything that decides how they look. Any number of builds may run at once: the
first to come paints, the others wait for it. A painting that was interrupted goes on where it
stopped. The generator is compiled only if there is something to paint.
"""

import argparse
import concurrent.futures
import contextlib
import fcntl
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

from PIL import Image

HERE = pathlib.Path(__file__).resolve().parent
FLAGS = ["-std=c++20", "-O2", "-fno-math-errno", "-fno-trapping-math",
         "-Wall", "-Wextra", "-Wshadow", "-Werror", f"-I{HERE}"]
# The scenes that take longest come first, so that no core idles at the end.
SLOW_FIRST = ["mountains", "sunset-sea", "dunes", "buddhabrot", "clouds", "planet", "mandelbrot"]


class Picture:
    """One line of show.txt."""

    def __init__(self, line):
        self.file, self.scene, size, self.encoding = (part.strip() for part in line.split("|"))
        self.width, self.height = map(int, size.split("x"))


def read_show():
    lines = (HERE / "show.txt").read_text(encoding="utf-8").splitlines()
    return [Picture(line) for line in lines if line.strip() and not line.startswith("#")]


def sources():
    return sorted(p for p in HERE.rglob("*") if p.suffix in (".cpp", ".h"))


def cache_key():
    digest = hashlib.sha256()
    for path in [*sources(), HERE / "show.txt", pathlib.Path(__file__)]:
        digest.update(path.name.encode() + b"\0" + path.read_bytes() + b"\0")
    return digest.hexdigest()[:16]


def cache_root():
    named = os.environ.get("VELMORA_CACHE")
    if named:
        return pathlib.Path(named)
    base = os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"
    return pathlib.Path(base) / "velmora2"


def cores():
    return len(os.sched_getaffinity(0))


def say(text):
    print(f"pictures: {text}", flush=True)


@contextlib.contextmanager
def only_one(lock_path):
    """Holds the lock file for as long as the block runs; the system drops it if we die."""
    with open(lock_path, "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield


def in_parallel(work, items):
    with concurrent.futures.ThreadPoolExecutor(cores()) as pool:
        for future in [pool.submit(work, item) for item in items]:
            future.result()


def compile_generator(compiler, folder):
    say(f"compiling the generator with {compiler}")
    folder.mkdir(parents=True, exist_ok=True)
    units = [p for p in sources() if p.suffix == ".cpp"]
    objects = [folder / f"{n}.o" for n in range(len(units))]
    commands = [[compiler, *FLAGS, "-c", unit, "-o", o] for unit, o in zip(units, objects)]
    in_parallel(lambda command: subprocess.run(command, check=True), commands)
    program = folder / "pictures"
    subprocess.run([compiler, *map(str, objects), "-o", program], check=True)
    return program


def save(image, path, encoding):
    jpeg = re.fullmatch(r"quality (\d+), (4:4:4|4:2:0)", encoding)
    if jpeg:
        image.save(path, "JPEG", quality=int(jpeg[1]), subsampling=jpeg[2], optimize=True)
    elif encoding == "lossless":
        image.save(path, "PNG", optimize=True)
    else:
        raise SystemExit(f"show.txt: unknown encoding {encoding!r}")


def paint(program, picture, folder):
    """Paints one picture into `folder`; it appears there whole or not at all."""
    start = time.monotonic()
    raw = folder / f".{picture.scene}.ppm"
    with open(raw, "wb") as out:
        subprocess.run([program, picture.scene, str(picture.width), str(picture.height)],
                       stdout=out, check=True)
    unfinished = folder / f".{picture.scene}.part"
    with Image.open(raw) as image:
        save(image, unfinished, picture.encoding)
    unfinished.rename(folder / picture.file)
    raw.unlink()
    seconds = time.monotonic() - start
    say(f"painted {picture.file} ({picture.width}x{picture.height}) in {seconds:.1f} s")


def paint_missing(show, compiler, folder):
    missing = [p for p in show if not (folder / p.file).exists()]
    if not missing:
        return
    rank = {scene: n for n, scene in enumerate(SLOW_FIRST)}
    missing.sort(key=lambda picture: rank.get(picture.scene, len(rank)))
    tools = folder / ".tools"
    program = compile_generator(compiler, tools)
    in_parallel(lambda picture: paint(program, picture, folder), missing)
    shutil.rmtree(tools)


def ensure_cached(show, compiler):
    """The folder with all pictures, painted if need be."""
    done = cache_root() / f"content-{cache_key()}"
    if not done.exists():
        done.parent.mkdir(parents=True, exist_ok=True)
        with only_one(done.with_suffix(".lock")):
            if not done.exists():
                unfinished = done.with_suffix(".part")
                unfinished.mkdir(exist_ok=True)
                start = time.monotonic()
                paint_missing(show, compiler, unfinished)
                unfinished.rename(done)
                seconds = time.monotonic() - start
                say(f"{len(show)} pictures painted in {seconds:.0f} s, kept in {done}")
                return done
    say(f"all {len(show)} pictures come from the cache, {done}")
    return done


def same_file(a, b):
    return b.exists() and a.stat().st_size == b.stat().st_size and a.read_bytes() == b.read_bytes()


def stage(show, cached, captions, out):
    """Makes `out` hold exactly the pictures and their captions."""
    wanted = {picture.file: cached / picture.file for picture in show}
    for text in captions.glob("*.txt"):
        wanted[text.name] = text
    out.mkdir(parents=True, exist_ok=True)
    for old in out.iterdir():
        if old.name not in wanted:
            old.unlink()
    for name, source in wanted.items():
        if not same_file(source, out / name):
            shutil.copyfile(source, out / name)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", default="c++", help="C++ compiler of this machine")
    parser.add_argument("--captions", type=pathlib.Path, required=True)
    parser.add_argument("--out", type=pathlib.Path, required=True)
    parser.add_argument("--stamp", type=pathlib.Path, required=True,
                        help="file that gets the name of the cache's folder once all is in place")
    options = parser.parse_args()
    show = read_show()
    try:
        cached = ensure_cached(show, options.compiler)
        stage(show, cached, options.captions, options.out)
        options.stamp.write_text(f"{cached}\n", encoding="utf-8")
    except subprocess.CalledProcessError as fault:
        sys.exit(f"pictures: {fault.cmd[0]} failed ({fault.returncode})")


if __name__ == "__main__":
    main()
