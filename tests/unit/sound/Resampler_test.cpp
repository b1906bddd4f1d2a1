#include "sound/resampler.h"

#include "SoundHelpers.h"

#include <gtest/gtest.h>

using namespace testing_sound;

namespace {

// Feeds the sound in pieces of `piece` frames.
std::vector<float> Resample(const std::vector<float>& samples, int from, int to,
                            std::size_t piece = 1000) {
  sound::Resampler resampler(from, to);
  std::vector<float> result;
  for (std::size_t at = 0; at < samples.size() / 2; at += piece)
    resampler.Process(samples.data() + 2 * at, std::min(piece, samples.size() / 2 - at), result);
  resampler.Finish(result);
  return result;
}

// The likeness of a resampled tone to the tone itself, away from both ends.
double Likeness(double frequency, int from, int to) {
  const auto frames = static_cast<std::size_t>(from);
  const std::vector<float> made = Resample(Tone(frequency, from, frames), from, to);
  const std::vector<float> wanted = Tone(frequency, to, made.size() / 2);
  const std::size_t margin = made.size() / 10;
  return SignalToNoise(wanted, made, margin, made.size() - margin);
}

double LevelDb(const std::vector<float>& samples) {
  const std::size_t margin = samples.size() / 10;
  const std::size_t count = samples.size() - 2 * margin;
  return 10 *
         std::log10(Power(samples.data() + margin, count) / static_cast<double>(count) + 1e-30);
}

TEST(Resampler, EqualRatesChangeNothing) {
  const std::vector<float> tone = Tone(997, 44100, 5000);
  EXPECT_EQ(Resample(tone, 44100, 44100), tone);
}

TEST(Resampler, KeepsATonesPitchLevelAndTime) {
  for (const int rate : {8000, 11025, 16000, 22050, 32000, 48000, 88200, 96000, 192000})
    EXPECT_GT(Likeness(1000, rate, 44100), 80) << rate;
}

TEST(Resampler, KeepsHighTones) {
  EXPECT_GT(Likeness(18000, 48000, 44100), 80);
  EXPECT_GT(Likeness(18000, 96000, 44100), 80);
  EXPECT_GT(Likeness(9000, 22050, 44100), 80);
}

TEST(Resampler, CutsWhatTheNewRateCannotHold) {
  for (const double frequency : {24000.0, 30000.0, 40000.0})
    EXPECT_LT(LevelDb(Resample(Tone(frequency, 96000, 96000), 96000, 44100)), -85) << frequency;
}

TEST(Resampler, LeavesNoMirrorOfALowRate) {
  // What is there beside the tone itself.
  const std::vector<float> made = Resample(Tone(3000, 8000, 8000), 8000, 44100);
  EXPECT_GT(SignalToNoise(Tone(3000, 44100, made.size() / 2), made, 10000, made.size() - 10000),
            80);
}

TEST(Resampler, KeepsTheLength) {
  EXPECT_EQ(Resample(Tone(100, 22050, 22050), 22050, 44100).size(), 2u * 44100);
  EXPECT_EQ(Resample(Tone(100, 48000, 48000), 48000, 44100).size(), 2u * 44100);
  EXPECT_EQ(Resample(Tone(100, 48000, 1), 48000, 44100).size(), 2u);
  EXPECT_EQ(Resample({}, 48000, 44100).size(), 0u);
}

TEST(Resampler, PiecesOfAnySizeGiveTheSame) {
  const std::vector<float> tone = Tone(440, 32000, 4000);
  const std::vector<float> whole = Resample(tone, 32000, 44100, 4000);
  for (const std::size_t piece : {1u, 7u, 63u, 999u})
    EXPECT_EQ(Resample(tone, 32000, 44100, piece), whole) << piece;
}

TEST(Resampler, KeepsTheSidesApart) {
  std::vector<float> samples = Tone(500, 48000, 4800);
  for (std::size_t i = 1; i < samples.size(); i += 2) samples[i] = 0;
  const std::vector<float> made = Resample(samples, 48000, 44100);
  for (std::size_t i = 1; i < made.size(); i += 2) ASSERT_EQ(made[i], 0);
}

TEST(Resampler, ManagesExtremeRates) {
  EXPECT_EQ(Resample(Tone(50, 1000, 1000), 1000, 192000).size(), 2u * 192000);
  EXPECT_EQ(Resample(Tone(50, 384000, 384000), 384000, 8000).size(), 2u * 8000);
  EXPECT_GT(Likeness(100, 1000, 44100), 75);
  EXPECT_GT(Likeness(100, 384000, 44100), 75);
}

}  // namespace
