"""The log of a whole run."""

import re
import time

import pytest

from harness.saver import SYSTEM_KEY

pytestmark = pytest.mark.display(width=320, height=240)

HEAD, FOOT = b"-" * 46 + b" Log begins on ", b"-" * 47 + b" Log ends on "
TIME = rb"(Mon|Tue|Wed|Thu|Fri|Sat|Sun) [A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d \d{4}\0"
LINE = re.compile(rb"[A-Z><!] ( *[^ \[]+)\[\d{4}\]\d\d/\d\d \d\d:\d\d:\d\d .*")


def scope(name):
    return [f" +- Enter function: {name}", f" +- Exit function: {name}"]


def block(name):
    return [f" +- Begin block: {name}", f" +- End block: {name}"]


def expected_run(desktop, fast, wallpaper):
    """Every line of a saver run that a key ends, in order."""
    install = desktop.prefix.windows_path(desktop.install)
    data = desktop.prefix.windows_path(desktop.data_folder())
    return [
        "Velmora 2 started.", "Version: 1", "OS is Unknown", f"Path: {install}\\Velmora2.scr",
        f"AppData Path: {data}\\", "Running in normal Screensaver mode.",
        *scope("DoSaver()"),
        *block("currentMode settings:"),
        "DeviceName: ...", "Driver version: ...", "BitsPerPel: 32", "Resolution: 320x240",
        "Freq: ...", "Requested mode:", "NO CHANGE",
        *block("Screensaver settings:"),
        f"Fast mode: {fast}", "Play Music: 0", "Custom Music: 0", "Default Music: 1",
        "Shuffle playlist: 1", f"Set as wallpaper: {wallpaper}", "Random images: 0", "Animate: 1",
        "Crossfade: 1", "Cram images: 1", "Image cram size: 1024", "Mipmap: 1",
        "Calling CreateWindow()", "Num Monitors: 1", "AdjustChildWindows() successful",
        *scope("initStates"),
        *(["Running in fast mode"] if fast else
          ["Video card: ...", "Max texture size: ...", *scope("initD3D()"),
           "Successfully exiting initD3D()"]),
        "Showing window via ShowWindow()", "Entering main loop...",
        "Key pressed -- Quitting screensaver", "WM_CLOSE: Checking PasswordDelay",
        "WM_CLOSE: CanClose == true, Calling DestroyWindow()", "PostQuitMessage(0)",
        "Exited main loop.", "ReleaseDC(hScrWindow,hDC)", "SystemParametersInfo()",
        "Hiding child windows, if any",
        *scope("ShutdownSound()"), "Successfully exiting ShutdownSound()",
        *scope("CleanUp()"),
        *(["Saving images as wallpaper"] if wallpaper else []),
        "Deleting slideshow object",
        *(["Deleting fast mode device contexts"] if fast else
          ["Setting current texture to NULL", "Deleting graphics object"]),
        "Deleting slide bundles", "Deleting dimension list", "Successfully exiting CleanUp()",
        "DestroyWindow(hparwnd)", "UnregisterClass()", "Average FPS: ...", "Exiting screensaver.",
        "Successfully exiting WinMain",
    ]


def without_variables(line):
    """What depends on the machine becomes "..."."""
    return re.sub(r"^(DeviceName|Driver version|Freq|Average FPS|Video card|Max texture size): .*",
                  r"\1: ...", line)


@pytest.mark.parametrize("fast, wallpaper", [(1, 0), (1, 1), (0, 1)])
def test_whole_run_line_by_line(desktop, four_pictures, fast, wallpaper):
    desktop.settings(FastMode=fast, SetAsWallpaper=wallpaper)
    desktop.hand.set_dword("HKLM", SYSTEM_KEY, "Password Delay", 3600)  # doesn't pass meanwhile
    desktop.slides(four_pictures)
    run = desktop.start("/s").wait_for_show()
    assert run.quit() == 0
    log = [without_variables(line) for line in desktop.log()]
    assert log == expected_run(desktop, fast, wallpaper)


def test_head_and_foot_carry_the_time_with_a_nul(show):
    show.quit()
    rows = show.desktop.log_bytes().split(b"\r\n")
    assert re.fullmatch(HEAD + TIME + b" " + b"-" * 46, rows[0])
    assert re.fullmatch(FOOT + TIME + b" " + b"-" * 47, rows[-6])
    assert rows[-5:] == [b""] * 5, "four empty lines close the log"


def test_each_line_tells_mark_place_and_time(show):
    days = [time.strftime("%m/%d").encode()]
    show.quit()
    days.append(time.strftime("%m/%d").encode())
    rows = show.desktop.log_bytes().split(b"\r\n")[1:-6]
    for row in rows:
        match = LINE.fullmatch(row)
        assert match and len(match[1]) == 12, row
        assert match[1].strip() == b"Minimal"
    assert rows[-1].split(b"]")[1][:5] in days
    assert rows[0].startswith(b"I ")
    assert any(row.startswith(b"F ") and b" +- Enter function: CleanUp()" in row for row in rows)
    assert any(row.startswith(b"> ") and b" +- Begin block: " in row for row in rows)
    assert any(row.startswith(b"< ") and b" +- End block: " in row for row in rows)


def test_log_is_on_the_disk_while_the_saver_runs(show):
    assert show.running()
    assert show.desktop.log()[-1] == "Entering main loop..."
    show.kill()
    assert show.desktop.log()[-1] == "Entering main loop..."


def test_each_run_starts_a_new_log(show, four_pictures):
    show.quit()
    again = show.desktop.start("/s").wait_for_show()
    assert again.quit() == 0
    assert show.desktop.log_bytes().count(b"Log begins on") == 1
    assert show.desktop.log().count("Velmora 2 started.") == 1


def test_setting_off_writes_no_log(desktop, four_pictures):
    desktop.settings(DebugLog=0)
    desktop.slides(four_pictures)
    run = desktop.start("/s")
    run.wait_for_next(four_pictures)
    assert run.quit() == 0
    assert desktop.log_bytes() == b""
    assert desktop.data_folder().is_dir()
