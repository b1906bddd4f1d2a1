#include "sound/stereo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Le;

namespace {

std::vector<float> Fold(int channels, std::vector<float> samples,
                        sound::ChannelOrder order = sound::ChannelOrder::kWave) {
  std::vector<float> stereo;
  sound::AppendStereo({44100, channels, order, std::move(samples)}, stereo);
  return stereo;
}

TEST(Stereo, OneChannelIsOnBothSides) {
  EXPECT_THAT(Fold(1, {0.5f, -1}), ElementsAre(0.5, 0.5, -1, -1));
}

TEST(Stereo, TwoChannelsStayAsTheyAre) { EXPECT_THAT(Fold(2, {0.5f, -1}), ElementsAre(0.5, -1)); }

TEST(Stereo, ASideOfSurroundSoundStaysOnItsSide) {
  EXPECT_THAT(Fold(6, {1, 0, 0, 0, 1, 0}), ElementsAre(::testing::Gt(0.5), 0));
  EXPECT_THAT(Fold(6, {0, 1, 0, 0, 0, 1}), ElementsAre(0, ::testing::Gt(0.5)));
}

TEST(Stereo, TheCentreIsOnBothSides) {
  const std::vector<float> wave = Fold(6, {0, 0, 1, 0, 0, 0});
  EXPECT_GT(wave[0], 0.2f);
  EXPECT_EQ(wave[0], wave[1]);
  EXPECT_EQ(Fold(6, {0, 1, 0, 0, 0, 0}, sound::ChannelOrder::kVorbis), wave);
}

TEST(Stereo, TheBassChannelIsLeftOut) {
  EXPECT_THAT(Fold(6, {0, 0, 0, 1, 0, 0}), ElementsAre(0, 0));
  EXPECT_THAT(Fold(6, {0, 0, 0, 0, 0, 1}, sound::ChannelOrder::kVorbis), ElementsAre(0, 0));
}

TEST(Stereo, NoNumberOfChannelsGoesBeyondFullScale) {
  for (int channels = 1; channels <= 64; ++channels)
    EXPECT_THAT(Fold(channels, std::vector<float>(static_cast<std::size_t>(channels), 1.0f)),
                Each(Le(1.0001f)))
        << channels;
}

TEST(Stereo, AppendsToWhatIsThere) {
  std::vector<float> stereo = {9, 9};
  sound::AppendStereo({44100, 1, sound::ChannelOrder::kWave, {0.5f}}, stereo);
  EXPECT_THAT(stereo, ElementsAre(9, 9, 0.5, 0.5));
}

TEST(Stereo, TamesWhatIsNoSample) {
  using Limits = std::numeric_limits<float>;
  EXPECT_THAT(
      Fold(1, {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::max()}),
      Each(Le(16.0f)));
  EXPECT_THAT(Fold(1, {Limits::quiet_NaN()}), ElementsAre(0, 0));
}

}  // namespace
