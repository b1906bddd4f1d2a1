// The image object as its users see it: loading, resizing, saving, and what it
// costs in memory.

#include "Fixtures.h"
#include "HugeFiles.h"

#include "imaging/BTNexgenIPL.h"
#include "support/GdiGauge.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>

#include <objbase.h>
#include <psapi.h>

using fixtures::Decoded;
using fixtures::Fixture;
using support::Bytes;

namespace {

int Load(BTCImageObject& image, const Bytes& file) {
  return image.Load(file.data(), static_cast<unsigned>(file.size()), nullptr);
}

Bytes BitsOf(BTCImageData& data) {
  return Bytes(data.GetBits(), data.GetBits() + data.GetWidth() * data.GetHeight() * 4);
}

const Bytes kSmallBmp = support::MakeBmp(7, 5, support::Gradient());

TEST(ImageObject, IsEmptyAtFirst) {
  BTCImageObject image;
  ASSERT_NE(image.GetObjectDataPtr(), nullptr);
  EXPECT_EQ(image.GetObjectDataPtr()->GetWidth(), 0);
  EXPECT_EQ(image.GetObjectDataPtr()->GetHeight(), 0);
  EXPECT_EQ(image.GetObjectDataPtr()->GetBits(), nullptr);
  EXPECT_EQ(image.GetObjectDataPtr()->GetBitmap(), nullptr);
  EXPECT_FALSE(image.GetObjectDataPtr()->Resize(5, 5, BTResizeFilter_Lanczos));
}

TEST(ImageObject, LoadReplacesThePictureBefore) {
  BTCImageObject image;
  EXPECT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  EXPECT_EQ(image.GetObjectDataPtr()->GetWidth(), 7);
  EXPECT_EQ(Load(image, fixtures::FileOf("png-rgb.png")), BTCodecId_Png);
  EXPECT_EQ(image.GetObjectDataPtr()->GetWidth(), 61);
  EXPECT_EQ(image.GetObjectDataPtr()->GetHeight(), 37);
}

TEST(ImageObject, AFailedLoadLeavesItEmpty) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  EXPECT_EQ(Load(image, support::BytesOf("BMnothing")), -1);
  EXPECT_EQ(image.GetObjectDataPtr()->GetWidth(), 0);
  EXPECT_EQ(image.GetObjectDataPtr()->GetBits(), nullptr);
}

TEST(ImageObject, NoBytesAreRefused) {
  BTCImageObject image;
  EXPECT_EQ(image.Load(nullptr, 100, nullptr), -1);
  EXPECT_EQ(image.Load(kSmallBmp.data(), 0, nullptr), -1);
}

TEST(ImageObject, LeavesTheFilesBytesAlone) {
  for (const Fixture& fixture : fixtures::AllFixtures()) {
    const Bytes before = fixtures::FileOf(fixture.name);
    const Bytes file = before;
    BTCImageObject image;
    Load(image, file);
    EXPECT_EQ(file, before) << fixture.name;
  }
}

TEST(ImageObject, SeveralThreadsDecodeAtOnce) {
  std::atomic<int> wrong = 0;
  const auto decode_all = [&wrong] {
    for (const Fixture& fixture : fixtures::AllFixtures()) {
      const std::optional<Decoded> picture = fixtures::Decode(fixtures::FileOf(fixture.name));
      if (!picture ||
          !LooksLike(*picture, fixtures::ExpectedPixelsOf(fixture.name), fixture.tolerance))
        ++wrong;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(decode_all);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

// The vector code asks for an aligned stack, and a thread's may begin anywhere.
TEST(ImageObject, AThreadsStackMayBeginAnywhere) {
  struct Start {
    static DWORD WINAPI Run(void* offset) {
      volatile char* const space =
          static_cast<char*>(__builtin_alloca(reinterpret_cast<std::size_t>(offset)));
      space[0] = 0;
      BTCImageObject image;
      const bool done = Load(image, fixtures::FileOf("jpeg-420.jpg")) == BTCodecId_Jpeg &&
                        image.GetObjectDataPtr()->Resize(40, 30, BTResizeFilter_Lanczos);
      return done ? 1 : 0;
    }
  };
  for (std::size_t offset = 1; offset < 64; offset += 5) {
    const HANDLE thread =
        CreateThread(nullptr, 0, Start::Run, reinterpret_cast<void*>(offset), 0, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    DWORD done = 0;
    GetExitCodeThread(thread, &done);
    CloseHandle(thread);
    EXPECT_EQ(done, 1u);
  }
}

TEST(ImageObject, TiffWorksWhicheverModeComIsIn) {
  for (const DWORD mode : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
    std::thread([mode] {
      ASSERT_EQ(CoInitializeEx(nullptr, mode), S_OK);
      EXPECT_TRUE(fixtures::Decode(fixtures::FileOf("tiff-raw.tif")));
      // The thread's own mode has outlived the decoding.
      EXPECT_EQ(CoInitializeEx(nullptr, mode), S_FALSE);
      CoUninitialize();
      CoUninitialize();
    }).join();
  }
}

TEST(ImageObject, TiffLeavesNoComBehind) {
  std::thread([] {
    EXPECT_TRUE(fixtures::Decode(fixtures::FileOf("tiff-raw.tif")));
    EXPECT_FALSE(fixtures::Decode(Bytes{'I', 'I', '*', 0, 8}));
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
  }).join();
}

// Only the first page counts.
TEST(ImageObject, TiffPagesBehindTheFirstMayBeMissing) {
  Bytes file = fixtures::FileOf("tiff-pages.tif");
  file.resize(file.size() - 100);
  const std::optional<Decoded> picture = fixtures::Decode(file);
  ASSERT_TRUE(picture);
  EXPECT_TRUE(LooksLike(*picture, fixtures::ExpectedPixelsOf("tiff-pages.tif"), 0));
}

// --- Memory

// Bytes of this process's own that are in use.
std::size_t CommittedBytes() {
  std::size_t total = 0;
  MEMORY_BASIC_INFORMATION region;
  for (const char* at = nullptr; VirtualQuery(at, &region, sizeof region) == sizeof region;
       at = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
    if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) total += region.RegionSize;
  return total;
}

// What the process has in memory, and the most that it ever had there.
PROCESS_MEMORY_COUNTERS WorkingSet() {
  PROCESS_MEMORY_COUNTERS counters{};
  EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters));
  return counters;
}

// Tells how much more memory is touched, even for a moment, than when it was
// made: it fills memory up to the peak of before, so that the peak moves.
class TouchGauge {
 public:
  TouchGauge() {
    const PROCESS_MEMORY_COUNTERS counters = WorkingSet();
    ballast_.assign(counters.PeakWorkingSetSize - counters.WorkingSetSize, 1);
    before_ = WorkingSet().PeakWorkingSetSize;
  }
  std::size_t Touched() const { return WorkingSet().PeakWorkingSetSize - before_; }

 private:
  std::vector<char> ballast_;
  std::size_t before_;
};

TEST(ImageMemory, RefusedSizesTouchNone) {
  for (const Fixture& fixture : fixtures::OneOfEachFormat())
    fixtures::Decode(fixtures::FileOf(fixture.name));
  const std::vector<Bytes> files = fixtures::FilesThatClaimTooMuch();
  const Bytes large = support::MakeBmp(3000, 2000, support::Flat(0));
  const TouchGauge gauge;
  for (const Bytes& file : files) EXPECT_FALSE(fixtures::Decode(file));
  EXPECT_LT(gauge.Touched(), 4u << 20);
  // The gauge does see a picture of a size that is allowed.
  BTCImageObject image;
  ASSERT_EQ(Load(image, large), BTCodecId_Bmp);
  EXPECT_GT(gauge.Touched(), 16u << 20);
}

class ImageLeaks : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, ImageLeaks, testing::ValuesIn(fixtures::FormatsRead()),
                         [](const testing::TestParamInfo<std::string>& format) {
                           return format.param;
                         });

// Good, cut and changed files over and over, on threads that end as loaders do.
TEST_P(ImageLeaks, MemoryStaysFlatOverManyLoads) {
  const std::vector<Fixture> some = fixtures::FixturesOf(GetParam());
  std::vector<Bytes> files;
  for (std::size_t n = 0; n < some.size(); n += 1 + some.size() / 5) {
    const Bytes good = fixtures::FileOf(some[n].name);
    Bytes changed = good;
    for (std::size_t i = good.size() / 3; i < good.size(); i += 97) changed[i] ^= 0x55;
    files.insert(files.end(), {good, changed});
    for (const std::size_t part : {1, 2, 3})
      files.emplace_back(good.begin(),
                         good.begin() + static_cast<std::ptrdiff_t>(good.size() * part / 4));
  }
  const auto load_all = [&files] {
    BTCImageObject image;
    for (const Bytes& file : files) Load(image, file);
  };
  for (int turn = 0; turn < 10; ++turn) std::thread(load_all).join();
  const std::size_t before = CommittedBytes();
  for (int turn = 0; turn < 100; ++turn) std::thread(load_all).join();
  EXPECT_LT(CommittedBytes(), before + 200'000);
}

TEST(ImageMemory, ResizingFreesTheFormerPixels) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, fixtures::FileOf("large.jpg")), BTCodecId_Jpeg);
  BTCImageData& data = *image.GetObjectDataPtr();
  ASSERT_TRUE(data.Resize(900, 601, BTResizeFilter_Lanczos));
  const std::size_t before = CommittedBytes();
  for (int turn = 0; turn < 20; ++turn)
    ASSERT_TRUE(data.Resize(900, 600 + turn % 2, BTResizeFilter_Lanczos));
  EXPECT_LT(CommittedBytes(), before + (1u << 20));
}

// --- Resize

TEST(ImageResize, ChangesTheSizeInPlace) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, fixtures::FileOf("png-rgb.png")), BTCodecId_Png);
  BTCImageData& data = *image.GetObjectDataPtr();
  EXPECT_TRUE(data.Resize(100, 20, BTResizeFilter_Lanczos));
  EXPECT_EQ(data.GetWidth(), 100);
  EXPECT_EQ(data.GetHeight(), 20);
  EXPECT_TRUE(data.Resize(1, 1, BTResizeFilter_Triangle));
  EXPECT_TRUE(data.Resize(9, 9, BTResizeFilter_Nearest));
  EXPECT_EQ(image.GetObjectDataPtr(), &data);
}

TEST(ImageResize, TheFiltersDiffer) {
  std::map<int, Bytes> pixels;
  for (const BTResizeFilter filter :
       {BTResizeFilter_Nearest, BTResizeFilter_Triangle, BTResizeFilter_Lanczos}) {
    BTCImageObject image;
    ASSERT_EQ(Load(image, fixtures::FileOf("png-rgb.png")), BTCodecId_Png);
    ASSERT_TRUE(image.GetObjectDataPtr()->Resize(90, 50, filter));
    pixels[filter] = BitsOf(*image.GetObjectDataPtr());
  }
  EXPECT_NE(pixels[0], pixels[1]);
  EXPECT_NE(pixels[1], pixels[2]);
  EXPECT_NE(pixels[0], pixels[2]);
}

TEST(ImageResize, WhatCannotBeDoneLeavesThePictureAsItWas) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  BTCImageData& data = *image.GetObjectDataPtr();
  const Bytes before = BitsOf(data);
  EXPECT_FALSE(data.Resize(0, 5, BTResizeFilter_Lanczos));
  EXPECT_FALSE(data.Resize(5, -1, BTResizeFilter_Lanczos));
  EXPECT_FALSE(data.Resize(32768, 1, BTResizeFilter_Lanczos));
  EXPECT_FALSE(data.Resize(10001, 10000, BTResizeFilter_Lanczos));
  EXPECT_FALSE(data.Resize(INT32_MAX, INT32_MAX, BTResizeFilter_Lanczos));
  EXPECT_FALSE(data.Resize(5, 5, static_cast<BTResizeFilter>(3)));
  EXPECT_EQ(data.GetWidth(), 7);
  EXPECT_EQ(data.GetHeight(), 5);
  EXPECT_EQ(BitsOf(data), before);
}

// --- Save

Decoded WithoutName(BTCImageData& data) {
  return {BTCodecId_Bmp, data.GetWidth(), data.GetHeight(), BitsOf(data)};
}

class ImageSave : public testing::Test {
 protected:
  std::string Path() const { return folder_.File("picture.bmp"); }
  // Everything that lies in the folder.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA(folder_.File("*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
      if (entry.cFileName[0] != '.') names.push_back(entry.cFileName);
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    return names;
  }

  support::TempFolder folder_;
};

TEST_F(ImageSave, WhatIsSavedLoadsAgain) {
  for (const int width : {1, 2, 3, 4, 5, 61}) {
    BTCImageObject image;
    ASSERT_EQ(Load(image, fixtures::FileOf("png-rgb.png")), BTCodecId_Png);
    ASSERT_TRUE(image.GetObjectDataPtr()->Resize(width, 37, BTResizeFilter_Lanczos));
    ASSERT_EQ(image.Save(Path().c_str(), BTCodecId_Bmp, nullptr), 0);
    const std::optional<Decoded> again = fixtures::Decode(support::ReadWholeFile(Path()));
    ASSERT_TRUE(again);
    EXPECT_TRUE(LooksLike(*again, WithoutName(*image.GetObjectDataPtr()), 0)) << width;
  }
  EXPECT_EQ(Names(), std::vector<std::string>{"picture.bmp"});
}

TEST_F(ImageSave, TheSystemReadsTheFile) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  ASSERT_EQ(image.Save(Path().c_str(), BTCodecId_Bmp, nullptr), 0);
  const auto bitmap = static_cast<HBITMAP>(LoadImageA(nullptr, Path().c_str(), IMAGE_BITMAP, 0, 0,
                                                      LR_LOADFROMFILE | LR_CREATEDIBSECTION));
  ASSERT_NE(bitmap, nullptr);
  DIBSECTION section{};
  EXPECT_NE(GetObjectA(bitmap, sizeof section, &section), 0);
  EXPECT_EQ(section.dsBm.bmWidth, 7);
  EXPECT_EQ(section.dsBm.bmHeight, 5);
  EXPECT_EQ(section.dsBm.bmBitsPixel, 24);
  DeleteObject(bitmap);
}

// The very bytes that another writer of 24-bit files makes.
TEST_F(ImageSave, WritesAPlainFileOf24Bits) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  ASSERT_EQ(image.Save(Path().c_str(), BTCodecId_Bmp, nullptr), 0);
  const Bytes saved = support::ReadWholeFile(Path());
  ASSERT_EQ(saved.size(), kSmallBmp.size());
  EXPECT_TRUE(std::equal(saved.begin(), saved.begin() + 34, kSmallBmp.begin()));
  EXPECT_TRUE(std::equal(saved.begin() + 54, saved.end(), kSmallBmp.begin() + 54));
}

TEST_F(ImageSave, ReplacesAnOlderFile) {
  support::WriteWholeFile(Path(), support::PatternBytes(100000));
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  EXPECT_EQ(image.Save(Path().c_str(), BTCodecId_Bmp, nullptr), 0);
  EXPECT_EQ(support::ReadWholeFile(Path()).size(), kSmallBmp.size());
}

TEST_F(ImageSave, AFileThatCannotBeReplacedStaysWhole) {
  const Bytes old = support::PatternBytes(5000);
  support::WriteWholeFile(Path(), old);
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  const HANDLE held = CreateFileA(Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(image.Save(Path().c_str(), BTCodecId_Bmp, nullptr), -1);
  CloseHandle(held);
  EXPECT_EQ(support::ReadWholeFile(Path()), old);
  EXPECT_EQ(Names(), std::vector<std::string>{"picture.bmp"});
}

TEST_F(ImageSave, FailsWhereNoFileCanBe) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  EXPECT_EQ(image.Save(folder_.File("missing\\picture.bmp").c_str(), BTCodecId_Bmp, nullptr), -1);
  EXPECT_EQ(image.Save("", BTCodecId_Bmp, nullptr), -1);
  EXPECT_EQ(image.Save(nullptr, BTCodecId_Bmp, nullptr), -1);
  EXPECT_TRUE(Names().empty());
}

TEST_F(ImageSave, AnEmptyObjectWritesNothing) {
  const BTCImageObject image;
  EXPECT_EQ(image.Save(Path().c_str(), BTCodecId_Bmp, nullptr), -1);
  EXPECT_TRUE(Names().empty());
}

TEST_F(ImageSave, WritesNoOtherFormat) {
  BTCImageObject image;
  ASSERT_EQ(Load(image, kSmallBmp), BTCodecId_Bmp);
  for (const int codec : {-1, 1, 2, 3, 4, 5, 6, 100})
    EXPECT_EQ(image.Save(Path().c_str(), codec, nullptr), -1) << codec;
  EXPECT_TRUE(Names().empty());
}

// --- Codec ids

TEST(CodecId, ComesFromTheExtension) {
  const std::map<const char*, int> ids = {
      {"bmp", BTCodecId_Bmp},    {".bmp", BTCodecId_Bmp},  {"BMP", BTCodecId_Bmp},
      {".Bmp", BTCodecId_Bmp},   {"dib", BTCodecId_Bmp},   {"jpg", BTCodecId_Jpeg},
      {".JPEG", BTCodecId_Jpeg}, {"jpe", BTCodecId_Jpeg},  {"jfif", BTCodecId_Jpeg},
      {"png", BTCodecId_Png},    {"gif", BTCodecId_Gif},   {"webp", BTCodecId_Webp},
      {"tif", BTCodecId_Tiff},   {".tiff", BTCodecId_Tiff}};
  for (const auto& [extension, id] : ids)
    EXPECT_EQ(BTCImageObject::GetCodecIdFromExtension(extension), id) << extension;
}

TEST(CodecId, UnknownExtensionsHaveNone) {
  for (const char* extension : {"", ".", "bm", "bmpx", "..bmp", "x.bmp", " bmp", "txt"})
    EXPECT_EQ(BTCImageObject::GetCodecIdFromExtension(extension), -1) << extension;
  EXPECT_EQ(BTCImageObject::GetCodecIdFromExtension(nullptr), -1);
}

}  // namespace
