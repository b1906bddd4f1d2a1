"""The help file, read by a reader of its own: every topic is there, whole, and every jump leads to
one."""

import os
import pathlib
import re
import struct
import subprocess

import pytest

SOURCE = pathlib.Path(os.environ["VELMORA_SOURCE_DIR"]) / "content/help"
HELP = pathlib.Path(os.environ["VELMORA_DIST_DIR"]) / "VELMORA2.HLP"
BLOCK, POSITIONS, OFFSETS = 4096, 0x4000, 0x8000
TOPIC_HEADER, TEXT = 2, 0x20


def leaf(tree, size, record):
    """The entries of a search tree of one leaf."""
    magic, _, page_size = struct.unpack_from("<3H", tree)
    root, _, pages, levels, count = struct.unpack_from("<4hi", tree, 26)
    assert (magic, page_size, root, pages, levels) == (0x293B, size, 0, 1, 1)
    at, entries = 38 + 8, []
    for _ in range(count):
        entry, at = record(tree, at)
        entries.append(entry)
    assert at <= len(tree) == 38 + size
    return entries


def text_and_number(tree, at):
    end = tree.index(b"\0", at)
    return (tree[at:end].decode("cp1252"), *struct.unpack_from("<i", tree, end + 1)), end + 5


def internal_files(data):
    magic, directory, free, size = struct.unpack_from("<IIII", data)
    assert (magic, free, size) == (0x35F3F, 0xFFFFFFFF, len(data))

    def content(at):
        reserved, used, _ = struct.unpack_from("<IIB", data, at)
        assert reserved == used + 9
        return data[at + 9:at + 9 + used]

    return {name: content(at) for name, at in leaf(content(directory), 1024, text_and_number)}


def unpacked(block):
    """LZ77 of the kind that knows repetitions, too."""
    out, at = bytearray(), 0
    while at < len(block):
        flags, at = block[at], at + 1
        for bit in range(8):
            if at >= len(block):
                break
            if flags >> bit & 1:
                (word,) = struct.unpack_from("<H", block, at)
                for _ in range((word >> 12) + 3):
                    out.append(out[-(word & 0xFFF) - 1])
                at += 2
            else:
                out.append(block[at])
                at += 1
    return bytes(out)


def chain(topic_file):
    """The links in their order: kind, offset, layout, strings."""
    blocks = [unpacked(topic_file[at + 12:at + BLOCK]) for at in range(0, len(topic_file), BLOCK)]
    position, links, characters = 12, [], [0] * len(blocks)
    while position != 0xFFFFFFFF:
        block, at = divmod(position - 12, POSITIONS)
        size, length, _, position, start, kind = struct.unpack_from("<5IB", blocks[block], at)
        link = blocks[block][at:at + size]
        assert len(link) == size and len(link) - start == length
        links.append((kind, block * OFFSETS + characters[block], link[21:start],
                      link[start:].split(b"\0")[:-1]))
        characters[block] += length if kind == TEXT else 0
    return links


@pytest.fixture(scope="module")
def files():
    return internal_files(HELP.read_bytes())


@pytest.fixture(scope="module")
def topics(files):
    """Offset: the title and the text of each paragraph; the layouts of all."""
    found, layouts = {}, []
    for kind, offset, layout, strings in chain(files["|TOPIC"]):
        text = b"".join(strings).decode("cp1252")
        if kind == TOPIC_HEADER:
            current = found.setdefault(offset, (text, []))
        else:
            current[1].append(text)
            layouts.append(layout)
    assert found.popitem()[1] == ("", [])  # what ends the chain
    return found, layouts


def source_topics():
    text = (SOURCE / "velmora2.txt").read_text(encoding="utf-8")
    plain = re.sub(r"\[([^]]+)\]\(\w+\)", r"\1", text).replace("*", "")
    parts = re.split(r"^== (\w+): (.+)$", plain, flags=re.M)[1:]
    for name, title, body in zip(parts[::3], parts[1::3], parts[2::3]):
        yield name, title, [re.sub("^- ", "\N{BULLET}", " ".join(paragraph.split()))
                            for paragraph in body.strip().split("\n\n")]


def test_every_topic_is_there_with_all_its_words(topics):
    assert [(title, [title, *body]) for _, title, body in source_topics()] == list(
        topics[0].values())


def test_every_jump_leads_to_a_topic(files, topics):
    contexts = leaf(files["|CONTEXT"], 2048, lambda tree, at: (struct.unpack_from("<iI", tree, at),
                                                               at + 8))
    assert contexts == sorted(contexts)
    assert sorted(offset for _, offset in contexts) == list(topics[0])
    hashes = {number for number, _ in contexts}
    jumps = [struct.unpack_from("<i", layout, mark.start() + 1)[0]
             for layout in topics[1] for mark in re.finditer(rb"\xe3(?=.{4}\x89)", layout, re.S)]
    assert len(jumps) == (SOURCE / "velmora2.txt").read_text(encoding="utf-8").count("](")
    assert set(jumps) <= hashes


def test_it_opens_at_its_first_topic_under_its_title(files, topics):
    system, at, records = files["|SYSTEM"], 12, {}
    assert struct.unpack_from("<3HIH", system) == (0x36C, 21, 1, 0, 4)
    while at < len(system):
        kind, length = struct.unpack_from("<HH", system, at)
        records[kind], at = system[at + 4:at + 4 + length], at + 4 + length
    assert records[1] == b"Velmora 2 Help\0"
    assert struct.unpack("<I", records[3]) == (min(topics[0]),)
    window = struct.unpack("<H10s9s51s18x", records[6])
    assert [field.rstrip(b"\0") for field in window[1:]] == [b"primary", b"main",
                                                            b"Velmora 2 Help"]


@pytest.mark.parametrize("text, complaint", [
    ("Title\n\nwords\n", "text before the first topic"),
    ("Title\n", "there must be topics"),
    ("Title\n\n== a: A\n\nx\n\n== a: B\n\ny\n", "a name of its own"),
    ("Title\n\n== a: A\n\n== b: B\n\nx\n", "a is empty"),
    ("Title\n\n== a: A\n\n[x](b)\n", "jumps to b"),
    ("Title\n\n== a: A\n\n" + "x" * 5000 + "\n", "too long")])
def test_a_source_that_makes_no_help_is_refused(tmp_path, text, complaint):
    source, out = tmp_path / "source.txt", tmp_path / "out.hlp"
    source.write_text(text)
    run = subprocess.run([SOURCE / "make_help.py", source, out], capture_output=True, text=True,
                         check=False)
    assert run.returncode == 1 and complaint in run.stderr
    assert not out.exists()
