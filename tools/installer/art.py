#!/usr/bin/env python3
"""art.py PICTURES OUT: the two pictures in the installer's windows, from the sample pictures."""

import pathlib
import sys

from PIL import Image, ImageOps

# Name, size that the windows have room for, sample picture, and where its middle lies in it.
PLACES = [
    ("side.bmp", (164, 314), "03 Evening tide.jpg", (0.38, 0.5)),
    ("head.bmp", (150, 57), "05 Ridge upon ridge.jpg", (0.64, 0.25)),
]


def main():
    pictures, out = map(pathlib.Path, sys.argv[1:])
    out.mkdir(parents=True, exist_ok=True)
    for name, size, picture, middle in PLACES:
        whole = Image.open(pictures / picture).convert("RGB")
        ImageOps.fit(whole, size, Image.Resampling.LANCZOS, centering=middle).save(out / name)


if __name__ == "__main__":
    main()
