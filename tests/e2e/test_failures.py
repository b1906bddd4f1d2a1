"""What the user is told when a session can't start."""

import pytest

from harness import pictures

from test_pictures import PROMPT_TEXT

STATES_FAILED = "Problem encountered in initStates()."


def answer(run, title, message):
    """Waits for a box, checks its text, and presses OK."""
    box = run.desktop.hand.wait_for_box(title, alive=run.ended)
    assert box["message"] == message
    run.desktop.hand.answer_box(box)


def assert_failed_session(run):
    """The box of the failed step, the prompt, and a clean end."""
    answer(run, "ERROR", STATES_FAILED)
    answer(run, "Error initializing", PROMPT_TEXT)
    assert run.wait_end() == 0
    desktop = run.desktop
    log = desktop.log()
    assert log[log.index("initStates() failed!") + 1:] == [
        "Calling SystemParametersInfo()", "Showing critical error dialog", log[-3],
        "Exiting screensaver.", "Successfully exiting WinMain"]
    assert log[-3] == "Average FPS: 100"
    assert [desktop.setting_dword(name)
            for name in ("CriticalError", "CrashFlag", "DoChecksum")] == [0, 0, 0]
    assert not desktop.saver_running()
    assert not desktop.hand.windows("VelmoraSaver")


def test_missing_bundle_is_told_and_the_session_ends(desktop):
    run = desktop.start("/s")
    answer(run, "ERROR", "Could not open slide bundle!")
    assert_failed_session(run)
    assert "Could not open the image bundle!" in desktop.log()


def test_without_a_direct3d_device_the_session_ends_with_the_prompt(desktop, four_pictures):
    """There is no way back to fast mode by itself: the prompt recommends it."""
    desktop.settings(FastMode=0)
    desktop.slides(four_pictures)
    desktop.hand.set_text("HKCU", r"Software\Wine\Direct3D", "renderer", "no3d")
    try:
        assert_failed_session(desktop.start("/s"))
        assert "CreateDevice failed" in desktop.log()
        assert desktop.setting_dword("FastMode") == 0
    finally:
        desktop.hand.delete_tree("HKCU", r"Software\Wine\Direct3D")


def test_critical_error_stands_in_the_registry_while_the_box_is_up(desktop):
    run = desktop.start("/s")
    answer(run, "ERROR", "Could not open slide bundle!")
    box = desktop.hand.wait_for_box("ERROR", alive=run.ended)
    assert desktop.setting_dword("CriticalError") == 1
    run.kill()
    assert desktop.setting_dword("CriticalError") == 1
    assert box["message"] == STATES_FAILED


def test_box_does_not_keep_the_display_or_the_system_in_saver_state(desktop):
    run = desktop.start("/s")
    answer(run, "ERROR", "Could not open slide bundle!")
    box = desktop.hand.wait_for_box("ERROR", alive=run.ended)
    assert not desktop.saver_running()
    desktop.hand.answer_box(box)


def test_next_start_after_a_failure_is_an_ordinary_one(desktop, four_pictures):
    run = desktop.start("/s")
    answer(run, "ERROR", "Could not open slide bundle!")
    assert_failed_session(run)
    desktop.slides(four_pictures)
    run = desktop.start("/s").wait_for_show()
    assert not desktop.hand.boxes()
    assert run.wait_for_picture(four_pictures[0])
    assert run.quit() == 0


def test_preview_of_a_missing_bundle_takes_its_host_along_only_in_words(desktop):
    """The preview's failure neither closes the host's window nor hangs."""
    frame = desktop.hand.value("open-preview-frame", 100, 80)
    run = desktop.start("/p", frame)
    answer(run, "ERROR", "Could not open slide bundle!")
    answer(run, "ERROR", STATES_FAILED)
    answer(run, "Error initializing", PROMPT_TEXT)
    assert run.wait_end() == 0
    assert [w["text"] for w in desktop.hand.windows("Static")] == ["Preview frame"]


def test_show_of_a_single_picture_goes_on_and_on(desktop):
    shown = pictures.picture("only.bmp", 320, 240, 0)
    desktop.slides([shown])
    run = desktop.start("/s").wait_for_show()
    run.wait_for_picture(shown)
    assert run.quit() == 0
