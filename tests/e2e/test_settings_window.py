"""The settings window on the screen: the drawing, cut to its outline, and the settings in it."""

import numpy
import pytest

from harness import skin
from harness.saver import SETTINGS_KEY
from harness.skin import Skin
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=800, height=600)

DESKTOP_COLOUR = (0, 0, 0)
OK, CANCEL = (507, 403), (439, 420)
BARE_PART = (250, 200)


class Window:
    """The settings window of a run."""

    def __init__(self, run):
        self.run = run
        self.desktop = run.desktop
        self.hand = run.desktop.hand
        self.handle = wait_until("the settings window", self._find, alive=run.ended)

    def _find(self):
        return next((w["hwnd"] for w in self.hand.boxes() if w["text"] == "Velmora 2  v 1.0"), None)

    def rect(self):
        return next(w["rect"] for w in self.hand.boxes() if w["hwnd"] == self.handle)

    def shot(self):
        left, top, right, bottom = self.rect()
        return self.desktop.display.shot()[top:bottom, left:right].astype(int)

    def place_on_screen(self, point):
        left, top, _, _ = self.rect()
        return left + point[0], top + point[1]

    def click(self, point):
        """In one go, so that no tooltip comes up: as it goes away again, what lies below is
        repainted, and a toggle that is painted while it is held flips once more."""
        self.desktop.display.xdotool("mousemove", *self.place_on_screen(point), "click", 1,
                                     "mousemove", 0, 0)

    def drag(self, start, end):
        """Presses at one point and releases at another, by way of points between."""
        display = self.desktop.display
        points = [self.place_on_screen((start[0] + (end[0] - start[0]) * step // 8,
                                        start[1] + (end[1] - start[1]) * step // 8))
                  for step in range(9)]
        display.move_mouse(*points[0])
        display.xdotool("mousedown", 1)
        for point in points[1:]:
            display.move_mouse(*point)
        display.xdotool("mouseup", 1)

    def wait_until_it_looks_like(self, wanted, but_for=()):
        """Waits for these pixels; list and label aren't among them, nor `but_for`."""
        compared = self.pictured & ~covered(skin.MODE_LIST, skin.DELAY_LABEL, *but_for)
        wait_until("the window looks as it should",
                   lambda: skin.looks_like(self.shot()[compared], wanted[compared]),
                   alive=self.run.ended)

    def label_ink(self):
        """The label's pixels in its own colour."""
        left, top, right, bottom = skin.box_of(skin.DELAY_LABEL)
        distance = numpy.abs(self.shot()[top:bottom, left:right] - skin.LABEL_COLOUR).max(axis=2)
        return distance <= skin.ROUNDING


def covered(*places):
    pixels = numpy.zeros(skin.SIZE[::-1], dtype=bool)
    for place in places:
        left, top, right, bottom = skin.box_of(place)
        pixels[top:bottom, left:right] = True
    return pixels


@pytest.fixture
def drawing(bare_desktop):
    return Skin((bare_desktop.install / "Velmora2.scr").read_bytes())


@pytest.fixture
def opened(bare_desktop, drawing):
    """Opens the window with some settings; the pointer is out of the way."""

    def open_window(**settings):
        bare_desktop.settings(ShowSpeedtip=0, **settings)
        bare_desktop.display.move_mouse(0, 0)
        window = Window(bare_desktop.start("/c"))
        window.pictured = drawing.outline()
        return window

    return open_window


def stored(desktop):
    return {name: desktop.setting_dword(name) for name in skin.TOGGLES}


def inverted_toggles():
    return {name: 1 - skin.DEFAULTS[name] for name in skin.TOGGLES}


def test_the_window_is_the_drawing_with_the_settings_in_it(opened, drawing):
    opened().wait_until_it_looks_like(drawing.looks())


def test_the_window_stands_in_the_middle_and_has_the_drawings_size(opened):
    left, top, right, bottom = opened().rect()
    assert (right - left, bottom - top) == skin.SIZE
    assert abs((left + right) / 2 - 400) <= 2 and abs((top + bottom) / 2 - 300) <= 2


def test_outside_of_the_outline_is_the_desktop(opened, drawing):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    assert (window.shot()[~drawing.outline()] == DESKTOP_COLOUR).all()


def test_every_setting_shows_at_its_place(opened, drawing):
    window = opened(**inverted_toggles(), ImageDelay="30.000000", MusicVol="0")
    window.wait_until_it_looks_like(drawing.looks(**inverted_toggles(), ImageDelay=30, MusicVol=0))


@pytest.mark.parametrize("name", [n for n in skin.TOGGLES
                                  if n not in ("SetAsWallpaper", "FastMode")])
def test_a_click_on_the_words_turns_a_toggle(opened, drawing, name):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    place, _ = skin.TOGGLES[name]
    window.click((place[0] + place[2] - 30, place[1] + place[3] // 2))
    window.wait_until_it_looks_like(drawing.looks(**{name: 1 - skin.DEFAULTS[name]}))


def test_ok_stores_what_was_turned_and_ends_the_program(opened, drawing):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    for name in ("Animate", "CramImages", "CustomMusic"):
        window.click(skin.centre_of(skin.TOGGLES[name][0]))
    changed = dict(Animate=0, CramImages=0, CustomMusic=1)
    window.wait_until_it_looks_like(drawing.looks(**changed))
    window.click(OK)
    assert window.run.wait_end() == 0
    assert stored(window.desktop) == {n: skin.DEFAULTS[n] for n in skin.TOGGLES} | changed
    assert window.desktop.setting_text("ImageDelay") == "10.000000"


def test_cancel_stores_nothing(opened, drawing):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    before = window.desktop.hand.value_names("HKCU", SETTINGS_KEY)
    window.click(skin.centre_of(skin.TOGGLES["Animate"][0]))
    window.click(CANCEL)
    assert window.run.wait_end() == 0
    assert "Animate" not in before and "ImageDelay" not in before
    assert window.desktop.hand.value_names("HKCU", SETTINGS_KEY) == before


def test_the_label_follows_the_slider_and_ok_stores_its_seconds(opened, drawing):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    wait_until("the label", lambda: window.label_ink().any())
    ten_seconds = window.label_ink()
    knob = (skin.DELAY_SLIDER[0] + int(skin.knob_position(6 / 26, 108)), 253)
    window.drag(knob, (480, 253))
    window.desktop.display.move_mouse(0, 0)
    window.wait_until_it_looks_like(drawing.looks(ImageDelay=30))
    wait_until("the label changes", lambda: (window.label_ink() != ten_seconds).any())
    window.click(OK)
    assert window.run.wait_end() == 0
    assert window.desktop.setting_text("ImageDelay") == "30.000000"


def test_the_volume_slides_down_to_silence(opened, drawing):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    window.drag((610, 97), (610, 210))
    window.desktop.display.move_mouse(0, 0)
    window.wait_until_it_looks_like(drawing.looks(MusicVol=0))
    window.click(OK)
    assert window.run.wait_end() == 0
    assert window.desktop.setting_text("MusicVol") == "0"


def test_a_bare_part_of_the_picture_drags_the_window(opened, drawing):
    window = opened()
    window.wait_until_it_looks_like(drawing.looks())
    left, top, _, _ = window.rect()
    window.drag(BARE_PART, (BARE_PART[0] + 40, BARE_PART[1] - 32))
    wait_until("the window is elsewhere", lambda: window.rect()[:2] == [left + 40, top - 32])
    window.desktop.display.move_mouse(0, 0)
    window.wait_until_it_looks_like(drawing.looks())


def test_a_program_that_lost_its_pictures_says_so_and_goes_on(bare_desktop):
    program = bare_desktop.install / "Velmora2.scr"
    program.write_bytes(program.read_bytes()[:-4] + b"\xff\xff\xff\xff")
    run = bare_desktop.start("/c")
    box = bare_desktop.hand.wait_for_box("ERROR", alive=run.ended)
    assert box["message"] == ("Error opening menu graphic! File probably corrupt.\n"
                              "Try re-installing or re-downloading this screensaver")
    bare_desktop.hand.answer_box(box)
    assert Window(run).handle
    assert run.running()
