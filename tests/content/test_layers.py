"""Who includes whose headers, against the table in docs/architecture.md."""

import os
import pathlib
import re

import pytest

SOURCE = pathlib.Path(os.environ["VELMORA_SOURCE_DIR"])
ROW = re.compile(r"^\| `((?:src|platform|tools)/\w+)` \|[^|]*\|([^|]*)\|$", re.MULTILINE)
KNOWN = dict(ROW.findall((SOURCE / "docs/architecture.md").read_text()))
NAMES = {"the image library": "imaging", "the sound library": "sound"}
LAYERS = {folder.rpartition("/")[2] for folder in KNOWN}


def told(folder):
    """The layers that the table names for it."""
    text = KNOWN[folder]
    for phrase, name in NAMES.items():
        text = text.replace(phrase, name)
    return LAYERS & set(re.findall(r"\w+", text))


def included(folder):
    """The layers whose headers its files include, but for its own."""
    files = [f for f in (SOURCE / folder).rglob("*") if f.suffix in (".h", ".cpp", ".rc")]
    text = "\n".join(f.read_text(errors="replace") for f in files)
    return set(re.findall(r'^#include "(\w+)/', text, re.MULTILINE)) - {pathlib.Path(folder).name}


def test_every_folder_has_its_row():
    folders = {f"{top}/{f.name}" for top in ("src", "platform") for f in (SOURCE / top).iterdir()
               if f.is_dir()}
    assert folders <= set(KNOWN)


@pytest.mark.parametrize("folder", sorted(KNOWN))
def test_a_folder_knows_whom_the_table_tells(folder):
    assert included(folder) == told(folder)
