#pragma once
// The few matrices that the show needs, for row vectors in a left-handed world.

#include "graphics/DirectX7.h"

void SetIdentity(D3DMATRIX& matrix);
// Replaces the translation of `matrix`; the rest stays.
void SetTranslation(D3DMATRIX& matrix, float x, float y, float z);
void AddTranslation(D3DMATRIX& matrix, float x, float y, float z);

// What lies within `width` by `height` around the z axis and between the two
// planes fills the viewport. Depth doesn't change size.
void SetOrthographic(D3DMATRIX& matrix, float width, float height, float nearPlane, float farPlane);

// A perspective view whose vertical opening is `fieldOfView` radians;
// `heightOverWidth` is the viewport's. False, with `matrix` as it was, if the
// planes or the opening are too small for it.
bool SetPerspective(D3DMATRIX& matrix, float fieldOfView, float heightOverWidth, float nearPlane,
                    float farPlane);
