#include "sound/voice.h"

#include "sound/stereo.h"

#include <algorithm>
#include <new>
#include <utility>

namespace sound {

namespace {

constexpr int kResamplingMs = 50;  // more than a resampler looks ahead

}  // namespace

Voice::Voice(std::unique_ptr<Decoder> decoder, int rate)
    : decoder_(std::move(decoder)), rate_(rate) {}

bool Voice::HasSound() {
  while (taken_ == ready_.size())
    if (!Refill()) return false;
  return true;
}

std::size_t Voice::Read(float* stereo, std::size_t frames) {
  std::size_t wanted = 2 * frames;
  while (wanted > 0 && HasMore()) {
    const std::size_t size = std::min(wanted, ready_.size() - taken_);
    stereo = std::copy_n(ready_.begin() + static_cast<std::ptrdiff_t>(taken_), size, stereo);
    taken_ += size;
    wanted -= size;
  }
  return frames - wanted / 2;
}

bool Voice::IsLate(std::size_t frames) const {
  if (ready_.size() - taken_ >= 2 * frames) return false;
  const auto wanted = static_cast<std::int64_t>(frames) * 1000 / rate_ + kResamplingMs;
  return decoder_->IsLate(static_cast<int>(wanted));
}

// A sound for which memory runs out ends there.
bool Voice::HasMore() try {
  return HasSound();
} catch (const std::bad_alloc&) {
  return false;
}

bool Voice::Rewind() {
  resampler_.reset();
  fromRate_ = 0;
  ready_.clear();
  taken_ = 0;
  return decoder_->Rewind();
}

// Makes more ready; false at the end.
bool Voice::Refill() {
  ready_.clear();
  taken_ = 0;
  if (!decoder_->Decode(block_) || block_.rate < kLowestRate || block_.rate > kHighestRate)
    return EndSound();
  Take(block_);
  return true;
}

void Voice::Take(const AudioBlock& block) {
  if (!resampler_ || block.rate != fromRate_) {
    if (resampler_) resampler_->Finish(ready_);
    resampler_.emplace(block.rate, rate_);
    fromRate_ = block.rate;
  }
  stereo_.clear();
  AppendStereo(block, stereo_);
  resampler_->Process(stereo_.data(), stereo_.size() / 2, ready_);
}

// What the resampler still holds comes last.
bool Voice::EndSound() {
  if (!resampler_) return false;
  resampler_->Finish(ready_);
  resampler_.reset();
  return !ready_.empty();
}

}  // namespace sound
