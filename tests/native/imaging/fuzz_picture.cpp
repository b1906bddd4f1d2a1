// Any bytes at all as a picture of whichever format they look like.

#include "ReadEveryPixel.h"

#include "imaging/codecs.h"
#include "imaging/picture_format.h"

#include <vector>

namespace {

bool Decode(imaging::Bytes file, imaging::Picture& picture) {
  using imaging::PictureFormat;
  switch (imaging::DetectFormat(file)) {
    case PictureFormat::kJpeg:
      return imaging::DecodeJpeg(file, picture);
    case PictureFormat::kPng:
      return imaging::DecodePng(file, picture);
    case PictureFormat::kGif:
      return imaging::DecodeGif(file, picture);
    case PictureFormat::kWebp:
      return imaging::DecodeWebp(file, picture);
    default:  // BMP has a target of its own
      return false;
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> file(data, data + size);
  imaging::Picture picture;
  if (Decode(file, picture)) ReadEveryPixel(picture);
  return 0;
}
