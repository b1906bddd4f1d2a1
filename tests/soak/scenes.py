"""Pictures that can be told apart by one pixel, who counts them, and the driver below."""

import numpy

from harness import bundles, pictures
from harness.saver import DIRECT3D_KEY

_LEVELS = (40, 100, 160, 220)
PALETTE = numpy.array([(r, g, b) for r in _LEVELS for g in _LEVELS for b in _LEVELS])
_NEAR = 20  # levels of 255: a third of the distance of two colours


def scene(number, width, height):
    """The picture of that number: one colour and a little noise, so that there is
    something to decode."""
    noise = numpy.random.default_rng(number).integers(-6, 7, (height, width, 1))
    pixels = (PALETTE[number % len(PALETTE)] + noise).astype("uint8")
    name = f"{number:05}.jpg"
    return pictures.encoded(name, pixels)


def show(count, width, height):
    """A bundle of so many pictures with captions. Colours come in turn, and whole
    turns of them keep the count over the end of the list."""
    if count % len(PALETTE):
        raise ValueError(f"the number of pictures must be a multiple of {len(PALETTE)}")
    shown = [scene(n, width, height) for n in range(count)]
    return bundles.slide_bundle(shown, [(p.name, f"Picture {p.name}") for p in shown])


class SlideCounter:
    """Counts the slides of such a show that runs in the bundle's order.

    One pixel tells the slide; it lies where no caption comes, even in a wipe that moves
    the old picture up or to the side. Looks may miss some slides, but fewer than half
    of the colours.
    """

    def __init__(self, display):
        self._display = display
        self._last = None
        self.slides = 0

    def look(self):
        shot = self._display.shot()
        pixel = shot[shot.shape[0] // 4, shot.shape[1] // 20].astype(int)
        distances = numpy.abs(PALETTE - pixel).max(axis=1)
        colour = int(distances.argmin())
        if distances[colour] > _NEAR:
            return
        step = 1 if self._last is None else (colour - self._last) % len(PALETTE)
        if step < len(PALETTE) // 2:
            self.slides += step
            self._last = colour


def without_driver_threads(desktop):
    """Has Wine draw Direct3D on the program's own thread until the desktop is renewed.

    With a thread of its own, each wait for the card costs the driver two turns of the
    scheduler: on a busy machine a slide would take minutes.
    """
    desktop.hand.set_dword("HKCU", DIRECT3D_KEY, "csmt", 0)
