"""Counts how often files are opened and closed, by whomever: the kernel tells.

The kernel reports a close when the last descriptor of an opening goes, in whatever
process it is, so that both numbers agree only if nobody keeps the file open.
Openings of one file that overlap may be told as one, and so may their closes.
"""

import collections
import ctypes
import os
import select
import struct
import threading

_OPEN, _CLOSE_WRITE, _CLOSE_NOWRITE, _OVERFLOW = 0x20, 0x08, 0x10, 0x4000
_HEAD = struct.Struct("iIII")  # watch, what happened, cookie, length of the name
_CLOEXEC = 0o2000000
_TOLD_AT_ONCE = 1 << 16  # bytes


class Openings:
    """Watches folders, from now on until `stop`."""

    def __init__(self, *folders):
        self._libc = ctypes.CDLL(None, use_errno=True)
        self._events = self._checked(self._libc.inotify_init1(_CLOEXEC))
        self.opened = collections.Counter()  # by file name
        self.closed = collections.Counter()
        self.lost = False                    # the kernel had more to tell than it could keep
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
        while self._wake not in select.select([self._events, self._wake], [], [])[0]:
            told = os.read(self._events, _TOLD_AT_ONCE)
            while told:
                _, what, _, length = _HEAD.unpack_from(told)
                name = told[_HEAD.size:_HEAD.size + length].rstrip(b"\0").decode()
                self.lost |= bool(what & _OVERFLOW)
                self.opened[name] += bool(what & _OPEN)
                self.closed[name] += bool(what & (_CLOSE_WRITE | _CLOSE_NOWRITE))
                told = told[_HEAD.size + length:]

    def counts(self, name):
        """(opened, closed) so far."""
        return self.opened[name], self.closed[name]

    def balanced(self, *names):
        return not self.lost and all(self.opened[n] == self.closed[n] for n in names)

    def stop(self):
        os.close(self._stop)
        self._reader.join()
        for descriptor in (self._events, self._wake):
            os.close(descriptor)
