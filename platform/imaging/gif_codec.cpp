// GIF through giflib: the first frame.

#include "imaging/codecs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include <gif_lib.h>

namespace imaging {

namespace {

constexpr int kNoColour = -1;

class GifReader {
 public:
  explicit GifReader(Bytes file) : rest_(file) { gif_ = DGifOpen(this, OnRead, nullptr); }
  GifReader(const GifReader&) = delete;
  GifReader& operator=(const GifReader&) = delete;
  ~GifReader() {
    if (gif_) DGifCloseFile(gif_, nullptr);
  }

  bool Decode(Picture& picture);

 private:
  using Palette = std::array<std::uint8_t, 256 * kBytesPerPixel>;

  static int OnRead(GifFileType* gif, GifByteType* target, int size);

  bool FindFirstFrame();
  bool ReadExtension();
  bool SkipFrame();
  bool ReachesEnd();
  bool CreateScreen(Picture& picture) const;
  bool ReadPalette(Palette& palette) const;
  bool ReadFrame(const Picture& picture);

  Bytes rest_;  // of the file
  GifFileType* gif_ = nullptr;
  int transparent_ = kNoColour;
};

int GifReader::OnRead(GifFileType* gif, GifByteType* target, int size) {
  Bytes& rest = static_cast<GifReader*>(gif->UserData)->rest_;
  const std::size_t count = std::min(rest.size(), static_cast<std::size_t>(std::max(size, 0)));
  if (count > 0) std::memcpy(target, rest.data(), count);
  rest = rest.subspan(count);
  return static_cast<int>(count);
}

// Extensions may name the colour that is transparent in the frame after them.
bool GifReader::ReadExtension() {
  int code = 0;
  GifByteType* block = nullptr;
  if (DGifGetExtension(gif_, &code, &block) == GIF_ERROR) return false;
  while (block) {
    GraphicsControlBlock control{};
    if (code == GRAPHICS_EXT_FUNC_CODE &&
        DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
      transparent_ = control.TransparentColor;
    if (DGifGetExtensionNext(gif_, &block) == GIF_ERROR) return false;
  }
  return true;
}

bool GifReader::FindFirstFrame() {
  for (;;) {
    GifRecordType type = UNDEFINED_RECORD_TYPE;
    if (DGifGetRecordType(gif_, &type) == GIF_ERROR) return false;
    if (type == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(gif_) == GIF_OK;
    if (type != EXTENSION_RECORD_TYPE || !ReadExtension()) return false;
  }
}

bool GifReader::SkipFrame() {
  if (DGifGetImageDesc(gif_) == GIF_ERROR) return false;
  int codeSize = 0;
  GifByteType* block = nullptr;
  if (DGifGetCode(gif_, &codeSize, &block) == GIF_ERROR) return false;
  while (block)
    if (DGifGetCodeNext(gif_, &block) == GIF_ERROR) return false;
  return true;
}

// Frames after the first aren't shown, but a file that breaks off in one of
// them has been cut.
bool GifReader::ReachesEnd() {
  for (;;) {
    GifRecordType type = UNDEFINED_RECORD_TYPE;
    if (DGifGetRecordType(gif_, &type) == GIF_ERROR) return false;
    if (type == TERMINATE_RECORD_TYPE) return true;
    if (type == IMAGE_DESC_RECORD_TYPE ? !SkipFrame()
                                       : type != EXTENSION_RECORD_TYPE || !ReadExtension())
      return false;
  }
}

// The logical screen, black; larger where the frame reaches beyond it.
bool GifReader::CreateScreen(Picture& picture) const {
  const GifImageDesc& frame = gif_->Image;
  if (frame.Width < 1 || frame.Height < 1) return false;
  const int width = std::max(gif_->SWidth, frame.Left + frame.Width);
  const int height = std::max(gif_->SHeight, frame.Top + frame.Height);
  if (!picture.Create(width, height)) return false;
  constexpr std::uint8_t kBlack[kBytesPerPixel] = {0, 0, 0, 255};
  for (int x = 0; x < width; ++x)
    std::memcpy(picture.row(0) + x * kBytesPerPixel, kBlack, sizeof kBlack);
  for (int y = 1; y < height; ++y) std::memcpy(picture.row(y), picture.row(0), picture.rowBytes());
  return true;
}

// Colours that the file leaves out are black, as is the transparent one.
bool GifReader::ReadPalette(Palette& palette) const {
  const ColorMapObject* colours = gif_->Image.ColorMap ? gif_->Image.ColorMap : gif_->SColorMap;
  if (!colours) return false;
  for (int i = 0; i < 256; ++i) {
    std::uint8_t* entry = &palette[static_cast<std::size_t>(i) * kBytesPerPixel];
    const bool shown = i < colours->ColorCount && i != transparent_;
    const GifColorType colour = shown ? colours->Colors[i] : GifColorType{};
    entry[0] = colour.Blue;
    entry[1] = colour.Green;
    entry[2] = colour.Red;
    entry[3] = 255;
  }
  return true;
}

// Calls `readRow` with the number of each row of a frame, in file order: an
// interlaced frame holds every eighth row first, then those between them.
template <class Function>
bool ForEachRow(int height, bool interlaced, Function readRow) {
  static constexpr struct {
    int first, step;
  } kPasses[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}}, kPlain = {0, 1};
  const auto readPass = [&](auto pass) {
    for (int y = pass.first; y < height; y += pass.step)
      if (!readRow(y)) return false;
    return true;
  };
  if (!interlaced) return readPass(kPlain);
  return std::ranges::all_of(kPasses, readPass);
}

bool GifReader::ReadFrame(const Picture& picture) {
  Palette palette;
  if (!ReadPalette(palette)) return false;
  const GifImageDesc& frame = gif_->Image;
  std::vector<GifPixelType> indices(static_cast<std::size_t>(frame.Width));
  return ForEachRow(frame.Height, frame.Interlace, [&](int y) {
    if (DGifGetLine(gif_, indices.data(), frame.Width) == GIF_ERROR) return false;
    std::uint8_t* target =
        picture.row(frame.Top + y) + static_cast<std::size_t>(frame.Left) * kBytesPerPixel;
    for (const GifPixelType index : indices) {
      std::memcpy(target, &palette[static_cast<std::size_t>(index) * kBytesPerPixel],
                  kBytesPerPixel);
      target += kBytesPerPixel;
    }
    return true;
  });
}

bool GifReader::Decode(Picture& picture) {
  return gif_ && FindFirstFrame() && CreateScreen(picture) && ReadFrame(picture) && ReachesEnd();
}

}  // namespace

bool DecodeGif(Bytes file, Picture& picture) { return GifReader(file).Decode(picture); }

}  // namespace imaging
