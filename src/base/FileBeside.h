#pragma once
// A file that is written beside its place and takes it once it is whole. Until
// then, and if it never is, what stood there stays.

#include "base/PathParts.h"
#include "base/win.h"

#include <string>

class FileBeside {
 public:
  // Makes an empty file, under a name that nobody has, in the folder of `target`.
  // The latter is in the ANSI code page.
  explicit FileBeside(const std::string& target) : target_(target) {
    std::string folder(FolderOf(target));
    if (folder.empty() || folder.back() == ':') folder += '.';
    char path[MAX_PATH];
    if (GetTempFileNameA(folder.c_str(), "vel", 0, path)) path_ = path;
  }
  // Deletes it unless it has taken its place. It has to be closed by then.
  ~FileBeside() {
    if (!path_.empty()) DeleteFileA(path_.c_str());
  }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;

  // Where to write; empty if no file could be made there.
  const std::string& Path() const { return path_; }

  // Puts the file, which is closed, in its place. False if that can't be.
  [[nodiscard]] bool Commit() {
    if (!MoveFileExA(path_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING)) return false;
    path_.clear();
    return true;
  }

 private:
  std::string target_;
  std::string path_;
};
