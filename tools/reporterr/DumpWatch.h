#pragma once
// Waits for the dump of the crash that started this program. The crashing
// program starts the tool first and writes the dump afterwards, or fails to; an
// older dump may lie there all the while.

#include "base/win_owned.h"
#include "reporterr/DumpFile.h"

#include <string>

class DumpWatch {
 public:
  enum class State {
    Waiting,  // it may still come
    Ready,    // it is there, whole
    Missing,  // there is none, and none will come
  };

  // Follows the program that has started this one, if that is the screen saver.
  explicit DumpWatch(const std::string& dumpFile);

  // Whether a crash has started the tool, rather than the user. Without a crash
  // any whole dump will do.
  bool FollowsCrash() const { return followsCrash_; }
  // To be called now and then until it isn't Waiting, which takes two minutes at
  // most.
  State Look() const;

 private:
  void FindCrash();
  bool IsOver() const;
  bool IsThere() const;

  std::string dumpFile_;
  bool followsCrash_ = false;
  KernelHandle crashed_;      // null without a crash, and if the program has ended
  FileTime started_ = 0;      // when this program was
  DWORD waitingSince_ = 0;    // of GetTickCount
};
