#pragma once
// A show on a real device in a window of 320 by 240 px, with time in the test's
// hand: Update gets what the test says, and the clock stands still otherwise.

#include "slideshow/CImgLoadThread.h"
#include "slideshow/Slideshow.h"
#include "support/BundleWriter.h"
#include "support/FakeClock.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"
#include "unit/graphics/GraphicsTest.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace slideshow_test {

inline constexpr std::int32_t kDelayMs = 10000;
inline constexpr float kTop = 0.75f;

inline support::TestSlide FlatSlide(const std::string& name, std::uint32_t colour, int width = 256,
                                    int height = 256) {
  support::TestSlide slide;
  slide.name = name;
  slide.picture = support::MakeBmp(width, height, support::Flat(colour));
  slide.width = 400;
  slide.height = 300;
  slide.caption = name;
  return slide;
}

inline support::TestSlide BadSlide(const std::string& name) {
  support::TestSlide slide = FlatSlide(name, 0);
  slide.picture = support::BytesOf("this is no picture");
  return slide;
}

class ShowTest : public graphics_test::GraphicsTest {
 protected:
  ShowTest() {
    WindowedForShow();
    show = std::make_unique<Slideshow>();
    show->SetRandomOrder(false);
    show->SetShowCaptions(false);
    show->SetImageDelay(kDelayMs);
    show->SetEdges(kTop, -kTop);
    show->SetZoomRate(0.00024f);
  }
  ~ShowTest() override {
    StartHeldLoaders();
    show.reset();
  }

  void Load(const std::vector<support::TestSlide>& slides) {
    const std::string path = folder.Write("images.bdl", support::MakeSlideBundle(slides));
    ASSERT_TRUE(show->LoadBundle(path.c_str()));
  }

  // Loader threads don't start until StartHeldLoaders.
  void HoldLoaders() { holding_ = true; }
  void StartHeldLoaders() {
    holding_ = false;
    for (const HANDLE thread : held_) REAL_IMPORT("kernel32.dll", ResumeThread)(thread);
    held_.clear();
  }
  // By turns and not by time, for the clock stands still.
  bool WaitForLoader() {
    for (int turn = 0; turn < 30000; ++turn) {
      const CImgLoadThread* loader = show->GetLoader();
      if (loader && (loader->IsDecoded() || loader->GetError())) return true;
      Sleep(2);
    }
    return false;
  }
  // Up to the first slide, and the loader after it ready.
  void ShowFirstSlide() {
    show->Update(0);
    ASSERT_TRUE(WaitForLoader());
    show->Update(0);
    ASSERT_NE(show->GetCurrent(), nullptr);
    ASSERT_TRUE(WaitForLoader());
  }
  // Up to a slide in full light whose time begins.
  void FinishOpening() {
    ShowFirstSlide();
    show->Update(2000);
    ASSERT_FALSE(show->IsOpening());
  }
  // To the first frame of the transition. The frame itself is short: the slide
  // that comes moves in it, too.
  void StartTransition() {
    ASSERT_TRUE(WaitForLoader());
    show->Update(kDelayMs - show->GetDisplayClock() - 1);
    ASSERT_FALSE(show->IsInTransition());
    show->Update(1);
    ASSERT_TRUE(show->IsInTransition());
  }
  // Through a whole transition, with the loader after it ready.
  void ChangeSlide() {
    StartTransition();
    show->Update(2000);
    show->Update(2000);
    ASSERT_FALSE(show->IsInTransition());
    ASSERT_TRUE(WaitForLoader());
  }

  support::Pixels Drawn() {
    gGraphicsLayer->Clear(true, false, 0, 1.0f);
    show->Draw();
    return graphics_test::ReadSurface(gGraphicsLayer->GetBackBuffer());
  }
  std::uint32_t DrawnColour() {
    return Drawn().At(graphics_test::kWindowWidth / 2, graphics_test::kWindowHeight / 2);
  }

  std::string NameUnderCursor() { return show->GetPlaylist().Current()->file->name; }

  support::FakeClock clock;
  support::TempFolder folder;
  std::unique_ptr<Slideshow> show;

 private:
  static DWORD WINAPI Resume(HANDLE thread) {
    if (!holding_) return REAL_IMPORT("kernel32.dll", ResumeThread)(thread);
    held_.push_back(thread);
    return 1;
  }

  inline static bool holding_ = false;
  inline static std::vector<HANDLE> held_;
  support::ImportHook resume_{"kernel32.dll", "ResumeThread", &Resume};
};

}  // namespace slideshow_test
