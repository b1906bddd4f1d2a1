#include "slideshow/FrameRate.h"

#include <gtest/gtest.h>

namespace {

class FrameRate : public testing::Test {
 protected:
  void SetUp() override {
    FpsFrames = FpsMs = RunMs = FpsSamples = 0;
    FpsNow = FpsSum = 0;
    AverageFps = 100.0f;
  }
  static void Count(int frames, double ms) {
    for (int n = 0; n < frames; ++n) {
      CountFrame(ms);
      TakeSample();
    }
  }
};

TEST_F(FrameRate, ARunShorterThanASampleLeaves100) {
  Count(249, 1.0);
  EXPECT_EQ(AverageFps, 100.0f);
  EXPECT_EQ(FpsFrames, 249);
  EXPECT_EQ(FpsMs, 249);
  EXPECT_EQ(FpsSamples, 0);
}

TEST_F(FrameRate, ASampleIsTakenAt250Milliseconds) {
  Count(25, 10.0);
  EXPECT_EQ(FpsSamples, 1);
  EXPECT_EQ(FpsNow, 100.0f);
  EXPECT_EQ(AverageFps, 100.0f);
  EXPECT_EQ(FpsFrames, 0);
  EXPECT_EQ(FpsMs, 0);
}

TEST_F(FrameRate, ASampleIsRatedByItsOwnLength) {
  Count(3, 100.0);
  EXPECT_EQ(FpsNow, 10.0f);
  EXPECT_EQ(AverageFps, 10.0f);
}

TEST_F(FrameRate, WhatExceedsASampleCountsToTheNext) {
  Count(3, 100.0);
  EXPECT_EQ(FpsMs, 50);
  Count(2, 100.0);
  EXPECT_EQ(FpsSamples, 2);
  EXPECT_EQ(FpsMs, 0);
  EXPECT_EQ(FpsNow, 8.0f);
}

TEST_F(FrameRate, FractionsOfAMillisecondAreCutOffAtEachFrame) {
  Count(10, 0.99);
  EXPECT_EQ(FpsMs, 0);
  Count(10, 1.99);
  EXPECT_EQ(FpsMs, 10);
}

TEST_F(FrameRate, TheRunsTimeGoesOnOverAllSamples) {
  Count(10, 100.9);
  EXPECT_EQ(RunMs, 1000);
  Count(3, 1e12);
  EXPECT_GT(RunMs, 1000);
}

TEST_F(FrameRate, TheAverageIsThePlainMeanOfAllSamples) {
  Count(1, 1000.0);  // 1 frame a second; 750 ms are left over
  EXPECT_EQ(AverageFps, 1.0f);
  Count(1, 250.0);   // 1 in 1000 again
  EXPECT_EQ(AverageFps, 1.0f);
  FpsMs = 0;
  Count(5, 50.0);      // 20 a second
  EXPECT_EQ(FpsNow, 20.0f);
  EXPECT_FLOAT_EQ(AverageFps, 22.0f / 3.0f);
}

TEST_F(FrameRate, ASlowStartStaysInTheAverage) {
  Count(1, 250.0);  // 4 a second
  Count(250, 10.0);   // ten samples of 100
  EXPECT_EQ(FpsSamples, 11);
  EXPECT_FLOAT_EQ(AverageFps, 1004.0f / 11.0f);
}

TEST_F(FrameRate, AnEndlessFirstFrameDoesNotOverflow) {
  Count(3, 1e12);
  EXPECT_GT(FpsMs, 0);
  EXPECT_GE(AverageFps, 0.0f);
  EXPECT_LT(AverageFps, 1.0f);
}

}  // namespace
