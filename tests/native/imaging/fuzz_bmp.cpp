// Any bytes at all as a BMP file.

#include "ReadEveryPixel.h"

#include "imaging/codecs.h"

#include <vector>

namespace {

// Sides beyond this only cost time: a file of a few bytes may rightly claim a
// hundred million pixels in runs.
bool IsTooLargeToBother(const std::vector<std::uint8_t>& file) {
  const auto byte = [&](std::size_t at) { return at < file.size() ? file[at] : 0u; };
  const bool core = byte(14) == 12;
  for (const std::size_t at :
       core ? std::vector<std::size_t>{19, 21} : std::vector<std::size_t>{19, 23})
    if (byte(at) >= 8 && byte(at) < 0xf8) return true;
  return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<std::uint8_t> file(data, data + size);
  imaging::Picture picture;
  if (!IsTooLargeToBother(file) && imaging::DecodeBmp(file, picture)) ReadEveryPixel(picture);
  return 0;
}
