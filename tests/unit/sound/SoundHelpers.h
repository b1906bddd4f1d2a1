#pragma once
// What the tests of sound share: WAVE files made byte by byte, tones, and
// measures of likeness. Portable.

#include "sound/decoders.h"
#include "support/Bytes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <string_view>
#include <vector>

namespace testing_sound {

using support::Bytes;

struct WaveSpec {
  std::uint16_t tag = 1;
  std::uint16_t channels = 2;
  std::uint32_t rate = 44100;
  std::uint16_t blockAlign = 4;
  std::uint16_t bits = 16;
};

inline void AppendChunk(Bytes& file, std::string_view name, const Bytes& body) {
  support::Append(file, support::BytesOf(name));
  support::AppendU32(file, static_cast<std::uint32_t>(body.size()));
  support::Append(file, body);
  if (body.size() % 2) file.push_back(0);
}

inline Bytes FormatChunk(const WaveSpec& spec) {
  Bytes format;
  support::AppendU16(format, spec.tag);
  support::AppendU16(format, spec.channels);
  support::AppendU32(format, spec.rate);
  support::AppendU32(format, spec.rate * spec.blockAlign);
  support::AppendU16(format, spec.blockAlign);
  support::AppendU16(format, spec.bits);
  return format;
}

// `size` is that of the whole, which matters to readers only where that of the
// samples is 0.
inline Bytes RiffHead(std::uint32_t size = 0) {
  Bytes file = support::BytesOf("RIFF");
  support::AppendU32(file, size);
  support::Append(file, support::BytesOf("WAVE"));
  return file;
}

inline Bytes MakeWave(const WaveSpec& spec, const Bytes& samples) {
  Bytes file = RiffHead();
  AppendChunk(file, "fmt ", FormatChunk(spec));
  AppendChunk(file, "data", samples);
  return file;
}

inline Bytes Samples16(const std::vector<int>& values) {
  Bytes bytes;
  for (const int value : values) support::AppendU16(bytes, static_cast<std::uint16_t>(value));
  return bytes;
}

// A sine on both sides, `frames` long.
inline std::vector<float> Tone(double frequency, int rate, std::size_t frames,
                               double amplitude = 0.5) {
  std::vector<float> samples(2 * frames);
  for (std::size_t i = 0; i < frames; ++i) {
    const double t = static_cast<double>(i) / rate;
    const auto value =
        static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * frequency * t));
    samples[2 * i] = samples[2 * i + 1] = value;
  }
  return samples;
}

// A WAVE file of 16 bits with a tone on both sides.
inline Bytes ToneWave(double frequency, int rate, std::size_t frames, double amplitude = 0.5) {
  std::vector<int> values;
  for (const float sample : Tone(frequency, rate, frames, amplitude))
    values.push_back(static_cast<int>(std::lrint(sample * 32768)));
  return MakeWave({.rate = static_cast<std::uint32_t>(rate)}, Samples16(values));
}

inline double Power(const float* samples, std::size_t count) {
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += static_cast<double>(samples[i]) * samples[i];
  return sum;
}

// How far `made` is from `wanted`, dB of the signal over the difference, over
// the samples from `from` up to `to`.
inline double SignalToNoise(const std::vector<float>& wanted, const std::vector<float>& made,
                            std::size_t from, std::size_t to) {
  double signal = 0, noise = 1e-30;
  for (std::size_t i = from; i < to; ++i) {
    signal += static_cast<double>(wanted[i]) * wanted[i];
    noise += std::pow(static_cast<double>(wanted[i]) - made[i], 2);
  }
  return 10 * std::log10(signal / noise);
}

inline double SignalToNoise(const std::vector<float>& wanted, const std::vector<float>& made) {
  return SignalToNoise(wanted, made, 0, std::min(wanted.size(), made.size()));
}

// Blocks given one after the other.
class ListDecoder final : public sound::Decoder {
 public:
  explicit ListDecoder(std::vector<sound::AudioBlock> blocks) : blocks_(std::move(blocks)) {}
  bool Decode(sound::AudioBlock& block) override {
    if (next_ == blocks_.size()) return false;
    block = blocks_[next_++];
    return true;
  }
  bool Rewind() override {
    next_ = 0;
    return true;
  }

 private:
  std::vector<sound::AudioBlock> blocks_;
  std::size_t next_ = 0;
};

inline std::unique_ptr<sound::Decoder> DecoderOf(std::vector<sound::AudioBlock> blocks) {
  return std::make_unique<ListDecoder>(std::move(blocks));
}

inline sound::AudioBlock StereoBlock(std::vector<float> samples, int rate = 44100) {
  return {rate, 2, sound::ChannelOrder::kWave, std::move(samples)};
}

// All that a decoder gives, its channels as they come.
inline std::vector<float> DecodeAll(sound::Decoder& decoder) {
  std::vector<float> all;
  sound::AudioBlock block;
  while (decoder.Decode(block)) all.insert(all.end(), block.samples.begin(), block.samples.end());
  return all;
}

}  // namespace testing_sound
