// Any bytes at all as a WAVE file: its header, its samples, and the road of
// these to the mixer.

#include "fuzz.h"

#include "sound/mixer.h"

#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kMostFramesPlayed = 100;
constexpr std::size_t kFrames = 500;
constexpr int kMostBlocks = 4;

void Play(std::unique_ptr<sound::Decoder> decoder) {
  sound::Voice voice(std::move(decoder), 44100);
  sound::Mixer mixer(1, kFrames);
  mixer.Play(0, voice);
  std::vector<std::int16_t> mixed(2 * kFrames);
  for (int i = 0; i < kMostBlocks && mixer.Mix(mixed.data(), kFrames) > 0; ++i) {
  }
}

}  // namespace

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
  sound::AudioBlock block;
  if (!decoder->Decode(block)) return 0;
  Require(block.channels == wave->channels && block.Frames() >= 1);
  // What the mixer makes of a low rate is far more than what there was.
  if (block.Frames() > kMostFramesPlayed || !decoder->Rewind()) return 0;
  Play(std::move(decoder));
  return 0;
}
