"""What the programs below this folder share: a drawing as pixels."""

import io
import subprocess

from PIL import Image


def rendered(svg, *options):
    """An SVG drawing, text or file, with these options of rsvg-convert; an RGBA picture."""
    text = svg if isinstance(svg, bytes) else svg.read_bytes()
    png = subprocess.run(["rsvg-convert", *options], input=text, stdout=subprocess.PIPE,
                         check=True).stdout
    return Image.open(io.BytesIO(png)).convert("RGBA")


def pixels(svg, stylesheet=None):
    """The drawing at its own size; an RGB picture, black where nothing is drawn."""
    image = rendered(svg, *(["--stylesheet", str(stylesheet)] if stylesheet else []))
    flat = Image.new("RGBA", image.size, (0, 0, 0, 255))
    return Image.alpha_composite(flat, image).convert("RGB")
