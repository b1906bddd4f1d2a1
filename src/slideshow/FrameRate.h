#pragma once
// Counts frames and keeps the show's rate. Samples of at least a quarter of a
// second are taken, and the average is the plain mean of all samples of the
// session, so that a slow start stays in it. Main thread.

#include <cstdint>

extern std::int32_t FpsFrames;   // frames of the sample under way
extern std::int32_t FpsMs;       // milliseconds of the sample under way
extern std::int32_t RunMs;       // milliseconds since the main loop began
extern std::int32_t FpsSamples;  // samples so far
extern float FpsNow;             // rate of the last sample, frames a second
extern float FpsSum;             // of all samples
extern float AverageFps;         // frames a second; 100 until the first sample

// Counts one frame that took `frameMs` milliseconds.
void CountFrame(double frameMs);
// Ends the sample under way if it is long enough.
void TakeSample();
