"""Talks to the helper program that does things inside the Windows desktop."""

import json
import struct
import subprocess

from . import places
from .displays import stop_process
from .waiting import wait_until

REG_SZ, REG_BINARY, REG_DWORD = 1, 3, 4


class WindowsError(Exception):
    """A call inside the desktop failed; `code` is the system's error code."""

    def __init__(self, command, code):
        super().__init__(f"{command}: error {code}")
        self.code = code


# What these do lasts as long as the helper runs; of the wallpaper the system goes
# on telling a process what it first told it.
_LASTING = {"open-preview-frame", "take-focus", "take-mutex", "wallpaper"}


class DeskHand:
    """One run of the helper; `fresh` while nothing that it did lasts."""

    def __init__(self, prefix, program=None):
        """`program` is a copy of the helper under another name."""
        self._process = prefix.start(program or places.deskhand(), stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE)
        self.fresh = True
        self.pid = self.ask("ping")["value"]

    def ask(self, *words):
        """One command; its answer. Raises WindowsError."""
        self.fresh &= words[0] not in _LASTING
        self._process.stdin.write(("\t".join(map(str, words)) + "\n").encode("cp1252"))
        self._process.stdin.flush()
        line = self._process.stdout.readline()
        if not line:
            raise RuntimeError(f"the desk hand ended at {words}")
        answer = json.loads(line)
        if isinstance(answer, dict) and "error" in answer:
            raise WindowsError(words, answer["error"])
        return answer

    def value(self, *words):
        return self.ask(*words)["value"]

    def close(self):
        self._process.stdin.close()
        stop_process(self._process)
        self._process.stdout.close()

    # Windows

    def windows(self, class_name=None, text=None):
        """Top windows, front first, of that class and with that title."""
        return [w for w in self.ask("top-windows")
                if (class_name is None or w["class"] == class_name)
                and (text is None or w["text"] == text)]

    def children(self, window):
        return self.ask("child-windows", window)

    def boxes(self):
        """Message boxes and dialogs on the screen."""
        return [w for w in self.windows("#32770") if w["visible"]]

    def wait_for_box(self, title, alive=None):
        """Waits for a message box; returns it with its `message`."""
        box = wait_until(f"a box titled {title!r}",
                         lambda: [b for b in self.boxes() if b["text"] == title], alive=alive)[0]
        texts = [c["text"] for c in self.children(box["hwnd"]) if c["class"] == "Static"]
        box["message"] = next((t for t in texts if t), "")
        return box

    def answer_box(self, box, button=1):
        """Presses a button of a message box and waits until the box is gone."""
        self.ask("post", box["hwnd"], 0x0111, button, 0)  # WM_COMMAND
        wait_until("the box is gone",
                   lambda: box["hwnd"] not in [b["hwnd"] for b in self.boxes()])

    # Registry

    def set_raw(self, root, key, name, kind, data):
        self.ask("set-value", root, key, name, kind, bytes(data).hex())

    def set_dword(self, root, key, name, value):
        self.set_raw(root, key, name, REG_DWORD, struct.pack("<I", value & 0xFFFFFFFF))

    def set_text(self, root, key, name, text):
        self.set_raw(root, key, name, REG_SZ, text.encode("cp1252") + b"\0")

    def get_raw(self, root, key, name):
        """(type, bytes) of a value, or None if there is none."""
        try:
            answer = self.ask("get-value", root, key, name)
        except WindowsError as error:
            if error.code in (2, 6):  # no such value; no such key
                return None
            raise
        return answer["type"], bytes.fromhex(answer["data"])

    def get_dword(self, root, key, name):
        raw = self.get_raw(root, key, name)
        if raw is None:
            return None
        assert raw[0] == REG_DWORD and len(raw[1]) == 4, (name, raw)
        return struct.unpack("<I", raw[1])[0]

    def get_text(self, root, key, name):
        raw = self.get_raw(root, key, name)
        if raw is None:
            return None
        assert raw[0] == REG_SZ, (name, raw)
        return raw[1].split(b"\0")[0].decode("cp1252")

    def delete_tree(self, root, key):
        """Deletes a key with all below it, if it is there."""
        try:
            self.ask("delete-tree", root, key)
        except WindowsError as error:
            if error.code != 2:
                raise

    def delete_value(self, root, key, name):
        """Deletes a value, if it is there."""
        try:
            self.ask("delete-value", root, key, name)
        except WindowsError as error:
            if error.code != 2:
                raise

    def value_names(self, root, key):
        """Names of a key's values, or None if there is no such key."""
        try:
            return self.ask("value-names", root, key)
        except WindowsError:
            return None
