#pragma once
// The text of a caption as textures. GDI can't draw on a texture with alpha,
// and a card may have no texture as wide as a caption, so the text is drawn on
// an off-screen surface, the canvas, and copied into a row of small textures:
//
//   text.SetSize(896, 256, 256, 32);
//   text.SetFont("Arial", -22, ...);
//   text.Render("A caption", tiles, count);    draws, and notes what is to be copied
//   while (text.Tick()) {}                     copies one tile a call
//
// The canvas is black. With alpha, a pixel's brightness becomes its opacity:
// the background drops out, while the shadow, dark as it is, stays.
//
// Needs the graphics layer; main thread only. A surface that can't be made
// throws cGameError.

#include "base/win_owned.h"
#include "graphics/cTexture.h"

#include <cstdint>
#include <memory>
#include <string>

struct PixelBlock;

class CTextSurface {
 public:
  CTextSurface() = default;
  CTextSurface(const CTextSurface&) = delete;
  CTextSurface& operator=(const CTextSurface&) = delete;

  // The canvas, px, and how it is cut into tiles of `maxTile` px a side at
  // most. `bits` is 16 or 32.
  void SetSize(std::int32_t width, std::int32_t height, std::int32_t maxTile, std::int32_t bits);
  // The arguments are those of CreateFontA; `colour` is the text's. Costs
  // nothing for the font that is set already. False, and then without a font,
  // if there is none like that; false for a null `face`.
  bool SetFont(const char* face, std::int32_t height, std::int32_t width, std::int32_t weight,
               COLORREF colour, std::int32_t italic, std::int32_t underline, std::int32_t strikeOut,
               std::int32_t outPrecision, std::int32_t quality, std::int32_t pitchAndFamily);
  void SetFormat(std::uint32_t flags) { format = flags; }  // of DrawTextA
  void SetBackground(COLORREF colour);
  void SetShadow(bool value) { shadow = value; }
  void SetShadowOffset(std::int32_t px) { shadowOffset = px; }
  void SetAlphaFromBrightness(bool value) { alphaFromBrightness = value; }
  // Which brightness is opaque: `level` of 255 in each channel.
  void SetAlphaScale(std::int32_t level) { alphaScale = static_cast<float>(level / 255.0); }
  // Whether Render leaves the copying to Tick.
  void SetIncremental(bool value) { incremental = value; }

  std::int32_t GetColumns() const { return columns; }
  std::int32_t GetRows() const { return rows; }

  // Draws `text` and returns its height, px. `tiles` are GetColumns() by
  // GetRows() textures, row by row from the top left, which must live until the
  // last one is copied. Returns 0, with nothing done, if there is no font or
  // canvas, a null argument or another `count`.
  std::int32_t Render(const char* text, cTexture* tiles, std::int32_t count);
  // Copies the next tile of what Render has drawn. True while more remain.
  bool Tick();

 private:
  // What CreateFontA was asked for; the defaults equal no real request.
  struct FontRequest {
    std::string faceName;
    std::int32_t fontHeight = 0;
    std::int32_t fontWidth = 0;
    std::int32_t fontWeight = 0;
    std::int32_t fontItalic = 9999;
    std::int32_t fontUnderline = 9999;
    std::int32_t fontStrikeOut = 9999;
    std::int32_t fontOutPrecision = -6666;
    std::int32_t fontQuality = -6666;
    std::int32_t fontPitchAndFamily = -6666;

    bool operator==(const FontRequest&) const = default;
  };

  bool HasCanvas() const { return canvas && canvas->GetSurface(); }
  void MakeCanvas();
  std::int32_t DrawOnCanvas(HDC dc, const char* text);
  void CopyTile(std::int32_t n);
  void MakeAlpha(const cTexture& tile) const;

  cTexture* tiles = nullptr;             // where the present text goes; borrowed
  std::unique_ptr<cTexture> canvas;
  std::int32_t tileCount = 0;
  std::int32_t width = 256;              // of the canvas, px
  std::int32_t height = 256;
  std::int32_t maxTile = 256;            // px
  std::int32_t bits = 16;
  std::int32_t tileWidth = 256;          // px
  std::int32_t tileHeight = 256;
  std::uint32_t format = DT_CENTER | DT_WORDBREAK;
  GdiFont font;
  COLORREF background = 0;
  COLORREF textColour = 0;
  GdiBrush brush;                        // of the last drawing
  std::int32_t columns = 0;
  std::int32_t rows = 0;
  bool alphaFromBrightness = true;
  float alphaScale = 1.0f;               // the brightness that is opaque, 0 to 1
  bool shadow = false;
  std::int32_t shadowOffset = 2;         // px, to the right and down
  COLORREF shadowColour = 0x0A0A0A;
  bool incremental = false;
  std::int32_t tickPosition = 9999999;   // next tile to copy; past the last one: none
  FontRequest fontRequest;               // what `font` was made from
};

// The side of a caption's tiles along a canvas of `side` px: ChooseTileSide, down
// to 2.
std::int32_t ChooseTextTileSide(std::int32_t side, std::int32_t maxTile);

// Sets the fourth byte of each 32-bit pixel to its brightness: full from
// `alphaScale` (1.0 is white) on, and in proportion below.
void BrightnessToAlpha(const PixelBlock& pixels, float alphaScale);
