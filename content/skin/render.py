#!/usr/bin/env python3
"""render.py --out DIR --stamp FILE: the pictures of the configuration window, from the drawings.

DIR holds the members of the skin bundle afterwards and nothing else. The picture of the window is
menuskin.svg; the empty tracks of its sliders are cut from the same drawing, so that they fit to the
pixel. Knobs and mask are drawings of their own.
"""

import argparse
import pathlib
import shutil
import struct
import subprocess
import sys

from PIL import Image

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

from drawing import pixels

FONT = "Lato"

# Left, top, width, height in the window.
EMPTY_TRACKS = {
    "SliderBG_108_18_1.jpg": (367, 245, 108, 18),
    "VSliderBG_108_18_1.jpg": (601, 94, 18, 108),
}
KNOBS = ["slide_knob_7_18_1", "slide_knob_13_13_1", "slide_knob_18_7_1"]
MASK = "toggle_mask_3"


def save_jpeg(image, path):
    """Near to lossless: the program shows cuts of one picture beside cuts of another."""
    image.save(path, "JPEG", quality=100, subsampling="4:4:4", optimize=True)


def save_mask(image, path):
    """A BMP of one bit a pixel, bottom row first; 0 is black."""
    rows = image.convert("1", dither=Image.Dither.NONE).transpose(Image.Transpose.FLIP_TOP_BOTTOM)
    stride = (image.width + 31) // 32 * 4
    bits = rows.tobytes("raw", "1", stride)
    start = 14 + 40 + 8
    file_header = struct.pack("<2sIHHI", b"BM", start + len(bits), 0, 0, start)
    info = struct.pack("<IiiHHIIiiII", 40, image.width, image.height, 1, 1, 0, len(bits), 0, 0, 2, 0)
    path.write_bytes(file_header + info + b"\0\0\0\0" + b"\xff\xff\xff\0" + bits)


def cut(image, left, top, width, height):
    return image.crop((left, top, left + width, top + height))


def render_window(out):
    drawing = HERE / "menuskin.svg"
    save_jpeg(pixels(drawing), out / "menuskin.jpg")
    empty = pixels(drawing, HERE / "empty_sliders.css")
    for name, place in EMPTY_TRACKS.items():
        save_jpeg(cut(empty, *place), out / name)


def render_small_parts(out):
    for name in KNOBS:
        save_jpeg(pixels(HERE / f"{name}.svg"), out / f"{name}.jpg")
    save_mask(pixels(HERE / f"{MASK}.svg"), out / f"{MASK}.bmp")


def require_font():
    """A missing font would go unnoticed: another one would take its place."""
    match = subprocess.run(["fc-match", "-f", "%{family[0]}", FONT],
                           stdout=subprocess.PIPE, text=True, check=True).stdout
    if match != FONT:
        sys.exit(f"skin: the font {FONT} isn't installed; run tools/setup.sh")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--out", type=pathlib.Path, required=True)
    parser.add_argument("--stamp", type=pathlib.Path, required=True, help="touched when all is done")
    options = parser.parse_args()
    require_font()
    shutil.rmtree(options.out, ignore_errors=True)
    options.out.mkdir(parents=True)
    render_window(options.out)
    render_small_parts(options.out)
    options.stamp.touch()


if __name__ == "__main__":
    main()
