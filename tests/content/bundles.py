"""Reads a bundle by docs/bundle-format.md alone, and says what breaks its rules."""

import struct


def text_up_to_nul(data, at):
    end = data.index(b"\0", at)
    return data[at:end].decode("cp1252"), end + 1


def read_bundle(data):
    """The members' bytes: {category: {member: bytes}}, in the directory's order."""
    end = len(data) - 4
    (at,) = struct.unpack_from("<I", data, end)
    assert at < end and data[at : at + 1] == b"?", "the directory starts with a category"
    categories = {}
    while at < end:
        if data[at : at + 1] == b"?":
            name, at = text_up_to_nul(data, at + 1)
            assert name not in categories
            members = categories[name] = {}
        else:
            name, at = text_up_to_nul(data, at)
            offset, size = struct.unpack_from("<II", data, at)
            at += 8
            assert name not in members
            assert offset + size <= end
            members[name] = data[offset : offset + size]
    assert at == end, "the directory ends right before the trailer"
    return categories


def read_dims(record):
    width, height = struct.unpack_from("<II", record)
    name, at = text_up_to_nul(record, 8)
    flags = record[at:]
    assert len(flags) in (0, 2)
    x_only, y_only = flags or (0, 0)
    return {"width": width, "height": height, "name": name, "x_only": bool(x_only), "y_only": bool(y_only)}


def read_caption(record):
    numbers = struct.unpack_from("<HHH", record)
    name, at = text_up_to_nul(record, 6)
    text, at = text_up_to_nul(record, at)
    assert at == len(record)
    return {"numbers": numbers, "name": name, "text": text}
