#include "ui/CreditScroller.h"

#include "ControlHost.h"
#include "support/FakeClock.h"
#include "support/GdiGauge.h"
#include "support/Layout.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

using namespace support;

namespace {

constexpr int kWidth = 300;
constexpr int kHeight = 120;
constexpr double kFrameMs = 16.666;

class CreditScrollerTest : public testing::Test {
 protected:
  CreditScrollerTest() { Renew(); }

  void Renew() {
    scroller = std::make_unique<CreditScroller>();
    scroller->SetFont(CreateFontA(-20, 0, 0, 0, 700, TRUE, FALSE, FALSE, 0, 4, 0, 4, 0, "Arial"));
    scroller->SetLineGap(0);
    scroller->AttachTo(window);
  }
  void AddLines(int count) {
    for (int n = 0; n < count; ++n) scroller->AddLine("Line " + std::to_string(n));
  }
  // The frame that is drawn `ms` after the last one.
  Pixels FrameAfter(double ms) {
    clock.Advance(ms);
    const Canvas canvas(kWidth, kHeight, 0x123456);
    DRAWITEMSTRUCT item{};
    item.hDC = canvas.Dc();
    scroller->Frame(&item);
    return canvas.Read();
  }
  std::vector<float> Tops() {
    std::vector<float> tops;
    if (scroller->credits.First()) do
        tops.push_back(scroller->credits.Current().y);
      while (scroller->credits.Next());
    return tops;
  }

  FakeClock clock;
  ControlHost host;
  HWND window = host.AddButton(5, 0, 0, kWidth, kHeight);
  std::unique_ptr<CreditScroller> scroller;
};

TEST(CreditScrollerLayout, FieldsStandInTheirOrderWithTheirFirstValues) {
  const CreditScroller s;
  EXPECT_TRUE(StandInOrder(s.surfaceDC, s.windowDC, s.clientRect, s.timer, s.font, s.layers,
                           s.layerColors, s.textColor, s.baseStars, s.layerCount, s.lineHeight,
                           s.lineGap, s.scrollSpeed, s.starSpeedX, s.starSpeedY, s.running,
                           s.credits));
  EXPECT_EQ(s.surfaceDC, nullptr);
  EXPECT_EQ(s.windowDC, nullptr);
  EXPECT_EQ(s.font, nullptr);
  EXPECT_EQ(s.textColor, 0x00F8A8A0u);
  EXPECT_EQ(s.baseStars, 25);
  EXPECT_EQ(s.layerCount, 4);
  EXPECT_EQ(s.lineHeight, 30);
  EXPECT_EQ(s.lineGap, 40);
  EXPECT_EQ(s.scrollSpeed, -0.5f);
  EXPECT_EQ(s.starSpeedX, -1.0f);
  EXPECT_EQ(s.starSpeedY, 0.0f);
  EXPECT_FALSE(s.running);
}

// The stars as the run time's generator scatters them from the seed.
Pixels ExpectedStars() {
  struct Point {
    int x, y;
  };
  std::vector<std::vector<Point>> layers(4);
  std::srand(69);
  for (int layer = 0; layer < 4; ++layer)
    for (int star = 0; star < 25 + layer; ++star) {
      const int x = std::rand() % kWidth;
      const int y = std::rand() % kHeight;
      layers[static_cast<std::size_t>(layer)].push_back({x, y});
    }
  Pixels sky(kWidth, kHeight, 0);
  for (int layer = 3; layer >= 0; --layer)
    for (const Point& star : layers[static_cast<std::size_t>(layer)])
      sky.Set(star.x, star.y, 0x010101u * static_cast<unsigned>(255 - 50 * layer));
  return sky;
}

TEST_F(CreditScrollerTest, TheFirstFrameIsTheStarFieldOfSeed69) {
  AddLines(3);
  scroller->Start();
  EXPECT_TRUE(PixelsNear(FrameAfter(0), ExpectedStars()));
}

TEST_F(CreditScrollerTest, TheStarsAreTheSameAtEachOpening) {
  scroller->Start();
  const Pixels first = FrameAfter(0);
  FrameAfter(5000);
  Renew();
  scroller->Start();
  EXPECT_TRUE(PixelsNear(FrameAfter(0), first));
}

TEST_F(CreditScrollerTest, NearStarsMoveFasterThanFarOnes) {
  scroller->Start();
  for (auto& layer : scroller->layers) layer[0] = {200, 50};
  FrameAfter(kFrameMs * 10);
  EXPECT_NEAR(scroller->layers[0][0].x, 185.0, 0.01);
  EXPECT_NEAR(scroller->layers[1][0].x, 188.333, 0.01);
  EXPECT_NEAR(scroller->layers[2][0].x, 191.667, 0.01);
  EXPECT_NEAR(scroller->layers[3][0].x, 195.0, 0.01);
  EXPECT_EQ(scroller->layers[0][0].y, 50);
}

TEST_F(CreditScrollerTest, AStarThatLeavesOnOneSideComesBackOnTheOther) {
  scroller->starSpeedY = 1.0f;
  scroller->Start();
  scroller->layers[0][0] = {1, 60};
  scroller->layers[0][1] = {150, kHeight - 1};
  FrameAfter(kFrameMs * 10);
  EXPECT_NEAR(scroller->layers[0][0].x, 1 - 15 + kWidth, 0.01);
  EXPECT_GE(scroller->layers[0][0].y, 0);
  EXPECT_LT(scroller->layers[0][0].y, kHeight);
  EXPECT_NEAR(scroller->layers[0][1].y, 14, 0.01);
  scroller->starSpeedX = 1.0f;
  scroller->starSpeedY = -1.0f;
  scroller->layers[0][0] = {kWidth - 1, 60};
  scroller->layers[0][1] = {150, 1};
  FrameAfter(kFrameMs * 10);
  EXPECT_NEAR(scroller->layers[0][0].x, 14, 0.01);
  EXPECT_NEAR(scroller->layers[0][1].y, 1 - 15 + kHeight, 0.01);
}

TEST_F(CreditScrollerTest, LinesFollowEachOtherFromBelowTheView) {
  AddLines(3);
  scroller->Start();
  EXPECT_EQ(Tops(), (std::vector<float>{kHeight, kHeight + 30, kHeight + 60}));
  scroller->SetLineGap(40);
  scroller->Start();
  EXPECT_EQ(Tops(), (std::vector<float>{kHeight, kHeight + 70, kHeight + 140}));
}

TEST_F(CreditScrollerTest, TheTextRisesAtTheSameSpeedHoweverOftenFramesCome) {
  AddLines(2);
  const auto topAfterTwoSeconds = [this](int frames) {
    scroller->Start();
    for (int n = 0; n < frames; ++n) FrameAfter(2000.0 / frames);
    return Tops()[0];
  };
  const float expected = kHeight - 0.5f * static_cast<float>(2000 / kFrameMs);
  for (const int frames : {1, 7, 120, 2000, 8000})
    EXPECT_NEAR(topAfterTwoSeconds(frames), expected, 0.05) << frames << " frames";
}

TEST_F(CreditScrollerTest, TheRollStartsAgainFromTheBottomAfterTheLastLine) {
  AddLines(2);
  scroller->Start();
  const double msPerPixel = kFrameMs / 0.5;
  FrameAfter(msPerPixel * (kHeight + 29));
  EXPECT_NEAR(Tops()[0], -29, 0.01);
  FrameAfter(msPerPixel * 2);
  EXPECT_NEAR(Tops()[0], -31 + 2 * 30 + kHeight, 0.01);
  EXPECT_NEAR(Tops()[1], -1, 0.01) << "the second line is still leaving";
  FrameAfter(msPerPixel * 30);
  EXPECT_NEAR(Tops()[1] - Tops()[0], 30, 0.01) << "the distance stays";
}

TEST_F(CreditScrollerTest, ALineIsDrawnCentredInItsColour) {
  scroller->AddLine("MMMM");
  scroller->Start();
  FrameAfter(kFrameMs * 2 * (kHeight - 40));  // its upper edge comes to y = 40
  const Pixels frame = FrameAfter(0);
  int left = kWidth, right = 0, coloured = 0;
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      const std::uint32_t colour = frame.At(x, y);
      if ((colour & 0xFF) <= (colour >> 16)) continue;  // black, or the grey of a star
      EXPECT_GE(y, 40);
      EXPECT_LT(y, 70);
      left = std::min(left, x);
      right = std::max(right, x);
      coloured += colour == 0xA0A8F8;
    }
  EXPECT_GT(coloured, 50);
  EXPECT_NEAR(left + right, kWidth, 8);
}

TEST_F(CreditScrollerTest, AStoppedRollDrawsNothing) {
  AddLines(1);
  scroller->Start();
  scroller->Stop();
  EXPECT_TRUE(PixelsNear(FrameAfter(100), Pixels(kWidth, kHeight, 0x123456)));
  EXPECT_EQ(Tops()[0], kHeight);
}

TEST_F(CreditScrollerTest, AfterAnHoursPauseTheRollComesBack) {
  AddLines(3);
  scroller->Start();
  FrameAfter(3600e3);
  for (int n = 0; n < 2000 && Tops()[0] < 0; ++n) FrameAfter(1);
  EXPECT_GE(Tops()[0], 0);
  EXPECT_NEAR(Tops()[1] - Tops()[0], 30, 1);
}

TEST_F(CreditScrollerTest, WithoutAnyLineThereAreTheStars) {
  scroller->Start();
  EXPECT_TRUE(PixelsNear(FrameAfter(0), ExpectedStars()));
}

TEST_F(CreditScrollerTest, AControlWithoutAnAreaDoesNoHarm) {
  const HWND flat = host.AddButton(6, 0, 0, 0, 0);
  scroller->AttachTo(flat);
  AddLines(2);
  scroller->Start();
  FrameAfter(100);
  EXPECT_EQ(scroller->clientRect.right, 0);
}

TEST_F(CreditScrollerTest, LeavesNoGdiObjectBehind) {
  Renew();
  const GdiGauge gauge;
  for (int n = 0; n < 20; ++n) {
    Renew();
    AddLines(2);
    scroller->Start();
    FrameAfter(10);
  }
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace
