#include "imaging/picture_format.h"

#include <cstring>
#include <string_view>

namespace imaging {

namespace {

using namespace std::string_view_literals;

bool HasAt(Bytes file, std::size_t offset, std::string_view mark) {
  return file.size() >= offset + mark.size() &&
         !std::memcmp(file.data() + offset, mark.data(), mark.size());
}

}  // namespace

PictureFormat DetectFormat(Bytes file) {
  if (HasAt(file, 0, "\xff\xd8\xff"sv)) return PictureFormat::kJpeg;
  if (HasAt(file, 0, "\x89PNG\r\n\x1a\n"sv)) return PictureFormat::kPng;
  if (HasAt(file, 0, "GIF87a"sv) || HasAt(file, 0, "GIF89a"sv)) return PictureFormat::kGif;
  if (HasAt(file, 0, "RIFF"sv) && HasAt(file, 8, "WEBP"sv)) return PictureFormat::kWebp;
  if (HasAt(file, 0, "II*\0"sv) || HasAt(file, 0, "MM\0*"sv)) return PictureFormat::kTiff;
  if (HasAt(file, 0, "BM"sv)) return PictureFormat::kBmp;
  return PictureFormat::kUnknown;
}

}  // namespace imaging
