#pragma once
#pragma GCC system_header  // #include_next is an extension
// The system's header, and the Windows run time's full path of a file: it
// needs no such file, and ".\" is the current folder.
#include_next <stdlib.h>

#include <cstring>
#include <string>
#include <unistd.h>

inline char* _fullpath(char* full, const char* path, std::size_t size) {
  if (std::strncmp(path, ".\\", 2) == 0) path += 2;
  std::string result = path;
  if (result.empty() || result[0] != '/') {
    char* folder = getcwd(nullptr, 0);
    result = std::string(folder) + (result.empty() ? "" : "/") + result;
    free(folder);
  }
  if (result.size() >= size) return nullptr;
  return std::strcpy(full, result.c_str());
}
