"""The picture that the saver leaves behind as the desktop's wallpaper."""

import pytest

from harness import pictures
from harness.saver import DESKTOP_KEY

pytestmark = pytest.mark.display(width=320, height=240)


@pytest.fixture
def keeping(desktop):
    desktop.settings(SetAsWallpaper=1, StretchWallpaper=0)
    return desktop


def style(desktop):
    """(TileWallpaper, WallpaperStyle) in the registry, as text values."""
    return tuple(desktop.hand.get_text("HKCU", DESKTOP_KEY, name)
                 for name in ("TileWallpaper", "WallpaperStyle"))


def run_until(desktop, shown, wanted):
    """Runs the saver until it shows `wanted`, then ends it."""
    desktop.slides(shown)
    run = desktop.start("/s").wait_for_show()
    run.wait_for_picture(wanted)
    assert run.quit() == 0


@pytest.mark.parametrize("size, expected", [
    ((320, 240), (320, 240)), ((400, 200), (320, 160)), ((200, 300), (160, 240)),
    ((500, 300), (320, 192)), ((30, 40), (180, 240))],
    ids=["same shape", "wide", "tall", "a little wide", "small"])
def test_wallpaper_fits_the_screen_in_the_pictures_shape(keeping, size, expected):
    shown = pictures.picture("one.png", *size, 0)
    run_until(keeping, [shown], shown)
    saved = keeping.wallpaper()
    assert saved.format == "BMP"
    assert saved.size == expected
    assert pictures.mean_error(keeping.wallpaper_pixels(), pictures.scaled(shown, *expected)) < 2.5


def test_stretched_wallpaper_has_exactly_the_screens_size(keeping):
    keeping.settings(StretchWallpaper=1)
    shown = pictures.picture("one.png", 200, 300, 1)
    run_until(keeping, [shown], shown)
    assert keeping.wallpaper().size == (320, 240)
    assert pictures.mean_error(keeping.wallpaper_pixels(), pictures.scaled(shown, 320, 240)) < 2.5
    assert style(keeping) == ("0", "2")


@pytest.mark.parametrize("last", [0, 1, 2, 3], ids=["first", "second", "third", "last of the list"])
def test_wallpaper_is_the_picture_that_showed_last(keeping, four_pictures, last):
    keeping.settings(ImageDelay="2.000000")  # the key comes while the picture stands
    run_until(keeping, four_pictures, four_pictures[last])
    assert pictures.which(keeping.wallpaper_pixels(), four_pictures) == four_pictures[last]


def test_jpeg_becomes_a_bmp(keeping, four_pictures):
    run_until(keeping, four_pictures, four_pictures[0])
    assert keeping.wallpaper().format == "BMP"


def test_system_takes_the_file_as_its_wallpaper(keeping, four_pictures):
    run_until(keeping, four_pictures, four_pictures[0])
    path = keeping.hand.ask("wallpaper")["path"]
    assert keeping.prefix.host_path(path) == keeping.wallpaper_path()
    assert keeping.hand.get_text("HKCU", DESKTOP_KEY, "Wallpaper") == path
    assert style(keeping) == ("0", "0")
    assert "Saving images as wallpaper" in keeping.log()


def test_next_run_overwrites_the_wallpaper(keeping, four_pictures):
    run_until(keeping, four_pictures[:1], four_pictures[0])
    run_until(keeping, four_pictures[1:2], four_pictures[1])
    assert pictures.which(keeping.wallpaper_pixels(), four_pictures) == four_pictures[1]


def test_setting_off_leaves_the_desktop_as_it_is(desktop, four_pictures):
    before = style(desktop)
    run_until(desktop, four_pictures, four_pictures[0])
    assert not desktop.wallpaper_path().exists()
    assert desktop.hand.ask("wallpaper")["path"] == ""
    assert style(desktop) == before
    assert "Saving images as wallpaper" not in desktop.log()


def test_show_without_a_good_picture_leaves_the_old_file_with_the_new_style(keeping):
    old = b"the wallpaper of the last run"
    keeping.data_folder().mkdir(parents=True)
    keeping.wallpaper_path().write_bytes(old)
    keeping.settings(StretchWallpaper=1)
    keeping.slides([pictures.broken("bad.jpg", data=b"")])
    run = keeping.start("/s")
    keeping.hand.answer_box(keeping.hand.wait_for_box("Error initializing", alive=run.ended))
    assert run.wait_end() == 0
    assert keeping.wallpaper_path().read_bytes() == old
    assert style(keeping) == ("0", "2")


def test_broken_picture_before_the_cursor_does_no_harm(keeping):
    """The list's place before the cursor holds a picture that can't be decoded."""
    good = [pictures.picture("a.bmp", 320, 240, 0), pictures.picture("b.bmp", 320, 240, 2)]
    run_until(keeping, [good[0], pictures.broken("bad.jpg"), good[1]], good[0])
    assert style(keeping) == ("0", "0")
    assert keeping.log()[-1] == "Successfully exiting WinMain"
