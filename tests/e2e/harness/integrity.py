"""Whole and damaged installations, as the program's own check sees them."""

import shutil
import struct
import zlib

# In the order of chk.sum; None is a word that nobody looks at.
_CHECKED = ["BTNexgenIPL32.dll", "fmod.dll", "images.bdl", None, ("windows", "Velmora2.scr"),
            "Velmora2.scr", "Velmora2.exe", None]


class WholeInstallation:
    """The copy in the Windows folder and a chk.sum that fits all files.

    Make it once the slides are written; `remove` takes the copy away again.
    """

    def __init__(self, desktop):
        self._install = desktop.install
        self._windows = desktop.prefix.path / "drive_c" / "windows"
        self._copy = self._windows / "Velmora2.scr"
        shutil.copy2(self._install / "Velmora2.scr", self._copy)
        self._write_sums()

    def _file(self, entry):
        return self._windows / entry[1] if isinstance(entry, tuple) else self._install / entry

    def _write_sums(self):
        sums = [zlib.crc32(self._file(entry).read_bytes()) if entry else 0 for entry in _CHECKED]
        (self._install / "chk.sum").write_bytes(struct.pack("<8I", *sums))

    def damage(self, name="fmod.dll"):
        """Changes one byte of a file."""
        file = self._install / name
        data = bytearray(file.read_bytes())
        data[-1] ^= 1
        file.write_bytes(data)

    def remove(self):
        self._copy.unlink(missing_ok=True)
