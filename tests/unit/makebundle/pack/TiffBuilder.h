#pragma once
// Builds EXIF blocks by hand, in either byte order, for the readers' tests.

#include "makebundle/pack/Bytes.h"

#include <cstdint>
#include <string>
#include <vector>

class TiffBuilder {
 public:
  explicit TiffBuilder(ByteOrder order);

  // Entries of the first directory, then those of the EXIF directory.
  TiffBuilder& Text(std::uint16_t tag, const std::string& text);          // ends with a NUL
  TiffBuilder& Short(std::uint16_t tag, std::uint16_t value);
  TiffBuilder& Long(std::uint16_t tag, std::uint32_t value);
  TiffBuilder& Raw(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                   const std::string& value);
  TiffBuilder& InExifDirectory();  // what follows goes there

  std::string Build() const;

 private:
  struct Entry {
    std::uint16_t tag, type;
    std::uint32_t count;
    std::string value;
  };
  std::string Number(std::uint64_t value, unsigned bytes) const;
  std::string Directory(const std::vector<Entry>& entries, std::size_t offset) const;

  ByteOrder order_;
  std::vector<Entry> main_, exif_;
  std::vector<Entry>* current_ = &main_;
};
