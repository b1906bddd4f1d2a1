#pragma once
// A bundle of pictures in a file, and loaders on its members.

#include "bundle/VFBundle.h"
#include "slideshow/CImgLoadThread.h"
#include "support/BundleWriter.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"
#include "support/WaitFor.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace slideshow_test {

inline SlideDims DimsOf(std::uint32_t width, std::uint32_t height, bool xOnly = false,
                        bool yOnly = false) {
  SlideDims dims;
  dims.width = width;
  dims.height = height;
  dims.focusXOnly = xOnly;
  dims.focusYOnly = yOnly;
  return dims;
}

class PictureBundle {
 public:
  PictureBundle() { writer_.Category("image"); }

  PictureBundle& Add(const std::string& name, const support::Bytes& bytes) {
    writer_.Member(name, bytes);
    return *this;
  }
  PictureBundle& AddBmp(const std::string& name, int width, int height,
                        const support::Pattern& pattern) {
    return Add(name, support::MakeBmp(width, height, pattern));
  }
  // A member that lies beyond the file's end.
  PictureBundle& AddMissing(const std::string& name) {
    writer_.MemberClaiming(name, 0x7FFFFF00, 1000);
    return *this;
  }

  // Writes the file at the first call; nothing can be added afterwards.
  VFFILECAT* Category() {
    if (!bundle_.IsOpen() && !bundle_.Open(folder_.Write("pictures.bdl", writer_.Build()).c_str()))
      throw std::runtime_error("test set-up: bundle");
    return bundle_.FindCategory("image");
  }
  VFFILE* File(const std::string& name) { return Category()->FindFile(name.c_str()); }

 private:
  support::TempFolder folder_;
  support::BundleWriter writer_;
  VFBUNDLE bundle_;
};

// A tiled loader on a member, not yet begun.
inline std::unique_ptr<CImgLoadThread> MakeLoader(PictureBundle& bundle, const std::string& name,
                                                  const SlideDims& dims) {
  auto loader = std::make_unique<CImgLoadThread>();
  loader->Setup(bundle.Category(), bundle.File(name), dims);
  loader->SetMaxTextureSize(256);
  loader->SetTiled(true);
  loader->SetCramSize(32767);
  return loader;
}

inline bool EndsDecodedOrFailed(const CImgLoadThread& loader) {
  return support::WaitFor([&] { return loader.IsDecoded() || loader.GetError() != 0; });
}

// Watches the end of a loader whose thread is held at its start: `letRun` is called
// as soon as this thread waits for anything, so that the thread does all of its work
// while somebody waits for it, or not at all.
class LoaderEnd {
 public:
  LoaderEnd(const CImgLoadThread& loader, std::function<void()> letRun)
      : loader_(loader), letRun_(std::move(letRun)) {}

  // How far the loader was when this thread closed the first handle.
  std::int32_t StateAtFirstClose() const { return stateAtFirstClose_; }

 private:
  bool IsOfThisThread() const { return GetCurrentThreadId() == thread_; }

  const CImgLoadThread& loader_;
  const std::function<void()> letRun_;
  const DWORD thread_ = GetCurrentThreadId();
  std::int32_t stateAtFirstClose_ = -1;
  const support::AnyHook wait_ =
      ANY_HOOK("kernel32.dll", WaitForSingleObject, [this](HANDLE object, DWORD ms) -> DWORD {
        if (IsOfThisThread()) letRun_();
        return REAL_IMPORT("kernel32.dll", WaitForSingleObject)(object, ms);
      });
  const support::AnyHook close_ =
      ANY_HOOK("kernel32.dll", CloseHandle, [this](HANDLE handle) -> BOOL {
        if (IsOfThisThread() && stateAtFirstClose_ < 0) stateAtFirstClose_ = loader_.GetState();
        return REAL_IMPORT("kernel32.dll", CloseHandle)(handle);
      });
};

}  // namespace slideshow_test
