#pragma once
// Decoders of sound, one source file a format. A decoder serves one thread at
// a time. Damaged data ends it early; std::bad_alloc is the one exception that
// may leave it.

#include "sound/byte_source.h"
#include "sound/wave_file.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace sound {

// Rates that a stream may have, samples a second.
constexpr int kLowestRate = 1000;
constexpr int kHighestRate = 384000;

// In what order a sound of several channels has them, by their number.
enum class ChannelOrder { kWave, kVorbis };

// A piece of decoded sound: samples of -1 to 1, the channels of a moment side
// by side.
struct AudioBlock {
  int rate = 0;      // samples a second
  int channels = 0;
  ChannelOrder order = ChannelOrder::kWave;
  std::vector<float> samples;

  std::size_t Frames() const {
    return channels > 0 ? samples.size() / static_cast<std::size_t>(channels) : 0;
  }
};

class Decoder {
 public:
  virtual ~Decoder() = default;
  // The next piece, not empty; its rate and channels may differ from those of
  // the last one. False at the end; `block` is then of no use.
  virtual bool Decode(AudioBlock& block) = 0;
  // Back to the start.
  virtual bool Rewind() = 0;
  // Whether Decode would give silence for some of the next `ms` because the sound
  // isn't there yet.
  virtual bool IsLate(int) const { return false; }
};

// Tells the format by the first bytes. Null if it is unknown or damaged beyond
// the first sample.
std::unique_ptr<Decoder> OpenDecoder(std::unique_ptr<ByteSource> source);

// Each gives null for what isn't its own.
std::unique_ptr<Decoder> OpenPcm(std::unique_ptr<ByteSource> source, const WaveFile& wave);
std::unique_ptr<Decoder> OpenAdpcm(std::unique_ptr<ByteSource> source, const WaveFile& wave);
std::unique_ptr<Decoder> OpenMpeg(std::unique_ptr<ByteSource> source);
std::unique_ptr<Decoder> OpenVorbis(std::unique_ptr<ByteSource> source);

}  // namespace sound
