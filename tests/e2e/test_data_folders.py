"""The users' data folders: how they are listed, and what an uninstall removes."""

import pytest

from harness.deskhand import REG_BINARY, REG_SZ
from harness.saver import FOLDERS_KEY, SETTINGS_KEY

READ_ONLY, HIDDEN = 1, 2


@pytest.fixture
def drive(desktop):
    return desktop.prefix.path / "drive_c"


def fill(folder):
    """A folder with a file, a subfolder with a file, and an empty one."""
    (folder / "inner" / "deeper").mkdir(parents=True)
    (folder / "empty").mkdir()
    for path in (folder / "VelmoraLog.txt", folder / "inner" / "a.bmp",
                 folder / "inner" / "deeper" / "b.m3u"):
        path.write_text("data")
    return folder


def contents(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*"))


def list_folder(desktop, name, windows_path):
    desktop.hand.set_text("HKLM", FOLDERS_KEY, name, windows_path)


def uninstall(desktop, *arguments):
    assert desktop.start(*(arguments or ["uninstall"])).wait_end() == 0


def test_uninstall_removes_the_listed_folders_and_the_list(desktop, drive):
    folders = [fill(drive / user / "Tarnwick" / "Velmora2") for user in ("ann", "bob")]
    for folder in folders:
        list_folder(desktop, folder.parents[1].name, desktop.prefix.windows_path(folder))
    uninstall(desktop)
    assert not any(folder.exists() for folder in folders)
    assert all(folder.parent.is_dir() for folder in folders), "their parent isn't ours alone"
    assert desktop.hand.value_names("HKLM", FOLDERS_KEY) is None
    assert desktop.hand.value_names("HKLM", SETTINGS_KEY) is not None


@pytest.mark.parametrize("word", ["uninstall", "/uninstall", "-UNINSTALL", "/Uninstall now"])
def test_uninstall_is_known_in_any_form(desktop, drive, word):
    folder = fill(drive / "ann" / "Tarnwick" / "Velmora2")
    list_folder(desktop, "ann", desktop.prefix.windows_path(folder))
    uninstall(desktop, *word.split())
    assert not folder.exists()


@pytest.mark.parametrize("tail", ["", "\\"], ids=["plain", "trailing backslash"])
def test_uninstall_takes_the_folder_in_any_case(desktop, drive, tail):
    folder = fill(drive / "ann" / "Tarnwick" / "Velmora2")
    list_folder(desktop, "ann", desktop.prefix.windows_path(folder).upper() + tail)
    uninstall(desktop)
    assert not folder.exists()


def test_uninstall_removes_read_only_and_hidden_files(desktop, drive):
    folder = fill(drive / "ann" / "Tarnwick" / "Velmora2")
    path = desktop.prefix.windows_path(folder)
    desktop.hand.ask("attributes", path + "\\VelmoraLog.txt", READ_ONLY)
    desktop.hand.ask("attributes", path + "\\inner\\a.bmp", READ_ONLY | HIDDEN)
    list_folder(desktop, "ann", path)
    uninstall(desktop)
    assert not folder.exists()


@pytest.mark.parametrize("listed", [
    "C:\\precious", "C:\\precious\\", "C:\\", "C:", "", "\\", "..", "*",
    "C:\\precious\\Velmora2", "C:\\precious\\Tarnwick", "C:\\precious\\Tarnwick\\Other",
    "C:\\precious\\Tarnwick\\Velmora2x", "C:\\precious\\xTarnwick\\Velmora2",
    "C:\\precious\\Tarnwick\\Velmora2\\..", "C:\\precious\\Tarnwick\\Velmora2\\..\\..",
    "C:\\precious\\Tarnwick\\Velmora2\\..\\..\\Tarnwick",
    "C:\\x\\Tarnwick\\Velmora2\\..\\..\\..\\precious", "C:\\precious\\inner\\..",
])
def test_uninstall_refuses_what_is_no_data_folder(desktop, drive, listed):
    precious = fill(drive / "precious")
    for name in ("Velmora2", "Tarnwick/Velmora2", "Tarnwick/Other", "Tarnwick/Velmora2x",
                 "xTarnwick/Velmora2"):
        (precious / name).mkdir(parents=True)
        (precious / name / "kept.txt").write_text("data")
    (drive / "x" / "Tarnwick" / "Velmora2").mkdir(parents=True)
    before = contents(precious)
    list_folder(desktop, "ann", listed)
    uninstall(desktop)
    assert contents(precious) == before
    assert desktop.install.is_dir()
    assert desktop.hand.value_names("HKLM", FOLDERS_KEY) is None, "the list goes all the same"


def test_uninstall_goes_on_behind_a_refused_folder(desktop, drive):
    precious, folder = fill(drive / "precious"), fill(drive / "bob" / "Tarnwick" / "Velmora2")
    list_folder(desktop, "ann", "C:\\precious")
    desktop.hand.set_raw("HKLM", FOLDERS_KEY, "odd", REG_BINARY, b"C:\\precious\0")
    desktop.hand.set_raw("HKLM", FOLDERS_KEY, "long", REG_SZ, b"C:\\" + b"x" * 5000 + b"\0")
    list_folder(desktop, "bob", desktop.prefix.windows_path(folder))
    before = contents(precious)
    uninstall(desktop)
    assert contents(precious) == before
    assert not folder.exists()


def test_uninstall_does_not_follow_a_link_out_of_the_folder(desktop, drive):
    precious, folder = fill(drive / "precious"), fill(drive / "ann" / "Tarnwick" / "Velmora2")
    (folder / "way out").symlink_to(precious)
    (folder / "inner" / "way out").symlink_to(precious / "inner")
    before = contents(precious)
    list_folder(desktop, "ann", desktop.prefix.windows_path(folder))
    uninstall(desktop)
    assert contents(precious) == before
    assert not (folder / "VelmoraLog.txt").exists()


def test_uninstall_does_not_follow_a_listed_link(desktop, drive):
    precious = fill(drive / "precious")
    (drive / "ann" / "Tarnwick").mkdir(parents=True)
    (drive / "ann" / "Tarnwick" / "Velmora2").symlink_to(precious)
    before = contents(precious)
    list_folder(desktop, "ann", "C:\\ann\\Tarnwick\\Velmora2")
    uninstall(desktop)
    assert contents(precious) == before


def test_uninstall_without_a_list_does_nothing(desktop):
    uninstall(desktop)
    assert desktop.hand.value_names("HKLM", SETTINGS_KEY) is None
    assert not desktop.data_folder().exists(), "it ends before the start makes a folder"
    assert desktop.log_bytes() == b""


def test_the_shortest_runs_end_whole_side_by_side(desktop):
    # A program that ends while the system still begins one of its threads may crash in that.
    for _ in range(12):
        runs = [desktop.start("uninstall") for _ in range(8)]
        assert [run.wait_end() for run in runs] == [0] * len(runs)


def registered(desktop):
    """The user's entry in the list of data folders: its type and text."""
    raw = desktop.hand.get_raw("HKLM", FOLDERS_KEY, desktop.user())
    return raw and (raw[0], raw[1].split(b"\0")[0].decode("cp1252"))


@pytest.mark.parametrize("word", ["initialsecurity", "/InitialSecurity", "-initialsecurity"])
def test_initial_security_makes_and_lists_the_users_folder(desktop, word):
    assert desktop.start(word).wait_end() == 0
    assert desktop.data_folder().is_dir()
    expected = desktop.prefix.windows_path(desktop.data_folder()) + "\\"
    assert registered(desktop) == (REG_SZ, expected)
    assert desktop.log_bytes() == b"", "it ends before anything else starts"


def test_first_start_makes_and_lists_the_users_folder(desktop, four_pictures):
    desktop.slides(four_pictures)
    assert not desktop.data_folder().exists()
    desktop.start("/s").wait_for_log("Running in normal Screensaver mode.")
    assert desktop.data_folder().is_dir()
    assert registered(desktop)[0] == REG_SZ


def test_later_start_lists_nothing(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.data_folder().mkdir(parents=True)
    desktop.start("/s").wait_for_log("Running in normal Screensaver mode.")
    assert registered(desktop) is None


def test_what_a_start_listed_an_uninstall_removes(desktop, four_pictures):
    desktop.slides(four_pictures)
    run = desktop.start("/s").wait_for_show()
    assert run.quit() == 0
    uninstall(desktop)
    assert not desktop.data_folder().exists()
    assert desktop.data_folder().parent.is_dir()
