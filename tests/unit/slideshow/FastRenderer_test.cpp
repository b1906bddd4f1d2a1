#include "slideshow/FastRenderer.h"

#include "slideshow/Slideshow.h"
#include "slideshow/Wipes.h"
#include "support/BundleWriter.h"
#include "support/FullAddressSpace.h"
#include "support/GdiGauge.h"
#include "support/ImportHook.h"
#include "support/MovingClock.h"
#include "support/PixelHelpers.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"
#include "unit/slideshow/WipeModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using support::Bytes;
using support::Pattern;
using support::Pixels;
using support::PixelsNear;
using support::ReadDc;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr char kWindowClass[] = "VelmoraFastTest";

int userMessages = 0;  // that the window has handled

LRESULT CALLBACK CountMessages(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  userMessages += message == WM_USER;
  return DefWindowProcA(window, message, wParam, lParam);
}

void RegisterTestClass() {
  WNDCLASSA windowClass{};
  windowClass.lpfnWndProc = CountMessages;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.lpszClassName = kWindowClass;
  RegisterClassA(&windowClass);
}

COLORREF Ref(std::uint32_t colour) {
  return RGB(colour >> 16 & 255, colour >> 8 & 255, colour & 255);
}

void Paint(HDC dc, int width, int height, const Pattern& pattern) {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) SetPixelV(dc, x, y, Ref(pattern(x, y, width, height)));
}

// A picture in which every pixel differs from its neighbours and from those of
// a picture with another red.
Pattern Tagged(std::uint32_t red) {
  return [red](int x, int y, int, int) {
    return red << 16 | (static_cast<std::uint32_t>(y) & 255) << 8 |
           (static_cast<std::uint32_t>(x) & 255);
  };
}
Pattern OldPicture() { return Tagged(0x10); }
Pattern NewPicture() { return Tagged(0xC0); }

bool IsOld(std::uint32_t colour) { return colour >> 16 == 0x10; }
bool IsNew(std::uint32_t colour) { return colour >> 16 == 0xC0; }

// A saver window with its context, a canvas, and what fast mode needs beside.
class FastRenderer : public testing::Test {
 protected:
  void SetUp() override {
    RegisterTestClass();
    OpenScreen(kWidth, kHeight);
  }

  void TearDown() override {
    CloseScreen();
    gSlideshow = nullptr;
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
  }

  void OpenScreen(int width, int height) {
    CloseScreen();
    ScreenWidth = width;
    ScreenHeight = height;
    hScrWindow =
        CreateWindowExA(WS_EX_TOPMOST, kWindowClass, "", WS_POPUP | WS_VISIBLE, 0, 0, width, height,
                        nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
    ASSERT_NE(hScrWindow, nullptr);
    hDC = GetDC(hScrWindow);
    ASSERT_TRUE(CreateFastContexts(width, height));
  }

  void CloseScreen() {
    if (!hScrWindow) return;
    DeleteFastContexts();
    ReleaseDC(hScrWindow, hDC);
    DestroyWindow(hScrWindow);
    hScrWindow = nullptr;
  }

  static Pixels Screen() { return ReadDc(hDC, 0, 0, ScreenWidth, ScreenHeight); }
  static Pixels CanvasPixels() { return ReadDc(FastCanvasDC, 0, 0, ScreenWidth, ScreenHeight); }

  static void PrepareWipe() {
    Paint(hDC, ScreenWidth, ScreenHeight, OldPicture());
    Paint(FastCanvasDC, ScreenWidth, ScreenHeight, NewPicture());
  }

  void OpenShow(const std::vector<support::TestSlide>& slides) {
    show = std::make_unique<Slideshow>();
    show->SetRandomOrder(false);
    ASSERT_TRUE(show->LoadBundle(temp.Write("images.bdl", MakeSlideBundle(slides)).c_str()));
    gSlideshow = show.get();
  }

  support::SessionState session;
  support::TempFolder temp;
  std::unique_ptr<Slideshow> show;
};

// --- The contexts ---

TEST_F(FastRenderer, TheBlackPixelIsBlack) {
  EXPECT_EQ(GetPixel(BlackPixelDC, 0, 0), RGB(0, 0, 0));
}

TEST_F(FastRenderer, TheCanvasHasTheScreensSize) {
  BITMAP bitmap{};
  GetObjectA(GetCurrentObject(FastCanvasDC, OBJ_BITMAP), sizeof bitmap, &bitmap);
  EXPECT_EQ(bitmap.bmWidth, kWidth);
  EXPECT_EQ(bitmap.bmHeight, kHeight);
  GetObjectA(GetCurrentObject(BlackPixelDC, OBJ_BITMAP), sizeof bitmap, &bitmap);
  EXPECT_EQ(bitmap.bmWidth, 1);
  EXPECT_EQ(bitmap.bmHeight, 1);
}

TEST_F(FastRenderer, TheContextsGoWithoutALeak) {
  DeleteFastContexts();
  const support::GdiGauge gauge;
  for (int n = 0; n < 50; ++n) {
    CreateFastContexts(kWidth, kHeight);
    CreateCaptionFont(ANTIALIASED_QUALITY);
    DeleteFastContexts();
  }
  EXPECT_EQ(gauge.Leaked(), 0);
  EXPECT_EQ(FastCanvasDC, nullptr);
  EXPECT_EQ(BlackPixelDC, nullptr);
  EXPECT_EQ(CaptionFontHandle, nullptr);
}

TEST_F(FastRenderer, WithoutMemoryThereAreNoContexts) {
  DeleteFastContexts();
  HOOK_IMPORT(noBitmap, "gdi32.dll", CreateCompatibleBitmap,
              [](HDC, int, int) -> HBITMAP { return nullptr; });
  EXPECT_FALSE(CreateFastContexts(kWidth, kHeight));
  ClearFastCanvas();
  DrawFastImage();
  Transition(0, 0);  // none of them may crash
}

TEST_F(FastRenderer, ClearingMakesTheWholeCanvasBlack) {
  Paint(FastCanvasDC, kWidth, kHeight, NewPicture());
  ClearFastCanvas();
  EXPECT_TRUE(PixelsNear(CanvasPixels(), Pixels(kWidth, kHeight, 0)));
}

// --- Good pictures ---

using GoodPictures = FastRenderer;

TEST_F(GoodPictures, AReadablePictureIsLoadedAndFitted) {
  OpenShow({{"a", support::MakeBmp(8, 4, support::Flat(0x3366CC)), 8, 4}});
  EXPECT_TRUE(LoadSlideImage(show->GetPlaylist().Current(), FastImage));
  EXPECT_EQ(FastImage.GetObjectDataPtr()->GetWidth(), 8);
  EXPECT_EQ(FastImage.GetObjectDataPtr()->GetHeight(), 4);
  EXPECT_EQ(FastImageWidth, 64);
  EXPECT_EQ(FastImageHeight, 32);
}

TEST_F(GoodPictures, TheCatalogueSaysHowLargeAPictureIs) {
  OpenShow({{"a", support::MakeBmp(8, 4, support::Flat(0)), 100, 200}});
  EXPECT_TRUE(LoadSlideImage(show->GetPlaylist().Current(), FastImage));
  EXPECT_EQ(FastImageWidth, 24);
  EXPECT_EQ(FastImageHeight, 48);
}

TEST_F(GoodPictures, BytesThatAreNoPictureAreNotGood) {
  OpenShow({{"a", support::BytesOf("this is no picture"), 100, 200}});
  FastImageWidth = FastImageHeight = 7;
  EXPECT_FALSE(LoadSlideImage(show->GetPlaylist().Current(), FastImage));
  EXPECT_EQ(FastImageWidth, 7);
  EXPECT_EQ(FastImageHeight, 7);
}

TEST_F(GoodPictures, AnEmptyMemberIsNotGood) {
  OpenShow({{"a", {}, 100, 200}});
  EXPECT_FALSE(LoadSlideImage(show->GetPlaylist().Current(), FastImage));
}

TEST_F(GoodPictures, AMemberThatCannotBeReadIsNotGood) {
  OpenShow({{"a", support::MakeBmp(8, 4, support::Flat(0)), 8, 4}});
  PlaylistElement* slide = show->GetPlaylist().Current();
  slide->file->offset = 0x7FFFFFFF;
  EXPECT_FALSE(LoadSlideImage(slide, FastImage));
}

TEST_F(GoodPictures, NoSlideIsNotGood) { EXPECT_FALSE(LoadSlideImage(nullptr, FastImage)); }

TEST_F(GoodPictures, WithoutRoomToWorkOnlyTheShowingOneAndTheNewOneStayInMemory) {
  const support::Bytes picture = support::MakeBmp(8, 4, support::Flat(0x3366CC));
  OpenShow({{"a", picture, 8, 4}, {"b", picture, 8, 4}, {"c", picture, 8, 4}});
  LinkedList<PlaylistElement*>& list = show->GetPlaylist();
  const auto full = support::FullAddressSpace();
  for (list.First();; list.Next()) {
    ASSERT_TRUE(LoadSlideImage(list.Current(), FastImage));
    if (list.cursor == list.tail) break;
  }
  EXPECT_EQ(list.head->data->file->data, nullptr);
  EXPECT_NE(list.head->next->data->file->data, nullptr);
  EXPECT_NE(list.tail->data->file->data, nullptr);
}

// --- The picture on the canvas ---

using CanvasPicture = FastRenderer;

// Loads the show's first picture and draws it on the cleared canvas.
void DrawFirstOf(Slideshow& show) {
  ASSERT_TRUE(LoadSlideImage(show.GetPlaylist().Current(), FastImage));
  Paint(FastCanvasDC, ScreenWidth, ScreenHeight, OldPicture());
  ClearFastCanvas();
  DrawFastImage();
}

TEST_F(CanvasPicture, OfTheScreensSizeIsDrawnExactly) {
  OpenShow({{"a", support::MakeBmp(kWidth, kHeight, support::Gradient()), kWidth, kHeight}});
  DrawFirstOf(*show);
  EXPECT_TRUE(PixelsNear(CanvasPixels(), support::Render(kWidth, kHeight, support::Gradient())));
}

TEST_F(CanvasPicture, AWideOneLeavesBlackBarsAboveAndBelow) {
  OpenShow({{"a", support::MakeBmp(16, 6, support::Flat(0x3366CC)), 16, 6}});
  DrawFirstOf(*show);
  Pixels expected(kWidth, kHeight, 0);  // 64 by 24 in the middle
  for (int y = 12; y < 36; ++y)
    for (int x = 0; x < kWidth; ++x) expected.Set(x, y, 0x3366CC);
  EXPECT_TRUE(PixelsNear(CanvasPixels(), expected));
}

TEST_F(CanvasPicture, AHighOneLeavesBlackBarsAtItsSides) {
  OpenShow({{"a", support::MakeBmp(10, 24, support::Flat(0x3366CC)), 10, 24}});
  DrawFirstOf(*show);
  Pixels expected(kWidth, kHeight, 0);  // 20 by 48
  for (int y = 0; y < kHeight; ++y)
    for (int x = 22; x < 42; ++x) expected.Set(x, y, 0x3366CC);
  EXPECT_TRUE(PixelsNear(CanvasPixels(), expected));
}

TEST_F(CanvasPicture, OfAnOddSizeIsCentredByWholePixels) {
  OpenShow({{"a", support::MakeBmp(1, 1, support::Flat(0xFFFFFF)), 21, 48}});
  DrawFirstOf(*show);
  EXPECT_EQ(FastImageWidth, 21);
  const Pixels canvas = CanvasPixels();
  EXPECT_EQ(canvas.At(32 - 10 - 1, 0), 0u);
  EXPECT_EQ(canvas.At(32 - 10, 0), 0xFFFFFFu);
  EXPECT_EQ(canvas.At(32 + 10, 47), 0xFFFFFFu);
  EXPECT_EQ(canvas.At(32 + 11, 47), 0u);
}

TEST_F(CanvasPicture, IsStretchedWholeAndUpright) {
  OpenShow({{"a",
             support::MakeBmp(400, 300, support::Quadrants(0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00)),
             400, 300}});
  DrawFirstOf(*show);
  const Pixels canvas = CanvasPixels();
  const auto expectFlat = [&](int x, int y, std::uint32_t colour) {
    EXPECT_TRUE(PixelsNear(canvas.Cut(x, y, 28, 20), Pixels(28, 20, colour)));
  };
  expectFlat(0, 0, 0xFF0000);
  expectFlat(36, 0, 0x00FF00);
  expectFlat(0, 28, 0x0000FF);
  expectFlat(36, 28, 0xFFFF00);
}

TEST_F(CanvasPicture, IsSmoothedWhenItShrinks) {
  // Checkers finer than the canvas's pixels come out as their mean.
  OpenShow({{"a", support::MakeBmp(640, 480, support::Checkers(1, 0x000000, 0xFFFFFF)), 640, 480}});
  DrawFirstOf(*show);
  EXPECT_TRUE(PixelsNear(CanvasPixels().Cut(2, 2, 60, 44), Pixels(60, 44, 0x808080), 12));
}

TEST_F(CanvasPicture, AFailedOneDrawsNothing) {
  OpenShow({{"a", support::BytesOf("no picture"), 10, 10}});
  LoadSlideImage(show->GetPlaylist().Current(), FastImage);
  ClearFastCanvas();
  DrawFastImage();
  EXPECT_TRUE(PixelsNear(CanvasPixels(), Pixels(kWidth, kHeight, 0)));
}

// --- Captions ---

constexpr std::uint32_t kBackground = 0x406080;

class Captions : public FastRenderer {
 protected:
  static constexpr int kW = 400;
  static constexpr int kH = 200;

  void SetUp() override {
    RegisterTestClass();
    OpenScreen(kW, kH);
    ss->CaptionFontSize = -16;
    ASSERT_TRUE(CreateCaptionFont(ANTIALIASED_QUALITY));
  }

  // The canvas with the caption, on a plain background.
  Pixels Drawn(const std::string& text) {
    const HBRUSH brush = CreateSolidBrush(Ref(kBackground));
    const RECT all{0, 0, kW, kH};
    FillRect(FastCanvasDC, &all, brush);
    DeleteObject(brush);
    DrawFastCaption(text);
    return CanvasPixels();
  }

  // The same by another road: a canvas and a font of the test's own, and the
  // rectangles as numbers.
  Pixels Expected(const std::string& text, UINT format) {
    const support::Canvas canvas(kW, kH, kBackground);
    const HFONT font = CreateFontA(-16, 0, 0, 0, 700, 1, 0, 0, 0, 4, 0, 4, 0, "Arial");
    const HGDIOBJ previous = SelectObject(canvas.Dc(), font);
    SetBkMode(canvas.Dc(), TRANSPARENT);
    RECT measured{0, 0, kW - 100, 10000};
    DrawTextA(canvas.Dc(), text.c_str(), -1, &measured, format | DT_CALCRECT);
    const int height = measured.bottom;
    RECT shadow{52, kH - height - 8, kW - 48, kH};
    SetTextColor(canvas.Dc(), 0);
    DrawTextA(canvas.Dc(), text.c_str(), -1, &shadow, format);
    RECT front{50, kH - height - 10, kW - 50, kH};
    SetTextColor(canvas.Dc(), 0xFFFFFF);
    DrawTextA(canvas.Dc(), text.c_str(), -1, &front, format);
    SelectObject(canvas.Dc(), previous);
    DeleteObject(font);
    return canvas.Read();
  }

  // The rectangle of all that isn't background; empty for a plain canvas.
  static std::optional<RECT> Ink(const Pixels& pixels) {
    RECT ink{pixels.width, pixels.height, 0, 0};
    for (LONG y = 0; y < pixels.height; ++y)
      for (LONG x = 0; x < pixels.width; ++x) {
        if (pixels.At(x, y) == kBackground) continue;
        ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x + 1),
               std::max(ink.bottom, y + 1)};
      }
    return ink.right > 0 ? std::optional<RECT>(ink) : std::nullopt;
  }
};

constexpr char kLongText[] =
    "A caption that is far too long for a single line of this small screen and so has to wrap";

TEST_F(Captions, StandWithTheirShadowNearTheBottom) {
  const std::pair<int, UINT> orientations[] = {
      {0, DT_WORDBREAK | DT_LEFT}, {1, DT_WORDBREAK | DT_CENTER}, {2, DT_WORDBREAK | DT_RIGHT}};
  for (const auto& [orientation, format] : orientations)
    for (const char* text : {"Sunset", "Two\r\nlines", kLongText}) {
      SCOPED_TRACE(std::to_string(orientation) + " " + text);
      ss->CaptionOrientation = orientation;
      EXPECT_TRUE(PixelsNear(Drawn(text), Expected(text, format)));
      EXPECT_TRUE(Ink(Drawn(text))) << "something must be drawn at all";
    }
}

TEST_F(Captions, StandLeftOrCentredOrRight) {
  ss->CaptionOrientation = 0;
  const RECT left = Ink(Drawn("Hill")).value();
  ss->CaptionOrientation = 1;
  const RECT centre = Ink(Drawn("Hill")).value();
  ss->CaptionOrientation = 2;
  const RECT right = Ink(Drawn("Hill")).value();
  EXPECT_NEAR(left.left, 50, 4);
  EXPECT_NEAR(centre.left + centre.right, kW, 8);
  EXPECT_NEAR(right.right, kW - 48, 4);
}

TEST_F(Captions, MoreLinesReachHigherAndEndAtTheSamePlace) {
  const RECT one = Ink(Drawn("Hxg")).value();
  const RECT three = Ink(Drawn("Hxg\r\nHxg\r\nHxg")).value();
  EXPECT_EQ(three.bottom, one.bottom);
  TEXTMETRICA metrics{};
  GetTextMetricsA(FastCanvasDC, &metrics);
  EXPECT_EQ(one.top - three.top, 2 * metrics.tmHeight);
  EXPECT_LE(three.bottom, kH - 8);
}

TEST_F(Captions, AnEmptyOneDrawsNothing) { EXPECT_FALSE(Ink(Drawn(""))); }

TEST_F(Captions, AnUnknownOrientationIsLeft) {
  ss->CaptionOrientation = 0;
  const Pixels left = Drawn("Hill");
  for (const int orientation : {-1, 3, 99}) {
    ss->CaptionOrientation = orientation;
    EXPECT_TRUE(PixelsNear(Drawn("Hill"), left)) << orientation;
  }
}

TEST_F(Captions, MayHoldPercentAndAmpersand) {
  ss->CaptionOrientation = 0;
  EXPECT_TRUE(PixelsNear(Drawn("100%s & more"), Expected("100%s & more", DT_WORDBREAK)));
}

TEST_F(Captions, TheFontComesFromTheSettings) {
  DeleteFastContexts();
  CreateFastContexts(kW, kH);
  ss->CaptionFontSize = -31;
  ss->CaptionBold = 0;
  ss->CaptionItalic = 0;
  ss->CaptionFont = "Arial";
  ASSERT_TRUE(CreateCaptionFont(CLEARTYPE_QUALITY));
  LOGFONTA font{};
  GetObjectA(CaptionFontHandle, sizeof font, &font);
  EXPECT_EQ(font.lfHeight, -31);
  EXPECT_EQ(font.lfWidth, 0);
  EXPECT_EQ(font.lfWeight, 400);
  EXPECT_EQ(font.lfItalic, 0);
  EXPECT_EQ(font.lfUnderline, 0);
  EXPECT_EQ(font.lfStrikeOut, 0);
  EXPECT_EQ(font.lfCharSet, 0);
  EXPECT_EQ(font.lfOutPrecision, 4);
  EXPECT_EQ(font.lfClipPrecision, 0);
  EXPECT_EQ(font.lfQuality, 5);
  EXPECT_EQ(font.lfPitchAndFamily, 0);
  EXPECT_STREQ(font.lfFaceName, "Arial");
  EXPECT_EQ(GetCurrentObject(FastCanvasDC, OBJ_FONT), CaptionFontHandle);
  EXPECT_EQ(GetBkMode(FastCanvasDC), TRANSPARENT);
  EXPECT_EQ(GetTextColor(FastCanvasDC), RGB(255, 255, 255));
}

TEST_F(Captions, BoldAndItalicComeFromTheSettings) {
  DeleteFastContexts();
  CreateFastContexts(kW, kH);
  ASSERT_TRUE(CreateCaptionFont(ANTIALIASED_QUALITY));
  LOGFONTA font{};
  GetObjectA(CaptionFontHandle, sizeof font, &font);
  EXPECT_EQ(font.lfWeight, 700);
  EXPECT_EQ(font.lfItalic, 1);
  EXPECT_EQ(font.lfQuality, 4);
}

TEST_F(Captions, WithoutAFontTheCanvasKeepsItsOwn) {
  DeleteFastContexts();
  CreateFastContexts(kW, kH);
  const HGDIOBJ before = GetCurrentObject(FastCanvasDC, OBJ_FONT);
  HOOK_IMPORT(noFont, "gdi32.dll", CreateFontA,
              [](int, int, int, int, int, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD,
                 LPCSTR) -> HFONT { return nullptr; });
  EXPECT_FALSE(CreateCaptionFont(ANTIALIASED_QUALITY));
  EXPECT_EQ(GetCurrentObject(FastCanvasDC, OBJ_FONT), before);
  EXPECT_EQ(GetBkMode(FastCanvasDC), TRANSPARENT);
  EXPECT_TRUE(Ink(Drawn("still there")));
}

// --- Wipes ---

// What happens at each message that the wipe handles, one after each step.
auto AtEachPump(std::function<void()> action) {
  return support::HookImport<decltype(&PeekMessageA)>(
      "user32.dll", "PeekMessageA", [action](LPMSG, HWND, UINT, UINT, UINT flags) -> BOOL {
        EXPECT_EQ(flags, static_cast<UINT>(PM_REMOVE));
        action();
        return FALSE;
      });
}

class Transitions : public FastRenderer {};

class AnyTransition : public Transitions, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Effects, AnyTransition, testing::Range(0, 13));

TEST_P(AnyTransition, EndsWithTheCanvasOnTheScreen) {
  for (const int duration : {0, 1, 40, 1500}) {
    const support::MovingClock clock;
    PrepareWipe();
    Transition(GetParam(), duration);
    EXPECT_TRUE(PixelsNear(Screen(), support::Render(kWidth, kHeight, NewPicture()))) << duration;
  }
}

TEST_P(AnyTransition, EndsSoOnAScreenOfOddSize) {
  OpenScreen(37, 23);
  const support::MovingClock clock;
  PrepareWipe();
  Transition(GetParam(), 1500);
  EXPECT_TRUE(PixelsNear(Screen(), support::Render(37, 23, NewPicture())));
}

TEST_P(AnyTransition, LeaksNothing) {
  const support::MovingClock clock;
  Transition(GetParam(), 10);
  const support::GdiGauge gauge;
  for (int n = 0; n < 5; ++n) Transition(GetParam(), 10);
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST_P(AnyTransition, CompletesThoughAQuitArrives) {
  const support::MovingClock clock;
  PrepareWipe();
  PostQuitMessage(0);
  Transition(GetParam(), 1500);
  EXPECT_TRUE(PixelsNear(Screen(), support::Render(kWidth, kHeight, NewPicture())));
  EXPECT_EQ(Done, GetParam() != 0) << "the cut handles no messages";
}

TEST_P(AnyTransition, KeepsItsTimeOutOfTheFrame) {
  const support::MovingClock clock;
  FrameMs = 123.5;
  Transition(GetParam(), 100);
  const bool keeps = GetParam() == 0 || GetParam() == 2;
  EXPECT_EQ(FrameMs, keeps ? 123.5 : 0.0);
}

// A wipe; not the cut.
class Wipe : public Transitions, public testing::WithParamInterface<int> {
 protected:
  int Steps() const { return PlanWipe(GetParam(), kWidth, kHeight).steps; }
};

INSTANTIATE_TEST_SUITE_P(Effects, Wipe, testing::Range(1, 13));

TEST_P(Wipe, ShowsBothPicturesHalfWay) {
  // The torn wipes run up to 200 pixels ahead of themselves.
  if (GetParam() == 5) OpenScreen(600, 16);
  if (GetParam() == 6) OpenScreen(16, 600);
  const support::MovingClock clock;
  PrepareWipe();
  const WipePlan plan = PlanWipe(GetParam(), ScreenWidth, ScreenHeight);
  const int pixels = ScreenWidth * ScreenHeight;
  int checked = 0;
  const auto hook = AtEachPump([&] {
    const int done = TransitionPos - plan.previous;
    const int all = plan.end - plan.previous;
    if (done < all * 45 / 100 || done > all * 55 / 100) return;
    const Pixels screen = Screen();
    const auto fresh = std::count_if(screen.colours.begin(), screen.colours.end(), IsNew);
    const auto old = std::count_if(screen.colours.begin(), screen.colours.end(), IsOld);
    EXPECT_EQ(fresh + old, pixels);
    EXPECT_GT(fresh, pixels * 4 / 10);
    EXPECT_GT(old, pixels / 10);
    ++checked;
  });
  Transition(GetParam(), 1500);
  EXPECT_GT(checked, 0);
}

TEST_P(Wipe, ShowsWhatItsPositionSaysAllTheWay) {
  if (!wipe_model::HasModel(GetParam())) {
    EXPECT_TRUE(GetParam() == 1 || GetParam() == 2 || GetParam() == 5 || GetParam() == 6);
    return;
  }
  const support::MovingClock clock(0.01);
  PrepareWipe();
  const WipePlan plan = PlanWipe(GetParam(), kWidth, kHeight);
  int checked = 0;
  const auto hook = AtEachPump([&] {
    if (TransitionPos + 4 >= plan.end) return;  // the rest may be drawn already
    const Pixels expected = support::Render(kWidth, kHeight, [&](int x, int y, int w, int h) {
      const wipe_model::Dot dot = wipe_model::DotAt(GetParam(), w, h, x, y, TransitionPos);
      const Pattern picture = dot.picture == 'n' ? NewPicture() : OldPicture();
      return picture(dot.x, dot.y, w, h);
    });
    ASSERT_TRUE(PixelsNear(Screen(), expected)) << "at position " << TransitionPos;
    ++checked;
  });
  Transition(GetParam(), 1500);
  EXPECT_GT(checked, plan.steps / 2);
}

TEST_P(Wipe, TakesItsDuration) {
  for (const int duration : {100, 1500}) {
    const support::MovingClock clock;
    const double start = clock.NowMs();
    Transition(GetParam(), duration);
    // The first position is 1, so that many wipes are one step short.
    EXPECT_GE(clock.NowMs() - start, duration * (Steps() - 1.0) / Steps() - 1);
    EXPECT_GT(clock.SleptMs(), 0);
  }
}

// Every step here costs a quarter of the wipe.
TEST_P(Wipe, OnASlowMachineTakesBiggerStepsUnlessItShowsLineByLine) {
  support::MovingClock clock;
  int pumps = 0;
  const auto hook = AtEachPump([&] { ++pumps; });
  HOOK_IMPORT(slow, "gdi32.dll", BitBlt,
              [&](HDC to, int x, int y, int w, int h, HDC from, int fromX, int fromY, DWORD rop) {
                if (from == FastCanvasDC && (w >= 8 || h >= 8 || GetParam() <= 2))
                  clock.Advance(400);
                return REAL_IMPORT("gdi32.dll", BitBlt)(to, x, y, w, h, from, fromX, fromY, rop);
              });
  Transition(GetParam(), 1500);
  if (GetParam() <= 2)
    EXPECT_EQ(pumps, Steps());
  else
    EXPECT_LE(pumps, 5);
  EXPECT_GE(pumps, 2);
}

TEST_P(Wipe, SleepsBetweenItsSteps) {
  std::vector<DWORD> slept;
  const support::MovingClock clock;
  HOOK_IMPORT(sleep, "kernel32.dll", Sleep, [&](DWORD ms) {
    slept.push_back(ms);
    const_cast<support::MovingClock&>(clock).Advance(ms);
  });
  Transition(GetParam(), 1500);
  ASSERT_FALSE(slept.empty());
  const bool two = (GetParam() >= 7 && GetParam() <= 11);
  for (const DWORD ms : slept) ASSERT_EQ(ms, two ? 2u : 1u);
}

TEST_P(Wipe, HandlesOneMessageAfterEachStep) {
  const support::MovingClock clock;
  userMessages = 0;
  for (int n = 0; n < 1000; ++n) PostMessageA(hScrWindow, WM_USER, 0, 0);
  int peeked = 0;
  HOOK_IMPORT(peek, "user32.dll", PeekMessageA,
              [&](LPMSG message, HWND window, UINT first, UINT last, UINT flags) -> BOOL {
                ++peeked;
                return REAL_IMPORT("user32.dll", PeekMessageA)(message, window, first, last, flags);
              });
  Transition(GetParam(), 1500);
  EXPECT_GT(userMessages, 0);
  EXPECT_LE(userMessages, peeked);
  EXPECT_LE(peeked, PlanWipe(GetParam(), kWidth, kHeight).end);
  EXPECT_FALSE(Done);
}

// --- Wipes: single facts ---

TEST_F(Transitions, AnyOtherNumberIsTheCut) {
  for (const int effect : {-1, 13, 99}) {
    const support::MovingClock clock;
    PrepareWipe();
    const auto hook = AtEachPump([] { ADD_FAILURE() << "the cut handles no messages"; });
    Transition(effect, 1500);
    EXPECT_EQ(clock.SleptMs(), 0);
    EXPECT_TRUE(PixelsNear(Screen(), support::Render(kWidth, kHeight, NewPicture()))) << effect;
  }
}

// Its stopwatch stands at 0 for ever.
TEST_F(Transitions, OnAMachineWithoutACounterAllAreTheCut) {
  HOOK_IMPORT(counter, "kernel32.dll", QueryPerformanceCounter,
              [](LARGE_INTEGER*) -> BOOL { return FALSE; });
  HOOK_IMPORT(frequency, "kernel32.dll", QueryPerformanceFrequency,
              [](LARGE_INTEGER*) -> BOOL { return FALSE; });
  HOOK_IMPORT(sleep, "kernel32.dll", Sleep,
              [](DWORD) { throw std::runtime_error("waits for a clock that stands still"); });
  const auto hook = AtEachPump([] { ADD_FAILURE() << "the cut handles no messages"; });
  for (int effect = 0; effect <= kWipeCount; ++effect) {
    PrepareWipe();
    Transition(effect, 1500);
    EXPECT_TRUE(PixelsNear(Screen(), support::Render(kWidth, kHeight, NewPicture()))) << effect;
  }
}

TEST_F(Transitions, OnOnePixelInTheirDirectionTheOldPictureStays) {
  for (int effect = 3; effect <= 12; ++effect) {
    const bool vertical = effect % 2 == 0;
    OpenScreen(vertical ? 20 : 1, vertical ? 1 : 20);
    const support::MovingClock clock;
    PrepareWipe();
    Transition(effect, 1500);
    EXPECT_TRUE(PixelsNear(Screen(), support::Render(ScreenWidth, ScreenHeight, OldPicture())))
        << effect;
    EXPECT_EQ(clock.SleptMs(), 0);
  }
}

TEST_F(Transitions, RandomColumnsComeInAnOrderOfTheirOwnEachTime) {
  const support::MovingClock clock;
  std::vector<int> firstColumns;
  for (int n = 0; n < 8; ++n) {
    bool first = true;
    HOOK_IMPORT(blit, "gdi32.dll", BitBlt,
                [&](HDC, int x, int y, int w, int h, HDC, int fromX, int, DWORD) -> BOOL {
                  if (first) firstColumns.push_back(x);
                  first = false;
                  EXPECT_EQ(w, 1);
                  EXPECT_EQ(h, kHeight);
                  EXPECT_EQ(y, 0);
                  EXPECT_EQ(fromX, x);
                  return TRUE;
                });
    Transition(1, 10);
  }
  std::sort(firstColumns.begin(), firstColumns.end());
  EXPECT_GT(std::unique(firstColumns.begin(), firstColumns.end()) - firstColumns.begin(), 2);
}

// The one test that waits: by the real clock, a wipe doesn't end early.
TEST_F(Transitions, TheRealClockIsObeyed) {
  PrepareWipe();
  LARGE_INTEGER start, end, frequency;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  Transition(1, 300);
  QueryPerformanceCounter(&end);
  const double ms = static_cast<double>(end.QuadPart - start.QuadPart) * 1000.0 /
                    static_cast<double>(frequency.QuadPart);
  EXPECT_GE(ms, 299.0);
  EXPECT_TRUE(PixelsNear(Screen(), support::Render(kWidth, kHeight, NewPicture())));
}

}  // namespace
