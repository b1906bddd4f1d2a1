#include "graphics/cGameError.h"

#include "unit/graphics/GraphicsTest.h"

#include <gtest/gtest.h>

namespace {

using graphics_test::DebugOutput;

TEST(GameError, KeepsItsText) { EXPECT_EQ(cGameError("no device\n").Text(), "no device\n"); }

TEST(GameError, TellsTheDebugger) {
  const DebugOutput output;
  const cGameError error("no device");
  EXPECT_EQ(output.Text(), "***\n*** [ERROR] cGameError thrown! text: [no device]\n***\n");
}

}  // namespace
