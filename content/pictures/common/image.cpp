#include "common/image.h"

#include <cstdio>

#include "common/colour.h"

namespace pictures {
namespace {

// One box pass along x with reflected result order, so that two calls do both axes.
Image BoxPass(const Image& in, int radius) {
  Image out(in.height(), in.width());
  const double scale = 1.0 / (2 * radius + 1);
  const int last = in.width() - 1;
  for (int y = 0; y < in.height(); ++y) {
    Vec3 sum;
    for (int x = -radius; x <= radius; ++x) sum += in.At(std::clamp(x, 0, last), y);
    for (int x = 0; x <= last; ++x) {
      out.Set(y, x, sum * scale);
      sum += in.At(std::min(x + radius + 1, last), y) - in.At(std::max(x - radius, 0), y);
    }
  }
  return out;
}

double Vignette(double x, double y, const Image& image, double strength) {
  const double cx = x / image.width() - 0.5, cy = y / image.height() - 0.5;
  return 1.0 - strength * Square(2.0 * (cx * cx + cy * cy));
}

uint8_t ToByte(double v) { return static_cast<uint8_t>(Clamp(v * 255.0 + 0.5, 0.0, 255.0)); }

}  // namespace

Vec3 Image::Sample(double x, double y) const {
  x = Clamp(x - 0.5, 0.0, width_ - 1.001);
  y = Clamp(y - 0.5, 0.0, height_ - 1.001);
  const int ix = static_cast<int>(x), iy = static_cast<int>(y);
  const int jx = std::min(ix + 1, width_ - 1), jy = std::min(iy + 1, height_ - 1);
  return Mix(Mix(At(ix, iy), At(jx, iy), x - ix), Mix(At(ix, jy), At(jx, jy), x - ix), y - iy);
}

Image Blurred(const Image& image, double radius) {
  // Three boxes of width w have the variance 3 (w^2 - 1) / 12.
  const int half =
      std::max(1, static_cast<int>(std::lround((std::sqrt(4 * radius * radius + 1) - 1) / 2)));
  Image work = image;
  for (int pass = 0; pass < 3; ++pass) work = BoxPass(BoxPass(work, half), half);
  return work;
}

Image Halved(const Image& image) {
  Image out(std::max(1, image.width() / 2), std::max(1, image.height() / 2));
  for (int y = 0; y < out.height(); ++y) {
    for (int x = 0; x < out.width(); ++x) {
      out.Set(x, y,
              (image.At(2 * x, 2 * y) + image.At(2 * x + 1, 2 * y) + image.At(2 * x, 2 * y + 1) +
               image.At(2 * x + 1, 2 * y + 1)) *
                  0.25);
    }
  }
  return out;
}

Image Resized(const Image& image, int width, int height) {
  Image out(width, height);
  const double sx = double(image.width()) / width, sy = double(image.height()) / height;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) out.Set(x, y, image.Sample((x + 0.5) * sx, (y + 0.5) * sy));
  }
  return out;
}

void AddGlow(Image& image, double threshold, double strength, double radius) {
  Image bright = Halved(Halved(image));
  for (int y = 0; y < bright.height(); ++y) {
    for (int x = 0; x < bright.width(); ++x) {
      const Vec3 c = bright.At(x, y);
      const double peak = std::max({c.x, c.y, c.z});
      const double keep = peak > threshold ? (peak - threshold) / peak : 0.0;
      bright.Set(x, y, c * std::min(keep, 40.0 / std::max(peak, 1.0)));
    }
  }
  Image glow(bright.width(), bright.height());
  double spread = radius / 4, share = 0.5;
  for (int ring = 0; ring < 3; ++ring, spread *= 3.2, share *= 0.6) {
    const Image soft = Blurred(bright, spread);
    for (int y = 0; y < glow.height(); ++y) {
      for (int x = 0; x < glow.width(); ++x) glow.Add(x, y, soft.At(x, y) * share);
    }
  }
  const double sx = double(glow.width()) / image.width(),
               sy = double(glow.height()) / image.height();
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      image.Add(x, y, glow.Sample((x + 0.5) * sx, (y + 0.5) * sy) * strength);
    }
  }
}

bool Develop(const Image& image, const Development& how) {
  std::printf("P6\n%d %d\n255\n", image.width(), image.height());
  std::vector<uint8_t> row(3ull * image.width());
  Random random(4711);
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      Vec3 c = image.At(x, y) * how.tint * (how.exposure * Vignette(x, y, image, how.vignette));
      c = how.filmic ? Filmic(c, how.contrast) : c;
      c = Saturated(c, how.saturation);
      // Grain of one value for all three channels, strongest in the shadows where bands would
      // show, and a share of its own for each channel: a proper dither.
      const double grain = how.grain * random.Gauss();
      const double dither = 0.7 / 255.0;
      row[3 * x] = ToByte(ToSrgb(c.x) + grain + dither * (random.Unit() - 0.5));
      row[3 * x + 1] = ToByte(ToSrgb(c.y) + grain + dither * (random.Unit() - 0.5));
      row[3 * x + 2] = ToByte(ToSrgb(c.z) + grain + dither * (random.Unit() - 0.5));
    }
    if (std::fwrite(row.data(), 1, row.size(), stdout) != row.size()) return false;
  }
  return std::fflush(stdout) == 0;
}

}  // namespace pictures
