#include "base/PathHelpers.h"

#include "base/win.h"
#include "base/win_owned.h"

#include <cstdlib>
#include <cstring>
#include <shlwapi.h>

namespace {

constexpr std::uint32_t kCommonControls6 = 0x60000;
constexpr DWORD kHighColourBits = 16;

// The parts of a path; both are empty if one is longer than Windows allows.
struct PathParts {
  char name[_MAX_FNAME] = "";
  char ext[_MAX_EXT] = "";
};

PathParts Split(const char* path) {
  PathParts parts;
  if (!path) return parts;
  // _splitpath doesn't know the size of its buffers, so the two parts that are
  // wanted must fit before it is called.
  const char* lastSeparator = std::strrchr(path, '\\');
  const char* lastSlash = std::strrchr(path, '/');
  const char* file = path;
  if (lastSeparator) file = lastSeparator + 1;
  if (lastSlash && lastSlash + 1 > file) file = lastSlash + 1;
  const char* dot = std::strrchr(file, '.');
  const std::size_t nameLength = dot ? static_cast<std::size_t>(dot - file) : std::strlen(file);
  if (nameLength >= sizeof parts.name || (dot && std::strlen(dot) >= sizeof parts.ext))
    return parts;
  _splitpath(file, nullptr, nullptr, parts.name, parts.ext);
  return parts;
}

DWORD DisplayDepth() {
  DEVMODEA mode{};
  mode.dmSize = sizeof mode;
  return EnumDisplaySettingsA(nullptr, ENUM_CURRENT_SETTINGS, &mode) ? mode.dmBitsPerPel : 0;
}

}  // namespace

const char* GetFileNameAndExt(const char* path) {
  static char text[_MAX_FNAME + _MAX_EXT];
  const PathParts parts = Split(path);
  std::strcpy(text, parts.name);
  std::strcat(text, parts.ext);
  return text;
}

const char* GetFileBaseName(const char* path) {
  static char text[_MAX_FNAME];
  return std::strcpy(text, Split(path).name);
}

const char* GetFileExt(const char* path) {
  static char text[_MAX_EXT];
  return std::strcpy(text, Split(path).ext);
}

std::uint32_t GetDllVersion(const char* fileName) {
  const Library library(LoadLibraryA(fileName));
  if (!library) return 0;
  const auto ask = ProcAddress<DLLGETVERSIONPROC>(library.get(), "DllGetVersion");
  DLLVERSIONINFO version{};
  static_assert(sizeof version == 20);
  version.cbSize = sizeof version;
  if (!ask || FAILED(ask(&version))) return 0;
  return (version.dwMajorVersion << 16) | (version.dwMinorVersion & 0xFFFF);
}

bool HasCommonControls6(bool force) {
  static bool known = false;
  static bool answer = false;
  if (!known || force) {
    answer = GetDllVersion("comctl32.dll") >= kCommonControls6 && DisplayDepth() >= kHighColourBits;
    known = true;
  }
  return answer;
}
