#include "Fixtures.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace fixtures {

namespace {

// Relative to where ctest runs the program.
std::string PathOf(const std::string& name) { return "imaging_fixtures/" + name; }

std::uint32_t U32At(const support::Bytes& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value |= static_cast<std::uint32_t>(bytes.at(offset + i)) << (8 * i);
  return value;
}

std::string NameOfFirst(const std::string& format) {
  if (format == "bmp") return "bmp-rle8.bmp";
  if (format == "jpeg") return "jpeg-420.jpg";
  if (format == "png") return "png-rgba-adam7.png";
  if (format == "gif") return "gif-animated.gif";
  if (format == "webp") return "webp-lossy-alpha.webp";
  return "tiff-raw.tif";
}

}  // namespace

bool IsFormatRead(const std::string& format) {
  return std::ranges::count(FormatsRead(), format) > 0;
}

std::vector<Fixture> AllFixtures() {
  std::ifstream manifest(PathOf("manifest.txt"));
  if (!manifest) throw std::runtime_error("imaging_fixtures/manifest.txt can't be opened");
  std::vector<Fixture> all;
  for (Fixture next; manifest >> next.name >> next.format >> next.tolerance;)
    if (IsFormatRead(next.format)) all.push_back(next);
  return all;
}

std::vector<Fixture> FixturesOf(const std::string& format) {
  std::vector<Fixture> chosen;
  for (const Fixture& fixture : AllFixtures())
    if (fixture.format == format) chosen.push_back(fixture);
  return chosen;
}

std::vector<Fixture> OneOfEachFormat() {
  std::vector<Fixture> chosen;
  for (const Fixture& fixture : AllFixtures())
    if (fixture.name == NameOfFirst(fixture.format)) chosen.push_back(fixture);
  return chosen;
}

support::Bytes FileOf(const std::string& name) { return support::ReadWholeFile(PathOf(name)); }

Decoded ExpectedPixelsOf(const std::string& name) {
  const support::Bytes bytes = FileOf(name + ".pixels");
  Decoded picture;
  picture.width = static_cast<int>(U32At(bytes, 0));
  picture.height = static_cast<int>(U32At(bytes, 4));
  if (bytes.size() != 8 + static_cast<std::size_t>(picture.width * picture.height) * 3)
    throw std::runtime_error("damaged " + name + ".pixels");
  for (std::size_t i = 8; i < bytes.size(); i += 3) {
    picture.bits.insert(picture.bits.end(), &bytes[i], &bytes[i] + 3);
    picture.bits.push_back(255);
  }
  return picture;
}

int CodecOf(const std::string& format) {
  const char* const formats[] = {"bmp", "jpeg", "png", "gif", "webp", "tiff"};
  for (int id = 0; id < 6; ++id)
    if (format == formats[id]) return id;
  throw std::invalid_argument(format);
}

testing::AssertionResult LooksLike(const Decoded& actual, const Decoded& expected, int tolerance) {
  if (actual.width != expected.width || actual.height != expected.height)
    return testing::AssertionFailure()
           << "size " << actual.width << "x" << actual.height << " instead of " << expected.width
           << "x" << expected.height;
  for (int y = 0; y < actual.height; ++y)
    for (int x = 0; x < actual.width; ++x)
      for (int channel = 0; channel < 4; ++channel) {
        const int is = actual.At(x, y, channel), wanted = expected.At(x, y, channel);
        if (std::abs(is - wanted) > (channel == 3 ? 0 : tolerance))
          return testing::AssertionFailure() << "pixel (" << x << ", " << y << ") channel "
                                             << channel << " is " << is << " instead of " << wanted;
      }
  return testing::AssertionSuccess();
}

}  // namespace fixtures
