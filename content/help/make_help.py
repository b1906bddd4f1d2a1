#!/usr/bin/env python3
"""Writes the help file that the "Help!" button opens, from plain text.

    make_help.py SOURCE.txt OUT.HLP

The source is UTF-8. Its first line is the help file's title; a topic begins with

    == name: Title of the topic

and is made of paragraphs with blank lines between them. A paragraph that begins
with "- " is a bullet. *words* are bold, and [words](name) is a jump to the topic
of that name. The first topic is the one that the viewer opens.

What comes out is a file of Windows 3.1's help viewer and its successors. It is a
small file system: a header, internal files, and a directory of them. Text lies in
|TOPIC as a chain of links, one a paragraph, in blocks of 4 KB that are always
marked as LZ77-compressed; here they hold literals alone. A place in the chain is
told in two ways: a position counts the bytes of unpacked blocks, an offset counts
the characters before it in its block.
"""

import argparse
import dataclasses
import pathlib
import re
import struct

BLOCK_SIZE = 4096
BLOCK_HEADER = 12
BLOCK_ROOM = (BLOCK_SIZE - BLOCK_HEADER) * 8 // 9  # each 8 literals have a byte of flags
POSITION_BLOCK = 0x4000  # of a position's numbers belong to one block
OFFSET_BLOCK = 0x8000    # the same of an offset's
NOWHERE = 0xFFFFFFFF

TOPIC_HEADER, TEXT = 0x02, 0x20
FONT, TAB, END_OF_PARAGRAPH, END_OF_JUMP, JUMP, END = 0x80, 0x83, 0x82, 0x89, 0xE3, 0xFF
SPACE_BELOW, LEFT_INDENT, FIRST_INDENT, TAB_STOPS = 0x04, 0x10, 0x40, 0x200
INDENT = 24              # half points, of a bullet's words

FACE = "Arial"
BODY, BOLD, TITLE = range(3)
FONTS = [(0, 20), (1, 20), (1, 28)]  # bold or not, size in half points
INK = (0, 0, 0)

MARKUP = re.compile(r"\*(?P<bold>[^*]+)\*|\[(?P<words>[^\]]+)\]\((?P<target>\w+)\)")


class SourceError(Exception):
    pass


# --- The source

@dataclasses.dataclass
class Topic:
    name: str
    title: str
    paragraphs: list


def read_source(text):
    """The title and the topics."""
    title, _, rest = text.partition("\n")
    topics = []
    for paragraph in re.split(r"\n\s*\n", rest.strip()):
        words = " ".join(paragraph.split())
        if heading := re.fullmatch(r"== (\w+): (.+)", words):
            topics.append(Topic(heading[1], heading[2], []))
        elif topics:
            topics[-1].paragraphs.append(words)
        elif words:
            raise SourceError(f"text before the first topic: {words[:40]}")
    check(topics)
    return title.strip(), topics


def check(topics):
    names = [topic.name for topic in topics]
    if not names or len(set(names)) != len(names):
        raise SourceError("there must be topics, each with a name of its own")
    for topic in topics:
        if not topic.paragraphs:
            raise SourceError(f"topic {topic.name} is empty")
        for mark in MARKUP.finditer("\n".join(topic.paragraphs)):
            if mark["target"] and mark["target"] not in names:
                raise SourceError(f"{topic.name} jumps to {mark['target']}, which isn't there")


# --- Numbers and trees

def packed_unsigned(value):
    """One byte, or two if the value is above 127."""
    return struct.pack("<B", value * 2) if value < 0x80 else struct.pack("<H", value * 2 + 1)


def packed_signed(value):
    assert -64 <= value < 64
    return struct.pack("<B", (value + 64) * 2)


def packed_signed_long(value):
    assert -0x4000 <= value < 0x4000
    return struct.pack("<H", (value + 0x4000) * 2)


def hash_of(name):
    """The number that stands for a topic's name in jumps and in |CONTEXT."""
    number = 0
    for letter in name.upper():
        if letter.isdigit():
            digit = int(letter) or 10
        else:
            digit = 13 if letter == "_" else ord(letter) - ord("A") + 17
        number = (number * 43 + digit) & 0xFFFFFFFF
    return number - (number >> 31 << 32)


def text_of(words):
    return words.encode("cp1252") + b"\0"


def internal_file(content):
    return struct.pack("<IIB", len(content) + 9, len(content), 0) + content


def tree(structure, page_size, flags, entries):
    """A search tree of one leaf, of entries in their order."""
    leaf = struct.pack("<Hhhh", page_size - 8 - sum(map(len, entries)), len(entries), -1, -1)
    page = leaf + b"".join(entries)
    header = struct.pack("<HHH16shhhhhhI", 0x293B, flags | 2, page_size, structure.encode(),
                         0, 0, 0, -1, 1, 1, len(entries))
    return header + page.ljust(page_size, b"\0")


# --- |TOPIC

@dataclasses.dataclass
class Link:
    """One of the chain: a topic's header or a paragraph."""
    kind: int
    topic: int
    layout: bytes = b""
    text: bytes = b""
    position: int = 0
    offset: int = 0

    def size(self):
        return 21 + len(self.layout) + len(self.text)


def paragraph_link(topic, words, font=BODY):
    bullet = words.startswith("- ")
    strings, commands = [b"\0"], [struct.pack("<BH", FONT, font)]

    def add(string, command):
        strings.append(text_of(string))
        commands.append(command)

    if bullet:
        add("\N{BULLET}", bytes([TAB]))
    add_words(words[2:] if bullet else words, font, add)
    strings.append(b"\0")
    commands.append(bytes([END]))
    text = b"".join(strings)
    layout = packed_signed_long(len(text)) + packed_unsigned(len(text)) + b"\0\x80\0\0"
    if bullet:
        layout += struct.pack("<H", SPACE_BELOW | LEFT_INDENT | FIRST_INDENT | TAB_STOPS)
        layout += packed_signed(8) + packed_signed(INDENT) + packed_signed(-INDENT)
        layout += packed_signed(1) + packed_unsigned(INDENT)
    else:
        layout += struct.pack("<H", SPACE_BELOW) + packed_signed(12)
    return Link(TEXT, topic, layout + b"".join(commands), text)


def add_words(words, font, add):
    """Each piece of text goes before the command that follows it."""
    done = 0
    for mark in MARKUP.finditer(words):
        before, done = words[done:mark.start()], mark.end()
        if mark["bold"]:
            add(before, struct.pack("<BH", FONT, BOLD))
            add(mark["bold"], struct.pack("<BH", FONT, font))
        else:
            add(before, struct.pack("<Bi", JUMP, hash_of(mark["target"])))
            add(mark["words"], bytes([END_OF_JUMP]))
    add(words[done:], bytes([END_OF_PARAGRAPH]))


def chain_of(topics):
    """The links, placed; a header without a topic ends them."""
    links = []
    for number, topic in enumerate(topics):
        header_room = b"\0" * 28
        links.append(Link(TOPIC_HEADER, number, header_room, text_of(topic.title)))
        links.append(paragraph_link(number, topic.title, TITLE))
        links += [paragraph_link(number, words) for words in topic.paragraphs]
    links.append(Link(TOPIC_HEADER, len(topics), b"\0" * 28, b"\0"))
    place(links)
    fill_headers(links)
    return links


def place(links):
    """No link goes over the end of a block."""
    block = filled = characters = 0
    for link in links:
        if filled + link.size() > BLOCK_ROOM:
            block, filled, characters = block + 1, 0, 0
        if link.size() > BLOCK_ROOM:
            raise SourceError("a paragraph is too long")
        link.position = BLOCK_HEADER + block * POSITION_BLOCK + filled
        link.offset = block * OFFSET_BLOCK + characters
        filled += link.size()
        characters += len(link.text) if link.kind == TEXT else 0


def fill_headers(links):
    """Size of the topic, the topics before and behind it, and where its text lies."""
    headers = [n for n, link in enumerate(links) if link.kind == TOPIC_HEADER]
    for number, at in enumerate(headers[:-1]):
        behind = headers[number + 1]
        last = number == len(headers) - 2
        links[at].layout = struct.pack(
            "<IIIIIII", sum(link.size() for link in links[at:behind]),
            links[headers[number - 1]].offset if number else NOWHERE,
            NOWHERE if last else links[behind].offset,
            number, NOWHERE, links[at + 1].position, links[behind].position)
    links[headers[-1]].layout = struct.pack("<IIIIIII", 0, NOWHERE, NOWHERE, 0,
                                            NOWHERE, NOWHERE, NOWHERE)


def packed_blocks(links):
    blocks = {}
    for n, link in enumerate(links):
        before = links[n - 1].position if n else NOWHERE
        behind = links[n + 1].position if n + 1 < len(links) else NOWHERE
        blocks.setdefault(link.position // POSITION_BLOCK, []).append((link, struct.pack(
            "<IIIIIB", link.size(), len(link.text), before, behind, 21 + len(link.layout),
            link.kind) + link.layout + link.text))
    content, last_link, last_header = b"", NOWHERE, NOWHERE
    for block in blocks.values():
        headers = [link.position for link, _ in block if link.kind == TOPIC_HEADER]
        last_header = headers[-1] if headers else last_header
        packed = literals(b"".join(data for _, data in block))
        content += struct.pack("<III", last_link, block[0][0].position, last_header)
        content += packed.ljust(BLOCK_SIZE - BLOCK_HEADER, b"\0")
        last_link = block[-1][0].position
    return content


def literals(data):
    """As LZ77 without any repetition: eight bytes behind a byte of flags."""
    return b"".join(b"\0" + data[at:at + 8] for at in range(0, len(data), 8))


# --- The file

def main_window(title):
    """Has the viewer's window this title, and all else as the viewer likes."""
    type_name_and_caption = 0x07
    return struct.pack("<H10s9s51s5h2I", type_name_and_caption, b"primary", b"main",
                       text_of(title), 0, 0, 0, 0, 0, 0, 0)


def system(title, first):
    records = [(1, text_of(title)), (3, struct.pack("<I", first)),
               (4, text_of("BrowseButtons()")), (6, main_window(title))]
    return struct.pack("<HHHIH", 0x036C, 21, 1, 0, 4) + b"".join(
        struct.pack("<HH", kind, len(data)) + data for kind, data in records)


def fonts():
    face = FACE.encode().ljust(20, b"\0")
    descriptors = b"".join(struct.pack("<BBBH3B3B", bold, size, 3, 0, *INK, 0, 0, 0)
                           for bold, size in FONTS)
    return struct.pack("<HHHH", 1, len(FONTS), 8, 8 + len(face)) + face + descriptors


def help_file(title, topics):
    links = chain_of(topics)
    starts = [link.offset for link in links if link.kind == TOPIC_HEADER][:-1]
    contexts = sorted((hash_of(topic.name), start) for topic, start in zip(topics, starts))
    files = {
        "|CONTEXT": tree("L4", 2048, 0, [struct.pack("<iI", *entry) for entry in contexts]),
        "|FONT": fonts(),
        "|SYSTEM": system(title, starts[0]),
        "|TOPIC": packed_blocks(links),
        "|TTLBTREE": tree("Lz", 2048, 0, [struct.pack("<I", start) + text_of(topic.title)
                                          for topic, start in zip(topics, starts)]),
    }
    content, entries = b"", []
    for name in sorted(files):
        entries.append(text_of(name) + struct.pack("<I", 16 + len(content)))
        content += internal_file(files[name])
    directory = internal_file(tree("z4", 1024, 0x400, entries))
    size = 16 + len(content) + len(directory)
    return struct.pack("<IIII", 0x00035F3F, 16 + len(content), NOWHERE, size) + content + directory


def main():
    parser = argparse.ArgumentParser(description="Writes a help file from plain text.")
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    options = parser.parse_args()
    try:
        made = help_file(*read_source(options.source.read_text(encoding="utf-8")))
        fresh = options.out.with_suffix(".new")
        fresh.write_bytes(made)
        fresh.replace(options.out)
    except (OSError, SourceError, UnicodeError) as error:
        parser.exit(1, f"make_help: {error}\n")


if __name__ == "__main__":
    main()
