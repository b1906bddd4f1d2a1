#include "makebundle/pack/FileKind.h"

namespace {

bool IsWave(Bytes start) {
  return (StartsWith(start, "RIFF") || StartsWith(start, "RF64")) &&
         StartsWith(Behind(start, 8), "WAVE");
}

// The mark of UTF-16 text and two characters below U+0100, as a playlist may
// begin. To a decoder the mark says layer 1 with a checksum; music is lost only
// if it is plain stereo and the lower byte of its first checksum is 0.
bool IsUtf16Text(Bytes start) {
  return StartsWith(start, "\xFF\xFE") && start.size() >= 4 && start[3] == 0 &&
         (start.size() < 6 || start[5] == 0);
}

// Eleven set bits, then version, layer, and a bit rate that exists.
bool IsMpegAudioFrame(Bytes start) {
  if (start.size() < 3 || start[0] != 0xFF || (start[1] & 0xE0) != 0xE0) return false;
  const bool versionExists = (start[1] & 0x18) != 0x08;
  const bool layerExists = (start[1] & 0x06) != 0;
  const bool rateExists = (start[2] & 0xF0) != 0xF0 && (start[2] & 0x0C) != 0x0C;
  return versionExists && layerExists && rateExists && !IsUtf16Text(start);
}

// "BM" alone opens many a text; the size of the second header settles it.
bool HasBmpHeader(Bytes start) {
  const std::uint32_t headerSize = NumberAt(start, 14, 2, ByteOrder::kLittleEndian).value_or(0);
  return headerSize >= 12 && headerSize <= 124;
}

}  // namespace

PictureFormat PictureFormatOf(Bytes start) {
  const PictureFormat format = imaging::DetectFormat(start);
  const bool isText = format == PictureFormat::kBmp && !HasBmpHeader(start);
  return isText ? PictureFormat::kUnknown : format;
}

bool IsMusic(Bytes start) {
  return StartsWith(start, "ID3") || StartsWith(start, "OggS") || IsWave(start) ||
         IsMpegAudioFrame(start);
}
