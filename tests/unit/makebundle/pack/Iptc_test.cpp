#include "makebundle/pack/Iptc.h"

#include <gtest/gtest.h>

namespace {

std::string DataSet(char record, char number, const std::string& text) {
  return std::string("\x1C") + record + number + static_cast<char>(text.size() >> 8) +
         static_cast<char>(text.size() & 0xFF) + text;
}

std::string Resource(char low, const std::string& name, const std::string& data) {
  std::string head = std::string("8BIM\x04") + low + static_cast<char>(name.size()) + name;
  if (head.size() % 2) head += '\0';
  head += std::string(2, '\0') + static_cast<char>(data.size() >> 8) +
          static_cast<char>(data.size() & 0xFF);
  return head + data + std::string(data.size() % 2, '\0');
}

std::string Caption(const std::string& iptc) { return ReadIptcCaption(AsBytes(iptc)); }

TEST(Iptc, CaptionIsFoundAmongOtherDataSets) {
  EXPECT_EQ(Caption(DataSet(1, 90, "\x1B%G") + DataSet(2, 5, "Title") +
                    DataSet(2, 120, "The caption") + DataSet(2, 25, "Key")),
            "The caption");
}

TEST(Iptc, NumberOfAnotherRecordIsNoCaption) {
  EXPECT_EQ(Caption(DataSet(3, 120, "Not this")), "");
}

TEST(Iptc, ExtendedLengthIsUnderstood) {
  EXPECT_EQ(Caption(std::string("\x1C\x02\x78\x80\x04\0\0\0\x05Hello", 14)), "Hello");
}

TEST(Iptc, AbsurdExtendedLengthEndsTheReading) {
  EXPECT_EQ(Caption(std::string("\x1C\x02\x78\xFF\xFF") + std::string(300, 'x')), "");
  EXPECT_EQ(Caption(std::string("\x1C\x02\x78\x80\x04\xFF\xFF\xFF\xFFHello")), "");
}

TEST(Iptc, CutCaptionIsNone) {
  const std::string iptc = DataSet(2, 120, "The caption");
  for (std::size_t size = 0; size < iptc.size(); ++size)
    EXPECT_EQ(Caption(iptc.substr(0, size)), "");
}

TEST(Iptc, ForeignBytesAreNone) { EXPECT_EQ(Caption("no IPTC"), ""); }

TEST(Photoshop, IptcResourceIsFoundBehindOthers) {
  const std::string iptc = DataSet(2, 120, "Found");
  const std::string block =
      Resource('\x0A', "", "abc") + Resource('\x0B', "named", "x") + Resource('\x04', "", iptc);
  EXPECT_EQ(ReadIptcCaption(FindIptcInPhotoshop(AsBytes(block))), "Found");
}

TEST(Photoshop, EveryCutIsTakenWithoutHarm) {
  const std::string block =
      Resource('\x0B', "name", "odd") + Resource('\x04', "", DataSet(2, 120, "Found"));
  for (std::size_t size = 0; size + 1 < block.size(); ++size)
    EXPECT_TRUE(FindIptcInPhotoshop(AsBytes(block.substr(0, size))).empty());
}

TEST(Photoshop, HugeSizeEndsTheReading) {
  const std::string block = std::string("8BIM\x04\x0A\0\0\xFF\xFF\xFF\xFF", 12) + "data";
  EXPECT_TRUE(FindIptcInPhotoshop(AsBytes(block)).empty());
}

}  // namespace
