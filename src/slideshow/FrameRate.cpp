#include "slideshow/FrameRate.h"

#include <algorithm>

std::int32_t FpsFrames = 0;
std::int32_t FpsMs = 0;
std::int32_t RunMs = 0;
std::int32_t FpsSamples = 0;
float FpsNow = 0;
float FpsSum = 0;
float AverageFps = 100.0f;

namespace {

constexpr std::int32_t kSampleMs = 250;
// A machine may stand still between two frames, and a run last longer than its
// milliseconds can be counted.
constexpr double kLongestMs = 1e9;

std::int32_t Sum(std::int32_t ms, double frameMs) {
  return static_cast<std::int32_t>(std::min(ms + frameMs, kLongestMs));
}

}  // namespace

void CountFrame(double frameMs) {
  ++FpsFrames;
  FpsMs = Sum(FpsMs, frameMs);
  RunMs = Sum(RunMs, frameMs);
}

void TakeSample() {
  if (FpsMs < kSampleMs) return;
  FpsNow = static_cast<float>(1000.0 / FpsMs * FpsFrames);
  FpsMs -= kSampleMs;
  ++FpsSamples;
  FpsFrames = 0;
  FpsSum += FpsNow;
  AverageFps = FpsSum / static_cast<float>(FpsSamples);
}
