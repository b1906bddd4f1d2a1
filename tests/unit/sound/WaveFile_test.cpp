#include "sound/wave_file.h"

#include "SoundHelpers.h"

#include <gtest/gtest.h>

using namespace testing_sound;

namespace {

std::optional<sound::WaveFile> Read(const Bytes& file) {
  const auto source = sound::OpenMemory(file.data(), file.size());
  return sound::ReadWaveFile(*source);
}

TEST(WaveFile, TellsFormatAndPlaceOfTheSamples) {
  const auto wave = Read(MakeWave({1, 2, 22050, 4, 16}, Bytes(100)));
  ASSERT_TRUE(wave);
  EXPECT_EQ(wave->tag, sound::kWavePcm);
  EXPECT_EQ(wave->channels, 2);
  EXPECT_EQ(wave->rate, 22050);
  EXPECT_EQ(wave->blockAlign, 4);
  EXPECT_EQ(wave->bits, 16);
  EXPECT_EQ(wave->dataOffset, 44);
  EXPECT_EQ(wave->dataSize, 100);
}

TEST(WaveFile, StepsOverOtherChunksAndTheirPadding) {
  Bytes file = RiffHead();
  AppendChunk(file, "LIST", Bytes(7));
  AppendChunk(file, "fmt ", FormatChunk({}));
  AppendChunk(file, "cue ", Bytes(33));
  AppendChunk(file, "data", Bytes(8));
  ASSERT_TRUE(Read(file));
  EXPECT_EQ(Read(file)->dataSize, 8);
}

TEST(WaveFile, FindsTheTagProperOfAnExtensibleFormat) {
  Bytes format = FormatChunk({0xFFFE, 2, 48000, 8, 32});
  support::AppendU16(format, 22);
  support::AppendU16(format, 32);
  support::AppendU32(format, 3);
  support::AppendU16(format, sound::kWaveFloat);
  format.resize(format.size() + 14);
  Bytes file = RiffHead();
  AppendChunk(file, "fmt ", format);
  AppendChunk(file, "data", Bytes(8));
  ASSERT_TRUE(Read(file));
  EXPECT_EQ(Read(file)->tag, sound::kWaveFloat);
}

TEST(WaveFile, AnExtensibleFormatCutShortIsRefused) {
  Bytes format = FormatChunk({0xFFFE, 2, 48000, 8, 32});
  support::AppendU16(format, 22);
  format.resize(format.size() + 8);
  Bytes file = RiffHead();
  AppendChunk(file, "fmt ", format);
  AppendChunk(file, "data", Bytes(8));
  EXPECT_FALSE(Read(file));
}

TEST(WaveFile, ReadsTheSampleCount) {
  Bytes count;
  support::AppendU32(count, 12345);
  Bytes file = RiffHead();
  AppendChunk(file, "fmt ", FormatChunk({}));
  AppendChunk(file, "fact", count);
  AppendChunk(file, "data", Bytes(8));
  EXPECT_EQ(Read(file)->sampleCount, 12345);
}

TEST(WaveFile, SamplesEndWithTheFile) {
  Bytes file = MakeWave({}, Bytes(1000));
  file.resize(500);
  EXPECT_EQ(Read(file)->dataSize, 456);
}

// A file with 60 bytes behind the head of its samples.
Bytes WaveWithSizes(std::uint32_t whole, std::uint32_t data) {
  Bytes file = RiffHead(whole);
  AppendChunk(file, "fmt ", FormatChunk({}));
  support::Append(file, support::BytesOf("data"));
  support::AppendU32(file, data);
  AppendChunk(file, "LIST", Bytes(52));
  return file;
}

TEST(WaveFile, AnUnknownSizeMeansTheRestOfTheFile) {
  constexpr std::uint32_t unknown = 0xFFFFFFFF, told = 96;
  const std::pair<std::uint32_t, std::uint32_t> cases[] = {
      {0, 0}, {unknown, 0}, {0, unknown}, {unknown, unknown}, {told, unknown}};
  for (const auto& [whole, data] : cases) {
    const auto wave = Read(WaveWithSizes(whole, data));
    ASSERT_TRUE(wave);
    EXPECT_EQ(wave->dataSize, 60) << whole << ' ' << data;
  }
}

TEST(WaveFile, NoSamplesAreNoneWhateverStandsBehindThem) {
  const Bytes file = WaveWithSizes(96, 0);
  ASSERT_TRUE(Read(file));
  EXPECT_EQ(Read(file)->dataSize, 0);
}

TEST(WaveFile, WhatLacksAPartIsRefused) {
  Bytes noFormat = RiffHead();
  AppendChunk(noFormat, "data", Bytes(8));
  EXPECT_FALSE(Read(noFormat));
  Bytes noData = RiffHead();
  AppendChunk(noData, "fmt ", FormatChunk({}));
  EXPECT_FALSE(Read(noData));
  EXPECT_FALSE(Read({}));
  EXPECT_FALSE(Read(support::BytesOf("RIFF____AVI LIST")));
}

TEST(WaveFile, ImpossibleNumbersAreRefused) {
  EXPECT_FALSE(Read(MakeWave({.channels = 0}, Bytes(8))));
  EXPECT_FALSE(Read(MakeWave({.channels = 65}, Bytes(8))));
  EXPECT_FALSE(Read(MakeWave({.rate = 0}, Bytes(8))));
  EXPECT_FALSE(Read(MakeWave({.rate = 0xFFFFFFFF}, Bytes(8))));
  EXPECT_FALSE(Read(MakeWave({.blockAlign = 0}, Bytes(8))));
}

TEST(WaveFile, EveryCutIsReadOrRefused) {
  const Bytes whole = MakeWave({}, Bytes(16));
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const auto wave = Read(cut);
    if (!wave) continue;
    EXPECT_GE(wave->dataSize, 0);
    EXPECT_LE(wave->dataOffset + wave->dataSize, static_cast<std::int64_t>(size));
  }
}

TEST(WaveFile, ChunksWithoutEndAreGivenUp) {
  Bytes file = RiffHead();
  for (int i = 0; i < 200'000; ++i) AppendChunk(file, "junk", {});
  AppendChunk(file, "fmt ", FormatChunk({}));
  AppendChunk(file, "data", Bytes(8));
  EXPECT_FALSE(Read(file));
}

}  // namespace
