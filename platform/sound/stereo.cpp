#include "sound/stereo.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace sound {

namespace {

constexpr float kLargestSample = 16.0f;

enum Place : std::uint8_t { kLeft, kRight, kCentre, kBass, kSideLeft, kSideRight, kRear };

// Which speaker each channel is for, by their number: WAVE's order and Vorbis's.
constexpr Place kWaveOrder[][8] = {
    {kCentre},
    {kLeft, kRight},
    {kLeft, kRight, kCentre},
    {kLeft, kRight, kSideLeft, kSideRight},
    {kLeft, kRight, kCentre, kSideLeft, kSideRight},
    {kLeft, kRight, kCentre, kBass, kSideLeft, kSideRight},
    {kLeft, kRight, kCentre, kBass, kRear, kSideLeft, kSideRight},
    {kLeft, kRight, kCentre, kBass, kSideLeft, kSideRight, kSideLeft, kSideRight},
};
constexpr Place kVorbisOrder[][8] = {
    {kCentre},
    {kLeft, kRight},
    {kLeft, kCentre, kRight},
    {kLeft, kRight, kSideLeft, kSideRight},
    {kLeft, kCentre, kRight, kSideLeft, kSideRight},
    {kLeft, kCentre, kRight, kSideLeft, kSideRight, kBass},
    {kLeft, kCentre, kRight, kSideLeft, kSideRight, kRear, kBass},
    {kLeft, kCentre, kRight, kSideLeft, kSideRight, kSideLeft, kSideRight, kBass},
};

struct Gains {
  float left = 0;
  float right = 0;
};

// Sides and centre are 3 dB down, as is usual when surround sound is folded;
// the bass channel only doubles what the others have.
constexpr Gains GainsOf(Place place) {
  constexpr float half = 0.70710678f;
  switch (place) {
    case kLeft: return {1, 0};
    case kRight: return {0, 1};
    case kCentre: return {half, half};
    case kSideLeft: return {half, 0};
    case kSideRight: return {0, half};
    case kRear: return {0.5f, 0.5f};
    case kBass: return {};
  }
  return {};
}

std::vector<Gains> GainsFor(const AudioBlock& block) {
  const auto channels = static_cast<std::size_t>(block.channels);
  if (channels == 1) return {{1, 1}};
  std::vector<Gains> gains(channels);
  const auto& table = block.order == ChannelOrder::kVorbis ? kVorbisOrder : kWaveOrder;
  Gains sum;
  for (std::size_t i = 0; i < channels; ++i) {
    // Beyond the known orders the channels go left and right in turn.
    const Place place = channels <= std::size(table) ? table[channels - 1][i]
                        : i % 2                      ? kRight
                                                     : kLeft;
    gains[i] = GainsOf(place);
    sum.left += gains[i].left;
    sum.right += gains[i].right;
  }
  // No sum of full-scale channels is beyond full scale.
  for (Gains& gain : gains) {
    if (sum.left > 1) gain.left /= sum.left;
    if (sum.right > 1) gain.right /= sum.right;
  }
  return gains;
}

float Tamed(float sample) {
  return std::isfinite(sample) ? std::clamp(sample, -kLargestSample, kLargestSample) : 0.0f;
}

}  // namespace

void AppendStereo(const AudioBlock& block, std::vector<float>& stereo) {
  const std::vector<Gains> gains = GainsFor(block);
  const std::size_t frames = block.Frames();
  stereo.reserve(stereo.size() + 2 * frames);
  const float* sample = block.samples.data();
  for (std::size_t frame = 0; frame < frames; ++frame) {
    Gains mix;
    for (const Gains& gain : gains) {
      const float value = Tamed(*sample++);
      mix.left += gain.left * value;
      mix.right += gain.right * value;
    }
    stereo.push_back(mix.left);
    stereo.push_back(mix.right);
  }
}

}  // namespace sound
