#pragma once
// A clock that stands still until the test moves it. While it lives, the code
// linked into the test program reads it through QueryPerformanceCounter,
// timeGetTime and GetTickCount, as far as the program calls them. The counter's
// frequency stays the real one, so stopwatches that know it already agree.
//
// Code that waits for the clock to move would wait for ever.

#include "support/ImportHook.h"

#include <cstdint>
#include <memory>

namespace support {

class FakeClock {
 public:
  explicit FakeClock(std::uint32_t startMs = 1'000'000);
  ~FakeClock();
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  void Advance(double ms);
  double NowMs() const { return nowMs_; }
  std::uint32_t Ticks() const;       // what timeGetTime and GetTickCount say
  std::int64_t Counter() const;      // what QueryPerformanceCounter says

 private:
  struct Hooks;
  double nowMs_;
  std::int64_t frequency_;
  std::unique_ptr<Hooks> hooks_;
};

}  // namespace support
