// The text of a caption, drawn by GDI and cut into textures of a real device.

#include "slideshow/CTextSurface.h"

#include "graphics/MipMaps.h"
#include "support/GdiGauge.h"
#include "support/MethodHook.h"
#include "unit/graphics/GraphicsTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

using graphics_test::MipLevel;
using graphics_test::ReadSurface;
using support::Pixels;

constexpr int kWidth = 896;
constexpr int kHeight = 256;
constexpr int kTile = 128;
constexpr int kTiles = 7;
constexpr char kLongText[] =
    "A caption that is far too long for a single line of its canvas and so has to be wrapped at "
    "one of its words, which then starts the second line of it";

// The bytes of a 32-bit surface, alpha included.
std::vector<std::uint32_t> Argb(IDirectDrawSurface7* surface) {
  DDSURFACEDESC2 description{};
  description.dwSize = sizeof description;
  EXPECT_EQ(surface->Lock(nullptr, &description, DDLOCK_WAIT, nullptr), DD_OK);
  std::vector<std::uint32_t> all;
  for (DWORD y = 0; y < description.dwHeight; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        static_cast<const char*>(description.lpSurface) +
        static_cast<LONG>(y) * description.lPitch);
    all.insert(all.end(), row, row + description.dwWidth);
  }
  surface->Unlock(nullptr);
  return all;
}

// The text by another road: a picture in memory, and rectangles as numbers.
Pixels Expected(const std::string& text, UINT format, bool shadow, int size = -22) {
  const support::Canvas canvas(kWidth, kHeight);
  const HFONT font = CreateFontA(size, 0, 0, 0, 700, 1, 0, 0, 0, 4, 0, 4, 0, "Arial");
  const HGDIOBJ previous = SelectObject(canvas.Dc(), font);
  SetBkMode(canvas.Dc(), TRANSPARENT);
  RECT back{2, 2, kWidth, kHeight};
  RECT front{0, 0, kWidth - (shadow ? 2 : 0), kHeight - (shadow ? 2 : 0)};
  SetTextColor(canvas.Dc(), RGB(10, 10, 10));
  if (shadow) DrawTextA(canvas.Dc(), text.c_str(), -1, &back, format);
  SetTextColor(canvas.Dc(), RGB(255, 255, 255));
  DrawTextA(canvas.Dc(), text.c_str(), -1, &front, format);
  SelectObject(canvas.Dc(), previous);
  DeleteObject(font);
  return canvas.Read();
}

class TextSurface : public graphics_test::GraphicsTest {
 protected:
  TextSurface() { Windowed(); }

  // The caption's usual canvas, with its textures.
  void Prepare(int bits = 32, int mipLevels = 1) {
    text.SetSize(kWidth, kHeight, 256, bits);
    text.SetFormat(DT_WORDBREAK);
    text.SetAlphaScale(10);
    text.SetShadow(true);
    text.SetAlphaFromBrightness(bits == 32);
    ASSERT_TRUE(SetFont());
    MakeTiles(kTiles, kTile, kHeight, bits, mipLevels);
  }
  bool SetFont(int size = -22, COLORREF colour = 0xFFFFFF) {
    return text.SetFont("Arial", size, 0, 700, colour, 1, 0, 0, 4, 4, 0);
  }
  void MakeTiles(int count, int width, int height, int bits, int mipLevels = 1) {
    tileCount = count;
    tiles = std::make_unique<cTexture[]>(static_cast<std::size_t>(count));
    for (int n = 0; n < count; ++n)
      tiles[static_cast<std::size_t>(n)].Create(width, height, bits, 0, mipLevels);
  }
  int Render(const std::string& what) { return text.Render(what.c_str(), tiles.get(), tileCount); }
  IDirectDrawSurface7* Tile(int n) { return tiles[static_cast<std::size_t>(n)].GetSurface(); }
  // The row of tiles as one picture.
  Pixels Shown() {
    Pixels whole(kWidth, kHeight);
    for (int n = 0; n < tileCount; ++n) {
      const Pixels tile = ReadSurface(Tile(n));
      for (int y = 0; y < tile.height; ++y)
        for (int x = 0; x < tile.width; ++x) whole.Set(n * kTile + x, y, tile.At(x, y));
    }
    return whole;
  }
  bool IsBlank(int n) {
    const std::vector<std::uint32_t> pixels = Argb(Tile(n));
    return std::all_of(pixels.begin(), pixels.end(), [](std::uint32_t p) { return p == 0; });
  }

  CTextSurface text;
  std::unique_ptr<cTexture[]> tiles;
  int tileCount = 0;
};

// --- Tiles ---

TEST(TextTiles, AreOfTheSizeThatLeavesTheSmallestRemainder) {
  EXPECT_EQ(ChooseTextTileSide(896, 256), 128);
  EXPECT_EQ(ChooseTextTileSide(256, 256), 256);
  EXPECT_EQ(ChooseTextTileSide(896, 64), 64);
  EXPECT_EQ(ChooseTextTileSide(7, 256), 2);
  EXPECT_EQ(ChooseTextTileSide(256, 100), 3) << "100, 50, 25, 12, 6, 3 leave 56, 6, 6, 4, 4, 1";
}

TEST(TextTiles, AreNeverSmallerThanOnePixel) {
  for (const int limit : {1, 0, -5}) EXPECT_EQ(ChooseTextTileSide(896, limit), 1) << limit;
}

TEST_F(TextSurface, CutsItsCanvasIntoSevenTilesOfHalfTheUsualWidth) {
  text.SetSize(kWidth, kHeight, 256, 32);
  EXPECT_EQ(text.GetColumns(), 7);
  EXPECT_EQ(text.GetRows(), 1);
  text.SetSize(kWidth, kHeight, 64, 32);
  EXPECT_EQ(text.GetColumns(), 14);
  EXPECT_EQ(text.GetRows(), 4);
}

// --- What is drawn ---

TEST_F(TextSurface, ShowsTheTextWithItsShadow) {
  Prepare();
  for (const UINT format :
       {DT_WORDBREAK | DT_LEFT, DT_WORDBREAK | DT_CENTER, DT_WORDBREAK | DT_RIGHT})
    for (const char* what : {"Sunset", "Two\r\nlines", kLongText}) {
      SCOPED_TRACE(std::to_string(format) + " " + what);
      text.SetFormat(format);
      Render(what);
      EXPECT_TRUE(PixelsNear(Shown(), Expected(what, format, true)));
    }
}

TEST_F(TextSurface, WithoutAShadowTheTextHasTheWholeCanvas) {
  Prepare();
  text.SetShadow(false);
  text.SetFormat(DT_WORDBREAK | DT_RIGHT);
  Render("Sunset");
  EXPECT_TRUE(PixelsNear(Shown(), Expected("Sunset", DT_WORDBREAK | DT_RIGHT, false)));
}

TEST_F(TextSurface, CentresWithWordWrapUnlessTold) {
  text.SetSize(kWidth, kHeight, 256, 32);
  text.SetAlphaFromBrightness(false);
  ASSERT_TRUE(SetFont());
  MakeTiles(kTiles, kTile, kHeight, 32);
  Render(kLongText);
  EXPECT_TRUE(PixelsNear(Shown(), Expected(kLongText, 17, false)));
}

TEST_F(TextSurface, ATextReplacesTheOneBefore) {
  Prepare();
  Render(kLongText);
  Render("Sunset");
  EXPECT_TRUE(PixelsNear(Shown(), Expected("Sunset", DT_WORDBREAK, true)));
}

TEST_F(TextSurface, TellsTheHeightOfTheText) {
  Prepare();
  const int one = Render("Hxg");
  EXPECT_GE(one, 22);
  EXPECT_LT(one, 33);
  EXPECT_EQ(Render("Hxg\r\nHxg\r\nHxg"), 3 * one);
  EXPECT_EQ(Render(kLongText), 2 * one);
}

TEST_F(TextSurface, AnEmptyTextHasNoHeightAndShowsNothing) {
  Prepare();
  Render("Sunset");
  EXPECT_EQ(Render(""), 0);
  for (int n = 0; n < tileCount; ++n) EXPECT_TRUE(IsBlank(n)) << n;
}

TEST_F(TextSurface, TheBackgroundIsTheColourThatWasSet) {
  Prepare();
  text.SetBackground(RGB(0x20, 0x40, 0x60));
  Render("");
  EXPECT_TRUE(PixelsNear(Shown(), Pixels(kWidth, kHeight, 0x204060)));
}

TEST_F(TextSurface, ATextBeyondAllMeasureStaysOnTheCanvas) {
  Prepare();
  std::string words;
  for (int n = 0; n < 4000; ++n) words += "many words ";
  const int height = Render(words);
  EXPECT_GT(height, kHeight / 2);
  EXPECT_TRUE(PixelsNear(Shown(), Expected(words, DT_WORDBREAK, true)));
}

TEST_F(TextSurface, SixteenBitTilesShowTheSameText) {
  Prepare(16);
  Render("Sunset");
  EXPECT_EQ(graphics_test::DescriptionOf(Tile(0)).ddpfPixelFormat.dwRGBBitCount, 16u);
  EXPECT_TRUE(PixelsNear(Shown(), Expected("Sunset", DT_WORDBREAK, true), 10));
}

// --- Alpha ---

std::vector<std::uint32_t> AlphaOf(std::vector<std::uint32_t> pixels, float scale) {
  BrightnessToAlpha({reinterpret_cast<unsigned char*>(pixels.data()),
                     static_cast<std::ptrdiff_t>(pixels.size() * 4),
                     static_cast<std::uint32_t>(pixels.size()), 1},
                    scale);
  for (std::uint32_t& pixel : pixels) pixel >>= 24;
  return pixels;
}

TEST(TextAlpha, IsTheBrightnessInProportion) {
  EXPECT_EQ(AlphaOf({0x000000, 0x0A0A0A, 0x1E0000, 0x001D00, 0x00000F, 0xFFFFFF}, 10 / 255.0f),
            (std::vector<std::uint32_t>{0, 255, 255, 246, 127, 255}));
  EXPECT_EQ(AlphaOf({0x000000, 0xFF0000, 0x00FFFF, 0xFFFFFF, 0x010101, 0x020000}, 1.0f),
            (std::vector<std::uint32_t>{0, 85, 170, 255, 1, 0}));
}

TEST(TextAlpha, ReplacesWhatWasThereAndLeavesTheColour) {
  std::vector<std::uint32_t> pixels{0x80000000, 0x12FF8000};
  BrightnessToAlpha({reinterpret_cast<unsigned char*>(pixels.data()), 4, 1, 2}, 1.0f);
  EXPECT_EQ(pixels, (std::vector<std::uint32_t>{0, 0x7FFF8000}));
}

TEST(TextAlpha, AScaleOfNoSenseGivesNoWildValues) {
  EXPECT_EQ(AlphaOf({0x000000, 0xFFFFFF}, 0.0f), (std::vector<std::uint32_t>{255, 255}));
  EXPECT_EQ(AlphaOf({0x000000, 0xFFFFFF}, -1.0f), (std::vector<std::uint32_t>{0, 0}));
}

TEST_F(TextSurface, ShadowAndTextAreOpaqueOnNothing) {
  Prepare();
  Render("Sunset");
  std::vector<int> count(3);
  for (int n = 0; n < tileCount; ++n)
    for (const std::uint32_t pixel : Argb(Tile(n))) {
      const std::uint32_t sum = (pixel >> 16 & 0xFF) + (pixel >> 8 & 0xFF) + (pixel & 0xFF);
      ASSERT_EQ(pixel >> 24, std::min(255u, sum * 255 / 30)) << std::hex << pixel;
      ++count[(pixel & 0xFFFFFF) == 0 ? 0 : (pixel & 0xFFFFFF) == 0x0A0A0A ? 1 : 2];
    }
  for (const int pixels : count) EXPECT_GT(pixels, 100);
}

TEST_F(TextSurface, WithoutAlphaTheFourthByteIsLeftAlone) {
  Prepare();
  text.SetAlphaFromBrightness(false);
  Render("Sunset");
  for (int n = 0; n < tileCount; ++n)
    for (const std::uint32_t pixel : Argb(Tile(n))) ASSERT_EQ(pixel >> 24, 0u);
}

TEST_F(TextSurface, FillsTheMipChainWithItsAlpha) {
  Prepare(32, 4);
  Render("Sunset");
  const std::vector<std::uint32_t> whole = Argb(Tile(0));
  std::vector<std::uint32_t> half(64 * 128);
  auto source = whole;
  Shrink32({reinterpret_cast<unsigned char*>(source.data()), kTile * 4, kTile, kHeight},
           {reinterpret_cast<unsigned char*>(half.data()), 64 * 4, 64, 128});
  EXPECT_EQ(Argb(MipLevel(Tile(0), 1).get()), half);
  EXPECT_TRUE(std::any_of(half.begin(), half.end(), [](std::uint32_t p) { return p >> 24; }));
}

// --- Copying ---

TEST_F(TextSurface, CopiesOneTileATickWhenTold) {
  Prepare();
  text.SetIncremental(true);
  text.SetBackground(RGB(1, 2, 3));
  Render("");
  for (int n = 0; n < kTiles; ++n) {
    EXPECT_TRUE(IsBlank(n)) << n;
    EXPECT_EQ(text.Tick(), n < kTiles - 1) << n;
    EXPECT_FALSE(IsBlank(n)) << n;
  }
  EXPECT_FALSE(text.Tick());
}

TEST_F(TextSurface, CopiesAllAtOnceUnlessTold) {
  Prepare();
  text.SetBackground(RGB(1, 2, 3));
  Render("");
  for (int n = 0; n < kTiles; ++n) EXPECT_FALSE(IsBlank(n)) << n;
  EXPECT_FALSE(text.Tick());
}

TEST_F(TextSurface, HasNothingToCopyBeforeAText) {
  EXPECT_FALSE(text.Tick());
  Prepare();
  EXPECT_FALSE(text.Tick());
}

TEST_F(TextSurface, ANewTextBeginsTheCopyingAnew) {
  Prepare();
  text.SetIncremental(true);
  Render("first");
  text.Tick();
  Render("second");
  int copies = 1;
  while (text.Tick()) ++copies;
  EXPECT_EQ(copies, kTiles);
}

TEST_F(TextSurface, ASingleTileIsCopiedAtOnceInAnyCase) {
  text.SetSize(64, 64, 256, 32);
  ASSERT_EQ(text.GetColumns() * text.GetRows(), 1);
  text.SetAlphaScale(10);
  ASSERT_TRUE(SetFont());
  text.SetIncremental(true);
  text.SetBackground(RGB(200, 100, 50));
  MakeTiles(1, 64, 64, 32);
  Render("");
  EXPECT_TRUE(PixelsNear(ReadSurface(Tile(0)), Pixels(64, 64, 0xC86432)));
  EXPECT_EQ(Argb(Tile(0)).front() >> 24, 255u);
  EXPECT_FALSE(text.Tick());
}

TEST_F(TextSurface, TilesInSeveralRowsAreNumberedFromTheTopLeft) {
  text.SetSize(128, 64, 32, 32);
  ASSERT_EQ(text.GetColumns(), 4);
  ASSERT_EQ(text.GetRows(), 2);
  text.SetAlphaFromBrightness(false);
  ASSERT_TRUE(SetFont());
  MakeTiles(8, 32, 32, 32);
  Render("\r\n");
  for (int n = 0; n < 8; ++n) EXPECT_TRUE(IsBlank(n));
  text.SetFormat(DT_RIGHT);
  Render("i");
  for (int n = 0; n < 8; ++n) EXPECT_EQ(IsBlank(n), n != 3) << n;
}

// --- Fonts ---

// The face names of all fonts made meanwhile.
class FontsMade {
 public:
  explicit FontsMade(bool succeeds = true) { names_.clear(), succeeds_ = succeeds; }
  static std::size_t Count() { return names_.size(); }

 private:
  static HFONT WINAPI Make(int height, int width, int escapement, int orientation, int weight,
                           DWORD italic, DWORD underline, DWORD strikeOut, DWORD charSet,
                           DWORD outPrecision, DWORD clipPrecision, DWORD quality, DWORD pitch,
                           LPCSTR face) {
    names_.push_back(face);
    if (!succeeds_) return nullptr;
    return REAL_IMPORT("gdi32.dll", CreateFontA)(height, width, escapement, orientation, weight,
                                                 italic, underline, strikeOut, charSet,
                                                 outPrecision, clipPrecision, quality, pitch, face);
  }
  inline static std::vector<std::string> names_;
  inline static bool succeeds_ = true;
  support::ImportHook hook_{"gdi32.dll", "CreateFontA", &Make};
};

TEST_F(TextSurface, AnEqualRequestMakesNoNewFont) {
  const FontsMade fonts;
  EXPECT_TRUE(SetFont());
  EXPECT_TRUE(SetFont());
  EXPECT_EQ(fonts.Count(), 1u);
}

TEST_F(TextSurface, AnotherColourNeedsNoNewFont) {
  Prepare();
  const FontsMade fonts;
  EXPECT_TRUE(SetFont(-22, RGB(0, 255, 0)));
  EXPECT_EQ(fonts.Count(), 0u);
  Render("Sunset");
  const std::vector<std::uint32_t> pixels = Shown().colours;
  EXPECT_TRUE(std::any_of(pixels.begin(), pixels.end(),
                          [](std::uint32_t p) { return (p & 0xFFFFFF) == 0x00FF00; }));
  EXPECT_FALSE(std::any_of(pixels.begin(), pixels.end(),
                           [](std::uint32_t p) { return p >> 16 & 0xE0; }));
}

TEST_F(TextSurface, EveryOtherPropertyMakesANewFont) {
  const FontsMade fonts;
  const auto set = [this](const char* face, int a, int b, int c, int d, int e, int f, int g, int h,
                          int i) {
    return text.SetFont(face, a, b, c, 0xFFFFFF, d, e, f, g, h, i);
  };
  EXPECT_TRUE(set("Arial", -22, 0, 400, 0, 0, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -22, 0, 400, 0, 0, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 0, 400, 0, 0, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 400, 0, 0, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 0, 0, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 1, 0, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 1, 1, 0, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 1, 1, 1, 4, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 1, 1, 1, 0, 4, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 1, 1, 1, 0, 5, 0));
  EXPECT_TRUE(set("Courier New", -23, 9, 700, 1, 1, 1, 0, 5, 1));
  EXPECT_EQ(fonts.Count(), 11u);
}

TEST_F(TextSurface, AFontThatCannotBeMadeLeavesNoText) {
  Prepare();
  {
    const FontsMade none(false);
    EXPECT_FALSE(SetFont(-30));
    EXPECT_EQ(Render("Sunset"), 0);
  }
  EXPECT_TRUE(SetFont(-30)) << "a later request finds one";
  EXPECT_GT(Render("Sunset"), 0);
}

// The size comes from a setting that may be anything.
TEST_F(TextSurface, AFontBeyondAllMeasureDoesNoHarm) {
  Prepare();
  for (const int size : {-3000, -100000, -0x7FFFFFFF, 0x7FFFFFFF, 0}) {
    SetFont(size);
    EXPECT_GE(Render("Sunset"), 0) << size;
    EXPECT_EQ(Render(""), 0) << size;
  }
}

TEST_F(TextSurface, NoFaceIsNoFont) {
  EXPECT_FALSE(text.SetFont(nullptr, -22, 0, 700, 0xFFFFFF, 0, 0, 0, 4, 4, 0));
  Prepare();
  EXPECT_FALSE(text.SetFont(nullptr, -22, 0, 700, 0xFFFFFF, 0, 0, 0, 4, 4, 0));
  EXPECT_GT(Render("Sunset"), 0) << "the font before stays";
}

// --- Missing pieces ---

TEST_F(TextSurface, DrawsNothingWithoutAllItNeeds) {
  Prepare();
  text.SetBackground(RGB(1, 2, 3));
  EXPECT_EQ(text.Render(nullptr, tiles.get(), kTiles), 0);
  EXPECT_EQ(text.Render("Sunset", nullptr, kTiles), 0);
  EXPECT_EQ(text.Render("Sunset", tiles.get(), kTiles - 1), 0);
  EXPECT_EQ(text.Render("Sunset", tiles.get(), 0), 0);
  EXPECT_FALSE(text.Tick());
  EXPECT_TRUE(IsBlank(0));
}

TEST_F(TextSurface, DrawsNothingWithoutAFont) {
  text.SetSize(kWidth, kHeight, 256, 32);
  MakeTiles(kTiles, kTile, kHeight, 32);
  EXPECT_EQ(Render("Sunset"), 0);
}

TEST_F(TextSurface, DrawsNothingWithoutADeviceContext) {
  Prepare();
  HOOK_METHOD(noContext, AnySurface(), &IDirectDrawSurface7::GetDC,
              [](auto, IDirectDrawSurface7*, HDC*) { return DDERR_GENERIC; });
  EXPECT_EQ(Render("Sunset"), 0);
}

TEST_F(TextSurface, ANewSizeTakesEffectAtOnce) {
  Prepare();
  text.SetSize(128, 64, 64, 32);
  MakeTiles(2, 64, 64, 32);
  text.SetBackground(RGB(9, 9, 9));
  Render("");
  EXPECT_TRUE(PixelsNear(ReadSurface(Tile(1)), Pixels(64, 64, 0x090909)));
}

TEST_F(TextSurface, ACanvasThatCannotBeMadeIsAnError) {
  text.SetSize(kWidth, kHeight, 256, 32);
  HOOK_METHOD(noSurface, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [](auto, IDirectDraw7*, DDSURFACEDESC2*, IDirectDrawSurface7**, IUnknown*) {
                return DDERR_OUTOFVIDEOMEMORY;
              });
  EXPECT_EQ(graphics_test::ErrorOf([&] { SetFont(); }), "Couldn't create surface");
}

TEST_F(TextSurface, KeepsNoGdiObjects) {
  Prepare();
  Render("warm");
  const support::GdiGauge gauge;
  for (int n = 0; n < 20; ++n) {
    CTextSurface other;
    other.SetSize(kWidth, kHeight, 256, 32);
    other.SetFont("Arial", -20 - n % 2, 0, 700, 0xFFFFFF, 1, 0, 0, 4, 4, 0);
    for (int line = 0; line < 5; ++line) other.Render("Sunset", tiles.get(), tileCount);
  }
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace
