"""The dialogs of the program, used with the mouse and the keys of a user."""

from .waiting import wait_until

SETTINGS_TITLE = "Velmora 2  v 1.0"


class Dialog:
    """A dialog on the screen, by its title."""

    def __init__(self, run, title):
        self.run = run
        self.desktop = run.desktop
        self.title = title
        self.hwnd = wait_until(f"the dialog {title!r}", self._find, alive=run.ended)["hwnd"]

    def _find(self):
        return next((b for b in self.desktop.hand.boxes() if b["text"] == self.title), None)

    def rect(self):
        return self._find()["rect"]

    def control(self, number):
        return next(c for c in self.desktop.hand.children(self.hwnd)
                    if c["id"] == number and c["parent"] == self.hwnd)

    def text(self, number):
        return self.control(number)["text"]

    def wait_for_text(self, number, text):
        wait_until(f"{number} says {text!r}", lambda: self.text(number) == text,
                   alive=self.run.ended)

    def ask(self, number, message, wparam=0, lparam=0):
        """Sends a message that carries numbers alone to a control."""
        return self.desktop.hand.value("send", self.control(number)["hwnd"], message, wparam,
                                       lparam)

    def press(self, number, down=None):
        """Clicks in the middle of a control, or `down` px below its upper edge."""
        left, top, right, bottom = self.control(number)["rect"]
        self.desktop.display.move_mouse((left + right) // 2,
                                        (top + bottom) // 2 if down is None else top + down)
        self.desktop.display.click()

    def wait_gone(self):
        wait_until(f"{self.title!r} is gone", lambda: self._find() is None)

    def pixels(self, number=None):
        """What the screen shows of a control, or of the whole dialog."""
        left, top, right, bottom = self.control(number)["rect"] if number else self.rect()
        return self.desktop.display.shot()[top:bottom, left:right]


class SettingsWindow(Dialog):
    """The window that opens the others."""

    BUTTONS = {"music": 1087, "captions": 1035, "about": 1049, "updates": 1095}

    def __init__(self, desktop, **options):
        super().__init__(desktop.start(program="Velmora2.exe", **options), SETTINGS_TITLE)

    def open(self, button, title):
        """Opens one of the other dialogs."""
        self.press(self.BUTTONS[button])
        return Dialog(self.run, title)

    def leave(self, button):
        self.press(button)
        assert self.run.wait_end() == 0

    def ok(self):
        self.leave(1)

    def cancel(self):
        self.leave(2)
