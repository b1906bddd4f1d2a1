#pragma once
// The container RIFF/WAVE: what its header says, and where the samples lie.
// Every size in it is checked against what is there. Portable.

#include "sound/byte_source.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace sound {

// Format tags that are played.
enum WaveTag : std::uint16_t {
  kWavePcm = 1,
  kWaveMsAdpcm = 2,
  kWaveFloat = 3,
  kWaveALaw = 6,
  kWaveMuLaw = 7,
  kWaveImaAdpcm = 17,
  kWaveMpeg = 0x50,
  kWaveMp3 = 0x55,
  kWaveExtensible = 0xFFFE,  // the tag proper stands behind it
};

struct WaveFile {
  std::uint16_t tag = 0;         // never kWaveExtensible
  int channels = 0;
  int rate = 0;                  // samples a second
  int blockAlign = 0;            // bytes of the smallest piece that can be decoded
  int bits = 0;                  // of a sample
  std::uint32_t byteRate = 0;
  std::vector<std::uint8_t> extra;  // what the format says beyond that
  std::int64_t dataOffset = 0;
  std::int64_t dataSize = 0;     // within the file
  std::int64_t sampleCount = 0;  // of each channel as the file tells it; 0 if it doesn't
};

// Nothing if `source` isn't such a file, lacks format or samples, or says what
// can't be.
std::optional<WaveFile> ReadWaveFile(ByteSource& source);

}  // namespace sound
