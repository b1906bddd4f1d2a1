#include "slideshow/CTextSurface.h"

#include "graphics/LockedSurface.h"
#include "graphics/SurfaceDc.h"
#include "slideshow/TilePlan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace {

constexpr std::int32_t kSmallestTextTile = 2;
constexpr std::int32_t kWhite = 3 * 255;  // sum of a pixel's channels
constexpr double kScaleError = 0.001;     // in alpha: the scale may be a rounded fraction

std::int32_t DrawTextIn(HDC dc, const char* text, RECT rect, COLORREF colour, UINT format) {
  SetTextColor(dc, colour);
  return DrawTextA(dc, text, -1, &rect, format);
}

}  // namespace

// --- Set-up ---

std::int32_t ChooseTextTileSide(std::int32_t side, std::int32_t maxTile) {
  return ChooseTileSide(side, maxTile, kSmallestTextTile);
}

void CTextSurface::SetSize(std::int32_t newWidth, std::int32_t newHeight, std::int32_t newMaxTile,
                           std::int32_t newBits) {
  width = newWidth;
  height = newHeight;
  maxTile = newMaxTile;
  bits = newBits;
  tileWidth = ChooseTextTileSide(width, maxTile);
  tileHeight = ChooseTextTileSide(height, maxTile);
  columns = width / tileWidth;
  rows = height / tileHeight;
  if (font) MakeCanvas();
}

bool CTextSurface::SetFont(const char* face, std::int32_t newHeight, std::int32_t newWidth,
                           std::int32_t weight, COLORREF colour, std::int32_t italic,
                           std::int32_t underline, std::int32_t strikeOut,
                           std::int32_t outPrecision, std::int32_t quality,
                           std::int32_t pitchAndFamily) {
  textColour = colour;
  if (!face) return false;
  FontRequest request{face,      newHeight,    newWidth, weight,        italic, underline,
                      strikeOut, outPrecision, quality,  pitchAndFamily};
  if (font && request == fontRequest) return true;
  font.reset();
  font.reset(CreateFontA(newHeight, newWidth, 0, 0, weight, static_cast<DWORD>(italic),
                         static_cast<DWORD>(underline), static_cast<DWORD>(strikeOut), 0,
                         static_cast<DWORD>(outPrecision), 0, static_cast<DWORD>(quality),
                         static_cast<DWORD>(pitchAndFamily), face));
  fontRequest = std::move(request);
  if (!font) return false;
  if (!HasCanvas()) MakeCanvas();
  return true;
}

void CTextSurface::SetBackground(COLORREF colour) {
  background = colour;
  MakeCanvas();
}

void CTextSurface::MakeCanvas() {
  canvas = std::make_unique<cTexture>();
  canvas->Create(width, height, bits, cTexture::kOffscreen, 1);
}

// --- Drawing ---

std::int32_t CTextSurface::Render(const char* text, cTexture* newTiles, std::int32_t count) {
  if (!font || !HasCanvas() || !text || !newTiles || count != columns * rows) return 0;
  std::int32_t textHeight = 0;
  {
    const SurfaceDc dc(canvas->GetSurface());
    if (!dc) return 0;
    textHeight = DrawOnCanvas(dc.get(), text);
  }
  tiles = newTiles;
  tileCount = count;
  tickPosition = 0;
  if (!incremental || tileCount == 1)
    while (Tick()) {
    }
  // Some systems tell a whole line's height of a text without any.
  return *text ? textHeight : 0;
}

// The shadow takes its offset from the room of the main text, so that both wrap
// at the same words.
std::int32_t CTextSurface::DrawOnCanvas(HDC dc, const char* text) {
  SetBkMode(dc, TRANSPARENT);
  const SelectGuard withFont(dc, font.get());
  brush.reset(CreateSolidBrush(background));
  const SelectGuard withBrush(dc, brush.get());
  PatBlt(dc, 0, 0, width, height, PATCOPY);
  RECT room{0, 0, width, height};
  if (shadow) {
    DrawTextIn(dc, text, {shadowOffset, shadowOffset, width, height}, shadowColour, format);
    room.right -= shadowOffset;
    room.bottom -= shadowOffset;
  }
  return DrawTextIn(dc, text, room, textColour, format);
}

// --- Tiles ---

bool CTextSurface::Tick() {
  if (tickPosition >= tileCount) return false;
  CopyTile(tickPosition);
  ++tickPosition;
  return tickPosition < tileCount;
}

// A single tile takes the canvas as it is.
void CTextSurface::CopyTile(std::int32_t n) {
  const LONG left = n % columns * tileWidth;
  const LONG top = n / columns * tileHeight;
  RECT part{left, top, left + tileWidth, top + tileHeight};
  if (tileCount == 1) part = {0, 0, width, height};
  cTexture& tile = tiles[n];
  if (!tile.GetSurface()) return;
  tile.GetSurface()->Blt(nullptr, canvas->GetSurface(), &part, DDBLT_WAIT, nullptr);
  if (alphaFromBrightness) MakeAlpha(tile);
  tile.GenerateMipMaps();
}

void CTextSurface::MakeAlpha(const cTexture& tile) const {
  const LockedSurface locked(tile.GetSurface());
  if (!locked || locked.Description().ddpfPixelFormat.dwRGBBitCount != 32) return;
  BrightnessToAlpha(locked.Pixels(), alphaScale);
}

void BrightnessToAlpha(const PixelBlock& pixels, float alphaScale) {
  std::array<std::uint32_t, kWhite + 1> alphaOfSum;
  for (std::size_t sum = 0; sum < alphaOfSum.size(); ++sum) {
    const double alpha =
        static_cast<double>(sum) * 255.0 / (double{alphaScale} * kWhite) + kScaleError;
    alphaOfSum[sum] = static_cast<std::uint32_t>(std::max(0.0, std::min(255.0, alpha))) << 24;
  }
  for (std::uint32_t y = 0; y < pixels.height; ++y) {
    auto* row = reinterpret_cast<std::uint32_t*>(pixels.bits +
                                                 static_cast<std::ptrdiff_t>(y) * pixels.pitch);
    for (std::uint32_t x = 0; x < pixels.width; ++x) {
      const std::uint32_t colour = row[x] & 0xFFFFFF;
      row[x] = colour | alphaOfSum[(colour >> 16) + (colour >> 8 & 0xFF) + (colour & 0xFF)];
    }
  }
}
