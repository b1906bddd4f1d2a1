"""Changes of the display mode, and the way back."""

import pytest

from harness import pictures
from harness.waiting import wait_until

ONE_MONITOR = [(1024, 768, 0, 0)]
CALL = "Calling ChangeDisplaySettings()"
BACK = "ChangeDisplaySettings(NULL,0)"


@pytest.fixture
def adjustable(wall):
    """A desktop of 1024 by 768 whose display knows smaller modes, too."""
    return wall(ONE_MONITOR)


def request_mode(desktop, width, height, bits):
    desktop.settings(DispModeWidth=str(width), DispModeHeight=str(height), DispModeBits=str(bits))


def test_requested_mode_is_taken_for_the_session(adjustable, four_pictures):
    request_mode(adjustable, 800, 600, 32)
    run = adjustable.start("/s").wait_for_show()
    assert adjustable.display.mode() == (800, 600)
    assert run.window()["rect"] == [0, 0, 800, 600]
    wait_until("a picture of that size",
               lambda: pictures.which(adjustable.display.shot()[:600, :800], four_pictures), 60,
               alive=run.ended)
    log = adjustable.log()
    assert log.index("800x600x32") == log.index("Requested mode:") + 1
    assert CALL in log

    assert run.quit() == 0
    assert adjustable.display.mode() == (1024, 768)
    log = adjustable.log()
    assert log.index(BACK) == log.index("Changing back display settings") + 1


def test_mode_that_the_desktop_has_already_changes_nothing(adjustable):
    request_mode(adjustable, 1024, 768, 32)
    run = adjustable.start("/s").wait_for_show()
    assert run.window()["rect"] == [0, 0, 1024, 768]
    assert run.quit() == 0
    assert CALL not in adjustable.log() and BACK not in adjustable.log()
    assert "1024x768x32" in adjustable.log()


def test_no_requested_mode_changes_nothing(show):
    assert show.quit() == 0
    log = show.desktop.log()
    assert log.index("NO CHANGE") == log.index("Requested mode:") + 1
    assert CALL not in log and BACK not in log


def test_mode_that_the_card_lacks_ends_the_session_with_a_box(desktop, four_pictures):
    desktop.slides(four_pictures)
    request_mode(desktop, 1000, 700, 32)
    run = desktop.start("/s")
    box = desktop.hand.wait_for_box("Error", alive=run.ended)
    assert box["message"] == "The Requested Display Mode Is Not Supported By\nYour Video Card."
    assert not desktop.hand.windows("VelmoraSaver")
    desktop.hand.answer_box(box)
    assert run.wait_end() == 0
    assert "Call to ChangeDisplaySettings() failed." in desktop.log()
    assert not desktop.hand.boxes(), "a mode that can't be had isn't a critical error"


def test_wallpaper_has_the_size_of_the_desktop_not_of_the_session(adjustable):
    request_mode(adjustable, 640, 480, 32)
    adjustable.settings(SetAsWallpaper=1, StretchWallpaper=1)
    run = adjustable.start("/s").wait_for_show()
    assert adjustable.display.mode() == (640, 480)
    assert run.quit() == 0
    assert adjustable.wallpaper().size == (1024, 768)


@pytest.mark.display(width=640, height=480, depth=16)
def test_desktop_of_sixteen_bits_is_left_at_sixteen_bits(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.settings(ImageDelay="60.000000")
    run = desktop.start("/s").wait_for_show()
    assert "BitsPerPel: 16" in desktop.log()
    expected = pictures.on_screen(four_pictures[0], 640, 480)
    wait_until("the first picture",
               lambda: pictures.mean_error(desktop.display.shot(), expected) < 6, alive=run.ended)
    assert run.quit() == 0
    assert CALL not in desktop.log()
