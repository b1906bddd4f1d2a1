#pragma once
// The parts of a path, as the C run time splits it: a drive ends with its colon,
// a folder with the last slash of either kind, and an extension begins at the
// last dot behind that. Each part is a piece of the path that was given, also if
// it is empty.
//
// Paths are read character by character: in the code pages of East Asia one may
// have two bytes, the second of them that of a backslash.

#include "base/win.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

// The last character of `path` that is one of `wanted`; npos if there is none.
inline std::size_t FindLastOf(std::string_view path, std::string_view wanted) {
  std::size_t last = std::string_view::npos;
  for (std::size_t n = 0; n < path.size(); ++n) {
    if (IsDBCSLeadByte(static_cast<BYTE>(path[n]))) ++n;
    else if (wanted.find(path[n]) != std::string_view::npos) last = n;
  }
  return last;
}

inline bool HasDrive(std::string_view path) { return path.size() > 1 && path[1] == ':'; }

// "C:\x\" of "C:\x\a.mp3", "C:" of "C:a.mp3"; empty for a bare name.
inline std::string_view FolderOf(std::string_view path) {
  const std::size_t drive = HasDrive(path) ? 2 : 0;
  const std::size_t slash = FindLastOf(path, "\\/");
  const bool hasFolder = slash != std::string_view::npos && slash >= drive;
  return path.substr(0, hasFolder ? slash + 1 : drive);
}

// "C:\a.mp3" has one, and "\a.mp3"; neither "C:a.mp3" nor "a.mp3" has.
inline bool HasFolder(std::string_view path) {
  return FolderOf(path).size() > (HasDrive(path) ? 2 : 0);
}

// "a.mp3"
inline std::string_view FileNameOf(std::string_view path) {
  return path.substr(FolderOf(path).size());
}

// "a"
inline std::string_view BaseNameOf(std::string_view path) {
  const std::string_view name = FileNameOf(path);
  return name.substr(0, name.rfind('.'));
}

// ".mp3", with its dot; empty if there is none.
inline std::string_view ExtensionOf(std::string_view path) {
  const std::string_view name = FileNameOf(path);
  return name.substr(std::min(name.rfind('.'), name.size()));
}
