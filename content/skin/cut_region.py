#!/usr/bin/env python3
"""cut_region.py DRAWING.svg REGION: the window's outline as a block for ExtCreateRegion.

The drawing's path "outline" decides: a pixel belongs to the window if its centre lies inside. Rows
that are alike become one rectangle.
"""

import pathlib
import struct
import sys
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from drawing import pixels

SVG = "{http://www.w3.org/2000/svg}"
HEADER_SIZE = 32
RDH_RECTANGLES = 1


def outline_alone(drawing):
    """The outline in white, with hard edges, as a drawing of its own."""
    root = ElementTree.parse(drawing).getroot()
    path = root.find(f".//{SVG}path[@id='outline']")
    if path is None:
        sys.exit(f"skin: {drawing} has no path with the id 'outline'")
    size = {name: root.get(name) for name in ("width", "height", "viewBox")}
    alone = ElementTree.Element(f"{SVG}svg", size)
    ElementTree.SubElement(alone, f"{SVG}path", {
        "d": path.get("d"), "fill": "#fff", "shape-rendering": "crispEdges"})
    return ElementTree.tostring(alone)


def runs(row):
    """(left, right) of each run of set pixels, right not included."""
    edges = [x for x in range(len(row) + 1)
             if (x > 0 and row[x - 1] > 0) != (x < len(row) and row[x] > 0)]
    return list(zip(edges[::2], edges[1::2]))


def rectangles(mask):
    """(left, top, right, bottom) from top to bottom."""
    width, height = mask.size
    data = mask.tobytes()
    bands = []
    for y in range(height):
        here = runs(data[y * width:(y + 1) * width])
        if bands and bands[-1][0] == here:
            bands[-1][2] = y + 1
        else:
            bands.append([here, y, y + 1])
    return [(left, top, right, bottom) for row, top, bottom in bands for left, right in row]


def region_data(rects):
    lefts, tops, rights, bottoms = zip(*rects)
    bound = (min(lefts), min(tops), max(rights), max(bottoms))
    header = struct.pack("<4I4i", HEADER_SIZE, RDH_RECTANGLES, len(rects), 16 * len(rects), *bound)
    return header + b"".join(struct.pack("<4i", *rect) for rect in rects)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    drawing, region = map(pathlib.Path, sys.argv[1:])
    rects = rectangles(pixels(outline_alone(drawing)).convert("L"))
    if not rects:
        sys.exit(f"skin: the outline in {drawing} covers no pixel")
    region.write_bytes(region_data(rects))


if __name__ == "__main__":
    main()
