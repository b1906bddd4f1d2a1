#pragma once
// The picture files that make_fixtures.py has made, and what they look like.

#include "support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace fixtures {

// Pixels from the top left, four bytes each: blue, green, red, 255.
struct Decoded {
  int codec = -1;  // as BTCodecId has it
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> bits;

  std::uint8_t At(int x, int y, int channel) const {
    return bits[static_cast<std::size_t>((y * width + x) * 4 + channel)];
  }
};

// Decodes a file by the code under test: the DLL, or the portable decoders in
// it, depending on the test program. Nothing for a file that is refused.
std::optional<Decoded> Decode(const support::Bytes& file);

// The formats that the code under test reads: "bmp", "jpeg", ...
std::vector<std::string> FormatsRead();
bool IsFormatRead(const std::string& format);

struct Fixture {
  std::string name;
  std::string format;  // "bmp", "jpeg", ...
  int tolerance = 0;   // of one channel
};

// Those of the formats that are read.
std::vector<Fixture> AllFixtures();
std::vector<Fixture> FixturesOf(const std::string& format);
// One file of each format that is read, of some size and complexity.
std::vector<Fixture> OneOfEachFormat();
support::Bytes FileOf(const std::string& name);
Decoded ExpectedPixelsOf(const std::string& name);

int CodecOf(const std::string& format);

// Equal sizes, and no channel off by more than `tolerance`; the fourth byte is
// 255 everywhere.
testing::AssertionResult LooksLike(const Decoded& actual, const Decoded& expected, int tolerance);

}  // namespace fixtures
