#pragma once
// A decoder's sound as the mixer takes it: two channels at the output's rate.
// Portable.

#include "sound/decoders.h"
#include "sound/resampler.h"

#include <memory>
#include <optional>
#include <vector>

namespace sound {

class Voice {
 public:
  // `rate` is the output's.
  Voice(std::unique_ptr<Decoder> decoder, int rate);

  // Whether there is any sound at all. Decodes its first piece.
  bool HasSound();
  // Writes up to `frames` frames, left and right side by side; fewer only at
  // the end. Doesn't throw.
  std::size_t Read(float* stereo, std::size_t frames);
  // Whether Read would give silence for some of so many frames because the sound
  // isn't there yet.
  bool IsLate(std::size_t frames) const;
  bool Rewind();

 private:
  bool HasMore();
  bool Refill();
  void Take(const AudioBlock& block);
  bool EndSound();

  std::unique_ptr<Decoder> decoder_;
  int rate_;
  int fromRate_ = 0;
  std::optional<Resampler> resampler_;
  std::vector<float> ready_;    // frames at the output's rate ...
  std::size_t taken_ = 0;       // ... of which this many samples are used
  std::vector<float> stereo_;
  AudioBlock block_;
};

}  // namespace sound
