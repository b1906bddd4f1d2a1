"""Fixtures of the end-to-end tests: the real program on a display of its own.

@pytest.mark.display(width=..., height=..., depth=...) sets the display of a
test's `desktop`; `wall` makes desktops on several monitors.
"""

import contextlib
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))

from harness import pictures
from harness.displays import MonitorWall, VirtualDisplay
from harness.saver import Desktop

# Fast mode, silent, in order, and quick: what most tests want.
PLAIN_SHOW = dict(FastMode=1, PlayMusic=0, RandomOrder=0, ImageDelay="0.400000")


def pytest_configure(config):
    config.addinivalue_line("markers", "display(width, height, depth): the desktop's display")


class DesktopPool:
    """Desktops that have served a test and are as good as new: by display."""

    def __init__(self):
        self._idle = {}

    @contextlib.contextmanager
    def lent(self, make_display, *options):
        """A desktop on the display that these options make."""
        key = (make_display, repr(options))
        made = self._idle.pop(key, None) or self._make(make_display(*options))
        try:
            yield made
        finally:
            self._take_back(key, made)

    @staticmethod
    def _make(display):
        try:
            return Desktop(display)
        except BaseException:
            display.close()
            raise

    def _take_back(self, key, made):
        try:
            made.renew()
        except BaseException:
            made.close()
            raise
        if made.display.restored():
            self._idle[key] = made
        else:
            made.close()

    def close(self):
        for made in self._idle.values():
            made.close()


@pytest.fixture(scope="session")
def desktop_pool():
    pool = DesktopPool()
    yield pool
    pool.close()


@pytest.fixture
def bare_desktop(request, desktop_pool):
    """A desktop without any setting stored."""
    marker = request.node.get_closest_marker("display")
    size = {"width": 640, "height": 480, "depth": 24, **(marker.kwargs if marker else {})}
    with desktop_pool.lent(VirtualDisplay, *size.values()) as made:
        yield made


@pytest.fixture
def desktop(bare_desktop):
    """A desktop with the settings of a plain show."""
    bare_desktop.settings(**PLAIN_SHOW)
    return bare_desktop


@pytest.fixture
def wall(four_pictures, desktop_pool):
    """Makes a desktop on several monitors, with the settings of a plain show."""
    with contextlib.ExitStack() as lent:
        def make(monitors, switched_off=()):
            made = lent.enter_context(desktop_pool.lent(MonitorWall, monitors, switched_off))
            made.settings(**PLAIN_SHOW)
            made.slides(four_pictures)
            return made

        yield make


@pytest.fixture
def show(desktop, four_pictures):
    """A saver that runs and shows four pictures in order."""
    desktop.slides(four_pictures)
    return desktop.start("/s").wait_for_show()


@pytest.fixture(scope="session")
def four_pictures():
    """Four pictures of the default screen's shape, in three formats."""
    return [pictures.picture("one.jpg", 800, 600, 0), pictures.picture("two.png", 640, 480, 1),
            pictures.picture("three.bmp", 400, 300, 2), pictures.picture("four.jpg", 1024, 768, 3)]
