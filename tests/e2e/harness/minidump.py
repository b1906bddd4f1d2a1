"""Reads crash dumps, from the format's description alone."""

import dataclasses
import struct

THREADS, MODULES, EXCEPTION, SYSTEM = 3, 4, 6, 7

# Offsets in the context of a 32-bit x86 processor.
_CONTEXT_FLAGS, _EIP, _ESP = 0, 0xB8, 0xC4


@dataclasses.dataclass
class Module:
    base: int
    size: int
    path: str

    @property
    def name(self):
        return self.path.rsplit("\\", 1)[-1]

    def holds(self, address):
        return self.base <= address < self.base + self.size


@dataclasses.dataclass
class Thread:
    id: int
    stack: bytes
    stack_start: int


class Minidump:
    """Raises struct.error or AssertionError unless the file is a whole dump."""

    def __init__(self, data):
        self._data = data
        signature, version, count, directory = struct.unpack_from("<4sIII", data)
        assert signature == b"MDMP" and version & 0xFFFF == 0xA793
        self.streams = {}
        for index in range(count):
            kind, size, offset = struct.unpack_from("<III", data, directory + 12 * index)
            assert offset + size <= len(data), f"stream {kind} is cut off"
            self.streams.setdefault(kind, (offset, size))
        self._read_exception()
        self.threads = self._read_threads()
        self.modules = self._read_modules()

    def _read_exception(self):
        at, _ = self.streams[EXCEPTION]
        self.thread_id, = struct.unpack_from("<I", self._data, at)
        self.code, = struct.unpack_from("<I", self._data, at + 8)
        self.address, = struct.unpack_from("<Q", self._data, at + 24)
        size, where = struct.unpack_from("<II", self._data, at + 160)
        self.context = self._part(where, size)

    def _part(self, at, size):
        assert at + size <= len(self._data), "a part is cut off"
        return self._data[at:at + size]

    def _register(self, offset):
        return struct.unpack_from("<I", self.context, offset)[0]

    @property
    def eip(self):
        return self._register(_EIP)

    @property
    def esp(self):
        return self._register(_ESP)

    def _read_threads(self):
        at, _ = self.streams[THREADS]
        count, = struct.unpack_from("<I", self._data, at)
        threads = []
        for entry in range(at + 4, at + 4 + 48 * count, 48):
            number, = struct.unpack_from("<I", self._data, entry)
            start, size, where = struct.unpack_from("<QII", self._data, entry + 24)
            threads.append(Thread(number, self._part(where, size), start))
        return threads

    def _read_modules(self):
        at, _ = self.streams[MODULES]
        count, = struct.unpack_from("<I", self._data, at)
        modules = []
        for entry in range(at + 4, at + 4 + 108 * count, 108):
            base, size, _, _, name = struct.unpack_from("<QIIII", self._data, entry)
            length, = struct.unpack_from("<I", self._data, name)
            path = self._part(name + 4, length).decode("utf-16-le")
            modules.append(Module(base, size, path))
        return modules

    def thread(self):
        """The thread that crashed."""
        return next(t for t in self.threads if t.id == self.thread_id)

    def module(self, name):
        return next((m for m in self.modules if m.name.lower() == name.lower()), None)
