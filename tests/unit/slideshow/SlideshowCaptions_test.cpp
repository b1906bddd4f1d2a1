// The captions of the show on the Direct3D path: whose text is drawn when, where
// it stands, and how it comes and goes.

#include "graphics/cTexture.h"
#include "support/GdiGauge.h"
#include "support/MethodHook.h"
#include "unit/slideshow/ShowTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using slideshow_test::BadSlide;
using slideshow_test::FlatSlide;
using slideshow_test::kDelayMs;
using slideshow_test::kTop;
using support::Pixels;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kWidth = graphics_test::kWindowWidth;
constexpr int kHeight = graphics_test::kWindowHeight;
constexpr int kCanvasWidth = 896;
constexpr int kCanvasHeight = 256;
constexpr double kQuadHeight = 1.5 * kCanvasHeight / kCanvasWidth;
constexpr int kFontSize = -64;  // large, for the window is small

support::TestSlide DarkSlide(const std::string& name, const std::string& caption) {
  support::TestSlide slide = FlatSlide(name, 0x000000);
  slide.caption = caption;
  return slide;
}

// The texts that are drawn meanwhile, each once: its shadow comes first.
class TextsDrawn {
 public:
  TextsDrawn() { texts_.clear(), formats_.clear(); }
  static const std::vector<std::string>& Texts() { return texts_; }
  static const std::vector<UINT>& Formats() { return formats_; }

 private:
  static int WINAPI Draw(HDC dc, LPCSTR text, int length, LPRECT rect, UINT format) {
    if (rect->left == 0) texts_.push_back(text), formats_.push_back(format);
    return REAL_IMPORT("user32.dll", DrawTextA)(dc, text, length, rect, format);
  }
  inline static std::vector<std::string> texts_;
  inline static std::vector<UINT> formats_;
  support::ImportHook hook_{"user32.dll", "DrawTextA", &Draw};
};

// The rectangle of all bright pixels; empty where there is none.
std::optional<RECT> Ink(const Pixels& pixels) {
  RECT ink{pixels.width, pixels.height, 0, 0};
  for (LONG y = 0; y < pixels.height; ++y)
    for (LONG x = 0; x < pixels.width; ++x) {
      if ((pixels.At(x, y) & 0xFF) < 0x60) continue;
      ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x + 1),
             std::max(ink.bottom, y + 1)};
    }
  return ink.right > 0 ? std::optional<RECT>(ink) : std::nullopt;
}

int Brightest(const Pixels& pixels) {
  std::uint32_t most = 0;
  for (const std::uint32_t colour : pixels.colours) most = std::max(most, colour & 0xFF);
  return static_cast<int>(most);
}

class ShowCaptions : public slideshow_test::ShowTest {
 protected:
  ShowCaptions() { SetUpShow(); }
  void SetUpShow() {
    show->SetShowCaptions(true);
    show->SetMipMap(true);
    show->SetCaptionFontName("Arial");
    show->SetCaptionFontSize(kFontSize);
    show->SetCaptionQuality(ANTIALIASED_QUALITY);
    show->SetCaptionBold(true);
    show->SetCaptionOrientation(1);
  }
  ~ShowCaptions() override {
    if (!formats_.empty()) TextureFormats = formats_;
  }

  // As on a card without a texture format that has alpha.
  void TakeAlphaFromCard() {
    const cTexture asksForFormats;
    formats_ = TextureFormats;
    std::erase_if(TextureFormats,
                  [](const DDPIXELFORMAT& f) { return f.dwFlags & DDPF_ALPHAPIXELS; });
  }

  // Where the text's bright pixels must come to lie on the screen: the text's
  // own rectangle on a canvas of the test's, carried over by the rule that its
  // last line ends 10 canvas pixels above the screen's lower edge.
  static RECT ExpectedInk(const std::string& text, UINT format) {
    const support::Canvas canvas(kCanvasWidth, kCanvasHeight);
    const HFONT font = CreateFontA(kFontSize, 0, 0, 0, 700, 0, 0, 0, 0, 4, 0, 4, 0, "Arial");
    const HGDIOBJ previous = SelectObject(canvas.Dc(), font);
    SetBkMode(canvas.Dc(), TRANSPARENT);
    SetTextColor(canvas.Dc(), RGB(255, 255, 255));
    RECT room{0, 0, kCanvasWidth - 2, kCanvasHeight - 2};
    const int height = DrawTextA(canvas.Dc(), text.c_str(), -1, &room, format | DT_WORDBREAK);
    SelectObject(canvas.Dc(), previous);
    DeleteObject(font);
    const RECT ink = Ink(canvas.Read()).value();
    const double scale = 0.75 * kWidth / kCanvasWidth;
    const auto x = [=](LONG column) { return std::lround(kWidth * 0.125 + column * scale); };
    const auto y = [=](LONG row) { return std::lround(kHeight - (height + 10 - row) * scale); };
    return {x(ink.left), y(ink.top), x(ink.right), y(ink.bottom)};
  }
  void ExpectInkAt(const RECT& expected) {
    const RECT ink = Ink(Drawn()).value_or(RECT{});
    EXPECT_NEAR(ink.left, expected.left, 2);
    EXPECT_NEAR(ink.top, expected.top, 2);
    EXPECT_NEAR(ink.right, expected.right, 2);
    EXPECT_NEAR(ink.bottom, expected.bottom, 2);
  }

  // World translation in y of each caption drawn in a frame, front first. The
  // slides themselves move no matrix.
  std::vector<float> DrawnOffsets() {
    std::vector<float> offsets;
    HOOK_METHOD(world, AnyDevice(), &IDirect3DDevice7::SetTransform,
                [&](auto real, IDirect3DDevice7* self, D3DTRANSFORMSTATETYPE type, D3DMATRIX* m) {
                  if (type == D3DTRANSFORMSTATE_WORLD && m->_42 != 0) offsets.push_back(m->_42);
                  return real(self, type, m);
                });
    show->Draw();
    return offsets;
  }
  // Alpha of each caption drawn in a frame, front first: their materials alone
  // are white with an alpha, or of an alpha only.
  std::vector<float> DrawnAlphas() {
    std::vector<float> alphas;
    float last = 0;
    HOOK_METHOD(material, AnyDevice(), &IDirect3DDevice7::SetMaterial,
                [&](auto real, IDirect3DDevice7* self, D3DMATERIAL7* value) {
                  last = value->diffuse.a;
                  return real(self, value);
                });
    HOOK_METHOD(draw, AnyDevice(), &IDirect3DDevice7::DrawIndexedPrimitive,
                [&](auto, IDirect3DDevice7*, D3DPRIMITIVETYPE, DWORD format, void* vertices, DWORD,
                    WORD*, DWORD, DWORD) {
                  const bool firstTile = *static_cast<float*>(vertices) == -0.75f;
                  if (format == 322 && firstTile) alphas.push_back(last);
                  return D3D_OK;
                });
    show->Draw();
    return alphas;
  }

 private:
  std::vector<DDPIXELFORMAT> formats_;
};

float OffsetFor(int textHeight) {
  return static_cast<float>(-kTop - kQuadHeight / 2 + (textHeight + 10) / 256.0 * kQuadHeight);
}

// --- Place ---

TEST_F(ShowCaptions, StandAboveTheScreensLowerEdgeWhateverTheirLines) {
  for (const char* text : {"Hxg", "Hxg\r\nHxg", "Hxg\r\nHxg\r\nHxg"}) {
    SCOPED_TRACE(text);
    Load({DarkSlide("a", text)});
    FinishOpening();
    ExpectInkAt(ExpectedInk(text, DT_CENTER));
    show = std::make_unique<Slideshow>();
    show->SetRandomOrder(false);
    show->SetImageDelay(kDelayMs);
    SetUpShow();
  }
}

TEST_F(ShowCaptions, StandLeftOfThreeQuartersOfTheScreen) {
  show->SetCaptionOrientation(0);
  Load({DarkSlide("a", "Hill")});
  FinishOpening();
  ExpectInkAt(ExpectedInk("Hill", DT_LEFT));
  EXPECT_NEAR(Ink(Drawn())->left, kWidth / 8, 4);
}

TEST_F(ShowCaptions, StandRightOfThreeQuartersOfTheScreen) {
  show->SetCaptionOrientation(2);
  Load({DarkSlide("a", "Hill")});
  FinishOpening();
  ExpectInkAt(ExpectedInk("Hill", DT_RIGHT));
  EXPECT_NEAR(Ink(Drawn())->right, kWidth - kWidth / 8, 4);
}

TEST_F(ShowCaptions, AnEmptyOneRisesByItsMarginAndShowsNothing) {
  Load({DarkSlide("a", "")});
  FinishOpening();
  const std::vector<float> offsets = DrawnOffsets();
  ASSERT_EQ(offsets.size(), 1u);
  EXPECT_NEAR(offsets[0], OffsetFor(0), 1e-5);
  EXPECT_EQ(Brightest(Drawn()), 0);
}

TEST_F(ShowCaptions, ThreeLinesLiftTheQuadByThreeLinesAndNotItsFirstLine) {
  Load({DarkSlide("a", "Hxg"), DarkSlide("b", "Hxg\r\nHxg\r\nHxg")});
  FinishOpening();
  const float one = DrawnOffsets().at(0);
  const RECT oneInk = *Ink(Drawn());
  ChangeSlide();
  const float three = DrawnOffsets().at(0);
  const RECT threeInk = *Ink(Drawn());
  const float empty = OffsetFor(0);
  EXPECT_NEAR(three - empty, 3 * (one - empty), 1e-5);
  const double rise = (three - one) / 2 * kWidth;
  EXPECT_NEAR(oneInk.top - threeInk.top, rise, 1.5);
}

TEST_F(ShowCaptions, LeaveTheWorldWhereItWas) {
  Load({DarkSlide("a", "Hill")});
  FinishOpening();
  for (int frame = 0; frame < 100; ++frame) show->Draw();
  D3DMATRIX world{};
  gGraphicsLayer->GetWorldMatrix(world);
  EXPECT_NEAR(world._41, 0, 1e-6);
  EXPECT_NEAR(world._42, 0, 1e-4);
  EXPECT_EQ(world._43, 2);
}

// --- Look ---

TEST_F(ShowCaptions, AreWhiteWithADarkShadowOverThePicture) {
  support::TestSlide grey = FlatSlide("a", 0x808080);
  grey.caption = "Hill";
  Load({grey});
  FinishOpening();
  const Pixels drawn = Drawn();
  EXPECT_GE(Brightest(drawn), 0xF0);
  const auto darkest =
      std::min_element(drawn.colours.begin(), drawn.colours.end(),
                       [](std::uint32_t a, std::uint32_t b) { return (a & 0xFF) < (b & 0xFF); });
  EXPECT_LT(*darkest & 0xFF, 0x70u);
  EXPECT_LE(support::ColourDistance(drawn.At(kWidth / 2, 20), 0x808080), 1);
}

TEST_F(ShowCaptions, TheirFontComesFromTheSettings) {
  std::vector<std::string> fonts;
  HOOK_IMPORT(font, "gdi32.dll", CreateFontA,
              [&](int height, int width, int, int, int weight, DWORD italic, DWORD underline,
                  DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision,
                  DWORD quality, DWORD pitch, LPCSTR face) -> HFONT {
                std::string all = face;
                for (const long value :
                     {long{height}, long{width}, long{weight}, long(italic), long(underline),
                      long(strikeOut), long(charSet), long(outPrecision), long(clipPrecision),
                      long(quality), long(pitch)})
                  all += " " + std::to_string(value);
                fonts.push_back(all);
                return REAL_IMPORT("gdi32.dll", CreateFontA)(
                    height, width, 0, 0, weight, italic, underline, strikeOut, charSet,
                    outPrecision, clipPrecision, quality, pitch, face);
              });
  show->SetCaptionFontName("Courier New");
  show->SetCaptionFontSize(-31);
  show->SetCaptionQuality(5);
  show->SetCaptionBold(false);
  show->SetCaptionItalic(true);
  Load({DarkSlide("a", "Hill")});
  const std::string expected = "Courier New -31 0 400 1 0 0 0 4 0 5 0";
  EXPECT_THAT(fonts, ElementsAre(expected, expected));
}

TEST_F(ShowCaptions, AreWrappedAndAlignedByTheirOrientation) {
  const std::pair<int, UINT> orientations[] = {{0, 16}, {1, 17},  {2, 18},
                                               {3, 16}, {-1, 16}, {99, 16}};
  for (const auto& [orientation, format] : orientations) {
    Slideshow other;
    other.SetCaptionFontName("Arial");
    other.SetCaptionFontSize(-22);
    other.SetCaptionOrientation(orientation);
    const std::string path =
        folder.Write("images.bdl", support::MakeSlideBundle({DarkSlide("a", "Hill")}));
    const TextsDrawn texts;
    ASSERT_TRUE(other.LoadBundle(path.c_str()));
    EXPECT_THAT(texts.Formats(), ElementsAre(format, format)) << orientation;
  }
}

TEST_F(ShowCaptions, WithoutAFontTheShowGoesOnWithoutThem) {
  HOOK_IMPORT(noFont, "gdi32.dll", CreateFontA,
              [](int, int, int, int, int, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD,
                 LPCSTR) -> HFONT { return nullptr; });
  Load({DarkSlide("a", "Hill"), FlatSlide("b", 0xFFFFFF)});
  FinishOpening();
  EXPECT_EQ(Brightest(Drawn()), 0);
  EXPECT_NEAR(DrawnOffsets().at(0), OffsetFor(0), 1e-5);
  ChangeSlide();
  EXPECT_EQ(Brightest(Drawn()), 0xFF);
}

// What a new surface holds is the card's affair.
TEST_F(ShowCaptions, WithoutAFontNothingOfWhatTheirTexturesHeldShows) {
  HOOK_IMPORT(noFont, "gdi32.dll", CreateFontA,
              [](int, int, int, int, int, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD,
                 LPCSTR) -> HFONT { return nullptr; });
  int painted = 0;
  {
    HOOK_METHOD(create, AnyDDraw(), &IDirectDraw7::CreateSurface,
                [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                    IDirectDrawSurface7** surface, IUnknown* outer) {
                  const HRESULT result = real(self, description, surface, outer);
                  if (description->dwWidth != 128) return result;
                  for (int n = 0; const auto level = graphics_test::MipLevel(*surface, n); ++n) {
                    graphics_test::PaintSurface(level.get(), support::Flat(0xFFFFFFFF));
                    ++painted;
                  }
                  return result;
                });
    Load({DarkSlide("a", "Hill")});
  }
  EXPECT_EQ(painted, 14 * 4);
  FinishOpening();
  EXPECT_EQ(Brightest(Drawn()), 0);
}

// --- Whose text ---

TEST_F(ShowCaptions, EachTextIsDrawnWhenItsLoaderStarts) {
  const TextsDrawn texts;
  Load({DarkSlide("a", "A"), DarkSlide("b", "B"), DarkSlide("c", "C")});
  EXPECT_THAT(texts.Texts(), ElementsAre("", ""));
  show->Update(0);
  EXPECT_THAT(texts.Texts(), ElementsAre("", "", "A"));
  ASSERT_TRUE(WaitForLoader());
  show->Update(0);
  EXPECT_THAT(texts.Texts(), ElementsAre("", "", "A", "B"));
  show->Update(2000);
  StartTransition();
  EXPECT_EQ(texts.Texts().size(), 4u);
  show->Update(2000);
  show->Update(2000);
  EXPECT_THAT(texts.Texts(), ElementsAre("", "", "A", "B", "C"));
}

TEST_F(ShowCaptions, EachSlideHasItsOwn) {
  const std::vector<std::string> all = {"Hill", "A valley", "Sea"};
  Load({DarkSlide("a", all[0]), DarkSlide("b", all[1]), DarkSlide("c", all[2])});
  FinishOpening();
  for (int slide = 0; slide < 7; ++slide) {
    SCOPED_TRACE(slide);
    ExpectInkAt(ExpectedInk(all[static_cast<std::size_t>(slide % 3)], DT_CENTER));
    ChangeSlide();
  }
}

TEST_F(ShowCaptions, EachSlideHasItsOwnThroughFadesToBlack) {
  show->SetCrossfade(false);
  const std::vector<std::string> all = {"Hill", "A valley", "Sea"};
  Load({DarkSlide("a", all[0]), DarkSlide("b", all[1]), DarkSlide("c", all[2])});
  FinishOpening();
  for (int slide = 0; slide < 5; ++slide) {
    SCOPED_TRACE(slide);
    ExpectInkAt(ExpectedInk(all[static_cast<std::size_t>(slide % 3)], DT_CENTER));
    ChangeSlide();
  }
}

TEST_F(ShowCaptions, APictureWithoutARecordShowsTheFirstOnes) {
  support::BundleWriter writer;
  writer.Category("image");
  for (const char* name : {"a", "b"})
    writer.Member(name, support::MakeBmp(256, 256, support::Flat(0)));
  writer.Category("dims").Member("d", support::DimsRecord(400, 300, "a"));
  writer.Category("caps").Member("c", support::CapsRecord("another", "Hill"));
  const std::string path = folder.Write("images.bdl", writer.Build());
  const TextsDrawn texts;
  ASSERT_TRUE(show->LoadBundle(path.c_str()));
  FinishOpening();
  EXPECT_THAT(texts.Texts(), ElementsAre("", "", "Hill", "Hill"));
  ExpectInkAt(ExpectedInk("Hill", DT_CENTER));
}

TEST_F(ShowCaptions, AFailedPictureTakesItsTextWithIt) {
  support::TestSlide bad = BadSlide("b");
  bad.caption = "Never seen";
  Load({DarkSlide("a", "Hill"), bad, DarkSlide("c", "Sea")});
  FinishOpening();
  show->Update(1);
  ASSERT_TRUE(WaitForLoader());
  ExpectInkAt(ExpectedInk("Hill", DT_CENTER));
  ChangeSlide();
  ExpectInkAt(ExpectedInk("Sea", DT_CENTER));
}

// --- Copying ---

// The tiles copied, of both sets.
class Copies {
 public:
  explicit Copies(IDirectDrawSurface7* any)
      : hook_(support::HookMethod(any, &IDirectDrawSurface7::Blt, Count{&count_})) {}
  int Take() { return std::exchange(count_, 0); }

 private:
  struct Count {
    int* count;
    template <class Real>
    HRESULT operator()(Real real, IDirectDrawSurface7* self, RECT* to, IDirectDrawSurface7* source,
                       RECT* from, DWORD flags, DDBLTFX* effects) const {
      ++*count;
      return real(self, to, source, from, flags, effects);
    }
  };
  int count_ = 0;
  decltype(support::HookMethod(std::declval<IDirectDrawSurface7*>(), &IDirectDrawSurface7::Blt,
                               std::declval<Count>())) hook_;
};

TEST_F(ShowCaptions, TheNextTextIsCopiedOneTileAFrame) {
  Load({DarkSlide("a", "Hill"), DarkSlide("b", "Sea")});
  ShowFirstSlide();
  show->Draw();
  Copies copies(AnySurface());
  // The second text was drawn in a frame whose own tick took the first tile.
  for (int tile = 1; tile < 7; ++tile) {
    show->Update(1);
    show->Draw();
    EXPECT_EQ(copies.Take(), 1) << tile;
  }
  show->Update(1);
  show->Draw();
  EXPECT_EQ(copies.Take(), 0);
}

TEST_F(ShowCaptions, ATextThatIsNeededSoonerIsCompletedAtOnce) {
  Load({DarkSlide("a", "WWWWWWWWWWW"), DarkSlide("b", "MMMMMMMMMMM")});
  ShowFirstSlide();
  Copies copies(AnySurface());
  show->Update(2000);
  ExpectInkAt(ExpectedInk("WWWWWWWWWWW", DT_CENTER));
  EXPECT_GE(copies.Take(), 6);
  show->Update(kDelayMs);
  ASSERT_TRUE(show->IsInTransition());
  show->Update(3999);
  show->Draw();
  EXPECT_GE(copies.Take(), 3);
}

// No frame is drawn between the text and the slide's turn.
TEST_F(ShowCaptions, ATextIsWholeEvenIfItsSlideComesBetweenTwoFrames) {
  show->SetImageDelay(1);
  Load({DarkSlide("a", "WWWWWWWWWWW"), DarkSlide("b", "MMMMMMMMMMM"), DarkSlide("c", "C")});
  show->Update(0);
  ASSERT_TRUE(WaitForLoader());
  show->Update(0);
  ASSERT_TRUE(WaitForLoader());
  show->Update(2000);
  show->Update(1);
  ASSERT_TRUE(show->IsInTransition());
  show->Update(4000);
  ASSERT_FALSE(show->IsInTransition());
  ExpectInkAt(ExpectedInk("MMMMMMMMMMM", DT_CENTER));
}

// --- Coming and going ---

TEST_F(ShowCaptions, FadeUpWithTheFirstSlide) {
  Load({DarkSlide("a", "Hill")});
  ShowFirstSlide();
  EXPECT_EQ(Brightest(Drawn()), 0);
  for (int step = 1; step < 4; ++step) {
    show->Update(500);
    EXPECT_THAT(DrawnAlphas(), ElementsAre(testing::FloatNear(step / 4.0f, 1e-5f)));
    EXPECT_NEAR(Brightest(Drawn()), 255 * step / 4, 4) << step;
  }
  show->Update(500);
  EXPECT_THAT(DrawnAlphas(), ElementsAre(1.0f));
  EXPECT_GE(Brightest(Drawn()), 0xFC);
}

TEST_F(ShowCaptions, ChangeByTheFourthPowerOfACrossfade) {
  Load({DarkSlide("a", "WWWWWW"), DarkSlide("b", "")});
  FinishOpening();
  StartTransition();
  for (int step = 1; step <= 3; ++step) {
    show->Update(1000);
    const float blend = static_cast<float>(step) / 4;
    EXPECT_THAT(DrawnAlphas(),
                ElementsAre(testing::FloatNear(std::pow(1 - blend, 4.0f), 1e-3f),
                            testing::FloatNear(std::pow(blend, 4.0f), 1e-3f)))
        << step;
  }
}

TEST_F(ShowCaptions, OfTheNextSlideLieOverBothPictures) {
  Load({DarkSlide("a", ""), DarkSlide("b", "WWWWWW")});
  FinishOpening();
  StartTransition();
  show->Update(3000);
  EXPECT_NEAR(Brightest(Drawn()), 255 * std::pow(0.75, 4), 4);
  show->Update(1000);
  EXPECT_GE(Brightest(Drawn()), 0xFC);
}

TEST_F(ShowCaptions, FollowTheBrightnessOfAFadeToBlack) {
  show->SetCrossfade(false);
  Load({DarkSlide("a", "WWWWWW"), DarkSlide("b", "MMMMMM")});
  FinishOpening();
  StartTransition();
  const float expected[] = {0.5f, 0.0f, 0.5f};
  for (const float level : expected) {
    show->Update(1000);
    EXPECT_THAT(DrawnAlphas(), ElementsAre(testing::FloatNear(level, 2e-3f)));
    EXPECT_NEAR(Brightest(Drawn()), 255 * level, 4);
  }
}

TEST_F(ShowCaptions, FollowTheBrightnessOfAFadeOfStillPictures) {
  show->SetCrossfade(false);
  show->SetAnimate(false);
  Load({DarkSlide("a", "WWWWWW"), DarkSlide("b", "MMMMMM")});
  ShowFirstSlide();
  EXPECT_THAT(DrawnAlphas(), ElementsAre(1.0f));
  StartTransition();
  const float expected[] = {0.5f, 0.0f, 0.5f};
  for (const float level : expected) {
    show->Update(1000);
    EXPECT_THAT(DrawnAlphas(), ElementsAre(testing::FloatNear(level, 2e-3f)));
  }
}

// The opening fade never ends without animation, and its brightness is full.
TEST_F(ShowCaptions, OfAStillSlideStayInFullWhileTheNextComesIn) {
  show->SetAnimate(false);
  Load({DarkSlide("a", "WWWWWW"), DarkSlide("b", "MMMMMM")});
  ShowFirstSlide();
  StartTransition();
  show->Update(2000);
  EXPECT_THAT(DrawnAlphas(), ElementsAre(1.0f, testing::FloatNear(0.0625f, 1e-3f)));
}

// --- A card without alpha ---

TEST_F(ShowCaptions, OnACardWithoutAlphaTheTexturesHave16BitsAndMixByColour) {
  TakeAlphaFromCard();
  support::TestSlide grey = FlatSlide("a", 0x808080);
  grey.caption = "WWWWWW";
  std::vector<DWORD> depths;
  {
    HOOK_METHOD(create, AnyDDraw(), &IDirectDraw7::CreateSurface,
                [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                    IDirectDrawSurface7** surface, IUnknown* outer) {
                  depths.push_back(description->ddpfPixelFormat.dwRGBBitCount);
                  return real(self, description, surface, outer);
                });
    Load({grey});
  }
  EXPECT_THAT(depths, testing::Each(16u));
  EXPECT_EQ(depths.size(), 2u + 14u);
  FinishOpening();
  const Pixels drawn = Drawn();
  EXPECT_GE(Brightest(drawn), 0xFC);
  EXPECT_LE(support::ColourDistance(drawn.At(kWidth / 2, kHeight - 4), 0x808080), 3);
}

TEST_F(ShowCaptions, OnACardWithoutAlphaTheTextStandsAtTheSamePlace) {
  TakeAlphaFromCard();
  Load({DarkSlide("a", "Hill")});
  FinishOpening();
  ExpectInkAt(ExpectedInk("Hill", DT_CENTER));
}

TEST_F(ShowCaptions, OtherwiseTheTexturesHave32Bits) {
  std::vector<std::string> sizes;
  HOOK_METHOD(create, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                  IDirectDrawSurface7** surface, IUnknown* outer) {
                sizes.push_back(std::to_string(description->dwWidth) + "x" +
                                std::to_string(description->dwHeight) + "x" +
                                std::to_string(description->ddpfPixelFormat.dwRGBBitCount) + " " +
                                std::to_string(description->dwMipMapCount));
                return real(self, description, surface, outer);
              });
  Load({DarkSlide("a", "Hill")});
  std::vector<std::string> expected(2, "896x256x32 0");
  expected.resize(16, "128x256x32 4");
  EXPECT_EQ(sizes, expected);
}

TEST_F(ShowCaptions, WithoutMipMapsTheTexturesHaveOneLevel) {
  show->SetMipMap(false);
  std::vector<DWORD> levels;
  HOOK_METHOD(create, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                  IDirectDrawSurface7** surface, IUnknown* outer) {
                if (description->dwWidth == 128) levels.push_back(description->dwMipMapCount);
                return real(self, description, surface, outer);
              });
  Load({DarkSlide("a", "Hill")});
  EXPECT_THAT(levels, testing::Each(1u));
  EXPECT_EQ(levels.size(), 14u);
}

// --- Without ---

TEST_F(ShowCaptions, SwitchedOffMakeNothing) {
  show->SetShowCaptions(false);
  const TextsDrawn texts;
  Load({DarkSlide("a", "Hill")});
  FinishOpening();
  EXPECT_THAT(texts.Texts(), IsEmpty());
  EXPECT_THAT(DrawnOffsets(), IsEmpty());
}

TEST_F(ShowCaptions, WithoutADeviceMakeNothing) {
  show.reset();
  DropLayer();
  Slideshow fast;
  fast.SetCaptionFontName("Arial");
  const std::string path =
      folder.Write("images.bdl", support::MakeSlideBundle({DarkSlide("a", "Hill")}));
  const TextsDrawn texts;
  EXPECT_TRUE(fast.LoadBundle(path.c_str()));
  EXPECT_THAT(texts.Texts(), IsEmpty());
}

TEST_F(ShowCaptions, GoWithTheirShow) {
  const std::string path =
      folder.Write("images.bdl", support::MakeSlideBundle({DarkSlide("a", "Hill")}));
  const support::GdiGauge gauge;
  for (int n = 0; n < 5; ++n) {
    Slideshow other;
    other.SetCaptionFontName("Arial");
    other.SetCaptionFontSize(-22);
    ASSERT_TRUE(other.LoadBundle(path.c_str()));
  }
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace
