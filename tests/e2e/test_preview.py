"""The small preview inside another program's window."""

import numpy
import pytest

from harness import pictures
from harness.saver import DESKTOP_KEY, MUTEX
from harness.waiting import wait_until

WM_CLOSE = 0x0010
WS_CHILD, WS_VISIBLE = 0x40000000, 0x10000000
LEFT, TOP, WIDTH, HEIGHT = 20, 20, 152, 112


@pytest.fixture
def frame(desktop, four_pictures):
    desktop.slides(four_pictures)
    return desktop.hand.value("open-preview-frame", WIDTH, HEIGHT)


def child_of(run, frame):
    """Waits for the preview's window in the frame, which shows itself a moment after it exists."""
    def visible():
        return [c for c in run.desktop.hand.children(frame) if c["style"] & WS_VISIBLE]
    return wait_until("the preview's window", visible, alive=run.ended)[0]


@pytest.fixture
def preview(desktop, frame):
    run = desktop.start("/p", frame)
    child_of(run, frame)
    return run.wait_for_show()


def inside(desktop):
    return desktop.display.shot()[TOP:TOP + HEIGHT, LEFT:LEFT + WIDTH]


def wait_for_preview_of(run, *shown):
    return wait_until("a picture in the preview",
                      lambda: pictures.which(inside(run.desktop), shown), alive=run.ended)


@pytest.mark.parametrize("arguments", [["/p", "{}"], ["/p:{}"], ["-P", "{}"], ["p{}"], ["/l", "{}"],
                                       ["-L:{}"], ["/p", ":", "{}"]], ids=" ".join)
def test_preview_switch_makes_a_child_of_the_given_window(desktop, frame, arguments):
    run = desktop.start(*[word.format(frame) for word in arguments])
    child = child_of(run, frame)
    assert child["class"] == "VelmoraSaver"
    assert child["text"] == "Velmora 2"
    assert child["style"] & WS_CHILD
    assert child["rect"] == [LEFT, TOP, LEFT + WIDTH, TOP + HEIGHT], "it fills the frame"


def test_preview_shows_the_pictures_in_turn_and_whole(preview, four_pictures):
    first = wait_for_preview_of(preview, *four_pictures)
    wait_for_preview_of(preview, *[p for p in four_pictures if p != first])


def test_preview_ends_with_the_window_it_lives_in(preview):
    preview.desktop.hand.ask("close-preview-frame")
    assert preview.wait_end() == 0
    assert preview.desktop.log()[-1] == "Successfully exiting WinMain"


def test_preview_closes_when_it_is_asked_to(preview, frame):
    child = preview.desktop.hand.children(frame)[0]
    preview.desktop.hand.ask("post", child["hwnd"], WM_CLOSE, 0, 0)
    assert preview.wait_end() == 0


def test_keys_and_motion_do_not_end_a_preview(preview, four_pictures):
    display = preview.desktop.display
    display.move_mouse(40, 40)
    display.move_mouse(120, 100)
    display.click()
    for key in ("q", "Escape", "Left"):
        display.key(key)
    first = wait_for_preview_of(preview, *four_pictures)
    wait_for_preview_of(preview, *[p for p in four_pictures if p != first])
    assert preview.running()


def test_preview_leaves_the_desktop_alone(desktop, frame):
    desktop.settings(SetAsWallpaper=1, BlankAllScreens=1, FastMode=0, PlayMusic=1, ShowCaptions=1)
    before = desktop.display.shot()
    style = desktop.hand.get_raw("HKCU", DESKTOP_KEY, "WallpaperStyle")
    run = desktop.start("/p", frame)
    child_of(run, frame)
    run.wait_for_show()
    assert "Running in fast mode" in desktop.log(), "a preview never takes the 3D path"
    assert not desktop.saver_running()
    assert not desktop.hand.windows("VelmoraChildClass")
    outside = numpy.ones(before.shape[:2], bool)
    outside[:HEIGHT + 40, :WIDTH + 40] = False
    assert (desktop.display.shot()[outside] == before[outside]).all()

    desktop.hand.ask("close-preview-frame")
    assert run.wait_end() == 0
    assert not list(desktop.data_folder().glob("*velmora.bmp"))
    assert desktop.hand.get_raw("HKCU", DESKTOP_KEY, "WallpaperStyle") == style
    assert desktop.setting_text("AvgFps") is None, "only a saver's rate is kept"
    assert desktop.setting_dword("FastMode") == 0, "what a preview forces isn't stored"


def test_preview_holds_no_saver_up(preview):
    assert preview.desktop.hand.value("mutex-exists", MUTEX) == 0


def test_log_calls_a_preview_by_its_name(preview):
    log = preview.desktop.log()
    assert "Running in Preview mode." in log
    assert "Creating preview window via CreateWindow()" in log
    assert "Calling CreateWindow()" not in log


def test_preview_in_a_missing_window_ends_with_the_prompt(desktop, four_pictures):
    desktop.slides(four_pictures)
    run = desktop.start("/p", 123456)
    box = desktop.hand.wait_for_box("Error initializing", alive=run.ended)
    desktop.hand.answer_box(box)
    assert run.wait_end() == 0
    assert "Call to CreateWindow() failed!" in desktop.log()
