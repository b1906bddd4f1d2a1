// Every kind of picture file gives the right pixels.

#include "Fixtures.h"

#include <gtest/gtest.h>

using fixtures::Decoded;
using fixtures::Fixture;
using support::Bytes;

namespace {

class PictureFiles : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Decode, PictureFiles, testing::ValuesIn(fixtures::FormatsRead()),
                         [](const testing::TestParamInfo<std::string>& format) {
                           return format.param;
                         });

TEST_P(PictureFiles, GiveTheRightPixels) {
  for (const Fixture& fixture : fixtures::FixturesOf(GetParam())) {
    const std::optional<Decoded> picture = fixtures::Decode(fixtures::FileOf(fixture.name));
    ASSERT_TRUE(picture) << fixture.name;
    EXPECT_EQ(picture->codec, fixtures::CodecOf(GetParam())) << fixture.name;
    EXPECT_TRUE(LooksLike(*picture, fixtures::ExpectedPixelsOf(fixture.name), fixture.tolerance))
        << fixture.name;
  }
}

TEST(DecodePicture, EveryFormatHasFixtures) {
  for (const std::string& format : fixtures::FormatsRead())
    EXPECT_GE(fixtures::FixturesOf(format).size(), 5u) << format;
}

TEST(DecodePicture, BytesBehindTheFileDoNoHarm) {
  for (const Fixture& fixture : fixtures::OneOfEachFormat()) {
    Bytes file = fixtures::FileOf(fixture.name);
    support::Append(file, support::PatternBytes(1000));
    const std::optional<Decoded> picture = fixtures::Decode(file);
    ASSERT_TRUE(picture) << fixture.name;
    EXPECT_TRUE(LooksLike(*picture, fixtures::ExpectedPixelsOf(fixture.name), fixture.tolerance))
        << fixture.name;
  }
}

TEST(DecodePicture, AnEmptyFileIsRefused) { EXPECT_FALSE(fixtures::Decode({})); }

TEST(DecodePicture, TextIsRefused) {
  EXPECT_FALSE(fixtures::Decode(support::BytesOf("This is no picture.")));
}

TEST(DecodePicture, OtherKindsOfPicturesAreRefused) {
  EXPECT_FALSE(fixtures::Decode(fixtures::FileOf("refused/animated.webp")));
  EXPECT_FALSE(fixtures::Decode(fixtures::FileOf("refused/picture.pcx")));
  EXPECT_FALSE(fixtures::Decode(fixtures::FileOf("refused/picture.ppm")));
}

TEST(DecodePicture, AMarkAloneIsRefused) {
  using namespace std::string_view_literals;
  for (const std::string_view mark : {"BM"sv, "\xff\xd8\xff"sv, "\x89PNG\r\n\x1a\n"sv, "GIF87a"sv,
                                      "GIF89a"sv, "RIFF\0\0\0\0WEBP"sv, "II*\0"sv, "MM\0*"sv})
    EXPECT_FALSE(fixtures::Decode(support::BytesOf(mark))) << mark;
}

}  // namespace
