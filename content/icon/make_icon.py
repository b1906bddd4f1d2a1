#!/usr/bin/env python3
"""make_icon.py DRAWING.svg ICON.ico: the drawing in the sizes that Windows shows icons in."""

import io
import subprocess
import sys

from PIL import Image

# Classic sizes as bitmaps, which every Windows reads; a larger one would be PNG.
SIZES = (16, 24, 32, 48)


def pixels(drawing, size):
    """Rendered at its size: shapes keep sharper than in a picture made smaller."""
    png = subprocess.run(["rsvg-convert", "--width", str(size), "--height", str(size), drawing],
                         stdout=subprocess.PIPE, check=True).stdout
    return Image.open(io.BytesIO(png)).convert("RGBA")


def main():
    drawing, icon = sys.argv[1:]
    pictures = [pixels(drawing, size) for size in SIZES]
    pictures[-1].save(icon, "ICO", bitmap_format="bmp", sizes=[p.size for p in pictures],
                      append_images=pictures[:-1])


if __name__ == "__main__":
    main()
