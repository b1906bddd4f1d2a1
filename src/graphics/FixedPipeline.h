#pragma once
// How the device draws during the show. The screen is 2.0 world units wide,
// centred on the origin, y up; pictures are flat and lie 2 units in front of
// the eye. Ambient light is full white, so the material alone sets how bright a
// picture is: that is how the fades work, with no light and no vertex colours.

#include "graphics/DirectX7.h"

#include <cstdint>

class cGraphicsLayer;

// Sets projection, render states, texture stage 0 and view for a screen of
// `width` by `height` px.
void SetFixedPipeline(cGraphicsLayer& layer, std::int32_t width, std::int32_t height);

// Sets the world: where pictures lie, 2 units in front of the eye, and not moved.
void SetWorldBeforeEye(cGraphicsLayer& layer);

// Has quads laid over what is there by the material's alpha.
void BlendByMaterial(IDirect3DDevice7* device);
