"""The configuration window's pictures: the program puts its controls at fixed places of them and
cuts what they show from there, so every place is held here."""

import io
import os
import pathlib
import struct
import subprocess
import sys

import numpy
import pytest
from PIL import Image

from bundles import read_bundle
from resources import Resources

SOURCE = pathlib.Path(os.environ["VELMORA_SOURCE_DIR"])
DIST = pathlib.Path(os.environ["VELMORA_DIST_DIR"])
SKIN = SOURCE / "content/skin"
PROGRAMS = ["Velmora2.exe", "Velmora2.scr"]

MEMBERS = {  # width, height
    "menuskin.jpg": (640, 458),
    "toggle_mask_3.bmp": (20, 15),
    "VSliderBG_108_18_1.jpg": (18, 108),
    "SliderBG_108_18_1.jpg": (108, 18),
    "slide_knob_7_18_1.jpg": (7, 18),
    "slide_knob_13_13_1.jpg": (13, 13),
    "slide_knob_18_7_1.jpg": (18, 7),
}

# All places are left, top, width, height in the window.
BUTTONS = {
    1087: (513, 124, 83, 44), 1048: (171, 404, 60, 33), 1034: (27, 352, 71, 37),
    1035: (539, 218, 71, 37), 1049: (104, 387, 60, 33), 1088: (17, 100, 150, 21),
    1089: (17, 128, 150, 21), 1095: (17, 156, 150, 21), 1: (476, 387, 62, 32),
    2: (408, 404, 62, 32),
}
TOGGLES = {
    1090: (359, 274, 160, 15), 1091: (364, 294, 155, 15), 1092: (426, 314, 93, 15),
    1094: (412, 334, 107, 15), 1096: (391, 354, 128, 15), 1059: (394, 94, 111, 15),
    1011: (419, 127, 85, 15), 1013: (418, 147, 86, 15), 1060: (391, 185, 146, 15),
    1061: (14, 295, 102, 34),
}
DELAY_SLIDER = (367, 245, 108, 17)
DELAY_LABEL = (477, 245, 42, 17)
VOLUME_SLIDER = (601, 94, 18, 108)
MODE_LIST = (522, 275, 92, 94)
MODE_TRACK = (614, 275, 15, 94)
WEB_SAMPLE = (14, 94, 154, 28)  # what the "About" window shows as a button
OFF_SAMPLE = (499, 314, 20, 15)
ON_SAMPLE = (499, 334, 20, 15)
TRACK_CUTS = {"SliderBG_108_18_1.jpg": (367, 245, 108, 18), "VSliderBG_108_18_1.jpg": VOLUME_SLIDER}
DELAY_COLOUR = (0xF8, 0xF0, 0xD4)

# JPEG rounds; two cuts of one colour may differ by this much without anybody seeing it.
ROUNDING = 4
# From here on a difference in a channel is ink, not rounding.
INK = 40


def opened(data):
    image = Image.open(io.BytesIO(data))
    image.load()
    return image


def array(image):
    return numpy.asarray(image.convert("RGB"), dtype=int)


@pytest.fixture(scope="module", params=PROGRAMS)
def program(request):
    return DIST / request.param


@pytest.fixture(scope="module")
def skin():
    return read_bundle((DIST / PROGRAMS[0]).read_bytes())["skin"]


@pytest.fixture(scope="module")
def window(skin):
    return array(opened(skin["menuskin.jpg"]))


@pytest.fixture(scope="module")
def mask(skin):
    """True where the indicator shows."""
    return ~numpy.asarray(opened(skin["toggle_mask_3.bmp"]))


@pytest.fixture(scope="module")
def region():
    return Resources((DIST / PROGRAMS[0]).read_bytes()).find("BINARY", 124, 1033)


def rectangles(region):
    return [struct.unpack_from("<4i", region, at) for at in range(32, len(region), 16)]


def cut(pixels, place):
    left, top, width, height = place
    return pixels[top : top + height, left : left + width]


def background(pixels):
    """The colour that most pixels of a cut have, more or less."""
    return numpy.median(pixels.reshape(-1, 3), axis=0)


def differs(pixels, colour):
    """How far each pixel is from a colour, in the channel where it is farthest."""
    return numpy.abs(pixels - numpy.asarray(colour)).max(axis=-1)


def indicator_of(place):
    left, top, width, height = place
    return left + width - 20, top + height // 2 - 15 // 2, 20, 15


def luminance(colour):
    channels = [c / 255 for c in colour]
    linear = [c / 12.92 if c <= 0.03928 else ((c + 0.055) / 1.055) ** 2.4 for c in channels]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one, other):
    dark, bright = sorted([luminance(one), luminance(other)])
    return (bright + 0.05) / (dark + 0.05)


# --- The bundle behind the program

def run_makebundle(command, file):
    return subprocess.run(["wine", DIST / "MakeBundle.exe", command, file],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def test_both_programs_end_with_a_bundle_that_the_products_reader_finds_whole(program):
    run = run_makebundle("verify", program)
    assert run.returncode == 0, run.stdout
    assert "7 members, all good" in run.stdout


def test_the_products_reader_lists_exactly_the_seven_pictures(program):
    run = run_makebundle("list", program)
    assert run.returncode == 0 and "[skin]" in run.stdout, run.stdout
    assert all(f"  {name}\n" in run.stdout.replace("\r", "") for name in MEMBERS)
    assert "1 categories, 7 members" in run.stdout


def test_members_and_sizes(program):
    bundle = read_bundle(program.read_bytes())
    assert list(bundle) == ["skin"]
    assert {name: opened(data).size for name, data in bundle["skin"].items()} == MEMBERS


def test_the_program_in_front_of_the_bundle_is_whole(program):
    (directory,) = struct.unpack("<I", program.read_bytes()[-4:])
    assert program.read_bytes()[:2] == b"MZ"
    assert directory > Resources(program.read_bytes()).base


def test_jpegs_keep_their_colours_at_full_resolution(skin):
    for name, data in skin.items():
        if name.endswith(".jpg"):
            image = opened(data)
            assert image.format == "JPEG" and image.mode == "RGB"
            assert {(h, v) for _, h, v, _ in image.layer} == {(1, 1)}, name
            assert max(max(table) for table in image.quantization.values()) <= 8, name


def test_the_mask_is_one_bit_deep_with_black_before_white(skin):
    data = skin["toggle_mask_3.bmp"]
    assert len(data) == 122 and data[:2] == b"BM"
    assert struct.unpack_from("<H", data, 28) == (1,)
    assert data[54:62] == bytes([0, 0, 0, 0, 255, 255, 255, 0])


def test_the_mask_is_a_rounded_rectangle(mask):
    ends = [5, 3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 5]
    for row, end in zip(mask, ends):
        assert list(row) == [False] * end + [True] * (20 - 2 * end) + [False] * end


# --- The outline

def test_the_region_is_a_block_of_rectangles_over_the_whole_window(region):
    assert len(region) == 2608
    assert struct.unpack_from("<8i", region) == (32, 1, 161, 2576, 0, 0, 640, 458)


def test_the_region_is_a_band_with_a_cap_of_single_rows_above_and_below(region):
    rects = rectangles(region)
    assert [(top, bottom) for _, top, _, bottom in rects] == [
        *((y, y + 1) for y in range(80)), (80, 378), *((y, y + 1) for y in range(378, 458))]
    rows = [(left, right) for left, _, right, _ in rects]
    assert rows[:6] == [(309, 327), (274, 362), (262, 374), (249, 387), (237, 399), (228, 408)]
    assert rows[77:82] == [(0, 636), (0, 637), (0, 639), (0, 640), (0, 639)]
    assert rows[-1] == (309, 327)
    assert all(a[0] >= b[0] and a[1] <= b[1] for a, b in zip(rows[:80], rows[1:81]))
    assert rows[81:] == rows[79::-1]


def test_the_region_is_what_the_drawing_says_now(region, tmp_path):
    assert region == cut_region(SKIN / "menuskin.svg", tmp_path)


def test_both_programs_have_the_same_region(program, region):
    assert Resources(program.read_bytes()).find("BINARY", 124, 1033) == region


def test_both_programs_run_with_the_users_rights_and_classic_controls(program):
    """A toggle of newer common controls would flip late: they put off drawing."""
    manifest = Resources(program.read_bytes()).find(24, 1, 1033).decode()
    assert 'level="asInvoker"' in manifest
    assert "Common-Controls" not in manifest and "dpiAware" not in manifest


def test_no_control_is_cut_by_the_outline(region):
    inside = numpy.zeros((458, 640), dtype=bool)
    for left, top, right, bottom in rectangles(region):
        inside[top:bottom, left:right] = True
    for place in [*BUTTONS.values(), *TOGGLES.values(), DELAY_SLIDER, DELAY_LABEL, VOLUME_SLIDER,
                  MODE_LIST, MODE_TRACK, WEB_SAMPLE]:
        assert cut(inside, place).all(), place


# --- The program that cuts the outline

def run_cut_region(drawing, region):
    return subprocess.run([sys.executable, "-B", SKIN / "cut_region.py", drawing, region],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def cut_region(drawing, folder):
    run = run_cut_region(drawing, folder / "cut.rgn")
    assert run.returncode == 0, run.stdout
    return (folder / "cut.rgn").read_bytes()


def drawing_with(folder, element):
    drawing = folder / "drawing.svg"
    drawing.write_text('<svg xmlns="http://www.w3.org/2000/svg" width="20" height="10" '
                       f'viewBox="0 0 20 10"><rect width="20" height="10"/>{element}</svg>')
    return drawing


def test_alike_rows_become_one_rectangle_and_a_split_row_two(tmp_path):
    path = '<path id="outline" d="M 2,1 H 18 V 7 H 12 V 4 H 8 V 7 H 2 Z"/>'
    region = cut_region(drawing_with(tmp_path, path), tmp_path)
    assert struct.unpack_from("<8i", region) == (32, 1, 3, 48, 2, 1, 18, 7)
    assert rectangles(region) == [(2, 1, 18, 4), (2, 4, 8, 7), (12, 4, 18, 7)]


def test_a_pixel_belongs_to_the_window_if_its_centre_does(tmp_path):
    path = '<path id="outline" d="M 2.6,1.4 H 9.6 V 3.4 H 2.6 Z"/>'
    region = cut_region(drawing_with(tmp_path, path), tmp_path)
    assert rectangles(region) == [(3, 1, 10, 3)]


@pytest.mark.parametrize("element", ["", '<path id="outline" d="M 2.6,1.6 h .2 v .2 Z"/>'])
def test_a_drawing_without_an_outline_is_an_error(tmp_path, element):
    run = run_cut_region(drawing_with(tmp_path, element), tmp_path / "cut.rgn")
    assert run.returncode != 0 and "outline" in run.stdout
    assert not (tmp_path / "cut.rgn").exists()


def test_a_missing_font_is_an_error_instead_of_another_font(tmp_path):
    fonts = tmp_path / "fonts.conf"
    fonts.write_text('<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd">'
                     f"<fontconfig><cachedir>{tmp_path}</cachedir></fontconfig>")
    run = subprocess.run([sys.executable, "-B", SKIN / "render.py", "--out", tmp_path / "out",
                          "--stamp", tmp_path / "stamp"], stderr=subprocess.PIPE, text=True,
                         env={**os.environ, "FONTCONFIG_FILE": str(fonts)})
    assert run.returncode != 0 and "isn't installed" in run.stderr
    assert not (tmp_path / "stamp").exists()


# --- The window

@pytest.mark.parametrize("place", BUTTONS.values(), ids=BUTTONS)
def test_each_button_has_words_that_stand_in_the_middle_of_its_place(window, place):
    pixels = cut(window, place)
    border = 1 if place[3] < 25 else 3  # that of a link lies around its place
    inner = pixels[border:-border, 3:-3]
    ink = differs(inner, background(inner)) > 2 * INK
    rows, columns = numpy.nonzero(ink)
    assert ink.mean() > 0.03, "nothing is written there"
    assert rows.min() > 0 and rows.max() < inner.shape[0] - 1, "the words are cut above or below"
    assert columns.min() > 0 and columns.max() < inner.shape[1] - 1, "the words are cut at a side"
    assert abs((rows.min() + rows.max()) / 2 - (inner.shape[0] - 1) / 2) <= 3
    bright = inner[ink][numpy.argsort(inner[ink].sum(axis=1))]
    assert max(contrast(bright[0], background(inner)), contrast(bright[-1], background(inner))) > 4.5


@pytest.mark.parametrize("place", TOGGLES.values(), ids=TOGGLES)
def test_each_toggle_has_its_words_inside_of_its_place_left_of_the_indicator(window, place):
    left, top, width, height = place
    words = cut(window, (left, top, width - 22, height))
    ink = differs(words, background(words)) > INK
    rows, columns = numpy.nonzero(ink)
    assert ink.mean() > 0.05, "nothing is written there"
    assert columns.min() >= 1, "the words begin left of the toggle"
    around = cut(window, (left - 3, top, 3, height))
    assert differs(around, background(words)).max() < INK
    brightest = words.reshape(-1, 3)[words.sum(axis=-1).argmax()]
    assert contrast(brightest, background(words)) > 7


@pytest.mark.parametrize("place", TOGGLES.values(), ids=TOGGLES)
def test_each_toggle_has_the_same_ground_around_its_indicator_as_the_samples(window, mask, place):
    """Only what is inside of the mask changes with the toggle; the rest of the sample stays."""
    ground = background(cut(window, OFF_SAMPLE)[~mask])
    here = cut(window, indicator_of(place))
    assert differs(here[~mask], ground).max() <= INK
    assert numpy.median(differs(here[~mask], ground)) <= ROUNDING


def test_the_samples_are_where_animate_and_crossfade_show_their_indicators():
    assert indicator_of(TOGGLES[1092]) == OFF_SAMPLE
    assert indicator_of(TOGGLES[1094]) == ON_SAMPLE


def test_on_and_off_can_be_told_apart_by_light_and_by_shape(window, mask):
    off, on = cut(window, OFF_SAMPLE), cut(window, ON_SAMPLE)
    assert numpy.abs(on - off)[mask].mean() > 50
    assert on[mask].mean() > off[mask].mean() + 50
    knob = [half.mean() for half in (off[:, :10], off[:, 10:])]
    assert knob[0] > knob[1] + 10, "the knob of the off indicator is on the left"


def test_all_other_indicators_are_drawn_off(window, mask):
    off = cut(window, OFF_SAMPLE)
    for id_, place in TOGGLES.items():
        if id_ != 1094:
            here = cut(window, indicator_of(place))
            assert numpy.abs(here - off)[mask].mean() < ROUNDING, id_


@pytest.mark.parametrize("name, axis", [("SliderBG_108_18_1.jpg", 1), ("VSliderBG_108_18_1.jpg", 0)])
def test_a_slider_is_full_in_the_window_and_empty_in_its_own_picture(skin, window, name, axis):
    full, empty = cut(window, TRACK_CUTS[name]), array(opened(skin[name]))
    changed = differs(full, empty) > INK
    along, across = changed.any(axis=1 - axis), changed.any(axis=axis)
    assert along.sum() >= 104, "the track is as long as the knob's road"
    assert 3 <= across.sum() <= 9
    assert differs(full, empty)[~changed].mean() < ROUNDING, "beside the track nothing changes"


@pytest.mark.parametrize("name, place, middle", [
    ("slide_knob_7_18_1.jpg", DELAY_SLIDER, (3, 9)), ("slide_knob_18_7_1.jpg", VOLUME_SLIDER, (8, 3)),
    ("slide_knob_13_13_1.jpg", MODE_TRACK, (6, 6))])
def test_a_knobs_corners_are_the_ground_that_it_moves_on(skin, window, name, place, middle):
    knob = array(opened(skin[name]))
    ground = background(cut(window, place))
    assert differs(knob[[0, 0, -1, -1], [0, -1, 0, -1]], ground).max() < INK
    assert contrast(knob[middle[1], 1], ground) > 3, "the knob stands out"


def test_the_slider_of_the_display_time_lies_in_the_middle_of_its_knob(skin, window):
    changed = differs(cut(window, DELAY_SLIDER), array(opened(skin["SliderBG_108_18_1.jpg"]))[:17]) > INK
    rows = numpy.nonzero(changed.any(axis=1))[0]
    assert abs((rows.min() + rows.max()) / 2 - 8) <= 0.5  # the knob's middle row, of 18, starting at -1


def test_the_slider_of_the_volume_lies_in_the_middle_of_its_knob(skin, window):
    changed = differs(cut(window, VOLUME_SLIDER), array(opened(skin["VSliderBG_108_18_1.jpg"]))) > INK
    columns = numpy.nonzero(changed.any(axis=0))[0]
    assert abs((columns.min() + columns.max()) / 2 - 9) <= 0.5  # 17 of the knob's columns, from 1 on


def test_the_text_of_the_display_time_has_an_even_dark_ground(window):
    ground = cut(window, DELAY_LABEL)
    assert differs(ground, background(ground)).max() <= ROUNDING
    assert contrast(DELAY_COLOUR, background(ground)) > 7


def test_the_list_and_its_track_have_a_frame_and_nothing_inside(window):
    for place in (MODE_LIST, MODE_TRACK):
        inner = cut(window, (place[0] + 2, place[1] + 2, place[2] - 4, place[3] - 4))
        assert differs(inner, background(inner)).max() <= 2 * ROUNDING


def test_the_web_button_can_stand_alone(window):
    """The cut shows the whole button: its border lies inside, and nothing of its neighbours."""
    sample = cut(window, WEB_SAMPLE)
    border = numpy.concatenate([sample[0], sample[-1], sample[:, 0], sample[:, -1]])
    assert differs(border, background(border)).max() < INK
    inner = sample[4:-4, 4:-4]
    assert (differs(inner, background(inner)) > 2 * INK).mean() > 0.05


def test_flat_ground_shows_no_rings_of_compression(window):
    drawn = subprocess.run(["rsvg-convert", SKIN / "menuskin.svg"], stdout=subprocess.PIPE, check=True)
    error = numpy.abs(array(opened(drawn.stdout)) - window)
    assert error.mean() < 1 and numpy.percentile(error, 99.9) <= 12
