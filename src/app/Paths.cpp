#include "app/Paths.h"

#include "app/AppDataFolders.h"
#include "base/FileUtilities.h"
#include "base/FindNoCase.h"
#include "base/PathParts.h"
#include "settings/Session.h"
#include "settings/Settings.h"

#include <shlobj.h>

namespace {

// The user's application data folder, created if need be; empty on failure.
std::string ApplicationDataFolder(HWND owner) {
  char folder[MAX_PATH + 1] = "";
  SHGetSpecialFolderPathA(owner, folder, CSIDL_APPDATA, TRUE);
  return folder;
}

std::string LoginName() {
  char name[257] = "";
  DWORD size = sizeof name;
  return GetUserNameA(name, &size) ? name : "";
}

}  // namespace

bool BuildProgramPaths() {
  GetModuleFileNameA(nullptr, ModulePath, sizeof ModulePath - 1);
  InstallPath = FolderOf(ModulePath);
  HelpPath = InstallPath + "VELMORA2.HLP";
  BundlePath = InstallPath + "images.bdl";
  return FindNoCase(ExtensionOf(ModulePath).data(), "exe") != nullptr;
}

void BuildUserDataPath(HWND owner) {
  AppDataPath = ApplicationDataFolder(owner) + kDataFolder + "\\";
  ReportToolPath = InstallPath + "ReportErr.exe";
}

void EnsureUserDataFolder() {
  if (PathExists(AppDataPath.c_str())) return;
  const std::size_t product = AppDataPath.rfind('\\', AppDataPath.size() - 2);
  CreateDirectoryA(AppDataPath.substr(0, product).c_str(), nullptr);
  CreateDirectoryA(AppDataPath.c_str(), nullptr);
  RegisterAppDataFolder(AppDataPath.c_str(), kMachineKey, kAppDataSubKey);
}

void BuildUserFilePaths() {
  const std::string user = LoginName();
  PlaylistPath = AppDataPath + (user.empty() ? "VELMORA2" : user) + ".M3U";
  WallpaperPath = AppDataPath + (user.empty() ? "" : user + "_") + "velmora.bmp";
}

std::string LogPath() { return AppDataPath + "VelmoraLog.txt"; }

std::string MinidumpPath() { return AppDataPath + "velmora_minidump.dmp"; }
