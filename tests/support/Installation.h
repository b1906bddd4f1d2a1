#pragma once
// A small installation that the program's own check finds good: stand-ins for all
// files that chk.sum covers. The copy in the Windows folder is a real one, so that
// other processes find it, too; it goes with this object.

#include "support/TempFolder.h"

#include <string>

namespace support {

class Installation {
 public:
  Installation();
  ~Installation();
  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;

  // With the trailing backslash.
  std::string Folder() const { return folder_.Path() + "\\"; }
  // Changes a file of the folder; chk.sum stays as it is.
  void Damage(const std::string& name) const;

 private:
  TempFolder folder_;
};

}  // namespace support
