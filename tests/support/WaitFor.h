#pragma once
// Waits for an event instead of a time: asks until the answer is yes.

#include <chrono>
#include <thread>

namespace support {

// Generous on purpose: it only ends a wait that will never come true.
inline constexpr std::chrono::seconds kWaitLimit{60};

// True as soon as `condition` holds; false if it didn't within the limit.
template <class Condition>
bool WaitFor(Condition condition, std::chrono::milliseconds limit = kWaitLimit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace support
