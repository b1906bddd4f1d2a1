#!/usr/bin/env python3
"""make_icon.py DRAWING.svg ICON.ico: the drawing in the sizes that Windows shows icons in."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from drawing import rendered

# Classic sizes as bitmaps, which every Windows reads; a larger one would be PNG.
SIZES = (16, 24, 32, 48)


def main():
    drawing, icon = map(pathlib.Path, sys.argv[1:])
    # Each rendered at its size: shapes keep sharper than in a picture made smaller.
    pictures = [rendered(drawing, "--width", str(s), "--height", str(s)) for s in SIZES]
    pictures[-1].save(icon, "ICO", bitmap_format="bmp", sizes=[p.size for p in pictures],
                      append_images=pictures[:-1])


if __name__ == "__main__":
    main()
