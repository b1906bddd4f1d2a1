// The image library when memory runs out: each allocation of its own, and of the
// libraries linked into it, fails once, alone and together with all after it.

#include "Fixtures.h"

#include "imaging/BTNexgenIPL.h"
#include "support/LiveAllocations.h"
#include "support/PixelHelpers.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <string>

using support::Bytes;

namespace {

enum class Outcome { kDone, kRefused, kHalfDone };

// For the messages of failed tests.
void PrintTo(Outcome outcome, std::ostream* to) {
  constexpr const char* kNames[] = {"done", "refused", "half done"};
  *to << kNames[static_cast<int>(outcome)];
}

// What is called with memory to spare before and after a call that may lack it.
struct Around {
  std::function<void()> before = [] {};
  std::function<void(Outcome)> after = [](Outcome) {};
  bool asksForLess = false;  // where there was none once, it may ask again and go on
};

// What the compiler's run-time library makes with a thread's first exception, and
// with the first one that is taken from its reserve. It ends the program if there
// is no memory at all for these, of which the image library knows nothing.
void MakeTheRunTimesOwn() {
  const support::LiveAllocations memory;
  for (const long badOnes : {0, 1}) {
    memory.RunOut(0, badOnes);
    try {
      throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
    }
  }
}

// Calls `work` with the first allocation failing, then with the second one, and
// so on until none is left that could fail. It has to refuse, and to leave
// nothing allocated.
template <class Work>
void FailEachAllocation(const Work& work, const Around& around = {}) {
  MakeTheRunTimesOwn();
  around.before();
  ASSERT_EQ(work(), Outcome::kDone);
  around.after(Outcome::kDone);
  for (const long badOnes : {1L, LONG_MAX}) {
    for (long goodOnes = 0, failed = 1; failed > 0; ++goodOnes) {
      SCOPED_TRACE(std::to_string(badOnes) + " failing after " + std::to_string(goodOnes));
      Outcome outcome;
      long left;
      around.before();
      {
        const support::LiveAllocations memory;
        memory.RunOut(goodOnes, badOnes);
        outcome = work();
        failed = memory.Failed();
        left = memory.Count();
      }
      const bool mayGoOn = failed == 0 || (around.asksForLess && badOnes == 1);
      const bool goesOn = mayGoOn && outcome == Outcome::kDone;
      EXPECT_EQ(outcome, failed == 0 || goesOn ? Outcome::kDone : Outcome::kRefused);
      EXPECT_EQ(left, 0) << "blocks left behind";
      EXPECT_TRUE(failed > 0 || goodOnes > 0) << "it asks for no memory";
      around.after(outcome);
    }
  }
}

int Load(BTCImageObject& image, const Bytes& file) {
  return image.Load(file.data(), static_cast<unsigned>(file.size()), nullptr);
}

class LoadOutOfMemory : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Image, LoadOutOfMemory,
                         testing::Values("bmp", "jpeg", "png", "gif", "webp", "tiff"),
                         [](const auto& format) { return std::string(format.param); });

// The sum of all pixels: whole if it is the same each time.
std::uint32_t SumOf(const BTCImageData& data) {
  std::uint32_t sum = 0;
  const int size = data.GetWidth() * data.GetHeight() * 4;
  for (int n = 0; n < size; ++n) sum = sum * 31 + data.GetBits()[n];
  return sum;
}

Outcome LoadAndFree(const Bytes& file, std::uint32_t sum) {
  BTCImageObject image;
  const int codec = Load(image, file);
  const BTCImageData& data = *image.GetObjectDataPtr();
  if (codec != -1) return SumOf(data) == sum ? Outcome::kDone : Outcome::kHalfDone;
  const bool empty = data.GetWidth() == 0 && data.GetHeight() == 0 && !data.GetBits();
  return empty ? Outcome::kRefused : Outcome::kHalfDone;
}

TEST_P(LoadOutOfMemory, IsRefused) {
  Around around;
  around.asksForLess = GetParam() == std::string("jpeg");
  for (const fixtures::Fixture& fixture : fixtures::FixturesOf(GetParam())) {
    SCOPED_TRACE(fixture.name);
    const Bytes file = fixtures::FileOf(fixture.name);
    BTCImageObject whole;
    ASSERT_NE(Load(whole, file), -1);
    const std::uint32_t sum = SumOf(*whole.GetObjectDataPtr());
    FailEachAllocation([&] { return LoadAndFree(file, sum); }, around);
  }
}

class ImageOutOfMemory : public testing::Test {
 protected:
  static constexpr int kWidth = 50, kHeight = 40;

  ImageOutOfMemory() { LoadAnew(); }
  void LoadAnew() { EXPECT_EQ(Load(image_, file_), BTCodecId_Bmp); }
  BTCImageData& Data() { return *image_.GetObjectDataPtr(); }
  Bytes Bits() {
    return {Data().GetBits(), Data().GetBits() + Data().GetWidth() * Data().GetHeight() * 4};
  }

  const Bytes file_ = support::MakeBmp(kWidth, kHeight, support::Gradient());
  BTCImageObject image_;
};

TEST_F(ImageOutOfMemory, ResizeIsRefusedAndThePictureStays) {
  const Bytes bits = Bits();
  const Around around{[&] { LoadAnew(); },
                      [&](Outcome outcome) {
                        const bool done = outcome == Outcome::kDone;
                        EXPECT_EQ(Data().GetWidth(), done ? 70 : kWidth);
                        EXPECT_EQ(Data().GetHeight(), done ? 15 : kHeight);
                        EXPECT_EQ(Bits() == bits, !done);
                      }};
  for (const BTResizeFilter filter :
       {BTResizeFilter_Nearest, BTResizeFilter_Triangle, BTResizeFilter_Lanczos})
    FailEachAllocation(
        [&] { return Data().Resize(70, 15, filter) ? Outcome::kDone : Outcome::kRefused; }, around);
}

TEST_F(ImageOutOfMemory, StretchIsRefusedAndDrawsNothing) {
  const support::Pixels ground(60, 45, 0x123456);
  std::unique_ptr<support::Canvas> canvas;
  const Around around{[&] { canvas = std::make_unique<support::Canvas>(60, 45, 0x123456); },
                      [&](Outcome outcome) {
                        EXPECT_EQ(PixelsNear(canvas->Read(), ground) == true,
                                  outcome != Outcome::kDone);
                      }};
  for (const DWORD rop : {SRCINVERT, SRCCOPY})
    for (const int mode : {BTDrawMode_Plain, BTDrawMode_Smooth}) {
      const auto stretch = [&] {
        const bool done =
            Data().Stretch(canvas->Dc(), 0, 0, 60, 45, 0, 0, kWidth, kHeight, mode, rop);
        return done ? Outcome::kDone : Outcome::kRefused;
      };
      FailEachAllocation(stretch, around);
    }
}

TEST_F(ImageOutOfMemory, SaveIsRefusedAndTheOldFileStays) {
  const support::TempFolder temp;
  const Bytes old = support::BytesOf("old");
  const std::string folder = temp.File("pictures"), path = temp.File("pictures\\picture.bmp");
  const auto prepare = [&] {
    temp.MakeFolder("pictures");
    temp.Write("pictures\\picture.bmp", old);
  };
  const auto check = [&](Outcome outcome) {
    EXPECT_EQ(support::ReadWholeFile(path) == old, outcome != Outcome::kDone);
    EXPECT_TRUE(DeleteFileA(path.c_str()));
    EXPECT_TRUE(RemoveDirectoryA(folder.c_str())) << "a file is left beside";
  };
  FailEachAllocation(
      [&] {
        const bool done = image_.Save(path.c_str(), BTCodecId_Bmp, nullptr) == 0;
        return done ? Outcome::kDone : Outcome::kRefused;
      },
      {prepare, check});
}

}  // namespace
