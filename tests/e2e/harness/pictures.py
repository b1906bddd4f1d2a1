"""Test pictures, and what each should look like on a screen."""

import dataclasses
import functools
import io

import numpy
import PIL.Image

_FORMATS = {"bmp": "BMP", "png": "PNG", "jpg": "JPEG"}


@dataclasses.dataclass(frozen=True)
class Picture:
    name: str            # member name in the bundle
    width: int           # as the catalogue tells it, px
    height: int
    data: bytes          # the encoded file
    pixels: numpy.ndarray = dataclasses.field(compare=False, repr=False)


def paint(width, height, hue):
    """A smooth scene of one colour family: scaling filters agree on it.

    `hue` 0 to 5 picks the family, so that two pictures differ everywhere.
    """
    base = numpy.array([(200, 40, 40), (40, 190, 40), (50, 60, 210),
                        (200, 190, 30), (30, 180, 190), (190, 50, 190)][hue], float)
    y, x = numpy.mgrid[0:height, 0:width]
    wave = 24 * numpy.sin(2 * numpy.pi * x / width) * numpy.cos(2 * numpy.pi * y / height)
    ramp = 24 * (x / max(width - 1, 1) - 0.5)
    return numpy.clip(base + (wave + ramp)[:, :, None], 1, 254).round().astype("uint8")


def waves(width, height, hue):
    """A scene that tells its place everywhere: slopes across and down, steep
    enough that a shift of a pixel shows, and soft enough for all filters."""
    base = paint(width, height, hue).astype(float)
    x = 2 * numpy.pi * (6 + hue) * numpy.arange(width) / width
    y = 2 * numpy.pi * (5 + hue) * numpy.arange(height) / height
    mesh = numpy.sin(x)[None, :] * numpy.cos(y)[:, None]
    tilt = numpy.sin(x[None, :] / 2 + y[:, None] / 2)
    return numpy.clip(base * 0.6 + 50 + numpy.stack([50 * mesh, 40 * tilt, 30 * mesh + 20 * tilt], 2),
                      1, 254).round().astype("uint8")


def picture(name, width, height, hue, declared=None, scene=paint):
    """A picture in the format of its name's extension.

    `declared` is the size that the catalogue tells, if it isn't the true one.
    """
    return encoded(name, scene(width, height, hue), declared)


def encoded(name, pixels, declared=None):
    """These pixels in the format of the name's extension."""
    height, width = pixels.shape[:2]
    stream = io.BytesIO()
    options = {"quality": 95, "subsampling": 0} if name.endswith("jpg") else {}
    PIL.Image.fromarray(pixels).save(stream, _FORMATS[name.rsplit(".", 1)[1]], **options)
    return Picture(name, *(declared or (width, height)), stream.getvalue(), pixels)


def broken(name, width=64, height=48, data=b"this is no picture"):
    return Picture(name, width, height, data, numpy.zeros((height, width, 3), "uint8"))


def placed(declared_width, declared_height, screen_width, screen_height):
    """Where the picture lies on the screen: left, top, width, height."""
    single = numpy.float32  # the arithmetic of the program, rounded as it rounds
    aspect = single(declared_width) / single(declared_height)
    if aspect >= single(screen_width) / single(screen_height):
        width, height = screen_width, int(single(screen_width) / aspect)
    else:
        width, height = int(single(screen_height) * aspect), screen_height
    return screen_width // 2 - width // 2, screen_height // 2 - height // 2, width, height


def scaled(shown, width, height):
    """The picture's pixels at another size, by PIL."""
    image = PIL.Image.fromarray(shown.pixels)
    return numpy.asarray(image.resize((width, height), PIL.Image.BILINEAR))


@functools.lru_cache(maxsize=64)
def on_screen(shown, screen_width, screen_height):
    """The whole screen with the picture `shown` on it."""
    left, top, width, height = placed(shown.width, shown.height, screen_width, screen_height)
    screen = numpy.zeros((screen_height, screen_width, 3), "uint8")
    screen[top:top + height, left:left + width] = scaled(shown, width, height)
    return screen


def mean_error(a, b):
    """Mean difference of two pictures, in levels of 255."""
    return float(numpy.abs(a.astype(int) - b.astype(int)).mean())


def which(screen, pictures):
    """The picture that the whole screen shows, or None during a wipe.

    A look at a few pixels rules most pictures out: who watches a show has to be quick.
    """
    height, width = screen.shape[:2]
    for candidate in pictures:
        expected = on_screen(candidate, width, height)
        if mean_error(screen[::16, ::16], expected[::16, ::16]) > 8:
            continue
        difference = numpy.abs(screen.astype(int) - expected.astype(int))
        if difference.mean() < 3 and (difference.max(axis=2) > 24).mean() < 0.002:
            return candidate
    return None
