// Any bytes at all as a picture file's metadata, and what is found as a caption.

#include "../fuzz.h"

#include "makebundle/pack/Exif.h"
#include "makebundle/pack/Iptc.h"
#include "makebundle/pack/PictureMetadata.h"
#include "makebundle/pack/Text.h"

#include <vector>

namespace {

bool IsOrientation(int orientation) { return orientation >= 1 && orientation <= 8; }

void CheckCaption(const std::string& text) {
  const std::string clean = CleanCaption(text);
  Require(CleanCaption(clean) == clean);
  Require(clean.find('\0') == std::string::npos);
  Require(!IsUtf8(text) || IsUtf8(clean));
  Require(SingleAmpersands(DoubleAmpersands(clean)) == clean);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<unsigned char> bytes(data, data + size);
  const PictureMetadata metadata = ReadPictureMetadata(bytes);
  Require(IsOrientation(metadata.orientation));
  Require(metadata.description.find('\0') == std::string::npos);
  CheckCaption(metadata.description);
  const ExifTags tags = ReadExif(bytes);
  Require(IsOrientation(tags.orientation));
  Require(IsUtf8(tags.userComment) || tags.userComment.size() <= size);
  Require(ReadIptcCaption(bytes).size() <= size);
  Require(FindIptcInPhotoshop(bytes).size() <= size);
  CheckCaption(std::string(AsText(bytes)));
  return 0;
}
