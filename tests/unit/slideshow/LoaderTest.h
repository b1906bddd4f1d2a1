#pragma once
// A bundle of pictures in a file, and loaders on its members.

#include "bundle/VFBundle.h"
#include "slideshow/CImgLoadThread.h"
#include "support/BundleWriter.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"
#include "support/WaitFor.h"

#include <memory>
#include <stdexcept>
#include <string>

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

}  // namespace slideshow_test
