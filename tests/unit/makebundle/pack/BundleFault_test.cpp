#include "makebundle/pack/BundleFault.h"

#include "makebundle/pack/Bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

std::string FaultOfFile(const std::string& file) {
  return FaultOfDirectory(file.size(), [&](std::uint64_t offset, std::uint64_t size) {
    const Bytes bytes = Piece(AsBytes(file), offset, size).value_or(Bytes{});
    return std::vector<unsigned char>(bytes.begin(), bytes.end());
  });
}

std::string WithTrailer(const std::string& front, std::uint32_t offset) {
  std::string file = front;
  for (int n = 0; n < 4; ++n) file += static_cast<char>(offset >> 8 * n & 0xFF);
  return file;
}

TEST(BundleFault, ShortFile) { EXPECT_THAT(FaultOfFile("abc"), HasSubstr("shorter")); }
TEST(BundleFault, TrailerThatPointsBehindItself) {
  EXPECT_THAT(FaultOfFile(WithTrailer("?c", 999)), HasSubstr("999"));
  EXPECT_THAT(FaultOfFile(WithTrailer("", 0)), HasSubstr("isn't before"));
}
TEST(BundleFault, DirectoryWithoutACategory) {
  EXPECT_THAT(FaultOfFile(WithTrailer("xc", 0)), HasSubstr("category"));
}
TEST(BundleFault, NameWithoutItsEnd) {
  EXPECT_THAT(FaultOfFile(WithTrailer("?c", 0)), HasSubstr("past the end"));
}
TEST(BundleFault, MemberWithoutItsNumbers) {
  EXPECT_THAT(FaultOfFile(WithTrailer({"?c\0m\0\1\0\0\0\1\0\0", 12}, 0)),
              HasSubstr("past the end"));
}
TEST(BundleFault, DirectoryThatEndsBehindAMembersName) {
  EXPECT_THAT(FaultOfFile(WithTrailer({"?c\0m\0", 5}, 0)), HasSubstr("past the end"));
}
TEST(BundleFault, FileBeyondFourGigabytes) {
  EXPECT_THAT(
      FaultOfDirectory(0x100000004, [](auto, auto) { return std::vector<unsigned char>(); }),
      HasSubstr("4 GiB"));
}
TEST(BundleFault, GoodDirectoryCanOnlyBeUnreadable) {
  EXPECT_EQ(FaultOfFile(WithTrailer({"?c\0m\0\0\0\0\0\0\0\0\0", 13}, 0)), "it can't be read");
}

}  // namespace
