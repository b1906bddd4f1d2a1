"""What the pictures and the music share: programs of ours that are compiled on this machine and make
files, and the cache outside the build tree that keeps what they made.

Any number of builds may run at once: the first to come works, the others wait for it. Work that was
interrupted goes on where it stopped. A program is compiled only if something is to be made.
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

FLAGS = ["-std=c++20", "-O2", "-fno-math-errno", "-fno-trapping-math",
         "-Wall", "-Wextra", "-Wshadow", "-Werror"]


def cache_root():
    named = os.environ.get("VELMORA_CACHE")
    if named:
        return pathlib.Path(named)
    base = os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"
    return pathlib.Path(base) / "velmora2"


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


def same_file(a, b):
    return b.exists() and a.stat().st_size == b.stat().st_size and a.read_bytes() == b.read_bytes()


def stage(files, out):
    """Makes the folder `out` hold exactly these files."""
    out.mkdir(parents=True, exist_ok=True)
    wanted = {file.name: file for file in files}
    for old in out.iterdir():
        if old.name not in wanted:
            old.unlink()
    for name, file in wanted.items():
        if not same_file(file, out / name):
            shutil.copyfile(file, out / name)


class Generator:
    """A program, and all that decides what comes out of it: the C++ sources in the folder of
    `script`, that script, and the table `table` beside it, a line each product.

    A product has `file`, its name when it is done; `arguments`, for the program, the first of
    which tells it from the others; and `encode(raw, to)`, which makes the file of what the program
    wrote."""

    def __init__(self, script, table):
        self.name = script.parent.name
        self._folder = script.parent
        self._inputs = [script, script.parent / table, pathlib.Path(__file__).resolve()]

    def rows(self):
        """The table's lines, each as the list of its fields."""
        lines = self._inputs[1].read_text(encoding="utf-8").splitlines()
        return [[field.strip() for field in line.split("|")]
                for line in lines if line.strip() and not line.startswith("#")]

    def key(self):
        """Another one for anything that might change a product."""
        digest = hashlib.sha256()
        for path in [*self._sources(), *self._inputs]:
            digest.update(path.name.encode() + b"\0" + path.read_bytes() + b"\0")
        return digest.hexdigest()[:16]

    def ensure_cached(self, products, compiler):
        """The folder with all products, made if need be."""
        done = cache_root() / f"{self.name}-{self.key()}"
        if not done.exists():
            done.parent.mkdir(parents=True, exist_ok=True)
            with only_one(done.with_suffix(".lock")):
                if not done.exists():
                    self._make_cache(products, compiler, done)
                    return done
        self._say(f"all {len(products)} files come from the cache, {done}")
        return done

    def _say(self, text):
        print(f"{self.name}: {text}", flush=True)

    def _sources(self):
        return sorted(p for p in self._folder.rglob("*") if p.suffix in (".cpp", ".h"))

    def _make_cache(self, products, compiler, done):
        start = time.monotonic()
        unfinished = done.with_suffix(".part")
        unfinished.mkdir(exist_ok=True)
        missing = [p for p in products if not (unfinished / p.file).exists()]
        if missing:
            self._make_all(missing, compiler, unfinished)
        unfinished.rename(done)
        self._say(f"{len(products)} files in {time.monotonic() - start:.0f} s, kept in {done}")

    def _make_all(self, products, compiler, folder):
        tools = folder / ".tools"
        program = self._compile(compiler, tools)
        in_parallel(lambda product: self._make(program, product, folder), products)
        shutil.rmtree(tools)

    def _compile(self, compiler, folder):
        self._say(f"compiling the generator with {compiler}")
        folder.mkdir(parents=True, exist_ok=True)
        flags = [*FLAGS, f"-I{self._folder}"]
        units = [p for p in self._sources() if p.suffix == ".cpp"]
        objects = [folder / f"{n}.o" for n in range(len(units))]
        commands = [[compiler, *flags, "-c", unit, "-o", o] for unit, o in zip(units, objects)]
        in_parallel(lambda command: subprocess.run(command, check=True), commands)
        program = folder / self.name
        subprocess.run([compiler, *objects, "-o", program], check=True)
        return program

    def _make(self, program, product, folder):
        """Makes one file in `folder`; it appears there whole or not at all."""
        start = time.monotonic()
        raw, unfinished = (folder / f".{product.arguments[0]}.{end}" for end in ("raw", "part"))
        with open(raw, "wb") as out:
            subprocess.run([program, *product.arguments], stdout=out, check=True)
        product.encode(raw, unfinished)
        unfinished.rename(folder / product.file)
        raw.unlink()
        self._say(f"made {product.file} in {time.monotonic() - start:.1f} s")


def argument_parser(description):
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--compiler", default="c++", help="C++ compiler of this machine")
    parser.add_argument("--out", type=pathlib.Path, required=True)
    parser.add_argument("--stamp", type=pathlib.Path, required=True,
                        help="file that gets the name of the cache's folder once all is in place")
    return parser


def deliver(generator, products, options, beside=()):
    """Puts the products, and the files `beside` them, where the options of the command line say."""
    try:
        cached = generator.ensure_cached(products, options.compiler)
        stage([*(cached / product.file for product in products), *beside], options.out)
        options.stamp.write_text(f"{cached}\n", encoding="utf-8")
    except subprocess.CalledProcessError as fault:
        sys.exit(f"{generator.name}: {fault.cmd[0]} failed ({fault.returncode})")
