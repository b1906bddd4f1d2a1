#include "sound/decoders.h"

#include "SoundHelpers.h"

#include <bit>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace testing_sound;
using ::testing::ElementsAre;
using ::testing::FloatEq;

namespace {

std::unique_ptr<sound::Decoder> Open(const Bytes& file) {
  auto source = sound::OpenMemory(file.data(), file.size());
  const auto wave = sound::ReadWaveFile(*source);
  return wave ? sound::OpenPcm(std::move(source), *wave) : nullptr;
}

std::vector<float> Decode(const WaveSpec& spec, const Bytes& samples) {
  const Bytes file = MakeWave(spec, samples);
  const auto decoder = Open(file);
  return decoder ? DecodeAll(*decoder) : std::vector<float>{-99};
}

WaveSpec Mono(std::uint16_t tag, std::uint16_t size) {
  return {tag, 1, 44100, size, static_cast<std::uint16_t>(8 * size)};
}

TEST(PcmDecoder, ReadsEightBitsWithoutSign) {
  EXPECT_THAT(Decode(Mono(1, 1), {0, 64, 128, 192, 255}),
              ElementsAre(-1, -0.5, 0, 0.5, 127 / 128.0f));
}

TEST(PcmDecoder, ReadsSixteenBits) {
  EXPECT_THAT(Decode(Mono(1, 2), Samples16({-32768, -1, 0, 16384, 32767})),
              ElementsAre(-1, -1 / 32768.0f, 0, 0.5, 32767 / 32768.0f));
}

TEST(PcmDecoder, ReadsTwentyFourBits) {
  EXPECT_THAT(Decode(Mono(1, 3), {0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0, 0, 0x40, 0xFF, 0xFF, 0x7F}),
              ElementsAre(-1, -1 / 8388608.0f, 0.5, 8388607 / 8388608.0f));
}

TEST(PcmDecoder, ReadsThirtyTwoBits) {
  EXPECT_THAT(Decode(Mono(1, 4), {0, 0, 0, 0x80, 0, 0, 0, 0x40, 0, 0, 0, 0}),
              ElementsAre(-1, 0.5, 0));
}

TEST(PcmDecoder, ReadsTwelveBitsInTheirSixteen) {
  WaveSpec spec = Mono(1, 2);
  spec.bits = 12;
  EXPECT_THAT(Decode(spec, Samples16({0x4000})), ElementsAre(0.5));
}

TEST(PcmDecoder, ReadsFloatingPoint) {
  Bytes four, eight;
  for (const float value : {0.25f, -1.5f}) {
    support::AppendU32(four, std::bit_cast<std::uint32_t>(value));
    const auto bits = std::bit_cast<std::uint64_t>(static_cast<double>(value));
    support::AppendU32(eight, static_cast<std::uint32_t>(bits));
    support::AppendU32(eight, static_cast<std::uint32_t>(bits >> 32));
  }
  EXPECT_THAT(Decode(Mono(3, 4), four), ElementsAre(0.25, -1.5));
  EXPECT_THAT(Decode(Mono(3, 8), eight), ElementsAre(0.25, -1.5));
}

// Values of the recommendation for telephony: the ends, both zeros, and a
// middle segment.
TEST(PcmDecoder, ReadsMuLaw) {
  EXPECT_THAT(
      Decode(Mono(7, 1), {0x00, 0x80, 0x7F, 0xFF, 0x0F, 0xF0}),
      ElementsAre(-32124 / 32768.0f, 32124 / 32768.0f, 0, 0, -16764 / 32768.0f, 120 / 32768.0f));
}

TEST(PcmDecoder, ReadsALaw) {
  EXPECT_THAT(Decode(Mono(6, 1), {0x2A, 0xAA, 0x55, 0xD5, 0x80}),
              ElementsAre(-32256 / 32768.0f, 32256 / 32768.0f, -8 / 32768.0f, 8 / 32768.0f,
                          5504 / 32768.0f));
}

TEST(PcmDecoder, LeavesAFrameCutShortOut) {
  EXPECT_THAT(Decode({}, Bytes(4 * 3 + 2)), ::testing::SizeIs(6));
}

TEST(PcmDecoder, GivesLongSoundsInPieces) {
  EXPECT_EQ(Decode({}, Bytes(4 * 100'000)).size(), 200'000u);
}

TEST(PcmDecoder, RewindsToTheStart) {
  const Bytes file = MakeWave(Mono(1, 2), Samples16({100, 200}));
  const auto decoder = Open(file);
  const std::vector<float> first = DecodeAll(*decoder);
  EXPECT_TRUE(decoder->Rewind());
  EXPECT_EQ(DecodeAll(*decoder), first);
}

TEST(PcmDecoder, RefusesSamplesOfAnotherSize) {
  EXPECT_FALSE(Open(MakeWave({1, 1, 44100, 5, 40}, Bytes(10))));
  EXPECT_FALSE(Open(MakeWave({1, 3, 44100, 4, 16}, Bytes(10))));
  EXPECT_FALSE(Open(MakeWave({3, 1, 44100, 2, 16}, Bytes(10))));
  EXPECT_FALSE(Open(MakeWave({6, 1, 44100, 2, 16}, Bytes(10))));
}

TEST(PcmDecoder, RefusesOtherTags) {
  EXPECT_FALSE(Open(MakeWave({0x31, 1, 8000, 65, 0}, Bytes(650))));
  EXPECT_FALSE(Open(MakeWave({0, 1, 8000, 2, 16}, Bytes(650))));
}

}  // namespace
