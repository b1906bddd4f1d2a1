// Any bytes at all as a stream of encoded sound, for the decoder FUZZ_OPEN, and
// the road of what comes out to the mixer. Played twice, as a stream is that was
// stopped.

#include "fuzz.h"

#include "sound/mixer.h"

#include <utility>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr std::size_t kFrames = 500;
constexpr int kMostBlocks = 40;

// What a channel plays, up to half a second.
std::size_t Play(sound::Voice& voice) {
  sound::Mixer mixer(1);
  mixer.Play(0, voice);
  std::vector<std::int16_t> block(2 * kFrames);
  std::size_t played = 0;
  for (int i = 0; i < kMostBlocks; ++i) {
    const std::size_t frames = mixer.Mix(block.data(), kFrames);
    Require(frames <= kFrames);
    played += frames;
    if (frames == 0) break;
  }
  return played;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<std::uint8_t> bytes(data, data + size);
  auto decoder = sound::FUZZ_OPEN(sound::OpenMemory(bytes.data(), bytes.size()));
  if (!decoder) return 0;
  sound::Voice voice(std::move(decoder), kRate);
  if (!voice.HasSound()) return 0;
  Require(Play(voice) > 0);
  if (voice.Rewind()) Play(voice);
  return 0;
}
