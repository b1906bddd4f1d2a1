"""The installer: what it puts where, that it works, and that all of it goes away again."""

import filecmp
import shutil

import pytest

from harness import places
from harness.deskhand import REG_DWORD
from harness.saver import DESKTOP_KEY, FOLDERS_KEY, SETTINGS_KEY
from harness.waiting import wait_until

from test_integrity import EARLIER_ERROR, start_after_death
from test_failures import answer

pytestmark = pytest.mark.display(width=800, height=600)

UNINSTALL_KEY = r"Software\Microsoft\Windows\CurrentVersion\Uninstall\Velmora 2"
TITLE, BUSY = "Velmora 2 Setup", "Velmora 2 is running. Please close it, then try again."
SETTINGS = "Velmora 2  v 1.0"
BUTTONS = ["&Next >", "&Install", "&Finish"]
SAVER_VALUE = "SCRNSAVE.EXE"
WM_CLOSE, WM_COMMAND, RETRY = 0x0010, 0x0111, 4
LINKS = ["Settings.lnk", "Uninstall.lnk", "Velmora 2.lnk"]


def shipped():
    """What an install folder holds, by name."""
    folder = places.install_folder()
    return {str(p.relative_to(folder)): p for p in folder.rglob("*") if p.is_file()}


class Installation:
    """A machine that the program gets onto by its installer."""

    def __init__(self, desktop, folder):
        self.desktop, self.folder = desktop, folder
        drive = desktop.prefix.path / "drive_c"
        self.windows_copy = drive / "windows" / "Velmora2.scr"
        self.menu = drive / "ProgramData" / "Microsoft" / "Windows" / "Start Menu" / "Programs"

    def start(self, *arguments):
        return self.desktop.prefix.start(places.installer(), *arguments)

    def install(self):
        """Without questions; returns the exit status."""
        process = self.start("/S", f"/D={self.desktop.prefix.windows_path(self.folder)}")
        wait_until("the installer's end", lambda: process.poll() is not None, 120)
        return process.returncode

    def start_uninstaller(self):
        """A copy of it does the work, and outlives it."""
        return self.desktop.prefix.start(self.folder / "uninst.exe", "/S")

    def uninstall(self):
        self.start_uninstaller()
        wait_until("the end of the uninstaller's work", lambda: not self.registered(), 120)

    def registered(self):
        return self.desktop.hand.value_names("HKLM", UNINSTALL_KEY) is not None

    def forget(self):
        self.windows_copy.unlink(missing_ok=True)
        shutil.rmtree(self.menu / "Velmora 2", ignore_errors=True)
        self.desktop.hand.delete_tree("HKLM", UNINSTALL_KEY)
        self.desktop.hand.delete_value("HKCU", DESKTOP_KEY, SAVER_VALUE)


@pytest.fixture
def machine(bare_desktop):
    shutil.rmtree(bare_desktop.install)
    made = Installation(bare_desktop, bare_desktop.install.with_name("Velmora2"))
    bare_desktop.install = made.folder
    yield made
    made.forget()


@pytest.fixture
def installed(machine):
    assert machine.install() == 0
    return machine


def values(hand):
    """The uninstall values, numbers as such."""
    found = {}
    for name in hand.value_names("HKLM", UNINSTALL_KEY):
        kind, _ = hand.get_raw("HKLM", UNINSTALL_KEY, name)
        read = hand.get_dword if kind == REG_DWORD else hand.get_text
        found[name] = read("HKLM", UNINSTALL_KEY, name)
    return found


def test_everything_comes_to_its_place(installed):
    there = {str(p.relative_to(installed.folder)) for p in installed.folder.rglob("*")
             if p.is_file()}
    assert there == set(shipped()) | {"uninst.exe"}
    for name, file in shipped().items():
        assert filecmp.cmp(file, installed.folder / name, shallow=False), name
    assert filecmp.cmp(installed.windows_copy, installed.folder / "Velmora2.scr", shallow=False)
    assert sorted(p.name for p in (installed.menu / "Velmora 2").iterdir()) == LINKS


def test_windows_can_list_it_and_take_it_away(installed):
    folder = installed.desktop.prefix.windows_path(installed.folder)
    told = values(installed.desktop.hand)
    size = told.pop("EstimatedSize")
    assert abs(size - sum(p.stat().st_size for p in shipped().values()) / 1024) < 200  # kB
    assert told == {
        "DisplayName": "Velmora 2", "DisplayVersion": "1.0", "Publisher": "Tarnwick",
        "DisplayIcon": rf"{folder}\Velmora2.exe", "InstallLocation": folder,
        "UninstallString": rf'"{folder}\uninst.exe"',
        "QuietUninstallString": rf'"{folder}\uninst.exe" /S', "NoModify": 1, "NoRepair": 1,
        "BundleSize": (places.install_folder() / "images.bdl").stat().st_size}


def test_the_users_data_folder_is_made_and_listed(installed):
    desktop = installed.desktop
    assert desktop.data_folder().is_dir()
    listed = desktop.hand.get_text("HKLM", FOLDERS_KEY, desktop.user())
    assert desktop.prefix.host_path(listed) == desktop.data_folder()


def test_the_installed_saver_is_whole_and_runs(installed):
    installed.desktop.settings(FastMode=1, PlayMusic=0)
    run = start_after_death(installed.desktop, 1)
    answer(run, "Error initializing", EARLIER_ERROR)
    run.wait_for_show()
    assert run.quit() == 0


def test_a_silent_installation_leaves_the_users_choice_of_a_saver(installed):
    assert installed.desktop.hand.get_raw("HKCU", DESKTOP_KEY, SAVER_VALUE) is None
    assert not installed.desktop.hand.boxes()


def test_uninstalling_leaves_nothing(installed):
    hand = installed.desktop.hand
    installed.desktop.settings(FastMode=1, PlayMusic=0)
    run = installed.desktop.start("/s").wait_for_show()
    assert run.quit() == 0
    assert installed.desktop.log_text()
    installed.uninstall()
    assert not installed.folder.exists()
    assert not installed.windows_copy.exists()
    assert not (installed.menu / "Velmora 2").exists()
    assert not installed.desktop.data_folder().exists()
    for root in ("HKLM", "HKCU"):
        assert hand.value_names(root, r"Software\Tarnwick") is None
    assert hand.value_names("HKLM", UNINSTALL_KEY) is None


def test_settings_of_another_program_of_the_maker_stay(installed):
    hand = installed.desktop.hand
    for root in ("HKLM", "HKCU"):
        hand.set_text(root, r"Software\Tarnwick\Another", "Name", "kept")
    installed.uninstall()
    for root in ("HKLM", "HKCU"):
        assert hand.get_text(root, r"Software\Tarnwick\Another", "Name") == "kept"
        assert hand.value_names(root, SETTINGS_KEY) is None


@pytest.mark.parametrize("place", ["folder", "windows_copy"])
def test_uninstalling_leaves_no_saver_chosen_that_is_gone(installed, place):
    desktop = installed.desktop
    chosen = {"folder": installed.folder / "Velmora2.scr", "windows_copy": installed.windows_copy}
    desktop.hand.set_text("HKCU", DESKTOP_KEY, SAVER_VALUE,
                          desktop.prefix.windows_path(chosen[place]).upper())
    installed.uninstall()
    assert desktop.hand.get_raw("HKCU", DESKTOP_KEY, SAVER_VALUE) is None


def test_another_chosen_saver_stays_chosen(installed):
    hand = installed.desktop.hand
    hand.set_text("HKCU", DESKTOP_KEY, SAVER_VALUE, r"C:\windows\other.scr")
    installed.uninstall()
    assert hand.get_text("HKCU", DESKTOP_KEY, SAVER_VALUE) == r"C:\windows\other.scr"


def test_own_pictures_survive_a_new_installation(installed):
    bundle = installed.folder / "images.bdl"
    for text in (b"the first", b"the second one"):
        bundle.write_bytes(text)
        assert installed.install() == 0
        assert filecmp.cmp(bundle, places.install_folder() / "images.bdl", shallow=False)
    kept = sorted(p.read_bytes() for p in installed.folder.glob("images kept *.bdl"))
    assert kept == [b"the first", b"the second one"]


def test_installing_again_keeps_no_copy_of_our_pictures(installed):
    assert installed.install() == 0
    assert not list(installed.folder.glob("images kept *"))


def test_uninstalling_leaves_what_is_the_users(installed):
    (installed.folder / "images.bdl").write_bytes(b"mine")
    (installed.folder / "notes.txt").write_text("mine, too")
    installed.uninstall()
    assert sorted(p.name for p in installed.folder.iterdir()) == ["images.bdl", "notes.txt"]


def test_nothing_is_touched_while_the_saver_runs(installed):
    installed.desktop.settings(FastMode=1, PlayMusic=0)
    run = installed.desktop.start("/s").wait_for_show()
    (installed.folder / "chk.sum").unlink()
    assert installed.install() == 2
    assert not (installed.folder / "chk.sum").exists()
    assert run.quit() == 0
    assert installed.install() == 0
    assert (installed.folder / "chk.sum").exists()


def test_a_file_that_cannot_be_written_is_told(machine):
    (machine.folder / "fmod.dll").mkdir(parents=True)
    assert machine.install() == 2
    assert machine.registered(), "what is there can be taken away"
    machine.uninstall()
    assert [p.name for p in machine.folder.iterdir()] == ["fmod.dll"]
    assert machine.install() == 2
    (machine.folder / "fmod.dll").rmdir()
    assert machine.install() == 0


def page(desktop):
    """The installer's window, or None."""
    return next((w for w in desktop.hand.boxes() if w["text"].strip() == TITLE
                 and button_text(desktop, w)), None)


def question(desktop):
    """The box that asks to close what runs, or None."""
    return next((w for w in desktop.hand.boxes()
                 if any(c["text"] == BUSY for c in desktop.hand.children(w["hwnd"]))), None)


def button_text(desktop, window):
    """What button 1 says: it is Next, Install and Finish in turn."""
    return next((c["text"] for c in desktop.hand.children(window["hwnd"])
                 if c["id"] == 1 and c["class"] == "Button"), None)


def turn(desktop, button):
    """Waits for the page whose button 1 says that, and presses it."""
    def shown():
        window = page(desktop)
        return window if window and button_text(desktop, window) == button else None
    window = wait_until(f"the page with {button!r}", shown, 120)
    desktop.hand.ask("post", window["hwnd"], WM_COMMAND, 1, 0)


def assert_done_with_settings_open(desktop, setup):
    wait_until("the installer's end", lambda: setup.poll() is not None)
    assert setup.returncode == 0
    wait_until("the settings", lambda: desktop.hand.windows(text=SETTINGS))


def test_by_hand_it_takes_three_buttons_and_opens_the_settings(machine):
    desktop = machine.desktop
    setup = machine.start("/D=" + desktop.prefix.windows_path(machine.folder))
    for button in BUTTONS:
        turn(desktop, button)
    assert_done_with_settings_open(desktop, setup)
    assert (machine.folder / "Velmora2.scr").exists()


def test_whoever_installs_can_close_the_settings_and_go_on(installed):
    desktop = installed.desktop
    run = desktop.start(program="Velmora2.exe")
    settings = wait_until("the settings", lambda: desktop.hand.windows(text=SETTINGS),
                          alive=run.ended)[0]
    setup = installed.start("/D=" + desktop.prefix.windows_path(installed.folder))
    for button in BUTTONS[:2]:
        turn(desktop, button)
    box = wait_until("the question", lambda: question(desktop), 120)
    desktop.hand.ask("post", settings["hwnd"], WM_CLOSE, 0, 0)
    assert run.wait_end() == 0
    desktop.hand.answer_box(box, RETRY)
    turn(desktop, BUTTONS[2])
    assert_done_with_settings_open(desktop, setup)
