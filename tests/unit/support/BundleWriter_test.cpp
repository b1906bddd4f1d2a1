#include "support/BundleWriter.h"

#include <gtest/gtest.h>

using namespace support;

namespace {

TEST(BundleWriter, LaysMembersDirectoryAndTrailerOutInThatOrder) {
  const Bytes file =
      BundleWriter().Category("ab").Member("m", "xyz").Category("c").Build(BytesOf("front"));
  const Bytes expected = {'f', 'r', 'o', 'n', 't', 'x', 'y', 'z',    // front, member bytes
                          '?', 'a', 'b', 0,                          // category
                          'm', 0,   5,   0,   0,   0,   3, 0, 0, 0,  // member at 5, 3 bytes
                          '?', 'c', 0,                               // empty category
                          8,   0,   0,   0};                         // the directory stands at 8
  EXPECT_EQ(file, expected);
}

TEST(BundleWriter, WritesNumbersThatLie) {
  const Bytes file = BundleWriter().Category("c").MemberClaiming("m", 0x01020304, 0xFFFFFFFF)
                         .Trailer(0xA1B2C3D4).Build();
  const Bytes expected = {'?', 'c', 0,    'm',  0,    4,    3,    2,   1,
                          0xFF, 0xFF, 0xFF, 0xFF, 0xD4, 0xC3, 0xB2, 0xA1};
  EXPECT_EQ(file, expected);
}

TEST(BundleWriter, DimsRecordsHaveTheirFlagsOnlyOnRequest) {
  const Bytes bare = {0x20, 3, 0, 0, 0x58, 2, 0, 0, 'p', 0};
  EXPECT_EQ(DimsRecord(800, 600, "p"), bare);
  const Bytes flagged = {0x20, 3, 0, 0, 0x58, 2, 0, 0, 'p', 0, 0, 1};
  EXPECT_EQ(DimsRecord(800, 600, "p", FocusFlags{false, true}), flagged);
}

TEST(BundleWriter, CapsRecordsHoldThreeNumbersNameAndText) {
  const Bytes expected = {1, 0, 2, 0, 0, 3, 'p', 0, 't', '\n', 'u', 0};
  EXPECT_EQ(CapsRecord("p", "t\nu", 1, 2, 0x300), expected);
}

TEST(BundleWriter, PatternBytesDependOnTheSeedAlone) {
  EXPECT_EQ(PatternBytes(100, 3), PatternBytes(100, 3));
  EXPECT_NE(PatternBytes(100, 3), PatternBytes(100, 4));
}

}  // namespace
