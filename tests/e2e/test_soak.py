"""Nothing is left of the saver, and nothing grows, in short; tests/soak is the long form."""

import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from soak import gauges
from soak.scenes import PALETTE
from soak.series import KILOBYTES
from soak.slides import BUNDLE, LOG, Slides
from soak.starts import Starts

pytestmark = pytest.mark.display(width=160, height=120)

SLIDES, STARTS = 24, 2
# What a slide may leave, one each: memory tells something in long runs only, since a
# driver's caches fill in the first seconds.
COUNTED = {"open files", "threads", "handles", "GDI objects", "USER objects of the desktop"}
# Readings meet up to two loaders at work, each with a thread and four files of its own
# and for a moment the bundle, and on a slow machine there are half a dozen readings. One
# thing left by each slide makes some fifteen of them between the first and the last.
AT_WORK = SLIDES // 2


def quiet(_):
    """Nobody listens to the progress."""


def faults(soak):
    """What went wrong, but for what seems to grow."""
    return [fault for fault in soak.faults if fault not in soak.readings.growing()]


def test_gauges_count_what_is_made_and_given_back(bare_desktop):
    gauges.check(bare_desktop.hand)


@pytest.mark.parametrize("mode", ["fast", "direct3d", "preview"])
def test_nothing_is_left_of_a_start(bare_desktop, mode):
    soak = Starts(bare_desktop, mode, STARTS)
    soak.run(quiet)
    assert not faults(soak)
    counted = [series for series in soak.readings.series if series.gauge.unit != KILOBYTES]
    assert not [(s.gauge.name, s.values) for s in counted if s.grows()]
    assert soak.reached == STARTS


def test_slides_give_back_what_they_take(bare_desktop):
    soak = Slides(bare_desktop, "direct3d", SLIDES, len(PALETTE))
    soak.run(quiet)
    assert not faults(soak)
    counted = [series for series in soak.readings.series if series.gauge.name in COUNTED]
    assert len(counted) == len(COUNTED)
    assert not [(s.gauge.name, s.values) for s in counted if s.growth() > AT_WORK]
    assert soak.reached >= SLIDES
    assert soak.openings[BUNDLE][0] > 2 * len(PALETTE) + SLIDES, "each picture is read by itself"
    assert soak.openings[LOG][0] > 0
