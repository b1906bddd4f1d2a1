#pragma once
// A saver machine whose sessions draw with Direct3D, full screen on a screen of
// 64 by 48 px. The mode of that size is granted though the card hasn't got it:
// what is drawn lies at the top left of the real screen.

#include "app/Direct3DSession.h"
#include "base/ComRef.h"
#include "slideshow/CImgLoadThread.h"
#include "slideshow/DesktopFade.h"
#include "slideshow/FrameRate.h"
#include "support/MethodHook.h"
#include "unit/app/SaverFixture.h"
#include "unit/graphics/GraphicsTest.h"

class Direct3DMachine : public SaverMachine {
 protected:
  using SetMode = support::MethodHook<
      IDirectDraw7, std::function<HRESULT(HRESULT(STDMETHODCALLTYPE*)(IDirectDraw7*, DWORD, DWORD,
                                                                      DWORD, DWORD, DWORD),
                                          IDirectDraw7*, DWORD, DWORD, DWORD, DWORD, DWORD)>,
      HRESULT, DWORD, DWORD, DWORD, DWORD, DWORD>;

  Direct3DMachine() {
    BeginRun(settings_, false);
    ss->ImageDelay = 5.0f;
    TellScreen();
    OpeningDone = false;
    WriteBundle("ggg");
  }
  ~Direct3DMachine() override {
    ss->SetAsWallpaper = 0;
    delete gGraphicsLayer;
    DeleteDesktopCopy();
    CloseSession();
    ss = nullptr;
  }

  // What is on the screen.
  static support::Pixels Shown() {
    return graphics_test::ReadSurface(gGraphicsLayer->GetPrimary())
        .Cut(0, 0, kTestWidth, kTestHeight);
  }
  static std::uint32_t ShownColour() { return Shown().At(kTestWidth / 2, kTestHeight / 2); }

  // By turns, for the clock stands still.
  static bool WaitForLoader() {
    for (int turn = 0; turn < 30000; ++turn) {
      const CImgLoadThread* loader = gSlideshow->GetLoader();
      if (loader && (loader->IsDecoded() || loader->GetError())) return true;
      REAL_IMPORT("kernel32.dll", Sleep)(2);
    }
    return false;
  }

  // Any object of a kind shares its methods with all others.
  IDirectDraw7* AnyDDraw() { return anyDDraw_.get(); }

  bool modeRefused = false;
  std::vector<DWORD> depthsAsked;  // bits, of each mode that was asked for

 private:
  static ComRef<IDirectDraw7> MakeDDraw() {
    ComRef<IDirectDraw7> ddraw;
    DirectDrawCreateEx(nullptr, ddraw.put_void(), IID_IDirectDraw7, nullptr);
    return ddraw;
  }

  SaverSettings settings_;
  ComRef<IDirectDraw7> anyDDraw_ = MakeDDraw();
  SetMode setMode_{anyDDraw_.get(), &IDirectDraw7::SetDisplayMode,
                   [this](auto, IDirectDraw7*, DWORD, DWORD, DWORD bits, DWORD, DWORD) {
                     depthsAsked.push_back(bits);
                     return modeRefused ? DDERR_UNSUPPORTEDMODE : DD_OK;
                   }};
};
