"""What the sample bundle promises to a newcomer: enough pictures, of all the sizes that matter,
each worth looking at and with something to say; and a build that paints them only once."""

import io
import os
import pathlib
import shutil
import subprocess
import sys

import numpy
import pytest
from PIL import Image

from bundles import read_bundle, read_caption, read_dims

SOURCE = pathlib.Path(os.environ["VELMORA_SOURCE_DIR"])
BUNDLE = pathlib.Path(os.environ["VELMORA_SAMPLE_BUNDLE"])
CACHED = pathlib.Path(pathlib.Path(os.environ["VELMORA_PICTURES_STAMP"]).read_text().strip())
RENDER = SOURCE / "content/pictures/render.py"


def by_name(records, read):
    return {record["name"]: record for record in map(read, records.values())}


@pytest.fixture(scope="module")
def bundle():
    return read_bundle(BUNDLE.read_bytes())


@pytest.fixture(scope="module")
def dims(bundle):
    return by_name(bundle["dims"], read_dims)


@pytest.fixture(scope="module")
def captions(bundle):
    texts = by_name(bundle["caps"], read_caption)
    return {name: caption["text"] for name, caption in texts.items()}


def decoded(data):
    image = Image.open(io.BytesIO(data))
    image.load()
    return image


def test_at_least_twelve_pictures_in_the_order_of_their_names(bundle):
    names = list(bundle["image"])
    assert len(names) >= 12
    assert names == sorted(names)


def test_the_whole_bundle_stays_a_small_download():
    assert BUNDLE.stat().st_size < 25_000_000


@pytest.mark.parametrize("size", [(256, 256), (512, 256), (1600, 1000), (3000, 2000), (4000, 3000)])
def test_sizes_that_exercise_tiling_are_there(dims, size):
    assert size in {(d["width"], d["height"]) for d in dims.values()}


def test_there_are_wide_tall_and_large_square_pictures(dims):
    ratios = [d["width"] / d["height"] for d in dims.values() if d["height"] > 256]
    assert max(ratios) >= 2.5
    assert min(ratios) <= 0.7
    assert any(ratio == 1 for ratio in ratios)


def test_every_picture_has_one_record_each_and_no_record_is_astray(bundle, dims, captions):
    assert set(dims) == set(bundle["image"]) == set(captions)
    assert len(bundle["dims"]) == len(bundle["caps"]) == len(bundle["image"])


def test_every_picture_has_a_caption_and_some_have_two_lines(captions):
    assert all(text.strip() for text in captions.values())
    assert sum(len(text.strip().splitlines()) == 2 for text in captions.values()) >= 2
    assert "?" not in "".join(captions.values()), "a character was lost on the way"


def test_some_pictures_move_along_one_axis_only(dims):
    assert sum(d["x_only"] != d["y_only"] for d in dims.values()) >= 2
    assert any(d["x_only"] for d in dims.values()) and any(d["y_only"] for d in dims.values())
    assert not any(d["x_only"] and d["y_only"] for d in dims.values())


def test_every_picture_decodes_to_the_size_in_its_record(bundle, dims):
    for name, data in bundle["image"].items():
        assert decoded(data).size == (dims[name]["width"], dims[name]["height"]), name


def test_no_picture_is_flat_dull_or_burnt_out(bundle):
    for name, data in bundle["image"].items():
        image = decoded(data).convert("RGB")
        image.thumbnail((512, 512))
        light = numpy.asarray(image.convert("L"), dtype=float)
        low, high = numpy.percentile(light, [2, 98])
        assert high - low > 60, f"{name} is flat: {low:.0f}..{high:.0f}"
        assert 12 < light.mean() < 215, f"{name} is too dark or too bright: {light.mean():.0f}"
        assert (light < 3).mean() < 0.5, f"half of {name} is black"
        assert (light > 252).mean() < 0.15, f"much of {name} is white"
        assert len(numpy.unique(light.round())) > 100, f"{name} has few tones"


def start_render(cache, out):
    environment = {**os.environ, "VELMORA_CACHE": str(cache)}
    # A compiler that fails, so that painting instead of using the cache can't go unnoticed.
    command = [sys.executable, "-B", str(RENDER), "--compiler", "false",
               "--captions", str(SOURCE / "content/captions"), "--out", str(out),
               "--stamp", str(out.parent / "stamp")]
    return subprocess.Popen(command, env=environment, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def run_render(cache, out):
    process = start_render(cache, out)
    stdout, stderr = process.communicate()
    return subprocess.CompletedProcess(process.args, process.returncode, stdout, stderr)


def make_unfinished(cache):
    """A cache in which all is painted, but the painter was killed before it said so."""
    unfinished = cache / f"{CACHED.name}.part"
    unfinished.mkdir(parents=True)
    for picture in CACHED.iterdir():
        shutil.copyfile(picture, unfinished / picture.name)
    return unfinished


def test_a_second_build_paints_nothing(tmp_path, bundle):
    run = run_render(CACHED.parent, tmp_path / "out")
    assert run.returncode == 0, run.stderr
    assert "come from the cache" in run.stdout
    assert "compiling" not in run.stdout and "painted" not in run.stdout
    for name, data in bundle["image"].items():
        assert (tmp_path / "out" / name).read_bytes() == data


def test_an_empty_cache_does_paint_and_a_failure_leaves_nothing_that_looks_whole(tmp_path):
    run = run_render(tmp_path / "cache", tmp_path / "out")
    assert run.returncode != 0
    assert "failed" in run.stderr
    assert not [p for p in (tmp_path / "cache").iterdir() if p.is_dir() and p.suffix != ".part"]
    assert not (tmp_path / "out").exists() and not (tmp_path / "stamp").exists()


def test_an_interrupted_painting_keeps_what_was_finished(tmp_path):
    unfinished = make_unfinished(tmp_path / "cache")
    run = run_render(tmp_path / "cache", tmp_path / "out")
    assert run.returncode == 0, run.stderr
    assert "compiling" not in run.stdout
    assert unfinished.with_suffix("").is_dir() and not unfinished.exists()


def test_a_picture_that_an_interrupted_painting_lacks_is_painted(tmp_path):
    unfinished = make_unfinished(tmp_path / "cache")
    next(unfinished.glob("*.jpg")).unlink()
    run = run_render(tmp_path / "cache", tmp_path / "out")
    assert run.returncode != 0 and "compiling" in run.stdout
    assert not unfinished.with_suffix("").exists()


def test_two_builds_at_once_share_one_painting(tmp_path):
    make_unfinished(tmp_path / "cache")
    builds = [start_render(tmp_path / "cache", tmp_path / name / "out") for name in "ab"]
    texts = [build.communicate() for build in builds]
    assert [build.returncode for build in builds] == [0, 0], texts
    assert sum("come from the cache" in stdout for stdout, _ in texts) == 1
    for picture in CACHED.iterdir():
        for name in "ab":
            assert (tmp_path / name / "out" / picture.name).read_bytes() == picture.read_bytes()
