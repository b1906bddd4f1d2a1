#include "base/PathHelpers.h"

#include "base/PathParts.h"
#include "base/win.h"
#include "base/win_owned.h"

#include <cstdlib>
#include <cstring>
#include <shlwapi.h>

namespace {

constexpr std::uint32_t kCommonControls6 = 0x60000;
constexpr DWORD kHighColourBits = 16;

// One whose file name or extension is longer than Windows allows has no parts.
std::string_view Splittable(const char* path) {
  const std::string_view text = path ? path : "";
  const bool fits = BaseNameOf(text).size() < _MAX_FNAME && ExtensionOf(text).size() < _MAX_EXT;
  return fits ? text : "";
}

// The part may lie in the buffer itself: an answer may be split again.
const char* Put(char* buffer, std::string_view part) {
  std::memmove(buffer, part.data(), part.size());
  buffer[part.size()] = 0;
  return buffer;
}

DWORD DisplayDepth() {
  DEVMODEA mode{};
  mode.dmSize = sizeof mode;
  return EnumDisplaySettingsA(nullptr, ENUM_CURRENT_SETTINGS, &mode) ? mode.dmBitsPerPel : 0;
}

}  // namespace

const char* GetFileNameAndExt(const char* path) {
  static char text[_MAX_FNAME + _MAX_EXT];
  return Put(text, FileNameOf(Splittable(path)));
}

const char* GetFileBaseName(const char* path) {
  static char text[_MAX_FNAME];
  return Put(text, BaseNameOf(Splittable(path)));
}

const char* GetFileExt(const char* path) {
  static char text[_MAX_EXT];
  return Put(text, ExtensionOf(Splittable(path)));
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
