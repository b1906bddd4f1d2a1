#include "graphics/Matrix.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

std::array<float, 16> Entries(const D3DMATRIX& m) {
  return {m._11, m._12, m._13, m._14, m._21, m._22, m._23, m._24,
          m._31, m._32, m._33, m._34, m._41, m._42, m._43, m._44};
}

D3DMATRIX Garbage() {
  D3DMATRIX matrix{};
  matrix._12 = matrix._21 = matrix._34 = matrix._44 = 7.0f;
  return matrix;
}

TEST(Matrix, IdentityReplacesEverything) {
  D3DMATRIX matrix = Garbage();
  SetIdentity(matrix);
  EXPECT_EQ(Entries(matrix),
            (std::array<float, 16>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
}

TEST(Matrix, TranslationIsSetAndThenAddedTo) {
  D3DMATRIX matrix{};
  SetIdentity(matrix);
  SetTranslation(matrix, 1, 2, 3);
  SetTranslation(matrix, 0, 0, 2);
  EXPECT_EQ(Entries(matrix),
            (std::array<float, 16>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 2, 1}));
  AddTranslation(matrix, 0.5f, -1, 4);
  EXPECT_EQ(Entries(matrix),
            (std::array<float, 16>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.5f, -1, 6, 1}));
}

TEST(Matrix, OrthographicHasTheScreensEntries) {
  D3DMATRIX matrix = Garbage();
  SetOrthographic(matrix, 2.0f, 1.5f, 0.5f, 10.0f);
  EXPECT_EQ(Entries(matrix),
            (std::array<float, 16>{1, 0, 0, 0, 0, 2.0f / 1.5f, 0, 0, 0, 0, 1.0f / 9.5f, 0, 0, 0,
                                   -0.5f / 9.5f, 1}));
}

TEST(Matrix, PerspectiveHasTheOpeningsEntries) {
  D3DMATRIX matrix = Garbage();
  ASSERT_TRUE(SetPerspective(matrix, 1.0f, 0.75f, 1.0f, 1000.0f));
  const float c = std::cos(0.5f) / std::sin(0.5f);
  const float q = 1000.0f / 999.0f;
  EXPECT_EQ(Entries(matrix),
            (std::array<float, 16>{0.75f * c, 0, 0, 0, 0, c, 0, 0, 0, 0, q, 1, 0, 0, -q, 0}));
}

TEST(Matrix, PerspectiveRefusesPlanesThatAreTooClose) {
  D3DMATRIX matrix = Garbage();
  EXPECT_FALSE(SetPerspective(matrix, 1.0f, 0.75f, 1.0f, 1.009f));
  EXPECT_EQ(Entries(matrix), Entries(Garbage()));
  EXPECT_TRUE(SetPerspective(matrix, 1.0f, 0.75f, 1.0f, 1.02f));
}

TEST(Matrix, PerspectiveRefusesAnOpeningOfNothing) {
  D3DMATRIX matrix = Garbage();
  EXPECT_FALSE(SetPerspective(matrix, 0.019f, 0.75f, 1.0f, 1000.0f));
  EXPECT_EQ(Entries(matrix), Entries(Garbage()));
  EXPECT_TRUE(SetPerspective(matrix, 0.021f, 0.75f, 1.0f, 1000.0f));
}

}  // namespace
