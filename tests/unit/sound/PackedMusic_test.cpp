// MakeBundle takes for music what the player plays: both tell formats apart by the
// first bytes, each with rules of its own.

#include "makebundle/pack/FileKind.h"
#include "sound/decoders.h"
#include "support/Bytes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr std::size_t kHeadSize = 16;

bool Plays(const support::Bytes& file) {
  return sound::OpenDecoder(sound::OpenMemory(file.data(), file.size())) != nullptr;
}

bool IsPacked(const support::Bytes& file) { return IsMusic({file.data(), kHeadSize}); }

template <class Use>
void ForEachSound(Use use) {
  int sounds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(ENCODED_SOUNDS)) {
    if (entry.path().extension() == ".f32") continue;  // what the sounds decode to
    use(support::ReadWholeFile(entry.path().string()), entry.path().filename().string());
    ++sounds;
  }
  EXPECT_GT(sounds, 20);
}

TEST(PackedMusic, EverySoundPlaysAndIsPacked) {
  ForEachSound([](const support::Bytes& file, const std::string& name) {
    EXPECT_TRUE(Plays(file)) << name;
    EXPECT_TRUE(IsPacked(file)) << name;
  });
}

TEST(PackedMusic, WhatPlaysInSpiteOfADamagedHeadIsPacked) {
  ForEachSound([](support::Bytes file, const std::string& name) {
    for (std::size_t at = 0; at < kHeadSize; ++at) {
      const unsigned char whole = file[at];
      for (const int change : {0x01, 0x02, 0x08, 0x10, 0x20, 0xFF}) {
        file[at] = static_cast<unsigned char>(whole ^ change);
        EXPECT_TRUE(!Plays(file) || IsPacked(file)) << name << " " << at << " " << change;
      }
      file[at] = whole;
    }
  });
}

}  // namespace
