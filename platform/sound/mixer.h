#pragma once
// Adds up what the channels play. Knows no thread and no device. After its
// constructor it needs no memory, and only what a voice itself throws leaves it.
// Portable.

#include "sound/voice.h"

#include <cstdint>
#include <vector>

namespace sound {

class Mixer {
 public:
  // `mostFrames` is how many are ever mixed at once.
  Mixer(int channels, std::size_t mostFrames)
      : channels_(static_cast<std::size_t>(channels)), sum_(2 * mostFrames), one_(2 * mostFrames) {}

  int Channels() const { return static_cast<int>(channels_.size()); }
  bool IsChannel(int channel) const { return channel >= 0 && channel < Channels(); }
  // A channel that `voice` may play on: one that plays nothing, or that voice
  // itself. -1 if there is none.
  int FindFreeFor(const Voice& voice) const;
  bool IsFreeFor(const Voice& voice, int channel) const {
    return !At(channel).voice || At(channel).voice == &voice;
  }

  // Puts a voice on a free channel, which isn't paused then. It has to stay
  // until it is taken off.
  void Play(int channel, Voice& voice);
  // Takes a voice off its channel; false if it was on none.
  bool Stop(const Voice& voice);
  void SetVolume(int channel, int volume) { At(channel).volume = volume; }
  void SetPan(int channel, int pan) { At(channel).pan = pan; }
  void SetPaused(int channel, bool paused) { At(channel).paused = paused; }

  // Whether any channel has a voice, and whether one isn't paused.
  bool HasVoices() const;
  bool HasRunningVoices() const;

  // Whether Mix would have silence in place of a sound that isn't there yet.
  bool IsLate(std::size_t frames) const;
  // Mixes up to `frames` frames of two channels into `to`; fewer if all voices
  // end before. A voice that ended stays on its channel.
  std::size_t Mix(std::int16_t* to, std::size_t frames);

  // Takes a voice off whose last frame is among the first `heardFrames` ever
  // mixed; null if there is none (any more). Paused ones stay.
  Voice* TakeFinished(std::int64_t heardFrames);

 private:
  struct Channel {
    Voice* voice = nullptr;
    int volume = 255;
    int pan = -1;
    bool paused = false;
    std::int64_t endFrame = -1;  // where the voice ended; -1 while it goes on

    bool IsSounding() const { return voice && !paused && endFrame < 0; }
  };
  Channel& At(int channel) { return channels_[static_cast<std::size_t>(channel)]; }
  const Channel& At(int channel) const { return channels_[static_cast<std::size_t>(channel)]; }
  std::size_t Add(Channel& channel, std::size_t frames);

  std::vector<Channel> channels_;
  std::int64_t mixedFrames_ = 0;
  std::vector<float> sum_;
  std::vector<float> one_;
};

}  // namespace sound
