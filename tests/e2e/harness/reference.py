"""What the Direct3D show puts on the screen, worked out from scratch: source
picture, settings and a moment in, pixels out. Plain geometry and numpy; nothing
here is the product's.

The screen is 2 units wide, centred on the origin, y up; times are milliseconds.
"""

import copy
import dataclasses
import functools
import math

import numpy
import PIL.Image

from .crt import Rand

OPENING_MS, TRANSITION_MS, DESKTOP_MS = 2000, 4000, 2500
ZOOM = 0.12            # what a slide grows or shrinks by in the time of one delay
LARGEST_TEXTURE = 256  # px
MIP_LEVELS = 4


@dataclasses.dataclass(frozen=True)
class Show:
    """The settings that the pictures depend on, and the screen."""
    width: int = 320            # px
    height: int = 240
    delay: float = 2500         # ms
    animate: bool = True
    crossfade: bool = True
    mip_map: bool = True
    cram_size: int = 4096       # px
    bits: int = 32              # a pixel, of screen and textures

    @property
    def top(self):
        return self.height / self.width

    def settings(self):
        return dict(FastMode=0, PlayMusic=0, RandomOrder=0, ImageDelay=f"{self.delay / 1000:f}",
                    Animate=int(self.animate), Crossfade=int(self.crossfade),
                    MipMap=int(self.mip_map), CramSize=self.cram_size)


# Tiles

def resized(pixels, width, height, resampling):
    if pixels.shape[:2] == (height, width):
        return pixels
    return numpy.asarray(PIL.Image.fromarray(pixels).resize((width, height), resampling))


def is_power_of_two(side):
    return side > 1 and side & (side - 1) == 0


class Tiles:
    """A picture cut into textures, with their mip chains."""

    def __init__(self, pixels, show):
        height, width = pixels.shape[:2]
        if max(width, height) <= LARGEST_TEXTURE and all(map(is_power_of_two, (width, height))):
            self.columns = self.rows = 1
            whole = pixels
        else:
            whole = self._cut(pixels, show.cram_size)
        # What a texture's channels count in: all 256 levels, or 5, 6 and 5 bits.
        unit = numpy.array([1, 1, 1] if show.bits == 32 else [8, 4, 8], "float32")
        highest = numpy.array([255, 255, 255] if show.bits == 32 else [31, 63, 31], "float32")
        self.levels = [whole // unit]
        while show.mip_map and len(self.levels) < self._level_limit():
            self.levels.append(self._halved(self.levels[-1]))
        self.levels = [level * (255 / highest) for level in self.levels]

    def _cut(self, pixels, cram_size):
        """All textures side by side, as one picture."""
        true_height, true_width = pixels.shape[:2]
        width, height = min(true_width, cram_size), min(true_height, cram_size)
        crammed = (width, height) != (true_width, true_height)
        self.columns = max(width // LARGEST_TEXTURE, 1)
        self.rows = max(height // LARGEST_TEXTURE, 1)
        fitted = (self.columns * LARGEST_TEXTURE, self.rows * LARGEST_TEXTURE)
        if fitted != (width, height):
            pixels = resized(pixels, *fitted, PIL.Image.LANCZOS)
        if not crammed:
            return pixels
        # Each side by itself: one may shrink while the other grows.
        for side in ((width // self.columns * self.columns, pixels.shape[0]),
                     (width // self.columns * self.columns, height // self.rows * self.rows)):
            grows = side[0] > pixels.shape[1] or side[1] > pixels.shape[0]
            pixels = resized(pixels, *side, PIL.Image.BILINEAR if grows else PIL.Image.BOX)
        return pixels

    def _level_limit(self):
        height, width = self.levels[0].shape[:2]
        side = min(width // self.columns, height // self.rows)
        return MIP_LEVELS if side >> (MIP_LEVELS - 1) >= 2 else int(math.log2(side)) + 1

    def _halved(self, level):
        """Each texture by itself: an odd last row or column falls away."""
        height, width = level.shape[0] // self.rows, level.shape[1] // self.columns
        tiles = level.reshape(self.rows, height, self.columns, width, 3)
        even = tiles[:, :height // 2 * 2, :, :width // 2 * 2]
        mean = (even[:, ::2, :, ::2] + even[:, 1::2, :, ::2] +
                even[:, ::2, :, 1::2] + even[:, 1::2, :, 1::2]) // 4
        return mean.reshape(self.rows * (height // 2), self.columns * (width // 2), 3)

    def sampled(self, across, down, across_step, down_step):
        """The picture at places given as 0 to 1 along each side.

        The steps are those from pixel to pixel: they choose the mip level.
        """
        height, width = self.levels[0].shape[:2]
        detail = math.log2(max(across_step * width, down_step * height, 1e-9))
        detail = min(max(detail, 0.0), len(self.levels) - 1.0)
        lower = int(detail)
        upper = min(lower + 1, len(self.levels) - 1)
        share = detail - lower
        near = self._bilinear(self.levels[lower], across, down)
        return near if share == 0 else (
            near * (1 - share) + self._bilinear(self.levels[upper], across, down) * share)

    def _bilinear(self, level, across, down):
        rows = self._blend(level, down, self.rows, 0)
        return self._blend(rows, across, self.columns, 1)

    @staticmethod
    def _blend(pixels, places, tiles, axis):
        """Linear interpolation along one axis that never crosses a tile's edge."""
        side = pixels.shape[axis] // tiles
        tile = numpy.clip(numpy.floor(places * tiles), 0, tiles - 1).astype(int)
        texel = (places * tiles - tile) * side - 0.5
        first = numpy.floor(texel).astype(int)
        share = texel - first
        a = pixels.take(tile * side + numpy.clip(first, 0, side - 1), axis)
        b = pixels.take(tile * side + numpy.clip(first + 1, 0, side - 1), axis)
        share = share[:, None, None] if axis == 0 else share[None, :, None]
        return a * (1 - share) + b * share


# Slides

class Slide:
    """A picture on the screen, which it covers if it moves and fits if it doesn't.

    `shown` has `pixels` and the catalogue's `width` and `height`. The first
    slide of a show grows, the second shrinks, and so on.
    """

    def __init__(self, shown, show, number):
        self._show, self._number, self._focus = show, number, (0, 0)
        self.tiles = Tiles(shown.pixels, show)
        fit = max if show.animate else min
        scale = fit(show.width / shown.width, show.height / shown.height)
        self._width = shown.width * scale * 2 / show.width     # world units
        self._height = shown.height * scale * 2 / show.width

    def numbered(self, number):
        """The same picture as that slide of the show."""
        slide = copy.copy(self)
        slide._number = number
        return slide

    def about(self, focus):
        """The same slide, moving about that point."""
        slide = copy.copy(self)
        slide._focus = focus
        return slide

    def growth(self, age):
        """How much larger it is than its base size, `age` ms after it came."""
        if not self._show.animate:
            return 0.0
        zoom = ZOOM * age / self._show.delay
        if self._number % 2 == 0:
            return zoom
        return ZOOM * (self._show.delay + 2 * TRANSITION_MS) / self._show.delay - zoom

    def picture(self, age, *, step=1):
        """The screen with nothing but this slide; every `step`th pixel each way."""
        growth = self.growth(age)
        down, across = self._places(growth, step)
        pixel = 2 / self._show.width / (1 + growth)
        result = self.tiles.sampled(across, down, pixel / self._width, pixel / self._height)
        result[(down < 0) | (down >= 1), :] = 0
        result[:, (across < 0) | (across >= 1)] = 0
        return result

    def covered(self, age, step):
        """Which pixels it covers: 1 or 0 each."""
        down, across = self._places(self.growth(age), step)
        return (((down >= 0) & (down < 1))[:, None] * ((across >= 0) & (across < 1)))[:, :, None]

    def darkening(self, blend):
        return 1 if self._show.animate else 1 - blend

    def _places(self, growth, step):
        """Where in the picture the screen's rows and columns lie, 0 to 1.

        The device samples a pixel at its corner, not at its centre.
        """
        show = self._show
        x = numpy.arange(0, show.width, step) * 2 / show.width - 1
        y = show.top - numpy.arange(0, show.height, step) * 2 / show.width
        return ((self._height / 2 - self._before(y, self._focus[1], growth)) / self._height,
                (self._before(x, self._focus[0], growth) + self._width / 2) / self._width)

    @staticmethod
    def _before(place, focus, growth):
        """Where what is at `place` now was before the slide grew."""
        return (place + focus * growth) / (1 + growth)


def focuses(seed, show, count):
    """The points of focus of a show's slides, if it was seeded with `seed`."""
    rand = Rand(seed)
    heights = int(show.top * 200)
    return [(rand() % 200 / 100 - 1, rand() % heights / 100 - show.top) for _ in range(count)]


def slides(shown, show, count=1):
    """The first `count` slides of a show that goes round and round."""
    made = [Slide(picture, show, n) for n, picture in enumerate(shown)]
    return [made[n % len(made)].numbered(n) for n in range(count)]


def about_points(unmoved, show, seed):
    """The slides about the points of focus that `seed` gives them."""
    points = focuses(seed, show, len(unmoved))
    return [slide.about(point) for slide, point in zip(unmoved, points)]


# Moments

def desktop_sinking(desktop, clock, *, step=1):
    """The desktop `clock` ms into its way to black."""
    level = min(clock / DESKTOP_MS, 1)
    return desktop[::step, ::step] * (1 - level * level)


class Timeline:
    """A show of slides that move, from its first picture on.

    Slides move by the measured times of frames while phases begin with a frame,
    so each slide has a clock of its own, which is somewhat ahead of the show's.
    """

    def __init__(self, shown_slides, show):
        self.slides, self._show = shown_slides, show
        self._turn = show.delay + TRANSITION_MS
        self._lead = TRANSITION_MS if show.crossfade else TRANSITION_MS / 2

    def stands(self, clock):
        """Whether a slide stands by itself, in full light."""
        return clock >= OPENING_MS and self.change_under_way(clock) is None

    def change_under_way(self, clock):
        """How far the present change of slides is, 0 to 1; None while there is
        none."""
        rest = (clock - OPENING_MS) % self._turn - self._show.delay
        return rest / TRANSITION_MS if clock >= OPENING_MS and rest >= 0 else None

    def screen(self, clock, old_clock=0, new_clock=0, *, step=1):
        """The screen at `clock` ms, with the present slide and the one that comes
        where they are at theirs."""
        number, rest = divmod(max(clock - OPENING_MS, 0), self._turn)
        number = int(number)
        old, old_age = self.slides[number], self._age(number, old_clock)
        if clock < OPENING_MS:
            return old.picture(old_age, step=step) * (clock / OPENING_MS)
        if rest < self._show.delay:
            return old.picture(old_age, step=step)
        change = crossfade if self._show.crossfade else fade
        return change(old, self.slides[number + 1], rest - self._show.delay, old_age,
                      self._age(number + 1, new_clock), step)

    def _age(self, number, clock):
        """How long the slide has been moving."""
        return clock - (OPENING_MS + number * self._turn - self._lead if number else 0)


def crossfade(old, new, clock, old_age, new_age, step):
    """The alpha is multiplied by itself: half way through, a quarter of the new
    picture shows. A still picture darkens meanwhile, for it may be larger than
    the new one."""
    blend = clock / TRANSITION_MS
    below = old.picture(old_age, step=step) * old.darkening(blend)
    share = blend * blend * new.covered(new_age, step)
    return below * (1 - share) + new.picture(new_age, step=step) * share


def fade(old, new, clock, old_age, new_age, step):
    """Through black, where the picture changes."""
    half = TRANSITION_MS / 2
    if clock < half:
        return old.picture(old_age, step=step) * (1 - clock / half)
    return new.picture(new_age, step=step) * (clock / half - 1)


# Comparing

def mean_error(expected, shot):
    """Mean difference in levels of 255."""
    return float(numpy.abs(expected - shot).mean())


def largest_error(expected, shot):
    return float(numpy.abs(expected - shot).max())


def displacement(expected, shot):
    """By how many pixels `shot` lies off, at most, in any quarter of the screen
    that has slopes enough to tell."""
    height, width = shot.shape[:2]
    worst = 0.0
    for rows in (slice(0, height // 2), slice(height // 2, height)):
        for columns in (slice(0, width // 2), slice(width // 2, width)):
            worst = max(worst, _shift(expected[rows, columns], shot[rows, columns].astype(float)))
    return worst


LEAST_SLOPE = 1.5     # levels a pixel: less is lost in the rounding


def _shift(expected, actual):
    """Least squares: the small shift that explains the difference best."""
    down, across = (g.ravel() for g in numpy.gradient(expected, axis=(0, 1)))
    if min(numpy.abs(across).mean(), numpy.abs(down).mean()) < LEAST_SLOPE:
        return 0.0
    matrix = numpy.stack([across, down], axis=1)
    found = numpy.linalg.lstsq(matrix, (expected - actual).ravel(), rcond=None)[0]
    return float(numpy.abs(found).max())


LEVELS_PER_MS = 1e-4  # how much better a time must look that is farther from the guess
FIT_STEP = 8          # px between those that a fit looks at


def fitted(shot, picture, *sought):
    """The times at which `picture(*times, step=)` looks most like `shot`.

    `sought` are (first guess, lowest, highest) in ms. Each time is sought in
    turn, coarsely and then ever more finely; where several look alike, the one
    nearest to the guess is taken.
    """
    seen = shot[::FIT_STEP, ::FIT_STEP].astype(float)
    times = [guess for guess, _, _ in sought]

    def badness(n, time):
        tried = picture(*times[:n], time, *times[n + 1:], step=FIT_STEP)
        return mean_error(tried, seen) + LEVELS_PER_MS * abs(time - sought[n][0])

    coarse = 50 if len(sought) == 1 else 200  # ms: dark moments look much alike
    for reach in (math.inf, 1000, 240, 60, 15, 4):
        for n, (_, low, high) in enumerate(sought):
            first, last = max(low, times[n] - reach), min(high, times[n] + reach)
            tried = numpy.linspace(first, last, max(9, int((last - first) / coarse)))
            times[n] = min((times[n], *tried), key=functools.partial(badness, n))
    return times
