// The captions on the Direct3D path. There are two sets of textures, since the
// next slide's text has to be ready before its slide comes up: the front set is
// the present slide's, and they change places when a slide takes over.

#include "graphics/Matrix.h"
#include "graphics/cGraphicsLayer.h"
#include "slideshow/CaptionFormat.h"
#include "slideshow/Slideshow.h"

#include <utility>

namespace {

constexpr float kQuadWidth = 1.5f;         // world units: three quarters of the screen
constexpr std::int32_t kTextMargin = 10;   // px of the canvas, below the text
constexpr std::int32_t kShadowOffset = 2;  // px of the canvas
constexpr std::int32_t kOpaqueLevel = 10;  // the shadow's brightness; all above it is opaque, too
constexpr std::int32_t kMipLevels = 4;
constexpr COLORREF kWhite = 0xFFFFFF;

// Moves the world up by `distance` for the length of one scope.
class Raised {
 public:
  explicit Raised(float distance) : distance_(distance) { Shift(distance_); }
  ~Raised() { Shift(-distance_); }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;

 private:
  static void Shift(float y) {
    D3DMATRIX world{};
    gGraphicsLayer->GetWorldMatrix(world);
    AddTranslation(world, 0, y, 0);
    gGraphicsLayer->SetWorldMatrix(world);
  }
  float distance_;
};

}  // namespace

// --- Set-up ---

void Slideshow::CreateCaptions() {
  if (!showCaptions || !gGraphicsLayer) return;
  captionFront = std::make_unique<CTextSurface>();
  captionBack = std::make_unique<CTextSurface>();
  const cTexture asksForFormats;
  captionAlpha = cTexture::HasFormat(32) && cTexture::HasAlphaFormat();
  for (CTextSurface* caption : {captionFront.get(), captionBack.get()}) {
    caption->SetFormat(DT_CENTER | DT_WORDBREAK);
    caption->SetSize(captionCanvasWidth, captionCanvasHeight, maxTextureSize, CaptionBits());
  }
  captionColumns = captionFront->GetColumns();
  captionRows = captionFront->GetRows();
  SetCaptionColours(*captionFront);
  SetCaptionColours(*captionBack);
  tilesBack = MakeCaptionTiles();
  tilesFront = MakeCaptionTiles();
  SetCaptionText(*captionFront);
  SetCaptionText(*captionBack);
  PlaceCaptions();
}

void Slideshow::PlaceCaptions() {
  const float quadHeight = kQuadWidth * static_cast<float>(captionCanvasHeight) /
                           static_cast<float>(captionCanvasWidth);
  quadFront.SetSize(kQuadWidth, quadHeight);
  quadBack.SetSize(kQuadWidth, quadHeight);
  quadFront.Build(captionColumns, captionRows, tilesFront.get());
  quadBack.Build(captionColumns, captionRows, tilesBack.get());
}

// Black, for without a font no text is ever copied into them.
std::unique_ptr<cTexture[]> Slideshow::MakeCaptionTiles() const {
  const auto count = static_cast<std::size_t>(CaptionTileCount());
  auto tiles = std::make_unique<cTexture[]>(count);
  for (std::size_t n = 0; n < count; ++n) {
    tiles[n].Create(captionCanvasWidth / captionColumns, captionCanvasHeight / captionRows,
                    CaptionBits(), 0, mipMap ? kMipLevels : 1);
    tiles[n].FillBlack();
  }
  return tiles;
}

void Slideshow::SetCaptionColours(CTextSurface& caption) const {
  caption.SetBackground(0);
  caption.SetShadow(true);
  caption.SetShadowOffset(kShadowOffset);
  caption.SetAlphaScale(kOpaqueLevel);
  caption.SetAlphaFromBrightness(captionAlpha);
}

// Leaves the surface ready for its texts, a first empty one behind it.
void Slideshow::SetCaptionText(CTextSurface& caption) const {
  caption.SetFormat(CaptionFormat(captionOrientation));
  caption.SetFont(captionFontName.c_str(), captionFontSize, 0, captionBold ? FW_BOLD : FW_NORMAL,
                  kWhite, captionItalic, 0, 0, OUT_TT_PRECIS, captionQuality, 0);
  caption.Render("", tilesFront.get(), CaptionTileCount());
  caption.SetIncremental(true);
}

// --- Text ---

Slideshow::CaptionSet Slideshow::SetOf(CaptionSlot slot) {
  if (slot == CaptionSlot::Front) return {*captionFront, tilesFront.get(), quadFront, frontHeight};
  return {*captionBack, tilesBack.get(), quadBack, backHeight};
}

// Draws the text of the slide that is to be loaded. Its textures follow, one a
// frame.
void Slideshow::RenderCaption(CaptionSlot slot, const VFFILE* file) {
  if (!captionFront) return;
  const CaptionSet set = SetOf(slot);
  const std::int32_t textHeight =
      set.surface.Render(GetCaptionFor(file).text.c_str(), set.tiles, CaptionTileCount());
  set.height = static_cast<float>(textHeight + kTextMargin) /
               static_cast<float>(captionCanvasHeight) * set.quad.GetHeight();
}

void Slideshow::TickCaptions() {
  if (!captionFront) return;
  captionFront->Tick();
  captionBack->Tick();
}

// What is drawn must be complete, and a set that changes places must not be
// written to by the surface that has drawn it.
void Slideshow::FinishCaptionCopies() {
  for (CTextSurface* caption : {captionFront.get(), captionBack.get()})
    while (caption->Tick()) {
    }
}

void Slideshow::SwapCaptions() {
  if (!captionFront) return;
  FinishCaptionCopies();
  std::swap(tilesBack, tilesFront);
  quadFront.SetTiles(tilesFront.get());
  quadBack.SetTiles(tilesBack.get());
  std::swap(frontHeight, backHeight);
}

// --- Drawing ---

// The text stands at the top of its quad, whose top comes to lie the text's
// height above the screen's lower edge, however many lines there are. The
// first slide finds the device's own alpha operation, which knows nothing of
// the material: its caption would not fade up with it.
void Slideshow::DrawCaption(CaptionSlot slot, float alpha) {
  if (!showCaptions || !captionFront) return;
  const CaptionSet set = SetOf(slot);
  while (set.surface.Tick()) {
  }
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  device->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, TRUE);
  device->SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  const Raised raised(bottomEdge - set.quad.GetHeight() * 0.5f + set.height);
  set.quad.Draw(alpha, CaptionBits());
}
