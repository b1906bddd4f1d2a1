#include "app/OsVersion.h"

#include "support/PretendWindows.h"

#include <gtest/gtest.h>

namespace {

struct Version {
  std::uint32_t platform, major, minor;
};

auto Pretend(const Version& version) {
  return support::PretendWindows(version.platform, version.major, version.minor);
}

struct Row {
  Version version;
  std::int32_t code;
  const char* name;
};

constexpr Row kTable[] = {
    {{0, 3, 10}, 1, "Windows 3.1"},
    {{1, 4, 0}, 2, "Windows 95"},
    {{1, 4, 10}, 3, "Windows 98"},
    {{1, 4, 1}, 3, "Windows 98"},
    {{1, 4, 89}, 3, "Windows 98"},
    {{1, 4, 91}, 3, "Windows 98"},
    {{1, 4, 90}, 4, "Windows Me"},
    {{2, 3, 51}, 5, "Windows NT"},
    {{2, 4, 0}, 5, "Windows NT"},
    {{2, 0, 0}, 5, "Windows NT"},
    {{2, 5, 0}, 6, "Windows 2000"},
    {{2, 5, 1}, 7, "Windows XP"},
    {{2, 5, 2}, 8, "Windows 2003"},
    {{2, 5, 77}, 8, "Windows 2003"},
    {{2, 6, 0}, 10, "Unknown"},
    {{2, 6, 1}, 10, "Unknown"},
    {{2, 10, 0}, 10, "Unknown"},
    {{3, 1, 0}, 10, "Unknown"},
    {{99, 5, 1}, 10, "Unknown"},
};

TEST(OsVersion, EachSystemHasItsCodeAndName) {
  for (const Row& row : kTable) {
    const auto hook = Pretend(row.version);
    EXPECT_EQ(GetOSVersionCode(), row.code) << row.name;
    EXPECT_STREQ(OSVersionNames[GetOSVersionCode()], row.name);
  }
}

TEST(OsVersion, VistaStandsInTheTableAndIsNeverReached) {
  EXPECT_STREQ(OSVersionNames[0], "Unsupported");
  EXPECT_STREQ(OSVersionNames[9], "Windows Vista");
  for (std::uint32_t platform = 0; platform < 5; ++platform)
    for (std::uint32_t major = 0; major < 12; ++major)
      for (std::uint32_t minor = 0; minor < 100; ++minor) {
        const std::int32_t code = ClassifyOSVersion(platform, major, minor);
        EXPECT_NE(code, 9);
        EXPECT_NE(code, 0);
        EXPECT_LE(code, 10);
      }
}

TEST(OsVersion, Windows2000AndLaterAreNT5) {
  for (const Version& version : {Version{2, 5, 0}, {2, 5, 1}, {2, 6, 0}, {2, 10, 0}}) {
    const auto hook = Pretend(version);
    bool isPlainWin95 = true;
    EXPECT_TRUE(IsWindowsNT5OrLater(&isPlainWin95));
    EXPECT_FALSE(isPlainWin95);
    EXPECT_TRUE(IsWindowsNT5OrLater());
  }
}

TEST(OsVersion, EarlierSystemsTellWhetherTheirMinorVersionIsZero) {
  const std::pair<Version, bool> rows[] = {{{1, 4, 0}, true},   {{2, 4, 0}, true},
                                           {{1, 4, 10}, false}, {{1, 4, 90}, false},
                                           {{2, 3, 51}, false}, {{0, 5, 1}, false}};
  for (const auto& [version, expected] : rows) {
    const auto hook = Pretend(version);
    bool isPlainWin95 = !expected;
    EXPECT_FALSE(IsWindowsNT5OrLater(&isPlainWin95));
    EXPECT_EQ(isPlainWin95, expected);
    EXPECT_FALSE(IsWindowsNT5OrLater());
  }
}

}  // namespace
