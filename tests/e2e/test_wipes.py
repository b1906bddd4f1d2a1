"""The twelve wipes, as they carry one picture over to the next on the screen.

The show draws its random numbers from the C run time, seeded with the second
of its start. So a start's second tells which wipes it will show, up to the
first one that draws an unknown amount of numbers; starts are timed so that
few of them show all twelve.
"""

import dataclasses
import time

import numpy
import pytest

from harness import pictures
from harness.crt import Rand
from harness.displays import VirtualDisplay, record, settled
from harness.saver import Desktop, log_second
from harness.waiting import wait_until

W, H = 320, 240
DELAY, WIPE_SECONDS = 0.8, 1.5
RAGGED_REACH = 204  # pixels that torn blocks lie ahead of the edge


# ---- What a wipe shows at the position p, from the old and the new picture

def columns(p, old, new):
    return numpy.concatenate([new[:, :p], old[:, p:]], axis=1)


def sliding_halves(p, old, new):
    """Top half: the old picture moves out to the right; bottom half: to the left."""
    height, width = old.shape[:2]
    top, bottom = slice(0, height // 2), slice(height // 2, height // 2 * 2)
    frame = old.copy()
    frame[top, :p], frame[top, p:] = new[top, :p], old[top, :width - p]
    frame[bottom, :width - p], frame[bottom, width - p:] = old[bottom, p:], new[bottom, width - p:]
    return frame


def split(p, old, new):
    """The old picture's halves move apart and uncover the new one."""
    width = old.shape[1]
    middle = width // 2
    return numpy.concatenate([old[:, p - middle:middle], new[:, width - p:p],
                              old[:, middle:middle + width - p]], axis=1)


def doors(p, old, new):
    """The new picture's halves slide in from both edges."""
    width = old.shape[1]
    middle = width // 2
    return numpy.concatenate([new[:, middle - p:middle], old[:, p:width - p],
                              new[:, middle:middle + p]], axis=1)


def turned(model):
    """The same wipe with rows in place of columns."""
    return lambda p, old, new: model(p, old.swapaxes(0, 1), new.swapaxes(0, 1)).swapaxes(0, 1)


# effect: (model, positions)
MOVING = {
    3: (columns, range(1, W)),
    4: (turned(columns), range(1, H)),
    7: (sliding_halves, range(1, W)),
    8: (turned(sliding_halves), range(1, H)),
    9: (split, range(W // 2 + 1, W)),
    10: (turned(split), range(H // 2 + 1, H)),
    11: (doors, range(1, W // 2)),
    12: (turned(doors), range(1, H // 2)),
}


def is_lines(frame, old, new, axis):
    """Whole columns (axis 0) or rows (axis 1), each of one picture only."""
    is_new = (frame == new).all(axis=2).all(axis=axis)
    is_old = (frame == old).all(axis=2).all(axis=axis)
    # In scattered order: both kinds stand in each half of the screen.
    middle = len(is_new) // 2
    return (is_new | is_old).all() and all(
        part.any() and not part.all() for part in (is_new[:middle], is_new[middle:]))


def is_ragged(frame, old, new):
    """New up to p, old from the torn edge on, blocks of both in between."""
    is_new, is_old = (frame == new).all(axis=2), (frame == old).all(axis=2)
    if not (is_new | is_old).all():
        return False
    whole = is_new.all(axis=0)
    p = int(numpy.argmin(whole)) if not whole.all() else len(whole)
    behind, ahead = is_new[:, p:p + RAGGED_REACH], is_new[:, p + RAGGED_REACH:]
    return 0 < p < len(whole) and behind.any() and not ahead.any()


def shows(effect, frame, old, new):
    """True if the frame is one of those that the wipe goes through."""
    if effect in (1, 2):
        return is_lines(frame, old, new, axis=effect - 1)
    if effect == 5:
        return is_ragged(frame, old, new)
    if effect == 6:
        return is_ragged(*(picture.swapaxes(0, 1) for picture in (frame, old, new)))
    model, positions = MOVING[effect]
    middle = positions[len(positions) // 10:-len(positions) // 10]
    return any((model(p, old, new) == frame).all() for p in middle)


# ---- Foretelling a start's wipes

def foretold(seed, limit=6):
    """The effects after the first picture's own, as far as they are known."""
    rand = Rand(seed)
    draws = {1: 2 * W, 2: 2 * H}  # numbers that an effect draws for itself
    effects = []
    while len(effects) <= limit:
        effects.append(rand() % 12 + 1)
        if effects[-1] in (5, 6):  # as many as it has steps
            break
        for _ in range(draws.get(effects[-1], 0)):
            rand()
    return effects[1:]


def best_start(missing, horizon=15):
    """The second to come whose show brings the most of the missing wipes."""
    now = int(time.time()) + 1
    return max(range(now, now + horizon),
               key=lambda second: (len(missing & set(foretold(second))), -second))


def seed_of(run):
    """The second in which the run most likely seeded its numbers, from its log: now and
    then the next one begins between the line and the seeding."""
    run.wait_for_log("Enter function: initStates")
    return log_second(run.log_text(), "Enter function: initStates")


@dataclasses.dataclass
class Recording:
    """Frames of one wipe, [(seconds, pixels)], the two pictures as they stand, and how long
    after the start of the saver it was over."""

    old: numpy.ndarray
    new: numpy.ndarray
    frames: list
    seconds: float

    def is_of(self, effect):
        """Whether a frame from the middle is one of this wipe's."""
        midway = [shot for _, shot in self.frames
                  if (shot != self.old).any() and (shot != self.new).any()]
        return any(shows(effect, shot, self.old, self.new) for shot in midway)


@dataclasses.dataclass
class Session:
    """How long a start took until these wipes were over, the first picture's apart."""

    effects: list
    seconds: float

    def least_seconds(self):
        """The first picture's wipe, and for each one more a delay and the wipe."""
        *earlier, last = self.effects
        return (WIPE_SECONDS + len(earlier) * (DELAY + WIPE_SECONDS)
                + DELAY + seconds_until_whole(last))


def seconds_until_whole(effect):
    """When the new picture may stand whole: torn blocks run ahead of the edge and cover all."""
    extent = {5: W, 6: H}.get(effect)
    return WIPE_SECONDS * max(0, extent - RAGGED_REACH) / extent if extent else WIPE_SECONDS


@pytest.fixture(scope="module")
def studio():
    """A desktop, two pictures, and how each of them stands on the screen."""
    desktop = Desktop(VirtualDisplay(W, H))
    try:
        desktop.settings(FastMode=1, PlayMusic=0, RandomOrder=0, ImageDelay="60.000000")
        shown = [pictures.picture("a.bmp", W, H, 0), pictures.picture("b.bmp", W, H, 2)]
        standing = [picture_after_a_cut(desktop, shown), picture_after_a_cut(desktop, shown[::-1])]
        desktop.slides(shown)
        desktop.settings(ImageDelay=f"{DELAY:f}")
        yield desktop, standing
    finally:
        desktop.close()


def picture_after_a_cut(desktop, shown):
    """The screen of the first picture: it comes there whole just before the main loop."""
    desktop.slides(shown)
    run = desktop.start("/s").wait_for_show()
    run.wait_for_picture(shown[0])
    screen = settled(desktop.display)
    run.quit()
    return screen


@pytest.fixture(scope="module")
def recordings(studio):
    """effect -> Recording that is of it, and the sessions that brought them."""
    desktop, standing = studio
    wipes, sessions = {}, []
    limit = time.monotonic() + 700
    while len(wipes) < 12 and time.monotonic() < limit:
        record_start(desktop, standing, wipes, sessions)
    return wipes, sessions


def record_start(desktop, standing, wipes, sessions):
    """One start of the saver: records the wipes that are still missing.

    What isn't of the foretold wipe isn't kept: the start was seeded with another second, or
    a slow machine missed the old picture. A wipe that is wrong is never kept.
    """
    missing = set(range(1, 13)) - set(wipes)
    second = best_start(missing)
    wait_until("the chosen second", lambda: time.time() >= second)
    run = desktop.start("/s")
    effects = foretold(seed_of(run))
    run.wait_for_log("Entering main loop...")
    recorded = []
    while missing & set(effects[len(recorded):]):
        old, new = standing if len(recorded) % 2 == 0 else standing[::-1]
        recorded.append(record_wipe(run, old, new))
    run.quit()
    for turn, (effect, recording) in enumerate(zip(effects, recorded), 1):
        if recording.is_of(effect):
            wipes[effect] = recording
            sessions.append(Session(effects[:turn], recording.seconds))


def record_wipe(run, old, new):
    """Records the screen until exactly the new picture stands, or for far too long."""
    screen = run.desktop.display
    wait_until("the old picture", lambda: (screen.shot() == old).all(), alive=run.ended)
    frames = record(screen, 15, 40, until=lambda shot: (shot == new).all())
    return Recording(old, new, frames, time.monotonic() - run.started)


@pytest.mark.parametrize("effect", range(1, 13))
def test_wipe_goes_from_the_old_picture_to_the_new(recordings, effect):
    wipes, _ = recordings
    assert effect in wipes, "no start brought this wipe"


@pytest.mark.parametrize("effect", range(1, 13))
def test_wipe_ends_on_exactly_the_new_picture(recordings, effect):
    recording = recordings[0][effect]
    assert (recording.frames[-1][1] == recording.new).all()


def test_picture_stands_its_delay_and_the_wipe_its_time(recordings):
    """Over a whole session from its start on: a busy display shows things late, never early."""
    _, sessions = recordings
    for session in sessions:
        assert session.seconds > 0.95 * session.least_seconds()
