"""Where captions stand, how they look, and how they come and go, in both modes.

What should be on the screen is worked out by Pillow from the font file that the
system draws with, and from the rule of each mode:

- Direct3D: the text is drawn on a canvas of 896 by 256 px, which is shown over
  three quarters of the screen's width, so that 10 px of it lie between the last
  line and the screen's lower edge.
- fast: the text is drawn on the screen, 50 px from the sides, 10 px from below.
"""

import dataclasses
import io
import pathlib

import numpy
import PIL.Image
import PIL.ImageDraw
import PIL.ImageFont
import pytest

from harness import pictures
from harness.displays import record, stable_shot
from harness.waiting import wait_until

WIDTH, HEIGHT = 640, 480
CANVAS_WIDTH = 896
FONT_SIZE = 40
FONTS = pathlib.Path("/usr/share/fonts/truetype/liberation")
ASCENT, DESCENT = 1854 / 2048, 434 / 2048   # of these fonts, as the system rounds them for a size
BRIGHT = 150   # of white text over a dark picture; its smoothed edges are darker
TOLERANCE = 2  # px
MODES = {"fast": dict(FastMode=1), "direct3d": dict(FastMode=0, Animate=0)}
WORDS = ["Hxgd", "Over the hills", "Wide water"]


def flat(name, colour):
    """A picture of one colour, with the screen's shape."""
    pixels = numpy.full((HEIGHT, WIDTH, 3), colour, "uint8")
    stream = io.BytesIO()
    PIL.Image.fromarray(pixels).save(stream, "BMP")
    return pictures.Picture(name, WIDTH, HEIGHT, stream.getvalue(), pixels)


NIGHT = flat("night.bmp", (10, 20, 40))
DUSK = flat("dusk.bmp", (90, 40, 10))


@dataclasses.dataclass(frozen=True)
class Style:
    orientation: int = 1   # 0 left, 1 centre, 2 right
    bold: int = 0
    italic: int = 0

    def settings(self):
        return dict(ShowCaptions=1, CaptionFont="Arial", CaptionFontSize=-FONT_SIZE & 0xFFFFFFFF,
                    CaptionOrientation=self.orientation, CaptionBold=self.bold,
                    CaptionItalic=self.italic)

    def font(self):
        face = {(0, 0): "Regular", (1, 0): "Bold", (0, 1): "Italic", (1, 1): "BoldItalic"}
        path = FONTS / f"LiberationSans-{face[self.bold, self.italic]}.ttf"
        return PIL.ImageFont.truetype(str(path), FONT_SIZE,
                                      layout_engine=PIL.ImageFont.Layout.BASIC)


def text_block(lines, style, room):
    """The text as a picture of its own, `room` px wide, by Pillow."""
    font = style.font()
    ascent, descent = round(ASCENT * FONT_SIZE), round(DESCENT * FONT_SIZE)
    block = PIL.Image.new("L", (room, (ascent + descent) * len(lines)))
    draw = PIL.ImageDraw.Draw(block)
    for n, line in enumerate(lines):
        free = room - font.getlength(line)
        draw.text((free * style.orientation / 2, n * (ascent + descent) + ascent), line, fill=255,
                  font=font, anchor="ls")
    return numpy.asarray(block)


def expected_ink(mode, lines, style):
    """The screen's columns and rows that the text reaches: left, top, right, bottom."""
    fast = mode == "fast"
    room = WIDTH - 100 if fast else CANVAS_WIDTH - 2
    scale = 1.0 if fast else 0.75 * WIDTH / CANVAS_WIDTH
    block = text_block(lines, style, room)
    left = 50 if fast else WIDTH / 8
    top = HEIGHT - (block.shape[0] + 10) * scale
    l, t, r, b = ink(block)
    return numpy.array([left + l * scale, top + t * scale, left + r * scale, top + b * scale])


def ink(grey):
    bright = grey > BRIGHT
    rows, columns = bright.any(axis=1).nonzero()[0], bright.any(axis=0).nonzero()[0]
    return columns[0], rows[0], columns[-1] + 1, rows[-1] + 1


def start(desktop, mode, shown, captions, style=Style(), **settings):
    desktop.settings(**MODES[mode], **style.settings(), ImageDelay="600.000000")
    desktop.settings(**settings)
    desktop.slides(shown, captions)
    return desktop.start("/s").wait_for_show()


def still_text(run):
    """The screen, once a text stands on it and nothing moves any more."""
    before = None

    def settled():
        nonlocal before
        screen = run.desktop.display.shot()
        same = before is not None and (before == screen).all()
        before = screen
        return same and (screen > BRIGHT).any()

    wait_until("a caption on the screen", settled, alive=run.ended)
    return before


@pytest.mark.parametrize("orientation, lines", [
    (0, WORDS[:1]), (1, WORDS[:1]), (2, WORDS[:1]), (1, WORDS[:2]), (0, WORDS)],
    ids=["left", "centre", "right", "two lines", "three lines"])
@pytest.mark.parametrize("mode", MODES)
def test_caption_stands_at_its_place(desktop, mode, orientation, lines):
    style = Style(orientation)
    run = start(desktop, mode, [NIGHT], [(NIGHT.name, "\r\n".join(lines))], style)
    screen = still_text(run)
    found = ink(screen.max(axis=2))
    assert numpy.abs(found - expected_ink(mode, lines, style)).max() <= TOLERANCE


def shape(grey):
    """The text cut out and brought to one size, so that only its shape counts."""
    left, top, right, bottom = ink(grey)
    return numpy.asarray(PIL.Image.fromarray(grey[top:bottom, left:right]).resize((240, 32)), int)


@pytest.mark.parametrize("bold, italic", [(1, 0), (0, 1)], ids=["bold", "italic"])
@pytest.mark.parametrize("mode", MODES)
def test_caption_has_its_style(desktop, mode, bold, italic):
    run = start(desktop, mode, [NIGHT], [(NIGHT.name, WORDS[1])], Style(0, bold, italic))
    found = shape(still_text(run).max(axis=2))
    difference = {}
    for style in (Style(0, b, i) for b in (0, 1) for i in (0, 1)):
        expected = shape(text_block(WORDS[1:2], style, WIDTH))
        difference[style.bold, style.italic] = numpy.abs(found - expected).mean()
    assert min(difference, key=difference.get) == (bold, italic), difference


@pytest.mark.parametrize("mode", MODES)
def test_caption_is_white_with_a_dark_shadow(desktop, mode):
    run = start(desktop, mode, [DUSK], [(DUSK.name, "HHHH")], Style(1, bold=1))
    screen = still_text(run).astype(int)
    left, top, right, bottom = ink(screen.max(axis=2))
    assert screen.min(axis=2).max() >= 250
    shadow = screen[top:bottom + 3, left:right + 3].max(axis=2) < 40
    assert shadow.mean() > 0.02
    assert numpy.abs(screen[:top - 4] - DUSK.pixels[0, 0]).max() <= 2, "and nothing else"


@pytest.mark.parametrize("mode", MODES)
def test_picture_without_a_record_shows_the_first_records_text(desktop, mode):
    style = Style()
    captions = [("no such picture", WORDS[1]), (DUSK.name, WORDS[2])]
    run = start(desktop, mode, [NIGHT, DUSK], captions, style)
    found = ink(still_text(run).max(axis=2))
    assert numpy.abs(found - expected_ink(mode, WORDS[1:2], style)).max() <= TOLERANCE


ROUNDS = 12  # a busy machine shows few frames of a change, and a test watches the next one, too


def brightest_text(screen):
    """The colour of the brightest pixel where captions are."""
    area = screen[HEIGHT - 40:].reshape(-1, 3)
    return area[area.astype(int).sum(axis=1).argmax()].astype(float)


def watched(differences, enough):
    """What changes differ by from what they should be, of so many frames at least."""
    seen = []
    for _ in range(ROUNDS):
        seen += differences()
        if len(seen) >= enough:
            break
    assert len(seen) >= enough, "the change was seen"
    return seen


def test_direct3d_captions_change_by_the_fourth_power_of_the_crossfade(desktop):
    """Each frame tells by its picture how far the crossfade is, and so what its text must be."""
    run = start(desktop, "direct3d", [NIGHT, DUSK], [(NIGHT.name, "HHHH"), (DUSK.name, "")],
                Style(1, bold=1), Animate=1, ImageDelay="3.000000")
    night, dusk = NIGHT.pixels[0, 0].astype(float), DUSK.pixels[0, 0].astype(float)

    def differences():
        """Those of a crossfade from night to dusk, frame by frame."""
        wait_until("night", lambda: 0 < desktop.display.shot()[20, 20, 0] <= night[0] + 2, 60,
                   alive=run.ended)
        for _, screen in record(desktop.display, 60, look=stable_shot,
                                until=lambda screen: screen[20, 20, 0] >= dusk[0] - 2):
            red = float(screen[20, 20, 0])
            if night[0] + 4 < red < dusk[0] - 4:
                through = (red - night[0]) / (dusk[0] - night[0])   # the blend's square
                alpha = (1 - through**0.5)**4
                text = (255 * alpha + night * (1 - alpha)) * (1 - through) + dusk * through
                yield numpy.abs(brightest_text(screen) - text).max()

    assert max(watched(differences, 5)) <= 10
    assert run.running()


def test_direct3d_caption_fades_up_with_the_first_slide(desktop):
    dusk = DUSK.pixels[0, 0].astype(float)

    def differences():
        """Those of a start, frame by frame."""
        run = start(desktop, "direct3d", [DUSK], [(DUSK.name, "HHHH")], Style(1, bold=1), Animate=1)
        # The desktop is darkened first: the slide begins on a black screen.
        wait_until("darkness", lambda: desktop.display.shot().max() == 0, alive=run.ended)
        for _, screen in record(desktop.display, 60, look=stable_shot,
                                until=lambda screen: screen[20, 20, 0] >= dusk[0] - 1):
            light = screen[20, 20, 0] / dusk[0]
            if 0.1 < light < 0.95:
                text = 255 * light + dusk * light * (1 - light)
                yield numpy.abs(brightest_text(screen) - text).max()
        assert run.quit() == 0

    assert max(watched(differences, 3)) <= 12


def test_direct3d_captions_change_with_their_slides(desktop):
    """Three slides, so that one of the two sets of textures serves twice."""
    style = Style()
    shown = [NIGHT, DUSK, flat("dawn.bmp", (40, 80, 60))]
    run = start(desktop, "direct3d", shown, [(p.name, w) for p, w in zip(shown, WORDS)], style,
                ImageDelay="0.300000")
    for n in range(3):
        expected = expected_ink("direct3d", WORDS[n:n + 1], style)

        def stands():
            screen = desktop.display.shot()
            if numpy.abs(screen[20, 20].astype(int) - shown[n].pixels[0, 0]).max() > 3:
                return False
            if not (screen > BRIGHT).any():
                return False
            return numpy.abs(ink(screen.max(axis=2)) - expected).max() <= TOLERANCE

        wait_until(f"picture {n} with its caption", stands, 60, alive=run.ended)
