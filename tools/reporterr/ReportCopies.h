#pragma once
// Copies of the log and the dump, so that what is sent is what was shown: the
// next start of the screen saver writes a new log over the old one. They go
// with this object.

#include <cstdint>
#include <string>

class ReportCopies {
 public:
  // Makes an empty folder of its own in the user's folder for temporary files, and
  // removes those of tools that ended without a chance to.
  ReportCopies();
  ~ReportCopies() { Remove(); }
  ReportCopies(const ReportCopies&) = delete;
  ReportCopies& operator=(const ReportCopies&) = delete;

  // The path of a fresh copy of `file`, under the same name; of `file` itself if it
  // can't be copied, as on a full disk. Empty if there is no such file.
  std::string Copy(const std::string& file) const;

  // Removes the copies and their folder, for an end that no destructor sees.
  void Remove() const;

 private:
  std::string folder_;  // with the trailing backslash
};
