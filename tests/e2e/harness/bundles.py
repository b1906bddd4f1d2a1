"""Writes slide bundles byte by byte, independently of the product's tools."""

import struct


def dims_record(name, width, height, flags=None):
    """A `dims` member; `flags` is (x only, y only) or None for no flag bytes."""
    record = struct.pack("<II", width, height) + name.encode("cp1252") + b"\0"
    return record + bytes(flags) if flags else record


def caps_record(name, text, values=(0, 0, 0)):
    record = struct.pack("<HHH", *values) + name.encode("cp1252") + b"\0"
    return record + text.encode("cp1252") + b"\0"


def bundle_bytes(categories, before=b""):
    """A bundle file: `categories` is [(name, [(member, bytes)])] in order.

    Members' bytes first, then the directory, then its offset; `before` is
    what the bundle is glued behind.
    """
    body = bytearray(before)
    directory = bytearray()
    for category, members in categories:
        directory += b"?" + category.encode("cp1252") + b"\0"
        for member, data in members:
            directory += member.encode("cp1252") + b"\0" + struct.pack("<II", len(body), len(data))
            body += data
    return bytes(body) + bytes(directory) + struct.pack("<I", len(body))


def slide_bundle(pictures, captions=(), music=()):
    """The bundle of a show: `pictures` have name, width, height and data.

    A picture whose `data` isn't a picture at all is a broken one. `captions`
    are (picture name, text); with none there is one empty record, since a
    catalogue has at least one. `music` are (member, bytes).
    """
    captions = list(captions) or [(pictures[0].name, "")]
    return bundle_bytes([
        ("image", [(p.name, p.data) for p in pictures]),
        ("dims", [(f"{n}.dim", dims_record(p.name, p.width, p.height))
                  for n, p in enumerate(pictures)]),
        ("caps", [(f"{n}.cap", caps_record(*caption)) for n, caption in enumerate(captions)]),
        *([("music", list(music))] if music else []),
    ])
