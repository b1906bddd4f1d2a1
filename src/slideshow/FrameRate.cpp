#include "slideshow/FrameRate.h"

#include <algorithm>

std::int32_t FpsFrames = 0;
std::int32_t FpsMs = 0;
std::int32_t FpsSamples = 0;
float FpsNow = 0;
float FpsSum = 0;
float AverageFps = 100.0f;

namespace {

constexpr std::int32_t kSampleMs = 250;
constexpr double kLongestSampleMs = 1e9;  // a machine without a counter starts with a huge frame

}  // namespace

void CountFrame(double frameMs) {
  ++FpsFrames;
  FpsMs = static_cast<std::int32_t>(std::min(FpsMs + frameMs, kLongestSampleMs));
  if (FpsMs < kSampleMs) return;
  FpsNow = static_cast<float>(1000.0 / FpsMs * FpsFrames);
  FpsMs -= kSampleMs;
  ++FpsSamples;
  FpsFrames = 0;
  FpsSum += FpsNow;
  AverageFps = FpsSum / static_cast<float>(FpsSamples);
}
