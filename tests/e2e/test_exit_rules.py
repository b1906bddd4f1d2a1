"""What ends the saver and what doesn't."""

import pytest

from harness.saver import SYSTEM_KEY
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)

WM_CLOSE, WM_SYSCOMMAND = 0x0010, 0x0112
SC_CLOSE, SC_NEXTWINDOW, SC_PREVWINDOW, SC_SCREENSAVE = 0xF060, 0xF040, 0xF050, 0xF140


@pytest.fixture
def resting(desktop, four_pictures):
    """A show whose mouse rests at 100, 100."""
    desktop.display.move_mouse(100, 100)
    desktop.slides(four_pictures)
    return desktop.start("/s").wait_for_show()


def assert_goes_on(run, four_pictures):
    """The show reaches its next picture, and the one after it."""
    run.wait_for_next(four_pictures)
    run.wait_for_next(four_pictures)
    assert "Exited main loop." not in run.desktop.log()


def test_mouse_motion_of_fifty_pixels_does_nothing(resting, four_pictures):
    for x, y in ((150, 100), (50, 100), (100, 150), (100, 50), (150, 150), (50, 50)):
        resting.desktop.display.move_mouse(x, y)
    assert_goes_on(resting, four_pictures)


@pytest.mark.parametrize("x, y", [(151, 100), (49, 100), (100, 151), (100, 49)])
def test_mouse_motion_of_fifty_one_pixels_ends_it(resting, x, y):
    resting.desktop.display.move_mouse(x, y)
    assert resting.wait_end() == 0
    assert "Mouse moved -- Quitting screensaver" in resting.desktop.log()


def test_small_mouse_motions_add_up(resting, four_pictures):
    resting.desktop.display.move_mouse(130, 100)
    assert_goes_on(resting, four_pictures)
    resting.desktop.display.move_mouse(160, 100)
    assert resting.wait_end() == 0


def test_mouse_threshold_is_the_systems(desktop, four_pictures):
    desktop.hand.set_dword("HKLM", SYSTEM_KEY, "Mouse Threshold", 10)
    desktop.display.move_mouse(100, 100)
    desktop.slides(four_pictures)
    run = desktop.start("/s").wait_for_show()
    desktop.display.move_mouse(110, 110)
    assert_goes_on(run, four_pictures)
    desktop.display.move_mouse(111, 100)
    assert run.wait_end() == 0


def test_mouse_motion_during_the_set_up_does_not_count(desktop, four_pictures):
    desktop.display.move_mouse(10, 10)
    desktop.slides(four_pictures)
    run = desktop.start("/s")
    with run.suspended_in_set_up():
        desktop.display.move_mouse(200, 200)
    run.wait_for_show()
    assert_goes_on(run, four_pictures)
    assert run.quit() == 0


@pytest.mark.parametrize("key", ["q", "Escape", "Return", "Shift_L", "F1"])
def test_any_key_ends_it(show, key):
    show.desktop.display.key(key)
    assert show.wait_end() == 0
    assert "Key pressed -- Quitting screensaver" in show.desktop.log()


@pytest.mark.parametrize("button", [1, 2, 3])
def test_mouse_button_ends_it(show, button):
    show.desktop.display.click(button)
    assert show.wait_end() == 0


def test_keys_and_messages_that_do_not_end_it(show, four_pictures):
    display, hand, window = show.desktop.display, show.desktop.hand, show.window()["hwnd"]
    for key in ("Left", "Right", "Up", "Down"):
        display.key(key)
    hand.ask("post", window, WM_CLOSE, 0, 0)
    for command in (SC_CLOSE, SC_NEXTWINDOW, SC_PREVWINDOW, SC_SCREENSAVE):
        assert hand.value("send", window, WM_SYSCOMMAND, command, 0) == 0
    display.key("alt+F4")
    assert_goes_on(show, four_pictures)
    assert "Key pressed -- Quitting screensaver" not in show.desktop.log()
    assert show.quit() == 0


def test_losing_the_focus_does_not_end_it(show, four_pictures):
    show.desktop.hand.ask("take-focus")
    assert_goes_on(show, four_pictures)


def test_pointer_is_hidden_while_the_saver_runs(resting):
    resting.desktop.display.move_mouse(110, 110)
    wait_until("the pointer is gone", lambda: not resting.desktop.hand.ask("cursor")["shown"],
               alive=resting.ended)
    assert resting.running()


def test_system_knows_that_a_saver_runs(show):
    assert show.desktop.saver_running()
    assert show.quit() == 0
    assert not show.desktop.saver_running()


PASSWORD_LINE = "WM_CLOSE: GetTickCount() - ss->InitTime > 1000*ss->PasswordDelay"


def test_close_within_the_password_delay_asks_for_nothing(desktop, four_pictures):
    desktop.hand.set_dword("HKLM", SYSTEM_KEY, "Password Delay", 3600)
    desktop.slides(four_pictures)
    assert desktop.start("/s").wait_for_show().quit() == 0
    assert PASSWORD_LINE not in desktop.log()


def test_close_after_the_password_delay_passes_without_a_password_library(desktop, four_pictures):
    desktop.hand.set_dword("HKLM", SYSTEM_KEY, "Password Delay", 1)
    desktop.slides(four_pictures)
    run = desktop.start("/s").wait_for_show()
    run.wait_for_next(four_pictures)  # more than a second goes by
    assert run.quit() == 0
    assert PASSWORD_LINE in desktop.log()
