#pragma once
// The parts of a path, as the C run time splits it: a drive ends with its colon,
// a folder with the last slash of either kind, and an extension begins at the
// last dot behind that. Each part is a piece of the path that was given, also if
// it is empty.

#include <algorithm>
#include <cstddef>
#include <string_view>

inline bool HasDrive(std::string_view path) { return path.size() > 1 && path[1] == ':'; }

// "C:\x\" of "C:\x\a.mp3", "C:" of "C:a.mp3"; empty for a bare name.
inline std::string_view FolderOf(std::string_view path) {
  const std::size_t drive = HasDrive(path) ? 2 : 0;
  const std::size_t slash = path.find_last_of("\\/");
  const bool hasFolder = slash != std::string_view::npos && slash >= drive;
  return path.substr(0, hasFolder ? slash + 1 : drive);
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
