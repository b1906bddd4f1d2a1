#pragma once
// Owner of an open file of the C run time.

#include <cstdio>
#include <memory>

struct StdFileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Null for a file that couldn't be opened. What must know whether the last bytes
// reached the file releases it and calls fclose itself.
using StdFile = std::unique_ptr<std::FILE, StdFileCloser>;
