#include "sound/resampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace sound {

namespace {

constexpr int kPlaces = 512;  // between two input frames; weights in between are interpolated
constexpr double kZeroCrossings = 24;  // of the sinc on each side: how sharp the cut is
constexpr double kWindowShape = 9.0;   // of a Kaiser window: about 90 dB down beyond the cut
// The cut begins below the highest frequency that the lower of the two rates
// holds, so that it is over soon behind that.
constexpr double kPassBand = 0.95;

// The modified Bessel function of order 0, by its series.
double Bessel0(double x) {
  double sum = 1, term = 1;
  for (int k = 1; term > 1e-12 * sum; ++k) {
    term *= (x / (2 * k)) * (x / (2 * k));
    sum += term;
  }
  return sum;
}

double Sinc(double x) {
  const double angle = std::numbers::pi * x;
  return std::fabs(angle) < 1e-9 ? 1 : std::sin(angle) / angle;
}

const double kWindowPeak = Bessel0(kWindowShape);

double Window(double x) {
  return x >= 1 ? 0 : Bessel0(kWindowShape * std::sqrt(1 - x * x)) / kWindowPeak;
}

}  // namespace

Resampler::Resampler(int fromRate, int toRate) : fromRate_(fromRate), toRate_(toRate) {
  const double cut = kPassBand * std::min(1.0, static_cast<double>(toRate) / fromRate);
  halfWidth_ = static_cast<int>(std::ceil(kZeroCrossings / cut));
  inputStart_ = -halfWidth_;
  if (fromRate_ == toRate_) return;
  // Silence stands before the first sample.
  input_.assign(static_cast<std::size_t>(halfWidth_) * 2, 0.0f);
  MakeKernel(cut);
}

void Resampler::MakeKernel(double cut) {
  kernel_.reserve(static_cast<std::size_t>((kPlaces + 1) * 2 * halfWidth_));
  for (int place = 0; place <= kPlaces; ++place)
    for (int tap = 1 - halfWidth_; tap <= halfWidth_; ++tap) {
      const double x = std::fabs(tap - static_cast<double>(place) / kPlaces);
      kernel_.push_back(static_cast<float>(cut * Sinc(cut * x) * Window(x / halfWidth_)));
    }
}

void Resampler::Process(const float* frames, std::size_t count, std::vector<float>& result) {
  if (fromRate_ == toRate_) {
    result.insert(result.end(), frames, frames + 2 * count);
    return;
  }
  input_.insert(input_.end(), frames, frames + 2 * count);
  inputCount_ += static_cast<std::int64_t>(count);
  Make(result, inputCount_ - halfWidth_);
  DropOldInput();
}

void Resampler::Finish(std::vector<float>& result) {
  if (fromRate_ == toRate_) return;
  input_.resize(input_.size() + static_cast<std::size_t>(halfWidth_) * 2, 0.0f);
  Make(result, inputCount_);
}

// Makes the results that lie before input frame `untilFrame`.
void Resampler::Make(std::vector<float>& result, std::int64_t untilFrame) {
  while (position_ < untilFrame) {
    MakeFrame(result);
    const std::int64_t parts = static_cast<std::int64_t>(fraction_) + fromRate_;
    position_ += parts / toRate_;
    fraction_ = static_cast<int>(parts % toRate_);
  }
}

void Resampler::MakeFrame(std::vector<float>& result) const {
  const double place = static_cast<double>(fraction_) / toRate_ * kPlaces;
  const auto row = static_cast<std::size_t>(place);
  const auto part = static_cast<float>(place - static_cast<double>(row));
  const auto taps = static_cast<std::size_t>(2 * halfWidth_);
  const float* here = kernel_.data() + row * taps;
  const float* next = here + taps;
  const float* frame = input_.data() + 2 * (position_ - halfWidth_ + 1 - inputStart_);
  float left = 0, right = 0;
  for (std::size_t tap = 0; tap < taps; ++tap) {
    const float weight = here[tap] + part * (next[tap] - here[tap]);
    left += weight * frame[2 * tap];
    right += weight * frame[2 * tap + 1];
  }
  result.push_back(left);
  result.push_back(right);
}

// Keeps what the next result needs.
void Resampler::DropOldInput() {
  const std::int64_t needed = position_ - halfWidth_ + 1;
  const std::int64_t old = std::clamp<std::int64_t>(needed - inputStart_, 0,
                                                    static_cast<std::int64_t>(input_.size() / 2));
  input_.erase(input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(2 * old));
  inputStart_ += old;
}

}  // namespace sound
