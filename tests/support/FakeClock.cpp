#include "support/FakeClock.h"

#include <cmath>

#include <mmsystem.h>

namespace support {
namespace {

FakeClock* current = nullptr;

BOOL WINAPI FakeCounter(LARGE_INTEGER* now) {
  now->QuadPart = current->Counter();
  return TRUE;
}
DWORD WINAPI FakeTicks() { return current->Ticks(); }

std::int64_t RealFrequency() {
  LARGE_INTEGER frequency{};
  REAL_IMPORT("kernel32.dll", QueryPerformanceFrequency)(&frequency);
  return frequency.QuadPart;
}

template <class Function>
std::unique_ptr<ImportHook> HookIfImported(const char* dll, const char* name, Function function) {
  return ImportHook::Exists(dll, name) ? std::make_unique<ImportHook>(dll, name, function)
                                       : nullptr;
}

}  // namespace

struct FakeClock::Hooks {
  std::unique_ptr<ImportHook> counter =
      HookIfImported("kernel32.dll", "QueryPerformanceCounter", FakeCounter);
  std::unique_ptr<ImportHook> mediaTicks = HookIfImported("winmm.dll", "timeGetTime", FakeTicks);
  std::unique_ptr<ImportHook> systemTicks =
      HookIfImported("kernel32.dll", "GetTickCount", FakeTicks);
};

FakeClock::FakeClock(std::uint32_t startMs) : nowMs_(startMs), frequency_(RealFrequency()) {
  current = this;
  hooks_ = std::make_unique<Hooks>();
}

FakeClock::~FakeClock() {
  hooks_.reset();
  current = nullptr;
}

void FakeClock::Advance(double ms) { nowMs_ += ms; }

std::uint32_t FakeClock::Ticks() const {
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(nowMs_));
}

std::int64_t FakeClock::Counter() const {
  return std::llround(nowMs_ / 1000.0 * static_cast<double>(frequency_));
}

}  // namespace support
