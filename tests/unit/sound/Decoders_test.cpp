// The decoders on sounds that an independent encoder made, compared with what
// an independent decoder makes of them.

#include "sound/decoders.h"

#include "SoundHelpers.h"
#include "sound/read_ahead.h"
#include "sound/voice.h"
#include "support/GuardedBytes.h"
#include "support/WaitFor.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>

using namespace testing_sound;

namespace {

Bytes ReadSound(const std::string& name) {
  return support::ReadWholeFile(std::string(ENCODED_SOUNDS) + "/" + name);
}

std::vector<float> ReadReference(const std::string& name) {
  const Bytes bytes = ReadSound(name + ".f32");
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  return samples;
}

std::unique_ptr<sound::Decoder> Open(const Bytes& file) {
  return sound::OpenDecoder(sound::OpenMemory(file.data(), file.size()));
}

struct Case {
  const char* name;
  int rate;
  int channels;
  double likeness;            // dB, at least
  std::size_t slack = 0;      // frames by which the lengths may differ
};

void PrintTo(const Case& sound, std::ostream* out) { *out << sound.name; }

class EncodedSound : public ::testing::TestWithParam<Case> {};

TEST_P(EncodedSound, DecodesAsElsewhere) {
  const Bytes file = ReadSound(GetParam().name);
  const auto decoder = Open(file);
  ASSERT_TRUE(decoder);
  sound::AudioBlock block;
  ASSERT_TRUE(decoder->Decode(block));
  EXPECT_EQ(block.rate, GetParam().rate);
  EXPECT_EQ(block.channels, GetParam().channels);
  ASSERT_TRUE(decoder->Rewind());
  const std::vector<float> made = DecodeAll(*decoder);
  const std::vector<float> wanted = ReadReference(GetParam().name);
  const auto channels = static_cast<std::size_t>(GetParam().channels);
  EXPECT_NEAR(static_cast<double>(made.size() / channels),
              static_cast<double>(wanted.size() / channels), static_cast<double>(GetParam().slack));
  EXPECT_GT(SignalToNoise(wanted, made), GetParam().likeness);
}

TEST_P(EncodedSound, PlaysFromAFileAsFromMemory) {
  const std::string path = std::string(ENCODED_SOUNDS) + "/" + GetParam().name;
  const Bytes file = ReadSound(GetParam().name);
  const auto fromMemory = Open(file);
  const auto fromFile = sound::OpenDecoder(sound::OpenFile(path.c_str()));
  ASSERT_TRUE(fromFile);
  EXPECT_EQ(DecodeAll(*fromFile), DecodeAll(*fromMemory));
}

TEST_P(EncodedSound, IsTheSameReadAhead) {
  const std::string path = std::string(ENCODED_SOUNDS) + "/" + GetParam().name;
  const Bytes file = ReadSound(GetParam().name);
  const auto ahead = sound::ReadAhead(sound::OpenDecoder(sound::OpenFile(path.c_str())));
  ASSERT_TRUE(ahead);
  std::vector<float> all;
  sound::AudioBlock block;
  do {
    all.insert(all.end(), block.samples.begin(), block.samples.end());
    ASSERT_TRUE(support::WaitFor([&] { return !ahead->IsLate(1); }));
  } while (ahead->Decode(block));
  EXPECT_EQ(all, DecodeAll(*Open(file)));
}

TEST_P(EncodedSound, RewindsAfterItsEnd) {
  const Bytes file = ReadSound(GetParam().name);
  const auto decoder = Open(file);
  const std::vector<float> first = DecodeAll(*decoder);
  ASSERT_TRUE(decoder->Rewind());
  EXPECT_EQ(DecodeAll(*decoder).size(), first.size());
}

// Damage anywhere gives less sound or other sound, and nothing worse. The files
// are the same on every run, but for --gtest_shuffle, which brings others on
// every one of --gtest_repeat.
TEST_P(EncodedSound, SurvivesDamage) {
  const Bytes whole = ReadSound(GetParam().name);
  std::mt19937 random(7u + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
  constexpr int kVariants = 60;
  for (int variant = 0; variant < kVariants; ++variant) {
    Bytes damaged = whole;
    const bool header = variant % 2 == 0;
    const std::size_t range = header ? std::min<std::size_t>(damaged.size(), 300) : damaged.size();
    for (int change = 0; change < 1 + variant % 12; ++change)
      damaged[random() % range] = static_cast<unsigned char>(random());
    if (variant % 5 == 0) damaged.resize(random() % damaged.size());
    const support::GuardedBytes guarded(damaged);
    auto decoder = sound::OpenDecoder(sound::OpenMemory(guarded.data(), guarded.size()));
    if (!decoder) continue;
    sound::Voice voice(std::move(decoder), 44100);
    std::vector<float> block(2 * 4096);
    std::size_t frames = 0, got = 0;
    while ((got = voice.Read(block.data(), 4096)) > 0 && frames < 100 * 44100) frames += got;
    for (const float sample : block) ASSERT_TRUE(std::isfinite(sample));
  }
}

constexpr Case kCases[] = {
    {"u8.wav", 44100, 2, 130},
    {"s16.wav", 44100, 2, 130},
    {"s24.wav", 44100, 2, 130},
    {"s32.wav", 44100, 2, 130},
    {"f32.wav", 44100, 2, 130},
    {"f64.wav", 44100, 2, 130},
    {"alaw.wav", 44100, 2, 130},
    {"mulaw.wav", 44100, 2, 130},
    {"mono-8k.wav", 8000, 1, 130},
    {"six-channels.wav", 44100, 6, 130},
    // The file tells how much of its last block counts; the other decoder
    // gives all of it.
    {"ms-adpcm.wav", 44100, 2, 80, 4096},
    {"ms-adpcm-mono-22k.wav", 22050, 1, 80, 4096},
    // Two ways of rounding are in use for IMA.
    {"ima-adpcm.wav", 44100, 2, 45, 4096},
    {"ima-adpcm-mono-22k.wav", 22050, 1, 45, 4096},
    {"mp2.mp2", 44100, 2, 80},
    {"mp3.mp3", 44100, 2, 100},
    {"mp3-vbr-48k.mp3", 48000, 2, 100},
    {"mp3-mono-22k.mp3", 22050, 1, 100},
    {"mp3-tagged.mp3", 44100, 2, 100},
    {"mp3-in.wav", 44100, 2, 100, 2304},
    {"vorbis.ogg", 44100, 2, 110},
    {"vorbis-mono-22k.ogg", 22050, 1, 110},
    {"vorbis-48k.ogg", 48000, 2, 110},
};

INSTANTIATE_TEST_SUITE_P(Decoders, EncodedSound, ::testing::ValuesIn(kCases), [](const auto& each) {
  std::string name = each.param.name;
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
});

TEST(OpenDecoder, PlaysVorbisStreamsInARow) {
  const Bytes file = ReadSound("vorbis-chained.ogg");
  sound::Voice voice(Open(file), 44100);
  std::vector<float> block(2 * 1000);
  std::size_t frames = 0, got = 0;
  while ((got = voice.Read(block.data(), 1000)) > 0) frames += got;
  EXPECT_NEAR(static_cast<double>(frames), 2 * 3 * 44100, 100);
}

TEST(OpenDecoder, StopsAdpcmWhereTheFileSays) {
  Bytes file = ReadSound("ms-adpcm.wav");
  const std::string_view name = "fact";
  const auto fact = std::search(file.begin(), file.end(), name.begin(), name.end());
  ASSERT_NE(fact, file.end());
  Bytes count;
  support::AppendU32(count, 100'000);
  std::copy(count.begin(), count.end(), fact + 8);
  EXPECT_EQ(DecodeAll(*Open(file)).size(), 2u * 100'000);
}

TEST(OpenDecoder, RefusesWhatIsNoSound) {
  EXPECT_FALSE(Open({}));
  EXPECT_FALSE(Open({0}));
  EXPECT_FALSE(Open(support::BytesOf("Ogg")));
  EXPECT_FALSE(Open(support::BytesOf("This is a text, not a sound.")));
  EXPECT_FALSE(Open(support::BytesOf("OggS and then nothing of the kind")));
  EXPECT_FALSE(Open(support::PatternBytes(20'000)));
  EXPECT_FALSE(Open(Bytes(20'000)));
}

TEST(OpenDecoder, RefusesWavesOfUnknownKind) {
  EXPECT_FALSE(Open(MakeWave({0x31, 1, 8000, 65, 0}, Bytes(650))));
  EXPECT_FALSE(Open(MakeWave({0x55, 2, 44100, 1, 0}, Bytes(650))));
}

TEST(OpenDecoder, RefusesAdpcmThatItsCodecMustNotSee) {
  EXPECT_FALSE(Open(MakeWave({2, 2, 44100, 14, 4}, Bytes(1400))));     // no room for samples
  EXPECT_FALSE(Open(MakeWave({2, 3, 44100, 256, 4}, Bytes(1400))));    // three channels
  EXPECT_FALSE(Open(MakeWave({2, 1, 44100, 256, 8}, Bytes(1400))));    // eight bits
  EXPECT_FALSE(Open(MakeWave({17, 2, 44100, 8, 4}, Bytes(1400))));
  EXPECT_FALSE(Open(MakeWave({17, 1, 44100, 255, 4}, Bytes(1400))));   // pieces of four bytes
  EXPECT_FALSE(Open(MakeWave({17, 1, 44100, 0xFFFC, 4}, Bytes(1400))));
}

// Heads of blocks with predictors and steps that don't exist.
TEST(OpenDecoder, SurvivesAdpcmBlocksOfNonsense) {
  for (const std::uint16_t tag : {2, 17})
    for (const std::uint16_t channels : {1, 2}) {
      const Bytes file = MakeWave({tag, channels, 22050, 512, 4}, Bytes(512 * 40, 0xFF));
      const auto decoder = Open(file);
      ASSERT_TRUE(decoder);
      EXPECT_GT(DecodeAll(*decoder).size(), 10'000u);
    }
}

}  // namespace
