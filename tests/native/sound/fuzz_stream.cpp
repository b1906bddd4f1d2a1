// Any bytes at all as a stream of encoded sound, for the decoder FUZZ_OPEN:
// decoded at length, then played from its start on the road to the mixer, as a
// stream is that was stopped.

#include "fuzz.h"

#include "sound/mixer.h"
#include "sound/stereo.h"

#include <utility>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr std::size_t kMostFramesDecoded = 20000;
// A change of rate costs milliseconds; a few blocks show what there is to it.
constexpr std::size_t kFrames = 500;
constexpr int kMostBlocks = 4;

std::size_t Decode(sound::Decoder& decoder) {
  std::size_t frames = 0;
  sound::AudioBlock block;
  std::vector<float> stereo;
  while (frames < kMostFramesDecoded && decoder.Decode(block)) {
    Require(block.channels >= 1 && block.Frames() >= 1);
    Require(block.samples.size() % static_cast<std::size_t>(block.channels) == 0);
    stereo.clear();
    AppendStereo(block, stereo);
    Require(stereo.size() == 2 * block.Frames());
    frames += block.Frames();
  }
  return frames;
}

void Play(sound::Voice& voice) {
  sound::Mixer mixer(1, kFrames);
  mixer.Play(0, voice);
  std::vector<std::int16_t> block(2 * kFrames);
  for (int i = 0; i < kMostBlocks; ++i) {
    const std::size_t frames = mixer.Mix(block.data(), kFrames);
    Require(frames <= kFrames);
    if (frames == 0) return;
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<std::uint8_t> bytes(data, data + size);
  auto decoder = sound::FUZZ_OPEN(sound::OpenMemory(bytes.data(), bytes.size()));
  if (!decoder || Decode(*decoder) == 0 || !decoder->Rewind()) return 0;
  sound::Voice voice(std::move(decoder), kRate);
  Play(voice);
  if (voice.Rewind()) voice.HasSound();
  return 0;
}
