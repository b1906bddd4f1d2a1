"""What each switch on the command line starts."""

import pytest

from harness.saver import MUTEX
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)

SAVER = "Running in normal Screensaver mode."
PREVIEW = "Running in Preview mode."
CONFIG = "In config mode...Initializing dialog structures."
MODES = {SAVER, PREVIEW, CONFIG}
END = ["Exiting configuration", "Successfully exiting WinMain"]


@pytest.fixture
def staged(desktop, four_pictures):
    desktop.slides(four_pictures)
    return desktop


def modes_of(desktop):
    return MODES & set(desktop.log())


@pytest.mark.parametrize("arguments", [
    ["s"], ["/s"], ["-s"], ["S"], ["/S"], ["screens"], ["/start"], ["-Sx", "y"],
    ["/s", "/dumpType", "2"], ["/s", "/dumpType", "-1"], ["/s", "/dumpType"]], ids=" ".join)
def test_letter_s_starts_the_saver(staged, arguments):
    run = staged.start(*arguments)
    run.wait_for_log(SAVER)
    assert modes_of(staged) == {SAVER}
    assert run.window()["exstyle"] & 8, "topmost"


@pytest.mark.parametrize("arguments", [[], ["c"], ["/c"], ["-C"], ["/c:1234"], ["/c", "1234"],
                                       ["/config"]], ids=lambda a: " ".join(a) or "none")
def test_letter_c_or_nothing_starts_the_configuration(staged, arguments):
    run = staged.start(*arguments)
    run.wait_for_log("Opening dialog box")
    assert modes_of(staged) == {CONFIG}
    assert not staged.hand.windows("VelmoraSaver")


@pytest.mark.parametrize("program", ["Velmora2.exe", "VELMORA2.EXE"])
@pytest.mark.parametrize("arguments", [["/s"], ["/p", "123"], ["/x"], []],
                         ids=lambda a: " ".join(a) or "none")
def test_program_named_exe_always_starts_the_configuration(staged, program, arguments):
    run = staged.start(*arguments, program=program)
    run.wait_for_log("Opening dialog box")
    assert modes_of(staged) == {CONFIG}


def test_preview_letter_with_a_window_starts_the_preview(staged):
    frame = staged.hand.value("open-preview-frame", 100, 80)
    staged.start("/p", frame).wait_for_log(PREVIEW)
    assert modes_of(staged) == {PREVIEW}


@pytest.mark.parametrize("arguments", [["/x"], ["d"], ["/dumpType", "1"], ["-"], ["/"], ["/?"],
                                       ["1234"], ["%s%n"]], ids=" ".join)
def test_other_letters_start_nothing_and_end_cleanly(staged, arguments):
    run = staged.start(*arguments)
    assert run.wait_end() == 0
    assert modes_of(staged) == set()
    assert staged.log()[-2:] == END
    assert staged.setting_text("AvgFps") is None


def test_letter_a_asks_for_the_password_change_and_ends(staged):
    run = staged.start("/a", "0")
    assert run.wait_end() == 0
    assert modes_of(staged) == set()
    assert staged.log()[-2:] == END


def test_start_with_nothing_to_do_waits_for_a_running_saver(staged):
    assert staged.hand.value("take-mutex", MUTEX, 0) == 0
    run = staged.start("/x")
    wait_until("the data folder, made before the wait", staged.data_folder().is_dir,
               alive=run.ended)
    assert run.running() and staged.log() == []
    staged.hand.value("release-mutex")
    assert run.wait_end() == 0
    assert staged.log()[-2:] == END


@pytest.mark.parametrize("arguments", [["/z"], ["-Z"]], ids=" ".join)
def test_install_switch_starts_the_configuration_anew(staged, arguments):
    run = staged.start(*arguments)
    assert run.wait_end() == 0
    wait_until("the dialog of the new process", lambda: CONFIG in staged.log())
    assert modes_of(staged) == {CONFIG}


def test_path_with_blanks_is_no_argument(staged):
    """The install folder's name has a blank, so Windows quotes the path."""
    assert " " in staged.install.name
    run = staged.start("/s", program="Velmora 2 (copy).scr")
    run.wait_for_log(SAVER)
    folder = staged.prefix.windows_path(staged.install)
    assert f"Path: {folder}\\Velmora 2 (copy).scr" in staged.log()


def test_path_without_blanks_is_no_argument(staged):
    plain = staged.prefix.path / "drive_c" / "Saver"
    staged.install.rename(plain)
    staged.install = plain
    staged.start("/s").wait_for_log(SAVER)
    assert "Path: C:\\Saver\\Velmora2.scr" in staged.log()


def test_help_of_letters_in_the_folders_name_does_not_count(staged):
    odd = staged.prefix.path / "drive_c" / "uninstall exe dumpType"
    staged.install.rename(odd)
    staged.install = odd
    run = staged.start("/s")
    run.wait_for_log(SAVER)
    assert modes_of(staged) == {SAVER}


ENDLESS = 30000  # characters; the system's own limit is at 32767


@pytest.mark.parametrize("arguments, mode", [
    (["/s" + "x" * ENDLESS], SAVER),
    (["/s", "/dumpType", "9" * ENDLESS], SAVER),
    (["/s"] + ["/dumpType"] * (ENDLESS // 10), SAVER),
    (["/c", "x" * ENDLESS], CONFIG),
    (["/x", '"' * (ENDLESS // 2)], None),
    (["\\" * ENDLESS], None),
], ids=["one word", "number", "many words", "dialog", "quotes", "backslashes"])
def test_command_line_of_any_length_is_read(staged, arguments, mode):
    run = staged.start(*arguments)
    if mode:
        run.wait_for_log(mode)
    else:
        assert run.wait_end() == 0
    assert modes_of(staged) == ({mode} if mode else set())


def test_preview_in_a_window_that_there_cannot_be_ends(staged):
    run = staged.start("/p", "9" * ENDLESS)
    box = wait_until("a box", staged.hand.boxes, alive=run.ended)[0]
    assert box["text"] == "Error initializing"
    staged.hand.answer_box(box)
    assert run.wait_end() == 0
