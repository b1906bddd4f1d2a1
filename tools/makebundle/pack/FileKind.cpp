#include "makebundle/pack/FileKind.h"

namespace {

bool IsRiff(Bytes start, std::string_view form) {
  return StartsWith(start, "RIFF") && StartsWith(Behind(start, 8), form);
}

// Eleven set bits, then version, layer, and a bit rate that exists.
bool IsMpegAudioFrame(Bytes start) {
  if (start.size() < 3 || start[0] != 0xFF || (start[1] & 0xE0) != 0xE0) return false;
  const bool versionExists = (start[1] & 0x18) != 0x08;
  const bool layerExists = (start[1] & 0x06) != 0;
  const bool rateExists = (start[2] & 0xF0) != 0xF0 && (start[2] & 0x0C) != 0x0C;
  return versionExists && layerExists && rateExists;
}

// "BM" alone opens many a text; the size of the second header settles it.
bool IsBmp(Bytes start) {
  if (!StartsWith(start, "BM")) return false;
  const std::uint32_t headerSize = NumberAt(start, 14, 2, ByteOrder::kLittleEndian).value_or(0);
  return headerSize >= 12 && headerSize <= 124;
}

}  // namespace

PictureKind PictureKindOf(Bytes start) {
  if (StartsWith(start, "\xFF\xD8\xFF")) return PictureKind::kJpeg;
  if (StartsWith(start, "\x89PNG\r\n\x1A\n")) return PictureKind::kPng;
  if (StartsWith(start, "GIF87a") || StartsWith(start, "GIF89a")) return PictureKind::kGif;
  if (IsBmp(start)) return PictureKind::kBmp;
  if (IsRiff(start, "WEBP")) return PictureKind::kWebp;
  if (StartsWith(start, {"II\x2A\0", 4}) || StartsWith(start, {"MM\0\x2A", 4}))
    return PictureKind::kTiff;
  return PictureKind::kNone;
}

bool IsMusic(Bytes start) {
  return StartsWith(start, "ID3") || StartsWith(start, "OggS") || IsRiff(start, "WAVE") ||
         IsMpegAudioFrame(start);
}
