// Times the sound library's decoders and the road to the output: SoundBench FILE
// COUNT. Prints two times in milliseconds a line, for the whole file: decoded
// alone, and decoded and mixed for the output. The first turn isn't counted. The
// script run.py beside this file makes sounds and a table.

#include "sound/decoders.h"
#include "sound/mixer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr int kOutputRate = 44100;
constexpr std::size_t kBlockFrames = 1102;  // of the output's blocks

std::unique_ptr<sound::Decoder> Open(const char* path) {
  auto file = sound::OpenFile(path);
  auto decoder = file ? sound::OpenDecoder(std::move(file)) : nullptr;
  if (!decoder) {
    std::fprintf(stderr, "SoundBench: %s can't be decoded\n", path);
    std::exit(1);
  }
  return decoder;
}

void Decode(const char* path) {
  const auto decoder = Open(path);
  sound::AudioBlock block;
  while (decoder->Decode(block)) {
  }
}

void DecodeAndMix(const char* path) {
  sound::Voice voice(Open(path), kOutputRate);
  sound::Mixer mixer(1, kBlockFrames);
  mixer.Play(0, voice);
  std::vector<std::int16_t> block(2 * kBlockFrames);
  while (mixer.Mix(block.data(), kBlockFrames) > 0) {
  }
}

template <class Work>
double TimeOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: SoundBench FILE COUNT\n", stderr);
    return 1;
  }
  const int count = std::atoi(argv[2]);
  for (int i = 0; i <= count; ++i) {
    const double decoded = TimeOf([&] { Decode(argv[1]); });
    const double mixed = TimeOf([&] { DecodeAndMix(argv[1]); });
    if (i > 0) std::printf("%.2f %.2f\n", decoded, mixed);
  }
}
