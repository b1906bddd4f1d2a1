#include "makebundle/pack/PictureMetadata.h"

#include "pack/TiffBuilder.h"

#include <gtest/gtest.h>

namespace {

std::string BigEndian(std::size_t value, int bytes) {
  std::string text;
  for (int n = bytes; n-- > 0;) text += static_cast<char>(value >> 8 * n & 0xFF);
  return text;
}

std::string LittleEndian32(std::size_t value) {
  std::string text = BigEndian(value, 4);
  return {text.rbegin(), text.rend()};
}

std::string Segment(char marker, const std::string& content) {
  return std::string("\xFF") + marker + BigEndian(content.size() + 2, 2) + content;
}
std::string ExifSegment(const std::string& tiff) {
  return Segment('\xE1', std::string("Exif\0\0", 6) + tiff);
}
std::string Jpeg(const std::string& segments) {
  return "\xFF\xD8" + segments + Segment('\xDA', "scan") + std::string("\xFF\xD9", 2);
}

std::string PhotoshopBlock(const std::string& caption) {
  const std::string iptc = std::string("\x1C\x02\x78") + BigEndian(caption.size(), 2) + caption;
  return std::string("8BIM\x04\x04\0\0", 8) + BigEndian(iptc.size(), 4) + iptc;
}
std::string PhotoshopSegment(const std::string& part) {
  return Segment('\xED', std::string("Photoshop 3.0\0", 14) + part);
}

std::string PngChunk(const std::string& name, const std::string& data) {
  return BigEndian(data.size(), 4) + name + data + "CRC.";
}
std::string Png(const std::string& chunks) {
  return "\x89PNG\r\n\x1A\n" + PngChunk("IHDR", std::string(13, 'h')) + chunks;
}

std::string RiffChunk(const std::string& name, const std::string& data) {
  return name + LittleEndian32(data.size()) + data + std::string(data.size() % 2, '\0');
}
std::string Webp(const std::string& chunks) {
  return "RIFF" + LittleEndian32(chunks.size() + 4) + "WEBP" + chunks;
}

std::string Tiff(std::uint16_t orientation, const std::string& description) {
  return TiffBuilder(ByteOrder::kLittleEndian)
      .Short(0x0112, orientation)
      .Text(0x010E, description)
      .Build();
}

PictureMetadata Read(const std::string& file) { return ReadPictureMetadata(AsBytes(file)); }

TEST(PictureMetadata, JpegIsReadBehindOtherSegments) {
  const PictureMetadata metadata =
      Read(Jpeg(Segment('\xE0', "JFIF") + ExifSegment(Tiff(6, "Mill"))));
  EXPECT_EQ(metadata.orientation, 6);
  EXPECT_EQ(metadata.description, "Mill");
}

TEST(PictureMetadata, FillBytesAndMarkersWithoutLengthArePassedOver) {
  EXPECT_EQ(Read(Jpeg(std::string("\xFF\xFF\xFF\x01", 4) + ExifSegment(Tiff(8, "x")))).orientation,
            8);
}

TEST(PictureMetadata, FirstExifSegmentCounts) {
  EXPECT_EQ(Read(Jpeg(ExifSegment(Tiff(3, "x")) + ExifSegment(Tiff(6, "y")))).orientation, 3);
}

TEST(PictureMetadata, SegmentsBehindTheScanAreNotRead) {
  EXPECT_EQ(Read("\xFF\xD8" + Segment('\xDA', "scan") + ExifSegment(Tiff(6, "x"))).orientation, 1);
}

TEST(PictureMetadata, PngWebpAndTiffAreRead) {
  const std::string tiff = Tiff(5, "Tower");
  for (const std::string& file :
       {Png(PngChunk("eXIf", tiff)), Webp(RiffChunk("VP8 ", "odd") + RiffChunk("EXIF", tiff)),
        Webp(RiffChunk("EXIF", std::string("Exif\0\0", 6) + tiff)), tiff}) {
    EXPECT_EQ(Read(file).orientation, 5);
    EXPECT_EQ(Read(file).description, "Tower");
  }
}

TEST(PictureMetadata, IptcCaptionGoesBeforeExif) {
  EXPECT_EQ(Read(Jpeg(ExifSegment(Tiff(1, "DIGITAL CAMERA")) +
                      PhotoshopSegment(PhotoshopBlock("Our holiday"))))
                .description,
            "Our holiday");
}

TEST(PictureMetadata, IptcMayBeSpreadOverSegments) {
  const std::string block = PhotoshopBlock("Our holiday");
  EXPECT_EQ(Read(Jpeg(PhotoshopSegment(block.substr(0, 9)) + PhotoshopSegment(block.substr(9))))
                .description,
            "Our holiday");
}

TEST(PictureMetadata, BlankTextsGiveWayToTheNext) {
  const std::string comment = std::string("ASCII\0\0\0", 8) + "From the comment";
  const std::string tiff = TiffBuilder(ByteOrder::kLittleEndian)
                               .Text(0x010E, "   ")
                               .InExifDirectory()
                               .Raw(0x9286, 7, static_cast<std::uint32_t>(comment.size()), comment)
                               .Build();
  EXPECT_EQ(Read(Jpeg(ExifSegment(tiff) + PhotoshopSegment(PhotoshopBlock(" \r\n")))).description,
            "From the comment");
}

TEST(PictureMetadata, OtherKindsOfFileHaveNone) {
  for (const std::string file : {"", "GIF89a", "BM", "plain text"}) {
    EXPECT_EQ(Read(file).orientation, 1);
    EXPECT_EQ(Read(file).description, "");
  }
}

TEST(PictureMetadata, EveryCutIsTakenWithoutHarm) {
  const std::string tiff = Tiff(6, "Mill");
  for (const std::string& whole : {Jpeg(ExifSegment(tiff) + PhotoshopSegment(PhotoshopBlock("x"))),
                                   Png(PngChunk("eXIf", tiff)), Webp(RiffChunk("EXIF", tiff))}) {
    ASSERT_EQ(Read(whole).orientation, 6);
    for (std::size_t size = 0; size < whole.size(); ++size) {
      const int orientation = Read(whole.substr(0, size)).orientation;
      EXPECT_TRUE(orientation == 1 || orientation == 6);
    }
  }
}

TEST(PictureMetadata, HugeLengthsEndTheReading) {
  EXPECT_EQ(Read(Png(std::string("\xFF\xFF\xFF\xFF", 4) + "eXIf" + Tiff(6, "x"))).orientation, 1);
  EXPECT_EQ(Read(Webp("EXIF\xFF\xFF\xFF\xFF" + Tiff(6, "x"))).orientation, 1);
  EXPECT_EQ(Read(std::string("\xFF\xD8\xFF\xE1\0\0", 6) + Tiff(6, "x")).orientation, 1);
}

}  // namespace
