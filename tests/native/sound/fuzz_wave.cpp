// Any bytes at all as a WAVE file: its header, its samples, and the road of
// these to the mixer.

#include "fuzz.h"

#include "sound/mixer.h"

#include <utility>
#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<std::uint8_t> bytes(data, data + size);
  auto source = sound::OpenMemory(bytes.data(), bytes.size());
  const auto wave = sound::ReadWaveFile(*source);
  if (!wave) return 0;
  Require(wave->dataOffset >= 0 && wave->dataSize >= 0);
  Require(wave->dataOffset + wave->dataSize <= static_cast<std::int64_t>(size));
  Require(wave->channels >= 1 && wave->blockAlign >= 1 && wave->rate >= 1);
  auto decoder = sound::OpenPcm(std::move(source), *wave);
  if (!decoder) return 0;
  sound::Voice voice(std::move(decoder), 44100);
  sound::Mixer mixer(1);
  mixer.Play(0, voice);
  std::vector<std::int16_t> block(2 * 500);
  // A low rate makes many frames of one; a second is enough.
  for (int i = 0; i < 100 && mixer.Mix(block.data(), 500) > 0; ++i) {
  }
  return 0;
}
