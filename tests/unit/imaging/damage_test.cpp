// Files that are cut short, changed at random, or claim too much.

#include "Fixtures.h"
#include "HugeFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using fixtures::Fixture;
using support::Bytes;

namespace {

class DamagedPicture : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, DamagedPicture, testing::ValuesIn(fixtures::FormatsRead()),
                         [](const testing::TestParamInfo<std::string>& format) {
                           return format.param;
                         });

Bytes CutTo(const Bytes& file, std::size_t size) {
  return Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
}

// Sizes to cut a file to: each of the last few bytes, and many places before.
std::vector<std::size_t> CutSizes(std::size_t whole) {
  std::vector<std::size_t> sizes;
  for (std::size_t size = 0; size < whole; size += size + 24 < whole ? 1 + whole / 50 : 1)
    sizes.push_back(size);
  return sizes;
}

TEST_P(DamagedPicture, CutShortIsRefused) {
  for (const Fixture& fixture : fixtures::FixturesOf(GetParam())) {
    if (fixture.name == "tiff-pages.tif") continue;  // has a test of its own
    Bytes file = fixtures::FileOf(fixture.name);
    if (fixture.name == "jpeg-trailing-zeros.jpg") file.resize(file.size() - 100);
    for (const std::size_t size : CutSizes(file.size()))
      EXPECT_FALSE(fixtures::Decode(CutTo(file, size)))
          << fixture.name << ", " << size << " of " << file.size() << " bytes";
  }
}

// A picture that comes out of a damaged file is as large as it says.
void DecodeDamaged(const Bytes& file) {
  const auto picture = fixtures::Decode(file);
  if (!picture) return;
  EXPECT_GT(picture->width, 0);
  EXPECT_GT(picture->height, 0);
  EXPECT_EQ(picture->bits.size(), static_cast<std::size_t>(picture->width) *
                                      static_cast<std::size_t>(picture->height) * 4);
}

// The same files on every run, but for --gtest_shuffle, which brings others on
// every one of --gtest_repeat.
std::mt19937 RandomNumbers() {
  return std::mt19937(42u + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
}

TEST_P(DamagedPicture, RandomChangesDoNoHarm) {
  std::mt19937 random = RandomNumbers();
  const std::vector<Fixture> files = fixtures::FixturesOf(GetParam());
  for (std::size_t turn = 0; turn < 2000; ++turn) {
    Bytes file = fixtures::FileOf(files[turn % files.size()].name);
    for (std::size_t changes = 1 + random() % 12; changes > 0; --changes)
      file[random() % file.size()] = static_cast<unsigned char>(random());
    if (turn % 5 == 0) file.resize(random() % file.size());
    DecodeDamaged(file);
  }
}

// Most of what a decoder decides on stands at the start of a file.
TEST_P(DamagedPicture, ChangedHeadersDoNoHarm) {
  const std::vector<Fixture> files = fixtures::FixturesOf(GetParam());
  for (std::size_t n = 0; n < files.size(); n += 1 + files.size() / 10) {
    const Bytes good = fixtures::FileOf(files[n].name);
    for (std::size_t place = 0; place < std::min<std::size_t>(good.size(), 64); ++place)
      for (const int value : {0, 1, 127, 128, 255}) {
        Bytes file = good;
        file[place] = static_cast<unsigned char>(value);
        DecodeDamaged(file);
      }
  }
}

TEST(DamagedJpeg, AMissingEndMarkIsNoticed) {
  for (const char* name : {"large.jpg", "large-progressive.jpg"}) {
    Bytes file = fixtures::FileOf(name);
    ASSERT_TRUE(fixtures::Decode(file));
    file.resize(file.size() - 2);
    EXPECT_FALSE(fixtures::Decode(file)) << name;
  }
}

TEST(DamagedJpeg, AProgressiveFileCutBetweenScansIsNoticed) {
  const Bytes file = fixtures::FileOf("large-progressive.jpg");
  const unsigned char scan[] = {0xff, 0xda};
  int cuts = 0;
  for (auto at = file.begin(); (at = std::search(at, file.end(), scan, scan + 2)) != file.end();
       ++at, ++cuts)
    EXPECT_FALSE(fixtures::Decode(Bytes(file.begin(), at)));
  EXPECT_GT(cuts, 5);
}

TEST(DamagedJpeg, DamagedCodesAreNoticed) {
  Bytes file = fixtures::FileOf("large.jpg");
  const std::size_t middle = file.size() / 2;
  std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(middle), 200,
              static_cast<unsigned char>(0));
  EXPECT_FALSE(fixtures::Decode(file));
}

// All ones is no code. There are enough of them to fill the part of the picture
// between two restart marks, and what is too much is skipped.
TEST(DamagedJpeg, CodesThatDoNotExistAreNoticed) {
  Bytes file = fixtures::FileOf("jpeg-restart.jpg");
  const unsigned char restart[] = {0xff, 0xd0};
  const auto at = std::search(file.begin(), file.end(), restart, restart + 2);
  ASSERT_NE(at, file.end());
  Bytes ones;
  for (int i = 0; i < 3000; ++i) ones.insert(ones.end(), {0xff, 0x00});
  file.insert(at + 2, ones.begin(), ones.end());
  EXPECT_FALSE(fixtures::Decode(file));
}

// The progressive picture with one scan, which may be repeated at will,
// `count` times more.
Bytes WithMoreScans(int count) {
  const Bytes file = fixtures::FileOf("large-progressive.jpg");
  const unsigned char refine_dc[] = {0x00, 0x00, 0x10}, mark[] = {0xff, 0xda}, end[] = {0xff, 0xd9};
  const auto parameters = std::search(file.begin(), file.end(), refine_dc, refine_dc + 3);
  const auto scan = std::find_end(file.begin(), parameters, mark, mark + 2);
  const auto end_mark = std::find_end(file.begin(), file.end(), end, end + 2);
  auto next = scan + 2;  // whatever mark comes behind the scan's codes
  while (!(next[0] == 0xff && next[1] != 0)) ++next;
  Bytes more(file.begin(), end_mark);
  for (int i = 0; i < count; ++i) more.insert(more.end(), scan, next);
  more.insert(more.end(), end_mark, file.end());
  return more;
}

// Thousands of scans would keep a decoder busy for hours.
TEST(DamagedJpeg, ScansWithoutEndAreRefused) {
  EXPECT_TRUE(fixtures::Decode(WithMoreScans(50)));
  EXPECT_FALSE(fixtures::Decode(WithMoreScans(100)));
  EXPECT_FALSE(fixtures::Decode(WithMoreScans(1000)));
}

TEST(DamagedPng, AWrongChecksumIsNoticed) {
  const Bytes good = fixtures::FileOf("png-rgb.png");
  Bytes bad = good;
  bad[bad.size() - 12 - 4] ^= 1;  // the last byte but those of the end chunk: part of the checksum
  EXPECT_FALSE(fixtures::Decode(bad));
}

TEST(HugePicture, EveryFormatIsRefused) {
  int number = 0;
  for (const Bytes& file : fixtures::FilesThatClaimTooMuch()) {
    EXPECT_FALSE(fixtures::Decode(file)) << "file number " << number;
    ++number;
  }
}

// The makers of huge files make good ones for other sizes; otherwise the test
// above would prove nothing.
TEST(HugePicture, TheSameFilesOfAllowedSizesAreGood) {
  int number = 0;
  for (const Bytes& file : fixtures::TheSameFilesOfAllowedSizes()) {
    EXPECT_TRUE(fixtures::Decode(file)) << "file number " << number;
    ++number;
  }
}

}  // namespace
