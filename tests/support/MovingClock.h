#pragma once
// A clock that tests don't have to wait for. It stands still but for two
// things: each reading of the counter moves it a little, so that a busy wait
// comes to its end, and Sleep moves it by its argument instead of sleeping.

#include "support/FakeClock.h"
#include "support/ImportHook.h"

#include <functional>

namespace support {

class MovingClock {
 public:
  explicit MovingClock(double msPerReading = 0.001) : msPerReading_(msPerReading) {}

  void Advance(double ms) { clock_.Advance(ms); }
  double NowMs() const { return clock_.NowMs(); }
  // Milliseconds that were slept in all.
  double SleptMs() const { return sleptMs_; }

 private:
  BOOL Read(LARGE_INTEGER* now) {
    clock_.Advance(msPerReading_);
    now->QuadPart = clock_.Counter();
    return TRUE;
  }
  void SleepFor(DWORD ms) {
    clock_.Advance(ms);
    sleptMs_ += ms;
  }

  double msPerReading_;
  double sleptMs_ = 0;
  FakeClock clock_;
  LambdaHook<decltype(&QueryPerformanceCounter), std::function<BOOL(LARGE_INTEGER*)>> counter_{
      "kernel32.dll", "QueryPerformanceCounter", [this](LARGE_INTEGER* now) { return Read(now); }};
  LambdaHook<decltype(&Sleep), std::function<void(DWORD)>> sleep_{
      "kernel32.dll", "Sleep", [this](DWORD ms) { SleepFor(ms); }};
};

}  // namespace support
