"""MakeBundle on a disk that fills up: what stood there stays whole, and nothing is left beside."""

import os
import pathlib
import resource
import shutil
import subprocess

import pytest

FIXTURES = pathlib.Path(os.environ["MAKEBUNDLE_FIXTURES"])
ROOM = 500  # bytes, less than any of the files that are written


def make_bundle(*arguments, cwd, room=None):
    """No file of the process grows beyond `room` bytes, as on a full disk."""
    def limit():
        if room is not None:
            resource.setrlimit(resource.RLIMIT_FSIZE, (room, room))

    command = [os.environ["RUN_WINDOWS_PROGRAM"], os.environ["MAKEBUNDLE"], *arguments]
    # Python ignores the signal that comes with such a write; so must the program.
    return subprocess.run(command, cwd=cwd, capture_output=True, text=True, encoding="utf-8",
                          preexec_fn=limit, restore_signals=False)


@pytest.fixture
def packed(tmp_path):
    """A folder of pictures and the bundle of one of them."""
    (tmp_path / "pictures").mkdir()
    shutil.copy(FIXTURES / "blocks.jpg", tmp_path / "pictures" / "a.jpg")
    run = make_bundle("pack", "out.bdl", "--pictures", "pictures", cwd=tmp_path)
    assert run.returncode == 0, run.stderr
    shutil.copy(FIXTURES / "blocks.jpg", tmp_path / "pictures" / "b.jpg")
    return tmp_path


def contents(folder):
    return {str(f.relative_to(folder)): f.read_bytes() for f in folder.rglob("*") if f.is_file()}


@pytest.mark.parametrize("arguments, names", [
    (["pack", "out.bdl", "--pictures", "pictures"], "out.bdl.part"),
    (["append", "program.scr", "--category", "skin", "pictures"], "program.scr.part"),
    (["extract", "out.bdl", "extracted", "image", "--overwrite"], "a.jpg.part"),
])
def test_full_disk_keeps_the_old_files(packed, arguments, names):
    (packed / "program.scr").write_bytes(b"MZ")
    (packed / "extracted" / "image").mkdir(parents=True)
    (packed / "extracted" / "image" / "a.jpg").write_bytes(b"old")
    before = contents(packed)
    full = make_bundle(*arguments, cwd=packed, room=ROOM)
    assert full.returncode == 1
    assert names in full.stderr and "can't be written" in full.stderr
    assert contents(packed) == before
    assert make_bundle(*arguments, cwd=packed).returncode == 0, "room is all that it lacked"
    assert contents(packed) != before
