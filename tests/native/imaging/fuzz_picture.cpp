// Any bytes at all as a picture of whichever format they look like. Several
// targets are made of this, each with the pictures of one format for seeds.

#include "ReadEveryPixel.h"

#include "imaging/codecs.h"

#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<std::uint8_t> file(data, data + size);
  imaging::Picture picture;
  const imaging::PictureFormat format = imaging::DecodePicture(file, picture);
  if (format == imaging::PictureFormat::kUnknown) return 0;
  Require(format == imaging::DetectFormat(file));
  ReadEveryPixel(picture);
  return 0;
}
