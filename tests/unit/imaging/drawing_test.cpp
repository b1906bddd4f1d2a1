// Draw, Stretch and GetBitmap: which pixels arrive in a device context.

#include "imaging/BTNexgenIPL.h"
#include "imaging/resample.h"
#include "support/GdiGauge.h"
#include "support/PixelHelpers.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using support::Canvas;
using support::Pixels;
using support::PixelsNear;

namespace {

constexpr std::uint32_t kGround = 0x123456;

std::unique_ptr<BTCImageObject> Make(int width, int height, const support::Pattern& pattern) {
  auto image = std::make_unique<BTCImageObject>();
  const support::Bytes file = support::MakeBmp(width, height, pattern);
  EXPECT_EQ(image->Load(file.data(), static_cast<unsigned>(file.size()), nullptr), BTCodecId_Bmp);
  return image;
}

// `ground` with the pixels of `part` put at (x, y), as far as they are inside.
Pixels Put(Pixels ground, const Pixels& part, int x, int y) {
  for (int py = 0; py < part.height; ++py)
    for (int px = 0; px < part.width; ++px)
      if (x + px >= 0 && x + px < ground.width && y + py >= 0 && y + py < ground.height)
        ground.Set(x + px, y + py, part.At(px, py));
  return ground;
}

class ImageDrawing : public testing::Test {
 protected:
  static constexpr int kWidth = 50, kHeight = 40;

  const BTCImageData& data() const { return *image_->GetObjectDataPtr(); }

  std::unique_ptr<BTCImageObject> image_ = Make(kWidth, kHeight, support::Gradient());
  Pixels picture_ = support::Render(kWidth, kHeight, support::Gradient());
  Canvas canvas_{60, 45, kGround};
  Pixels ground_{60, 45, kGround};
};

using ImageDraw = ImageDrawing;
using ImageStretch = ImageDrawing;
using ImageGetBitmap = ImageDrawing;

// --- Draw

TEST_F(ImageDraw, TheWholePictureArrives) {
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, kWidth, kHeight, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, picture_, 0, 0)));
}

TEST_F(ImageDraw, EveryPartArrivesExactly) {
  for (int y = 0; y < kHeight; y += 8)
    for (int x = 0; x < kWidth; x += 10) {
      const Canvas canvas(60, 45, kGround);
      EXPECT_TRUE(data().Draw(canvas.Dc(), 3, 5, 10, 8, x, y, 0, SRCCOPY));
      EXPECT_TRUE(PixelsNear(canvas.Read(), Put(ground_, picture_.Cut(x, y, 10, 8), 3, 5)))
          << x << ", " << y;
    }
}

TEST_F(ImageDraw, WhatLiesOutsideThePictureIsNotDrawn) {
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 10, 10, 20, 20, -5, -7, 0, SRCCOPY));
  Pixels expected = Put(ground_, picture_.Cut(0, 0, 15, 13), 15, 17);
  EXPECT_TRUE(PixelsNear(canvas_.Read(), expected));
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, 20, 20, 45, 36, 0, SRCCOPY));
  expected = Put(expected, picture_.Cut(45, 36, 5, 4), 0, 0);
  EXPECT_TRUE(PixelsNear(canvas_.Read(), expected));
}

TEST_F(ImageDraw, WhatLiesOutsideTheTargetDoesNoHarm) {
  EXPECT_TRUE(data().Draw(canvas_.Dc(), -20, -30, kWidth, kHeight, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 55, 41, kWidth, kHeight, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(Put(ground_, picture_, -20, -30), picture_, 55, 41)));
}

TEST_F(ImageDraw, APartBesideThePictureDrawsNothing) {
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, 10, 10, kWidth, 0, 0, SRCCOPY));
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, 10, 10, -10, 0, 0, SRCCOPY));
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, 10, 10, 0, INT32_MAX, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), ground_));
}

TEST_F(ImageDraw, ExtremeNumbersDoNoHarm) {
  data().Draw(canvas_.Dc(), INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX, -5, -5, 0, SRCCOPY);
  data().Draw(canvas_.Dc(), INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MIN, 0,
              SRCCOPY);
  EXPECT_TRUE(PixelsNear(canvas_.Read(), ground_));
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, INT32_MAX, INT32_MAX, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, picture_, 0, 0)));
}

TEST_F(ImageDraw, NoSizeIsAnError) {
  EXPECT_FALSE(data().Draw(canvas_.Dc(), 0, 0, 0, 5, 0, 0, 0, SRCCOPY));
  EXPECT_FALSE(data().Draw(canvas_.Dc(), 0, 0, 5, -5, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), ground_));
}

TEST_F(ImageDraw, AnEmptyObjectDrawsNothing) {
  BTCImageObject empty;
  EXPECT_FALSE(empty.GetObjectDataPtr()->Draw(canvas_.Dc(), 0, 0, 5, 5, 0, 0, 0, SRCCOPY));
  EXPECT_FALSE(empty.GetObjectDataPtr()->Stretch(canvas_.Dc(), 0, 0, 5, 5, 0, 0, 5, 5, 4, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), ground_));
}

TEST_F(ImageDraw, NoContextIsAnError) {
  EXPECT_FALSE(data().Draw(nullptr, 0, 0, 5, 5, 0, 0, 0, SRCCOPY));
  EXPECT_FALSE(data().Stretch(nullptr, 0, 0, 5, 5, 0, 0, 5, 5, 4, SRCCOPY));
}

TEST_F(ImageDraw, TheRasterOperationCounts) {
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 2, 3, 20, 15, 11, 12, 0, SRCINVERT));
  Pixels part = picture_.Cut(11, 12, 20, 15);
  for (std::uint32_t& colour : part.colours) colour ^= kGround;
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, part, 2, 3)));
}

TEST_F(ImageDraw, TheContextsClippingCounts) {
  IntersectClipRect(canvas_.Dc(), 10, 10, 20, 20);
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, kWidth, kHeight, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, picture_.Cut(10, 10, 10, 10), 10, 10)));
}

TEST_F(ImageDraw, TheContextsOriginCounts) {
  SetViewportOrgEx(canvas_.Dc(), 7, 4, nullptr);
  EXPECT_TRUE(data().Draw(canvas_.Dc(), 0, 0, 10, 10, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 20, 10, 10, 10, 0, 0, 10, 10, 4, SRCCOPY));
  SetViewportOrgEx(canvas_.Dc(), 0, 0, nullptr);
  const Pixels corner = picture_.Cut(0, 0, 10, 10);
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(Put(ground_, corner, 7, 4), corner, 27, 14)));
}

// --- Stretch

// What a part of the picture looks like, scaled.
Pixels Scaled(const Pixels& picture, const imaging::Scaling& across, const imaging::Scaling& down,
              imaging::Filter filter) {
  imaging::Picture source, target;
  EXPECT_TRUE(source.Create(picture.width, picture.height));
  std::copy(picture.colours.begin(), picture.colours.end(),
            reinterpret_cast<std::uint32_t*>(source.bits()));
  EXPECT_TRUE(Resample(source, across, down, filter, target));
  return support::ReadBgrx(target.bits(), target.width(), target.height(), target.width() * 4);
}

TEST_F(ImageStretch, TheWholePictureFillsTheRectangle) {
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 4, 5, 30, 20, 0, 0, kWidth, kHeight, 4, SRCCOPY));
  const Pixels scaled =
      Scaled(picture_, {0, kWidth, 30, 0, 30}, {0, kHeight, 20, 0, 20}, imaging::Filter::kTriangle);
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, scaled, 4, 5)));
}

TEST_F(ImageStretch, AtTheSameSizeItCopies) {
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 4, 5, 20, 10, 7, 9, 20, 10, 4, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, picture_.Cut(7, 9, 20, 10), 4, 5)));
}

TEST_F(ImageStretch, ModeFourShrinksByAveraging) {
  const auto checkers = Make(120, 120, support::Checkers(1, 0x000000, 0xffffff));
  EXPECT_TRUE(checkers->GetObjectDataPtr()->Stretch(canvas_.Dc(), 0, 0, 30, 30, 0, 0, 120, 120, 4,
                                                    SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read().Cut(2, 2, 26, 26), Pixels(26, 26, 0x808080), 2));
}

TEST_F(ImageStretch, ModeFourEnlargesSmoothly) {
  const auto halves = Make(2, 1, support::Quadrants(0, 0xffffff, 0, 0xffffff));
  EXPECT_TRUE(
      halves->GetObjectDataPtr()->Stretch(canvas_.Dc(), 0, 0, 40, 10, 0, 0, 2, 1, 4, SRCCOPY));
  const Pixels seen = canvas_.Read();
  EXPECT_EQ(seen.At(3, 5), 0x000000u);
  EXPECT_EQ(seen.At(36, 5), 0xffffffu);
  for (int x = 11; x < 29; ++x) EXPECT_GT(seen.At(x, 5), seen.At(x - 1, 5));
}

TEST_F(ImageStretch, ModeZeroTakesTheNearestPixel) {
  const auto quarters = Make(2, 2, support::Quadrants(1, 2, 3, 4));
  EXPECT_TRUE(
      quarters->GetObjectDataPtr()->Stretch(canvas_.Dc(), 0, 0, 30, 20, 0, 0, 2, 2, 0, SRCCOPY));
  const Pixels expected = support::Render(30, 20, support::Quadrants(1, 2, 3, 4));
  EXPECT_TRUE(PixelsNear(canvas_.Read().Cut(0, 0, 30, 20), expected));
}

TEST_F(ImageStretch, TilesFitTogetherWithoutSeams) {
  const Canvas whole(40, 30), tiles(40, 30);
  EXPECT_TRUE(data().Stretch(whole.Dc(), 0, 0, 40, 30, 0, 0, 48, 36, 4, SRCCOPY));
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 4; ++column)
      EXPECT_TRUE(data().Stretch(tiles.Dc(), column * 10, row * 10, 10, 10, column * 12, row * 12,
                                 12, 12, 4, SRCCOPY));
  EXPECT_TRUE(PixelsNear(tiles.Read(), whole.Read()));
}

TEST_F(ImageStretch, OnlyThePartInThePictureIsDrawn) {
  // Twice as large; the source begins 10 left of and 5 above the picture.
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 0, 0, 60, 45, -10, -5, 30, 15, 0, SRCCOPY));
  const Pixels seen = canvas_.Read();
  EXPECT_EQ(seen.At(19, 30), kGround);
  EXPECT_EQ(seen.At(30, 14), kGround);
  EXPECT_EQ(seen.At(20, 15), picture_.At(0, 0));
  EXPECT_EQ(seen.At(59, 44), picture_.At(19, 9));
}

// A target pixel belongs to the picture if its centre does.
TEST_F(ImageStretch, TheBordersOfThePictureAreFoundExactly) {
  const Canvas before(10, 10, kGround), behind(10, 10, kGround);
  // Borders at 3.33 and 6.67.
  EXPECT_TRUE(data().Stretch(before.Dc(), 0, 0, 10, 10, -1, -1, 3, 3, 0, SRCCOPY));
  EXPECT_TRUE(data().Stretch(behind.Dc(), 0, 0, 10, 10, kWidth - 2, kHeight - 2, 3, 3, 0, SRCCOPY));
  EXPECT_EQ(before.Read().At(2, 2), kGround);
  EXPECT_EQ(before.Read().At(3, 3), picture_.At(0, 0));
  EXPECT_EQ(behind.Read().At(6, 6), picture_.At(kWidth - 1, kHeight - 1));
  EXPECT_EQ(behind.Read().At(7, 7), kGround);
}

TEST_F(ImageStretch, APartBesideThePictureDrawsNothing) {
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 0, 0, 30, 30, kWidth, 0, 10, 10, 4, SRCCOPY));
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 0, 0, 30, 30, 0, -10, 10, 10, 4, SRCCOPY));
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 100, 0, 30, 30, 0, 0, 10, 10, 4, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), ground_));
}

// Far more is asked for than fits into memory; what can be seen is right.
TEST_F(ImageStretch, AHugeTargetIsCutToWhatCanBeSeen) {
  constexpr int kHuge = 50'000'000;
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), -kHuge / 2, -kHuge / 2, kHuge, kHuge, 0, 0, kWidth,
                             kHeight, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Pixels(60, 45, picture_.At(kWidth / 2, kHeight / 2))));
}

TEST_F(ImageStretch, ExtremeNumbersDoNoHarm) {
  for (const int a : {INT32_MIN, -1, 0, 1, INT32_MAX})
    for (const int b : {1, INT32_MAX})
      for (const int c : {INT32_MIN, -1, 0, INT32_MAX})
        for (const int mode : {0, 4})
          data().Stretch(canvas_.Dc(), a, a, b, b, c, c, b, b, mode, SRCCOPY);
}

TEST_F(ImageStretch, NoSizeIsAnError) {
  EXPECT_FALSE(data().Stretch(canvas_.Dc(), 0, 0, 0, 5, 0, 0, 5, 5, 4, SRCCOPY));
  EXPECT_FALSE(data().Stretch(canvas_.Dc(), 0, 0, 5, -5, 0, 0, 5, 5, 4, SRCCOPY));
  EXPECT_FALSE(data().Stretch(canvas_.Dc(), 0, 0, 5, 5, 0, 0, 0, 5, 4, SRCCOPY));
  EXPECT_FALSE(data().Stretch(canvas_.Dc(), 0, 0, 5, 5, 0, 0, 5, -5, 4, SRCCOPY));
  EXPECT_TRUE(PixelsNear(canvas_.Read(), ground_));
}

TEST_F(ImageStretch, TheRasterOperationCounts) {
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 0, 0, 25, 20, 0, 0, kWidth, kHeight, 4, SRCAND));
  Pixels scaled =
      Scaled(picture_, {0, kWidth, 25, 0, 25}, {0, kHeight, 20, 0, 20}, imaging::Filter::kTriangle);
  for (std::uint32_t& colour : scaled.colours) colour &= kGround;
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, scaled, 0, 0)));
}

TEST_F(ImageStretch, TheContextsClippingCounts) {
  IntersectClipRect(canvas_.Dc(), 10, 10, 20, 20);
  EXPECT_TRUE(data().Stretch(canvas_.Dc(), 0, 0, 25, 20, 0, 0, kWidth, kHeight, 4, SRCCOPY));
  const Pixels scaled =
      Scaled(picture_, {0, kWidth, 25, 0, 25}, {0, kHeight, 20, 0, 20}, imaging::Filter::kTriangle);
  EXPECT_TRUE(PixelsNear(canvas_.Read(), Put(ground_, scaled.Cut(10, 10, 10, 10), 10, 10)));
}

// --- 16 bits a pixel

class SixteenBits {
 public:
  SixteenBits(int width, int height) {
    struct {
      BITMAPINFOHEADER header;
      DWORD masks[3];
    } info{{sizeof(BITMAPINFOHEADER), width, -height, 1, 16, BI_BITFIELDS, 0, 0, 0, 0, 0},
           {0xf800, 0x07e0, 0x001f}};
    dc_ = CreateCompatibleDC(nullptr);
    bitmap_ = CreateDIBSection(dc_, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &bits_,
                               nullptr, 0);
    former_ = SelectObject(dc_, bitmap_);
  }
  ~SixteenBits() {
    SelectObject(dc_, former_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
  }
  SixteenBits(const SixteenBits&) = delete;
  SixteenBits& operator=(const SixteenBits&) = delete;
  HDC Dc() const { return dc_; }

 private:
  HDC dc_;
  HBITMAP bitmap_;
  HGDIOBJ former_;
  void* bits_ = nullptr;
};

TEST_F(ImageDraw, SixteenBitsKeepWhatTheyCan) {
  const SixteenBits target(kWidth, kHeight);
  EXPECT_TRUE(data().Draw(target.Dc(), 0, 0, kWidth, kHeight, 0, 0, 0, SRCCOPY));
  EXPECT_TRUE(PixelsNear(support::ReadDc(target.Dc(), 0, 0, kWidth, kHeight), picture_, 8));
}

TEST_F(ImageStretch, SixteenBitsKeepWhatTheyCan) {
  const SixteenBits target(kWidth, kHeight);
  EXPECT_TRUE(data().Stretch(target.Dc(), 0, 0, 25, 20, 0, 0, kWidth, kHeight, 4, SRCCOPY));
  const Pixels scaled =
      Scaled(picture_, {0, kWidth, 25, 0, 25}, {0, kHeight, 20, 0, 20}, imaging::Filter::kTriangle);
  EXPECT_TRUE(PixelsNear(support::ReadDc(target.Dc(), 0, 0, 25, 20), scaled, 8));
}

// --- GetBitmap

TEST_F(ImageGetBitmap, ShowsTheWholePicture) {
  const HBITMAP bitmap = data().GetBitmap();
  ASSERT_NE(bitmap, nullptr);
  EXPECT_TRUE(PixelsNear(support::ReadBitmap(bitmap), picture_));
  DeleteObject(bitmap);
}

TEST_F(ImageGetBitmap, FitsTheScreenAndIsTheCallers) {
  const HBITMAP first = data().GetBitmap(), second = data().GetBitmap();
  EXPECT_NE(first, second);
  BITMAP shape{};
  ASSERT_NE(GetObjectA(first, sizeof shape, &shape), 0);
  EXPECT_EQ(shape.bmWidth, kWidth);
  EXPECT_EQ(shape.bmHeight, kHeight);
  EXPECT_EQ(shape.bmBits, nullptr);  // device-dependent
  // It outlives the object that it came from, and can be drawn on.
  image_.reset();
  const HDC dc = CreateCompatibleDC(nullptr);
  const HGDIOBJ former = SelectObject(dc, first);
  EXPECT_NE(former, nullptr);
  EXPECT_TRUE(PixelsNear(support::ReadDc(dc, 0, 0, kWidth, kHeight), picture_));
  SelectObject(dc, former);
  DeleteDC(dc);
  EXPECT_TRUE(DeleteObject(first));
  EXPECT_TRUE(DeleteObject(second));
}

TEST_F(ImageDrawing, LeaksNoGdiObjects) {
  const auto draw_all = [&] {
    data().Draw(canvas_.Dc(), 0, 0, 10, 10, 0, 0, 0, SRCCOPY);
    data().Draw(canvas_.Dc(), 0, 0, 10, 10, 0, 0, 0, SRCINVERT);
    data().Stretch(canvas_.Dc(), 0, 0, 10, 10, 0, 0, 20, 20, 4, SRCCOPY);
    data().Stretch(canvas_.Dc(), 0, 0, 10, 10, 0, 0, 20, 20, 4, SRCPAINT);
    DeleteObject(data().GetBitmap());
  };
  draw_all();
  const support::GdiGauge gauge;
  for (int turn = 0; turn < 50; ++turn) draw_all();
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace
