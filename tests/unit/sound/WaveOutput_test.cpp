#include "sound/wave_output.h"

#include "FakeWaveOut.h"
#include "support/FailingNew.h"
#include "support/ImportHook.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

namespace {

constexpr std::size_t kBlocks = sound::WaveOutput::kBlocks;
constexpr DWORD kBufferMs = 100;
constexpr DWORD kLongerThanARetry = 2000;

class WaveOutputTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(output_->Open()); }

  // Sends what there is room for, and tells how much that was.
  std::size_t Fill() {
    std::size_t blocks = 0;
    for (; std::int16_t* block = output_->FreeBlock(); ++blocks) {
      std::fill_n(block, 2 * output_->BlockFrames(), std::int16_t{1});
      output_->Send(output_->BlockFrames());
    }
    return blocks;
  }
  // The next block is refused, and with it the device is lost.
  void LoseDevice() {
    ASSERT_TRUE(device_.PlayBlock());
    ASSERT_NE(output_->FreeBlock(), nullptr);
    device_.RefuseBlocks(true);
    output_->Send(output_->BlockFrames());
    device_.RefuseBlocks(false);
    ASSERT_FALSE(device_.IsOpen());
  }
  std::int64_t HeardBlocks() {
    return output_->HeardFrames() / static_cast<std::int64_t>(output_->BlockFrames());
  }

  DWORD now_ = 1000;  // ms
  support::AnyHook clock_ =
      ANY_HOOK("winmm.dll", timeGetTime, [this]() -> DWORD { return now_; });
  FakeWaveOut device_;
  std::unique_ptr<sound::WaveOutput> output_ =
      std::make_unique<sound::WaveOutput>(WAVE_MAPPER, 44100, kBufferMs);
};

TEST_F(WaveOutputTest, BlocksGoRound) {
  EXPECT_EQ(Fill(), kBlocks);
  for (int played = 1; played < 30; ++played) {
    EXPECT_TRUE(device_.PlayBlock());
    EXPECT_EQ(HeardBlocks(), played);
    EXPECT_EQ(Fill(), 1u);
  }
}

TEST_F(WaveOutputTest, WhatALostDeviceGivesBackIsUsedAgain) {
  Fill();
  LoseDevice();
  EXPECT_EQ(device_.KeptBlocks(), 0u);
  EXPECT_EQ(HeardBlocks(), 1);
  now_ += kBufferMs + 1;
  EXPECT_EQ(HeardBlocks(), 11);
  EXPECT_EQ(Fill(), kBlocks);
}

TEST_F(WaveOutputTest, WhatALostDeviceKeepsIsLeftToIt) {
  Fill();
  device_.RefuseToReset(true);
  LoseDevice();
  EXPECT_EQ(device_.KeptBlocks(), kBlocks - 1);
  now_ += kLongerThanARetry;
  EXPECT_EQ(HeardBlocks(), 11);
  device_.RefuseToReset(false);
  EXPECT_EQ(Fill(), kBlocks);
  EXPECT_EQ(device_.QueuedFrames(), kBlocks * output_->BlockFrames());
  output_.reset();
  EXPECT_FALSE(device_.IsOpen());
  EXPECT_EQ(device_.KeptBlocks(), kBlocks - 1);
  EXPECT_TRUE(device_.KeptIsUntouched());
}

TEST_F(WaveOutputTest, WithoutMemoryForAnotherBlockThereIsNoneYet) {
  Fill();
  device_.RefuseToReset(true);
  LoseDevice();
  now_ += kLongerThanARetry;
  const std::int16_t* block = nullptr;
  {
    const support::FailingNew none(0);
    block = output_->FreeBlock();
  }
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(Fill(), kBlocks);
}

TEST_F(WaveOutputTest, WhatADeviceKeepsAtTheEndIsLeftToIt) {
  Fill();
  device_.RefuseToReset(true);
  output_.reset();
  EXPECT_EQ(device_.KeptBlocks(), kBlocks);
  EXPECT_TRUE(device_.KeptIsUntouched());
}

TEST_F(WaveOutputTest, ADeviceThatKeepsBlocksAgainAndAgainIsGivenUp) {
  device_.RefuseToReset(true);
  for (int i = 0; i < 50; ++i) {
    Fill();
    if (device_.IsOpen()) LoseDevice();
    now_ += kLongerThanARetry;
  }
  EXPECT_GT(device_.Opened(), 5);
  EXPECT_LE(device_.KeptBlocks(), 110u);
  EXPECT_EQ(Fill(), kBlocks);  // time goes on
}

}  // namespace
