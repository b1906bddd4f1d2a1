#include "app/AppDataFolders.h"

#include "support/ImportHook.h"
#include "support/PretendWindows.h"
#include "support/RegistrySandbox.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <aclapi.h>
#include <cstring>
#include <string>
#include <vector>

using support::Bytes;
using support::RegistrySandbox;
using support::TempFolder;

namespace {

constexpr char kKey[] = "Software\\VelmoraTests\\Machine";
constexpr char kList[] = "\\AppData";
constexpr char kListKey[] = "Software\\VelmoraTests\\Machine\\AppData";

auto PretendUser(const char* name) {
  return support::HookImport<decltype(&GetUserNameA)>(
      "advapi32.dll", "GetUserNameA", [name](LPSTR to, LPDWORD) -> BOOL {
        if (name) std::strcpy(to, name);
        return name != nullptr;
      });
}

bool Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

class AppDataFolders : public testing::Test {
 protected:
  RegistrySandbox machine{HKEY_LOCAL_MACHINE, kKey};
};

// --- Recording ---

TEST_F(AppDataFolders, AFolderIsRecordedUnderTheUsersName) {
  const auto user = PretendUser("anna");
  RegisterAppDataFolder("C:\\data\\", kKey, kList);
  EXPECT_EQ(machine.Text("anna", "AppData"), "C:\\data\\");
  EXPECT_EQ(machine.ValueNames("AppData").size(), 1u);
}

TEST_F(AppDataFolders, WithoutAUserNameTheFolderIsItsOwnName) {
  const auto user = PretendUser(nullptr);
  RegisterAppDataFolder("C:\\data\\", kKey, kList);
  EXPECT_EQ(machine.Text("C:\\data\\", "AppData"), "C:\\data\\");
}

TEST_F(AppDataFolders, TheTextIsWrittenWithoutItsTerminator) {
  DWORD written = 0;
  HOOK_IMPORT(set, "advapi32.dll", RegSetValueExA,
              [&](HKEY, LPCSTR, DWORD, DWORD type, const BYTE*, DWORD size) -> LSTATUS {
                EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
                written = size;
                return ERROR_SUCCESS;
              });
  RegisterAppDataFolder("C:\\data\\", kKey, kList);
  EXPECT_EQ(written, 8u);
}

struct OpenedSecurity {
  HANDLE object;
  SE_OBJECT_TYPE type;
  SECURITY_INFORMATION what;
  PACL dacl;
};

std::vector<OpenedSecurity> SecurityOpenedBy(void (*call)()) {
  std::vector<OpenedSecurity> opened;
  HOOK_IMPORT(hook, "advapi32.dll", SetSecurityInfo,
              [&](HANDLE object, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID, PSID,
                  PACL dacl, PACL) -> DWORD {
                opened.push_back({object, type, what, dacl});
                return ERROR_SUCCESS;
              });
  call();
  return opened;
}

void RecordOne() { RegisterAppDataFolder("C:\\data\\", kKey, kList); }

TEST_F(AppDataFolders, ListAndParentAreOpenedToEverybody) {
  const auto windowsXp = support::PretendWindows(2, 5, 1);
  const auto opened = SecurityOpenedBy(RecordOne);
  ASSERT_EQ(opened.size(), 2u);
  for (const OpenedSecurity& key : opened) {
    EXPECT_EQ(key.type, SE_REGISTRY_KEY);
    EXPECT_EQ(key.what, 0x80000004u);
    EXPECT_EQ(key.dacl, nullptr);
  }
}

TEST_F(AppDataFolders, EarlierWindowsHasNoSecurityToOpen) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  EXPECT_TRUE(SecurityOpenedBy(RecordOne).empty());
  EXPECT_EQ(machine.ValueNames("AppData").size(), 1u);
}

// Makes the `failing`-th key creation fail, and notes them all.
auto FailKeyCreation(std::size_t failing, std::vector<std::string>& paths,
                     std::vector<REGSAM>& accesses) {
  return support::HookImport<decltype(&RegCreateKeyExA)>(
      "advapi32.dll", "RegCreateKeyExA",
      [failing, &paths, &accesses](HKEY root, LPCSTR path, DWORD reserved, LPSTR type,
                                   DWORD options, REGSAM access, SECURITY_ATTRIBUTES* security,
                                   PHKEY key, LPDWORD disposition) -> LSTATUS {
        EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
        paths.push_back(path);
        accesses.push_back(access);
        if (paths.size() == failing) return ERROR_ACCESS_DENIED;
        return REAL_IMPORT("advapi32.dll", RegCreateKeyExA)(root, path, reserved, type, options,
                                                            access, security, key, disposition);
      });
}

TEST_F(AppDataFolders, TheListIsMadeFirstThenItsParentBothForWriting) {
  std::vector<std::string> paths;
  std::vector<REGSAM> accesses;
  const auto hook = FailKeyCreation(0, paths, accesses);
  RecordOne();
  EXPECT_THAT(paths, testing::ElementsAre(kListKey, kKey));
  EXPECT_THAT(accesses, testing::ElementsAre(0x20006u, 0x20006u));
}

TEST_F(AppDataFolders, AListThatCannotBeMadeEndsItSilently) {
  std::vector<std::string> paths;
  std::vector<REGSAM> accesses;
  const auto hook = FailKeyCreation(1, paths, accesses);
  EXPECT_TRUE(SecurityOpenedBy(RecordOne).empty());
  EXPECT_EQ(paths.size(), 1u);
  EXPECT_FALSE(machine.KeyExists());
}

TEST_F(AppDataFolders, AParentThatCannotBeOpenedLeavesTheRecord) {
  std::vector<std::string> paths;
  std::vector<REGSAM> accesses;
  const auto hook = FailKeyCreation(2, paths, accesses);
  RecordOne();
  EXPECT_EQ(machine.ValueNames("AppData").size(), 1u);
}

// --- Removing ---

// A user's data folder with files, read-only ones too, and subfolders.
std::string MakeDataFolder(const TempFolder& temp, const std::string& home) {
  temp.MakeFolder(home);
  temp.MakeFolder(home + "\\Tarnwick");
  temp.MakeFolder(home + "\\Tarnwick\\Velmora2");
  temp.MakeFolder(home + "\\Tarnwick\\Velmora2\\deep");
  temp.Write(home + "\\Tarnwick\\Velmora2\\list.M3U", support::BytesOf("#EXTM3U"));
  const std::string readOnly =
      temp.Write(home + "\\Tarnwick\\Velmora2\\deep\\x.bmp", support::BytesOf("x"));
  SetFileAttributesA(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
  return temp.File(home + "\\Tarnwick\\Velmora2");
}

class Uninstall : public AppDataFolders {
 protected:
  TempFolder temp;
};

TEST_F(Uninstall, RemovesEveryRecordedFolderAndTheList) {
  const std::string anna = MakeDataFolder(temp, "anna");
  const std::string ben = MakeDataFolder(temp, "ben");
  machine.SetText("anna", anna + "\\", "AppData");
  machine.SetText("ben", ben, "AppData");
  RemoveAppDataFolders(kListKey);
  EXPECT_FALSE(Exists(anna));
  EXPECT_FALSE(Exists(ben));
  EXPECT_TRUE(Exists(temp.File("anna\\Tarnwick")));
  EXPECT_FALSE(machine.KeyExists("AppData"));
  EXPECT_TRUE(machine.KeyExists()) << "only the list goes";
}

TEST_F(Uninstall, WithoutAListDoesNothing) {
  machine.CreateKey();
  RemoveAppDataFolders(kListKey);
  EXPECT_TRUE(machine.KeyExists());
}

TEST_F(Uninstall, AListThatCannotBeOpenedStays) {
  const std::string anna = MakeDataFolder(temp, "anna");
  machine.SetText("anna", anna, "AppData");
  {
    REGSAM asked = 0;
    HOOK_IMPORT(denied, "advapi32.dll", RegOpenKeyExA,
                [&](HKEY, LPCSTR, DWORD, REGSAM access, PHKEY) -> LSTATUS {
                  asked = access;
                  return ERROR_ACCESS_DENIED;
                });
    RemoveAppDataFolders(kListKey);
    EXPECT_EQ(asked, 0x2001fu);
  }
  EXPECT_TRUE(Exists(anna));
  EXPECT_TRUE(machine.KeyExists("AppData"));
}

TEST_F(Uninstall, ValuesOfAnotherTypeAreNoFolders) {
  const std::string anna = MakeDataFolder(temp, "anna");
  Bytes text;
  support::AppendZ(text, anna);
  machine.Set("anna", {REG_BINARY, text}, "AppData");
  machine.Set("ben", {REG_EXPAND_SZ, text}, "AppData");
  RemoveAppDataFolders(kListKey);
  EXPECT_TRUE(Exists(anna));
  EXPECT_FALSE(machine.KeyExists("AppData"));
}

TEST_F(Uninstall, AValueThatIsTooLongDoesNotStopTheOthers) {
  const std::string anna = MakeDataFolder(temp, "anna");
  machine.Set("aaa", {REG_SZ, Bytes(3000, 'x')}, "AppData");
  machine.SetText("bbb", anna, "AppData");
  machine.Set("ccc", {REG_SZ, Bytes(1025, 'x')}, "AppData");
  RemoveAppDataFolders(kListKey);
  EXPECT_FALSE(Exists(anna));
}

TEST_F(Uninstall, AFolderThatIsGoneDoesNotStopTheOthers) {
  const std::string anna = MakeDataFolder(temp, "anna");
  machine.SetText("aaa", temp.File("gone\\Tarnwick\\Velmora2"), "AppData");
  machine.SetText("bbb", "", "AppData");
  machine.SetText("ccc", anna, "AppData");
  RemoveAppDataFolders(kListKey);
  EXPECT_FALSE(Exists(anna));
}

// Any user may write to the list, and the uninstaller runs with full rights.
TEST_F(Uninstall, OtherFoldersAreLeftAlone) {
  const std::string anna = MakeDataFolder(temp, "anna");
  const std::string other = temp.MakeFolder("Documents");
  temp.Write("Documents\\letter.txt", support::BytesOf("dear"));
  temp.MakeFolder("XTarnwick");
  temp.MakeFolder("XTarnwick\\Velmora2");
  const char* names[] = {"a", "b", "c", "d", "e"};
  const std::string paths[] = {other, other + "\\", anna + "\\..\\..\\..\\Documents",
                               temp.File("XTarnwick\\Velmora2"), "Tarnwick\\Velmora2"};
  for (int n = 0; n < 5; ++n) machine.SetText(names[n], paths[n], "AppData");
  RemoveAppDataFolders(kListKey);
  EXPECT_TRUE(Exists(temp.File("Documents\\letter.txt")));
  EXPECT_TRUE(Exists(temp.File("XTarnwick\\Velmora2")));
  EXPECT_TRUE(Exists(anna));
}

TEST_F(Uninstall, ADataFolderThatIsALinkIsNotEntered) {
  const std::string anna = MakeDataFolder(temp, "anna");
  machine.SetText("anna", anna, "AppData");
  HOOK_IMPORT(link, "kernel32.dll", GetFileAttributesA, [&](LPCSTR path) -> DWORD {
    const DWORD attributes = REAL_IMPORT("kernel32.dll", GetFileAttributesA)(path);
    return anna == path ? attributes | FILE_ATTRIBUTE_REPARSE_POINT : attributes;
  });
  RemoveAppDataFolders(kListKey);
  EXPECT_TRUE(Exists(anna + "\\list.M3U"));
}

}  // namespace
