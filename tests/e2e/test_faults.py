"""What goes wrong around a running show: its slides, the disk, the data folder."""

import resource

import pytest

from harness.waiting import wait_until

from test_crashes import DAMAGED, DUMP_SIZE, TOOL, Stage

pytestmark = pytest.mark.display(width=320, height=240)

LOG_SIZE = 1005  # a control of the report tool


def replace(file):
    """Other bytes of the same length."""
    file.write_bytes(b"\x5a" * file.stat().st_size)


def cut_off(file):
    """Members beyond the end can't be read any more."""
    with open(file, "r+b") as slides:
        slides.truncate(100)


def delete(file):
    file.unlink()


def test_show_goes_on_with_the_pictures_it_has_read(desktop, four_pictures):
    desktop.slides(four_pictures)
    run = desktop.start("/s").wait_for_show()
    run.wait_for_next(four_pictures)
    for spoil in (replace, cut_off, delete):
        spoil(desktop.install / "images.bdl")
        run.wait_for_next(four_pictures)
    assert run.quit() == 0
    assert not desktop.hand.boxes()


def test_direct3d_show_outlives_its_slides(desktop, four_pictures):
    desktop.slides(four_pictures)
    desktop.settings(FastMode=0, ImageDelay="0.500000")
    run = desktop.start("/s").wait_for_show()
    wait_until("the first slide", lambda: desktop.display.shot().any(), alive=run.ended)
    replace(desktop.install / "images.bdl")
    delete(desktop.install / "images.bdl")
    screen = desktop.display.shot()
    wait_until("another screen", lambda: (desktop.display.shot() != screen).mean() > 0.5, 60,
               alive=run.ended)
    assert run.quit() == 0


@pytest.fixture
def stage(desktop, four_pictures):
    made = Stage(desktop, four_pictures)
    yield made
    made.hand.ask("end-programs", TOOL)
    made.files.remove()


def test_full_disk_stops_the_log_and_the_dump_but_not_the_show(stage, four_pictures):
    """No file grows any more: each write beyond the log's present size fails."""
    log_file = stage.desktop.data_folder() / "VelmoraLog.txt"
    # Python ignores the signal that comes with such a write; so must the program.
    stage.run = stage.desktop.start("/s", restore_signals=False).wait_for_show()
    size = log_file.stat().st_size
    resource.prlimit(stage.run.process.pid, resource.RLIMIT_FSIZE, (size, size))
    stage.run.wait_for_next(four_pictures)
    stage.derail_main_thread()
    stage.wait_quiet_end()
    assert log_file.stat().st_size <= size
    wait_until("the tool goes on without a dump",
               lambda: stage.wait_for_tool()[DUMP_SIZE]["text"] == "there is none", 60)


def test_full_disk_at_the_end_keeps_the_old_wallpaper(desktop, four_pictures):
    old = b"the wallpaper of the last run"
    desktop.data_folder().mkdir(parents=True)
    desktop.wallpaper_path().write_bytes(old)
    desktop.slides(four_pictures)
    desktop.settings(SetAsWallpaper=1)
    run = desktop.start("/s", restore_signals=False).wait_for_show()
    run.wait_for_picture(*four_pictures)
    resource.prlimit(run.process.pid, resource.RLIMIT_FSIZE, (10000, 10000))
    assert run.quit() == 0
    assert desktop.wallpaper_path().read_bytes() == old
    assert sorted(f.name for f in desktop.data_folder().iterdir()) == sorted(
        ["VelmoraLog.txt", desktop.wallpaper_path().name])
    assert not desktop.hand.boxes()


# And a function of each, as its table of names has it.
OUR_DLLS = {"fmod.dll": b"FSOUND_Init\0",
            "BTNexgenIPL32.dll": b"_ZN14BTCImageObject4LoadEPKvjS1_\0"}


@pytest.mark.parametrize("name", OUR_DLLS)
def test_start_without_one_of_its_dlls_leaves_nothing_behind(desktop, four_pictures, name):
    """The system itself tells of it: nothing of the program runs."""
    desktop.slides(four_pictures)
    (desktop.install / name).rename(desktop.install / "aside")
    assert desktop.start("/s").wait_end() != 0
    assert not desktop.data_folder().exists()
    assert desktop.setting_dword("CrashFlag") is None
    (desktop.install / "aside").rename(desktop.install / name)
    assert desktop.start("/s").wait_for_show().quit() == 0


@pytest.mark.parametrize("name", OUR_DLLS)
def test_dll_without_a_function_is_told_as_damaged(stage, name):
    """Windows doesn't even start a program that asks such a DLL for the function; where
    it starts, the call is a crash."""
    dll = stage.desktop.install / name
    function = OUR_DLLS[name]
    code = dll.read_bytes()
    assert code.count(b"\0" + function) == 1
    dll.write_bytes(code.replace(function, function[:-2] + b"~\0"))
    run = stage.start(PlayMusic=1)
    box = stage.hand.wait_for_box("Velmora 2", alive=run.ended)
    assert box["message"] == DAMAGED
    stage.hand.answer_box(box)
    stage.wait_quiet_end()
    assert stage.tools() == 0


def test_data_folder_in_which_nothing_can_be_written_costs_log_and_dump_alone(stage,
                                                                              four_pictures):
    """Folders stand in the files' places, so that none of them can be written."""
    desktop = stage.desktop
    places = [desktop.data_folder() / "VelmoraLog.txt", stage.dump_file, desktop.wallpaper_path()]
    for place in places:
        place.mkdir(parents=True)
    desktop.settings(SetAsWallpaper=1)
    run = desktop.start("/s")
    run.wait_for_next(four_pictures)
    assert run.quit() == 0
    stage.run = desktop.start("/s")
    stage.run.wait_for_next(four_pictures)
    stage.derail_main_thread()
    stage.wait_quiet_end()
    wait_until("the tool goes on without a dump",
               lambda: stage.wait_for_tool()[DUMP_SIZE]["text"] == "there is none", 60)
    assert sorted(desktop.data_folder().iterdir()) == sorted(places)
    assert not any(list(place.iterdir()) for place in places)


def test_data_folder_that_cannot_be_used_costs_log_and_dump_alone(stage, four_pictures):
    """A file stands in the folder's place."""
    folder = stage.desktop.data_folder()
    folder.parent.mkdir(parents=True, exist_ok=True)
    folder.write_bytes(b"in the way")
    try:
        stage.desktop.settings(SetAsWallpaper=1)
        run = stage.desktop.start("/s")
        run.wait_for_next(four_pictures)
        assert run.quit() == 0
        stage.run = stage.desktop.start("/s")
        stage.run.wait_for_next(four_pictures)
        stage.derail_main_thread()
        stage.wait_quiet_end()
        wait_until("the tool goes on without a dump",
                   lambda: stage.wait_for_tool()[DUMP_SIZE]["text"] == "there is none", 60)
        assert stage.wait_for_tool()[LOG_SIZE]["text"] == "there is none"
        assert folder.read_bytes() == b"in the way"
    finally:
        folder.unlink()
