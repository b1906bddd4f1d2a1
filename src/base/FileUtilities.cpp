#include "base/FileUtilities.h"

#include "base/PathParts.h"
#include "base/StdFile.h"
#include "base/win_owned.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

namespace {

// A name in `folder` that no readable file has; empty if all are taken.
std::string FreeName(const char* folder) {
  constexpr auto kLast = std::numeric_limits<std::int32_t>::max();
  for (auto count = std::numeric_limits<std::int32_t>::min(); count < kLast; ++count) {
    const std::string name = std::string(folder) + "\\" + std::to_string(count) + ".tmp";
    if (!FileExists(name.c_str())) return name;
  }
  return {};
}

bool WriteWhole(const std::string& path, const std::string& text) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && written;
}

bool IsDotEntry(const char* name) { return !std::strcmp(name, ".") || !std::strcmp(name, ".."); }

std::string WithSeparator(const char* folder) {
  std::string path = folder;
  if (FindLastOf(path, "\\") != path.size() - 1) path += '\\';
  return path;
}

void DeleteEntry(const std::string& path, DWORD attributes) {
  if (attributes & FILE_ATTRIBUTE_READONLY)
    SetFileAttributesA(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    DeleteFileA(path.c_str());
    return;
  }
  // What lies behind a junction isn't ours to delete.
  if (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) DeleteFolderContents(path.c_str());
  RemoveDirectoryA(path.c_str());
}

}  // namespace

bool FileExists(const char* path) { return path && StdFile(std::fopen(path, "rb")); }

bool PathExists(const char* path) { return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES; }

bool ForceDeleteFile(const char* path) {
  SetFileAttributesA(path, FILE_ATTRIBUTE_NORMAL);
  return DeleteFileA(path) != 0;
}

bool GetFileSize64(HANDLE file, std::uint64_t& size) {
  DWORD high = 0;
  SetLastError(ERROR_SUCCESS);
  const DWORD low = GetFileSize(file, &high);
  const bool known = low != INVALID_FILE_SIZE || GetLastError() == ERROR_SUCCESS;
  size = known ? std::uint64_t{high} << 32 | low : 0;
  return known;
}

bool IsFolderWritable(const char* folder) {
  if (!folder) return false;
  const std::string name = FreeName(folder);
  if (name.empty()) return false;
  const bool written = WriteWhole(name, name);
  DeleteFileA(name.c_str());
  return written;
}

int DeleteFolderContents(const char* folder) {
  if (!folder || !*folder) return 0;
  const std::string base = WithSeparator(folder);
  WIN32_FIND_DATAA entry{};
  const HANDLE first = FindFirstFileA((base + "*.*").c_str(), &entry);
  if (first == INVALID_HANDLE_VALUE) return 0;
  const FileSearch search(first);
  do {
    if (!IsDotEntry(entry.cFileName)) DeleteEntry(base + entry.cFileName, entry.dwFileAttributes);
  } while (FindNextFileA(search.get(), &entry));
  return 1;
}
