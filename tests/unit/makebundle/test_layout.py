"""MakeBundle's output, seen by a reader that shares nothing with it.

The example in docs/bundle-format.md is checked with the same reader, so that
the document can't drift away from the program.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "content"))

from bundles import read_bundle, read_caption, read_dims

FIXTURES = pathlib.Path(os.environ["MAKEBUNDLE_FIXTURES"])
DOCUMENT = pathlib.Path(__file__).parents[3] / "docs" / "bundle-format.md"


def make_bundle(*arguments, cwd):
    command = [os.environ["RUN_WINDOWS_PROGRAM"], os.environ["MAKEBUNDLE"], *arguments]
    return subprocess.run(command, cwd=cwd, capture_output=True, text=True, encoding="utf-8")


@pytest.fixture
def show(tmp_path):
    """A packed folder: three pictures, captions, focus, one piece of music."""
    pictures, music = tmp_path / "pictures", tmp_path / "music"
    pictures.mkdir()
    music.mkdir()
    for name, fixture in (("b 10.jpg", "blocks-6.jpg"), ("b 9.png", "plain.png"), ("A.jpg", "uneven-1.jpg")):
        shutil.copy(FIXTURES / fixture, pictures / name)
    (pictures / "A.txt").write_text("Café\nby night", encoding="utf-8")
    (tmp_path / "focus.txt").write_text("A.jpg x\nb 9.png y\n")
    shutil.copy(FIXTURES / "tone.mp3", music / "tone.mp3")
    run = make_bundle("pack", "out.bdl", "--pictures", "pictures", "--music", "music", "--focus", "focus.txt", cwd=tmp_path)
    assert run.returncode == 0, run.stderr
    return tmp_path


def test_slide_bundle(show):
    bundle = read_bundle((show / "out.bdl").read_bytes())
    assert list(bundle) == ["image", "dims", "caps", "music"]
    names = ["A.jpg", "b 9.png", "b 10.jpg"]
    assert list(bundle["image"]) == names
    assert bundle["image"]["A.jpg"] == (FIXTURES / "uneven-1.jpg").read_bytes()
    assert bundle["image"]["b 9.png"] == (FIXTURES / "plain.png").read_bytes()
    assert bundle["music"] == {"tone.mp3": (FIXTURES / "tone.mp3").read_bytes()}
    dims = [read_dims(record) for record in bundle["dims"].values()]
    assert [d["name"] for d in dims] == names
    assert [(d["width"], d["height"]) for d in dims] == [(61, 47), (40, 30), (48, 64)]
    assert [(d["x_only"], d["y_only"]) for d in dims] == [(True, False), (False, True), (False, False)]
    captions = [read_caption(record) for record in bundle["caps"].values()]
    assert [c["name"] for c in captions] == names
    assert [c["text"] for c in captions] == ["Café\r\nby night", "", ""]
    assert all(c["numbers"] == (0, 0, 0) for c in captions)


def test_sizes_are_those_that_another_program_sees(show):
    from PIL import Image
    import io

    bundle = read_bundle((show / "out.bdl").read_bytes())
    for record in bundle["dims"].values():
        dims = read_dims(record)
        with Image.open(io.BytesIO(bundle["image"][dims["name"]])) as picture:
            assert picture.size == (dims["width"], dims["height"])
            assert picture.getexif().get(0x0112, 1) == 1


def test_appended_bundle(tmp_path):
    (tmp_path / "skin").mkdir()
    (tmp_path / "skin" / "menuskin.jpg").write_bytes(b"window")
    (tmp_path / "program.scr").write_bytes(b"MZ" + bytes(range(256)))
    run = make_bundle("append", "program.scr", "--category", "skin", "skin", cwd=tmp_path)
    assert run.returncode == 0, run.stderr
    data = (tmp_path / "program.scr").read_bytes()
    assert data.startswith(b"MZ" + bytes(range(256)) + b"window")
    assert read_bundle(data) == {"skin": {"menuskin.jpg": b"window"}}


def documented_example():
    """The bytes of the hex listing in the document."""
    listing = re.search(r"```hex\n(.*?)```", DOCUMENT.read_text(encoding="utf-8"), re.S).group(1)
    lines = [re.match(r"([0-9A-F]{4})  ((?:[0-9A-F]{2}(?: |$))+)", line) for line in listing.splitlines()]
    data = b""
    for line in lines:
        assert int(line.group(1), 16) == len(data)
        data += bytes.fromhex(line.group(2))
    return data


def test_documented_example(tmp_path):
    data = documented_example()
    bundle = read_bundle(data)
    assert read_dims(bundle["dims"]["dot.bmp"]) == {
        "width": 1, "height": 1, "name": "dot.bmp", "x_only": True, "y_only": False}
    assert read_caption(bundle["caps"]["dot.bmp"])["text"] == "A dot"
    pictures = tmp_path / "pictures"
    pictures.mkdir()
    (pictures / "dot.bmp").write_bytes(bundle["image"]["dot.bmp"])
    (pictures / "dot.txt").write_text("A dot")
    (tmp_path / "focus.txt").write_text("dot.bmp x")
    run = make_bundle("pack", "out.bdl", "--pictures", "pictures", "--focus", "focus.txt", cwd=tmp_path)
    assert run.returncode == 0, run.stderr
    assert (tmp_path / "out.bdl").read_bytes() == data
