"""Fixtures of the end-to-end tests: the real program on a display of its own.

@pytest.mark.display(width=..., height=..., depth=...) sets the display of a
test's `desktop`; `wall` makes desktops on several monitors.
"""

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


@pytest.fixture(scope="session")
def desktop_pool():
    """Desktops that have served a test and are as good as new: by display."""
    pool = {}
    yield pool
    for made in pool.values():
        made.close()


@pytest.fixture
def bare_desktop(request, desktop_pool):
    """A desktop without any setting stored."""
    marker = request.node.get_closest_marker("display")
    size = tuple(sorted((marker.kwargs if marker else {}).items()))
    made = desktop_pool.pop(size, None) or Desktop(VirtualDisplay(**dict(size)))
    yield made
    try:
        made.renew()
    except BaseException:
        made.close()
        raise
    desktop_pool[size] = made


@pytest.fixture
def desktop(bare_desktop):
    """A desktop with the settings of a plain show."""
    bare_desktop.settings(**PLAIN_SHOW)
    return bare_desktop


@pytest.fixture
def wall(four_pictures):
    """Makes a desktop on several monitors; ends it after the test."""
    made = []

    def make(monitors, switched_off=()):
        display = MonitorWall(monitors, switched_off)
        try:
            made.append(Desktop(display))
        except BaseException:
            display.close()
            raise
        made[0].settings(**PLAIN_SHOW)
        made[0].slides(four_pictures)
        return made[0]

    yield make
    for desktop in made:
        desktop.close()


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


def pytest_sessionfinish(session, exitstatus):
    """A skipped test hasn't shown anything: it doesn't count as passed."""
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if reporter and reporter.stats.get("skipped") and exitstatus == 0:
        session.exitstatus = pytest.ExitCode.TESTS_FAILED
