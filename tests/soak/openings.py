"""Counts how often files are opened and closed, by whomever: the kernel tells.

It tells the same thing twice in a row as one, unless the first has been fetched: openings
that overlap may be told as one and their closes as two, or the other way round. So the
numbers tell how often, and whether anyone has a file open tells the list of descriptors.
"""

import collections
import contextlib
import ctypes
import os
import pathlib
import select
import struct
import threading

from .gauges import process_folders

_OPEN, _CLOSE_WRITE, _CLOSE_NOWRITE = 0x20, 0x08, 0x10
_HEAD = struct.Struct("iIII")  # watch, what happened, cookie, length of the name
_CLOEXEC = 0o2000000
_TOLD_AT_ONCE = 1 << 16  # bytes


def _open_files():
    """Paths of what the processes of this machine have open, as far as we may see it."""
    for process in process_folders():
        with contextlib.suppress(OSError):  # it has ended, or isn't ours
            for descriptor in (process / "fd").iterdir():
                with contextlib.suppress(OSError):
                    yield os.readlink(descriptor)


class Openings:
    """Watches folders, from now on until `stop`."""

    def __init__(self, *folders):
        self._folders = [pathlib.Path(folder).resolve() for folder in folders]
        self._libc = ctypes.CDLL(None, use_errno=True)
        self._events = self._checked(self._libc.inotify_init1(_CLOEXEC))
        self.opened = collections.Counter()  # by file name
        self.closed = collections.Counter()
        for folder in folders:
            self._checked(self._libc.inotify_add_watch(
                self._events, os.fsencode(folder), _OPEN | _CLOSE_WRITE | _CLOSE_NOWRITE))
        self._wake, self._stop = os.pipe()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _checked(self, result):
        if result < 0:
            raise OSError(ctypes.get_errno(), "the kernel watches no files")
        return result

    def _read(self):
        while self._events in select.select([self._events, self._wake], [], [])[0]:
            self._count(os.read(self._events, _TOLD_AT_ONCE))

    def _count(self, told):
        while told:
            _, what, _, length = _HEAD.unpack_from(told)
            name = told[_HEAD.size:_HEAD.size + length].rstrip(b"\0").decode()
            self.opened[name] += bool(what & _OPEN)
            self.closed[name] += bool(what & (_CLOSE_WRITE | _CLOSE_NOWRITE))
            told = told[_HEAD.size + length:]

    def counts(self, name):
        """(opened, closed) so far."""
        return self.opened[name], self.closed[name]

    def all_closed(self, *names):
        """Whether no process has such a file of the watched folders open."""
        files = {str(folder / name) for folder in self._folders for name in names}
        return files.isdisjoint(_open_files())

    def stop(self):
        """Returns when all is counted that has happened."""
        os.close(self._stop)
        self._reader.join()
        for descriptor in (self._events, self._wake):
            os.close(descriptor)
