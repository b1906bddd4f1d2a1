// The last picture stays behind as wallpaper: always a BMP file, whatever the
// picture was, since every Windows shows one.

#include "imaging/BTNexgenIPL.h"
#include "slideshow/FittedSize.h"
#include "slideshow/Slideshow.h"

// The list's cursor runs one slide ahead of the screen, so the picture that is
// showing is in the node before it; at the head, in the last node.
VFFILE* Slideshow::ShowingFile() {
  if (!playlist.cursor) return nullptr;
  const auto* node = playlist.cursor->prev ? playlist.cursor->prev : playlist.tail;
  if (!node || !node->data) return nullptr;
  return node->data->file;
}

void Slideshow::SaveAsWallpaper(const char* path, std::int32_t width, std::int32_t height,
                                bool stretch) {
  const VFFILE* file = ShowingFile();
  if (!file || !file->data) return;
  BTCImageObject image;
  image.Load(file->data, file->size, nullptr);
  PixelSize size{width, height};
  if (!stretch) {
    const SlideDims stored = GetDimsFor(file);
    size = FitWhole(stored.width, stored.height, width, height);
  }
  image.GetObjectDataPtr()->Resize(size.width, size.height, BTResizeFilter_Lanczos);
  image.Save(path, BTCImageObject::GetCodecIdFromExtension("bmp"), nullptr);
  // The system takes the path without changing it.
  SystemParametersInfoA(SPI_SETDESKWALLPAPER, 0, const_cast<char*>(path),
                        SPIF_UPDATEINIFILE | SPIF_SENDCHANGE);
}
