"""What the programs beside this file share: a drawing as pixels."""

import io
import subprocess

from PIL import Image


def pixels(svg, stylesheet=None):
    """An SVG drawing, text or file, at its own size; an RGB picture, black where nothing is drawn."""
    command = ["rsvg-convert"]
    if stylesheet:
        command += ["--stylesheet", str(stylesheet)]
    text = svg if isinstance(svg, bytes) else svg.read_bytes()
    png = subprocess.run(command, input=text, stdout=subprocess.PIPE, check=True).stdout
    image = Image.open(io.BytesIO(png)).convert("RGBA")
    flat = Image.new("RGBA", image.size, (0, 0, 0, 255))
    return Image.alpha_composite(flat, image).convert("RGB")
