// The resampler against the same filters computed in floating point, pixel by
// pixel, without any of its short cuts.

#include "imaging/resample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>

using imaging::Filter;
using imaging::Picture;
using imaging::Scaling;

namespace {

double Kernel(Filter filter, double x) {
  x = std::abs(x);
  if (filter == Filter::kTriangle) return x < 1 ? 1 - x : 0;
  if (x >= 3) return 0;
  if (x < 1e-12) return 1;
  const double angle = std::numbers::pi * x;
  return 3 * std::sin(angle) * std::sin(angle / 3) / (angle * angle);
}

// The weight of each source pixel in the target pixel `index`.
std::vector<double> Weights(Filter filter, int pictureSize, const Scaling& scaling, int index) {
  const double scale = static_cast<double>(scaling.sourceSize) / scaling.targetSize;
  const double centre = scaling.sourceStart + (index + 0.5) * scale;
  std::vector<double> weights(static_cast<std::size_t>(pictureSize));
  if (filter == Filter::kNearest) {
    weights[static_cast<std::size_t>(centre)] = 1;
    return weights;
  }
  double sum = 0;
  for (int i = 0; i < pictureSize; ++i) {
    weights[static_cast<std::size_t>(i)] =
        Kernel(filter, (i + 0.5 - centre) / std::max(1.0, scale));
    sum += weights[static_cast<std::size_t>(i)];
  }
  for (double& weight : weights) weight /= sum;
  return weights;
}

using Plane = std::vector<std::vector<double>>;  // rows

// One channel of the target.
Plane Reference(const Picture& source, int channel, Filter filter, const Scaling& across,
                const Scaling& down) {
  Plane narrow(static_cast<std::size_t>(source.height()));
  for (int x = 0; x < across.count; ++x) {
    const std::vector<double> weights = Weights(filter, source.width(), across, across.first + x);
    for (int y = 0; y < source.height(); ++y) {
      double sum = 0;
      for (int i = 0; i < source.width(); ++i)
        sum += weights[static_cast<std::size_t>(i)] * source.row(y)[i * 4 + channel];
      narrow[static_cast<std::size_t>(y)].push_back(sum);
    }
  }
  Plane target;
  for (int y = 0; y < down.count; ++y) {
    const std::vector<double> weights = Weights(filter, source.height(), down, down.first + y);
    std::vector<double> row(static_cast<std::size_t>(across.count));
    for (std::size_t i = 0; i < narrow.size(); ++i)
      for (std::size_t x = 0; x < row.size(); ++x) row[x] += weights[i] * narrow[i][x];
    target.push_back(row);
  }
  return target;
}

template <class Colour>  // colour(x, y, channel)
Picture Make(int width, int height, Colour colour) {
  Picture picture;
  EXPECT_TRUE(picture.Create(width, height));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int channel = 0; channel < 4; ++channel)
        picture.row(y)[x * 4 + channel] =
            static_cast<std::uint8_t>(channel == 3 ? 255 : colour(x, y, channel));
  return picture;
}

Picture Noise(int width, int height) {
  std::mt19937 random(5);
  return Make(width, height, [&](int, int, int) { return random() % 256; });
}

Picture Photograph(int width, int height) {
  return Make(width, height, [&](int x, int y, int channel) {
    const double wave = std::sin(x * 0.13 + channel) * std::cos(y * 0.09) * 100;
    const bool disc = (x - width / 2) * (x - width / 2) + (y - height / 2) * (y - height / 2) <
                      width * height / 12;
    return std::clamp(128 + wave + (disc ? 40 : 0) + (x * 7 + y * 13) % 5, 0.0, 255.0);
  });
}

struct Error {
  double largest = 0;
  double mean = 0;
};

Error Compare(const Picture& target, const Picture& source, Filter filter, const Scaling& across,
              const Scaling& down) {
  Error error;
  for (int channel = 0; channel < 3; ++channel) {
    const Plane wanted = Reference(source, channel, filter, across, down);
    for (int y = 0; y < target.height(); ++y)
      for (int x = 0; x < target.width(); ++x) {
        const double exact = std::clamp(
            wanted[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)], 0.0, 255.0);
        const double off = std::abs(target.row(y)[x * 4 + channel] - exact);
        error.largest = std::max(error.largest, off);
        error.mean += off / (3.0 * target.width() * target.height());
      }
  }
  return error;
}

// Rounding to a whole number costs up to 0.5, and 0.25 in the mean of many
// pixels. The weights' 14 bits may add a little.
void ExpectAccurate(const Error& error, const Picture& target, const char* what) {
  EXPECT_LT(error.largest, 0.75) << what;
  const bool many = target.width() * target.height() >= 1000;
  EXPECT_LT(many ? error.mean : 0, 0.27) << what;
}

Scaling Whole(int source, int target) { return {0, source, target, 0, target}; }

struct Sizes {
  int width, height, new_width, new_height;
};

constexpr Sizes kSizes[] = {
    {60, 40, 56, 36}, {60, 40, 19, 9},   {60, 40, 61, 41}, {31, 17, 100, 90},
    {100, 90, 7, 5},  {64, 64, 128, 32}, {33, 65, 32, 64}, {200, 3, 3, 200},
    {1, 1, 5, 5},     {2, 2, 9, 9},      {5, 5, 1, 1},     {1, 50, 20, 20},
    {50, 1, 20, 20},  {300, 200, 2, 2},  {3, 3, 3, 7},     {7, 7, 3, 7}};

void ExpectResizeIsAccurate(const Picture& source, const Sizes& sizes, Filter filter,
                            const char* what) {
  Picture target;
  ASSERT_TRUE(Resize(source, sizes.new_width, sizes.new_height, filter, target));
  ASSERT_EQ(target.width(), sizes.new_width);
  ASSERT_EQ(target.height(), sizes.new_height);
  ExpectAccurate(Compare(target, source, filter, Whole(sizes.width, sizes.new_width),
                         Whole(sizes.height, sizes.new_height)),
                 target, what);
}

TEST(Resize, EqualsTheFilterInFloatingPoint) {
  for (const Sizes& sizes : kSizes)
    for (const Filter filter : {Filter::kNearest, Filter::kTriangle, Filter::kLanczos3}) {
      SCOPED_TRACE(testing::Message()
                   << sizes.width << "x" << sizes.height << " to " << sizes.new_width << "x"
                   << sizes.new_height << ", filter " << static_cast<int>(filter));
      ExpectResizeIsAccurate(Noise(sizes.width, sizes.height), sizes, filter, "noise");
      ExpectResizeIsAccurate(Photograph(sizes.width, sizes.height), sizes, filter, "photograph");
    }
}

bool IsFlat(const Picture& picture, int blue, int green, int red) {
  for (int i = 0; i < picture.width() * picture.height(); ++i) {
    const std::uint8_t* p = picture.bits() + i * 4;
    if (p[0] != blue || p[1] != green || p[2] != red || p[3] != 255) return false;
  }
  return true;
}

TEST(Resize, AFlatPictureStaysExactlyFlat) {
  for (const auto& [blue, green, red] : {std::array{0, 1, 2}, {255, 254, 253}, {127, 128, 200}}) {
    const int colour[] = {blue, green, red};
    const Picture source = Make(97, 61, [&](int, int, int channel) { return colour[channel]; });
    for (const Filter filter : {Filter::kNearest, Filter::kTriangle, Filter::kLanczos3})
      for (const auto& [width, height] :
           {std::pair{96, 60}, {98, 62}, {1, 1}, {10, 300}, {500, 7}, {97, 61}, {33, 33}}) {
        Picture target;
        ASSERT_TRUE(Resize(source, width, height, filter, target));
        EXPECT_TRUE(IsFlat(target, blue, green, red)) << width << "x" << height;
      }
  }
}

TEST(Resize, TheSameSizeGivesTheSamePixels) {
  const Picture source = Noise(37, 23);
  for (const Filter filter : {Filter::kNearest, Filter::kTriangle, Filter::kLanczos3}) {
    Picture target;
    ASSERT_TRUE(Resize(source, 37, 23, filter, target));
    EXPECT_TRUE(std::equal(source.bits(), source.bits() + 37 * 23 * 4, target.bits()));
  }
}

// Overshoot at an edge between black and white must not wrap around.
TEST(Resize, HardEdgesAreClamped) {
  const Picture source =
      Make(40, 40, [](int x, int y, int) { return (x < 20) != (y < 20) ? 255 : 0; });
  Picture target;
  ASSERT_TRUE(Resize(source, 160, 160, Filter::kLanczos3, target));
  ExpectAccurate(Compare(target, source, Filter::kLanczos3, Whole(40, 160), Whole(40, 160)), target,
                 "edges");
  EXPECT_EQ(target.row(2)[2 * 4], 0);
  EXPECT_EQ(target.row(2)[150 * 4], 255);
}

// A filter that isn't widened would skip most of the lines.
TEST(Resize, ShrinkingAveragesFineLines) {
  const Picture source = Make(256, 256, [](int x, int, int) { return x % 2 ? 255 : 0; });
  for (const Filter filter : {Filter::kTriangle, Filter::kLanczos3}) {
    Picture target;
    ASSERT_TRUE(Resize(source, 32, 32, filter, target));
    for (int x = 2; x < 30; ++x) EXPECT_NEAR(target.row(16)[x * 4], 127.5, 2) << x;
  }
}

TEST(Resize, AGradientStaysAGradient) {
  const Picture source = Make(256, 16, [](int x, int, int) { return x; });
  for (const Filter filter : {Filter::kTriangle, Filter::kLanczos3}) {
    Picture target;
    ASSERT_TRUE(Resize(source, 512, 16, filter, target));
    for (int x = 8; x < 504; ++x) EXPECT_NEAR(target.row(8)[x * 4], (x + 0.5) / 2 - 0.5, 1) << x;
  }
}

TEST(Resize, ExtremeProportions) {
  const Picture tall = Noise(1, 32767);
  Picture target;
  ASSERT_TRUE(Resize(tall, 1, 1, Filter::kLanczos3, target));
  EXPECT_NEAR(target.row(0)[0], 127.5, 3);  // the mean of the noise
  ASSERT_TRUE(Resize(Noise(1, 1), 32767, 3, Filter::kLanczos3, target));
  EXPECT_EQ(target.width(), 32767);
}

TEST(Resize, RefusesSizesThatAreNotAllowed) {
  const Picture source = Noise(2, 2);
  Picture target;
  for (const auto& [width, height] :
       {std::pair{0, 5}, {5, 0}, {-1, 5}, {32768, 1}, {1, 32768}, {20000, 20000}}) {
    EXPECT_FALSE(Resize(source, width, height, Filter::kLanczos3, target))
        << width << "x" << height;
    EXPECT_TRUE(target.empty());
  }
}

TEST(Resample, APartEqualsThatPartOfTheWhole) {
  const Picture source = Photograph(120, 80);
  for (const Filter filter : {Filter::kNearest, Filter::kTriangle, Filter::kLanczos3}) {
    Picture whole, part;
    ASSERT_TRUE(Resize(source, 48, 100, filter, whole));
    ASSERT_TRUE(Resample(source, {0, 120, 48, 13, 20}, {0, 80, 100, 31, 9}, filter, part));
    for (int y = 0; y < 9; ++y)
      EXPECT_TRUE(std::equal(part.row(y), part.row(y) + 20 * 4, whole.row(31 + y) + 13 * 4));
  }
}

TEST(Resample, NeighbouringIntervalsEqualTheWhole) {
  const Picture source = Photograph(120, 80);
  Picture whole, tile;
  ASSERT_TRUE(Resize(source, 60, 40, Filter::kTriangle, whole));
  for (int column = 0; column < 3; ++column) {
    ASSERT_TRUE(Resample(source, {40 * column, 40, 20, 0, 20}, {40, 40, 20, 0, 20},
                         Filter::kTriangle, tile));
    for (int y = 0; y < 20; ++y)
      EXPECT_TRUE(
          std::equal(tile.row(y), tile.row(y) + 20 * 4, whole.row(20 + y) + column * 20 * 4))
          << column;
  }
}

TEST(Resample, AnIntervalMayReachBeyondThePicture) {
  const Picture source = Noise(10, 10);
  const Scaling across{-10, 30, 60, 20, 20}, down{5, 1'000'000'000, 1'000'000'000, 0, 5};
  Picture target;
  ASSERT_TRUE(Resample(source, across, down, Filter::kLanczos3, target));
  ExpectAccurate(Compare(target, source, Filter::kLanczos3, across, down), target, "beyond");
}

TEST(CompositeOnBlack, ScalesColoursByTheOpacity) {
  std::uint8_t pixels[] = {200, 100, 1, 255, 200, 100, 1, 0, 200, 100, 255, 128, 1, 2, 3, 127};
  imaging::CompositeOnBlack(pixels, 4);
  const std::uint8_t expected[] = {200, 100, 1, 255, 0, 0, 0, 255, 100, 50, 128, 255, 0, 1, 1, 255};
  EXPECT_TRUE(std::ranges::equal(pixels, expected));
}

}  // namespace
