"""What a user does in the settings window: clicks, drags, keys, questions, and what comes of it."""

import contextlib
import io
import struct

import numpy
import PIL.Image
import pytest

from harness import pictures, skin
from harness.dialogs import Dialog
from harness.saver import SETTINGS_KEY
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=1024, height=768)

TITLE = "Velmora 2  v 1.0"
TOGGLES = {  # setting: left, top, and the default
    "SetAsWallpaper": (359, 274, 0), "RandomOrder": (364, 294, 1), "Animate": (426, 314, 1),
    "Crossfade": (412, 334, 1), "CramImages": (391, 354, 1), "PlayMusic": (394, 94, 1),
    "DefaultMusic": (419, 127, 1), "CustomMusic": (418, 147, 0), "ShuffleMusic": (391, 185, 1),
    "FastMode": (14, 295, 0)}


def member(program, wanted):
    """A member of the bundle behind a program, read from the format's description."""
    (position,) = struct.unpack("<I", program[-4:])
    while position < len(program) - 4:
        end = program.index(b"\0", position)
        name, position = program[position:end].decode("cp1252"), end + 1
        if name.startswith("?"):
            continue
        offset, size = struct.unpack_from("<II", program, position)
        position += 8
        if name == wanted:
            return program[offset:offset + size]
    raise LookupError(wanted)


class Window:
    """The settings window of one run."""

    def __init__(self, desktop):
        self.desktop = desktop
        desktop.display.move_mouse(0, 0)  # where it covers nothing
        self.run = desktop.start(program="Velmora2.exe")
        self.skin = numpy.asarray(PIL.Image.open(io.BytesIO(
            member((desktop.install / "Velmora2.exe").read_bytes(), "menuskin.jpg"))))
        self.hwnd = wait_until("the settings window", self._find, alive=self.run.ended)["hwnd"]
        wait_until("its picture", self._is_painted, alive=self.run.ended)

    def _find(self):
        found = [w for w in self.desktop.hand.windows("#32770", TITLE) if w["visible"]]
        return found[0] if found else None

    def _is_painted(self):
        return all(self.indicator(name) is not None for name in TOGGLES)

    def corner(self):
        return self._find()["rect"][:2]

    def pixels(self, x, y, width, height):
        left, top = self.corner()
        return self.desktop.display.shot()[top + y:top + y + height, left + x:left + x + width]

    def move_to(self, x, y):
        left, top = self.corner()
        self.desktop.display.move_mouse(left + x, top + y)

    def click(self, x, y, button=1):
        """In one go, before a tooltip comes up."""
        left, top = self.corner()
        self.desktop.display.xdotool("mousemove", left + x, top + y, "click", button,
                                     "mousemove", 0, 0)

    def drag(self, start, end):
        left, top = self.corner()
        xdotool = self.desktop.display.xdotool
        xdotool("mousemove", left + start[0], top + start[1], "mousedown", 1)
        for step in range(1, 5):
            xdotool("mousemove", left + start[0] + (end[0] - start[0]) * step // 4,
                    top + start[1] + (end[1] - start[1]) * step // 4)
        xdotool("mouseup", 1)

    def indicator(self, name):
        """What a toggle's indicator shows in its middle, where the mask is open."""
        left, top, _ = TOGGLES[name]
        right, height = {"FastMode": (116, 34), "PlayMusic": (505, 15), "DefaultMusic": (504, 15),
                         "CustomMusic": (504, 15), "ShuffleMusic": (537, 15)}.get(name, (519, 15))
        shown = self.pixels(right - 20, top + height // 2 - 7, 20, 15)[:, 5:15]
        for state, sample in ((False, 314), (True, 334)):
            if numpy.array_equal(shown, self.skin[sample:sample + 15, 504:514]):
                return state
        return None

    def wait_for_indicator(self, name, state):
        wait_until(f"{name} shows {state}", lambda: self.indicator(name) is state,
                   alive=self.run.ended)

    def flip(self, name, answer=None):
        """Clicks a toggle; answers the box that it brings."""
        before = self.indicator(name)
        left, top, _ = TOGGLES[name]
        self.click(left + 8, top + 7)
        if answer:
            title, button = answer
            self.desktop.hand.answer_box(
                self.desktop.hand.wait_for_box(title, self.run.ended), button)
        self.wait_for_indicator(name, not before)

    def ok(self):
        self.click(500, 400)
        assert self.run.wait_end() == 0


@pytest.fixture
def window(bare_desktop):
    return Window(bare_desktop)


def stored(desktop):
    return desktop.hand.value_names("HKCU", SETTINGS_KEY)


def stored_mode(desktop):
    return [desktop.setting_text(f"DispMode{part}") for part in ("Width", "Height", "Bits")]


def test_every_toggle_is_flipped_and_stored(window):
    for name, (_, _, default) in TOGGLES.items():
        assert window.indicator(name) is (not default if name == "CramImages" else bool(default))
    answers = {"SetAsWallpaper": ("Stretch Wallpaper?", 6), "FastMode": ("NOTE", 1)}
    for name in TOGGLES:
        window.flip(name, answers.get(name))
    window.ok()
    for name, (_, _, default) in TOGGLES.items():
        assert window.desktop.setting_dword(name) == 1 - default, name
    assert window.desktop.setting_dword("StretchWallpaper") == 1
    # The sliders were left alone: the top of the volume's track is just short of full.
    assert window.desktop.setting_text("ImageDelay") == "10.000000"
    assert window.desktop.setting_text("MusicVol") == "246"


def test_toggles_that_go_off_ask_nothing(bare_desktop):
    bare_desktop.settings(SetAsWallpaper=1, FastMode=1, StretchWallpaper=1)
    window = Window(bare_desktop)
    window.flip("SetAsWallpaper")
    window.flip("FastMode")
    assert [b["text"] for b in bare_desktop.hand.boxes()] == [TITLE]
    window.ok()
    assert bare_desktop.setting_dword("SetAsWallpaper") == 0
    assert bare_desktop.setting_dword("FastMode") == 0
    assert bare_desktop.setting_dword("StretchWallpaper") == 1


def test_sliders_follow_the_mouse_beyond_the_window(window):
    window.drag((391, 254), (480, 300))  # over the delay's right end
    window.drag((610, 97), (610, 148))   # half way down the volume
    window.ok()
    assert window.desktop.setting_text("ImageDelay") == "30.000000"
    assert window.desktop.setting_text("MusicVol") == str(int(255 - 54 / 104.5 * 255))


def test_delay_dragged_off_the_left_of_the_window_is_the_shortest(window):
    window.drag((391, 254), (-150, 254))
    window.ok()
    assert window.desktop.setting_text("ImageDelay") == "4.000000"


def test_wheel_and_mouse_move_the_knob_of_the_list(bare_desktop):
    window = Window(bare_desktop)
    left, top = window.corner()
    drawing = skin.Skin((bare_desktop.install / "Velmora2.exe").read_bytes()).looks()
    track_left, track_top, track_right, track_bottom = skin.box_of(skin.MODE_TRACK)
    at_the_top = drawing[track_top:track_bottom, track_left:track_right]

    def knob_is_up():
        return skin.looks_like(window.pixels(*skin.MODE_TRACK), at_the_top)

    wait_until("the knob at the top", knob_is_up, alive=window.run.ended)
    # Over the knob, which has the focus for the wheel by a click, and then over the list.
    for x, y in ((621, 281), (560, 280)):
        bare_desktop.display.xdotool("mousemove", left + x, top + y, "click", 1, "click", 5)
        wait_until("the knob has gone down", lambda: not knob_is_up(), alive=window.run.ended)
        bare_desktop.display.xdotool("click", 4, "mousemove", 0, 0)
        wait_until("it is back", knob_is_up, alive=window.run.ended)
    window.drag((621, 281), (621, 340))
    wait_until("the knob is dragged down", lambda: not knob_is_up(), alive=window.run.ended)
    window.drag((621, 340), (680, 200))
    wait_until("it is dragged back", knob_is_up, alive=window.run.ended)


def test_press_on_a_track_pages(window):
    window.click(470, 254)
    window.ok()
    # The knob goes from 24.1 to 34.1 px of 104.5.
    assert window.desktop.setting_text("ImageDelay") == "12.000000"


def test_a_mode_is_picked_by_the_mouse_and_the_keys(bare_desktop):
    window = Window(bare_desktop)
    window.click(550, 295)  # the second row
    bare_desktop.display.key("Down")
    bare_desktop.display.key("Up")
    window.ok()
    assert stored_mode(bare_desktop) in (["1024", "768", "16"], ["1024", "768", "32"])
    window = Window(bare_desktop)
    window.click(550, 282)  # "No change"
    window.ok()
    assert stored_mode(bare_desktop) == ["0", "0", "0"]


def test_escape_cancels_and_delete_does_nothing(window):
    window.flip("Animate")
    window.desktop.display.key("Delete")
    window.flip("Crossfade")
    window.desktop.display.key("Escape")
    assert window.run.wait_end() == 0
    assert window.desktop.setting_dword("Animate") is None


def test_space_flips_the_toggle_that_has_the_focus(window):
    window.flip("Animate")
    window.desktop.display.key("space")
    window.wait_for_indicator("Animate", True)


def help_window(window):
    """The system's help viewer under our title, and the words that it shows."""
    hand = window.desktop.hand
    viewer = wait_until("the help", lambda: [
        w for w in hand.windows("MS_WINHELP") if w["text"].startswith("Velmora 2 Help")],
        alive=window.run.ended)[0]
    words = wait_until("its words", lambda: [
        c["text"] for c in hand.children(viewer["hwnd"]) if "Velmora" in c["text"]])[0]
    return viewer, words


@pytest.mark.parametrize("ask", [lambda window: window.click(200, 420),
                                 lambda window: window.desktop.display.key("F1")],
                         ids=["button", "f1"])
def test_the_help_opens(window, ask):
    window.flip("Animate")  # which has the focus then
    ask(window)
    viewer, words = help_window(window)
    assert "What the settings window offers" in words
    window.desktop.hand.ask("post", viewer["hwnd"], 0x0010, 0, 0)  # WM_CLOSE
    wait_until("the help is gone", lambda: not window.desktop.hand.windows("MS_WINHELP"))


def test_a_missing_help_file_is_told_by_the_system(window):
    (window.desktop.install / "VELMORA2.HLP").unlink()
    window.click(200, 420)
    box = wait_until("the system's help", lambda: [
        b for b in window.desktop.hand.boxes() if b["text"] != TITLE], alive=window.run.ended)[0]
    texts = [c["text"] for c in window.desktop.hand.children(box["hwnd"])]
    assert any("VELMORA2.HLP" in text.upper() for text in texts), texts
    window.desktop.hand.answer_box(box, 7)


def test_a_tooltip_tells_what_a_control_does(window):
    window.move_to(430, 300)
    window.move_to(440, 301)
    tip = wait_until("a tooltip", lambda: [
        w for w in window.desktop.hand.windows("tooltips_class32") if w["visible"]],
        alive=window.run.ended)[0]
    assert tip["text"] == "Display images in a random order"


@contextlib.contextmanager
def damaged(desktop, change):
    """A program whose bytes `change` has altered, started; its first box."""
    program = desktop.install / "Velmora2.exe"
    program.write_bytes(change(program.read_bytes()))
    run = desktop.start(program="Velmora2.exe")
    yield run, desktop.hand.wait_for_box("ERROR", run.ended)


def test_a_damaged_bundle_is_told_and_leaves_a_window_that_stores_a_mode(bare_desktop):
    # The sliders that it lacks would make 17 and 246 of these.
    bare_desktop.settings(ImageDelay="17.500000", MusicVol="255")
    with damaged(bare_desktop, lambda data: data[:-4] + b"\xee" * 4) as (run, box):
        assert box["message"] == (
            "Error opening menu graphic! File probably corrupt.\n"
            "Try re-installing or re-downloading this screensaver")
        bare_desktop.hand.answer_box(box)
        plain = Dialog(run, TITLE)
        row_height = plain.ask(1024, 0x01A1)  # LB_GETITEMHEIGHT
        plain.press(1024, down=row_height * 3 // 2)
        wait_until("the second row is picked", lambda: plain.ask(1024, 0x0188) == 1,  # LB_GETCURSEL
                   alive=run.ended)
        plain.press(1)
        assert run.wait_end() == 0
    assert stored_mode(bare_desktop) in (["1024", "768", "16"], ["1024", "768", "32"])
    assert bare_desktop.setting_text("ImageDelay") == "17.500000"
    assert bare_desktop.setting_text("MusicVol") == "255"
    for name, (_, _, default) in TOGGLES.items():
        assert bare_desktop.setting_dword(name) == default, name


def test_a_damaged_picture_is_told_and_ends_the_program(bare_desktop):
    def blot(data):
        at = data.index(member(data, "menuskin.jpg"))
        return data[:at] + b"\0" * 20 + data[at + 20:]

    with damaged(bare_desktop, blot) as (run, box):
        assert box["message"].startswith("Error loading menu graphic!")
        bare_desktop.hand.answer_box(box)
        assert run.wait_end() == 0


def test_the_saver_runs_by_what_was_set_up(bare_desktop, four_pictures):
    bare_desktop.slides(four_pictures)
    window = Window(bare_desktop)
    window.flip("FastMode", ("NOTE", 1))
    window.flip("RandomOrder")
    window.flip("PlayMusic")
    window.ok()
    run = bare_desktop.start("/s").wait_for_show()
    assert run.wait_for_picture(*four_pictures) == four_pictures[0], "in order"
    assert "initD3D" not in run.log_text(), "in fast mode"
    assert pictures.which(bare_desktop.display.shot(), four_pictures)
