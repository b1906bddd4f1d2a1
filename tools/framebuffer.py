"""Reads the pixels of an Xvfb that was started with -fbdir: its screen is a
mapped file, so that a look at it costs the copy and nothing else."""

import pathlib
import struct

import numpy


class FrameBuffer:
    """The file Xvfb_screen0 in `folder`: a header of big-endian numbers, a
    colour table, then the rows."""

    def __init__(self, folder):
        path = pathlib.Path(folder) / "Xvfb_screen0"
        with open(path, "rb") as file:
            head = struct.unpack(">25I", file.read(100))
        header_size, self.width, self.height = head[0], head[4], head[5]
        bits, row_bytes, colours = head[11], head[12], head[19]
        kind = numpy.uint32 if bits == 32 else numpy.uint16
        rows = numpy.memmap(path, kind, "r", header_size + 12 * colours,
                            (self.height, row_bytes // numpy.dtype(kind).itemsize))
        self._pixels = rows[:, :self.width]

    def shot(self):
        """The screen now: height x width x 3, red first."""
        pixels = numpy.array(self._pixels)
        if pixels.dtype == numpy.uint32:
            return pixels.view(numpy.uint8).reshape(self.height, self.width, 4)[:, :, 2::-1].copy()
        red, green, blue = pixels >> 11, (pixels >> 5) & 63, pixels & 31
        return numpy.dstack([red * 255 // 31, green * 255 // 63, blue * 255 // 31]).astype("uint8")
