"""Resources of a Windows program, read from the file itself."""

import struct

RESOURCE_DIRECTORY = 2  # its place among the data directories
SUBDIRECTORY = 0x80000000


class Resources:
    """Looks resources up in the bytes of a 32-bit program."""

    def __init__(self, program):
        self.program = program
        (pe,) = struct.unpack_from("<I", program, 0x3C)
        sections, optional_size = struct.unpack_from("<H12xH", program, pe + 6)
        optional = pe + 24
        (self.address,) = struct.unpack_from("<I", program, optional + 96 + 8 * RESOURCE_DIRECTORY)
        headers = (optional + optional_size + 40 * n for n in range(sections))
        self.base = next(place for place in map(self._section_place, headers) if place is not None)

    def _section_place(self, header):
        """The resources' place in the file, if they begin this section."""
        (address, _, place) = struct.unpack_from("<3I", self.program, header + 12)
        return place if address == self.address else None

    def _name(self, key):
        if not key & SUBDIRECTORY:
            return key
        place = self.base + (key & ~SUBDIRECTORY)
        (length,) = struct.unpack_from("<H", self.program, place)
        return self.program[place + 2 : place + 2 + 2 * length].decode("utf-16-le")

    def _entries(self, place):
        named, numbered = struct.unpack_from("<12x2H", self.program, self.base + place)
        for n in range(named + numbered):
            key, at = struct.unpack_from("<2I", self.program, self.base + place + 16 + 8 * n)
            yield self._name(key), at

    def find(self, *path):
        """The bytes of the resource with this type, name and language; None without one."""
        at = SUBDIRECTORY
        for step in path:
            at = dict(self._entries(at & ~SUBDIRECTORY)).get(step)
            if at is None:
                return None
        address, size = struct.unpack_from("<2I", self.program, self.base + at)
        start = self.base + address - self.address
        return self.program[start : start + size]
