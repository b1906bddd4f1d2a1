"""Several monitors: what the saver does with those beside the primary one."""

import numpy
import pytest

from harness import pictures
from harness.waiting import wait_until

RIGHT_OF = [(800, 600, 0, 0), (640, 480, 800, 0)]
LEFT_OF = [(800, 600, 640, 0), (640, 480, 0, 0)]
CLASS, TITLE = "VelmoraChildClass", "Velmora Multimonitor window"
BACKGROUND = (0, 90, 160)


def is_all(pixels, colour):
    return bool((pixels == numpy.array(colour, "uint8")).all())


def black_windows(desktop):
    return desktop.hand.windows(CLASS)


@pytest.mark.parametrize("monitors, rectangle", [(RIGHT_OF, [800, 0, 1440, 480]),
                                                 (LEFT_OF, [-640, 0, 0, 480])],
                         ids=["to the right", "to the left"])
def test_second_monitor_gets_a_window_of_its_size(wall, monitors, rectangle):
    desktop = wall(monitors)
    run = desktop.start("/s").wait_for_show()
    windows = black_windows(desktop)
    assert [(w["text"], w["rect"], w["visible"]) for w in windows] == [(TITLE, rectangle, True)]
    assert "Num Monitors: 2" in desktop.log()
    assert run.quit() == 0
    assert not black_windows(desktop)


def test_second_monitor_is_black_until_the_first_wipe_is_over(wall):
    """The wipe lasts for a second and a half: a busy machine may look too late, and tries again."""
    desktop = wall(RIGHT_OF)
    desktop.display.paint_background(BACKGROUND)

    def was_black(run):
        while run.running() and "Entering main loop..." not in run.log_text():
            if is_all(desktop.display.monitor_shot(1), (0, 0, 0)):
                return True
        return False

    for _ in range(5):
        run = desktop.start("/s")
        if was_black(run):
            return
        run.wait_for_show().quit()
    pytest.fail("the second monitor was never black before the first picture")


def test_picture_is_repeated_on_the_second_monitor(wall, four_pictures):
    desktop = wall(RIGHT_OF)
    run = desktop.start("/s").wait_for_show()
    for _ in range(2):
        shown = wait_until(
            "a picture on the first monitor",
            lambda: pictures.which(desktop.display.monitor_shot(0), four_pictures), 60,
            alive=run.ended)
        wait_until("the same one on the second",
                   lambda: pictures.which(desktop.display.monitor_shot(1), [shown]), 60,
                   alive=run.ended)
        four_pictures = [p for p in four_pictures if p != shown]


def test_second_monitor_keeps_the_desktop_with_blanking_off(wall, four_pictures):
    desktop = wall(RIGHT_OF)
    desktop.display.paint_background(BACKGROUND)
    desktop.settings(BlankAllScreens=0)
    run = desktop.start("/s").wait_for_show()
    assert not black_windows(desktop)
    assert is_all(desktop.display.monitor_shot(1), BACKGROUND)
    wait_until("a picture on the first monitor",
               lambda: pictures.which(desktop.display.monitor_shot(0), four_pictures), 60,
               alive=run.ended)
    assert is_all(desktop.display.monitor_shot(1), BACKGROUND)
    assert not any(line.startswith("Num Monitors: ") for line in desktop.log())


def test_monitor_that_is_off_gets_no_window(wall):
    desktop = wall([*RIGHT_OF, (640, 480, 800, 480)], switched_off=[2])
    desktop.start("/s").wait_for_show()
    assert [w["rect"] for w in black_windows(desktop)] == [[800, 0, 1440, 480]]


def test_single_monitor_gets_no_black_window(show):
    assert "Num Monitors: 1" in show.desktop.log()
    assert not black_windows(show.desktop)


@pytest.fixture
def on_two(wall):
    """A show on two monitors, its mouse at rest on the second one."""
    desktop = wall(RIGHT_OF)
    desktop.display.move_mouse(1000, 200)
    return desktop.start("/s").wait_for_show()


def test_click_on_the_second_monitor_does_not_end_it(on_two, four_pictures):
    for button in (1, 2, 3):
        on_two.desktop.display.click(button)
    for _ in range(2):
        shown = wait_until(
            "the show goes on",
            lambda: pictures.which(on_two.desktop.display.monitor_shot(0), four_pictures), 60,
            alive=on_two.ended)
        four_pictures = [p for p in four_pictures if p != shown]
    assert on_two.running()


def test_motion_on_the_second_monitor_ends_it(on_two):
    on_two.desktop.display.move_mouse(1000, 260)
    assert on_two.wait_end() == 0
    assert "Mouse moved -- Quitting screensaver" in on_two.desktop.log()


def test_key_on_the_second_monitor_ends_it(on_two):
    on_two.desktop.display.move_mouse(1010, 210)
    assert on_two.quit() == 0
