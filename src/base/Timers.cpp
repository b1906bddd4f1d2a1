#include "base/Timers.h"

#include "base/win.h"

#include <mmsystem.h>

std::int64_t CPerfTimer::Frequency = 0;
std::int64_t CPerfTimer::Adjust = 0;

namespace {

std::int64_t Counter() {
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  return now.QuadPart;
}

// 0 where the machine has no performance counter.
std::int64_t CounterFrequency() {
  LARGE_INTEGER frequency{};
  return QueryPerformanceFrequency(&frequency) ? frequency.QuadPart : 0;
}

}  // namespace

bool CPerfTimer::HasCounter() { return CounterFrequency() != 0; }

CPerfTimer::CPerfTimer(bool startNow) {
  if (Frequency == 0) Calibrate();
  if (startNow) start = Counter();
}

CPerfTimer::CPerfTimer(const CPerfTimer& other) { CopyFrom(other); }

CPerfTimer& CPerfTimer::operator=(const CPerfTimer& other) {
  if (this != &other) CopyFrom(other);
  return *this;
}

void CPerfTimer::CopyFrom(const CPerfTimer& other) {
  other.Lock();
  Lock();
  start = other.start;
  Unlock();
  other.Unlock();
}

void CPerfTimer::Calibrate() {
  Frequency = CounterFrequency();
  if (Frequency == 0) Frequency = 1;
  Adjust = 0;
  CPerfTimer pair;
  pair.Start();
  pair.Stop();
  Adjust = pair.start;
}

void CPerfTimer::Start(bool reset) {
  const std::int64_t now = Counter();
  Lock();
  start = !reset && start < 0 ? start + now : now;
  Unlock();
}

void CPerfTimer::Stop() {
  Lock();
  if (start > 0) {
    start -= Counter();
    start = start >= Adjust ? 0 : start - Adjust;
  }
  Unlock();
}

double CPerfTimer::Elapsed() const {
  CPerfTimer copy(*this);
  copy.Stop();
  return static_cast<double>(-copy.start) * 1000.0 / static_cast<double>(Frequency);
}

void WaitMs(float ms) {
  if (!CPerfTimer::HasCounter()) return Sleep(static_cast<DWORD>(ms > 0 ? ms : 0));
  CPerfTimer timer;
  timer.Start();
  while (timer.Elapsed() < ms) {
  }
}

IntervalTimer::IntervalTimer() {
  frequency = CounterFrequency();
  useCounter = frequency != 0;
  if (useCounter) {
    counterAtStart = lastCounter = Counter();
    tickSeconds = static_cast<float>(1.0 / static_cast<double>(frequency));
  } else {
    frequency = 1000;
    tickSeconds = 0.001f;
  }
}

std::int32_t IntervalTimer::ElapsedMs() {
  // By way of 64 bits: the fallback's first reading may not fit into 31, nor
  // does a span of the counter that is longer than 24 days.
  return static_cast<std::int32_t>(static_cast<std::int64_t>(ElapsedMsExact()));
}

double IntervalTimer::ElapsedMsExact() {
  if (!useCounter) return TicksSinceLast();
  const std::int64_t now = Counter();
  const std::int64_t delta = now - lastCounter;
  lastCounter = now;
  return static_cast<double>(delta) / static_cast<double>(frequency) * 1000.0;
}

// The first reading counts from 0 and is large. In 32 bits, since timeGetTime
// starts anew every 49.7 days.
std::uint32_t IntervalTimer::TicksSinceLast() {
  const std::uint32_t now = timeGetTime();
  const std::uint32_t delta = now - static_cast<std::uint32_t>(lastCounter);
  lastCounter = now;
  return delta;
}
