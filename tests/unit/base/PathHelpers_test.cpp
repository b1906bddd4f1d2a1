#include "base/PathHelpers.h"

#include "base/win.h"
#include "support/DoubleByteCodePage.h"
#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <cstring>
#include <shlwapi.h>
#include <string>

namespace {

struct PathCase {
  const char* path;
  const char* nameAndExt;
  const char* baseName;
  const char* ext;
};

const PathCase kCases[] = {
    {"C:\\Music\\Song.mp3", "Song.mp3", "Song", ".mp3"},
    {"Song.mp3", "Song.mp3", "Song", ".mp3"},
    {"C:\\Music\\Song", "Song", "Song", ""},
    {"C:\\Music.old\\Song", "Song", "Song", ""},
    {"C:\\Music\\", "", "", ""},
    {"a.b.c", "a.b.c", "a.b", ".c"},
    {"C:\\x\\.hidden", ".hidden", "", ".hidden"},
    {"ends.", "ends.", "ends", "."},
    {"C:Song.mp3", "Song.mp3", "Song", ".mp3"},
    {"C:", "", "", ""},
    {"x/y/Song.mp3", "Song.mp3", "Song", ".mp3"},
    {"x\\y/Song.mp3", "Song.mp3", "Song", ".mp3"},
    {"x/y\\Song.mp3", "Song.mp3", "Song", ".mp3"},
    {"\\\\server\\share\\two words.wma", "two words.wma", "two words", ".wma"},
    {"http://host/a/list.m3u", "list.m3u", "list", ".m3u"},
    {"http://host/1:2.mp3", "1:2.mp3", "1:2", ".mp3"},
    {"", "", "", ""},
};

TEST(PathHelpers, SplitLikeTheRunTime) {
  for (const PathCase& c : kCases) {
    EXPECT_STREQ(GetFileNameAndExt(c.path), c.nameAndExt) << c.path;
    EXPECT_STREQ(GetFileBaseName(c.path), c.baseName) << c.path;
    EXPECT_STREQ(GetFileExt(c.path), c.ext) << c.path;
  }
}

TEST(PathHelpers, ASecondByteIsNoBackslash) {
  const support::DoubleByteCodePage codePage;
  EXPECT_STREQ(GetFileNameAndExt("C:\\x\\\xB3\\.mp3"), "\xB3\\.mp3");
  EXPECT_STREQ(GetFileBaseName("C:\\x\\\xB3\\.mp3"), "\xB3\\");
}

TEST(PathHelpers, TheThreeBuffersAreApart) {
  const char* whole = GetFileNameAndExt("C:\\a.mp3");
  const char* base = GetFileBaseName("C:\\b.mp3");
  const char* ext = GetFileExt("C:\\c.wma");
  EXPECT_STREQ(whole, "a.mp3");
  EXPECT_STREQ(base, "b");
  EXPECT_STREQ(ext, ".wma");
}

TEST(PathHelpers, TheNextCallOverwritesTheBuffer) {
  const char* first = GetFileExt("a.mp3");
  EXPECT_EQ(GetFileExt("b.wma"), first);
  EXPECT_STREQ(first, ".wma");
}

TEST(PathHelpers, AnAnswerMayBeSplitAgain) {
  EXPECT_STREQ(GetFileBaseName(GetFileBaseName("a.b.c")), "a");
  EXPECT_STREQ(GetFileNameAndExt(GetFileNameAndExt("x/a.b")), "a.b");
  EXPECT_STREQ(GetFileExt(GetFileExt("a.b")), ".b");
}

TEST(PathHelpers, NullCountsAsEmpty) {
  EXPECT_STREQ(GetFileNameAndExt(nullptr), "");
  EXPECT_STREQ(GetFileBaseName(nullptr), "");
  EXPECT_STREQ(GetFileExt(nullptr), "");
}

TEST(PathHelpers, PartsThatAreTooLongAreEmptyAndOverrunNothing) {
  const std::string longName(100000, 'n');
  for (const std::string& path : {longName, longName + ".mp3", "a." + longName,
                                  "C:\\x\\" + longName + "." + longName}) {
    EXPECT_STREQ(GetFileNameAndExt(path.c_str()), "");
    EXPECT_STREQ(GetFileBaseName(path.c_str()), "");
    EXPECT_STREQ(GetFileExt(path.c_str()), "");
  }
}

TEST(PathHelpers, ThePartsMayBeAsLongAsTheRunTimeAllows) {
  const std::string name(_MAX_FNAME - 1, 'n');
  const std::string ext = "." + std::string(_MAX_EXT - 2, 'e');
  EXPECT_EQ(GetFileNameAndExt(("C:\\" + name + ext).c_str()), name + ext);
  EXPECT_EQ(GetFileBaseName((name + ext).c_str()), name);
  EXPECT_EQ(GetFileExt((name + ext).c_str()), ext);
}

TEST(PathHelpers, ALongFolderDoesNotMatter) {
  const std::string folder = "C:\\" + std::string(100000, 'f') + "\\";
  EXPECT_STREQ(GetFileNameAndExt((folder + "a.mp3").c_str()), "a.mp3");
}

// A machine on which every library is the same one, and whose display depth is
// in the test's hands.
class DllVersion : public testing::Test {
 protected:
  struct World {
    bool loads = true;
    bool hasEntry = true;
    DWORD major = 0;
    DWORD minor = 0;
    HRESULT result = S_OK;
    DWORD depth = 32;
    // What was asked of it.
    std::string loaded;
    DWORD recordSize = 0;
    int freed = 0;
  };
  static World& Now() {
    static World world;
    return world;
  }
  void SetUp() override { Now() = {}; }

 private:
  static HMODULE Fake() { return reinterpret_cast<HMODULE>(0x1234); }
  static HMODULE WINAPI Load(const char* name) {
    Now().loaded = name;
    return Now().loads ? Fake() : nullptr;
  }
  static BOOL WINAPI Free(HMODULE module) {
    Now().freed += module == Fake();
    return TRUE;
  }
  static HRESULT CALLBACK Tell(DLLVERSIONINFO* version) {
    Now().recordSize = version->cbSize;
    version->dwMajorVersion = Now().major;
    version->dwMinorVersion = Now().minor;
    return Now().result;
  }
  static FARPROC WINAPI Entry(HMODULE module, const char* name) {
    EXPECT_EQ(module, Fake());
    EXPECT_STREQ(name, "DllGetVersion");
    return Now().hasEntry ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Tell)) : nullptr;
  }
  static BOOL WINAPI Mode(const char*, DWORD which, DEVMODEA* mode) {
    EXPECT_EQ(which, ENUM_CURRENT_SETTINGS);
    mode->dmBitsPerPel = Now().depth;
    return Now().depth != 0;
  }

  support::ImportHook load_{"kernel32.dll", "LoadLibraryA", Load};
  support::ImportHook free_{"kernel32.dll", "FreeLibrary", Free};
  support::ImportHook entry_{"kernel32.dll", "GetProcAddress", Entry};
  support::ImportHook mode_{"user32.dll", "EnumDisplaySettingsA", Mode};
};

TEST_F(DllVersion, IsMajorAboveMinor) {
  Now().major = 5;
  Now().minor = 82;
  EXPECT_EQ(GetDllVersion("some.dll"), 0x00050052u);
  EXPECT_EQ(Now().loaded, "some.dll");
  EXPECT_EQ(Now().recordSize, 20u);
  EXPECT_EQ(Now().freed, 1);
}

TEST_F(DllVersion, IsZeroWithoutTheLibrary) {
  Now().loads = false;
  Now().major = 5;
  EXPECT_EQ(GetDllVersion("some.dll"), 0u);
  EXPECT_EQ(Now().freed, 0);
}

TEST_F(DllVersion, IsZeroWithoutTheEntry) {
  Now().hasEntry = false;
  Now().major = 5;
  EXPECT_EQ(GetDllVersion("some.dll"), 0u);
  EXPECT_EQ(Now().freed, 1);
}

TEST_F(DllVersion, IsZeroIfTheCallFails) {
  Now().major = 5;
  Now().result = E_FAIL;
  EXPECT_EQ(GetDllVersion("some.dll"), 0u);
  EXPECT_EQ(Now().freed, 1);
}

TEST_F(DllVersion, CommonControls6TakeVersionAndDepth) {
  const struct {
    DWORD major, minor, depth;
    bool expected;
  } cases[] = {{6, 0, 32, true},  {6, 10, 16, true},  {7, 0, 24, true},  {5, 82, 32, false},
               {6, 0, 15, false}, {6, 0, 8, false}, {6, 0, 0, false}};
  for (const auto& c : cases) {
    Now().major = c.major;
    Now().minor = c.minor;
    Now().depth = c.depth;
    EXPECT_EQ(HasCommonControls6(true), c.expected) << c.major << "." << c.minor << " " << c.depth;
    EXPECT_EQ(Now().loaded, "comctl32.dll");
  }
}

TEST_F(DllVersion, TheAnswerIsKeptUntilForced) {
  Now().major = 6;
  EXPECT_TRUE(HasCommonControls6(true));
  Now() = {};
  EXPECT_TRUE(HasCommonControls6());
  EXPECT_EQ(Now().loaded, "");
  EXPECT_FALSE(HasCommonControls6(true));
  EXPECT_FALSE(HasCommonControls6());
}

// The system's own libraries.
TEST(DllVersionForReal, TellsTheCommonControlsAndFailsForTheRest) {
  EXPECT_GE(GetDllVersion("comctl32.dll"), 0x00040000u);
  EXPECT_EQ(GetDllVersion("no such library.dll"), 0u);
  EXPECT_EQ(GetDllVersion("kernel32.dll"), 0u);
  EXPECT_EQ(GetDllVersion(""), 0u);
}

}  // namespace
