// The loader's thread; no device is needed up to the decoded picture.

#include "slideshow/CImgLoadThread.h"

#include "support/FailingNew.h"
#include "support/ImportHook.h"
#include "unit/slideshow/LoaderTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using slideshow_test::DimsOf;
using slideshow_test::EndsDecodedOrFailed;
using slideshow_test::LoaderEnd;
using slideshow_test::MakeLoader;
using slideshow_test::PictureBundle;
using support::Flat;
using support::Gradient;
using testing::ElementsAre;

class Loader : public testing::Test {
 protected:
  // Loads the bundle's member "a" to its end.
  CImgLoadThread& Load(const SlideDims& dims = DimsOf(100, 100)) {
    if (!loader) loader = MakeLoader(bundle, "a", dims);
    loader->Begin(0);
    EXPECT_TRUE(EndsDecodedOrFailed(*loader));
    return *loader;
  }
  void ExpectGrid(int columns, int rows) {
    ASSERT_NE(loader->GetSlide(), nullptr);
    EXPECT_EQ(loader->GetSlide()->columns, columns);
    EXPECT_EQ(loader->GetSlide()->rows, rows);
  }

  PictureBundle bundle;
  std::unique_ptr<CImgLoadThread> loader;
};

TEST_F(Loader, EndsAtEightWithoutAnError) {
  bundle.AddBmp("a", 512, 256, Gradient());
  EXPECT_EQ(Load().GetState(), 8);
  EXPECT_EQ(loader->GetError(), 0);
  EXPECT_TRUE(loader->IsDecoded());
  EXPECT_FALSE(loader->IsRunning());
}

TEST_F(Loader, StartsAtZero) {
  const CImgLoadThread fresh;
  EXPECT_EQ(fresh.GetState(), 0);
  EXPECT_EQ(fresh.GetError(), 0);
  EXPECT_EQ(fresh.GetSlide(), nullptr);
  EXPECT_FALSE(fresh.IsDecoded());
}

TEST_F(Loader, TheCatalogueGivesTheProportionsAndTheFocus) {
  bundle.AddBmp("a", 512, 256, Gradient());
  Load(DimsOf(300, 400, true, false));
  EXPECT_EQ(loader->GetSlide()->scaleX, 0.75f);
  EXPECT_EQ(loader->GetSlide()->scaleY, 1.0f);
  EXPECT_TRUE(loader->GetSlide()->focusXOnly);
  EXPECT_FALSE(loader->GetSlide()->focusYOnly);
}

TEST_F(Loader, KeepsTheShowsClock) {
  CImgLoadThread idle;
  idle.Begin(1234);
  EXPECT_EQ(idle.GetStartMs(), 1234u);
}

// --- The plan for the decoded picture ---

TEST_F(Loader, ASmallPictureOfPowersOfTwoIsOneTile) {
  bundle.AddBmp("a", 256, 256, Gradient());
  Load();
  ExpectGrid(1, 1);
}

TEST_F(Loader, TwoTilesAreNotResampled) {
  bundle.AddBmp("a", 512, 256, Gradient());
  Load();
  ExpectGrid(2, 1);
}

TEST_F(Loader, ALargePictureBecomesElevenBySeven) {
  bundle.AddBmp("a", 3000, 2000, Flat(0x336699));
  loader = MakeLoader(bundle, "a", DimsOf(3000, 2000));
  loader->SetCram(true);
  loader->SetCramSize(4096);
  Load();
  ExpectGrid(11, 7);
  EXPECT_EQ(loader->GetSlide()->tiles[0].pixelWidth, 2816);
  EXPECT_EQ(loader->GetSlide()->tiles[76].pixelHeight, 1792);
}

TEST_F(Loader, TheLimitGivesEachTileItsSourceRectangle) {
  bundle.AddBmp("a", 3000, 2000, Flat(0x336699));
  loader = MakeLoader(bundle, "a", DimsOf(3000, 2000));
  loader->SetCram(true);
  loader->SetCramSize(1024);
  Load();
  ExpectGrid(4, 4);
  EXPECT_EQ(loader->GetSlide()->tiles[5].pixelWidth, 750);
  EXPECT_EQ(loader->GetSlide()->tiles[5].pixelHeight, 500);
}

TEST_F(Loader, ALimitOnOneSideCutsWhatTheResizeLeaves) {
  bundle.AddBmp("a", 1600, 1000, Flat(0x336699));
  loader = MakeLoader(bundle, "a", DimsOf(1600, 1000));
  loader->SetCram(true);
  loader->SetCramSize(1536);
  Load();
  ExpectGrid(6, 3);
  EXPECT_EQ(loader->GetSlide()->tiles[0].pixelWidth, 256);
  EXPECT_EQ(loader->GetSlide()->tiles[0].pixelHeight, 256);
}

TEST_F(Loader, TheLimitAppliesEvenIfTurnedOff) {
  bundle.AddBmp("a", 1024, 1024, Flat(0x336699));
  loader = MakeLoader(bundle, "a", DimsOf(1024, 1024));
  loader->SetCram(false);
  loader->SetCramSize(512);
  Load();
  ExpectGrid(2, 2);
  EXPECT_EQ(loader->GetSlide()->tiles[0].pixelWidth, 512);
}

TEST_F(Loader, WithoutTilesThePictureIsOneTexture) {
  bundle.AddBmp("a", 300, 200, Gradient());
  loader = MakeLoader(bundle, "a", DimsOf(300, 200));
  loader->SetTiled(false);
  EXPECT_EQ(Load().GetState(), 8);
  ExpectGrid(1, 1);
}

TEST_F(Loader, ATinyPictureGetsATile) {
  bundle.AddBmp("a", 3, 2, Gradient());
  Load();
  ExpectGrid(1, 1);
}

// --- Failures ---

TEST_F(Loader, WithoutACategoryIsErrorTwo) {
  loader = std::make_unique<CImgLoadThread>();
  Load();
  EXPECT_EQ(loader->GetError(), 2);
  EXPECT_EQ(loader->GetState(), 0);
  EXPECT_FALSE(loader->IsRunning());
}

TEST_F(Loader, ANameThatIsNotThereIsErrorOne) {
  bundle.AddBmp("a", 256, 256, Gradient());
  loader = MakeLoader(bundle, "a", DimsOf(1, 1));
  loader->SetFileName("b");
  Load();
  EXPECT_EQ(loader->GetError(), 1);
  EXPECT_EQ(loader->GetState(), 0);
}

TEST_F(Loader, ANameFindsItsMember) {
  bundle.AddBmp("a", 256, 256, Gradient()).AddBmp("b", 512, 256, Gradient());
  loader = MakeLoader(bundle, "a", DimsOf(1, 1));
  loader->SetFileName("B");
  EXPECT_EQ(Load().GetState(), 8);
  ExpectGrid(2, 1);
}

TEST_F(Loader, AMemberThatCannotBeReadIsErrorThree) {
  bundle.AddMissing("a");
  Load();
  EXPECT_EQ(loader->GetError(), 3);
  EXPECT_EQ(loader->GetState(), 1);
  EXPECT_FALSE(loader->IsDecoded());
}

TEST_F(Loader, WithoutAMemberIsErrorThree) {
  bundle.AddBmp("a", 256, 256, Gradient());
  loader = std::make_unique<CImgLoadThread>();
  loader->Setup(bundle.Category(), nullptr, DimsOf(1, 1));
  Load();
  EXPECT_EQ(loader->GetError(), 3);
}

TEST_F(Loader, ADecoderFailureIsErrorFourAndLeavesTheStateAtTwo) {
  bundle.Add("a", support::BytesOf("this is no picture"));
  Load();
  EXPECT_EQ(loader->GetError(), 4);
  EXPECT_EQ(loader->GetState(), 2);
  EXPECT_FALSE(loader->IsRunning());
}

TEST_F(Loader, TheBytesStayInTheMemberAlsoIfTheyAreNoPicture) {
  bundle.Add("a", support::BytesOf("this is no picture"));
  Load();
  EXPECT_NE(bundle.File("a")->data, nullptr);
}

TEST_F(Loader, AFailedLoaderFinishesWithoutASlide) {
  bundle.Add("a", support::BytesOf("this is no picture"));
  Load();
  EXPECT_FALSE(loader->Step());
  EXPECT_EQ(loader->Finish(), nullptr);
  EXPECT_EQ(loader->GetState(), 10);
}

TEST_F(Loader, AThreadThatCannotBeMadeIsErrorThree) {
  bundle.AddBmp("a", 256, 256, Gradient());
  HOOK_IMPORT(none, "kernel32.dll", CreateThread,
              [](SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE, void*, DWORD, DWORD*)
                  -> HANDLE { return nullptr; });
  Load();
  EXPECT_EQ(loader->GetError(), 3);
}

// Each round one allocation more succeeds, until all that the loader needs do.
TEST_F(Loader, MemoryThatRunsOutAnywhereIsAPictureThatCannotBeLoaded) {
  bundle.AddBmp("a", 512, 512, Gradient());
  bundle.Category();
  int successes = 0;
  do {
    ASSERT_LT(successes, 1000);
    loader = MakeLoader(bundle, "a", DimsOf(512, 512));
    const support::FailingNewElsewhere failing(successes++);
    loader->Begin(0);
    ASSERT_TRUE(EndsDecodedOrFailed(*loader));
  } while (loader->GetError() != 0);
  EXPECT_EQ(loader->GetState(), 8);
  EXPECT_GT(successes, 2);
}

// A member function: what it is called on is in a register.
bool WINAPI NoMemoryToResize(int, int, BTResizeFilter) { return false; }

TEST_F(Loader, APictureThatCannotBeFittedToItsTilesIsErrorFour) {
  const support::ImportHook none("BTNexgenIPL32.dll", "_ZN12BTCImageData6ResizeEii14BTResizeFilter",
                                 &NoMemoryToResize);
  bundle.AddBmp("a", 700, 500, Gradient());
  Load();
  EXPECT_EQ(loader->GetError(), 4);
  EXPECT_EQ(loader->GetState(), 5);
  EXPECT_FALSE(loader->IsDecoded());
  EXPECT_FALSE(loader->IsRunning());
}

TEST_F(Loader, APictureThatCannotBeBroughtToPowersOfTwoIsErrorFour) {
  const support::ImportHook none("BTNexgenIPL32.dll", "_ZN12BTCImageData6ResizeEii14BTResizeFilter",
                                 &NoMemoryToResize);
  bundle.AddBmp("a", 300, 200, Gradient());
  loader = MakeLoader(bundle, "a", DimsOf(300, 200));
  loader->SetTiled(false);
  Load();
  EXPECT_EQ(loader->GetError(), 4);
  EXPECT_EQ(loader->GetState(), 6);
}

// --- The thread ---

TEST_F(Loader, RunsBelowNormalPriorityFromItsFirstInstruction) {
  bundle.AddBmp("a", 256, 256, Gradient());
  std::vector<std::string> calls;
  HOOK_IMPORT(create, "kernel32.dll", CreateThread,
              [&](SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE start,
                  void* parameter, DWORD flags, DWORD* id) -> HANDLE {
                calls.push_back("create " + std::to_string(flags));
                return REAL_IMPORT("kernel32.dll", CreateThread)(security, stack, start, parameter,
                                                                 flags, id);
              });
  HOOK_IMPORT(priority, "kernel32.dll", SetThreadPriority, [&](HANDLE thread, int value) -> BOOL {
    calls.push_back("priority " + std::to_string(value));
    return REAL_IMPORT("kernel32.dll", SetThreadPriority)(thread, value);
  });
  HOOK_IMPORT(resume, "kernel32.dll", ResumeThread, [&](HANDLE thread) -> DWORD {
    calls.push_back("resume");
    return REAL_IMPORT("kernel32.dll", ResumeThread)(thread);
  });
  Load();
  EXPECT_THAT(calls, ElementsAre("create 4", "priority -1", "resume"));
}

TEST_F(Loader, DestructionWaitsForTheDecoding) {
  bundle.AddBmp("a", 2000, 1500, Gradient());
  loader = MakeLoader(bundle, "a", DimsOf(2000, 1500));
  HANDLE held = nullptr;
  HOOK_IMPORT(hold, "kernel32.dll", ResumeThread, [&](HANDLE thread) -> DWORD {
    held = thread;
    return 1;
  });
  loader->Begin(0);
  const LoaderEnd end(*loader, [&] { REAL_IMPORT("kernel32.dll", ResumeThread)(held); });
  loader.reset();
  EXPECT_EQ(end.StateAtFirstClose(), CImgLoadThread::kDecoded);
}

TEST_F(Loader, CanBeginAgain) {
  bundle.AddBmp("a", 512, 512, Gradient()).AddBmp("b", 512, 256, Gradient());
  Load();
  ExpectGrid(2, 2);
  loader->Setup(bundle.Category(), bundle.File("b"), DimsOf(512, 256));
  loader->Begin(7);
  // The state of the first load stays until the second one is under way.
  ASSERT_TRUE(support::WaitFor([&] { return !loader->IsRunning() && loader->IsDecoded(); }));
  EXPECT_EQ(loader->GetStartMs(), 7u);
  ExpectGrid(2, 1);
}

}  // namespace
