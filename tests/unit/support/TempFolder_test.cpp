#include "support/TempFolder.h"

#include "base/win.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace support;

namespace {

bool Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

TEST(TempFolder, IsFreshAndGoesWithAllItsContents) {
  std::string path;
  {
    const TempFolder folder;
    path = folder.Path();
    EXPECT_TRUE(Exists(path));
    folder.Write("a.bin", PatternBytes(10));
    folder.MakeFolder("deep");
    const std::string locked = folder.Write("deep\\locked.txt", BytesOf("x"));
    SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
  }
  EXPECT_FALSE(Exists(path));
}

TEST(TempFolder, TwoAtOnceDiffer) {
  const TempFolder first;
  const TempFolder second;
  EXPECT_NE(first.Path(), second.Path());
}

TEST(TempFolder, FilesReadBackByteForByte) {
  const TempFolder folder;
  const Bytes bytes = BytesOf(std::string_view("a\r\nb\n\0c\x1A", 8));
  EXPECT_EQ(ReadWholeFile(folder.Write("f", bytes)), bytes);
  EXPECT_THROW(ReadWholeFile(folder.File("none")), std::runtime_error);
  EXPECT_THROW(folder.Write("none\\f", bytes), std::runtime_error);
}

}  // namespace
