#include "base/FileUtilities.h"

#include "base/win_owned.h"

#include <cstring>
#include <string>

namespace {

inline void CloseFind(HANDLE h) { FindClose(h); }
using FindHandle = Owned<HANDLE, CloseFind>;

bool IsDotEntry(const char* name) { return !std::strcmp(name, ".") || !std::strcmp(name, ".."); }

std::string WithSeparator(const char* folder) {
  std::string path = folder;
  if (path.back() != '\\') path += '\\';
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

bool PathExists(const char* path) { return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES; }

int DeleteFolderContents(const char* folder) {
  if (!folder || !*folder) return 0;
  const std::string base = WithSeparator(folder);
  WIN32_FIND_DATAA entry{};
  const HANDLE first = FindFirstFileA((base + "*.*").c_str(), &entry);
  if (first == INVALID_HANDLE_VALUE) return 0;
  const FindHandle search(first);
  do {
    if (!IsDotEntry(entry.cFileName)) DeleteEntry(base + entry.cFileName, entry.dwFileAttributes);
  } while (FindNextFileA(search.get(), &entry));
  return 1;
}
