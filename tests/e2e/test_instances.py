"""One saver at a time: who waits for whom, and for how long."""

import time

import pytest

from harness.saver import MUTEX
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)
LIMIT_SECONDS = 15


def shows_no_window(run):
    """The saver windows that don't belong to an older run."""
    return len(run.desktop.hand.windows("VelmoraSaver")) <= 1


@pytest.fixture
def second(show):
    """A second saver, on its way to wait for the first."""
    hand = show.desktop.hand
    assert hand.value("mutex-exists", MUTEX) == 1
    run = show.desktop.start("/s")
    wait_until("two savers", lambda: hand.value("count-programs", "Velmora2.scr") == 2,
               alive=run.ended)
    return run


# A second saver that waits does so for fifteen seconds, which may be few: until it is looked
# at, no more than one picture is waited for.

def test_second_saver_waits_for_the_first_to_end(show, second, four_pictures):
    show.wait_for_picture(*four_pictures)
    assert second.running() and shows_no_window(second)
    show.desktop.display.key("q")
    assert show.wait_end() == 0
    second.wait_for_show()
    assert second.quit() == 0


def test_second_saver_takes_over_from_one_that_was_killed(show, second, four_pictures):
    show.wait_for_picture(*four_pictures)
    assert second.running()
    show.kill()
    second.wait_for_show()
    assert second.quit() == 0


def test_second_saver_gives_up_after_fifteen_seconds_without_a_word(show, second):
    log = show.desktop.log_text()
    assert second.wait_end(60) == 0
    assert time.monotonic() - second.started >= LIMIT_SECONDS
    assert show.running() and shows_no_window(second)
    assert show.desktop.log_text().startswith(log), "the first one's log is untouched"
    assert not show.desktop.hand.boxes()


def test_saver_after_a_killed_one_starts_at_once(show):
    show.kill()
    run = show.desktop.start("/s")
    wait_until("the new saver's window", lambda: show.desktop.hand.windows("VelmoraSaver"),
               alive=run.ended)
    run.wait_for_show()
    assert run.quit() == 0


def test_preview_waits_for_a_running_saver(desktop, four_pictures):
    desktop.slides(four_pictures)
    frame = desktop.hand.value("open-preview-frame", 100, 80)
    saver = desktop.start("/s").wait_for_show()
    preview = desktop.start("/p", frame)
    saver.wait_for_picture(*four_pictures)
    assert preview.running() and not desktop.hand.children(frame)
    assert saver.quit() == 0
    wait_until("the preview", lambda: desktop.hand.children(frame), alive=preview.ended)


def test_preview_goes_on_after_fifteen_seconds(desktop, four_pictures):
    desktop.slides(four_pictures)
    assert desktop.hand.value("take-mutex", MUTEX, 0) == 0
    frame = desktop.hand.value("open-preview-frame", 100, 80)
    preview = desktop.start("/p", frame)
    wait_until("the preview", lambda: desktop.hand.children(frame), 60, alive=preview.ended)
    assert time.monotonic() - preview.started >= LIMIT_SECONDS
    desktop.hand.ask("close-preview-frame")
    assert preview.wait_end() == 0
    assert desktop.hand.value("release-mutex") == 1, "it was never taken from its owner"
