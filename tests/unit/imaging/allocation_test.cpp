// What the decoders ask of the heap for files that claim too much.

#include "Fixtures.h"
#include "HugeFiles.h"

#include "support/ImportHook.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

namespace {

// The largest block that this program, and the libraries linked into it, ask
// for while `work` runs.
std::size_t LargestBlockDuring(const std::function<void()>& work) {
  std::size_t largest = 0;
  HOOK_IMPORT(mallocHook, "msvcrt.dll", malloc, [&](std::size_t size) {
    largest = std::max(largest, size);
    return REAL_IMPORT("msvcrt.dll", malloc)(size);
  });
  HOOK_IMPORT(callocHook, "msvcrt.dll", calloc, [&](std::size_t count, std::size_t size) {
    largest = std::max(largest, count * size);
    return REAL_IMPORT("msvcrt.dll", calloc)(count, size);
  });
  HOOK_IMPORT(reallocHook, "msvcrt.dll", realloc, [&](void* block, std::size_t size) {
    largest = std::max(largest, size);
    return REAL_IMPORT("msvcrt.dll", realloc)(block, size);
  });
  work();
  return largest;
}

TEST(HugePicture, NoMemoryIsTakenForThePixels) {
  const std::vector<support::Bytes> files = fixtures::FilesThatClaimTooMuch();
  const std::size_t largest = LargestBlockDuring([&] {
    for (const support::Bytes& file : files) EXPECT_FALSE(fixtures::Decode(file));
  });
  EXPECT_LT(largest, 100'000u);
}

TEST(HugePicture, TheMeasureSeesThePixelsOfAGoodFile) {
  const support::Bytes file = support::MakeBmp(300, 200, support::Flat(0));
  EXPECT_GE(LargestBlockDuring([&] { EXPECT_TRUE(fixtures::Decode(file)); }), 300u * 200 * 4);
}

}  // namespace
