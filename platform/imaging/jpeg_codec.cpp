// JPEG through libjpeg-turbo, straight into the picture's rows.
//
// libjpeg reports errors by a callback that must not return; it leaves by
// longjmp to the setjmp of the step that runs. So that no destructor is jumped
// over, each of those steps is a method without local objects that have one.

#include "imaging/codecs.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

namespace imaging {

namespace {

// A progressive picture has about ten scans. A hostile one has so many, at two
// bytes each, that decoding it takes hours.
constexpr int kMaxScans = 100;

// Rows that are asked for in one call.
constexpr unsigned kRowsAtOnce = 16;

class JpegReader {
 public:
  JpegReader() = default;
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;
  ~JpegReader() { jpeg_destroy_decompress(&jpeg_); }

  // The steps, in this order; each is false on failure.
  bool ReadHeader(Bytes file);
  bool ReadPixels(const Picture& picture);

  unsigned width() const { return jpeg_.image_width; }
  unsigned height() const { return jpeg_.image_height; }

 private:
  [[noreturn]] static void OnError(j_common_ptr jpeg);
  static void OnMessage(j_common_ptr jpeg, int level);
  static void OnProgress(j_common_ptr jpeg);

  bool IsCmyk() const { return jpeg_.out_color_space == JCS_CMYK; }
  void ChooseOutput();
  void ReadRows(const Picture& picture);

  jpeg_decompress_struct jpeg_{};
  jpeg_error_mgr errors_{};
  jpeg_progress_mgr progress_{};
  std::jmp_buf escape_{};
};

void JpegReader::OnError(j_common_ptr jpeg) {
  std::longjmp(static_cast<JpegReader*>(jpeg->client_data)->escape_, 1);
}

// libjpeg takes damaged data for a warning and paints what is missing grey.
bool MeansDamage(int message) {
  switch (message) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC:
      return true;
    default:
      return false;
  }
}

void JpegReader::OnMessage(j_common_ptr jpeg, int level) {
  const bool warning = level < 0;
  if (warning && MeansDamage(jpeg->err->msg_code)) OnError(jpeg);
}

void JpegReader::OnProgress(j_common_ptr jpeg) {
  if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > kMaxScans) OnError(jpeg);
}

bool JpegReader::ReadHeader(Bytes file) {
  jpeg_.err = jpeg_std_error(&errors_);
  errors_.error_exit = OnError;
  errors_.emit_message = OnMessage;
  jpeg_.client_data = this;
  if (setjmp(escape_)) return false;
  jpeg_create_decompress(&jpeg_);
  progress_.progress_monitor = OnProgress;
  jpeg_.progress = &progress_;
  jpeg_mem_src(&jpeg_, file.data(), static_cast<unsigned long>(file.size()));
  return jpeg_read_header(&jpeg_, TRUE) == JPEG_HEADER_OK;
}

void JpegReader::ChooseOutput() {
  const bool fourInks = jpeg_.jpeg_color_space == JCS_CMYK || jpeg_.jpeg_color_space == JCS_YCCK;
  jpeg_.out_color_space = fourInks ? JCS_CMYK : JCS_EXT_BGRA;
}

std::uint8_t Multiply(unsigned a, unsigned b) {
  return static_cast<std::uint8_t>((a * b + 127) / 255);
}

// Files with four inks hold them inverted (255 is no ink), as the program that
// introduced them did and all readers have come to expect.
void CmykToBgr(std::uint8_t* pixels, unsigned count) {
  for (std::uint8_t* p = pixels; count > 0; --count, p += kBytesPerPixel) {
    const unsigned cyan = p[0], magenta = p[1], yellow = p[2], black = p[3];
    p[0] = Multiply(yellow, black);
    p[1] = Multiply(magenta, black);
    p[2] = Multiply(cyan, black);
    p[3] = 255;
  }
}

void JpegReader::ReadRows(const Picture& picture) {
  while (jpeg_.output_scanline < jpeg_.output_height) {
    const unsigned first = jpeg_.output_scanline;
    JSAMPROW rows[kRowsAtOnce];
    unsigned count = 0;
    for (; count < kRowsAtOnce && first + count < jpeg_.output_height; ++count)
      rows[count] = picture.row(static_cast<int>(first + count));
    const unsigned done = jpeg_read_scanlines(&jpeg_, rows, count);
    if (!IsCmyk()) continue;
    for (unsigned i = 0; i < done; ++i) CmykToBgr(rows[i], jpeg_.output_width);
  }
}

bool JpegReader::ReadPixels(const Picture& picture) {
  if (setjmp(escape_)) return false;
  ChooseOutput();
  jpeg_start_decompress(&jpeg_);
  ReadRows(picture);
  // Reads up to the end mark, so that a file that lacks it is found out.
  return jpeg_finish_decompress(&jpeg_) != FALSE;
}

}  // namespace

bool DecodeJpeg(Bytes file, Picture& picture) {
  JpegReader reader;
  return reader.ReadHeader(file) && picture.Create(reader.width(), reader.height()) &&
         reader.ReadPixels(picture);
}

}  // namespace imaging
