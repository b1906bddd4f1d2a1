#pragma once
// A fresh, empty folder that goes with all its contents when the object does.

#include "support/Bytes.h"

#include <string>
#include <string_view>

namespace support {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  // Full path without a separator at its end.
  const std::string& Path() const { return path_; }
  // Full path of `name` inside; nothing is made.
  std::string File(std::string_view name) const;
  // Both make it and return its full path.
  std::string Write(std::string_view name, const Bytes& bytes) const;
  std::string MakeFolder(std::string_view name) const;

 private:
  std::string path_;
};

}  // namespace support
