#include "graphics/Matrix.h"

#include <cmath>

namespace {

constexpr float kSmallest = 0.01f;  // of plane distance and sine: below lies no usable matrix

}  // namespace

void SetIdentity(D3DMATRIX& matrix) {
  matrix = D3DMATRIX{};
  matrix._11 = matrix._22 = matrix._33 = matrix._44 = 1.0f;
}

void SetTranslation(D3DMATRIX& matrix, float x, float y, float z) {
  matrix._41 = x;
  matrix._42 = y;
  matrix._43 = z;
}

void AddTranslation(D3DMATRIX& matrix, float x, float y, float z) {
  SetTranslation(matrix, matrix._41 + x, matrix._42 + y, matrix._43 + z);
}

void SetOrthographic(D3DMATRIX& matrix, float width, float height, float nearPlane,
                     float farPlane) {
  matrix = D3DMATRIX{};
  matrix._11 = 2.0f / width;
  matrix._22 = 2.0f / height;
  matrix._33 = 1.0f / (farPlane - nearPlane);
  matrix._43 = -nearPlane / (farPlane - nearPlane);
  matrix._44 = 1.0f;
}

bool SetPerspective(D3DMATRIX& matrix, float fieldOfView, float heightOverWidth, float nearPlane,
                    float farPlane) {
  const float half = fieldOfView / 2.0f;
  const float sine = std::sin(half);
  if (std::fabs(farPlane - nearPlane) < kSmallest || std::fabs(sine) < kSmallest) return false;
  const float c = std::cos(half) / sine;
  const float q = farPlane / (farPlane - nearPlane);
  matrix = D3DMATRIX{};
  matrix._11 = heightOverWidth * c;
  matrix._22 = c;
  matrix._33 = q;
  matrix._34 = 1.0f;
  matrix._43 = -q * nearPlane;
  return true;
}
