// Samples as they stand in a WAVE file: whole numbers of 8 to 32 bits, floating
// point, and the two laws of telephony. Portable.

#include "base/LittleEndian.h"
#include "sound/decoders.h"

#include <array>
#include <bit>
#include <utility>

namespace sound {

namespace {

constexpr std::size_t kFramesAtOnce = 4096;

using Sample = const std::uint8_t*;

float FromU8(Sample s) { return static_cast<float>(s[0] - 128) / 128.0f; }
float FromS16(Sample s) {
  return static_cast<float>(static_cast<std::int16_t>(LittleEndian16(s))) / 32768.0f;
}
// The highest byte carries the sign.
float FromS24(Sample s) {
  return static_cast<float>(s[0] | s[1] << 8 | static_cast<std::int8_t>(s[2]) * 65536) / 8388608.0f;
}
float FromS32(Sample s) {
  return static_cast<float>(static_cast<std::int32_t>(LittleEndian32(s))) / 2147483648.0f;
}

float FromF32(Sample s) { return std::bit_cast<float>(LittleEndian32(s)); }
float FromF64(Sample s) {
  const std::uint64_t bits =
      LittleEndian32(s) | static_cast<std::uint64_t>(LittleEndian32(s + 4)) << 32;
  return static_cast<float>(std::bit_cast<double>(bits));
}

// One byte to a number of 16 bits: sign, three bits of segment, four of place
// in it.
float DecodeMuLaw(std::uint8_t code) {
  const int inverted = ~code & 0xFF;
  const int segment = inverted >> 4 & 7;
  const int magnitude = ((((inverted & 15) << 3) + 0x84) << segment) - 0x84;
  return static_cast<float>(inverted & 0x80 ? -magnitude : magnitude) / 32768.0f;
}
float DecodeALaw(std::uint8_t code) {
  const int toggled = code ^ 0x55;
  const int segment = toggled >> 4 & 7;
  int magnitude = ((toggled & 15) << 4) + 8;
  if (segment > 0) magnitude = (magnitude + 0x100) << (segment - 1);
  return static_cast<float>(toggled & 0x80 ? magnitude : -magnitude) / 32768.0f;
}

template <float Decode(std::uint8_t)>
float FromLaw(Sample s) {
  static const std::array<float, 256> table = [] {
    std::array<float, 256> values{};
    for (std::size_t code = 0; code < values.size(); ++code)
      values[code] = Decode(static_cast<std::uint8_t>(code));
    return values;
  }();
  return table[*s];
}

using Convert = float (*)(Sample);

// How to read samples of `size` bytes; null for a format that isn't known.
Convert ConverterFor(std::uint16_t tag, int size) {
  switch (tag) {
    case kWavePcm: {
      constexpr Convert bySize[] = {FromU8, FromS16, FromS24, FromS32};
      return size >= 1 && size <= 4 ? bySize[size - 1] : nullptr;
    }
    case kWaveFloat:
      return size == 4 ? FromF32 : size == 8 ? FromF64 : nullptr;
    case kWaveALaw:
      return size == 1 ? FromLaw<DecodeALaw> : nullptr;
    case kWaveMuLaw:
      return size == 1 ? FromLaw<DecodeMuLaw> : nullptr;
    default:
      return nullptr;
  }
}

class PcmDecoder final : public Decoder {
 public:
  PcmDecoder(std::unique_ptr<ByteSource> source, const WaveFile& wave, Convert convert)
      : source_(std::move(source)),
        rate_(wave.rate),
        channels_(wave.channels),
        frameSize_(static_cast<std::size_t>(wave.blockAlign)),
        convert_(convert) {}

  bool Decode(AudioBlock& block) override {
    bytes_.resize(kFramesAtOnce * frameSize_);
    const std::size_t frames = source_->Read(bytes_.data(), bytes_.size()) / frameSize_;
    if (frames == 0) return false;
    block.rate = rate_;
    block.channels = channels_;
    block.order = ChannelOrder::kWave;
    block.samples.resize(frames * static_cast<std::size_t>(channels_));
    const std::size_t size = frameSize_ / static_cast<std::size_t>(channels_);
    Sample at = bytes_.data();
    for (float& sample : block.samples) {
      sample = convert_(at);
      at += size;
    }
    return true;
  }

  bool Rewind() override { return source_->Seek(0); }

 private:
  std::unique_ptr<ByteSource> source_;  // the samples alone
  int rate_;
  int channels_;
  std::size_t frameSize_;  // bytes of a moment, all channels
  Convert convert_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace

std::unique_ptr<Decoder> OpenPcm(std::unique_ptr<ByteSource> source, const WaveFile& wave) {
  if (wave.blockAlign % wave.channels != 0) return nullptr;
  const Convert convert = ConverterFor(wave.tag, wave.blockAlign / wave.channels);
  if (!convert) return nullptr;
  return std::make_unique<PcmDecoder>(OpenSlice(std::move(source), wave.dataOffset, wave.dataSize),
                                      wave, convert);
}

}  // namespace sound
