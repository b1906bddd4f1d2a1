"""A bundle read from the layout itself, not with the product's reader."""

import struct


def read_text(data, position):
    end = data.index(b"\0", position)
    return data[position:end].decode("cp1252"), end + 1


def read_bundle(data):
    """{category: {member: bytes}}"""
    (start,) = struct.unpack_from("<I", data, len(data) - 4)
    directory, position = {}, start
    category = None
    while position < len(data) - 4:
        if data[position : position + 1] == b"?":
            name, position = read_text(data, position + 1)
            category = directory.setdefault(name, {})
        else:
            name, position = read_text(data, position)
            offset, size = struct.unpack_from("<II", data, position)
            position += 8
            assert offset + size <= start
            category[name] = data[offset : offset + size]
    return directory
