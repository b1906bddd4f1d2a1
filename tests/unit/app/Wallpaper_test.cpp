#include "app/Wallpaper.h"

#include "support/TestLog.h"
#include "unit/app/DesktopKeySandbox.h"
#include "unit/app/SaverFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class WallpaperHandOver : public SaverMachine {
 protected:
  void SetUp() override {
    ss = &settings_;
    DesktopMode = {40, 30, 32};
    WallpaperPath = temp.File("wall.bmp");
    show.SetRandomOrder(false);
  }
  void TearDown() override { ss = nullptr; }

  void OpenShow() {
    WriteBundle("gg");
    ASSERT_TRUE(show.LoadBundle(BundlePath.c_str()));
    show.GetPlaylist().First();
    PlaylistElement* first = show.GetPlaylist().Current();
    first->category->ReadFile(first->file);
    show.GetPlaylist().Next();
  }
  bool FileExists() const {
    return GetFileAttributesA(WallpaperPath.c_str()) != INVALID_FILE_ATTRIBUTES;
  }
  void ExpectStyle(const char* style) {
    for (const auto& [name, value] :
         {std::pair<const char*, const char*>{"TileWallpaper", "0"}, {"WallpaperStyle", style}}) {
      const auto stored = desktopKey.Get(name);
      ASSERT_TRUE(stored) << name;
      EXPECT_EQ(stored->type, static_cast<DWORD>(REG_SZ)) << name;
      EXPECT_EQ(desktopKey.Text(name), value) << name;
    }
  }

  DesktopKeySandbox desktopKey;
  Slideshow show;

 private:
  SaverSettings settings_;
};

TEST_F(WallpaperHandOver, CentresAPictureThatIsNotStretched) {
  const support::TestLog log;
  OpenShow();
  HandOverWallpaper(show);
  ExpectStyle("0");
  EXPECT_TRUE(FileExists());
  EXPECT_THAT(log.Texts(), ElementsAre("Saving images as wallpaper"));
}

TEST_F(WallpaperHandOver, StretchesIfTheSettingIsOn) {
  OpenShow();
  ss->StretchWallpaper = 7;
  DesktopMode = {50, 10, 32};
  HandOverWallpaper(show);
  ExpectStyle("2");
  const auto bitmap = static_cast<HBITMAP>(LoadImageA(nullptr, WallpaperPath.c_str(), IMAGE_BITMAP,
                                                      0, 0, LR_LOADFROMFILE | LR_CREATEDIBSECTION));
  const support::Pixels saved = support::ReadBitmap(bitmap);
  DeleteObject(bitmap);
  EXPECT_EQ(saved.width, 50);
  EXPECT_EQ(saved.height, 10);
}

TEST_F(WallpaperHandOver, TheSizeIsTheDesktopsAndNotTheSessions) {
  OpenShow();
  RequestedMode = {8, 6, 16};
  ScreenWidth = 8;
  ScreenHeight = 6;
  HandOverWallpaper(show);
  const auto bitmap = static_cast<HBITMAP>(LoadImageA(nullptr, WallpaperPath.c_str(), IMAGE_BITMAP,
                                                      0, 0, LR_LOADFROMFILE | LR_CREATEDIBSECTION));
  EXPECT_EQ(support::ReadBitmap(bitmap).width, 40);
  DeleteObject(bitmap);
}

TEST_F(WallpaperHandOver, TheStyleIsWrittenEvenIfThereIsNoPicture) {
  HandOverWallpaper(show);
  ExpectStyle("0");
  EXPECT_FALSE(FileExists());
  EXPECT_THAT(systemParameters, testing::IsEmpty());
}

TEST_F(WallpaperHandOver, TheStyleIsWrittenBeforeTheFile) {
  OpenShow();
  std::vector<std::string> written;
  HOOK_IMPORT(write, "advapi32.dll", RegSetValueExA,
              [&](HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                  DWORD size) -> LSTATUS {
                EXPECT_FALSE(FileExists()) << name;
                written.push_back(name);
                return REAL_IMPORT("advapi32.dll", RegSetValueExA)(key, name, reserved, type, data,
                                                                   size);
              });
  HandOverWallpaper(show);
  EXPECT_THAT(written, ElementsAre("TileWallpaper", "WallpaperStyle"));
  EXPECT_TRUE(FileExists());
}

}  // namespace
