#pragma once
// A file that is written beside its place and takes it once it is whole. Until
// then, and if it never is, what stood there stays.

#include "base/PathParts.h"
#include "base/win.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <io.h>
#include <string>
#include <sys/stat.h>
#include <utility>

class FileBeside {
 public:
  // Makes an empty file, under a name that nobody has, in the folder of `target`.
  // The latter is in the ANSI code page. A name of ours takes what room the folder
  // leaves it: the system's own temporary names need twelve characters.
  explicit FileBeside(const std::string& target) : target_(target) {
    const std::string folder(FolderOf(target));
    if (folder.size() >= kLongestPath) return;
    const std::size_t room = kLongestPath - folder.size();
    for (int n = 0; n < kTries && path_.empty(); ++n) {
      std::string path = folder + (std::to_string(n) + ".vel.tmp").substr(0, room);
      if (MakeNew(path)) path_ = std::move(path);
      else if (errno != EEXIST) return;
    }
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
  static constexpr std::size_t kLongestPath = MAX_PATH - 1;  // without its NUL
  static constexpr int kTries = 1000;  // each name taken is of a run that was cut short

  // False, with the reason in errno, if it can't be made or exists.
  static bool MakeNew(const std::string& path) {
    const int file = _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL, _S_IREAD | _S_IWRITE);
    return file != -1 && _close(file) == 0;
  }

  std::string target_;
  std::string path_;
};
