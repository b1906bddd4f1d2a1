#include "sound/mixer.h"

#include "SoundHelpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace testing_sound;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr std::size_t kMostFrames = 100;

std::unique_ptr<sound::Voice> VoiceOf(std::vector<float> samples, int rate = 44100) {
  return std::make_unique<sound::Voice>(DecoderOf({StereoBlock(std::move(samples), rate)}), 44100);
}

std::vector<int> Mix(sound::Mixer& mixer, std::size_t frames) {
  std::vector<std::int16_t> block(2 * frames, 7777);
  block.resize(2 * mixer.Mix(block.data(), frames));
  return {block.begin(), block.end()};
}

TEST(Mixer, PlaysAVoiceUnchanged) {
  const auto voice = VoiceOf({0.5f, -0.5f, 1, -1});
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  EXPECT_THAT(Mix(mixer, 2), ElementsAre(16384, -16384, 32767, -32768));
}

TEST(Mixer, AddsVoicesAndStopsAtFullScale) {
  const auto one = VoiceOf({0.25f, 0.75f}), two = VoiceOf({0.25f, 0.75f});
  sound::Mixer mixer(2, kMostFrames);
  mixer.Play(0, *one);
  mixer.Play(1, *two);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(16384, 32767));
}

TEST(Mixer, VolumeIsAmplitudeInEqualSteps) {
  const auto voice = VoiceOf(std::vector<float>(20, 0.5f));
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  const std::pair<int, int> cases[] = {{255, 16384}, {51, 3277}, {0, 0}, {-5, 0}, {1000, 16384}};
  for (const auto& [volume, sample] : cases) {
    mixer.SetVolume(0, volume);
    EXPECT_THAT(Mix(mixer, 1), ElementsAre(sample, sample)) << volume;
  }
}

TEST(Mixer, VolumeStaysForTheNextVoice) {
  const auto one = VoiceOf({0.5f, 0.5f}), two = VoiceOf({0.5f, 0.5f});
  sound::Mixer mixer(1, kMostFrames);
  mixer.SetVolume(0, 51);
  mixer.Play(0, *one);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(3277, 3277));
  mixer.Stop(*one);
  mixer.Play(0, *two);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(3277, 3277));
}

TEST(Mixer, PanTakesFromTheOtherSide) {
  const auto voice = VoiceOf(std::vector<float>(20, 0.5f));
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  mixer.SetPan(0, 0);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(16384, 0));
  mixer.SetPan(0, 255);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(0, 16384));
  mixer.SetPan(0, -1);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(16384, 16384));
}

TEST(Mixer, APausedVoiceStandsStill) {
  const auto voice = VoiceOf({0.25f, 0.25f, 0.5f, 0.5f});
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(8192, 8192));
  mixer.SetPaused(0, true);
  EXPECT_TRUE(mixer.HasVoices());
  EXPECT_FALSE(mixer.HasRunningVoices());
  EXPECT_THAT(Mix(mixer, 1), IsEmpty());
  mixer.SetPaused(0, false);
  EXPECT_THAT(Mix(mixer, 1), ElementsAre(16384, 16384));
}

TEST(Mixer, AVoiceIsFinishedWhenItsLastFrameIsHeard) {
  const auto voice = VoiceOf(std::vector<float>(2 * 150, 0.5f));
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  EXPECT_EQ(Mix(mixer, 100).size(), 200u);
  EXPECT_EQ(Mix(mixer, 100).size(), 100u);
  EXPECT_EQ(mixer.TakeFinished(149), nullptr);
  EXPECT_TRUE(mixer.HasVoices());
  EXPECT_EQ(mixer.TakeFinished(150), voice.get());
  EXPECT_FALSE(mixer.HasVoices());
  EXPECT_EQ(mixer.TakeFinished(150), nullptr);
}

TEST(Mixer, AVoiceThatFillsItsLastBlockIsFinishedToo) {
  const auto voice = VoiceOf(std::vector<float>(2 * 100, 0.5f));
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  EXPECT_EQ(Mix(mixer, 100).size(), 200u);
  EXPECT_THAT(Mix(mixer, 100), IsEmpty());
  EXPECT_EQ(mixer.TakeFinished(100), voice.get());
}

TEST(Mixer, VoicesThatFinishTogetherAreTakenOffOneByOne) {
  const auto one = VoiceOf({0, 0}), two = VoiceOf({0, 0});
  sound::Mixer mixer(2, kMostFrames);
  mixer.Play(0, *one);
  mixer.Play(1, *two);
  Mix(mixer, 10);
  EXPECT_EQ(mixer.TakeFinished(1), one.get());
  EXPECT_EQ(mixer.TakeFinished(1), two.get());
  EXPECT_EQ(mixer.TakeFinished(1), nullptr);
}

TEST(Mixer, APausedVoiceIsNotFinished) {
  const auto voice = VoiceOf({0.5f, 0.5f});
  sound::Mixer mixer(1, kMostFrames);
  mixer.Play(0, *voice);
  Mix(mixer, 10);
  mixer.SetPaused(0, true);
  EXPECT_EQ(mixer.TakeFinished(10), nullptr);
  mixer.SetPaused(0, false);
  EXPECT_EQ(mixer.TakeFinished(10), voice.get());
}

TEST(Mixer, FindsAFreeChannel) {
  const auto one = VoiceOf({0, 0}), two = VoiceOf({0, 0}), three = VoiceOf({0, 0});
  sound::Mixer mixer(2, kMostFrames);
  EXPECT_EQ(mixer.FindFreeFor(*three), 0);
  mixer.Play(0, *one);
  EXPECT_EQ(mixer.FindFreeFor(*three), 1);
  mixer.Play(1, *two);
  EXPECT_EQ(mixer.FindFreeFor(*three), -1);
  EXPECT_TRUE(mixer.Stop(*one));
  EXPECT_FALSE(mixer.Stop(*one));
  EXPECT_EQ(mixer.FindFreeFor(*three), 0);
}

TEST(Mixer, AVoicesOwnChannelIsFreeForIt) {
  const auto one = VoiceOf({0, 0}), two = VoiceOf({0, 0});
  sound::Mixer mixer(2, kMostFrames);
  mixer.Play(0, *one);
  mixer.Play(1, *two);
  EXPECT_EQ(mixer.FindFreeFor(*two), 1);
  EXPECT_TRUE(mixer.IsFreeFor(*two, 1));
  EXPECT_FALSE(mixer.IsFreeFor(*two, 0));
}

// A sound of 100 frames, of which the rest of some milliseconds isn't there yet.
class LateDecoder final : public sound::Decoder {
 public:
  bool Decode(sound::AudioBlock& block) override {
    block = StereoBlock(std::vector<float>(200, 0.5f));
    return true;
  }
  bool Rewind() override { return true; }
  bool IsLate(int ms) const override { return ms > 1; }
};

TEST(Mixer, IsLateIfAVoiceThatSoundsIs) {
  sound::Voice late(std::make_unique<LateDecoder>(), 44100);
  const auto one = VoiceOf({0, 0});
  sound::Mixer mixer(2, kMostFrames);
  mixer.Play(0, *one);
  EXPECT_FALSE(mixer.IsLate(10));
  mixer.Play(1, late);
  EXPECT_TRUE(mixer.IsLate(10));
  mixer.SetPaused(1, true);
  EXPECT_FALSE(mixer.IsLate(10));
  mixer.SetPaused(1, false);
  ASSERT_TRUE(late.HasSound());
  EXPECT_FALSE(mixer.IsLate(100));
  EXPECT_TRUE(mixer.IsLate(101));
}

TEST(Mixer, PlayEndsAPauseOfTheChannel) {
  const auto voice = VoiceOf({0.5f, 0.5f});
  sound::Mixer mixer(1, kMostFrames);
  mixer.SetPaused(0, true);
  mixer.Play(0, *voice);
  EXPECT_EQ(Mix(mixer, 1).size(), 2u);
}

// --- Voice ---

std::vector<float> ReadAll(sound::Voice& voice, std::size_t piece) {
  std::vector<float> all, part(2 * piece);
  for (std::size_t got; (got = voice.Read(part.data(), piece)) > 0;)
    all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(2 * got));
  return all;
}

TEST(Voice, ChangesRatesAlongTheWay) {
  sound::Voice voice(DecoderOf({StereoBlock(Tone(440, 22050, 22050), 22050),
                                StereoBlock(Tone(440, 44100, 44100), 44100),
                                StereoBlock(Tone(440, 48000, 48000), 48000)}), 44100);
  const std::vector<float> all = ReadAll(voice, 777);
  ASSERT_EQ(all.size(), 2u * 3 * 44100);
  // Each second begins its tone anew.
  const std::vector<float> tone = Tone(440, 44100, 44100);
  for (std::size_t second = 0; second < 3; ++second) {
    const auto start = all.begin() + static_cast<std::ptrdiff_t>(second * 2 * 44100);
    EXPECT_GT(SignalToNoise(tone, {start, start + 2 * 44100}, 4000, 84000), 75) << second;
  }
}

TEST(Voice, KnowsWhetherThereIsSound) {
  EXPECT_TRUE(VoiceOf({0, 0})->HasSound());
  EXPECT_FALSE(sound::Voice(DecoderOf({}), 44100).HasSound());
  EXPECT_FALSE(VoiceOf({0, 0}, 999)->HasSound());
  EXPECT_FALSE(VoiceOf({0, 0}, 384001)->HasSound());
}

TEST(Voice, RewindsToTheStart) {
  sound::Voice voice(DecoderOf({StereoBlock(Tone(440, 32000, 3200), 32000)}), 44100);
  const std::vector<float> first = ReadAll(voice, 100);
  EXPECT_TRUE(voice.Rewind());
  EXPECT_EQ(ReadAll(voice, 1000), first);
}

class Forgetful final : public sound::Decoder {
 public:
  bool Decode(sound::AudioBlock& block) override {
    if (decoded_++) throw std::bad_alloc();
    block = StereoBlock({0.5f, 0.5f});
    return true;
  }
  bool Rewind() override { return true; }

 private:
  int decoded_ = 0;
};

TEST(Voice, EndsWhereMemoryRunsOut) {
  sound::Voice voice(std::make_unique<Forgetful>(), 44100);
  EXPECT_EQ(ReadAll(voice, 100).size(), 2u);
}

}  // namespace
