#!/usr/bin/python3
"""contact_sheet.py FOLDER OUT.jpg: all pictures of a folder on one sheet, for the documentation."""

import pathlib
import sys

from PIL import Image

WIDTH, ROW_HEIGHT, GAP = 1400, 196, 6
BACKGROUND = (18, 18, 20)
LIMIT = 300_000  # bytes


def rows_of(pictures):
    """Fills each row until its pictures, all of one height, span the sheet."""
    row, span = [], 0
    for picture in pictures:
        row.append(picture)
        span += picture.width / picture.height
        if span * ROW_HEIGHT >= WIDTH * 0.90:
            yield row, span
            row, span = [], 0
    if row:
        yield row, max(span, WIDTH / ROW_HEIGHT)


def make_sheet(pictures):
    placed, y = [], GAP
    for row, span in rows_of(pictures):
        height = round((WIDTH - GAP * (len(row) + 1)) / span)
        x = GAP
        for picture in row:
            width = round(height * picture.width / picture.height)
            placed.append((picture.resize((width, height), Image.LANCZOS), (x, y)))
            x += width + GAP
        y += height + GAP
    sheet = Image.new("RGB", (WIDTH, y), BACKGROUND)
    for picture, position in placed:
        sheet.paste(picture, position)
    return sheet


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip())
    folder, out = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    files = sorted(p for p in folder.iterdir() if p.suffix in (".jpg", ".png"))
    sheet = make_sheet([Image.open(p).convert("RGB") for p in files])
    for quality in range(90, 40, -3):
        sheet.save(out, "JPEG", quality=quality, optimize=True, progressive=True)
        if out.stat().st_size < LIMIT:
            return
    sys.exit(f"{out} is larger than {LIMIT} bytes")


if __name__ == "__main__":
    main()
