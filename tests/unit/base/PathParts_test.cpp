#include "base/PathParts.h"

#include <gtest/gtest.h>

namespace {

struct PathCase {
  std::string_view path, folder, baseName, extension;
};

constexpr PathCase kCases[] = {
    {"C:\\Music\\Song.mp3", "C:\\Music\\", "Song", ".mp3"},
    {"Song.mp3", "", "Song", ".mp3"},
    {"C:\\Music.old\\Song", "C:\\Music.old\\", "Song", ""},
    {"C:\\Music\\", "C:\\Music\\", "", ""},
    {"a.b.c", "", "a.b", ".c"},
    {"C:\\x\\.hidden", "C:\\x\\", "", ".hidden"},
    {"ends.", "", "ends", "."},
    {"C:Song.mp3", "C:", "Song", ".mp3"},
    {"C:", "C:", "", ""},
    {"x\\y/Song.mp3", "x\\y/", "Song", ".mp3"},
    {"x/y\\Song.mp3", "x/y\\", "Song", ".mp3"},
    {"/:x", "/:", "x", ""},
    {"\\\\server\\share\\a.wma", "\\\\server\\share\\", "a", ".wma"},
    {"http://host/1:2.mp3", "http://host/", "1:2", ".mp3"},
    {"", "", "", ""},
};

TEST(PathParts, AreTheRunTimes) {
  for (const PathCase& c : kCases) {
    EXPECT_EQ(FolderOf(c.path), c.folder) << c.path;
    EXPECT_EQ(BaseNameOf(c.path), c.baseName) << c.path;
    EXPECT_EQ(ExtensionOf(c.path), c.extension) << c.path;
  }
}

TEST(PathParts, ArePiecesThatMakeUpThePath) {
  for (const PathCase& c : kCases) {
    EXPECT_EQ(FolderOf(c.path).data(), c.path.data());
    EXPECT_EQ(FileNameOf(c.path).data(), c.path.data() + c.folder.size()) << c.path;
    EXPECT_EQ(ExtensionOf(c.path).data() + c.extension.size(), c.path.data() + c.path.size());
  }
}

TEST(PathParts, ADriveIsAColonInTheSecondPlace) {
  EXPECT_TRUE(HasDrive("C:"));
  EXPECT_FALSE(HasDrive("C"));
  EXPECT_FALSE(HasDrive(":x"));
  EXPECT_FALSE(HasDrive("http:"));
}

}  // namespace
