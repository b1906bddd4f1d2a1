#pragma once
// Automatic performance: a show that is slow while its first slides stand has
// its further pictures made smaller. Main thread.

struct SaverSettings;
class Slideshow;

// Looks at the run's time and the frame rate so far. In three windows of a
// second each, by RunMs, an average below 20 frames a second limits the pictures
// that `show` loads from now on; the first frame within the last one clears
// AutoPerformance in `settings`, in memory only. Direct3D path only.
void AdjustQuality(SaverSettings& settings, Slideshow& show);
