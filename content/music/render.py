#!/usr/bin/env python3
"""Puts the built-in music into one folder, ready to be packed.

Playing and encoding the pieces takes a while, so they are made once and kept; see generated.py. They
have a cache of their own, so that a new tune doesn't have the pictures painted anew.
"""

import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

import generated

GENERATOR = generated.Generator(HERE / "render.py", "tracks.txt")
SERIAL = "1"  # of the Ogg stream; random unless told


class Track:
    """One line of tracks.txt."""

    def __init__(self, file, piece, quality):
        self.file, self.arguments, self._quality = file, [piece], quality

    def encode(self, raw, to):
        title = pathlib.Path(self.file).stem[3:]  # without its number
        subprocess.run(["oggenc", "--quiet", "--serial", SERIAL, "--quality", self._quality,
                        "--title", title, "--output", to, raw], check=True)


def main():
    options = generated.argument_parser(__doc__).parse_args()
    generated.deliver(GENERATOR, [Track(*row) for row in GENERATOR.rows()], options)


if __name__ == "__main__":
    main()
