"""What goes wrong around a running show: its slides, the disk, the data folder."""

import resource

import pytest

from harness.waiting import wait_until

from test_crashes import DUMP_SIZE, TOOL, Stage

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
