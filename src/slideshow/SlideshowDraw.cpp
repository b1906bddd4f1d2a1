// The drawing of one frame on the Direct3D path. Brightness is the material's
// ambient colour, since the light is full white; how far the next slide has
// come through is the material's alpha.

#include "graphics/FixedPipeline.h"
#include "graphics/cGraphicsLayer.h"
#include "slideshow/Slideshow.h"

namespace {

// Steep at both ends of a crossfade, for two texts one over the other can't be
// read.
float FourthPower(float value) { return value * value * value * value; }

}  // namespace

void Slideshow::Draw() {
  if (!current) return;
  DrawCurrent();
  if (next && inTransition && crossfade) DrawNext();
  gGraphicsLayer->GetDevice()->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, FALSE);
}

void Slideshow::SetMaterial(const Colour& ambient, const Colour& diffuse, float diffuseAlpha) {
  material.ambient = {ambient[0], ambient[1], ambient[2], 1.0f};
  material.diffuse = {diffuse[0], diffuse[1], diffuse[2], diffuseAlpha};
  gGraphicsLayer->GetDevice()->SetMaterial(&material);
}

// A still picture may not fill the screen, so it darkens while the next one
// comes in: else it would stay visible around it.
void Slideshow::DrawCurrent() {
  if (inTransition && crossfade && !animate) {
    const float f = 1 - blend;
    SetMaterial({f, f, f}, {f, f, f}, 1.0f);
  } else {
    SetMaterial(colour, colour, 1.0f);
  }
  current->Draw();
  DrawCaption(CaptionSlot::Front, CurrentCaptionAlpha());
}

float Slideshow::CurrentCaptionAlpha() const {
  if (openingFade || !crossfade) return colour[0];
  return inTransition ? FourthPower(1 - blend) : 1.0f;
}

void Slideshow::DrawNext() {
  SetMaterial(colour, colour, blend);
  BlendByMaterial(gGraphicsLayer->GetDevice());
  next->Draw();
  DrawCaption(CaptionSlot::Back, FourthPower(blend));
}
