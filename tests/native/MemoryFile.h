#pragma once
// A file in memory that has a path, for readers that take one.

#include "fuzz.h"

#include <string>
#include <sys/mman.h>
#include <unistd.h>

class MemoryFile {
 public:
  MemoryFile() : fd_(memfd_create("input", 0)), path_("/proc/self/fd/" + std::to_string(fd_)) {
    Require(fd_ != -1);
  }
  ~MemoryFile() { close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  void Fill(const std::uint8_t* data, std::size_t size) const {
    Require(ftruncate(fd_, 0) == 0);
    Require(pwrite(fd_, data, size, 0) == static_cast<ssize_t>(size));
  }
  const char* Path() const { return path_.c_str(); }

 private:
  int fd_;
  std::string path_;
};
