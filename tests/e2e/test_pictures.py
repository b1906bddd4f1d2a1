"""Which pictures the fast show puts on the screen, where, and in what order."""

import dataclasses
import io
import time

import numpy
import PIL.Image
import pytest

from harness import bundles, pictures
from harness.crt import shuffled
from harness.displays import record, settled
from harness.saver import log_second

CORNERS = [(255, 0, 0), (0, 255, 0), (0, 0, 255), (255, 255, 255)]
WIPE_SECONDS = 1.5
LONG_DELAY = "1.500000"
NO_NEXT = "600.000000"  # the first picture stays
PROMPT_TEXT = (
    "The screensaver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\nWe're sorry for the inconvenience.")


def with_corners(name, width, height, hue, declared=None):
    """A picture whose corners are blocks of pure colours."""
    plain = pictures.picture(name, width, height, hue, declared)
    pixels = plain.pixels.copy()
    across, down = width // 8, height // 8
    pixels[:down, :across], pixels[:down, -across:] = CORNERS[0], CORNERS[1]
    pixels[-down:, :across], pixels[-down:, -across:] = CORNERS[2], CORNERS[3]
    stream = io.BytesIO()
    PIL.Image.fromarray(pixels).save(stream, "BMP" if name.endswith("bmp") else "PNG")
    return dataclasses.replace(plain, data=stream.getvalue(), pixels=pixels)


def first_picture(desktop, shown):
    """The screen with the first of these on it."""
    desktop.settings(ImageDelay=NO_NEXT)
    desktop.slides(shown)
    run = desktop.start("/s").wait_for_show()
    run.wait_for_picture(shown[0])
    return settled(desktop.display)


@pytest.mark.parametrize("shown", [
    with_corners("same_shape.bmp", 800, 600, 0),
    with_corners("exact_size.png", 640, 480, 1),
    with_corners("wide.bmp", 900, 300, 2),
    with_corners("tall.png", 300, 500, 3),
    with_corners("small_and_wide.bmp", 50, 30, 4),
    with_corners("declared_wider_than_it_is.png", 400, 400, 5, declared=(1000, 250)),
], ids=lambda p: p.name.split(".")[0])
def test_first_picture_stands_centred_between_black_bars(desktop, shown):
    screen = first_picture(desktop, [shown, shown])

    left, top, width, height = pictures.placed(shown.width, shown.height, 640, 480)
    inside = numpy.zeros((480, 640), bool)
    inside[top:top + height, left:left + width] = True
    assert not screen[~inside].any(), "the bars are black"
    for colour, y, x in zip(CORNERS, (top, top, top + height - 1, top + height - 1),
                            (left, left + width - 1, left, left + width - 1)):
        assert tuple(screen[y, x]) == colour, "the picture reaches its corners"
    expected = pictures.on_screen(shown, 640, 480)
    assert pictures.mean_error(screen[inside], expected[inside]) < 1.5


def test_jpeg_looks_like_its_source(desktop):
    shown = pictures.picture("photo.jpg", 1200, 900, 2)
    expected = pictures.on_screen(shown, 640, 480)
    assert pictures.mean_error(first_picture(desktop, [shown]), expected) < 2


def shown_in_turn(run, shown, count):
    """The next `count` pictures, from the one on the screen on.

    They have to stand long enough for a busy machine to see each.
    """
    sequence = [run.wait_for_picture(*shown)]
    while len(sequence) < count:
        sequence.append(run.wait_for_picture(*[p for p in shown if p != sequence[-1]]))
    return sequence


def test_pictures_follow_in_bundle_order_and_start_over(desktop, four_pictures):
    desktop.settings(ImageDelay=LONG_DELAY)
    desktop.slides(four_pictures)
    run = desktop.start("/s")
    assert shown_in_turn(run, four_pictures, 6) == [*four_pictures, *four_pictures[:2]]


def test_picture_stands_for_the_delay(desktop):
    """Two wipes and two delays lie between the start and the second picture's end."""
    shown = [pictures.picture("a.bmp", 320, 240, 0), pictures.picture("b.bmp", 320, 240, 2)]
    desktop.settings(ImageDelay="3.000000")
    desktop.slides(shown)
    run = desktop.start("/s")
    run.wait_for_picture(shown[1])
    record(desktop.display, 60, until=lambda screen: not pictures.which(screen, shown[1:]))
    assert run.running()
    assert time.monotonic() - run.started > 0.95 * 2 * (WIPE_SECONDS + 3)


@pytest.mark.display(width=320, height=240)
def test_random_order_is_a_shuffle_that_repeats_each_round(desktop):
    shown = [pictures.picture(f"{n}.bmp", 320, 240, n) for n in range(5)]
    desktop.settings(RandomOrder=1, ImageDelay=LONG_DELAY)
    desktop.slides(shown)
    run = desktop.start("/s")
    sequence = shown_in_turn(run, shown, 10)
    # The slides are read between this line and the shuffle.
    set_up = log_second(run.log_text(), "Enter function: initStates")
    candidates = [shuffled(shown, seed) for seed in range(set_up, set_up + 3)]
    assert sequence[:5] in candidates, "fifty passes of swaps, seeded with the set-up's second"
    assert sequence[5:] == sequence[:5], "the second round is as the first"


@pytest.mark.parametrize("damage",
                         [b"", b"this is no picture", b"\xff\xd8\xff\xe0", b"BM" + bytes(60)],
                         ids=["empty", "text", "JPEG head only", "BMP of zeros"])
@pytest.mark.display(width=320, height=240)
def test_broken_picture_is_passed_over(desktop, damage):
    good = [pictures.picture("a.bmp", 320, 240, 0), pictures.picture("b.bmp", 320, 240, 2)]
    bad = pictures.broken("bad.jpg", data=damage)
    desktop.settings(ImageDelay=LONG_DELAY)
    desktop.slides([good[0], bad, good[1]])
    run = desktop.start("/s").wait_for_show()
    frames = record(desktop.display, 60, until=lambda s: pictures.which(s, good[1:]))
    assert run.running()
    assert not any((screen == 0).all() for _, screen in frames), "no gap where the bad one stands"
    assert shown_in_turn(run, good, 3) == [good[1], good[0], good[1]]


@pytest.mark.display(width=320, height=240)
def test_show_begins_with_the_first_good_picture(desktop):
    bad = [pictures.broken(f"bad{n}.jpg") for n in range(3)]
    good = pictures.picture("good.bmp", 320, 240, 1)
    desktop.slides([*bad, good])
    run = desktop.start("/s").wait_for_show()
    assert run.wait_for_picture(good) == good
    assert run.quit() == 0


@pytest.mark.display(width=320, height=240)
@pytest.mark.parametrize("count", [0, 1, 3])
def test_bundle_without_a_good_picture_says_so_and_ends(desktop, count):
    bad = [pictures.broken(f"bad{n}.jpg") for n in range(count)]
    desktop.slide_file(bundles.bundle_bytes([
        ("image", [(p.name, p.data) for p in bad]),
        ("dims", [("0.dim", bundles.dims_record("bad0.jpg", 64, 48))]),
        ("caps", [("0.cap", bundles.caps_record("bad0.jpg", ""))])]))
    run = desktop.start("/s")
    box = desktop.hand.wait_for_box("Error initializing", alive=run.ended)
    assert box["message"] == PROMPT_TEXT
    desktop.hand.answer_box(box)
    assert run.wait_end() == 0
    assert desktop.log().count("Couldn't find any good images, quitting...") == 2
    assert "Showing critical error dialog" in desktop.log()
    assert desktop.setting_dword("CriticalError") == 0
