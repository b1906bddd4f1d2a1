"""What the built-in music promises: pieces of a good length, calm, without a click where one ends and
the next begins, equally loud; and a build that plays them only once and paints nothing for them."""

import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys

import numpy
import pytest

from bundles import read_bundle

SOURCE = pathlib.Path(os.environ["VELMORA_SOURCE_DIR"])
BUNDLE = pathlib.Path(os.environ["VELMORA_SAMPLE_BUNDLE"])
CACHED = pathlib.Path(pathlib.Path(os.environ["VELMORA_MUSIC_STAMP"]).read_text().strip())
RENDER = SOURCE / "content/music/render.py"
RATE = 44100
MUSIC = read_bundle(BUNDLE.read_bytes())["music"]
DECODED = {}


def decoded(name):
    """The piece, -1 to 1, one row a moment."""
    if name not in DECODED:
        raw = subprocess.run(["oggdec", "--quiet", "--raw", "-o", "-", "-"], input=MUSIC[name],
                             stdout=subprocess.PIPE, check=True).stdout
        DECODED[name] = numpy.frombuffer(raw, "<i2").reshape(-1, 2) / 32768
    return DECODED[name]


def decibel(samples):
    return 10 * numpy.log10(max(1e-12, float(numpy.mean(samples ** 2))))


def test_there_are_at_least_three_pieces_in_the_order_of_their_names():
    assert len(MUSIC) >= 3
    assert list(MUSIC) == sorted(MUSIC)


@pytest.mark.parametrize("name", MUSIC)
def test_a_piece_lasts_one_to_two_minutes(name):
    assert 60 <= len(decoded(name)) / RATE <= 120


@pytest.mark.parametrize("name", MUSIC)
def test_a_piece_begins_and_ends_in_silence(name):
    piece = decoded(name)
    assert numpy.abs(piece[:20]).max() < 0.003 and numpy.abs(piece[-20:]).max() < 0.003
    assert decibel(piece[-RATE // 20:]) < -55


@pytest.mark.parametrize("name", MUSIC)
def test_a_piece_is_neither_clipped_nor_stepped(name):
    piece = decoded(name)
    assert 0.5 < numpy.abs(piece).max() < 0.9
    # A click stands out from the steps around it.
    steps = numpy.abs(numpy.diff(piece[:, 0]))
    assert steps.max() < 0.3


def test_all_pieces_are_about_equally_loud():
    levels = [decibel(decoded(name)) for name in MUSIC]
    assert max(levels) - min(levels) < 3
    assert -24 < numpy.mean(levels) < -15


@pytest.mark.parametrize("name", MUSIC)
def test_a_piece_is_calm_and_never_falls_silent(name):
    piece = decoded(name)[2 * RATE:-10 * RATE]
    levels = [decibel(part) for part in numpy.array_split(piece, len(piece) // RATE)]
    assert min(levels) > -45
    assert max(abs(a - b) for a, b in zip(levels, levels[1:])) < 15


@pytest.mark.parametrize("name", MUSIC)
def test_a_piece_is_stereo_and_has_many_notes(name):
    piece = decoded(name)
    assert decibel(piece[:, 0] - piece[:, 1]) > decibel(piece) - 20
    notes = set()
    for part in numpy.array_split(piece.mean(axis=1), 200):
        spectrum = numpy.abs(numpy.fft.rfft(part * numpy.hanning(len(part))))
        hertz = numpy.argmax(spectrum) * RATE / len(part)
        if hertz > 60:
            notes.add(round(12 * numpy.log2(hertz / 440)))
    assert len(notes) >= 6


def run_render(cache, out):
    # A compiler that fails, so that playing instead of using the cache can't go unnoticed.
    return subprocess.run(
        [sys.executable, "-B", str(RENDER), "--compiler", "false", "--out", str(out),
         "--stamp", str(out.parent / "stamp")],
        env={**os.environ, "VELMORA_CACHE": str(cache)}, capture_output=True, text=True, check=False)


def test_a_second_build_plays_nothing(tmp_path):
    run = run_render(CACHED.parent, tmp_path / "out")
    assert run.returncode == 0, run.stderr
    assert "come from the cache" in run.stdout and "compiling" not in run.stdout
    assert {f.name: f.read_bytes() for f in (tmp_path / "out").iterdir()} == MUSIC


def test_an_interrupted_playing_goes_on_where_it_stopped(tmp_path):
    unfinished = tmp_path / "cache" / f"{CACHED.name}.part"
    shutil.copytree(CACHED, unfinished)
    assert run_render(tmp_path / "cache", tmp_path / "out").returncode == 0
    assert (tmp_path / "cache" / CACHED.name).is_dir() and not unfinished.exists()


def test_a_failure_leaves_nothing_that_looks_whole(tmp_path):
    run = run_render(tmp_path / "cache", tmp_path / "out")
    assert run.returncode != 0 and "failed" in run.stderr
    assert not (tmp_path / "cache" / CACHED.name).exists()
    assert not (tmp_path / "out").exists() and not (tmp_path / "stamp").exists()


def load(path, name):
    spec = importlib.util.spec_from_file_location(name, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


@pytest.mark.parametrize("changed, anew", [
    ("music/tracks.cpp", {"music"}),
    ("music/tracks.txt", {"music"}),
    ("music/render.py", {"music"}),
    ("pictures/scenes/dunes.cpp", {"pictures"}),
    ("pictures/show.txt", {"pictures"}),
    ("pictures/render.py", {"pictures"}),
    ("generated.py", {"music", "pictures"}),
])
def test_a_change_has_made_anew_what_it_concerns(tmp_path, monkeypatch, changed, anew):
    copy = tmp_path / "content"
    shutil.copytree(SOURCE / "content", copy)
    monkeypatch.delitem(sys.modules, "generated", raising=False)
    generators = {name: load(copy / f"{name}/render.py", f"{name}_render").GENERATOR
                  for name in ("music", "pictures")}
    before = {name: generator.key() for name, generator in generators.items()}
    with open(copy / changed, "a", encoding="utf-8") as file:
        file.write("\n")
    assert {name for name in generators if generators[name].key() != before[name]} == anew
