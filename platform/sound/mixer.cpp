#include "sound/mixer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sound {

namespace {

constexpr int kFullVolume = 255;
constexpr int kMostPan = 255;

struct SideGains {
  float left;
  float right;
};

// Away from the middle one side gets quieter and the other stays. A pan below 0
// leaves both as they are.
SideGains GainsFor(int volume, int pan) {
  const float full = static_cast<float>(std::clamp(volume, 0, kFullVolume)) / kFullVolume;
  if (pan < 0) return {full, full};
  const float right = static_cast<float>(std::min(pan, kMostPan)) / kMostPan;
  return {full * std::min(1.0f, 2 - 2 * right), full * std::min(1.0f, 2 * right)};
}

// The 16 bits of a decoded file come out as they were.
std::int16_t ToS16(float sample) {
  return static_cast<std::int16_t>(std::lrint(std::clamp(sample * 32768.0f, -32768.0f, 32767.0f)));
}

}  // namespace

int Mixer::FindFreeFor(const Voice& voice) const {
  for (int channel = 0; channel < Channels(); ++channel)
    if (IsFreeFor(voice, channel)) return channel;
  return -1;
}

void Mixer::Play(int channel, Voice& voice) {
  Channel& chosen = At(channel);
  chosen.voice = &voice;
  chosen.paused = false;
  chosen.endFrame = -1;
}

bool Mixer::Stop(const Voice& voice) {
  bool found = false;
  for (Channel& channel : channels_)
    if (channel.voice == &voice) {
      channel.voice = nullptr;
      found = true;
    }
  return found;
}

bool Mixer::HasVoices() const {
  return std::any_of(channels_.begin(), channels_.end(), [](const Channel& c) { return c.voice; });
}

bool Mixer::HasRunningVoices() const {
  return std::any_of(channels_.begin(), channels_.end(),
                     [](const Channel& c) { return c.voice && !c.paused; });
}

bool Mixer::IsLate(std::size_t frames) const {
  return std::any_of(channels_.begin(), channels_.end(), [&](const Channel& c) {
    return c.IsSounding() && c.voice->IsLate(frames);
  });
}

std::size_t Mixer::Mix(std::int16_t* to, std::size_t frames) {
  std::fill_n(sum_.begin(), 2 * frames, 0.0f);
  std::size_t mixed = 0;
  for (Channel& channel : channels_)
    if (channel.IsSounding()) mixed = std::max(mixed, Add(channel, frames));
  std::transform(sum_.begin(), sum_.begin() + static_cast<std::ptrdiff_t>(2 * mixed), to, ToS16);
  mixedFrames_ += static_cast<std::int64_t>(mixed);
  return mixed;
}

std::size_t Mixer::Add(Channel& channel, std::size_t frames) {
  const std::size_t got = channel.voice->Read(one_.data(), frames);
  if (got < frames) channel.endFrame = mixedFrames_ + static_cast<std::int64_t>(got);
  const SideGains gains = GainsFor(channel.volume, channel.pan);
  for (std::size_t i = 0; i < 2 * got; i += 2) {
    sum_[i] += gains.left * one_[i];
    sum_[i + 1] += gains.right * one_[i + 1];
  }
  return got;
}

Voice* Mixer::TakeFinished(std::int64_t heardFrames) {
  for (Channel& channel : channels_) {
    const bool ended = channel.voice && !channel.paused && channel.endFrame >= 0;
    if (ended && channel.endFrame <= heardFrames) return std::exchange(channel.voice, nullptr);
  }
  return nullptr;
}

}  // namespace sound
