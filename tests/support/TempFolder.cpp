// Two bodies: under Windows the entries are walked by hand, since they may be
// read-only or links to folders whose contents must stay; elsewhere the
// standard library knows both.

#include "support/TempFolder.h"

#include <filesystem>
#include <stdexcept>

#ifdef _WIN32
#include "base/win.h"
#else
#include <unistd.h>
#endif

namespace support {
namespace {

#ifdef _WIN32

constexpr char kSeparator = '\\';

std::string MakeFreshFolder() {
  char temp[MAX_PATH + 1] = "";
  GetTempPathA(sizeof temp, temp);
  static unsigned serial = 0;
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const std::string path = temp + std::string("velmora-test-") +
                             std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++serial);
    if (CreateDirectoryA(path.c_str(), nullptr)) return path;
  }
  throw std::runtime_error(std::string("can't make a folder in ") + temp);
}

void RemoveTree(const std::string& folder) {
  WIN32_FIND_DATAA entry{};
  const HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &entry);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const std::string name = entry.cFileName;
      if (name == "." || name == "..") continue;
      const std::string path = folder + "\\" + name;
      SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
      if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) DeleteFileA(path.c_str());
      else if (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
        RemoveDirectoryA(path.c_str());
      else RemoveTree(path);
    } while (FindNextFileA(search, &entry));
    FindClose(search);
  }
  RemoveDirectoryA(folder.c_str());
}

#else

constexpr char kSeparator = '/';

std::string MakeFreshFolder() {
  std::string path = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX").string();
  if (!mkdtemp(path.data())) throw std::runtime_error("can't make " + path);
  return path;
}

void RemoveTree(const std::string& folder) {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

#endif

}  // namespace

TempFolder::TempFolder() : path_(MakeFreshFolder()) {}

TempFolder::~TempFolder() { RemoveTree(path_); }

std::string TempFolder::File(std::string_view name) const {
  return path_ + kSeparator + std::string(name);
}

std::string TempFolder::Write(std::string_view name, const Bytes& bytes) const {
  std::string path = File(name);
  WriteWholeFile(path, bytes);
  return path;
}

std::string TempFolder::MakeFolder(std::string_view name) const {
  std::string path = File(name);
  if (!std::filesystem::create_directory(path)) throw std::runtime_error("can't make " + path);
  return path;
}

}  // namespace support
