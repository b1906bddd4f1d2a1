"""Damaged bundles: whatever stands in them, the program neither crashes nor hangs."""

import struct
import zlib

import pytest

from harness import bundles, pictures
from harness.displays import settled
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)

GOOD = pictures.picture("good.bmp", 320, 240, 0)
OTHER = pictures.picture("other.bmp", 320, 240, 2)
HUGE = 0xFFFFFFFF


def with_directory(directory, body=b"body"):
    return body + directory + struct.pack("<I", len(body))


def member(name, offset, size):
    return name.encode() + b"\0" + struct.pack("<II", offset, size)


def with_dims(*records):
    """Two good pictures under a catalogue of these raw records."""
    return bundles.bundle_bytes([
        ("image", [(p.name, p.data) for p in (GOOD, OTHER)]),
        ("dims", [(f"{n}", record) for n, record in enumerate(records)]),
        ("caps", [("0", bundles.caps_record(GOOD.name, ""))])])


def without(category):
    whole = {"image": [(GOOD.name, GOOD.data)],
             "dims": [("0", bundles.dims_record(GOOD.name, 320, 240))],
             "caps": [("0", bundles.caps_record(GOOD.name, ""))]}
    return bundles.bundle_bytes([(name, members) for name, members in whole.items()
                                 if name != category])


def png_of(width, height):
    """A PNG that claims a size which its few bytes don't hold."""
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data)))
    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head)
            + chunk(b"IDAT", zlib.compress(bytes(100))) + chunk(b"IEND", b""))


def with_image(data):
    return bundles.bundle_bytes([
        ("image", [("bad.png", data), (GOOD.name, GOOD.data), (OTHER.name, OTHER.data)]),
        ("dims", [("0", bundles.dims_record(GOOD.name, 320, 240))]),
        ("caps", [("0", bundles.caps_record(GOOD.name, ""))])])


# Not bundles at all: the box says so.
UNREADABLE = {
    "empty file": b"",
    "three bytes": b"abc",
    "trailer beyond the end": b"body" + struct.pack("<I", 1000),
    "trailer of all ones": b"body" + struct.pack("<I", HUGE),
    "directory of text": with_directory(b"no question mark"),
    "directory of nothing": with_directory(b""),
    "category without an end": with_directory(b"?image"),
    "member without an end": with_directory(b"?image\0member"),
    "member without its numbers": with_directory(b"?image\0member\0" + b"123"),
    "trailer pointing at itself": struct.pack("<I", 0),
}

# Bundles with something wrong inside.
ODD = {
    "member beyond the end": with_directory(
        b"?image\0" + member("a.bmp", 10, 100000) + b"?dims\0" + member("d", 0, 4)
        + b"?caps\0" + member("c", 0, 4)),
    "member of four gigabytes": with_directory(
        b"?image\0" + member("a.bmp", 0, HUGE) + b"?dims\0" + member("d", 0, HUGE)
        + b"?caps\0" + member("c", HUGE, HUGE)),
    "thousands of categories": with_directory(b"?x\0" * 5000),
    "thousands of empty members": with_directory(
        b"?image\0" + member("a", 0, 0) * 2000 + b"?dims\0" + member("d", 0, 0)
        + b"?caps\0" + member("c", 0, 0)),
    "member with an empty name": with_directory(
        b"?image\0" + member("", 0, 4) + b"?dims\0" + member("d", 0, 4) + b"?caps\0"),
    "no image category": without("image"),
    "no dims category": without("dims"),
    "no caps category": without("caps"),
    "empty dims category": with_dims(),
    "dims record of no bytes": with_dims(b""),
    "dims record cut in its numbers": with_dims(b"\x40\x01"),
    "dims record without a terminator": with_dims(struct.pack("<II", 320, 240) + b"good.bmp"),
    "size of zero": with_dims(bundles.dims_record(GOOD.name, 0, 0)),
    "width of zero": with_dims(bundles.dims_record(GOOD.name, 0, 240)),
    "height of zero": with_dims(bundles.dims_record(GOOD.name, 320, 0)),
    "size of all ones": with_dims(bundles.dims_record(GOOD.name, HUGE, HUGE)),
    "one pixel high and endless": with_dims(bundles.dims_record(GOOD.name, HUGE, 1)),
    "one pixel wide and endless": with_dims(bundles.dims_record(GOOD.name, 1, HUGE)),
    "picture that claims an endless size": with_image(png_of(60000, 60000)),
    "picture that claims no size": with_image(png_of(0, 0)),
    "picture cut in the middle": with_image(GOOD.data[:len(GOOD.data) // 2]),
    "long caption": bundles.slide_bundle([GOOD, OTHER], [(GOOD.name, "x" * 200000)]),
    "caption of control bytes": bundles.slide_bundle(
        [GOOD, OTHER], [(GOOD.name, "".join(map(chr, range(1, 32))) * 50)]),
}


def answer_all_boxes(run):
    """Presses OK wherever a box comes up, until the program shows or ends."""
    desktop = run.desktop
    for box in desktop.hand.boxes():
        desktop.hand.ask("post", box["hwnd"], 0x0111, 1, 0)
    return not run.running() or "Entering main loop..." in run.log_text()


def run_to_the_end(desktop):
    """Runs the saver on what is there; True if it got as far as its main loop."""
    run = desktop.start("/s")
    wait_until("the show or its end", lambda: answer_all_boxes(run), 60, step=0.1)
    if run.running():
        desktop.display.key("q")
    wait_until("the program's end", lambda: answer_all_boxes(run) and not run.running(), 60,
               step=0.1)
    assert run.process.returncode == 0, "it ends by its own exit, not by a crash"
    assert desktop.log()[-1] == "Successfully exiting WinMain"
    return "Entering main loop..." in desktop.log()


@pytest.mark.parametrize("data", UNREADABLE.values(), ids=UNREADABLE.keys())
def test_file_that_is_no_bundle_is_told_so(desktop, data):
    desktop.slide_file(data)
    run = desktop.start("/s")
    box = desktop.hand.wait_for_box("ERROR", alive=run.ended)
    assert box["message"] == "Could not open slide bundle!"
    run.kill()


@pytest.mark.parametrize("data", ODD.values(), ids=ODD.keys())
def test_odd_bundle_is_survived(desktop, data):
    desktop.settings(SetAsWallpaper=1, ShowCaptions=1)
    desktop.slide_file(data)
    run_to_the_end(desktop)


def test_good_pictures_between_hostile_ones_are_shown(desktop):
    desktop.slide_file(ODD["picture that claims an endless size"])
    run = desktop.start("/s").wait_for_show()
    run.wait_for_picture(GOOD)
    run.wait_for_picture(OTHER)
    run.wait_for_picture(GOOD)
    assert run.quit() == 0


def test_picture_without_a_record_takes_the_first_records_size(desktop):
    """The catalogue knows one picture only, and calls it twice as wide as high."""
    desktop.settings(ImageDelay="60.000000")
    desktop.slide_file(with_dims(bundles.dims_record("somebody else", 640, 320)))
    run = desktop.start("/s").wait_for_show()
    wait_until("the picture", lambda: desktop.display.shot()[40:200].min() > 0, alive=run.ended)
    screen = settled(desktop.display)
    assert not screen[:40].any() and not screen[200:].any(), "black bars above and below"
    assert screen[40:200].min() > 0
    assert run.quit() == 0


def test_bundle_glued_behind_other_bytes_is_a_bundle(desktop):
    categories = [
        ("image", [(GOOD.name, GOOD.data)]),
        ("dims", [("0", bundles.dims_record(GOOD.name, 320, 240))]),
        ("caps", [("0", bundles.caps_record(GOOD.name, ""))])]
    desktop.slide_file(bundles.bundle_bytes(categories, before=b"MZ and more" * 1000))
    run = desktop.start("/s").wait_for_show()
    run.wait_for_picture(GOOD)
    assert run.quit() == 0
