// What GDI is told of a picture's memory.

#include "imaging/BTNexgenIPL.h"
#include "support/ImportHook.h"
#include "support/PixelHelpers.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

constexpr int kWidth = 50, kHeight = 40;

// GDI may read every row that the header speaks of, from end to end.
TEST(Blit, NoMemoryBehindThePictureIsPromised) {
  BTCImageObject image;
  const support::Bytes file = support::MakeBmp(kWidth, kHeight, support::Gradient());
  ASSERT_EQ(image.Load(file.data(), static_cast<unsigned>(file.size()), nullptr), BTCodecId_Bmp);
  const BTCImageData& data = *image.GetObjectDataPtr();
  const unsigned char* const first = data.GetBits();
  const unsigned char* const end = first + kWidth * kHeight * 4;
  int calls = 0;
  HOOK_IMPORT(gdi, "gdi32.dll", SetDIBitsToDevice,
              [&](HDC, int, int, DWORD width, DWORD height, int srcX, int srcY, UINT firstRow,
                  UINT rows, const void* bits, const BITMAPINFO* info, UINT) -> int {
                const auto* promised = static_cast<const unsigned char*>(bits);
                const BITMAPINFOHEADER& header = info->bmiHeader;
                EXPECT_GE(promised, first);
                EXPECT_LE(promised + header.biWidth * 4 * std::abs(header.biHeight), end);
                EXPECT_LE(srcX + static_cast<int>(width), header.biWidth);
                EXPECT_LE(srcY + static_cast<int>(height), std::abs(header.biHeight));
                EXPECT_LE(static_cast<int>(firstRow + rows), std::abs(header.biHeight));
                ++calls;
                return static_cast<int>(rows);
              });
  const support::Canvas canvas(kWidth, kHeight);
  for (const int x : {-10, 0, 1, 25, kWidth - 1})
    for (const int y : {-10, 0, 1, 20, kHeight - 1})
      EXPECT_TRUE(data.Draw(canvas.Dc(), 0, 0, kWidth, kHeight, x, y, 0, SRCCOPY));
  EXPECT_EQ(calls, 25);
}

}  // namespace
