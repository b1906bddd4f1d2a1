#include "base/LittleEndian.h"

#include <gtest/gtest.h>

namespace {

TEST(LittleEndian, TheLowestByteComesFirst) {
  const unsigned char bytes[] = {0x78, 0x56, 0x34, 0x12};
  EXPECT_EQ(LittleEndian16(bytes), 0x5678);
  EXPECT_EQ(LittleEndian32(bytes), 0x12345678u);
}

TEST(LittleEndian, HighBitsStayUnsigned) {
  const unsigned char bytes[] = {0xFE, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(LittleEndian16(bytes), 0xFFFE);
  EXPECT_EQ(LittleEndian32(bytes), 0xFFFFFFFEu);
}

}  // namespace
