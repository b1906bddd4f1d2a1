#pragma once
// The turn to work on something that several threads change: one thread at a
// time has it, and may take it again. A thread that must not wait asks, and does
// without if the answer is no.

#include <mutex>

class Turn {
 public:
  // Waits for it.
  void Take() {
    lock_.lock();
    ++depth_;
  }
  // False if any thread has it, the calling one included.
  bool TryTakeFirst() {
    if (!lock_.try_lock()) return false;
    if (depth_++ == 0) return true;
    Give();
    return false;
  }
  void Give() {
    --depth_;
    lock_.unlock();
  }

 private:
  std::recursive_mutex lock_;
  int depth_ = 0;  // how often its owner has it
};
