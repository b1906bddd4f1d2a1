#!/usr/bin/env python3
"""Puts the sample pictures and their captions into one folder, ready to be packed.

Painting takes minutes, so the pictures are made once and kept; see generated.py.
"""

import pathlib
import re
import sys

from PIL import Image

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

import generated

GENERATOR = generated.Generator(HERE / "render.py", "show.txt")
# The scenes that take longest come first, so that no core idles at the end.
SLOW_FIRST = ["mountains", "sunset-sea", "dunes", "buddhabrot", "clouds", "planet", "mandelbrot"]


class Picture:
    """One line of show.txt."""

    def __init__(self, file, scene, size, encoding):
        self.file, self._scene, self._encoding = file, scene, encoding
        self.arguments = [scene, *size.split("x")]

    def encode(self, raw, to):
        jpeg = re.fullmatch(r"quality (\d+), (4:4:4|4:2:0)", self._encoding)
        with Image.open(raw) as image:
            if jpeg:
                image.save(to, "JPEG", quality=int(jpeg[1]), subsampling=jpeg[2], optimize=True)
            elif self._encoding == "lossless":
                image.save(to, "PNG", optimize=True)
            else:
                raise SystemExit(f"show.txt: unknown encoding {self._encoding!r}")

    def rank(self):
        return SLOW_FIRST.index(self._scene) if self._scene in SLOW_FIRST else len(SLOW_FIRST)


def main():
    parser = generated.argument_parser(__doc__)
    parser.add_argument("--captions", type=pathlib.Path, required=True)
    options = parser.parse_args()
    show = sorted((Picture(*row) for row in GENERATOR.rows()), key=Picture.rank)
    generated.deliver(GENERATOR, show, options, beside=options.captions.glob("*.txt"))


if __name__ == "__main__":
    main()
