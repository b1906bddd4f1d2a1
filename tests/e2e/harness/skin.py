"""What the settings window should look like, put together from the pictures behind the program."""

import io
import pathlib
import struct
import sys

import numpy
from PIL import Image

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "content"))

from bundles import read_bundle
from resources import Resources

SIZE = (640, 458)

# Places are left, top, width, height in the window. A toggle's indicator ends at its right edge;
# the sense says which value of the setting it shows as on.
TOGGLES = {
    "SetAsWallpaper": ((359, 274, 160, 15), 1), "RandomOrder": ((364, 294, 155, 15), 1),
    "Animate": ((426, 314, 93, 15), 1), "Crossfade": ((412, 334, 107, 15), 1),
    "CramImages": ((391, 354, 128, 15), 0), "PlayMusic": ((394, 94, 111, 15), 1),
    "DefaultMusic": ((419, 127, 85, 15), 1), "CustomMusic": ((418, 147, 86, 15), 1),
    "ShuffleMusic": ((391, 185, 146, 15), 1), "FastMode": ((14, 295, 102, 34), 1),
}
DEFAULTS = dict(SetAsWallpaper=0, RandomOrder=1, Animate=1, Crossfade=1, CramImages=1, PlayMusic=1,
                DefaultMusic=1, CustomMusic=0, ShuffleMusic=1, FastMode=0, ImageDelay=10,
                MusicVol=255)
DELAY_SLIDER = (367, 245, 108, 17)
DELAY_LABEL = (477, 245, 42, 17)
VOLUME_SLIDER = (601, 94, 18, 108)
MODE_LIST = (522, 275, 92, 94)
MODE_TRACK = (614, 275, 15, 94)
OFF_SAMPLE = (499, 314, 20, 15)
ON_SAMPLE = (499, 334, 20, 15)
HALF_KNOB = 3.5
LABEL_COLOUR = (0xF8, 0xF0, 0xD4)
# Two decoders may round a colour differently.
ROUNDING = 3


def box_of(place):
    left, top, width, height = place
    return left, top, left + width, top + height


def centre_of(place):
    left, top, width, height = place
    return left + width // 2, top + height // 2


def indicator_of(place):
    left, top, width, height = place
    return left + width - 20, top + height // 2 - 7


def knob_position(value, span):
    """Middle of a slider's knob, which can't leave the track."""
    return min(max((span - HALF_KNOB) * value, HALF_KNOB), span - HALF_KNOB)


def looks_like(shown, drawn):
    """Whether these pixels of a screen are those of the drawing."""
    return numpy.abs(shown.astype(int) - drawn).max() <= ROUNDING


class Skin:
    """The pictures and the outline in a program's bytes."""

    def __init__(self, program):
        self._members = read_bundle(program)["skin"]
        self._region = Resources(program).find("BINARY", 124, 1033)
        self.window = self._picture("menuskin.jpg")

    def _picture(self, name):
        return Image.open(io.BytesIO(self._members[name]))

    def outline(self):
        """True where the window is."""
        inside = numpy.zeros(SIZE[::-1], dtype=bool)
        for left, top, right, bottom in struct.iter_unpack("<4i", self._region[32:]):
            inside[top:bottom, left:right] = True
        return inside

    def looks(self, **settings):
        """The window with these settings, others at their defaults, without list and label."""
        values = {**DEFAULTS, **settings}
        picture = self.window.copy()
        for name, (place, on_value) in TOGGLES.items():
            self._draw_indicator(picture, place, values[name] == on_value)
        self._draw_delay(picture, values["ImageDelay"])
        self._draw_volume(picture, values["MusicVol"])
        left, top, _, _ = MODE_TRACK
        picture.paste(self._picture("slide_knob_13_13_1.jpg"), (left + 1, top))
        return numpy.asarray(picture).astype(int)

    def _draw_indicator(self, picture, place, on):
        sample = self.window.crop(box_of(ON_SAMPLE if on else OFF_SAMPLE))
        mask = self._picture("toggle_mask_3.bmp").convert("L").point(lambda light: 255 - light)
        picture.paste(sample, indicator_of(place), mask)

    def _draw_delay(self, picture, seconds):
        left, top, width, height = DELAY_SLIDER
        position = knob_position((seconds - 4) / 26, width)
        empty = self._picture("SliderBG_108_18_1.jpg").crop((int(position), 0, width, height))
        picture.paste(empty, (left + int(position), top))
        knob = self._picture("slide_knob_7_18_1.jpg").crop((0, 1, 7, 18))
        picture.paste(knob, (left + int(position - HALF_KNOB), top))

    def _draw_volume(self, picture, volume):
        left, top, width, height = VOLUME_SLIDER
        position = knob_position(1 - volume / 255, height)
        empty = self._picture("VSliderBG_108_18_1.jpg").crop((0, 0, width, int(position)))
        picture.paste(empty, (left, top))
        knob = self._picture("slide_knob_18_7_1.jpg").crop((0, 0, 17, 7))
        picture.paste(knob, (left + 1, top + int(position - HALF_KNOB)))
