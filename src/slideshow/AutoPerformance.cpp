#include "slideshow/AutoPerformance.h"

#include "settings/Settings.h"
#include "slideshow/FrameRate.h"
#include "slideshow/Slideshow.h"

namespace {

constexpr float kSlowFps = 20.0f;

bool IsSlow() { return AverageFps < kSlowFps; }

// The bounds themselves lie outside.
bool RunIsBetween(double afterMs, double beforeMs) { return RunMs > afterMs && RunMs < beforeMs; }

// The second that begins when the slide of that number has been on the screen
// for a while.
bool SlideHasStood(double slide, double delaySeconds) {
  const double due = slide * delaySeconds * 1000.0 + 3000.0;
  return RunIsBetween(due, due + 1000.0);
}

}  // namespace

// The windows may overlap if the delay is short: the first of the three that fits counts.
void AdjustQuality(SaverSettings& settings, Slideshow& show) {
  if (!settings.AutoPerformance || settings.FastMode) return;
  const double delay = settings.ImageDelay;
  if (RunIsBetween(5000, 6000)) {
    if (!IsSlow()) return;
    show.SetCramImages(true);
    show.SetCramSize(1536);
  } else if (SlideHasStood(1, delay)) {
    if (IsSlow()) show.SetCramSize(1024);
  } else if (SlideHasStood(2, delay)) {
    if (IsSlow()) show.SetCramSize(512);
    settings.AutoPerformance = 0;
  }
}
