#include "makebundle/pack/SlideRecordWriter.h"

#include <gtest/gtest.h>

namespace {

std::vector<unsigned char> BytesFrom(std::string_view text) { return {text.begin(), text.end()}; }

TEST(DimsRecord, LayoutIsAsDocumented) {
  EXPECT_EQ(EncodeSlideDims({0x0102, 0x030405, "a.jpg", true, false}),
            BytesFrom({"\x02\x01\0\0\x05\x04\x03\0a.jpg\0\x01\0", 16}));
}

TEST(DimsRecord, ReadsBack) {
  const std::vector<unsigned char> record = EncodeSlideDims({1920, 1080, "a.jpg", false, true});
  const SlideDims dims = DecodeSlideDims(record.data(), record.size());
  EXPECT_EQ(dims.width, 1920u);
  EXPECT_EQ(dims.height, 1080u);
  EXPECT_EQ(dims.name, "a.jpg");
  EXPECT_FALSE(dims.focusXOnly);
  EXPECT_TRUE(dims.focusYOnly);
}

TEST(DimsRecord, WholeRecordsAreGood) {
  EXPECT_EQ(FaultOfDimsRecord(EncodeSlideDims({1, 2, "a", true, true})), "");
  EXPECT_EQ(FaultOfDimsRecord(AsBytes({"\1\0\0\0\2\0\0\0a", 10})), "")
      << "the flags may be missing together";
}

TEST(DimsRecord, CutAndOverlongRecordsAreTold) {
  const std::vector<unsigned char> record = EncodeSlideDims({1, 2, "a", true, true});
  for (const std::size_t size : {0u, 7u, 8u, 9u, 11u})
    EXPECT_NE(FaultOfDimsRecord(Bytes(record).first(size)), "") << size;
  std::vector<unsigned char> longer = record;
  longer.push_back(0);
  EXPECT_NE(FaultOfDimsRecord(longer), "");
}

TEST(CaptionRecord, LayoutIsAsDocumented) {
  EXPECT_EQ(EncodeSlideCaption({1, 2, 0x0304, "a.jpg", "Text"}),
            BytesFrom({"\1\0\2\0\4\3a.jpg\0Text\0", 17}));
}

TEST(CaptionRecord, ReadsBack) {
  const std::vector<unsigned char> record = EncodeSlideCaption({0, 0, 0, "a.jpg", "Two\r\nlines"});
  const SlideCaption caption = DecodeSlideCaption(record.data(), record.size());
  EXPECT_EQ(caption.name, "a.jpg");
  EXPECT_EQ(caption.text, "Two\r\nlines");
}

TEST(CaptionRecord, CutAndOverlongRecordsAreTold) {
  const std::vector<unsigned char> record = EncodeSlideCaption({0, 0, 0, "a", ""});
  EXPECT_EQ(FaultOfCaptionRecord(record), "");
  for (std::size_t size = 0; size < record.size(); ++size)
    EXPECT_NE(FaultOfCaptionRecord(Bytes(record).first(size)), "") << size;
  std::vector<unsigned char> longer = record;
  longer.push_back(0);
  EXPECT_NE(FaultOfCaptionRecord(longer), "");
}

}  // namespace
