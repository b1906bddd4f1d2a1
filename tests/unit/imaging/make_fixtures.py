#!/usr/bin/python3
"""Makes the picture files that the image library's tests decode.

usage: make_fixtures.py FOLDER [SEEDS]

For each picture NAME there are the file itself and NAME.pixels with what it has
to look like: width and height as 32-bit numbers, then blue, green, red of each
pixel from the top left. These pixels come from the array that the file was
written from, or, where the format loses something, from another decoder.
manifest.txt lists the pictures: name, format, largest error of a channel that
is allowed. SEEDS gets folders of such files for fuzz targets.

Files of BMP, PNG and GIF are mostly written here by hand, for the usual
programs write few of the variants that exist.
"""

import io
import pathlib
import shutil
import struct
import subprocess
import sys
import zlib

import numpy
from PIL import Image

WIDTH, HEIGHT = 61, 37  # odd on purpose: rows need padding, blocks are cut


def photograph(width=WIDTH, height=HEIGHT):
    """Smooth colours with a few edges and some grain, red, green, blue."""
    y, x = numpy.mgrid[0:height, 0:width].astype(float)
    red = 127 + 120 * numpy.sin(x / 9) * numpy.cos(y / 13)
    green = 255 * x / max(width - 1, 1)
    blue = 255 * y / max(height - 1, 1)
    blue[(x - width / 2) ** 2 + (y - height / 2) ** 2 < 80] = 240
    grain = numpy.random.default_rng(3).integers(-6, 7, (height, width, 3))
    return (numpy.stack([red, green, blue], -1) + grain).clip(0, 255).astype(numpy.uint8)


def indices(colours, width=WIDTH, height=HEIGHT):
    """Palette indices with runs of many lengths."""
    rng = numpy.random.default_rng(colours)
    flat = []
    while len(flat) < width * height:
        flat += [int(rng.integers(colours))] * int(rng.choice([1, 1, 1, 2, 3, 7, 40]))
    return numpy.array(flat[: width * height], numpy.uint8).reshape(height, width)


def palette(colours):
    rng = numpy.random.default_rng(1000 + colours)
    return rng.integers(0, 256, (colours, 3)).astype(numpy.uint8)


def opacity(width=WIDTH, height=HEIGHT):
    """From clear at the left to opaque at the right."""
    return numpy.tile(numpy.linspace(0, 255, width).round().astype(numpy.uint8), (height, 1))


def on_black(rgb, alpha):
    product = rgb.astype(int) * alpha.astype(int)[..., None]
    return ((product + 127) // 255).astype(numpy.uint8)


class Collection:
    def __init__(self, folder):
        self.folder = folder
        self.lines = []

    def path(self, name):
        return self.folder / name

    def add(self, name, kind, rgb, data=None, tolerance=0):
        """Lists the picture `name`; `data` is its file, which else stands there already."""
        if data is not None:
            self.path(name).write_bytes(data)
        rgb = numpy.asarray(rgb, numpy.uint8)
        if rgb.ndim == 2:
            rgb = numpy.repeat(rgb[..., None], 3, -1)
        height, width, _ = rgb.shape
        pixels = struct.pack("<II", width, height) + rgb[..., ::-1].tobytes()
        self.path(name + ".pixels").write_bytes(pixels)
        self.lines.append(f"{name} {kind} {tolerance}")

    def finish(self):
        (self.folder / "manifest.txt").write_text("\n".join(self.lines) + "\n")


def run(*command, stdin=None):
    command = list(map(str, command))
    return subprocess.run(command, input=stdin, stdout=subprocess.PIPE, check=True).stdout


def ppm(rgb):
    out = io.BytesIO()
    Image.fromarray(rgb).save(out, "PPM")
    return out.getvalue()


def pixels_of(file_bytes, mode="RGB"):
    return numpy.asarray(Image.open(io.BytesIO(file_bytes)).convert(mode))


# --- BMP ----------------------------------------------------------------------


def pack_rows(values, bits):
    """Rows of pixel values, as numbers of `bits` bits, padded to four bytes."""
    rows = []
    for row in values:
        if bits < 8:
            digits = "".join(format(int(value), f"0{bits}b") for value in row)
            digits += "0" * (-len(digits) % 8)
            packed = bytes(int(digits[i : i + 8], 2) for i in range(0, len(digits), 8))
        else:
            packed = b"".join(int(value).to_bytes(bits // 8, "little") for value in row)
        rows.append(packed + b"\0" * (-len(packed) % 4))
    return rows


def bmp(
    values,
    bits,
    colours=None,
    header=40,
    compression=0,
    masks=(),
    top_down=False,
    pixels=None,
    colours_used=0,
    gap=0,
):
    """A BMP file. `values` are pixel values from the top; `pixels` replaces their encoding."""
    height, width = values.shape
    if pixels is None:
        rows = pack_rows(values, bits)
        pixels = b"".join(rows if top_down else rows[::-1])
    if header == 12:
        info = struct.pack("<IHHHH", 12, width, height, 1, bits)
    else:
        signed = -height if top_down else height
        fields = (header, width, signed, 1, bits, compression, len(pixels), 2835, 2835)
        info = struct.pack("<IiiHHIIiiII", *fields, colours_used, 0)
        packed_masks = struct.pack(f"<{len(masks)}I", *masks)
        if header >= 52:
            info = (info + packed_masks).ljust(header, b"\0")
        else:
            info = info[:header] + packed_masks
    table = b""
    if colours is not None:
        entry = "<BBB" if header == 12 else "<BBBx"
        table = b"".join(struct.pack(entry, *map(int, colour[::-1])) for colour in colours)
    offset = 14 + len(info) + len(table) + gap
    start = b"BM" + struct.pack("<IHHI", offset + len(pixels), 0, 0, offset)
    return start + info + table + b"\xaa" * gap + pixels


def run_lengths(values, bits):
    """RLE8 or RLE4 with both kinds of runs, odd lengths included."""
    out = b""
    for row in values[::-1]:
        x = 0
        while x < len(row):
            run_length = 1
            while x + run_length < len(row) and run_length < 255 and row[x + run_length] == row[x]:
                run_length += 1
            literal = row[x : x + 5]
            if run_length >= 3 or len(literal) < 5:
                value = int(row[x])
                out += bytes([run_length, value if bits == 8 else value * 17])
                x += run_length
            else:
                packed = pack_rows([literal], bits)[0][: (len(literal) * bits + 7) // 8]
                out += bytes([0, len(literal)]) + packed + b"\0" * (len(packed) % 2)
                x += len(literal)
        out += b"\0\0"
    return out + b"\0\1"


def replicate(value, bits):
    """A channel of fewer than eight bits, its bits repeated."""
    digits = numpy.array([int((format(v, f"0{bits}b") * 8)[:8], 2) for v in range(1 << bits)])
    return digits[value]


def masked(rgb, masks):
    """Pixel values for the given masks, and what a reader sees of them."""
    values = numpy.zeros(rgb.shape[:2], numpy.uint64)
    seen = numpy.zeros_like(rgb)
    for channel, mask in enumerate(masks[:3]):
        if mask == 0:
            continue
        shift = (mask & -mask).bit_length() - 1
        bits = bin(mask).count("1")
        level = rgb[..., channel].astype(numpy.uint64)
        if bits <= 8:
            level = level >> (8 - bits)
        else:
            level = (level << (bits - 8)) | (level & ((1 << (bits - 8)) - 1))
        values |= level << shift
        seen[..., channel] = replicate(level.astype(int), bits) if bits < 8 else level >> (bits - 8)
    return values, seen


def make_bmps(out):
    for bits in (1, 4, 8):
        count = 1 << bits
        values, colours = indices(count), palette(count)
        seen = colours[values]
        out.add(f"bmp-{bits}.bmp", "bmp", seen, bmp(values, bits, colours))
        out.add(f"bmp-{bits}-down.bmp", "bmp", seen, bmp(values, bits, colours, top_down=True))
        out.add(f"bmp-{bits}-core.bmp", "bmp", seen, bmp(values, bits, colours, header=12))
        out.add(f"bmp-{bits}-os2.bmp", "bmp", seen, bmp(values, bits, colours, header=64))
        out.add(f"bmp-{bits}-gap.bmp", "bmp", seen, bmp(values, bits, colours, gap=33))
    values, colours = indices(5), palette(5)
    few = bmp(values, 8, colours, colours_used=5)
    out.add("bmp-8-five-colours.bmp", "bmp", colours[values], few)
    black = numpy.vstack([colours, numpy.zeros((251, 3), numpy.uint8)])
    values = indices(9)
    missing = bmp(values, 8, colours, colours_used=5)
    out.add("bmp-8-missing-colours.bmp", "bmp", black[values], missing)
    out.add("bmp-8-short-palette.bmp", "bmp", black[values], bmp(values, 8, colours))
    many = bmp(values, 4, palette(16), colours_used=300)
    out.add("bmp-4-many-colours.bmp", "bmp", palette(16)[values], many)

    for bits, compression in ((8, 1), (4, 2)):
        values, colours = indices(1 << bits), palette(1 << bits)
        data = bmp(values, bits, colours, compression=compression, pixels=run_lengths(values, bits))
        out.add(f"bmp-rle{bits}.bmp", "bmp", colours[values], data)
        make_jumping_runs(out, bits, compression)

    rgb = photograph()
    direct = (rgb[..., 0].astype(int) << 16) | (rgb[..., 1].astype(int) << 8) | rgb[..., 2]
    for name, options in (("", {}), ("-down", {"top_down": True}), ("-core", {"header": 12})):
        out.add(f"bmp-24{name}.bmp", "bmp", rgb, bmp(direct, 24, **options))
    out.add("bmp-24-palette.bmp", "bmp", rgb, bmp(direct, 24, palette(16), colours_used=16))
    out.add("bmp-32.bmp", "bmp", rgb, bmp(direct | (77 << 24), 32))
    for header in (16, 20):
        out.add(f"bmp-24-os2-{header}.bmp", "bmp", rgb, bmp(direct, 24, header=header))

    layouts = {
        "16-555": (16, (0x7C00, 0x03E0, 0x001F)),
        "16-565": (16, (0xF800, 0x07E0, 0x001F)),
        "16-444": (16, (0x0F00, 0x00F0, 0x000F)),
        "16-no-green": (16, (0x7C00, 0, 0x001F)),
        "32-rgb": (32, (0xFF0000, 0xFF00, 0xFF)),
        "32-high": (32, (0xFF, 0xFF00, 0xFF000000)),
        "32-ten": (32, (0x3FF00000, 0xFFC00, 0x3FF)),
        "32-231": (32, (0x3, 0x1C, 0x20)),
    }
    for name, (bits, masks) in layouts.items():
        values, seen = masked(rgb, masks)
        out.add(f"bmp-{name}.bmp", "bmp", seen, bmp(values, bits, compression=3, masks=masks))
        version_4 = bmp(values, bits, header=108, compression=3, masks=masks)
        out.add(f"bmp-{name}-v4.bmp", "bmp", seen, version_4)
    values, seen = masked(rgb, (0x7C00, 0x03E0, 0x001F))
    out.add("bmp-16.bmp", "bmp", seen, bmp(values, 16))

    alpha = opacity()
    with_alpha = direct | (alpha.astype(int) << 24)
    masks = (0xFF0000, 0xFF00, 0xFF, 0xFF000000)
    seen = on_black(rgb, alpha)
    for header in (56, 108, 124):
        data = bmp(with_alpha, 32, header=header, compression=3, masks=masks)
        out.add(f"bmp-32-alpha-{header}.bmp", "bmp", seen, data)
    out.add("bmp-32-alpha-40.bmp", "bmp", seen, bmp(with_alpha, 32, compression=6, masks=masks))
    clear = bmp(direct, 32, header=124, compression=3, masks=masks)
    out.add("bmp-32-all-clear.bmp", "bmp", rgb, clear)
    one = numpy.array([[0x123456]])
    out.add("bmp-1x1.bmp", "bmp", [[[0x12, 0x34, 0x56]]], bmp(one, 24))


def make_jumping_runs(out, bits, compression):
    """Codes that jump over pixels, and a run that is longer than its row."""
    values = numpy.zeros((4, 7), int)  # what is passed over has colour 0
    values[3, 0:3] = 1  # the bottom row comes first
    values[2, 4:7] = 2
    values[0, 1:3] = 3

    def run_of(count, index):
        return bytes([count, index if bits == 8 else index * 17])

    codes = run_of(3, 1) + b"\0\2\1\1" + run_of(9, 2)
    codes += b"\0\0" + b"\0\0" + b"\0\2\1\0" + run_of(2, 3) + b"\0\1"
    colours = palette(4)
    data = bmp(values, bits, colours, compression=compression, pixels=codes, colours_used=4)
    out.add(f"bmp-rle{bits}-jumps.bmp", "bmp", colours[values], data)


# --- PNG ----------------------------------------------------------------------

# First column, first row, steps.
ADAM7 = (
    (0, 0, 8, 8),
    (4, 0, 8, 8),
    (0, 4, 4, 8),
    (2, 0, 4, 4),
    (0, 2, 2, 4),
    (1, 0, 2, 2),
    (0, 1, 1, 2),
)


def png_chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png_rows(samples, bits):
    """Unfiltered rows of `samples`, an array of height, width, channels."""
    rows = b""
    for row in samples.reshape(samples.shape[0], -1):
        if bits == 16:
            packed = b"".join(struct.pack(">H", int(value)) for value in row)
        elif bits == 8:
            packed = bytes(map(int, row))
        else:
            digits = "".join(format(int(value), f"0{bits}b") for value in row)
            digits += "0" * (-len(digits) % 8)
            packed = bytes(int(digits[i : i + 8], 2) for i in range(0, len(digits), 8))
        rows += b"\0" + packed
    return rows


def png(samples, bits, kind, chunks=b"", interlaced=False):
    """A PNG file; `kind` is its colour type, `chunks` what comes before the pixels."""
    if samples.ndim == 2:
        samples = samples[..., None]
    height, width, _ = samples.shape
    if interlaced:
        raw = b""
        for x, y, dx, dy in ADAM7:
            part = samples[y::dy, x::dx]
            if part.size:
                raw += png_rows(part, bits)
    else:
        raw = png_rows(samples, bits)
    header = struct.pack(">IIBBBBB", width, height, bits, kind, 0, 0, int(interlaced))
    return (
        b"\x89PNG\r\n\x1a\n"
        + png_chunk(b"IHDR", header)
        + chunks
        + png_chunk(b"IDAT", zlib.compress(raw))
        + png_chunk(b"IEND", b"")
    )


def eight_of_sixteen(values):
    return ((values.astype(numpy.int64) * 255 + 32767) // 65535).astype(numpy.uint8)


def make_pngs(out):
    rgb = photograph()
    alpha = opacity()
    grey = rgb[..., 1]
    noise = numpy.random.default_rng(5).integers(-100, 100, rgb.shape)
    deep = (rgb.astype(int) * 257 + noise).clip(0, 65535)
    deep_alpha = alpha.astype(int) * 257
    for interlaced in (False, True):
        suffix = "-adam7" if interlaced else ""

        def add(name, seen, samples, bits, kind, chunks=b""):
            data = png(samples, bits, kind, chunks, interlaced)
            out.add(f"png-{name}{suffix}.png", "png", seen, data)

        for bits in (1, 2, 4, 8):
            count = 1 << bits
            values, colours = indices(count), palette(count)
            table = png_chunk(b"PLTE", colours.tobytes())
            add(f"palette-{bits}", colours[values], values, bits, 3, table)
            levels = numpy.linspace(0, 255, count).round().astype(numpy.uint8)
            clear = png_chunk(b"tRNS", levels.tobytes())
            seen = on_black(colours[values], levels[values])
            add(f"palette-{bits}-clear", seen, values, bits, 3, table + clear)
            add(f"grey-{bits}", levels[values], values, bits, 0)
            hidden = numpy.where(values == 1, 0, levels[values])
            key = png_chunk(b"tRNS", struct.pack(">H", 1))
            add(f"grey-{bits}-clear", hidden, values, bits, 0, key)
        add("grey-16", eight_of_sixteen(deep[..., 0]), deep[..., 0], 16, 0)
        seen = on_black(grey[..., None].repeat(3, -1), alpha)
        add("grey-alpha", seen, numpy.dstack([grey, alpha]), 8, 4)
        deep_grey = eight_of_sixteen(deep[..., 0])[..., None].repeat(3, -1)
        samples = numpy.dstack([deep[..., 0], deep_alpha])
        add("grey-alpha-16", on_black(deep_grey, alpha), samples, 16, 4)
        add("rgb", rgb, rgb, 8, 2)
        key = tuple(map(int, rgb[5, 7]))
        hidden = numpy.where((rgb == rgb[5, 7]).all(-1, keepdims=True), 0, rgb)
        add("rgb-clear", hidden, rgb, 8, 2, png_chunk(b"tRNS", struct.pack(">HHH", *key)))
        add("rgb-16", eight_of_sixteen(deep), deep, 16, 2)
        add("rgba", on_black(rgb, alpha), numpy.dstack([rgb, alpha]), 8, 6)
        seen = on_black(eight_of_sixteen(deep), alpha)
        add("rgba-16", seen, numpy.dstack([deep, deep_alpha]), 16, 6)
        gamma = png_chunk(b"gAMA", struct.pack(">I", 100000))
        add("rgb-gamma", rgb, rgb, 8, 2, gamma + png_chunk(b"tEXt", b"Title\0anything"))
    out.add("png-1x1.png", "png", [[[9, 8, 7]]], png(numpy.array([[[9, 8, 7]]]), 8, 2))
    filtered = io.BytesIO()
    Image.fromarray(rgb).save(filtered, "PNG", optimize=True)
    out.add("png-filters.png", "png", rgb, filtered.getvalue())


# --- GIF ----------------------------------------------------------------------


def gif_codes(values, bits):
    """LZW data that never grows its table: a clear code comes in time, again and again."""
    clear = 1 << bits
    codes = []
    for i, value in enumerate(values):
        if i % (clear - 2 or 1) == 0:
            codes.append(clear)
        codes.append(int(value))
    codes.append(clear + 1)
    digits = "".join(format(code, f"0{bits + 1}b")[::-1] for code in codes)
    digits += "0" * (-len(digits) % 8)
    packed = bytes(int(digits[i : i + 8][::-1], 2) for i in range(0, len(digits), 8))
    blocks = b"".join(
        bytes([len(packed[i : i + 255])]) + packed[i : i + 255] for i in range(0, len(packed), 255)
    )
    return bytes([bits]) + blocks + b"\0"


def gif_frame(values, left=0, top=0, interlaced=False, colours=None, transparent=None):
    height, width = values.shape
    out = b""
    if transparent is not None:
        out += b"\x21\xf9\x04" + bytes([1, 10, 0, transparent]) + b"\0"
    flags = (0x40 if interlaced else 0) | (0x80 | 3 if colours is not None else 0)
    out += b"\x2c" + struct.pack("<HHHHB", left, top, width, height, flags)
    if colours is not None:
        out += colours.tobytes()
    rows = list(range(height))
    if interlaced:
        passes = ((0, 8), (4, 8), (2, 4), (1, 2))
        rows = [y for first, step in passes for y in range(first, height, step)]
    return out + gif_codes(values[rows].ravel(), 4)


def gif(width, height, *frames, colours=None, before=b""):
    flags = 0x80 | 3 if colours is not None else 0
    out = b"GIF89a" + struct.pack("<HHBBB", width, height, flags, 0, 0)
    if colours is not None:
        out += colours.tobytes()
    return out + before + b"".join(frames) + b"\x3b"


def placed(seen, width, height, left, top):
    screen = numpy.zeros((height, width, 3), numpy.uint8)
    screen[top : top + seen.shape[0], left : left + seen.shape[1]] = seen
    return screen


def make_gifs(out):
    values, colours, local = indices(16), palette(16), palette(16)[::-1].copy()
    seen = colours[values]
    second = gif_frame(indices(15)[:10, :10], 3, 3)
    comment = b"\x21\xfe\x05hello\0"
    loop = b"\x21\xff\x0bNETSCAPE2.0\x03\1\0\0\0"
    whole = {"colours": colours}

    def add(name, pixels, width, height, *frames, **options):
        out.add(f"gif-{name}.gif", "gif", pixels, gif(width, height, *frames, **options))

    add("plain", seen, WIDTH, HEIGHT, gif_frame(values), **whole)
    add("interlaced", seen, WIDTH, HEIGHT, gif_frame(values, interlaced=True), **whole)
    for rows in range(1, 10):
        cut = gif_frame(values[:rows], interlaced=True)
        add(f"interlaced-{rows}", seen[:rows], WIDTH, rows, cut, **whole)
    add("local", local[values], WIDTH, HEIGHT, gif_frame(values, colours=local), **whole)
    add("local-alone", local[values], WIDTH, HEIGHT, gif_frame(values, colours=local))
    add("animated", seen, WIDTH, HEIGHT, gif_frame(values), comment, second, before=loop, **whole)
    clear = numpy.where((values == 6)[..., None], 0, seen)
    add("transparent", clear, WIDTH, HEIGHT, gif_frame(values, transparent=6), **whole)
    later = gif_frame(values, transparent=6)
    add("later-transparent", seen, WIDTH, HEIGHT, gif_frame(values), later, **whole)
    add("offset", placed(seen, 90, 70, 11, 22), 90, 70, gif_frame(values, 11, 22), **whole)
    wide = placed(seen, WIDTH + 5, HEIGHT + 7, 5, 7)
    add("beyond-screen", wide, 20, 20, gif_frame(values, 5, 7), **whole)
    add("no-screen", seen, 0, 0, gif_frame(values), **whole)
    few = colours[:8].copy()  # for indices up to fifteen
    eight = b"GIF89a" + struct.pack("<HHBBB", WIDTH, HEIGHT, 0x80 | 2, 0, 0) + few.tobytes()
    black = numpy.where((values < 8)[..., None], seen, 0)
    out.add("gif-missing-colours.gif", "gif", black, eight + gif_frame(values) + b"\x3b")
    buffer = io.BytesIO()
    Image.fromarray(photograph()).convert("P", palette=Image.ADAPTIVE).save(buffer, "GIF")
    out.add("gif-256.gif", "gif", pixels_of(buffer.getvalue()), buffer.getvalue())


# --- JPEG, WebP, TIFF ---------------------------------------------------------


def with_segment(jpeg_file, marker, data):
    """The JPEG with a segment more, right after its start."""
    segment = bytes([0xFF, marker]) + struct.pack(">H", len(data) + 2) + data
    return jpeg_file[:2] + segment + jpeg_file[2:]


def four_inks(jpeg_file):
    """What a CMYK file looks like; 255 stands for no ink in it."""
    inks = 255 - numpy.asarray(Image.open(io.BytesIO(jpeg_file))).astype(int)
    return ((inks[..., :3] * inks[..., 3:] + 127) // 255).astype(numpy.uint8)


def make_jpegs(out):
    source = ppm(photograph())

    def add(name, *options, edit=lambda data: data):
        data = edit(run("cjpeg", "-quality", 90, *options, stdin=source))
        out.add(f"jpeg-{name}.jpg", "jpeg", pixels_of(run("djpeg", "-ppm", stdin=data)), data)

    add("420")
    add("444", "-sample", "1x1")
    add("422", "-sample", "2x1")
    add("440", "-sample", "1x2")
    add("411", "-sample", "4x1")
    add("progressive", "-progressive")
    add("progressive-444", "-progressive", "-sample", "1x1")
    add("optimized", "-optimize")
    add("restart", "-restart", "1")
    add("rgb", "-rgb")
    add("grey", "-grayscale")
    add("grey-progressive", "-grayscale", "-progressive")
    add("arithmetic", "-arithmetic")
    add("arithmetic-progressive", "-arithmetic", "-progressive")
    add("no-header", edit=lambda data: data[:2] + data[2 + 2 + struct.unpack(">H", data[4:6])[0] :])
    orientation_six = b"Exif\0\0MM\0*\0\0\0\x08\0\1\x01\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0"
    add("turned", edit=lambda data: with_segment(data, 0xE1, orientation_six))
    add("comment", edit=lambda data: with_segment(data, 0xFE, b"a comment"))
    add("trailing-zeros", edit=lambda data: data + b"\0" * 100)

    buffer = io.BytesIO()
    rgb = Image.fromarray(photograph())
    colours = Image.eval(rgb, lambda value: 255 - value).split()
    ink = Image.merge("CMYK", (*colours, Image.fromarray(opacity() // 3)))
    ink.save(buffer, "JPEG", quality=92)
    cmyk = buffer.getvalue()
    out.add("jpeg-cmyk.jpg", "jpeg", four_inks(cmyk), cmyk)
    adobe = cmyk.index(b"Adobe")
    ycck = cmyk[: adobe + 11] + b"\2" + cmyk[adobe + 12 :]
    out.add("jpeg-ycck.jpg", "jpeg", four_inks(ycck), ycck)
    buffer = io.BytesIO()
    ink.save(buffer, "JPEG", quality=92, progressive=True)
    out.add("jpeg-cmyk-progressive.jpg", "jpeg", four_inks(buffer.getvalue()), buffer.getvalue())
    for size in (1, 8, 9, 17):
        data = run("cjpeg", stdin=ppm(photograph(size, size)))
        seen = pixels_of(run("djpeg", "-ppm", stdin=data))
        out.add(f"jpeg-{size}x{size}.jpg", "jpeg", seen, data)


def make_webps(out):
    rgb, alpha = photograph(), opacity()
    rgba = numpy.dstack([rgb, alpha])

    def encode(array, *options):
        path = out.path("webp-source.png")
        Image.fromarray(array).save(path)
        encoded = run("cwebp", "-quiet", *options, path, "-o", "-")
        path.unlink()
        return encoded

    def add(name, array, *options):
        data = encode(array, *options)
        as_png = run("dwebp", "-quiet", "-o", "-", "--", "-", stdin=data)
        decoded = numpy.asarray(Image.open(io.BytesIO(as_png)))
        if decoded.shape[-1] == 4:
            decoded = on_black(decoded[..., :3], decoded[..., 3])
        out.add(f"webp-{name}.webp", "webp", decoded, data, 1)

    out.add("webp-lossless.webp", "webp", rgb, encode(rgb, "-lossless"))
    seen = on_black(rgb, alpha)
    out.add("webp-lossless-alpha.webp", "webp", seen, encode(rgba, "-lossless", "-exact"))
    add("lossy", rgb, "-q", "80")
    add("lossy-alpha", rgba, "-q", "80")
    add("1x1", photograph(1, 1), "-q", "80")


def make_tiffs(out):
    rgb, alpha = photograph(), opacity()

    def encode(image, **options):
        buffer = io.BytesIO()
        image.save(buffer, "TIFF", **options)
        return buffer.getvalue()

    for compression in ("raw", "tiff_lzw", "packbits", "tiff_adobe_deflate"):
        data = encode(Image.fromarray(rgb), compression=compression)
        out.add(f"tiff-{compression.replace('tiff_', '')}.tif", "tiff", rgb, data)
    out.add("tiff-grey.tif", "tiff", rgb[..., 1], encode(Image.fromarray(rgb[..., 1])))
    fax = indices(2)
    data = encode(Image.fromarray(fax * 255).convert("1"), compression="group4")
    out.add("tiff-fax.tif", "tiff", fax * 255, data)
    data = encode(Image.fromarray(numpy.dstack([rgb, alpha])))
    out.add("tiff-alpha.tif", "tiff", on_black(rgb, alpha), data)
    data = run("convert", "png:-", "-endian", "MSB", "tiff:-", stdin=png(rgb, 8, 2))
    out.add("tiff-big-endian.tif", "tiff", rgb, data)
    pages = [Image.fromarray(rgb[::-1].copy())]
    data = encode(Image.fromarray(rgb), save_all=True, append_images=pages)
    out.add("tiff-pages.tif", "tiff", rgb, data)


# --- Pictures that are no files of the list -----------------------------------


def make_refused(folder):
    """Good files of kinds that the library doesn't take."""
    frames = [Image.fromarray(photograph()), Image.fromarray(photograph()[::-1].copy())]
    frames[0].save(folder / "animated.webp", save_all=True, append_images=frames[1:], lossless=True)
    Image.fromarray(photograph()).save(folder / "picture.pcx")
    Image.fromarray(photograph()).save(folder / "picture.ppm")


def make_large(folder):
    """A picture of many scans' and rows' worth, for the thread and damage tests."""
    run("cjpeg", "-quality", 85, "-outfile", folder / "large.jpg", stdin=ppm(photograph(900, 600)))
    run("cjpeg", "-quality", 85, "-progressive", "-outfile", folder / "large-progressive.jpg",
        stdin=ppm(photograph(900, 600)))


def make_seeds(pictures, folder):
    """Small pictures for the fuzz targets, and numbers for the one that scales."""
    kinds = {"bmp": "*.bmp", "jpeg": "*.jpg", "png": "*.png", "gif": "*.gif", "webp": "*.webp"}
    for name in (*kinds, "resample"):
        (folder / name).mkdir(parents=True, exist_ok=True)
    for name, pattern in kinds.items():
        for path in pictures.glob(pattern):
            if path.stat().st_size < 4096 or name == "bmp":
                shutil.copy(path, folder / name)
    scalings = ((60, 40, 7, 56, 0, 56, 36, 0, 36, 2), (199, 3, 255, 9, 3, 5, 400, 99, 60, 1))
    for number, values in enumerate(scalings):
        (folder / "resample" / str(number)).write_bytes(struct.pack("<10H", *values))


def main():
    folder = pathlib.Path(sys.argv[1])
    (folder / "refused").mkdir(parents=True, exist_ok=True)
    out = Collection(folder)
    make_bmps(out)
    make_pngs(out)
    make_gifs(out)
    make_jpegs(out)
    make_webps(out)
    make_tiffs(out)
    make_refused(folder / "refused")
    make_large(folder)
    out.finish()
    if len(sys.argv) > 2:
        make_seeds(folder, pathlib.Path(sys.argv[2]))


if __name__ == "__main__":
    main()
