"""Settings, as the running program reads and writes them in the registry."""

import struct

import pytest

from harness.deskhand import REG_BINARY, REG_DWORD, REG_SZ
from harness.saver import SETTINGS_KEY, SYSTEM_KEY
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


NUMBERS = [name for _, name, _ in SHOWN] + [
    "DebugLog", "BitmapText", "StretchWallpaper", "ShowSpeedtip", "ShowBugReport", "CrashFlag",
    "DoChecksum", "CriticalError", "BlankAllScreens", "AutoPerformance", "ShowCaptions",
    "CaptionFontSize", "CaptionOrientation", "CaptionItalic", "CaptionBold"]
TEXTS = ["MusicVol", "AvgFps", "ImageDelay", "DispModeWidth", "DispModeHeight", "DispModeBits",
         "CaptionFont"]
REG_NONE, REG_EXPAND_SZ, REG_MULTI_SZ, REG_QWORD, UNKNOWN_TYPE = 0, 2, 7, 11, 4711
# Forms that no setting has, and texts as short and as long as one may be.
FORMS = [
    (REG_DWORD, b""), (REG_SZ, b""), (REG_DWORD, bytes(3)), (REG_DWORD, b"\1" * 8),
    (REG_BINARY, b"\xff" * 4), (REG_SZ, b"7" * 1023), (REG_SZ, b"\xff" * 5001), (REG_NONE, b"\1"),
    (REG_EXPAND_SZ, b"%PATH%"), (REG_MULTI_SZ, b"a\0b\0\0"), (REG_QWORD, b"\1" * 8),
    (UNKNOWN_TYPE, b"x" * 70000)]


def store_odd_values(hand, shift):
    """Each value in one of the odd forms; which one follows from `shift`."""
    places = ([("HKCU", SETTINGS_KEY, name) for name in NUMBERS + TEXTS]
              + [("HKLM", SYSTEM_KEY, name)
                 for name in ("Password Delay", "Mouse Threshold", "Mute Sound")]
              + [("HKLM", SETTINGS_KEY, "VideoGUID")])
    for number, place in enumerate(places):
        hand.set_raw(*place, *FORMS[(number + shift) % len(FORMS)])


@pytest.mark.parametrize("shift", [0, 5])
def test_values_of_any_type_and_length_stop_neither_the_saver_nor_the_dialog(empty, shift):
    store_odd_values(empty.hand, shift)
    # These of all are looked at by the test itself.
    for name in ("DebugLog", "PlayMusic", "DispModeWidth"):
        empty.hand.delete_value("HKCU", SETTINGS_KEY, name)
    empty.settings(PlayMusic=0)
    run = empty.start("/s").wait_for_show()
    assert run.quit() == 0
    empty.settings(AvgFps="60.000000")  # a slow one would bring the tips first
    run = empty.start("/c")
    window = empty.hand.wait_for_box("Velmora 2  v 1.0", alive=run.ended)
    empty.hand.ask("post", window["hwnd"], 0x0111, 1, 0)  # its OK stores all settings
    assert run.wait_end() == 0
    for name in set(NUMBERS) - {"CrashFlag", "DoChecksum", "CriticalError"}:
        assert empty.setting_dword(name) is not None
    assert empty.setting_text("CaptionFont") is not None


def test_numbers_far_out_of_their_range_do_no_harm(desktop, four_pictures):
    """In both modes; a delay that is no time at all means one picture after the other."""
    desktop.slides(four_pictures, [(p.name, "a caption") for p in four_pictures])
    most, least = 0x7FFFFFFF, 0x80000000
    desktop.settings(CramSize=least, CaptionFontSize=most, CaptionOrientation=most, ShowCaptions=1,
                     MusicVol="-99999999999", AvgFps="nan", ImageDelay="-1e30", MipMap=least,
                     StretchWallpaper=most, SetAsWallpaper=most, CaptionFont="\xff" * 900)
    for fast, delay in ((1, "-1e30"), (1, "inf"), (0, "nan")):
        desktop.settings(FastMode=fast, ImageDelay=delay)
        run = desktop.start("/s").wait_for_show()
        assert run.quit() == 0
        assert desktop.log()[-1] == "Successfully exiting WinMain"


def test_display_mode_is_stored_as_text(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.settings(DispModeWidth="320", DispModeHeight="240", DispModeBits="32")
    run = desktop.start("/s").wait_for_show()
    assert "320x240x32" in desktop.log()
    assert run.quit() == 0


def test_display_mode_of_the_wrong_type_means_no_change(desktop, four_pictures):
    """A number isn't a text, so the default stands."""
    desktop.slides(four_pictures)
    # Taken for texts, their bytes would read "400", "300" and "32".
    desktop.settings(DispModeWidth=0x303034, DispModeHeight=0x303033, DispModeBits=0x3233)
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
