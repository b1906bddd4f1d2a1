// The code under test is the portable decoders.

#include "Fixtures.h"

#include "imaging/codecs.h"
#include "imaging/picture_format.h"

namespace fixtures {

namespace {

using imaging::PictureFormat;

// As BTCodecId has it; -1 if the decoder refuses the file.
int DecodeAny(imaging::Bytes file, imaging::Picture& picture) {
  switch (imaging::DetectFormat(file)) {
    case PictureFormat::kBmp:
      return imaging::DecodeBmp(file, picture) ? CodecOf("bmp") : -1;
    case PictureFormat::kJpeg:
      return imaging::DecodeJpeg(file, picture) ? CodecOf("jpeg") : -1;
    case PictureFormat::kPng:
      return imaging::DecodePng(file, picture) ? CodecOf("png") : -1;
    case PictureFormat::kGif:
      return imaging::DecodeGif(file, picture) ? CodecOf("gif") : -1;
    case PictureFormat::kWebp:
      return imaging::DecodeWebp(file, picture) ? CodecOf("webp") : -1;
    default:
      return -1;
  }
}

}  // namespace

std::optional<Decoded> Decode(const support::Bytes& file) {
  imaging::Picture picture;
  const int codec = DecodeAny(file, picture);
  if (codec == -1) return std::nullopt;
  const std::size_t size = picture.rowBytes() * static_cast<std::size_t>(picture.height());
  return Decoded{codec, picture.width(), picture.height(), {picture.bits(), picture.bits() + size}};
}

std::vector<std::string> FormatsRead() { return {"bmp", "jpeg", "png", "gif", "webp"}; }

}  // namespace fixtures
