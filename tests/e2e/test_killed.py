"""A saver that is ended from outside, at any stage: what the next start does.

Nothing of the program runs when a process is killed: what stands on the disk, in
the registry and on the screen stays as it was at that moment.
"""

import os
import signal
import time

import numpy
import pytest

from harness import pictures
from harness.integrity import WholeInstallation
from harness.saver import SETTINGS_KEY
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)

RUN_FLAGS = {"CrashFlag", "DoChecksum", "CriticalError", "AvgFps"}
INITIALIZING = "Error initializing"
LAST_RUN_FAILED = (
    "The screen saver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\n"
    "We're sorry for the inconvenience.")
DAMAGED_TITLE = "Encountered corrupted file(s)"
DAMAGED = (
    "One or more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.")


def kill(run):
    """As the kernel does it."""
    os.kill(run.process.pid, signal.SIGKILL)
    run.wait_end()


def terminate(run):
    """As the task manager does it."""
    window = run.desktop.hand.windows("VelmoraSaver")[0]
    run.desktop.hand.ask("end-process", window["pid"])
    run.wait_end()


def settings(desktop):
    """All stored settings but the flags of a run, as they stand there."""
    hand = desktop.hand
    return {name: hand.get_raw("HKCU", SETTINGS_KEY, name)
            for name in hand.value_names("HKCU", SETTINGS_KEY) if name not in RUN_FLAGS}


def flags(desktop):
    return [desktop.setting_dword(n) for n in ("CriticalError", "CrashFlag", "DoChecksum")]


def matches(desktop, shown):
    return pictures.which(desktop.display.shot(), shown)


def mean_colour(picture):
    return picture.mean(axis=(0, 1))


def between_pictures(desktop, shown):
    """Whether the screen's colour lies between those of the pictures."""
    now = mean_colour(desktop.display.shot())
    return min(float(numpy.abs(now - mean_colour(p.pixels)).max()) for p in shown) > 30


def to_set_up(run, shown):
    run.wait_for_log("Enter function: initStates")


def to_first_picture(run, shown):
    run.wait_for_picture(shown[0])


def to_later_picture(run, shown):
    run.wait_for_show().wait_for_next(shown)


def to_wipe(run, shown):
    run.wait_for_show()
    wait_until("a wipe", lambda: not matches(run.desktop, shown), alive=run.ended)


def to_crossfade(run, shown):
    run.wait_for_show()
    wait_until("a slide", lambda: not between_pictures(run.desktop, shown), alive=run.ended)
    wait_until("a crossfade", lambda: between_pictures(run.desktop, shown), alive=run.ended)


class Missed(Exception):
    """The program was through with the stage before it could be ended there."""


def to_tear_down(run, shown):
    """The program gets its time in slices, so that it is stopped half way."""
    run.wait_for_show()
    os.setpriority(os.PRIO_PROCESS, run.process.pid, 10)
    run.process.send_signal(signal.SIGSTOP)
    run.desktop.display.key("q")

    def tearing_down():
        run.process.send_signal(signal.SIGCONT)
        time.sleep(0.001)
        run.process.send_signal(signal.SIGSTOP)
        return "Exited main loop." in run.log_text()

    wait_until("the tear-down", tearing_down, 180, step=0, alive=run.ended)
    if run.desktop.setting_dword("DoChecksum") == 0:  # cleared as the run's last act but a log line
        run.process.send_signal(signal.SIGCONT)
        raise Missed


STAGES = [
    (to_set_up, terminate, {}),
    (to_first_picture, terminate, {}),
    (to_later_picture, kill, {}),
    (to_wipe, terminate, {}),
    (to_crossfade, kill, dict(FastMode=0, Crossfade=1, ImageDelay="1.000000")),
    (to_tear_down, kill, {}),
]


def reached(desktop, shown, reach, attempts=8):
    """A start that has reached a stage."""
    for _ in range(attempts):
        run = desktop.start("/s")
        try:
            reach(run, shown)
        except Missed:
            run.wait_end()
            continue
        return run
    raise AssertionError(f"{reach.__name__}: missed each time")


def kill_at(desktop, shown, reach, end):
    end(reached(desktop, shown, reach))
    assert flags(desktop)[0] == 0, "nothing had failed"
    assert desktop.setting_dword("DoChecksum") == 1, "the run hasn't reached its end"
    # The next log may begin in the same second, and couldn't be told from it.
    (desktop.data_folder() / "VelmoraLog.txt").unlink()


def test_saver_killed_at_any_stage_starts_anew_with_its_settings(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.settings(MusicVol=77, CaptionFont="Courier New")
    plain = dict(FastMode=1, Crossfade=1, ImageDelay="0.400000")
    for reach, end, stored in STAGES:
        desktop.settings(**{**plain, **stored})
        before = settings(desktop)
        kill_at(desktop, four_pictures, reach, end)
        assert settings(desktop) == before, reach.__name__

    run = desktop.start("/s").wait_for_show()
    assert not desktop.hand.boxes()
    run.wait_for_next(four_pictures)
    assert run.quit() == 0
    assert flags(desktop) == [0, 0, 0]
    assert settings(desktop) == before


def test_start_after_a_killed_dialog_is_an_ordinary_one(desktop, four_pictures):
    desktop.slides(four_pictures)
    before = settings(desktop)
    run = desktop.start("/c")
    wait_until("the dialog", lambda: desktop.hand.boxes(), alive=run.ended)
    kill(run)
    assert settings(desktop) == before
    run = desktop.start("/s").wait_for_show()
    assert run.quit() == 0
    assert flags(desktop) == [0, 0, 0]


def test_display_mode_of_a_killed_saver_was_a_temporary_one(wall, four_pictures):
    """Windows takes a temporary mode back when its program ends. Wine doesn't, so
    this shows that the desktop's own mode is still what is stored."""
    desktop = wall([(1024, 768, 0, 0)])
    desktop.settings(DispModeWidth="800", DispModeHeight="600", DispModeBits="32")
    run = desktop.start("/s").wait_for_show()
    assert desktop.display.mode() == (800, 600)
    kill(run)
    assert desktop.hand.value("restore-display-mode") == 0
    assert desktop.display.mode() == (1024, 768)
    assert desktop.start("/s").wait_for_show().quit() == 0
    assert desktop.display.mode() == (1024, 768)


@pytest.fixture
def whole(desktop, four_pictures):
    """A complete installation."""
    desktop.slides(four_pictures)
    files = WholeInstallation(desktop)
    yield files
    files.remove()


def killed_with_an_error(desktop):
    """A run that is killed while it tells of a failed set-up."""
    run = desktop.start("/s")
    hand = desktop.hand
    hand.answer_box(hand.wait_for_box("ERROR", alive=run.ended))
    hand.wait_for_box("ERROR", alive=run.ended)
    kill(run)
    assert desktop.setting_dword("CriticalError") == 1


def test_failure_of_a_killed_run_is_told_at_the_next_start(desktop, four_pictures, whole):
    (desktop.install / "images.bdl").rename(desktop.install / "aside")
    killed_with_an_error(desktop)
    (desktop.install / "aside").rename(desktop.install / "images.bdl")

    run = desktop.start("/s")
    box = desktop.hand.wait_for_box(INITIALIZING, alive=run.ended)
    assert box["message"] == LAST_RUN_FAILED
    assert not run.log_text(), "the prompt comes before all else"
    desktop.hand.answer_box(box)
    run.wait_for_show()
    assert flags(desktop)[0] == 0
    assert run.quit() == 0
    run = desktop.start("/s").wait_for_show()
    assert not desktop.hand.boxes(), "it is told once"
    assert run.quit() == 0


def test_damage_found_after_a_killed_run_is_told_and_ends_the_start(desktop, whole):
    (desktop.install / "images.bdl").rename(desktop.install / "aside")
    killed_with_an_error(desktop)

    run = desktop.start("/s")
    box = desktop.hand.wait_for_box(DAMAGED_TITLE, alive=run.ended)
    assert box["message"] == DAMAGED
    assert desktop.setting_dword("CriticalError") == 1
    desktop.hand.answer_box(box)
    assert run.wait_end() == 0
    assert flags(desktop) == [0, 0, 0]
    assert not run.log_text()
    assert desktop.hand.value("take-mutex", "VelmoraSaver", 0) in (0, 0x80)
    desktop.hand.ask("release-mutex")

    (desktop.install / "aside").rename(desktop.install / "images.bdl")
    run = desktop.start("/s").wait_for_show()
    assert not desktop.hand.boxes(), "the next start is clean"
    assert run.quit() == 0


def test_error_of_a_killed_runs_show_is_not_told_if_the_files_are_good(desktop, whole):
    desktop.settings(CriticalError=2)
    run = desktop.start("/s").wait_for_show()
    assert not desktop.hand.boxes()
    assert flags(desktop)[0] == 0
    assert run.quit() == 0


def test_error_of_a_killed_runs_show_leads_to_the_check_of_the_files(desktop, whole):
    whole.damage("BTNexgenIPL32.dll")
    desktop.settings(CriticalError=2)
    run = desktop.start("/c")
    box = desktop.hand.wait_for_box(DAMAGED_TITLE, alive=run.ended)
    assert box["message"] == DAMAGED
    desktop.hand.answer_box(box)
    assert run.wait_end() == 0
    assert flags(desktop) == [0, 0, 0]


def test_without_an_error_nobody_checks_the_files(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.settings(CriticalError=0, CrashFlag=1, DoChecksum=1)
    (desktop.install / "chk.sum").unlink(missing_ok=True)
    run = desktop.start("/s").wait_for_show()
    assert not desktop.hand.boxes()
    assert run.quit() == 0
