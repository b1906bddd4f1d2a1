"""What happens at the start after a run that died: the files are checked first."""

import shutil
import struct
import zlib

import pytest

from harness import places

from test_failures import answer

EARLIER_ERROR = (
    "The screen saver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\n"
    "We're sorry for the inconvenience.")
CORRUPTED = (
    "One or more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.")


@pytest.fixture
def installed(desktop):
    """The program as an installer leaves it: all that ships, and the saver's copy in
    the Windows folder."""
    shutil.copy2(places.install_folder() / "images.bdl", desktop.install)
    copy = desktop.prefix.path / "drive_c" / "windows" / "Velmora2.scr"
    shutil.copy2(desktop.install / "Velmora2.scr", copy)
    yield desktop
    copy.unlink(missing_ok=True)


def start_after_death(desktop, error):
    desktop.settings(CriticalError=error, CrashFlag=1, DoChecksum=1)
    return desktop.start("/s")


def assert_told_of_damage(desktop, error=1):
    run = start_after_death(desktop, error)
    answer(run, "Encountered corrupted file(s)", CORRUPTED)
    assert run.wait_end() == 0
    assert [desktop.setting_dword(name)
            for name in ("CriticalError", "CrashFlag", "DoChecksum")] == [0, 0, 0]


def test_what_ships_is_whole(installed):
    run = start_after_death(installed, 1)
    answer(run, "Error initializing", EARLIER_ERROR)
    run.wait_for_show()
    assert run.quit() == 0


def test_an_error_of_the_show_is_passed_over_in_silence(installed):
    run = start_after_death(installed, 2).wait_for_show()
    assert run.quit() == 0


def test_a_changed_byte_in_the_slides_is_told(installed):
    bundle = installed.install / "images.bdl"
    data = bytearray(bundle.read_bytes())
    data[len(data) // 2] ^= 1
    bundle.write_bytes(data)
    assert_told_of_damage(installed, 1)
    assert_told_of_damage(installed, 2)
    # Told once: the next start is an ordinary one.
    run = installed.start("/s").wait_for_show()
    assert run.quit() == 0


@pytest.mark.parametrize("name", ["chk.sum", "Velmora2.exe"])
def test_a_missing_file_is_told(installed, name):
    (installed.install / name).unlink()
    assert_told_of_damage(installed)


def test_own_slides_are_whole_once_they_are_summed_up(installed, four_pictures):
    installed.slides(four_pictures)
    assert_told_of_damage(installed)
    sums = installed.prefix.start(installed.install / "MakeBundle.exe", "sums", ".",
                                  cwd=installed.install)
    assert sums.wait() == 0
    run = start_after_death(installed, 2).wait_for_show()
    assert run.quit() == 0


# A DLL that is missing altogether keeps the program from starting at all.
@pytest.mark.parametrize("name", ["fmod.dll", "BTNexgenIPL32.dll"])
def test_a_changed_dll_is_told(installed, name):
    with (installed.install / name).open("ab") as file:
        file.write(b"!")
    assert_told_of_damage(installed)


def test_a_missing_copy_in_the_windows_folder_is_told(installed):
    (installed.prefix.path / "drive_c" / "windows" / "Velmora2.scr").unlink()
    assert_told_of_damage(installed)


def test_the_sums_are_those_of_the_files():
    folder = places.install_folder()
    words = struct.unpack("<8I", (folder / "chk.sum").read_bytes())
    names = ["BTNexgenIPL32.dll", "fmod.dll", "images.bdl", None, "Velmora2.scr", "Velmora2.scr",
             "Velmora2.exe", None]
    assert list(words) == [zlib.crc32((folder / name).read_bytes()) if name else 0
                           for name in names]
