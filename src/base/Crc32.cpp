#include "base/Crc32.h"

#include "base/FileUtilities.h"
#include "base/win_owned.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::uint32_t kStart = 0xFFFFFFFF;
constexpr DWORD kBlockBytes = 4096;
// A multiple of the system's granularity, at which every view has to begin.
constexpr std::uint32_t kViewBytes = 0xA00000;

constexpr std::array<std::uint32_t, 256> MakeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ (value & 1 ? 0xEDB88320 : 0);
    table[byte] = value;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

constexpr std::uint32_t Next(std::uint32_t value, unsigned char byte) {
  return (value >> 8) ^ kTable[(value & 255) ^ byte];
}

void AddByIndex(const unsigned char* bytes, std::size_t size, std::uint32_t& value) {
  for (std::size_t n = 0; n < size; ++n) value = Next(value, bytes[n]);
}

void AddByPointer(const unsigned char* bytes, std::size_t size, std::uint32_t& value) {
  std::uint32_t running = value;
  for (const unsigned char* end = bytes + size; bytes != end; ++bytes)
    running = Next(running, *bytes);
  value = running;
}

void Unmap(const void* view) { UnmapViewOfFile(view); }
using View = Owned<const void*, Unmap>;

// Null if it can't be opened.
KernelHandle Open(const char* fileName) {
  return OwnFile(CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                             FILE_FLAG_SEQUENTIAL_SCAN | FILE_ATTRIBUTE_READONLY |
                                 FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                 FILE_ATTRIBUTE_ARCHIVE,
                             nullptr));
}

using Add = void (*)(const unsigned char* bytes, std::size_t size, std::uint32_t& value);

std::uint32_t SumBlocks(HANDLE file, Add add, std::uint32_t& value) {
  unsigned char block[kBlockBytes];
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(file, block, sizeof block, &read, nullptr)) return GetLastError();
    if (read == 0) return ERROR_SUCCESS;
    add(block, read, value);
  }
}

std::uint32_t SumViews(HANDLE file, std::uint32_t& value) {
  std::uint64_t size = 0;
  if (!GetFileSize64(file, size)) return ERROR_BAD_LENGTH;
  if (size == 0) return ERROR_SUCCESS;  // nothing to map
  const KernelHandle mapping(CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 0, nullptr));
  if (!mapping) return GetLastError();
  for (std::uint64_t at = 0; at < size;) {
    const auto bytes = static_cast<std::uint32_t>(std::min<std::uint64_t>(size - at, kViewBytes));
    const View view(MapViewOfFile(mapping.get(), FILE_MAP_READ, static_cast<DWORD>(at >> 32),
                                  static_cast<DWORD>(at), bytes));
    if (!view) return GetLastError();
    AddByIndex(static_cast<const unsigned char*>(view.get()), bytes, value);
    at += bytes;
  }
  return ERROR_SUCCESS;
}

template <class Sum>
std::uint32_t FileCrc(const char* fileName, std::uint32_t& crc, Sum sum) {
  std::uint32_t value = kStart;
  const KernelHandle file = Open(fileName);
  const std::uint32_t error = file ? sum(file.get(), value) : GetLastError();
  crc = ~value;
  return error;
}

}  // namespace

std::uint32_t CCrc32Static::FileCrc32Win32(const char* fileName, std::uint32_t& crc) {
  return FileCrc(fileName, crc, [](HANDLE file, std::uint32_t& value) {
    return SumBlocks(file, AddByIndex, value);
  });
}

std::uint32_t CCrc32Static::FileCrc32Assembly(const char* fileName, std::uint32_t& crc) {
  return FileCrc(fileName, crc, [](HANDLE file, std::uint32_t& value) {
    return SumBlocks(file, AddByPointer, value);
  });
}

std::uint32_t CCrc32Static::FileCrc32Filemap(const char* fileName, std::uint32_t& crc) {
  return FileCrc(fileName, crc, SumViews);
}

bool CheckFileCrc(const char* fileName, std::uint32_t expected) {
  std::uint32_t crc = 0;
  return CCrc32Static::FileCrc32Win32(fileName, crc) == ERROR_SUCCESS && crc == expected;
}
