#include "app/AppDataFolders.h"

#include "app/OsVersion.h"
#include "base/FileUtilities.h"
#include "base/FindNoCase.h"
#include "base/RegistryKey.h"

#include <aclapi.h>
#include <array>
#include <cstring>
#include <string>

namespace {

constexpr REGSAM kWriteAccess = KEY_WRITE;                 // 0x20006
constexpr REGSAM kReadWriteAccess = KEY_READ | KEY_WRITE;  // 0x2001f
constexpr SECURITY_INFORMATION kProtectedDacl =
    DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;  // 0x80000004
constexpr std::size_t kFolderBufferSize = 1024;
constexpr std::size_t kLongestValueName = 16383;

RegKey CreateMachineKey(const std::string& path) {
  return CreateRegistryKey(HKEY_LOCAL_MACHINE, path.c_str(), kWriteAccess);
}

void OpenSecurity(HKEY key) {
  if (IsWindowsNT5OrLater())
    SetSecurityInfo(key, SE_REGISTRY_KEY, kProtectedDacl, nullptr, nullptr, nullptr, nullptr);
}

// The folder's full path without a closing backslash, so that "..", "/" and
// short forms can't disguise it; empty for a path that isn't absolute.
std::string Normalised(const char* folder) {
  const bool absolute = folder[0] && (folder[1] == ':' || (folder[0] == '\\' && folder[1] == '\\'));
  std::array<char, kFolderBufferSize> buffer{};
  if (!absolute || GetFullPathNameA(folder, buffer.size(), buffer.data(), nullptr) >= buffer.size())
    return {};
  std::string path = buffer.data();
  while (!path.empty() && path.back() == '\\') path.pop_back();
  return path;
}

bool IsDataFolder(const std::string& path) {
  constexpr std::size_t length = sizeof kDataFolder - 1;
  return path.size() > length && NamesMatch(path.substr(path.size() - length), kDataFolder);
}

void RemoveFolder(const char* folder) {
  const std::string path = Normalised(folder);
  if (!IsDataFolder(path)) return;
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return;
  if (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) DeleteFolderContents(path.c_str());
  RemoveDirectoryA(path.c_str());
}

}  // namespace

void RegisterAppDataFolder(const char* path, const char* key, const char* subKey) {
  {
    const RegKey list = CreateMachineKey(std::string(key) + subKey);
    if (!list) return;
    OpenSecurity(list.get());
    char user[257] = "";
    DWORD size = sizeof user;
    const char* name = GetUserNameA(user, &size) ? user : path;
    RegSetValueExA(list.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(path),
                   static_cast<DWORD>(std::strlen(path)));
  }
  const RegKey parent = CreateMachineKey(key);
  if (parent) OpenSecurity(parent.get());
}

void RemoveAppDataFolders(const char* key) {
  {
    const RegKey list = OpenRegistryKey(HKEY_LOCAL_MACHINE, key, kReadWriteAccess);
    if (!list) return;
    std::string name(kLongestValueName + 1, '\0');
    for (DWORD index = 0;; ++index) {
      std::array<char, kFolderBufferSize + 1> folder{};
      auto nameLength = static_cast<DWORD>(name.size());
      DWORD size = kFolderBufferSize;
      DWORD type = REG_NONE;
      const LONG status = RegEnumValueA(list.get(), index, name.data(), &nameLength, nullptr, &type,
                                        reinterpret_cast<BYTE*>(folder.data()), &size);
      if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA) break;
      if (status == ERROR_SUCCESS && type == REG_SZ) RemoveFolder(folder.data());
    }
  }
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, key);
}
