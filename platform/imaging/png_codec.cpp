// PNG through libpng, straight into the picture's rows.
//
// libpng reports errors by a jump; see jpeg_codec.cpp for what follows from it.

#include "imaging/codecs.h"

#include <csetjmp>
#include <cstring>

#include <png.h>

namespace imaging {

namespace {

class PngReader {
 public:
  explicit PngReader(Bytes file);
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }

  // The steps, in this order; each is false on failure.
  bool ReadHeader();
  bool ReadPixels(const Picture& picture);

  unsigned width() const { return png_get_image_width(png_, info_); }
  unsigned height() const { return png_get_image_height(png_, info_); }

 private:
  [[noreturn]] static void OnError(png_structp png, png_const_charp message);
  static void OnWarning(png_structp png, png_const_charp message);
  static void OnRead(png_structp png, png_bytep target, size_t size);

  bool HasAlpha() const;
  void ChooseOutput();

  Bytes rest_;  // of the file
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

void PngReader::OnError(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void PngReader::OnWarning(png_structp, png_const_charp) {}

void PngReader::OnRead(png_structp png, png_bytep target, size_t size) {
  Bytes& rest = static_cast<PngReader*>(png_get_io_ptr(png))->rest_;
  if (size > rest.size()) png_error(png, "end of file");
  std::memcpy(target, rest.data(), size);
  rest = rest.subspan(size);
}

PngReader::PngReader(Bytes file) : rest_(file) {
  png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
  if (png_) info_ = png_create_info_struct(png_);
}

bool PngReader::ReadHeader() {
  if (!info_ || setjmp(png_jmpbuf(png_))) return false;
  png_set_read_fn(png_, this, OnRead);
  png_set_user_limits(png_, kMaxSide, kMaxSide);
  // Texts, profiles and the like aren't used, and may unpack to much memory.
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_read_info(png_, info_);
  return true;
}

bool PngReader::HasAlpha() const {
  return (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) ||
         png_get_valid(png_, info_, PNG_INFO_tRNS);
}

void PngReader::ChooseOutput() {
  png_set_expand(png_);
  png_set_scale_16(png_);
  png_set_gray_to_rgb(png_);
  png_set_bgr(png_);
  png_set_filler(png_, 255, PNG_FILLER_AFTER);
}

bool PngReader::ReadPixels(const Picture& picture) {
  if (setjmp(png_jmpbuf(png_))) return false;
  ChooseOutput();
  const int passes = png_set_interlace_handling(png_);
  png_read_update_info(png_, info_);
  if (png_get_rowbytes(png_, info_) != picture.rowBytes()) return false;
  for (int pass = 0; pass < passes; ++pass)
    for (int y = 0; y < picture.height(); ++y) png_read_row(png_, picture.row(y), nullptr);
  png_read_end(png_, nullptr);
  if (HasAlpha())
    CompositeOnBlack(picture.bits(), picture.rowBytes() / kBytesPerPixel *
                                         static_cast<std::size_t>(picture.height()));
  return true;
}

}  // namespace

bool DecodePng(Bytes file, Picture& picture) {
  PngReader reader(file);
  return reader.ReadHeader() && picture.Create(reader.width(), reader.height()) &&
         reader.ReadPixels(picture);
}

}  // namespace imaging
