"""`MakeBundle sums` writes what the build writes into the install folder that ships."""

import os
import pathlib
import random
import subprocess
import sys

import pytest

CHKSUM = pathlib.Path(__file__).parents[3] / "tools" / "chksum" / "chksum.py"
SHIPPED = pathlib.Path(os.environ["MAKEBUNDLE"]).parent


def make_bundle(*arguments, cwd):
    command = [os.environ["RUN_WINDOWS_PROGRAM"], os.environ["MAKEBUNDLE"], *arguments]
    return subprocess.run(command, cwd=cwd, capture_output=True, text=True, encoding="utf-8")


def sums_by_the_build(folder):
    subprocess.run([sys.executable, CHKSUM, folder], check=True)
    return (folder / "chk.sum").read_bytes()


def sums_by_make_bundle(folder):
    (folder / "chk.sum").unlink()
    run = make_bundle("sums", ".", cwd=folder)
    assert run.returncode == 0, run.stderr
    return (folder / "chk.sum").read_bytes()


@pytest.fixture
def installed(tmp_path):
    """The files of an install folder, each of another length."""
    names = ["BTNexgenIPL32.dll", "fmod.dll", "images.bdl", "Velmora2.scr", "Velmora2.exe"]
    for number, name in enumerate(names):
        (tmp_path / name).write_bytes(random.Random(number).randbytes(4095 + number))
    return tmp_path


def test_sums_are_those_of_the_build(installed):
    wanted = sums_by_the_build(installed)
    assert sums_by_make_bundle(installed) == wanted


def test_sums_of_what_ships_stay_as_they_are(tmp_path):
    for file in SHIPPED.iterdir():
        if file.is_file():
            (tmp_path / file.name).symlink_to(file)
    assert sums_by_make_bundle(tmp_path) == (SHIPPED / "chk.sum").read_bytes()
