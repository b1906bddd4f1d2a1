"""Settings, as the running program reads and writes them in the registry."""

import struct

import pytest

from harness.deskhand import REG_BINARY, REG_DWORD, REG_SZ
from harness.saver import SETTINGS_KEY
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)

# What the log tells of the settings: label, value name, default.
SHOWN = [
    ("Fast mode", "FastMode", 0), ("Play Music", "PlayMusic", 1),
    ("Custom Music", "CustomMusic", 0), ("Default Music", "DefaultMusic", 1),
    ("Shuffle playlist", "ShuffleMusic", 1), ("Set as wallpaper", "SetAsWallpaper", 0),
    ("Random images", "RandomOrder", 1), ("Animate", "Animate", 1),
    ("Crossfade", "Crossfade", 1), ("Cram images", "CramImages", 1),
    ("Image cram size", "CramSize", 1024), ("Mipmap", "MipMap", 1),
]


@pytest.fixture
def empty(bare_desktop, four_pictures):
    """A desktop without any setting stored."""
    bare_desktop.slides(four_pictures)
    return bare_desktop


def settings_in_log(desktop):
    """Starts the saver, reads the settings from its log, and kills it."""
    run = desktop.start("/s")
    run.wait_for_log("Mipmap: ")
    log = desktop.log()
    run.kill()
    return {label: int(line.removeprefix(label + ": ")) for label, _, _ in SHOWN
            for line in log if line.startswith(label + ": ")}


def test_empty_registry_gives_the_defaults(empty):
    assert empty.hand.value_names("HKCU", SETTINGS_KEY) is None
    assert settings_in_log(empty) == {label: default for label, _, default in SHOWN}


def test_every_stored_value_is_read(empty):
    empty.settings(**{name: 512 if name == "CramSize" else 1 - default
                      for _, name, default in SHOWN})
    assert settings_in_log(empty) == {
        label: 512 if label == "Image cram size" else 1 - default for label, _, default in SHOWN}


@pytest.mark.parametrize("kind, data", [
    (REG_BINARY, bytes(8)), (REG_SZ, b"0000000\0"), (REG_BINARY, bytes(600))],
    ids=["eight bytes", "text", "six hundred bytes"])
def test_value_of_a_wrong_form_keeps_the_default(empty, kind, data):
    for _, name, _ in SHOWN:
        empty.hand.set_raw("HKCU", SETTINGS_KEY, name, kind, data)
    assert settings_in_log(empty) == {label: default for label, _, default in SHOWN}


def test_display_mode_is_stored_as_text(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.settings(DispModeWidth="320", DispModeHeight="240", DispModeBits="32")
    run = desktop.start("/s").wait_for_show()
    assert "320x240x32" in desktop.log()
    assert run.quit() == 0


def test_display_mode_of_the_wrong_type_means_no_change(desktop, four_pictures):
    """As a number its bytes aren't digits, and what isn't a number reads as 0."""
    desktop.slides(four_pictures)
    desktop.settings(DispModeWidth=7, DispModeHeight=7, DispModeBits=7)
    run = desktop.start("/s").wait_for_show()
    assert "NO CHANGE" in desktop.log()
    assert run.quit() == 0


def test_flags_stand_while_a_saver_runs_and_fall_at_its_end(show):
    hand = show.desktop.hand
    wait_until("the main loop", lambda: show.desktop.setting_dword("CrashFlag") == 0)
    for name, value in (("CrashFlag", 0), ("DoChecksum", 1), ("CriticalError", 0)):
        assert hand.get_raw("HKCU", SETTINGS_KEY, name) == (REG_DWORD, struct.pack("<I", value))
    assert show.quit() == 0
    assert [show.desktop.setting_dword(name)
            for name in ("CrashFlag", "DoChecksum", "CriticalError")] == [0, 0, 0]


def test_crash_flag_stands_during_the_set_up(desktop, four_pictures):
    desktop.slides(four_pictures)
    with desktop.start("/s").suspended_in_set_up():
        assert desktop.setting_dword("CrashFlag") == 1


def test_flags_of_a_killed_saver_stay_for_the_next_start(desktop, four_pictures):
    desktop.slides(four_pictures)
    run = desktop.start("/s")
    with run.suspended_in_set_up():
        run.process.kill()
    run.wait_end()
    assert desktop.setting_dword("CrashFlag") == 1
    assert desktop.setting_dword("DoChecksum") == 1


def test_average_frame_rate_is_stored_as_text(show, four_pictures):
    show.wait_for_next(four_pictures)
    assert show.quit() == 0
    kind, data = show.desktop.hand.get_raw("HKCU", SETTINGS_KEY, "AvgFps")
    assert kind == REG_SZ
    rate = data.split(b"\0")[0].decode()
    assert 0 < float(rate) < 1000
    assert f"Average FPS: {rate}" in show.desktop.log()


def test_saver_run_writes_nothing_but_its_own_values(show):
    before = set(show.desktop.hand.value_names("HKCU", SETTINGS_KEY))
    assert show.quit() == 0
    after = set(show.desktop.hand.value_names("HKCU", SETTINGS_KEY))
    assert after - before <= {"AvgFps"}
    assert before >= {"CrashFlag", "DoChecksum", "CriticalError"}
