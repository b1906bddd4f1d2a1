#include "sound/read_ahead.h"

#include "SoundHelpers.h"
#include "support/WaitFor.h"

#include <atomic>
#include <condition_variable>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <new>

using namespace testing_sound;
using support::WaitFor;
using ::testing::Each;

namespace {

constexpr int kRate = 1000;
constexpr std::size_t kFrames = 100;  // of a piece: a tenth of a second

// Where a decoder's reads come through or don't.
struct Road {
  std::mutex lock;
  std::condition_variable changed;
  bool open = true;
  std::atomic<int> decoded{0};
  std::atomic<int> waiting{0};
  std::atomic<bool> decoderIsGone{false};
  int pieces = 1'000'000;  // then the sound is over
  int memoryFor = 1'000'000;

  void Open(bool isOpen) {
    const std::lock_guard guard(lock);
    open = isOpen;
    changed.notify_all();
  }
  void Pass() {
    std::unique_lock guard(lock);
    ++waiting;
    changed.wait(guard, [this] { return open; });
    --waiting;
  }
};

// Its pieces are of one value each: 1, 2, 3 ...
class RoadDecoder final : public sound::Decoder {
 public:
  explicit RoadDecoder(Road& road) : road_(road) {}
  ~RoadDecoder() override { road_.decoderIsGone = true; }
  bool Decode(sound::AudioBlock& block) override {
    road_.Pass();
    if (next_ > road_.pieces) return false;
    if (next_ > road_.memoryFor) throw std::bad_alloc();
    block = StereoBlock(std::vector<float>(2 * kFrames, static_cast<float>(next_++)), kRate);
    ++road_.decoded;
    return true;
  }
  bool Rewind() override {
    road_.Pass();
    next_ = 1;
    return true;
  }

 private:
  Road& road_;
  int next_ = 1;
};

class ReadAheadTest : public ::testing::Test {
 protected:
  ~ReadAheadTest() override {
    road_.Open(true);
    ahead_.reset();
    EXPECT_TRUE(WaitFor([&] { return road_.decoderIsGone.load(); }));
  }
  void Start() {
    ahead_ = sound::ReadAhead(std::make_unique<RoadDecoder>(road_));
    ASSERT_TRUE(ahead_);
  }
  // The value of the next piece, 0 for silence, -1 at the end.
  float Next() {
    if (!ahead_->Decode(block_)) return -1;
    EXPECT_EQ(block_.rate, kRate);
    EXPECT_EQ(block_.channels, 2);
    EXPECT_FALSE(block_.samples.empty());
    EXPECT_THAT(block_.samples, Each(block_.samples.front()));
    return block_.samples.front();
  }
  float NextInTime() {
    EXPECT_TRUE(WaitFor([&] { return !ahead_->IsLate(1); }));
    return Next();
  }
  // Takes what is ready, until the thread waits for a read that doesn't come.
  float TakeAllWithoutRoad() {
    road_.Open(false);
    float last = 0;
    for (;;) {
      const bool stands = road_.waiting > 0;
      const float value = Next();
      if (stands && value == 0) return last;
      if (value != 0) last = value;
    }
  }

  Road road_;
  sound::AudioBlock block_;
  std::unique_ptr<sound::Decoder> ahead_;
};

TEST_F(ReadAheadTest, GivesTheSameSound) {
  road_.pieces = 700;
  Start();
  for (int piece = 1; piece <= 700; ++piece) ASSERT_EQ(NextInTime(), static_cast<float>(piece));
  EXPECT_EQ(NextInTime(), -1);
  EXPECT_EQ(Next(), -1);
}

TEST_F(ReadAheadTest, NoSoundIsNothing) {
  road_.pieces = 0;
  EXPECT_FALSE(sound::ReadAhead(std::make_unique<RoadDecoder>(road_)));
}

TEST_F(ReadAheadTest, ASecondIsReadyAndNoMore) {
  Start();
  EXPECT_TRUE(WaitFor([&] { return !ahead_->IsLate(1000); }));
  EXPECT_TRUE(ahead_->IsLate(1001));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // time for what must not come
  EXPECT_EQ(road_.decoded, 10);
}

TEST_F(ReadAheadTest, SilenceStandsInForWhatIsLate) {
  Start();
  const float last = TakeAllWithoutRoad();
  EXPECT_GE(last, 4);
  EXPECT_TRUE(ahead_->IsLate(1));
  EXPECT_EQ(Next(), 0);
  road_.Open(true);
  EXPECT_EQ(NextInTime(), last + 1);
}

TEST_F(ReadAheadTest, ARewindBeginsAnew) {
  Start();
  EXPECT_EQ(NextInTime(), 1);
  EXPECT_TRUE(ahead_->Rewind());
  EXPECT_EQ(NextInTime(), 1);
  EXPECT_EQ(NextInTime(), 2);
}

TEST_F(ReadAheadTest, ARewindAfterTheEndBeginsAnew) {
  road_.pieces = 5;
  Start();
  for (int times = 0; times < 3; ++times) {
    for (int piece = 1; piece <= 5; ++piece) EXPECT_EQ(NextInTime(), static_cast<float>(piece));
    EXPECT_EQ(NextInTime(), -1);
    EXPECT_TRUE(ahead_->Rewind());
  }
}

TEST_F(ReadAheadTest, ARewindDoesNotWaitForARead) {
  Start();
  TakeAllWithoutRoad();
  EXPECT_TRUE(ahead_->Rewind());
  EXPECT_EQ(Next(), 0);
  road_.Open(true);
  EXPECT_EQ(NextInTime(), 1);
}

TEST_F(ReadAheadTest, ItsEndDoesNotWaitForARead) {
  Start();
  TakeAllWithoutRoad();
  ahead_.reset();
  EXPECT_FALSE(road_.decoderIsGone);
  road_.Open(true);
  EXPECT_TRUE(WaitFor([&] { return road_.decoderIsGone.load(); }));
}

TEST_F(ReadAheadTest, EndsWhereMemoryRunsOut) {
  road_.memoryFor = 7;
  Start();
  for (int piece = 1; piece <= 7; ++piece) EXPECT_EQ(NextInTime(), static_cast<float>(piece));
  EXPECT_EQ(NextInTime(), -1);
}

TEST(ReadAhead, ManySmallPiecesAreNotLate) {
  std::vector<sound::AudioBlock> pieces(1000, StereoBlock({0.5f, 0.5f}, 44100));
  sound::AudioBlock block;
  const auto ahead = sound::ReadAhead(DecoderOf(pieces));
  for (const sound::AudioBlock& piece : pieces) {
    ASSERT_TRUE(WaitFor([&] { return !ahead->IsLate(1); }));
    ASSERT_TRUE(ahead->Decode(block));
    ASSERT_EQ(block.samples, piece.samples);
  }
  ASSERT_TRUE(WaitFor([&] { return !ahead->IsLate(1); }));
  EXPECT_FALSE(ahead->Decode(block));
}

}  // namespace
