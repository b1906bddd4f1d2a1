#include "slideshow/AutoPerformance.h"

#include "settings/Settings.h"
#include "slideshow/CImgLoadThread.h"
#include "slideshow/FrameRate.h"
#include "slideshow/Slideshow.h"
#include "support/BundleWriter.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr int kSide = 2048;
constexpr std::int32_t kUnlimited = 4096;

// A show whose loader tells, by the tiles of a large picture, which limit
// holds: each tile takes 256 px of it at most.
class AutoPerformance : public testing::Test {
 protected:
  AutoPerformance() {
    settings.AutoPerformance = 1;
    settings.FastMode = 0;
    settings.ImageDelay = 10.0f;
    AverageFps = 19.9f;
    RunMs = 0;
  }
  ~AutoPerformance() override {
    AverageFps = 100.0f;
    RunMs = 0;
  }

  void At(std::int32_t ms) {
    RunMs = ms;
    AdjustQuality(settings, show);
  }
  // The limit that the next picture is loaded with.
  std::int32_t CramSize() {
    support::TestSlide slide;
    slide.name = "large";
    slide.picture = support::MakeBmp(kSide, kSide, support::Flat(0x808080));
    slide.width = slide.height = kSide;
    show.SetShowCaptions(false);
    show.SetRandomOrder(false);
    if (!show.LoadBundle(folder_.Write("images.bdl", support::MakeSlideBundle({slide})).c_str()))
      return -1;
    show.Update(0);
    const CImgLoadThread* loader = show.GetLoader();
    const bool ended = support::WaitFor([&] { return loader->IsDecoded() || loader->GetError(); });
    const CSlideImage* image = ended ? loader->GetSlide() : nullptr;
    if (!image) return -1;
    const std::int32_t shown = 256 * image->columns;
    return shown < kSide ? shown : kUnlimited;
  }
  void ExpectUntouched() { EXPECT_EQ(CramSize(), kUnlimited); }

  SaverSettings settings;
  Slideshow show;

 private:
  support::TempFolder folder_;

 protected:
  void SetUp() override { show.SetCramSize(kUnlimited); }
};

TEST_F(AutoPerformance, ASlowStartLimitsPicturesTo1536) {
  At(5001);
  EXPECT_EQ(CramSize(), 1536);
  EXPECT_EQ(settings.AutoPerformance, 1);
}

TEST_F(AutoPerformance, TheFirstWindowEndsBefore6000) {
  At(5999);
  EXPECT_EQ(CramSize(), 1536);
}

TEST_F(AutoPerformance, OutsideTheWindowsNothingChanges) {
  for (const std::int32_t ms : {0, 5000, 6000, 13000, 14000, 23000, 24000, 1000000000}) At(ms);
  EXPECT_EQ(settings.AutoPerformance, 1);
  ExpectUntouched();
}

TEST_F(AutoPerformance, ASlowFirstSlideLimitsPicturesTo1024) {
  At(13001);
  EXPECT_EQ(CramSize(), 1024);
  EXPECT_EQ(settings.AutoPerformance, 1);
}

TEST_F(AutoPerformance, ASlowSecondSlideLimitsPicturesTo512AndEndsTheWatch) {
  At(23999);
  EXPECT_EQ(settings.AutoPerformance, 0);
  EXPECT_EQ(CramSize(), 512);
}

TEST_F(AutoPerformance, TheWatchEndsWhateverTheRate) {
  AverageFps = 60.0f;
  At(23001);
  EXPECT_EQ(settings.AutoPerformance, 0);
  ExpectUntouched();
}

TEST_F(AutoPerformance, TwentyFramesASecondAreEnough) {
  AverageFps = 20.0f;
  for (const std::int32_t ms : {5500, 13500, 23500}) At(ms);
  ExpectUntouched();
}

TEST_F(AutoPerformance, WithoutASampleNothingCounts) {
  AverageFps = 100.0f;
  At(5001);
  ExpectUntouched();
}

TEST_F(AutoPerformance, AMachineThatRecoversKeepsWhatItHasLost) {
  At(5500);
  AverageFps = 60.0f;
  At(13500);
  EXPECT_EQ(CramSize(), 1536);
}

TEST_F(AutoPerformance, OneThatGetsSlowLateSkipsTheFirstSteps) {
  AverageFps = 60.0f;
  At(5500);
  At(13500);
  AverageFps = 10.0f;
  At(23500);
  EXPECT_EQ(CramSize(), 512);
}

TEST_F(AutoPerformance, ADelayOfASecondLeavesTheFirstRowInCharge) {
  settings.ImageDelay = 1.0f;
  At(4500);
  At(5001);
  At(5999);
  EXPECT_EQ(settings.AutoPerformance, 1);
  At(7000);
  EXPECT_EQ(settings.AutoPerformance, 1);
  EXPECT_EQ(CramSize(), 1536);
}

// The first two windows are one.
TEST_F(AutoPerformance, ADelayOfTwoSecondsNeverReachesTheSecondRow) {
  settings.ImageDelay = 2.0f;
  At(5001);
  At(5999);
  EXPECT_EQ(CramSize(), 1536);
}

// From 4001 to 4499 ms the second and the third window are one.
TEST_F(AutoPerformance, ADelayOfHalfASecondLeavesTheSecondRowInCharge) {
  settings.ImageDelay = 0.5f;
  At(4200);
  EXPECT_EQ(settings.AutoPerformance, 1);
  EXPECT_EQ(CramSize(), 1024);
}

TEST_F(AutoPerformance, TurnedOffItChangesNothing) {
  settings.AutoPerformance = 0;
  for (const std::int32_t ms : {5500, 13500, 23500}) At(ms);
  ExpectUntouched();
}

TEST_F(AutoPerformance, InFastModeItChangesNothing) {
  settings.FastMode = 1;
  for (const std::int32_t ms : {5500, 13500, 23500}) At(ms);
  EXPECT_EQ(settings.AutoPerformance, 1);
  ExpectUntouched();
}

TEST_F(AutoPerformance, ADelayThatIsNoNumberIsHarmless) {
  settings.ImageDelay = NAN;
  for (const std::int32_t ms : {4500, 13500, 23500}) At(ms);
  ExpectUntouched();
}

}  // namespace
