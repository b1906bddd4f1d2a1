#include "app/Paths.h"

#include "support/ImportHook.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <shlobj.h>

namespace {

constexpr char kMachineSettings[] = "Software\\Tarnwick\\TarnwickSaver\\Velmora2";

auto PretendModule(const std::string& path) {
  return support::HookImport<decltype(&GetModuleFileNameA)>(
      "kernel32.dll", "GetModuleFileNameA", [path](HMODULE module, LPSTR to, DWORD size) -> DWORD {
        EXPECT_EQ(module, nullptr);
        std::strncpy(to, path.c_str(), size);
        return static_cast<DWORD>(path.size());
      });
}

auto PretendUser(const char* name) {
  return support::HookImport<decltype(&GetUserNameA)>(
      "advapi32.dll", "GetUserNameA", [name](LPSTR to, LPDWORD size) -> BOOL {
        if (!name || *size != 257) return FALSE;
        std::strcpy(to, name);
        return TRUE;
      });
}

auto PretendAppData(const std::string& folder) {
  return support::HookImport<decltype(&SHGetSpecialFolderPathA)>(
      "shell32.dll", "SHGetSpecialFolderPathA",
      [folder](HWND, LPSTR to, int which, BOOL create) -> BOOL {
        EXPECT_EQ(which, CSIDL_APPDATA);
        EXPECT_TRUE(create);
        std::strcpy(to, folder.c_str());
        return TRUE;
      });
}

class Paths : public testing::Test {
 protected:
  support::SessionState session;
};

// --- The program's own ---

TEST_F(Paths, TheProgramsFilesLieInItsFolder) {
  const auto hook = PretendModule("D:\\Some where\\Velmora2.scr");
  BuildProgramPaths();
  EXPECT_STREQ(ModulePath, "D:\\Some where\\Velmora2.scr");
  EXPECT_EQ(InstallPath, "D:\\Some where\\");
  EXPECT_EQ(HelpPath, "D:\\Some where\\VELMORA2.HLP");
  EXPECT_EQ(BundlePath, "D:\\Some where\\images.bdl");
}

TEST_F(Paths, OnlyAnExtensionThatHoldsExeIsAProgram) {
  const std::pair<const char*, bool> rows[] = {
      {"C:\\a\\Velmora2.exe", true},  {"C:\\a\\VELMORA2.EXE", true}, {"C:\\a\\b.xexey", true},
      {"C:\\a\\Velmora2.scr", false}, {"C:\\exe\\Velmora2", false},  {"C:\\x.exe\\Velmora2", false},
      {"C:\\a\\exe.scr", false},      {"C:\\a\\v.exe.scr", false},   {"C:\\a\\exe", false},
      {"C:\\a\\v.", false},
  };
  for (const auto& [path, expected] : rows) {
    const auto hook = PretendModule(path);
    EXPECT_EQ(BuildProgramPaths(), expected) << path;
  }
}

TEST_F(Paths, AProgramPathThatFillsTheBufferStaysATextInIt) {
  const auto hook = PretendModule("C:\\" + std::string(2000, 'x') + ".exe");
  BuildProgramPaths();
  EXPECT_EQ(std::strlen(ModulePath), 1023u);
}

TEST_F(Paths, TheRealProgramIsFound) {
  EXPECT_TRUE(BuildProgramPaths());
  EXPECT_NE(GetFileAttributesA(ModulePath), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(GetFileAttributesA(InstallPath.c_str()), INVALID_FILE_ATTRIBUTES);
}

// --- The user's ---

TEST_F(Paths, TheUsersFolderLiesBelowTheApplicationData) {
  const auto hook = PretendAppData("C:\\users\\me\\Application Data");
  InstallPath = "C:\\prog\\";
  BuildUserDataPath();
  EXPECT_EQ(AppDataPath, "C:\\users\\me\\Application Data\\Tarnwick\\Velmora2\\");
  EXPECT_EQ(ReportToolPath, "C:\\prog\\ReportErr.exe");
}

TEST_F(Paths, TheUsersFilesAreNamedAfterTheUser) {
  const auto hook = PretendUser("anna");
  AppDataPath = "C:\\d\\";
  BuildUserFilePaths();
  EXPECT_EQ(PlaylistPath, "C:\\d\\anna.M3U");
  EXPECT_EQ(WallpaperPath, "C:\\d\\anna_velmora.bmp");
}

TEST_F(Paths, WithoutAUserNameTheFilesHaveNamesOfTheirOwn) {
  const auto hook = PretendUser(nullptr);
  AppDataPath = "C:\\d\\";
  BuildUserFilePaths();
  EXPECT_EQ(PlaylistPath, "C:\\d\\VELMORA2.M3U");
  EXPECT_EQ(WallpaperPath, "C:\\d\\velmora.bmp");
}

// --- Making the user's folder ---

class UserDataFolder : public Paths {
 protected:
  void SetUp() override {
    const auto hook = PretendAppData(temp.Path());
    BuildUserDataPath();
  }

  support::TempFolder temp;
  support::RegistrySandbox machine{HKEY_LOCAL_MACHINE, kMachineSettings};
};

TEST_F(UserDataFolder, IsMadeAndRecordedIfItIsNotThere) {
  const auto hook = PretendUser("anna");
  EnsureUserDataFolder();
  EXPECT_NE(GetFileAttributesA(temp.File("Tarnwick\\Velmora2").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(machine.Text("anna", "AppData"), temp.Path() + "\\Tarnwick\\Velmora2\\");
}

TEST_F(UserDataFolder, IsMadeInsideAnExistingMakersFolder) {
  temp.MakeFolder("Tarnwick");
  EnsureUserDataFolder();
  EXPECT_NE(GetFileAttributesA(temp.File("Tarnwick\\Velmora2").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(UserDataFolder, IsNotRecordedAgainIfItIsThere) {
  temp.MakeFolder("Tarnwick");
  temp.MakeFolder("Tarnwick\\Velmora2");
  EnsureUserDataFolder();
  EXPECT_FALSE(machine.KeyExists("AppData"));
}

TEST_F(UserDataFolder, ThatCannotBeMadeIsRecordedAllTheSame) {
  HOOK_IMPORT(noFolder, "kernel32.dll", CreateDirectoryA,
              [](LPCSTR, SECURITY_ATTRIBUTES*) -> BOOL { return FALSE; });
  const auto hook = PretendUser("anna");
  EnsureUserDataFolder();
  EXPECT_TRUE(machine.Text("anna", "AppData"));
}

}  // namespace
