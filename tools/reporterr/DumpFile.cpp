#include "reporterr/DumpFile.h"

#include "base/win_owned.h"

#include <dbghelp.h>

#include <algorithm>
#include <vector>

namespace {

constexpr std::uint32_t kSignature = 0x504D444D;  // "MDMP"
constexpr std::uint32_t kMostStreams = 1000;

KernelHandle OpenForReading(const std::string& path) {
  return OwnFile(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool ReadAll(HANDLE file, void* to, std::uint32_t size) {
  DWORD read = 0;
  return ReadFile(file, to, size, &read, nullptr) && read == size;
}

bool LiesWithin(const MINIDUMP_LOCATION_DESCRIPTOR& part, std::uint64_t size) {
  return std::uint64_t{part.Rva} + part.DataSize <= size;
}

bool ReadHead(HANDLE file, MINIDUMP_HEADER& head) {
  return ReadAll(file, &head, sizeof head) && head.Signature == kSignature &&
         head.NumberOfStreams > 0 && head.NumberOfStreams <= kMostStreams;
}

bool ReadDirectory(HANDLE file, const MINIDUMP_HEADER& head,
                   std::vector<MINIDUMP_DIRECTORY>& directory) {
  directory.resize(head.NumberOfStreams);
  LARGE_INTEGER at{};
  at.QuadPart = head.StreamDirectoryRva;
  return SetFilePointerEx(file, at, nullptr, FILE_BEGIN) &&
         ReadAll(file, directory.data(),
                 static_cast<std::uint32_t>(directory.size() * sizeof directory[0]));
}

}  // namespace

FileTime FileTimeOf(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FileTime WrittenAt(const std::string& path) {
  const KernelHandle file = OpenForReading(path);
  FILETIME written{};
  return file && GetFileTime(file.get(), nullptr, nullptr, &written) ? FileTimeOf(written) : 0;
}

bool IsWholeDump(const std::string& path) {
  const KernelHandle file = OpenForReading(path);
  LARGE_INTEGER size{};
  MINIDUMP_HEADER head{};
  std::vector<MINIDUMP_DIRECTORY> directory;
  return file && GetFileSizeEx(file.get(), &size) && ReadHead(file.get(), head) &&
         ReadDirectory(file.get(), head, directory) &&
         std::all_of(directory.begin(), directory.end(), [&](const MINIDUMP_DIRECTORY& entry) {
           return LiesWithin(entry.Location, static_cast<std::uint64_t>(size.QuadPart));
         });
}
