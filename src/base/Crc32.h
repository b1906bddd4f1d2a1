#pragma once
// CRC-32 of files, as in zlib and PNG: reflected, polynomial of IEEE 802.3. It
// tells whether an installed file is whole. Files of any size are read in pieces.

#include <cstddef>
#include <cstdint>

// Three ways that give the same sum. Each opens `fileName` for reading, puts its
// sum into `crc`, and returns 0 or a system error code. What can't be opened has
// the sum 0; after an error in the middle the sum is that of the bytes before it.
class CCrc32Static {
 public:
  virtual ~CCrc32Static() = default;

  // Blocks of 4096 bytes. The one to use.
  static std::uint32_t FileCrc32Win32(const char* fileName, std::uint32_t& crc);
  // The same blocks, by a loop over a pointer.
  static std::uint32_t FileCrc32Assembly(const char* fileName, std::uint32_t& crc);
  // The file mapped into memory, at most 10 MiB at a time.
  static std::uint32_t FileCrc32Filemap(const char* fileName, std::uint32_t& crc);
};

// True if the file can be read and has that sum.
bool CheckFileCrc(const char* fileName, std::uint32_t expected);
