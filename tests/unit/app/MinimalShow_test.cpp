// The show in fast mode: initStates, the frame step, and the clean-up.

#include "base/Timers.h"
#include "bundle/VFBundle.h"
#include "slideshow/FrameRate.h"
#include "support/GdiGauge.h"
#include "support/TestLog.h"
#include "unit/app/SaverFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>

using support::PixelsNear;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr char kNoGoodImages[] = "Couldn't find any good images, quitting...";

int closesAsked = 0;  // WM_CLOSE messages that reached the window

LRESULT CALLBACK CountCloses(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != WM_CLOSE) return DefWindowProcA(window, message, wParam, lParam);
  ++closesAsked;
  return 0;
}

HWND OpenPlainWindow() {
  WNDCLASSA windowClass{};
  windowClass.lpfnWndProc = CountCloses;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.lpszClassName = "VelmoraShowTest";
  RegisterClassA(&windowClass);
  return CreateWindowExA(WS_EX_TOPMOST, "VelmoraShowTest", "", WS_POPUP | WS_VISIBLE, 0, 0,
                         kTestWidth, kTestHeight, nullptr, nullptr, windowClass.hInstance, nullptr);
}

// A saver window with its context, as DoSaver makes them before the set-up.
class Show : public SaverMachine {
 protected:
  void SetUp() override {
    BeginRun(settings_, true);
    ss->ImageDelay = 1.0f;
    TellScreen();
    hScrWindow = OpenPlainWindow();
    ss->hWnd = hScrWindow;
    closesAsked = 0;
    hDC = GetDC(hScrWindow);
  }
  void TearDown() override {
    ss->SetAsWallpaper = 0;
    CleanUp();
    ReleaseDC(hScrWindow, hDC);
    CloseSession();
    ss = nullptr;
  }

  bool Start(const std::string& slides) {
    WriteBundle(slides);
    const bool started = initStates(kTestWidth, kTestHeight);
    FrameTimer.ElapsedMs();
    SlideMs = 0;
    return started;
  }
  static std::string NextSlide() {
    LinkedList<PlaylistElement*>& list = gSlideshow->GetPlaylist();
    return list.cursor ? list.Current()->file->name : "";
  }
  // The colour of the picture that is prepared for the next wipe.
  static std::uint32_t PreparedColour() {
    DrawFastImage();
    return support::ReadDc(FastCanvasDC, 0, 0, 1, 1).At(0, 0);
  }
  // From now on no picture can be read.
  static void SpoilAllPictures() {
    for (auto* node = gSlideshow->GetPlaylist().head; node; node = node->next) {
      node->data->file->FreeData();
      node->data->file->offset = 0x7FFFFFFF;
    }
  }
  // One turn of the main loop after `ms`.
  void Frame(double ms) {
    clock.Advance(ms);
    RenderFrame();
  }
  // Whether anything asked for the end since the last question.
  bool EndAsked() {
    MSG message;
    while (PeekMessageA(&message, hScrWindow, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
    const bool asked = std::exchange(closesAsked, 0) > 0;
    EXPECT_EQ(asked, std::exchange(ss->CloseRequested, 0) != 0);
    return asked;
  }

 private:
  SaverSettings settings_;
};

// --- Set-up ---

TEST_F(Show, BeginsWithItsFirstPictureAndPreparesTheNext) {
  ASSERT_TRUE(Start("ggg"));
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
  EXPECT_EQ(NextSlide(), "slide1");
  EXPECT_EQ(PreparedColour(), kTestColours[1]);
  EXPECT_FALSE(EndAsked());
}

TEST_F(Show, OpensItsBundleForAll) {
  ASSERT_TRUE(Start("gg"));
  ASSERT_NE(SlideBundle, nullptr);
  EXPECT_TRUE(SlideBundle->IsOpen());
  EXPECT_NE(SlideBundle->FindCategory("image"), nullptr);
}

TEST_F(Show, WithoutABundleFails) {
  const support::TestLog log;
  EXPECT_FALSE(initStates(kTestWidth, kTestHeight));
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "Could not open slide bundle!");
  EXPECT_EQ(boxes[0].title, "ERROR");
  EXPECT_EQ(boxes[0].owner, hScrWindow);
  EXPECT_TRUE(boxes[0].activationSuppressed);
  EXPECT_THAT(log.Errors(), ElementsAre("Could not open the image bundle!"));
  EXPECT_EQ(gSlideshow, nullptr);
}

TEST_F(Show, WithADamagedBundleFails) {
  support::WriteWholeFile(BundlePath, support::PatternBytes(5000));
  EXPECT_FALSE(initStates(kTestWidth, kTestHeight));
  EXPECT_EQ(boxes.size(), 1u);
}

TEST_F(Show, WithoutItsCategoriesEndsForWantOfPictures) {
  const support::TestLog log;
  support::WriteWholeFile(BundlePath,
                          support::BundleWriter().Category("music").Member("a", "b").Build());
  EXPECT_TRUE(initStates(kTestWidth, kTestHeight));
  EXPECT_THAT(log.Errors(), ElementsAre(kNoGoodImages, kNoGoodImages));
  EXPECT_TRUE(EndAsked());
}

TEST_F(Show, TheFirstWipeTakesItsTime) {
  const double start = clock.NowMs();
  Start("gg");
  EXPECT_GE(clock.NowMs() - start, 1400);
}

// rand() chooses the effect: 2 is the wipe to the right, whose first step
// copies one column, and so on.
TEST_F(Show, ChoosesAmongAllTwelveWipes) {
  WriteBundle("g");
  std::vector<std::pair<int, int>> firstCopies;
  for (int lot = 0; lot < 24; ++lot) {
    HOOK_IMPORT(chance, "msvcrt.dll", rand, [lot]() { return lot; });
    bool first = true;
    {
      HOOK_IMPORT(
          blit, "gdi32.dll", BitBlt,
          [&](HDC to, int x, int y, int w, int h, HDC from, int fx, int fy, DWORD rop) -> BOOL {
            if (to == hDC && std::exchange(first, false)) firstCopies.emplace_back(w, h);
            return REAL_IMPORT("gdi32.dll", BitBlt)(to, x, y, w, h, from, fx, fy, rop);
          });
      ASSERT_TRUE(initStates(kTestWidth, kTestHeight));
    }
    CleanUp();
  }
  const std::pair<int, int> expected[] = {
      {1, 48},           // 1 random columns
      {64, 1},           // 2 random rows
      {1, 48}, {64, 1},  // 3, 4 wipes
      {4, 4}, {4, 4},    // 5, 6 ragged
      {63, 24}, {32, 47},  // 7, 8 sliding halves
      {31, 48}, {64, 23},  // 9, 10 split
      {1, 48}, {64, 1},  // 11, 12 doors
  };
  ASSERT_EQ(firstCopies.size(), 24u);
  for (std::size_t lot = 0; lot < 24; ++lot) EXPECT_EQ(firstCopies[lot], expected[lot % 12]) << lot;
}

TEST_F(Show, KeepsTheBundlesOrderUnlessItIsToBeRandom) {
  Start("gggg");
  std::vector<std::string> names;
  auto& list = gSlideshow->GetPlaylist();
  for (auto* node = list.head; node; node = node->next) names.push_back(node->data->file->name);
  EXPECT_THAT(names, ElementsAre("slide0", "slide1", "slide2", "slide3"));
}

TEST_F(Show, IsShuffledWithFiftyPasses) {
  ss->RandomOrder = 1;
  int drawn = 0;
  // Counts the lots drawn until the first wipe's.
  bool shuffling = false;
  {
    HOOK_IMPORT(seed, "msvcrt.dll", srand, [&](unsigned) { drawn = 0, shuffling = true; });
    HOOK_IMPORT(chance, "msvcrt.dll", rand, [&]() {
      drawn += shuffling;
      return 2;  // the wipe to the right draws no further lots
    });
    Start("gggg");
  }
  EXPECT_EQ(drawn, 50 * 4 + 1);
}

TEST_F(Show, SeedsTheLotsWithTheTime) {
  std::vector<unsigned> seeds;
  const long before = static_cast<long>(std::time(nullptr));
  {
    HOOK_IMPORT(seed, "msvcrt.dll", srand, [&](unsigned value) { seeds.push_back(value); });
    Start("g");
  }
  ASSERT_FALSE(seeds.empty());
  EXPECT_GE(static_cast<long>(seeds[0]), before);
  EXPECT_LE(static_cast<long>(seeds[0]), static_cast<long>(std::time(nullptr)));
}

// --- Captions ---

struct FontRequest {
  int height, weight;
  DWORD italic, outPrecision, quality;
  std::string face;
};

std::vector<FontRequest> FontsAskedFor(const std::function<void()>& call, bool available = true) {
  std::vector<FontRequest> requests;
  HOOK_IMPORT(font, "gdi32.dll", CreateFontA,
              [&](int height, int width, int escapement, int orientation, int weight, DWORD italic,
                  DWORD underline, DWORD strikeOut, DWORD charset, DWORD outPrecision,
                  DWORD clipPrecision, DWORD quality, DWORD pitch, LPCSTR face) -> HFONT {
                requests.push_back({height, weight, italic, outPrecision, quality, face});
                EXPECT_EQ(width | escapement | orientation, 0);
                EXPECT_EQ(underline | strikeOut | charset | clipPrecision | pitch, 0u);
                return available ? REAL_IMPORT("gdi32.dll", CreateFontA)(
                                       height, width, escapement, orientation, weight, italic,
                                       underline, strikeOut, charset, outPrecision, clipPrecision,
                                       quality, pitch, face)
                                 : nullptr;
              });
  call();
  return requests;
}

TEST_F(Show, WithoutCaptionsMakesNoFontAndWritesNothing) {
  EXPECT_TRUE(FontsAskedFor([&] { Start("gg"); }).empty());
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
}

TEST_F(Show, MakesTheCaptionsFontFromTheSettings) {
  ss->ShowCaptions = 1;
  ss->CaptionFontSize = -9;
  ss->CaptionFont = "Courier New";
  for (const auto& [version, quality] : {std::pair<int, DWORD>{5, 4}, {6, 5}, {10, 5}}) {
    OsVersionCode = version;
    const auto requests = FontsAskedFor([&] { Start("gg"); });
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].height, -9);
    EXPECT_EQ(requests[0].weight, 700);
    EXPECT_EQ(requests[0].italic, 1u);
    EXPECT_EQ(requests[0].outPrecision, 4u);
    EXPECT_EQ(requests[0].quality, quality);
    EXPECT_EQ(requests[0].face, "Courier New");
    CleanUp();
  }
}

TEST_F(Show, WritesTheCaptionOfThePictureThatShows) {
  ss->ShowCaptions = 1;
  std::vector<std::string> drawn;
  HOOK_IMPORT(draw, "user32.dll", DrawTextA,
              [&](HDC dc, LPCSTR text, int length, RECT* rect, UINT format) -> int {
                drawn.push_back(text);
                return REAL_IMPORT("user32.dll", DrawTextA)(dc, text, length, rect, format);
              });
  Start("gg");
  EXPECT_THAT(drawn, ElementsAre("Caption 0", "Caption 0", "Caption 0"));
  drawn.clear();
  Frame(1000);
  EXPECT_THAT(drawn, ElementsAre("Caption 1", "Caption 1", "Caption 1"));
}

TEST_F(Show, GoesOnWithoutTheCaptionsFont) {
  const support::TestLog log;
  ss->ShowCaptions = 1;
  bool result = false;
  FontsAskedFor([&] { result = Start("gg"); }, false);
  EXPECT_TRUE(result);
  EXPECT_THAT(log.Errors(), ElementsAre("Unable to create caption font!"));
  EXPECT_EQ(NextSlide(), "slide1");
  EXPECT_FALSE(EndAsked());
}

// --- The search for good pictures ---

TEST_F(Show, BadPicturesAtItsBeginningArePassedOver) {
  const support::TestLog log;
  ASSERT_TRUE(Start("bbgg"));
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[2])));
  EXPECT_EQ(NextSlide(), "slide3");
  EXPECT_EQ(PreparedColour(), kTestColours[3]);
  EXPECT_THAT(log.Errors(), IsEmpty());
  EXPECT_EQ(ss->CriticalError, 0);
}

TEST_F(Show, BadPicturesBehindTheFirstArePassedOver) {
  ASSERT_TRUE(Start("gbbg"));
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
  EXPECT_EQ(NextSlide(), "slide3");
}

TEST_F(Show, TheOneGoodPictureComesAgain) {
  const support::TestLog log;
  ASSERT_TRUE(Start("bgbb"));
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1])));
  EXPECT_EQ(NextSlide(), "slide1");
  EXPECT_EQ(PreparedColour(), kTestColours[1]);
  EXPECT_THAT(log.Errors(), IsEmpty());
  EXPECT_FALSE(EndAsked());
}

TEST_F(Show, OfOnePictureShowsItAgainAndAgain) {
  ASSERT_TRUE(Start("g"));
  for (int n = 0; n < 3; ++n) {
    PatBlt(hDC, 0, 0, kTestWidth, kTestHeight, WHITENESS);
    Frame(1000);
    EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
  }
}

TEST_F(Show, WithoutAnyGoodPictureEndsWithACriticalError) {
  for (const char* slides : {"bbb", "b", ""}) {
    const support::TestLog log;
    ss->CriticalError = 0;
    EXPECT_TRUE(Start(slides)) << "the close is already asked for";
    EXPECT_THAT(log.Errors(), ElementsAre(kNoGoodImages, kNoGoodImages)) << slides;
    EXPECT_EQ(ss->CriticalError, 1);
    EXPECT_EQ(user.Dword("CriticalError"), 1u);
    EXPECT_TRUE(EndAsked());
    EXPECT_TRUE(PixelsNear(Screen(), Flat(0)));
    CleanUp();
  }
}

TEST_F(Show, APictureThatLoadsAtItsSecondTryAloneIsNotReliedOn) {
  const support::TestLog log;
  using Open = int(__cdecl*)(const char* path, int flags);
  int tries = 0;
  const auto locked =
      support::HookImport<Open>("msvcrt.dll", "_open", [&](const char* path, int flags) {
        // The catalogue has been read once there is a list.
        const bool isPicture = gSlideshow && gSlideshow->GetPlaylist().head;
        if (isPicture && ++tries == 1) return -1;
        void* real = support::ImportHook::Real("msvcrt.dll", "_open");
        return reinterpret_cast<Open>(real)(path, flags);
      });
  EXPECT_TRUE(Start("g"));
  EXPECT_GE(tries, 2);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
  EXPECT_THAT(log.Errors(), ElementsAre(kNoGoodImages));
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_TRUE(EndAsked());
}

TEST_F(Show, EndsWithACriticalErrorIfItsPicturesGoWhileTheFirstOneShows) {
  const support::TestLog log;
  HOOK_IMPORT(lot, "msvcrt.dll", rand, [&]() {  // for the first wipe
    SpoilAllPictures();
    return 2;
  });
  EXPECT_TRUE(Start("ggg"));
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
  EXPECT_THAT(log.Errors(), ElementsAre(kNoGoodImages));
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_TRUE(EndAsked());
}

// --- The frame step ---

class FrameStep : public Show {
 protected:
  void SetUp() override {
    Show::SetUp();
    ASSERT_TRUE(Start("gggg"));
  }

  // Every wipe is the plain one to the right, which is quick.
  support::AnyHook lot = ANY_HOOK("msvcrt.dll", rand, []() { return 2; });
};

TEST_F(FrameStep, APictureStandsForItsDelay) {
  for (int n = 0; n < 9; ++n) Frame(100);  // and about 1 ms in each
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
  Frame(100);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1])));
  EXPECT_EQ(NextSlide(), "slide2");
}

TEST_F(FrameStep, ExactlyTheDelayIsEnough) {
  SlideMs = 999;
  FrameTimer.ElapsedMs();
  Frame(0.5);
  EXPECT_EQ(SlideMs, 999);
  SlideMs = 1000;
  Frame(0.5);
  EXPECT_EQ(SlideMs, 0);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1])));
}

TEST_F(FrameStep, FractionsOfAMillisecondDoNotAddUp) {
  clock.Advance(10.75);
  RenderFrame();
  EXPECT_EQ(SlideMs, 10);
  EXPECT_NEAR(FrameMs, 10.75, 0.1);
}

TEST_F(FrameStep, AFrameTakesAtLeastAMillisecond) {
  const double start = clock.NowMs();
  RenderFrame();
  EXPECT_GE(clock.NowMs() - start, 1.0);
}

TEST_F(FrameStep, AWipeDoesNotCountAsAFrame) {
  const double start = clock.NowMs();
  Frame(1000);
  EXPECT_GE(clock.NowMs() - start, 2400);
  EXPECT_EQ(SlideMs, 0);
  RenderFrame();
  EXPECT_LT(FrameMs, 2);
  EXPECT_LT(SlideMs, 2);
}

TEST_F(FrameStep, AllPicturesComeInTurnAndThenTheFirstAgain) {
  for (int n = 1; n <= 9; ++n) {
    Frame(1000);
    EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[n % 4]))) << n;
  }
}

TEST_F(FrameStep, TheOrderRepeatsWithoutAReshuffle) {
  CleanUp();
  ss->RandomOrder = 1;
  ASSERT_TRUE(Start("gggg"));
  // Each shuffle has its seed; with the lots of this test all would be alike.
  int shuffles = 0;
  HOOK_IMPORT(seed, "msvcrt.dll", srand, [&](unsigned) { ++shuffles; });
  std::vector<std::uint32_t> colours;
  for (int n = 0; n < 8; ++n) {
    colours.push_back(Screen().At(0, 0));
    Frame(1000);
  }
  EXPECT_EQ(shuffles, 0);
  for (std::size_t n = 0; n < 4; ++n) EXPECT_EQ(colours[n], colours[n + 4]);
}

TEST_F(FrameStep, FramesAreCounted) {
  FpsMs = 0;
  const std::int32_t before = FpsFrames;
  Frame(1);
  EXPECT_EQ(FpsFrames, before + 1);
}

TEST_F(FrameStep, PicturesThatFailAreLeftOutWithoutAGap) {
  // The bytes of the third picture go bad before it is prepared.
  auto& list = gSlideshow->GetPlaylist();
  VFFILE* third = list.head->next->next->data->file;
  third->FreeData();
  third->offset = 0x7FFFFFFF;
  Frame(1000);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1])));
  EXPECT_EQ(NextSlide(), "slide3");
  Frame(1000);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[3])));
}

TEST_F(FrameStep, WhenAllPicturesFailTheSaverEndsWithACriticalError) {
  const support::TestLog log;
  SpoilAllPictures();
  Frame(1000);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1]))) << "the prepared one still shows";
  EXPECT_THAT(log.Errors(), ElementsAre(kNoGoodImages));
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_EQ(user.Dword("CriticalError"), 1u);
  EXPECT_TRUE(EndAsked());
}

TEST_F(FrameStep, LeaksNoGdiObjects) {
  ss->ShowCaptions = 1;
  Frame(1000);
  const support::GdiGauge gauge;
  for (int n = 0; n < 5; ++n) Frame(1000);
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST_F(FrameStep, ADelayOfZeroShowsAPictureAtEachFrame) {
  ss->ImageDelay = 0;
  Frame(0);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1])));
  Frame(0);
  EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[2])));
}

TEST_F(Show, ADelayOfZeroIsSetUpWithoutACrash) {
  ss->ImageDelay = 0;
  EXPECT_TRUE(Start("gg"));
}

// --- Tear-down ---

TEST_F(Show, TheSoundIsShutDownFirst) {
  const support::TestLog log;
  ss->PlayMusic = 1;
  ShutdownSound();
  EXPECT_EQ(ss->PlayMusic, 0);
  EXPECT_THAT(log.Texts(), ElementsAre("+- Enter function: ShutdownSound()",
                                       "+- Exit function: ShutdownSound()",
                                       "Successfully exiting ShutdownSound()"));
}

TEST_F(Show, CleanUpTakesDownInOrder) {
  Start("gg");
  const support::TestLog log;
  CleanUp();
  EXPECT_THAT(log.Texts(),
              ElementsAre("+- Enter function: CleanUp()", "+- Exit function: CleanUp()",
                          "Deleting slideshow object", "Deleting fast mode device contexts",
                          "Deleting slide bundles", "Deleting dimension list",
                          "Successfully exiting CleanUp()"));
  EXPECT_EQ(gSlideshow, nullptr);
  EXPECT_EQ(SlideBundle, nullptr);
  EXPECT_EQ(BlackPixelDC, nullptr);
  EXPECT_EQ(FastCanvasDC, nullptr);
  EXPECT_EQ(CaptionFontHandle, nullptr);
}

TEST_F(Show, CleanUpAfterNothingIsHarmless) {
  CleanUp();
  ss->SetAsWallpaper = 1;
  CleanUp();
  EXPECT_EQ(gSlideshow, nullptr);
}

TEST_F(Show, SetUpAndCleanUpLeakNoGdiObjects) {
  ss->ShowCaptions = 1;
  Start("gg");
  CleanUp();
  const support::GdiGauge gauge;
  for (int n = 0; n < 3; ++n) {
    Start("gg");
    CleanUp();
  }
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST_F(Show, TheWallpaperIsHandedOverWhileTheShowStillStands) {
  WallpaperPath = temp.File("wall.bmp");
  ss->SetAsWallpaper = 1;
  Start("gg");
  const support::TestLog log;
  bool showStood = false;
  {
    HOOK_IMPORT(wallpaper, "user32.dll", SystemParametersInfoA,
                [&](UINT action, UINT, void* path, UINT) -> BOOL {
                  EXPECT_EQ(action, static_cast<UINT>(SPI_SETDESKWALLPAPER));
                  EXPECT_EQ(static_cast<const char*>(path), WallpaperPath);
                  showStood = gSlideshow != nullptr;
                  return TRUE;
                });
    CleanUp();
  }
  EXPECT_TRUE(showStood);
  EXPECT_EQ(log.Texts()[2], "Saving images as wallpaper");
  EXPECT_EQ(log.Texts()[3], "Deleting slideshow object");
}

TEST_F(Show, WithoutTheSettingTheWallpaperStays) {
  WallpaperPath = temp.File("wall.bmp");
  Start("gg");
  CleanUp();
  EXPECT_EQ(GetFileAttributesA(WallpaperPath.c_str()), INVALID_FILE_ATTRIBUTES);
}

}  // namespace
