"""Photograph-like pictures: as hard for a codec as those of a camera."""

import numpy


def octave(rng, height, width, cell):
    """Smooth noise with features of about `cell` pixels."""
    rows, columns = height // cell + 2, width // cell + 2
    grid = rng.standard_normal((rows, columns)).astype(numpy.float32)
    y = numpy.arange(height, dtype=numpy.float32) / cell
    x = numpy.arange(width, dtype=numpy.float32) / cell
    y0, x0 = y.astype(int), x.astype(int)
    fy, fx = (y - y0)[:, None], (x - x0)[None, :]
    upper = grid[y0][:, x0] * (1 - fx) + grid[y0][:, x0 + 1] * fx
    lower = grid[y0 + 1][:, x0] * (1 - fx) + grid[y0 + 1][:, x0 + 1] * fx
    return upper * (1 - fy) + lower * fy


def photograph(width, height, seed=7):
    """Fractal clouds, hard edges and grain: a photograph as far as a codec cares."""
    rng = numpy.random.default_rng(seed)
    light = sum(octave(rng, height, width, cell) * cell**0.5 for cell in (512, 128, 32, 8, 2))
    tint = octave(rng, height, width, 256)
    light += 20 * (octave(rng, height, width, 96) > 0.4)
    light = 128 + 45 * light / light.std()
    planes = [light + 18 * tint, light, light - 18 * tint]
    grain = rng.standard_normal((height, width)).astype(numpy.float32) * 2
    picture = numpy.stack([plane + grain for plane in planes], axis=-1)
    return picture.clip(0, 255).astype(numpy.uint8)
