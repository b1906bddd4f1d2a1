"""Where things are. ctest hands the places in; by hand the defaults do."""

import os
import pathlib

REPOSITORY = pathlib.Path(__file__).resolve().parents[3]
PREFIX_TOOL = REPOSITORY / "tools" / "wine-prefix.sh"


def _place(variable, default):
    return pathlib.Path(os.environ.get(variable, REPOSITORY / default))


def install_folder():
    """The complete install folder that the build has put together."""
    return _place("VELMORA_DIST_DIR", "build/dist")


def installer():
    return _place("VELMORA_INSTALLER", "build/installer/Velmora2-Setup.exe")


def deskhand():
    return _place("VELMORA_DESKHAND", "build/windows-release/tests/e2e/helpers/deskhand.exe")


def prefixes():
    """Prefixes lie beside the template, since hard links stay on one disk."""
    return _place("VELMORA_WINE_DIR", "build/wine")
