"""The Direct3D show against a reference that shares nothing with it.

A screenshot's time is known only roughly. So the time is sought at which the
reference looks most like it, and the rest is asserted: every pixel's place and
colour. On a slow machine moments come late, and are found all the same.
"""

import functools
import time

import numpy
import pytest

from harness import pictures, reference
from harness.displays import stable_shot
from harness.reference import DESKTOP_MS, TRANSITION_MS, Show, crossfade, fade
from harness.saver import log_second
from harness.waiting import wait_until

pytestmark = pytest.mark.display(width=320, height=240)

# Mean error of a whole screen, in levels of 255: two programs round and resample
# in ways of their own, a quarter of a level as a rule. A picture that lies off by
# a single pixel differs by three levels and more.
BOUND = 1.0
BOUND_16_BITS = 4.0   # a step of red is eight levels, and the device dithers
SEAM = 5.0            # of any pixel
LATE_MS = 5000        # how much of its way the screen may make up for at once
AHEAD_MS = 5000       # how far a slide may be ahead of its phase
MOST_SLIDES = 2000    # that a test watches: hours, so that no machine is too slow


class Watch:
    """Looks at a run, one moment after the other."""

    def __init__(self, run):
        self.run = run
        self._last = None

    def next_shot(self):
        """(its time in ms, pixels) of the next screen that isn't as the last."""
        def differs():
            shot = stable_shot(self.run.desktop.display)
            if self._last is None or (shot != self._last).any():
                self._last = shot
                return True
            return False
        wait_until("the screen changes", differs, 60, alive=self.run.ended)
        return time.monotonic() * 1000, self._last

    def until(self, condition):
        """The first shot that is so."""
        found = self.next_shot()
        while not condition(found[1]):
            found = self.next_shot()
        return found


def is_black(pixels):
    """Nothing but perhaps a mouse pointer."""
    return pixels.mean() < 1


def is_lit(pixels):
    return not is_black(pixels)


def stripes(show):
    """Slanted stripes all over the screen, as flags."""
    y, x = numpy.mgrid[0:show.height, 0:show.width]
    return (x + 2 * y) // 40 % 2 == 0


def start(desktop, show, shown, desktop_colours=((0, 0, 0), (0, 0, 0))):
    """Starts the show, over a black desktop unless told otherwise."""
    desktop.display.paint_desktop(stripes(show), *desktop_colours)
    desktop.settings(**show.settings())
    desktop.slides(shown)
    return Watch(desktop.start("/s"))


def assert_matches(shot, expected, bound=BOUND):
    assert reference.mean_error(expected, shot) < bound
    assert reference.displacement(expected, shot) < 1


class Course:
    """Follows a timeline of slides that move from shot to shot.

    The clock may jump ahead: what was drawn reaches the screen late at first, on
    a slow machine. It never runs back.
    """

    def __init__(self, timeline, begin):
        self._timeline, self._taken, self._clock, self._lowest = timeline, begin, 0, 0
        self._ahead = [0, 0]  # of the slides' clocks

    def follow(self, taken, pixels):
        """Finds the shot's times; returns the screen as it should be then."""
        lowest, guess = self._lowest, self._clock + taken - self._taken
        highest = guess + LATE_MS
        guess, = reference.fitted(pixels, self._all_together, (guess, lowest, highest))
        clock, *slides = reference.fitted(
            pixels, self._timeline.screen, (guess, lowest, highest),
            *[(guess + ahead, lowest, highest + AHEAD_MS) for ahead in self._ahead])
        self._note(taken, clock, slides)
        return self._timeline.screen(clock, *slides)

    def _all_together(self, clock, *, step):
        """The screen if the slides are as far ahead as they were."""
        return self._timeline.screen(clock, *[clock + ahead for ahead in self._ahead], step=step)

    def _note(self, taken, clock, slides):
        """While a slide stands, nothing but its own clock tells the time."""
        self._third = None
        share = self._timeline.change_under_way(clock)
        if self._timeline.stands(clock):
            clock = min(clock, slides[0])
            self._lowest = max(self._lowest, slides[0] - AHEAD_MS)
        else:
            self._lowest = max(self._lowest, clock - 100)
            self._third = None if share is None else int(share * 3)
        self._taken, self._clock = taken, clock
        self._ahead = [min(max(slide - clock, 0), AHEAD_MS) for slide in slides]

    def third_of_change(self):
        """Which third of a change of slides it was, if any."""
        return self._third


def assert_course(watch, timelines, first, bound=BOUND, largest=None, thirds=frozenset({0, 1, 2})):
    """What comes after the shot `first` is one of the timelines, screen by screen,
    till these thirds of a change of slides have been seen, and some shots."""
    courses = [Course(timeline, first[0]) for timeline in timelines]
    seen, shot = [], first
    while not thirds <= set(seen) or len(seen) < 5:
        found = [(course, course.follow(*shot)) for course in courses]
        error = {course: reference.mean_error(expected, shot[1]) for course, expected in found}
        course, expected = min(found, key=lambda pair: error[pair[0]])
        assert_matches(shot[1], expected, bound)
        assert largest is None or reference.largest_error(expected, shot[1]) < largest
        courses = [c for c in courses if error[c] < bound]
        seen.append(course.third_of_change())
        shot = watch.next_shot()


class StillCourse:
    """Follows a show of slides that don't move from shot to shot, by the screens
    alone: nothing tells how long a slide has been standing, and after a picture
    that came late a change begins in its midst, or is over at once."""

    def __init__(self, slides, show):
        self._slides, self._change = slides, crossfade if show.crossfade else fade
        self._place = self._taken = None  # in slides and parts of the change to the next one

    def follow(self, taken, pixels, bound):
        """The screen as it should be; None if nothing looks like that, or nothing
        to which the show can have come since the last shot."""
        places = [(number + self._share(number, pixels), number)
                  for number in range(len(self._slides))]
        ahead = [(self._ahead(place), place) for place, number in places
                 if reference.mean_error(self._screen(number, place - number), pixels) < bound]
        if not ahead:
            return None
        least, place = min(ahead)
        if self._place is not None and least > 1.1 + (taken - self._taken) / TRANSITION_MS:
            return None
        self._place, self._taken = place, taken
        return self._screen(int(place), place % 1)

    def slide(self):
        """The number of the slide, the older one in a change."""
        return int(self._place)

    def third_of_change(self):
        """Which third of a change of slides the last shot showed, if any."""
        share = self._place % 1
        return int(share * 3) if 0.05 < share < 0.95 else None

    def _ahead(self, place):
        """How far that is ahead of the last shot; a little behind counts as nothing."""
        if self._place is None:
            return 0
        return max((place - self._place + 0.05) % len(self._slides) - 0.05, 0)

    def _share(self, number, pixels):
        """Which part of the change from that slide to the next looks most like it."""
        def screen(clock, *, step):
            return self._screen(number, clock / TRANSITION_MS, step)
        clock, = reference.fitted(pixels, screen, (0, 0, TRANSITION_MS - 1))
        return clock / TRANSITION_MS

    def _screen(self, number, share, step=1):
        old, new = self._slides[number], self._slides[(number + 1) % len(self._slides)]
        return self._change(old, new, share * TRANSITION_MS, 0, 0, step)


def assert_still_course(watch, shown, show, bound=BOUND):
    """Screen by screen, till all thirds of changes of slides have been seen, and
    all slides."""
    course = StillCourse(reference.slides(shown, show, len(shown)), show)
    thirds, slides, shot = set(), set(), watch.until(is_lit)
    while not {0, 1, 2} <= thirds or len(slides) < len(shown):
        expected = course.follow(*shot, bound)
        assert expected is not None, "no slide and no change of slides that can follow here"
        assert_matches(shot[1], expected, bound)
        thirds.add(course.third_of_change())
        slides.add(course.slide())
        shot = watch.next_shot()


def wavy(name, width, height, hue, declared=None):
    return pictures.picture(name, width, height, hue, declared, scene=pictures.waves)


# --- Still pictures: place, tiles, resampling

@pytest.mark.parametrize("name, width, height, declared, cram_size", [
    ("of_the_screens_shape.png", 1024, 768, None, 4096),
    ("wide.png", 1500, 500, None, 4096),
    ("tall.png", 300, 700, None, 4096),
    ("square.bmp", 600, 600, None, 4096),
    ("tiny.png", 12, 9, None, 4096),
    ("one_tile.bmp", 256, 256, None, 4096),
    ("two_tiles.bmp", 512, 256, None, 4096),
    ("many_tiles.jpg", 2600, 1900, None, 4096),
    ("twelve_megapixels_limited.jpg", 4000, 3000, None, 1024),
    ("limited_in_width.bmp", 1600, 1000, None, 1536),
    ("declared_wider_than_it_is.png", 400, 400, (1000, 250), 4096),
])
def test_still_picture_stands_whole_and_centred(desktop, name, width, height, declared, cram_size):
    show = Show(animate=False, delay=60000, cram_size=cram_size)
    shown = wavy(name, width, height, len(name) % 6, declared)
    _, shot = start(desktop, show, [shown]).until(is_lit)
    assert_matches(shot, reference.slides([shown], show)[0].picture(0))


def test_flat_picture_has_no_seams(desktop):
    colour = (200, 120, 60)
    shown = pictures.encoded("flat.png", numpy.full((900, 1200, 3), colour, "uint8"))
    _, shot = start(desktop, Show(animate=False, delay=60000), [shown]).until(is_lit)
    assert numpy.abs(shot.astype(int) - colour).max() <= 1


def noisy(name, width, height):
    """A picture whose finest details tell the mip levels apart."""
    dots = numpy.random.default_rng(5).integers(0, 256, (height, width, 3))
    return pictures.encoded(name, (dots // 2 + 64).astype("uint8"))


@pytest.mark.parametrize("mip_map", [False, True], ids=["without mip levels", "with mip levels"])
def test_details_are_reduced_by_mip_levels_if_they_are_on(desktop, mip_map):
    show = Show(animate=False, delay=60000, mip_map=mip_map)
    other = Show(animate=False, delay=60000, mip_map=not mip_map)
    shown = noisy("noise.png", 1280, 768)
    _, shot = start(desktop, show, [shown]).until(is_lit)
    error = reference.mean_error(reference.slides([shown], show)[0].picture(0), shot)
    assert error < 1.5
    assert reference.mean_error(reference.slides([shown], other)[0].picture(0), shot) > 4 * error


# --- Whole shows

DESKTOP = ((230, 120, 40), (30, 160, 220))


def desktop_picture(show):
    return numpy.where(stripes(show)[:, :, None], *DESKTOP).astype(float)


def moving_timelines(shown, show, run):
    """The timelines that the run may follow: it seeded its numbers, which choose
    the points of focus, with the second in which the set-up began."""
    unmoved = reference.slides(shown, show, MOST_SLIDES)
    first = log_second(run.log_text(), "Enter function: initStates")
    return [reference.Timeline(reference.about_points(unmoved, show, seed), show)
            for seed in (first, first + 1)]


def test_animated_show_from_the_desktop_on(desktop):
    show = Show(delay=2600)
    shown = [wavy("first.png", 800, 600, 0), wavy("second.png", 1000, 600, 2)]
    watch = start(desktop, show, shown, DESKTOP)
    screen = functools.partial(reference.desktop_sinking, desktop_picture(show))
    _, shot = watch.next_shot()
    while is_lit(shot):
        assert_matches(shot, screen(*reference.fitted(shot, screen, (0, 0, DESKTOP_MS))))
        _, shot = watch.next_shot()
    assert_course(watch, moving_timelines(shown, show, watch.run), watch.until(is_lit))

    assert watch.run.quit() == 0
    rate = [line for line in desktop.log() if line.startswith("Average FPS: ")]
    assert rate == ["Average FPS: " + desktop.setting_text("AvgFps")]
    assert float(desktop.setting_text("AvgFps")) not in (0, 100), "no rate was ever measured"


def ramps(name, width, height, count):
    """Even slopes up and down: a seam would stand out."""
    def ramp(places):
        return numpy.abs(places % 2 - 1) * 255
    y, x = numpy.mgrid[0:height, 0:width]
    across, down = (count + 1) * x / width, count * y / height
    return pictures.encoded(name, numpy.stack(
        [ramp(across), ramp(down), ramp((across + down) / 2)], 2).astype("uint8"))


def test_animated_show_through_black_without_a_seam(desktop):
    show = Show(delay=2600, crossfade=False)
    shown = [ramps("even.png", 1024, 768, 3), ramps("steep.png", 1000, 700, 5)]
    watch = start(desktop, show, shown)
    first = watch.until(is_lit)
    assert_course(watch, moving_timelines(shown, show, watch.run), first, largest=SEAM)


# Three: with two, nothing would tell forth from back.
THREE = [wavy("wide.png", 900, 300, 1), wavy("tall.bmp", 300, 600, 3),
         wavy("square.bmp", 500, 500, 5)]


def test_still_show_with_crossfade_leaves_out_a_bad_picture(desktop):
    show = Show(animate=False, delay=700)
    watch = start(desktop, show, [THREE[0], pictures.broken("bad.jpg"), *THREE[1:]])
    assert_still_course(watch, THREE, show)


def test_still_show_through_black(desktop):
    show = Show(animate=False, crossfade=False, delay=700)
    watch = start(desktop, show, THREE)
    assert_still_course(watch, THREE, show)


# --- Sixteen bits

@pytest.mark.display(width=320, height=240, depth=16)
def test_screen_of_sixteen_bits(desktop):
    show = Show(animate=False, delay=700, bits=16)
    watch = start(desktop, show, THREE)
    assert_still_course(watch, THREE, show, BOUND_16_BITS)


def test_requested_depth_of_sixteen_bits_opens_without_the_desktop(desktop):
    """A changed mode has nothing to do with the desktop as the user knows it."""
    show = Show(delay=2600, bits=16)
    shown = [wavy("first.png", 800, 600, 0), wavy("second.png", 1000, 600, 2)]
    desktop.settings(DispModeWidth="320", DispModeHeight="240", DispModeBits="16")
    watch = start(desktop, show, shown, DESKTOP)
    background = desktop_picture(show)
    _, shot = watch.next_shot()
    while is_lit(shot):
        assert reference.mean_error(background, shot) < BOUND, "the desktop doesn't sink"
        _, shot = watch.next_shot()
    first = watch.until(is_lit)
    assert_course(watch, moving_timelines(shown, show, watch.run), first, BOUND_16_BITS,
                  thirds=frozenset())
    assert watch.run.quit() == 0
    log = desktop.log()
    assert "320x240x16" in log and "Changing back display settings" in log
