#include "slideshow/Slideshow.h"

#include "support/BundleWriter.h"
#include "support/GdiGauge.h"
#include "support/ImportHook.h"
#include "support/PixelHelpers.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using support::Flat;
using support::MakeBmp;
using support::Pixels;
using support::PixelsNear;
using support::TestSlide;

namespace {

constexpr std::uint32_t kRed = 0xCC1122;
constexpr std::uint32_t kGreen = 0x11CC22;
constexpr std::uint32_t kBlue = 0x1122CC;

struct Announcement {
  UINT action, parameter, flags;
  std::string path;
};

class Wallpaper : public testing::Test {
 protected:
  void Open(const std::vector<TestSlide>& slides) {
    show.SetRandomOrder(false);
    ASSERT_TRUE(show.LoadBundle(temp.Write("images.bdl", MakeSlideBundle(slides)).c_str()));
  }
  // Three flat pictures, all read.
  void OpenThree() {
    Open({{"r", MakeBmp(8, 6, Flat(kRed)), 8, 6},
          {"g", MakeBmp(8, 6, Flat(kGreen)), 8, 6},
          {"b", MakeBmp(8, 6, Flat(kBlue)), 8, 6}});
    ReadAllSlides();
  }
  void ReadAllSlides() {
    for (auto* node = show.GetPlaylist().head; node; node = node->next)
      node->data->category->ReadFile(node->data->file);
  }
  void MoveCursor(int steps) {
    show.GetPlaylist().First();
    for (int n = 0; n < steps; ++n) show.GetPlaylist().Next();
  }

  // Saves, and notes what the system is told.
  void Save(int width, int height, bool stretch = false) {
    HOOK_IMPORT(hook, "user32.dll", SystemParametersInfoA,
                [&](UINT action, UINT parameter, void* file, UINT flags) -> BOOL {
                  told.push_back({action, parameter, flags, static_cast<const char*>(file)});
                  return TRUE;
                });
    show.SaveAsWallpaper(path.c_str(), width, height, stretch);
  }

  bool FileExists() const { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }
  // The file as Windows itself reads it.
  Pixels Saved() const {
    const auto bitmap = static_cast<HBITMAP>(LoadImageA(nullptr, path.c_str(), IMAGE_BITMAP, 0, 0,
                                                        LR_LOADFROMFILE | LR_CREATEDIBSECTION));
    if (!bitmap) return {};
    const Pixels pixels = support::ReadBitmap(bitmap);
    DeleteObject(bitmap);
    return pixels;
  }
  void ExpectSize(int width, int height) const {
    const Pixels saved = Saved();
    EXPECT_EQ(saved.width, width);
    EXPECT_EQ(saved.height, height);
  }
  void ExpectUntouched() const {
    EXPECT_FALSE(FileExists());
    EXPECT_TRUE(told.empty());
  }

  support::TempFolder temp;
  std::string path = temp.File("anna_velmora.bmp");
  Slideshow show;
  std::vector<Announcement> told;
};

// --- Which picture ---

TEST_F(Wallpaper, IsThePictureBeforeTheCursor) {
  OpenThree();
  MoveCursor(1);
  Save(8, 6);
  EXPECT_TRUE(PixelsNear(Saved(), Pixels(8, 6, kRed)));
  MoveCursor(2);
  Save(8, 6);
  EXPECT_TRUE(PixelsNear(Saved(), Pixels(8, 6, kGreen)));
}

TEST_F(Wallpaper, IsTheLastPictureWhileTheCursorIsAtTheHead) {
  OpenThree();
  MoveCursor(0);
  Save(8, 6);
  EXPECT_TRUE(PixelsNear(Saved(), Pixels(8, 6, kBlue)));
}

TEST_F(Wallpaper, OfOnePictureIsThatPicture) {
  Open({{"g", MakeBmp(8, 6, Flat(kGreen)), 8, 6}});
  ReadAllSlides();
  Save(8, 6);
  EXPECT_TRUE(PixelsNear(Saved(), Pixels(8, 6, kGreen)));
}

TEST_F(Wallpaper, LeavesTheCursorWhereItIs) {
  OpenThree();
  MoveCursor(1);
  const auto* before = show.GetPlaylist().cursor;
  Save(8, 6);
  EXPECT_EQ(show.GetPlaylist().cursor, before);
}

// --- No picture ---

TEST_F(Wallpaper, StaysBeforeTheFirstPictureIsRead) {
  Open({{"r", MakeBmp(8, 6, Flat(kRed)), 8, 6}, {"g", MakeBmp(8, 6, Flat(kGreen)), 8, 6}});
  Save(8, 6);
  ExpectUntouched();
}

TEST_F(Wallpaper, StaysIfOnlyAnotherPictureIsInMemory) {
  OpenThree();
  show.GetPlaylist().tail->data->file->FreeData();
  MoveCursor(0);
  Save(8, 6);
  ExpectUntouched();
}

TEST_F(Wallpaper, StaysWithoutAnyPicture) {
  Open({});
  Save(8, 6);
  ExpectUntouched();
}

TEST_F(Wallpaper, StaysWithoutABundle) {
  Save(8, 6);
  ExpectUntouched();
}

TEST_F(Wallpaper, StaysWithoutAMember) {
  OpenThree();
  VFFILE* kept = show.GetPlaylist().head->data->file;
  show.GetPlaylist().head->data->file = nullptr;
  MoveCursor(1);
  Save(8, 6);
  ExpectUntouched();
  show.GetPlaylist().head->data->file = kept;
}

TEST_F(Wallpaper, OfABrokenPictureIsNoFile) {
  Open({{"r", support::BytesOf("no picture"), 8, 6}});
  ReadAllSlides();
  Save(8, 6);
  EXPECT_FALSE(FileExists());
}

// --- Its size ---

TEST_F(Wallpaper, OfAWiderPictureHasTheScreensFullWidth) {
  Open({{"r", MakeBmp(40, 10, Flat(kRed)), 40, 10}});
  ReadAllSlides();
  Save(100, 75);
  ExpectSize(100, 25);
}

TEST_F(Wallpaper, OfANarrowerPictureHasTheScreensFullHeight) {
  Open({{"r", MakeBmp(10, 20, Flat(kRed)), 10, 20}});
  ReadAllSlides();
  Save(100, 75);
  ExpectSize(37, 75);  // 37.5
}

TEST_F(Wallpaper, OfTheScreensAspectFillsIt) {
  Open({{"r", MakeBmp(8, 6, Flat(kRed)), 8, 6}});
  ReadAllSlides();
  Save(100, 75);
  ExpectSize(100, 75);
}

TEST_F(Wallpaper, StretchedTakesTheScreensVerySize) {
  Open({{"r", MakeBmp(40, 10, Flat(kRed)), 40, 10}});
  ReadAllSlides();
  Save(100, 75, true);
  ExpectSize(100, 75);
  EXPECT_TRUE(PixelsNear(Saved(), Pixels(100, 75, kRed)));
}

TEST_F(Wallpaper, TheCatalogueSaysWhichProportionsToKeep) {
  Open({{"r", MakeBmp(8, 6, Flat(kRed)), 300, 100}});
  ReadAllSlides();
  Save(90, 90);
  ExpectSize(90, 30);
}

TEST_F(Wallpaper, IsResampledWholeAndUpright) {
  Open({{"q", MakeBmp(400, 300, support::Quadrants(kRed, kGreen, kBlue, 0xFFFFFF)), 400, 300}});
  ReadAllSlides();
  Save(100, 75);
  const Pixels saved = Saved();
  ASSERT_EQ(saved.width, 100);
  EXPECT_TRUE(PixelsNear(saved.Cut(0, 0, 44, 32), Pixels(44, 32, kRed)));
  EXPECT_TRUE(PixelsNear(saved.Cut(56, 0, 44, 32), Pixels(44, 32, kGreen)));
  EXPECT_TRUE(PixelsNear(saved.Cut(0, 43, 44, 32), Pixels(44, 32, kBlue)));
  EXPECT_TRUE(PixelsNear(saved.Cut(56, 43, 44, 32), Pixels(44, 32, 0xFFFFFF)));
}

// Checkers finer than the wallpaper's pixels come out as their mean.
TEST_F(Wallpaper, IsSmoothedWhenItShrinks) {
  Open({{"c", MakeBmp(511, 511, support::Checkers(1, 0x000000, 0xFFFFFF)), 511, 511}});
  ReadAllSlides();
  Save(256, 256);
  const Pixels saved = Saved();
  ASSERT_EQ(saved.width, 256);
  EXPECT_TRUE(PixelsNear(saved.Cut(8, 8, 240, 240), Pixels(240, 240, 0x808080), 16));
}

// --- The file and the system ---

TEST_F(Wallpaper, IsAlwaysABmpFile) {
  OpenThree();
  Save(8, 6);
  const support::Bytes file = support::ReadWholeFile(path);
  ASSERT_GE(file.size(), 2u);
  EXPECT_EQ(file[0], 'B');
  EXPECT_EQ(file[1], 'M');
}

TEST_F(Wallpaper, OverwritesTheLastRunsFile) {
  support::WriteWholeFile(path, support::PatternBytes(100000));
  OpenThree();
  MoveCursor(1);
  Save(8, 6);
  EXPECT_TRUE(PixelsNear(Saved(), Pixels(8, 6, kRed)));
  EXPECT_LT(support::ReadWholeFile(path).size(), 1000u);
}

TEST_F(Wallpaper, IsMadeKnownToTheSystemOnce) {
  OpenThree();
  Save(8, 6);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0].action, static_cast<UINT>(SPI_SETDESKWALLPAPER));
  EXPECT_EQ(told[0].parameter, 0u);
  EXPECT_EQ(told[0].path, path);
  EXPECT_EQ(told[0].flags, static_cast<UINT>(SPIF_UPDATEINIFILE | SPIF_SENDCHANGE));
}

TEST_F(Wallpaper, TheFileStandsBeforeTheSystemIsTold) {
  OpenThree();
  bool stood = false;
  HOOK_IMPORT(hook, "user32.dll", SystemParametersInfoA, [&](UINT, UINT, void*, UINT) -> BOOL {
    stood = FileExists();
    return TRUE;
  });
  show.SaveAsWallpaper(path.c_str(), 8, 6, false);
  EXPECT_TRUE(stood);
}

std::string PresentWallpaper() {
  char file[MAX_PATH + 1] = "";
  SystemParametersInfoA(SPI_GETDESKWALLPAPER, MAX_PATH, file, 0);
  return file;
}

TEST_F(Wallpaper, TheRealSystemTakesIt) {
  std::string before = PresentWallpaper();
  OpenThree();
  show.SaveAsWallpaper(path.c_str(), 8, 6, false);
  EXPECT_EQ(PresentWallpaper(), path);
  SystemParametersInfoA(SPI_SETDESKWALLPAPER, 0, before.data(), SPIF_UPDATEINIFILE);
}

TEST_F(Wallpaper, LeaksNoGdiObjects) {
  OpenThree();
  Save(8, 6);
  const support::GdiGauge gauge;
  for (int n = 0; n < 10; ++n) Save(8, 6);
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace
