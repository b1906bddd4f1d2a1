"""What ends a Direct3D show, and what doesn't."""

import numpy
import pytest

from harness import pictures
from harness.reference import Show
from harness.waiting import wait_until

from test_direct3d_show import is_black, is_lit, start

pytestmark = pytest.mark.display(width=320, height=240)

LOST = "Screensaver terminated due to graphics subsystem invalidation"


def assert_clean_end(run):
    assert run.wait_end(60) == 0
    desktop = run.desktop
    assert desktop.log()[-1] == "Successfully exiting WinMain"
    assert "Successfully exiting CleanUp()" in desktop.log()
    assert [desktop.setting_dword(name) for name in ("CrashFlag", "DoChecksum")] == [0, 0]
    assert desktop.setting_dword("CriticalError") == 0
    assert not desktop.hand.boxes()
    assert not desktop.saver_running()


@pytest.mark.parametrize("animate", [False, True], ids=["in the show", "while the desktop sinks"])
def test_lost_surface_ends_the_show_as_a_key_does(desktop, four_pictures, animate):
    """Another program that comes to the front takes the screen away."""
    watch = start(desktop, Show(animate=animate, delay=60000), four_pictures,
                  ((230, 120, 40), (230, 120, 40)))
    watch.run.wait_for_show()
    if animate:
        watch.until(lambda shot: shot.mean() < 120)
    else:
        watch.until(lambda shot: shot.reshape(-1, 3).std(axis=0).max() > 5)  # no plain desktop
    desktop.hand.ask("take-focus")
    assert_clean_end(watch.run)
    assert desktop.log().count(LOST) == 1
    assert "WM_CLOSE: CanClose == true, Calling DestroyWindow()" in desktop.log()


def test_first_picture_that_fails_leaves_the_screen_black(desktop, four_pictures):
    shown = [pictures.broken("bad.jpg"), *four_pictures]
    grey = (200, 200, 200)
    watch = start(desktop, Show(animate=False, delay=100), shown, (grey, grey))
    watch.run.wait_for_show()
    watch.until(is_black)
    desktop.display.key("q")
    assert_clean_end(watch.run)
    assert LOST not in desktop.log()


def test_saver_that_ends_while_a_picture_is_decoded_leaves_in_order(desktop):
    noise = numpy.random.default_rng(1).integers(0, 256, (1600, 2400, 3), "uint8")
    watch = start(desktop, Show(animate=False), [pictures.encoded("large.png", noise)])
    watch.run.wait_for_show()
    desktop.display.key("q")
    assert_clean_end(watch.run)


def test_other_monitors_stay_black(wall):
    desktop = wall([(800, 600, 0, 0), (640, 480, 800, 0)])
    desktop.display.paint_background((200, 120, 40))
    desktop.settings(**Show(animate=False, delay=60000).settings())
    run = desktop.start("/s").wait_for_show()
    wait_until("a picture on the first monitor", lambda: is_lit(desktop.display.monitor_shot(0)),
               60, alive=run.ended)
    assert not desktop.display.monitor_shot(1).any()
    desktop.display.key("q")
    assert_clean_end(run)


def test_requested_mode_is_taken_and_given_back(wall):
    desktop = wall([(1024, 768, 0, 0)])
    desktop.settings(DispModeWidth="640", DispModeHeight="480", DispModeBits="32",
                     **Show(animate=False, delay=60000).settings())
    run = desktop.start("/s").wait_for_show()
    assert desktop.display.mode() == (640, 480)
    wait_until("a picture of that size", lambda: is_lit(desktop.display.shot()[:480, :640]), 60,
               alive=run.ended)
    desktop.display.key("q")
    assert_clean_end(run)
    assert desktop.display.mode() == (1024, 768)
