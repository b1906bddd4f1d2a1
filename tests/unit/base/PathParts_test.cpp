#include "base/PathParts.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include "support/DoubleByteCodePage.h"
#endif

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

TEST(PathParts, AFolderIsWhatStandsBehindTheDrive) {
  EXPECT_TRUE(HasFolder("C:\\a.mp3"));
  EXPECT_TRUE(HasFolder("C:x/a.mp3"));
  EXPECT_TRUE(HasFolder("/a.mp3"));
  EXPECT_FALSE(HasFolder("C:a.mp3"));
  EXPECT_FALSE(HasFolder("C:"));
  EXPECT_FALSE(HasFolder("a.mp3"));
  EXPECT_FALSE(HasFolder(""));
}

#ifdef _WIN32
// That of a slash is never a second byte.
TEST(PathParts, ASecondByteIsNoBackslash) {
  const support::DoubleByteCodePage codePage;
  constexpr PathCase cases[] = {
      {"C:\\x\\\xB3\\.M3U", "C:\\x\\", "\xB3\\", ".M3U"},
      {"C:\\\xB3\\\\a.mp3", "C:\\\xB3\\\\", "a", ".mp3"},
      {"C:\\\xB3\\/\xB3\\\xB3\\", "C:\\\xB3\\/", "\xB3\\\xB3\\", ""},
      {"\xB3\xB3\\a.mp3", "\xB3\xB3\\", "a", ".mp3"},
      {"x\\\xB3", "x\\", "\xB3", ""},
  };
  for (const PathCase& c : cases) {
    EXPECT_EQ(FolderOf(c.path), c.folder) << c.path;
    EXPECT_EQ(BaseNameOf(c.path), c.baseName) << c.path;
    EXPECT_EQ(ExtensionOf(c.path), c.extension) << c.path;
  }
  EXPECT_FALSE(HasFolder("C:\xB3\\"));
}
#endif

}  // namespace
