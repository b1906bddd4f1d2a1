#pragma once
// Changes the rate of two-channel sound by a windowed sinc. Portable.
//
// The first sample stays where it is in time: the result is neither earlier nor
// later than the original. Equal rates pass the samples through unchanged.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sound {

class Resampler {
 public:
  // Samples a second, both at least 1.
  Resampler(int fromRate, int toRate);

  // Takes the next frames, left and right side by side, and appends what can
  // be made of them so far.
  void Process(const float* frames, std::size_t count, std::vector<float>& result);
  // Appends the rest; the sound ends here.
  void Finish(std::vector<float>& result);

 private:
  void MakeKernel(double cut);
  void Make(std::vector<float>& result, std::int64_t untilFrame);
  void MakeFrame(std::vector<float>& result) const;
  void DropOldInput();

  int fromRate_;
  int toRate_;
  int halfWidth_;              // of the kernel, input frames
  std::vector<float> kernel_;  // a row of weights for each place between two input frames
  std::vector<float> input_;  // frames from `inputStart_` on
  std::int64_t inputStart_;   // frames since the sound's start; negative before it
  std::int64_t inputCount_ = 0;  // frames taken
  std::int64_t position_ = 0;  // of the next result, input frames ...
  int fraction_ = 0;           // ... and this many parts of `toRate_`
};

}  // namespace sound
