// What the show looks like, and what it asks of the device.

#include "support/AllocationCount.h"
#include "support/MethodHook.h"
#include "unit/graphics/DeviceCalls.h"
#include "unit/slideshow/ShowTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using slideshow_test::FlatSlide;
using testing::ElementsAre;

// `k` of `a` and the rest of `b`.
std::uint32_t Mixed(std::uint32_t a, std::uint32_t b, double k) {
  std::uint32_t mixed = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    const double value = (a >> shift & 0xFF) * k + (b >> shift & 0xFF) * (1 - k);
    mixed |= static_cast<std::uint32_t>(std::lround(value)) << shift;
  }
  return mixed;
}

class ShowDraw : public slideshow_test::ShowTest {
 protected:
  static constexpr std::uint32_t kFirst = 0xC08040;
  static constexpr std::uint32_t kSecond = 0x2060E0;

  void LoadTwo() { Load({FlatSlide("a", kFirst), FlatSlide("b", kSecond)}); }
};

TEST_F(ShowDraw, NothingIsDrawnBeforeTheFirstPicture) {
  LoadTwo();
  show->Update(0);
  int drawn = 0;
  HOOK_METHOD(draw, AnyDevice(), &IDirect3DDevice7::DrawIndexedPrimitive,
              [&](auto, IDirect3DDevice7*, D3DPRIMITIVETYPE, DWORD, void*, DWORD, WORD*, DWORD,
                  DWORD) { return ++drawn, D3D_OK; });
  show->Draw();
  EXPECT_EQ(drawn, 0);
}

TEST_F(ShowDraw, ASlideInFullLightHasThePicturesColours) {
  LoadTwo();
  FinishOpening();
  EXPECT_LE(support::ColourDistance(DrawnColour(), kFirst), 1);
}

TEST_F(ShowDraw, TheOpeningFadeIsThePicturesBrightness) {
  LoadTwo();
  ShowFirstSlide();
  EXPECT_EQ(DrawnColour(), 0u);
  for (int step = 1; step <= 4; ++step) {
    show->Update(500);
    EXPECT_LE(support::ColourDistance(DrawnColour(), Mixed(kFirst, 0, step / 4.0)), 2) << step;
  }
}

// The device multiplies the material's alpha by itself, so the next slide comes
// through by the square of the blend.
TEST_F(ShowDraw, ACrossfadeMixesBySquareOfTheBlend) {
  LoadTwo();
  FinishOpening();
  StartTransition();
  EXPECT_LE(support::ColourDistance(DrawnColour(), kFirst), 1);
  for (int step = 1; step <= 3; ++step) {
    show->Update(1000);
    const double blend = step / 4.0;
    EXPECT_LE(support::ColourDistance(DrawnColour(), Mixed(kSecond, kFirst, blend * blend)), 2)
        << step;
  }
  show->Update(1000);
  EXPECT_LE(support::ColourDistance(DrawnColour(), kSecond), 1);
}

TEST_F(ShowDraw, AFadeDarkensOnePictureAndLightensTheOther) {
  LoadTwo();
  show->SetCrossfade(false);
  FinishOpening();
  StartTransition();
  show->Update(1000);
  EXPECT_LE(support::ColourDistance(DrawnColour(), Mixed(kFirst, 0, 0.5)), 2);
  show->Update(1000);
  EXPECT_EQ(DrawnColour(), 0u);
  show->Update(1000);
  EXPECT_LE(support::ColourDistance(DrawnColour(), Mixed(kSecond, 0, 0.5)), 2);
}

TEST_F(ShowDraw, AStillPictureDarkensWhileTheNextComesIn) {
  LoadTwo();
  show->SetAnimate(false);
  ShowFirstSlide();
  EXPECT_LE(support::ColourDistance(DrawnColour(), kFirst), 1);
  StartTransition();
  show->Update(2000);
  ASSERT_FLOAT_EQ(show->GetBlend(), 0.5f);
  const std::uint32_t darkened = Mixed(kFirst, 0, 0.5);
  EXPECT_LE(support::ColourDistance(DrawnColour(), Mixed(kSecond, darkened, 0.25)), 2);
}

TEST_F(ShowDraw, AStillPictureShowsWholeWithBars) {
  support::TestSlide wide = FlatSlide("a", kFirst);
  wide.width = 800;
  wide.height = 300;
  Load({wide});
  show->SetAnimate(false);
  ShowFirstSlide();
  const support::Pixels picture = Drawn();
  const int middle = picture.height / 2;
  EXPECT_LE(support::ColourDistance(picture.At(2, middle), kFirst), 1);
  EXPECT_LE(support::ColourDistance(picture.At(picture.width - 3, middle), kFirst), 1);
  EXPECT_EQ(picture.At(picture.width / 2, 10), 0u);
  EXPECT_EQ(picture.At(picture.width / 2, picture.height - 10), 0u);
}

TEST_F(ShowDraw, AMovingPictureCoversEveryPixelForItsWholeLife) {
  LoadTwo();
  ShowFirstSlide();
  show->Update(2000);
  for (int ms = 0; ms < 30000; ms += 500) {
    ASSERT_TRUE(show->IsInTransition() || WaitForLoader());
    show->Update(500);
    const support::Pixels picture = Drawn();
    for (const auto& [x, y] :
         {std::pair{0, 0}, std::pair{picture.width - 1, 0}, std::pair{0, picture.height - 1},
          std::pair{picture.width - 1, picture.height - 1}})
      ASSERT_NE(picture.At(x, y), 0u) << x << "," << y << " after " << ms << " ms";
  }
}

TEST_F(ShowDraw, EndsWithBlendingOff) {
  LoadTwo();
  FinishOpening();
  StartTransition();
  show->Draw();
  DWORD blending = 1;
  AnyDevice()->GetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, &blending);
  EXPECT_EQ(blending, 0u);
}

TEST_F(ShowDraw, TheNextSlideIsBlendedByItsMaterial) {
  LoadTwo();
  FinishOpening();
  StartTransition();
  show->Update(2000);
  const std::vector<std::string> calls = graphics_test::DeviceCallsOf(
      AnyDevice(),
      [](const D3DMATERIAL7& material) {
        return "material " + std::to_string(material.ambient.a) + " " +
               std::to_string(material.diffuse.a);
      },
      [&] { show->Draw(); });
  EXPECT_THAT(calls, ElementsAre("material 1.000000 1.000000", "scene",
                                 "material 1.000000 0.500000", "state 27 1", "state 19 5",
                                 "state 20 6", "stage 4 4", "stage 5 0", "scene", "state 27 0"));
}

// --- What a frame costs ---

TEST_F(ShowDraw, ASteadyFrameAllocatesNothing) {
  Load({FlatSlide("a", kFirst, 1024, 512), FlatSlide("b", kSecond, 1024, 512)});
  FinishOpening();
  for (int tile = 0; tile < 10; ++tile) show->Update(1);
  const support::AllocationCount allocations;
  // The counter itself: it must see what is allocated.
  delete new std::string(100, 'x');
  ASSERT_GT(support::AllocationCount::Count(), 0);
  const long before = support::AllocationCount::Count();
  for (int frame = 0; frame < 100; ++frame) {
    show->Update(16);
    gGraphicsLayer->Clear(true, false, 0, 1.0f);
    show->Draw();
  }
  EXPECT_EQ(support::AllocationCount::Count() - before, 0);
}

TEST_F(ShowDraw, ASteadyFrameWithACaptionAllocatesNothing) {
  show->SetShowCaptions(true);
  show->SetCaptionFontName("Arial");
  show->SetCaptionFontSize(-22);
  LoadTwo();
  FinishOpening();
  for (int tile = 0; tile < 10; ++tile) show->Update(1);
  show->Draw();
  const support::AllocationCount allocations;
  for (int frame = 0; frame < 100; ++frame) {
    show->Update(16);
    gGraphicsLayer->Clear(true, false, 0, 1.0f);
    show->Draw();
  }
  EXPECT_EQ(support::AllocationCount::Count(), 0);
}

TEST_F(ShowDraw, AFrameOfATransitionAllocatesNothing) {
  Load({FlatSlide("a", kFirst, 1024, 512), FlatSlide("b", kSecond, 1024, 512)});
  FinishOpening();
  StartTransition();
  show->Draw();
  const support::AllocationCount allocations;
  for (int frame = 0; frame < 100; ++frame) {
    show->Update(16);
    gGraphicsLayer->Clear(true, false, 0, 1.0f);
    show->Draw();
  }
  EXPECT_TRUE(show->IsInTransition());
  EXPECT_EQ(support::AllocationCount::Count(), 0);
}

}  // namespace
