#!/usr/bin/env python3
"""Writes chk.sum into an install folder, for the program's check of its own files.

    tools/chksum/chksum.py FOLDER

Eight little-endian words of 32 bits, each the CRC-32 of a file or, where there is
none, 0. The fifth is for the saver's copy in the Windows folder.
"""

import pathlib
import struct
import sys
import zlib

FILES = ["BTNexgenIPL32.dll", "fmod.dll", "images.bdl", None,
         "Velmora2.scr", "Velmora2.scr", "Velmora2.exe", None]


def crc_of(path):
    crc = 0
    with path.open("rb") as file:
        while block := file.read(1 << 20):
            crc = zlib.crc32(block, crc)
    return crc


def main(arguments):
    if len(arguments) != 1:
        sys.exit(__doc__.strip())
    folder = pathlib.Path(arguments[0])
    try:
        words = [crc_of(folder / name) if name else 0 for name in FILES]
        # A new file in its place: the old one may be linked from elsewhere.
        fresh = folder / "chk.sum.new"
        fresh.write_bytes(struct.pack("<8I", *words))
        fresh.replace(folder / "chk.sum")
    except OSError as error:
        sys.exit(f"chksum: {error}")


if __name__ == "__main__":
    main(sys.argv[1:])
