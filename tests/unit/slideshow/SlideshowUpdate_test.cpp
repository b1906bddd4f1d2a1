// The course of the show, with real loaders and textures.

#include "graphics/cTexture.h"
#include "support/FullAddressSpace.h"
#include "support/MethodHook.h"
#include "unit/slideshow/LoaderTest.h"
#include "unit/slideshow/ShowTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using slideshow_test::BadSlide;
using slideshow_test::FlatSlide;
using slideshow_test::kDelayMs;
using slideshow_test::LoaderEnd;

class ShowUpdate : public slideshow_test::ShowTest {
 protected:
  static float WidthOf(const CSlideImage& slide) {
    return slide.vertices[static_cast<std::size_t>(slide.columns)].x - slide.vertices[0].x;
  }
  void LoadThree() {
    Load({FlatSlide("a", 0xFF0000), FlatSlide("b", 0x00FF00), FlatSlide("c", 0x0000FF)});
  }
};

// --- Waiting for the first picture ---

TEST_F(ShowUpdate, TheFirstFrameStartsALoaderAndTheCursorMovesOn) {
  LoadThree();
  EXPECT_EQ(NameUnderCursor(), "a");
  show->Update(0);
  EXPECT_NE(show->GetLoader(), nullptr);
  EXPECT_EQ(show->GetCurrent(), nullptr);
  EXPECT_EQ(NameUnderCursor(), "b");
}

TEST_F(ShowUpdate, TimeStandsStillUntilTheFirstPictureIsThere) {
  LoadThree();
  HoldLoaders();
  show->Update(0);
  for (int frame = 0; frame < 5; ++frame) show->Update(1000);
  EXPECT_EQ(show->GetClock(), 0);
  EXPECT_EQ(show->GetDisplayClock(), 0);
  EXPECT_EQ(show->GetCurrent(), nullptr);
}

TEST_F(ShowUpdate, TheFirstPictureComesWithAllItsTilesAndANewLoader) {
  Load({FlatSlide("a", 0xFF0000, 1024, 512), FlatSlide("b", 0)});
  ShowFirstSlide();
  EXPECT_EQ(show->GetCurrent()->TileCount(), 8);
  EXPECT_TRUE(show->GetCurrent()->AllDone());
  EXPECT_NE(show->GetLoader(), nullptr);
  EXPECT_EQ(NameUnderCursor(), "b");
}

TEST_F(ShowUpdate, AFirstPictureThatFailsLeavesTheScreenBlack) {
  Load({BadSlide("a"), FlatSlide("b", 0x00FF00)});
  HoldLoaders();
  show->Update(0);
  StartHeldLoaders();
  ASSERT_TRUE(WaitForLoader());
  for (int frame = 0; frame < 10; ++frame) show->Update(5000);
  EXPECT_EQ(show->GetCurrent(), nullptr);
  EXPECT_EQ(show->GetClock(), 0);
  EXPECT_EQ(DrawnColour(), 0u);
}

// A small picture and a busy machine: it is decoded before the frame that asked for it
// goes on, and with no delay it would be time for the next one.
TEST_F(ShowUpdate, AFirstPictureThatIsReadyAtOnceIsNobodysSuccessor) {
  LoadThree();
  show->SetImageDelay(0);
  {
    const auto hook = ANY_HOOK("kernel32.dll", ResumeThread, [this](HANDLE thread) -> DWORD {
      const DWORD count = REAL_IMPORT("kernel32.dll", ResumeThread)(thread);
      EXPECT_TRUE(WaitForLoader());
      return count;
    });
    show->Update(0);
  }
  EXPECT_FALSE(show->IsInTransition());
  EXPECT_EQ(NameUnderCursor(), "b");
  show->Update(0);
  ASSERT_NE(show->GetCurrent(), nullptr);
  for (int frame = 0; frame < 12; ++frame) {
    ASSERT_TRUE(show->IsInTransition() || WaitForLoader());
    show->Update(4000);
    ASSERT_NE(show->GetCurrent(), nullptr) << "frame " << frame;
  }
}

TEST_F(ShowUpdate, AShowWithoutPicturesStaysBlack) {
  Load({});
  for (int frame = 0; frame < 3; ++frame) show->Update(5000);
  EXPECT_EQ(show->GetCurrent(), nullptr);
  EXPECT_EQ(show->GetLoader(), nullptr);
}

// --- Opening fade ---

TEST_F(ShowUpdate, TheFirstSlideFadesUpInTwoSeconds) {
  LoadThree();
  ShowFirstSlide();
  EXPECT_EQ(show->GetColour()[0], 0.0f);
  show->Update(500);
  EXPECT_FLOAT_EQ(show->GetColour()[0], 0.25f);
  EXPECT_FLOAT_EQ(show->GetColour()[1], 0.25f);
  EXPECT_FLOAT_EQ(show->GetColour()[2], 0.25f);
  show->Update(1499);
  EXPECT_TRUE(show->IsOpening());
  show->Update(1);
  EXPECT_FALSE(show->IsOpening());
  EXPECT_FLOAT_EQ(show->GetColour()[0], 1.0f);
  EXPECT_EQ(show->GetTransitionClock(), 0);
}

TEST_F(ShowUpdate, TheOpeningEndsAsBrightAsItsLastFrameWasLong) {
  LoadThree();
  ShowFirstSlide();
  show->Update(2100);
  EXPECT_FALSE(show->IsOpening());
  EXPECT_FLOAT_EQ(show->GetColour()[0], 1.05f);
}

TEST_F(ShowUpdate, TheDelayBeginsWhenTheFirstSlideIsUp) {
  LoadThree();
  FinishOpening();
  // The frame that ends the opening counts already.
  EXPECT_EQ(show->GetDisplayClock(), 2000);
  show->Update(700);
  EXPECT_EQ(show->GetDisplayClock(), 2700);
}

TEST_F(ShowUpdate, WithoutAnimationThereIsNoOpeningFade) {
  LoadThree();
  show->SetAnimate(false);
  ShowFirstSlide();
  EXPECT_EQ(show->GetColour()[0], 1.0f);
  show->Update(3000);
  EXPECT_EQ(show->GetColour()[0], 1.0f);
  EXPECT_TRUE(show->IsOpening());
  EXPECT_EQ(show->GetDisplayClock(), 3000);
}

// --- Textures ---

TEST_F(ShowUpdate, ATileAFrame) {
  Load({FlatSlide("a", 0xFF0000), FlatSlide("b", 0x00FF00, 1024, 512)});
  ShowFirstSlide();
  for (int made = 1; made <= 8; ++made) {
    EXPECT_EQ(show->GetLoader()->GetSlide()->GetDone(), made - 1);
    show->Update(10);
  }
  EXPECT_TRUE(show->GetLoader()->GetSlide()->AllDone());
  show->Update(10);
  EXPECT_EQ(show->GetLoader()->GetSlide()->GetDone(), 8);
}

// --- Crossfade ---

TEST_F(ShowUpdate, ASlideStandsForItsDelay) {
  LoadThree();
  FinishOpening();
  const int rest = kDelayMs - show->GetDisplayClock();
  show->Update(rest - 1);
  EXPECT_FALSE(show->IsInTransition());
  show->Update(1);
  EXPECT_TRUE(show->IsInTransition());
  EXPECT_NE(show->GetNext(), nullptr);
  EXPECT_EQ(show->GetTransitionClock(), 0);
  EXPECT_EQ(show->GetBlend(), 0.0f);
}

TEST_F(ShowUpdate, TheDisplayClockStaysPutDuringTheTransition) {
  LoadThree();
  FinishOpening();
  StartTransition();
  const int before = show->GetDisplayClock();
  show->Update(1000);
  show->Update(1000);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetDisplayClock(), before);
}

TEST_F(ShowUpdate, ACrossfadeTakesFourSeconds) {
  LoadThree();
  FinishOpening();
  StartTransition();
  const CSlideImage* coming = show->GetNext();
  show->Update(1000);
  EXPECT_FLOAT_EQ(show->GetBlend(), 0.25f);
  show->Update(2999);
  EXPECT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetNext(), coming);
  show->Update(1);
  EXPECT_FALSE(show->IsInTransition());
  EXPECT_EQ(show->GetCurrent(), coming);
  EXPECT_EQ(show->GetNext(), nullptr);
  EXPECT_EQ(show->GetDisplayClock(), 0);
  EXPECT_EQ(show->GetTransitionClock(), 0);
}

TEST_F(ShowUpdate, TheOldSlidesTexturesGoAtTheTakeOver) {
  LoadThree();
  FinishOpening();
  IDirectDrawSurface7* old = show->GetCurrent()->tiles[0].texture->GetSurface();
  old->AddRef();
  ChangeSlide();
  EXPECT_EQ(old->Release(), 0u);
}

TEST_F(ShowUpdate, OneLoaderAtATime) {
  LoadThree();
  FinishOpening();
  show->Update(kDelayMs);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetLoader(), nullptr);
  show->Update(4000);
  EXPECT_NE(show->GetLoader(), nullptr);
}

TEST_F(ShowUpdate, TheTransitionStartsAsFarOnAsTheFrameWasLate) {
  LoadThree();
  FinishOpening();
  show->Update(kDelayMs - show->GetDisplayClock() + 300);
  EXPECT_EQ(show->GetTransitionClock(), 300);
  EXPECT_FLOAT_EQ(show->GetBlend(), 0.075f);
}

TEST_F(ShowUpdate, ALatePictureLeavesTheSlideOnTheScreen) {
  LoadThree();
  HoldLoaders();
  show->Update(0);
  StartHeldLoaders();
  ASSERT_TRUE(WaitForLoader());
  HoldLoaders();
  show->Update(0);
  show->Update(2000);
  const CSlideImage* present = show->GetCurrent();
  show->Update(kDelayMs);
  show->Update(1500);
  EXPECT_FALSE(show->IsInTransition());
  EXPECT_EQ(show->GetCurrent(), present);
  const int overdue = show->GetDisplayClock() - kDelayMs;
  EXPECT_GT(overdue, 0);
  StartHeldLoaders();
  ASSERT_TRUE(WaitForLoader());
  show->Update(100);
  EXPECT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetTransitionClock(), overdue + 100);
}

TEST_F(ShowUpdate, APictureMoreThanFourSecondsLateComesInOneFrame) {
  LoadThree();
  HoldLoaders();
  show->Update(0);
  StartHeldLoaders();
  ASSERT_TRUE(WaitForLoader());
  HoldLoaders();
  show->Update(0);
  show->Update(2000);
  show->Update(kDelayMs + 5000);
  StartHeldLoaders();
  ASSERT_TRUE(WaitForLoader());
  show->Update(10);
  ASSERT_TRUE(show->IsInTransition());
  const CSlideImage* coming = show->GetNext();
  show->Update(10);
  EXPECT_FALSE(show->IsInTransition());
  EXPECT_EQ(show->GetCurrent(), coming);
}

// --- Fade through black ---

TEST_F(ShowUpdate, AFadeGoesToBlackAndBack) {
  LoadThree();
  show->SetCrossfade(false);
  FinishOpening();
  const CSlideImage* first = show->GetCurrent();
  StartTransition();
  EXPECT_EQ(show->GetNext(), nullptr);
  show->Update(500);
  EXPECT_FLOAT_EQ(show->GetColour()[0], 0.75f);
  show->Update(1499);
  EXPECT_EQ(show->GetCurrent(), first);
  EXPECT_NEAR(show->GetColour()[1], 0.0005f, 1e-5);
  show->Update(1);
  EXPECT_FLOAT_EQ(show->GetColour()[2], 0.0f);
  EXPECT_NE(show->GetCurrent(), first);
  show->Update(500);
  EXPECT_FLOAT_EQ(show->GetColour()[0], 0.25f);
  show->Update(1499);
  EXPECT_TRUE(show->IsInTransition());
  show->Update(1);
  EXPECT_FALSE(show->IsInTransition());
  EXPECT_FLOAT_EQ(show->GetColour()[0], 1.0f);
  EXPECT_EQ(show->GetDisplayClock(), 0);
}

TEST_F(ShowUpdate, AFadeChangesThePictureOnce) {
  LoadThree();
  show->SetCrossfade(false);
  FinishOpening();
  StartTransition();
  show->Update(2000);
  ASSERT_TRUE(WaitForLoader());
  const CSlideImage* second = show->GetCurrent();
  show->Update(700);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetCurrent(), second);
  show->Update(1299);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetCurrent(), second);
}

TEST_F(ShowUpdate, AFadeStartsAsFarOnAsTheFrameWasLate) {
  LoadThree();
  show->SetCrossfade(false);
  FinishOpening();
  show->Update(kDelayMs - show->GetDisplayClock() + 500);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_EQ(show->GetTransitionClock(), 500);
  EXPECT_FLOAT_EQ(show->GetColour()[0], 0.75f);
}

// The way back from black doesn't stop at full brightness, and the picture changes
// without any darkness.
TEST_F(ShowUpdate, AFadeMoreThanFourSecondsLateIsOverInOneFrame) {
  LoadThree();
  show->SetCrossfade(false);
  FinishOpening();
  const CSlideImage* first = show->GetCurrent();
  show->Update(kDelayMs - show->GetDisplayClock() + 5000);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_FLOAT_EQ(show->GetColour()[0], 1.5f);
  EXPECT_EQ(show->GetCurrent(), first);
  show->Update(10);
  EXPECT_FALSE(show->IsInTransition());
  ASSERT_NE(show->GetCurrent(), nullptr);
  EXPECT_NE(show->GetCurrent(), first);
}

TEST_F(ShowUpdate, AFadeWithoutAnimationStillRunsOnTheBrightness) {
  LoadThree();
  show->SetCrossfade(false);
  show->SetAnimate(false);
  ShowFirstSlide();
  StartTransition();
  show->Update(1000);
  EXPECT_FLOAT_EQ(show->GetColour()[0], 0.5f);
  show->Update(1000);
  show->Update(1000);
  EXPECT_FLOAT_EQ(show->GetColour()[0], 0.5f);
}

// --- Order ---

TEST_F(ShowUpdate, PicturesComeInOrderAndTheListWraps) {
  LoadThree();
  FinishOpening();
  const std::uint32_t expected[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFF0000, 0x00FF00};
  for (const std::uint32_t colour : expected) {
    EXPECT_LE(support::ColourDistance(DrawnColour(), colour), 2);
    ChangeSlide();
  }
}

TEST_F(ShowUpdate, TheCursorStaysOnThePictureThatIsLoaded) {
  LoadThree();
  FinishOpening();
  EXPECT_EQ(NameUnderCursor(), "b");
  show->Update(kDelayMs);
  ASSERT_TRUE(show->IsInTransition());
  EXPECT_EQ(NameUnderCursor(), "c");
  show->Update(4000);
  EXPECT_EQ(NameUnderCursor(), "c");
}

TEST_F(ShowUpdate, AShowOfOnePictureShowsItAgainAndAgain) {
  Load({FlatSlide("a", 0x123456)});
  FinishOpening();
  for (int round = 0; round < 3; ++round) {
    EXPECT_LE(support::ColourDistance(DrawnColour(), 0x123456), 2);
    ChangeSlide();
  }
}

TEST_F(ShowUpdate, EachRoundOfARandomOrderShowsEveryPicture) {
  show->SetRandomOrder(true);
  show->SetShufflePasses(50);
  LoadThree();
  // The cursor is a picture ahead: each round's last change wraps, and shuffles anew.
  int shuffles = 0;
  HOOK_IMPORT(seed, "msvcrt.dll", srand, [&](unsigned value) {
    ++shuffles;
    REAL_IMPORT("msvcrt.dll", srand)(value);
  });
  FinishOpening();
  for (int round = 0; round < 3; ++round) {
    std::vector<std::uint32_t> seen;
    for (int slide = 0; slide < 3; ++slide) {
      std::uint32_t colour = DrawnColour();
      for (const std::uint32_t pure : {0xFF0000u, 0x00FF00u, 0x0000FFu})
        if (support::ColourDistance(colour, pure) <= 2) colour = pure;
      seen.push_back(colour);
      ChangeSlide();
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::uint32_t>{0x0000FF, 0x00FF00, 0xFF0000}))
        << "round " << round;
    EXPECT_EQ(shuffles, round + 1);
  }
}

// --- Bad pictures ---

TEST_F(ShowUpdate, ABadPictureInMidShowCostsNoGap) {
  Load({FlatSlide("a", 0xFF0000), BadSlide("b"), BadSlide("c"), FlatSlide("d", 0x00FF00)});
  FinishOpening();
  for (int turn = 0; turn < 3; ++turn) {
    ASSERT_TRUE(WaitForLoader());
    show->Update(10);
    EXPECT_NE(show->GetLoader(), nullptr);
    EXPECT_LE(support::ColourDistance(DrawnColour(), 0xFF0000), 2);
  }
  EXPECT_EQ(NameUnderCursor(), "d");
  EXPECT_EQ(show->GetLoader()->GetError(), 0);
  ChangeSlide();
  EXPECT_LE(support::ColourDistance(DrawnColour(), 0x00FF00), 2);
}

TEST_F(ShowUpdate, WithNothingButBadPicturesLeftTheSlideStays) {
  Load({FlatSlide("a", 0xFF0000), BadSlide("b")});
  FinishOpening();
  for (int turn = 0; turn < 6; ++turn) {
    ASSERT_TRUE(WaitForLoader());
    show->Update(100);
    ASSERT_NE(show->GetCurrent(), nullptr);
  }
}

// --- Memory ---

TEST_F(ShowUpdate, ABundleThatIsTooLargeForMemoryIsShownAllTheSame) {
  LoadThree();
  int reliefs = 0;
  const auto full = support::FullAddressSpace([&] {
    ++reliefs;
    EXPECT_EQ(show->GetLoader(), nullptr) << "its bytes could go";
  });
  FinishOpening();
  for (const std::uint32_t colour : {0xFF0000u, 0x00FF00u, 0x0000FFu, 0xFF0000u, 0x00FF00u}) {
    EXPECT_LE(support::ColourDistance(DrawnColour(), colour), 2);
    int inMemory = 0;
    for (auto* node = show->GetPlaylist().head; node; node = node->next)
      inMemory += node->data->file->data != nullptr;
    EXPECT_EQ(inMemory, 2) << "the picture on the screen and the one that comes";
    ChangeSlide();
  }
  EXPECT_EQ(reliefs, 7);  // one a loader
}

TEST_F(ShowUpdate, WithRoomToWorkPicturesAreReadOnce) {
  LoadThree();
  FinishOpening();
  ChangeSlide();
  ChangeSlide();
  for (auto* node = show->GetPlaylist().head; node; node = node->next)
    EXPECT_NE(node->data->file->data, nullptr);
}

// --- Motion ---

TEST_F(ShowUpdate, SlidesMoveWithTheirTime) {
  LoadThree();
  FinishOpening();
  const float before = WidthOf(*show->GetCurrent());
  show->Update(1000);
  EXPECT_NEAR(WidthOf(*show->GetCurrent()) - before, 2.0f * 1000 / 20 * 0.00024f, 1e-5);
}

TEST_F(ShowUpdate, BothSlidesMoveDuringTheTransition) {
  LoadThree();
  FinishOpening();
  StartTransition();
  const float growing = WidthOf(*show->GetCurrent());
  const float shrinking = WidthOf(*show->GetNext());
  EXPECT_EQ(show->GetCurrent()->zoomSign, 1.0f);
  EXPECT_EQ(show->GetNext()->zoomSign, -1.0f);
  show->Update(1000);
  EXPECT_GT(WidthOf(*show->GetCurrent()), growing);
  EXPECT_LT(WidthOf(*show->GetNext()), shrinking);
}

TEST_F(ShowUpdate, WithoutAnimationNothingMoves) {
  LoadThree();
  show->SetAnimate(false);
  ShowFirstSlide();
  show->Draw();
  const float before = WidthOf(*show->GetCurrent());
  show->Update(1000);
  EXPECT_EQ(WidthOf(*show->GetCurrent()), before);
}

// The whole life of a shrinking slide, the two transitions at its ends included:
// it never shows an edge.
TEST_F(ShowUpdate, AShrinkingSlideEndsAtItsBaseSize) {
  LoadThree();
  FinishOpening();
  StartTransition();
  ASSERT_EQ(show->GetNext()->zoomSign, -1.0f);
  for (int ms = 0; ms < 4000; ms += 40) show->Update(40);
  ASSERT_FALSE(show->IsInTransition());
  ASSERT_TRUE(WaitForLoader());
  for (int ms = 0; ms < kDelayMs + 4000; ms += 40) {
    EXPECT_GE(WidthOf(*show->GetCurrent()), 2.0f - 1e-3f);
    show->Update(40);
    if (show->GetCurrent()->zoomSign > 0) break;
  }
}

TEST_F(ShowUpdate, AShrinkingSlideThatWaitsStopsAtItsBaseSize) {
  LoadThree();
  FinishOpening();
  StartTransition();
  HoldLoaders();
  for (int ms = 0; ms < 4000; ms += 40) show->Update(40);
  ASSERT_EQ(show->GetCurrent()->zoomSign, -1.0f);
  for (int ms = 0; ms < kDelayMs + 20000; ms += 100) show->Update(100);
  EXPECT_FALSE(show->IsInTransition());
  EXPECT_NEAR(WidthOf(*show->GetCurrent()), 2.0f, 0.01f);
}

TEST_F(ShowUpdate, AGrowingSlideThatWaitsGoesOnGrowing) {
  LoadThree();
  FinishOpening();
  ChangeSlide();
  StartTransition();
  ASSERT_EQ(show->GetNext()->zoomSign, 1.0f);
  HoldLoaders();
  show->Update(4000);
  ASSERT_FALSE(show->IsInTransition());
  show->Update(kDelayMs + 5000);
  const float before = WidthOf(*show->GetCurrent());
  show->Update(1000);
  EXPECT_GT(WidthOf(*show->GetCurrent()), before);
}

// --- What a change of slides costs ---

TEST_F(ShowUpdate, TheTimeOfATakeOverDoesNotCountInTheNextFrame) {
  LoadThree();
  FinishOpening();
  StartTransition();
  HOOK_IMPORT(slowStart, "kernel32.dll", CreateThread,
              [this](SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE start,
                     void* parameter, DWORD flags, DWORD* id) -> HANDLE {
                clock.Advance(150);
                return REAL_IMPORT("kernel32.dll", CreateThread)(security, stack, start, parameter,
                                                                 flags, id);
              });
  show->Update(4000);
  ASSERT_FALSE(show->IsInTransition());
  const int before = show->GetClock();
  show->Update(160);
  EXPECT_NEAR(show->GetClock() - before, 10, 1);
  EXPECT_NEAR(show->GetDisplayClock(), 10, 1);
  show->Update(16);
  EXPECT_NEAR(show->GetClock() - before, 26, 1);
}

TEST_F(ShowUpdate, TheTimeOfAHandOverDoesNotCountInTheNextFrame) {
  Load({FlatSlide("a", 0xFF0000), FlatSlide("b", 0x00FF00, 1024, 512)});
  show->SetAnimate(false);
  ShowFirstSlide();
  int tiles = 0;
  HOOK_METHOD(slowTexture, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                  IDirectDrawSurface7** made, IUnknown* outer) {
                ++tiles;
                clock.Advance(20);
                return real(self, description, made, outer);
              });
  show->Update(kDelayMs);  // one tile in its turn, those still missing at the hand-over
  ASSERT_TRUE(show->IsInTransition());
  ASSERT_GE(tiles, 3);
  const int before = show->GetTransitionClock();
  show->Update(200);
  EXPECT_NEAR(show->GetTransitionClock() - before, 200 - 20 * (tiles - 1), 1);
}

TEST_F(ShowUpdate, AFadesChangeInTheDarkDoesNotCountInTheNextFrame) {
  LoadThree();
  show->SetCrossfade(false);
  FinishOpening();
  StartTransition();
  HOOK_IMPORT(slowStart, "kernel32.dll", CreateThread,
              [this](SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE start,
                     void* parameter, DWORD flags, DWORD* id) -> HANDLE {
                clock.Advance(150);
                return REAL_IMPORT("kernel32.dll", CreateThread)(security, stack, start, parameter,
                                                                 flags, id);
              });
  show->Update(2000);
  const int before = show->GetTransitionClock();
  show->Update(160);
  EXPECT_NEAR(show->GetTransitionClock() - before, 10, 1);
}

// --- The end ---

TEST_F(ShowUpdate, EndsAtAnyPointWithoutLeavingTextures) {
  LoadThree();
  FinishOpening();
  show->Update(kDelayMs);
  ASSERT_TRUE(show->IsInTransition());
  IDirectDrawSurface7* current = show->GetCurrent()->tiles[0].texture->GetSurface();
  IDirectDrawSurface7* next = show->GetNext()->tiles[0].texture->GetSurface();
  current->AddRef();
  next->AddRef();
  show.reset();
  EXPECT_EQ(current->Release(), 0u);
  EXPECT_EQ(next->Release(), 0u);
}

TEST_F(ShowUpdate, EndsWhileALoaderIsAtWork) {
  Load({FlatSlide("a", 0xFF0000, 2000, 1500), FlatSlide("b", 0, 2000, 1500)});
  HoldLoaders();
  show->Update(0);
  ASSERT_NE(show->GetLoader(), nullptr);
  const LoaderEnd end(*show->GetLoader(), [this] { StartHeldLoaders(); });
  show.reset();
  EXPECT_EQ(end.StateAtFirstClose(), CImgLoadThread::kDecoded);
}

}  // namespace
