#include "makebundle/pack/Exif.h"

#include "pack/TiffBuilder.h"

#include <gtest/gtest.h>

// How a failing case, and the list of cases, name the order.
void PrintTo(ByteOrder order, std::ostream* to) {
  *to << (order == ByteOrder::kLittleEndian ? "II" : "MM");
}

namespace {

constexpr std::uint16_t kDescription = 0x010E, kOrientation = 0x0112, kUserComment = 0x9286,
                        kDate = 0x9003;

ExifTags Read(const std::string& tiff) { return ReadExif(AsBytes(tiff)); }

class ExifInBothByteOrders : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(Exif, ExifInBothByteOrders,
                         testing::Values(ByteOrder::kLittleEndian, ByteOrder::kBigEndian),
                         [](const auto& order) {
                           return order.param == ByteOrder::kLittleEndian ? "LittleEndian"
                                                                          : "BigEndian";
                         });

TEST_P(ExifInBothByteOrders, OrientationIsRead) {
  for (std::uint16_t orientation = 1; orientation <= 8; ++orientation)
    EXPECT_EQ(Read(TiffBuilder(GetParam()).Short(kOrientation, orientation).Build()).orientation,
              orientation);
}

TEST_P(ExifInBothByteOrders, OrientationMayBeALongNumber) {
  EXPECT_EQ(Read(TiffBuilder(GetParam()).Long(kOrientation, 6).Build()).orientation, 6);
}

TEST_P(ExifInBothByteOrders, DescriptionAndDateAreRead) {
  const ExifTags tags = Read(TiffBuilder(GetParam())
                                 .Text(kDescription, "A mill by the river")
                                 .InExifDirectory()
                                 .Text(kDate, "2004:05:06 07:08:09")
                                 .Build());
  EXPECT_EQ(tags.description, "A mill by the river");
  EXPECT_EQ(tags.dateTaken, "2004:05:06 07:08:09");
}

TEST_P(ExifInBothByteOrders, DescriptionOfUpToThreeLettersStandsInItsEntry) {
  EXPECT_EQ(Read(TiffBuilder(GetParam()).Text(kDescription, "Fog").Build()).description, "Fog");
}

TEST_P(ExifInBothByteOrders, UnicodeCommentIsInTheBlocksByteOrder) {
  const std::string text = GetParam() == ByteOrder::kBigEndian ? std::string("\x20\xAC\0!", 4)
                                                               : std::string("\xAC\x20!\0", 4);
  const std::string value = std::string("UNICODE\0", 8) + text;
  EXPECT_EQ(Read(TiffBuilder(GetParam())
                     .InExifDirectory()
                     .Raw(kUserComment, 7, static_cast<std::uint32_t>(value.size()), value)
                     .Build())
                .userComment,
            "\xE2\x82\xAC!");
}

TEST(Exif, AsciiCommentIsRead) {
  const std::string value = std::string("ASCII\0\0\0", 8) + "Hello";
  EXPECT_EQ(Read(TiffBuilder(ByteOrder::kLittleEndian)
                     .InExifDirectory()
                     .Raw(kUserComment, 7, 13, value)
                     .Build())
                .userComment,
            "Hello");
}

TEST(Exif, CommentOfUnknownCodingIsNone) {
  const std::string value = std::string("JIS\0\0\0\0\0", 8) + "Hello";
  EXPECT_EQ(Read(TiffBuilder(ByteOrder::kLittleEndian)
                     .InExifDirectory()
                     .Raw(kUserComment, 7, 13, value)
                     .Build())
                .userComment,
            "");
}

TEST(Exif, OrientationOutOfRangeIsUpright) {
  for (const std::uint16_t orientation : {0, 9, 65535})
    EXPECT_EQ(Read(TiffBuilder(ByteOrder::kLittleEndian).Short(kOrientation, orientation).Build())
                  .orientation,
              1);
}

TEST(Exif, OrientationOfAnotherTypeIsUpright) {
  EXPECT_EQ(Read(TiffBuilder(ByteOrder::kLittleEndian)
                     .Raw(kOrientation, 2, 2, std::string("6\0", 2))
                     .Build())
                .orientation,
            1);
}

TEST(Exif, OrientationWithoutAnElementIsUpright) {
  EXPECT_EQ(Read(TiffBuilder(ByteOrder::kLittleEndian)
                     .Raw(kOrientation, 3, 0, std::string("\6\0", 2))
                     .Build())
                .orientation,
            1);
}

TEST(Exif, EmptyAndForeignBytesGiveDefaults) {
  for (const std::string& text :
       {std::string(), std::string("II"), std::string("no EXIF at all"), std::string(64, '\xFF')}) {
    const ExifTags tags = Read(text);
    EXPECT_EQ(tags.orientation, 1);
    EXPECT_EQ(tags.description, "");
  }
}

TEST(Exif, ValueOutsideTheBlockIsNone) {
  std::string tiff =
      TiffBuilder(ByteOrder::kLittleEndian).Text(kDescription, "A mill by the river").Build();
  tiff.resize(tiff.size() - 1);
  EXPECT_EQ(Read(tiff).description, "");
}

TEST(Exif, HugeCountIsNone) {
  EXPECT_EQ(Read(TiffBuilder(ByteOrder::kLittleEndian)
                     .Raw(kDescription, 12, 0xFFFFFFFF, "long enough")
                     .Build())
                .description,
            "");
}

TEST(Exif, DirectoryThatPointsToItselfEnds) {
  const std::string tiff =
      TiffBuilder(ByteOrder::kLittleEndian).Long(0x8769, 8).Text(kDescription, "Here").Build();
  EXPECT_EQ(Read(tiff).description, "Here");
}

TEST(Exif, EveryCutIsTakenWithoutHarm) {
  const std::string tiff = TiffBuilder(ByteOrder::kBigEndian)
                               .Short(kOrientation, 6)
                               .Text(kDescription, "A mill by the river")
                               .InExifDirectory()
                               .Text(kDate, "2004:05:06 07:08:09")
                               .Build();
  for (std::size_t size = 0; size < tiff.size(); ++size) {
    const ExifTags tags = Read(tiff.substr(0, size));
    EXPECT_TRUE(tags.orientation == 1 || tags.orientation == 6);
    EXPECT_TRUE(tags.dateTaken.empty());
  }
}

}  // namespace
