#pragma once
// What the show benchmark measures, told line by line on stdout; run.py turns
// the lines into tables and a plot. Nothing is written while a session runs.

#include "base/Timers.h"
#include "base/win.h"

#include <psapi.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

// Frame times of one series, with room made beforehand.
class Samples {
 public:
  explicit Samples(const char* series) : series_(series) { frames_.reserve(kRoom); }

  void Add(const char* kind, double ms) {
    if (frames_.size() < kRoom) frames_.push_back({kind, ms});
  }
  void Print() const {
    for (const Frame& frame : frames_)
      std::printf("frame %s %s %.4f\n", series_, frame.kind, frame.ms);
  }

 private:
  static constexpr std::size_t kRoom = 100'000;
  struct Frame {
    const char* kind;
    double ms;
  };
  const char* series_;
  std::vector<Frame> frames_;
};

// Milliseconds since some moment, untruncated.
class Clock {
 public:
  double Ms() const { return timer_.Elapsed(); }

 private:
  CPerfTimer timer_{true};
};

// What the process holds now and at its peak.
inline PROCESS_MEMORY_COUNTERS Memory() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters;
}

inline void PrintPeakMemory() {
  std::printf("value memory_peak %.0f\n", static_cast<double>(Memory().PeakWorkingSetSize));
}
