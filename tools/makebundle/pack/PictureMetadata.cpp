// Finds the metadata blocks in the four kinds of file that carry them.

#include "makebundle/pack/PictureMetadata.h"

#include "makebundle/pack/Exif.h"
#include "makebundle/pack/FileKind.h"
#include "makebundle/pack/Iptc.h"
#include "makebundle/pack/Text.h"

#include <vector>

namespace {

constexpr std::string_view kExifMark{"Exif\0\0", 6};
constexpr std::string_view kPhotoshopMark{"Photoshop 3.0\0", 14};

struct Blocks {
  Bytes exif;                            // in TIFF's form
  std::vector<unsigned char> photoshop;  // a JPEG file may spread it over segments
};

bool HasNoLength(unsigned char marker) {
  return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
}
bool EndsHeader(unsigned char marker) { return marker == 0xD9 || marker == 0xDA; }

void TakeSegment(unsigned char marker, Bytes content, Blocks& blocks) {
  if (marker == 0xE1 && StartsWith(content, kExifMark) && blocks.exif.empty())
    blocks.exif = Behind(content, kExifMark.size());
  if (marker == 0xED && StartsWith(content, kPhotoshopMark)) {
    const Bytes part = Behind(content, kPhotoshopMark.size());
    blocks.photoshop.insert(blocks.photoshop.end(), part.begin(), part.end());
  }
}

Blocks JpegBlocks(Bytes file) {
  Blocks blocks;
  std::uint64_t at = 2;  // behind the mark of the start
  while (const std::optional<Bytes> mark = Piece(file, at, 2)) {
    if ((*mark)[0] != 0xFF || EndsHeader((*mark)[1])) break;
    const unsigned char marker = (*mark)[1];
    if (marker == 0xFF) {  // fill byte
      ++at;
      continue;
    }
    at += 2;
    if (HasNoLength(marker)) continue;
    const std::uint32_t length = NumberAt(file, at, 2, ByteOrder::kBigEndian).value_or(0);
    if (length < 2) break;
    if (const std::optional<Bytes> content = Piece(file, at + 2, length - 2))
      TakeSegment(marker, *content, blocks);
    at += length;
  }
  return blocks;
}

// The first chunk of that name; each is length, name, bytes, checksum.
Bytes FindPngChunk(Bytes file, std::string_view name) {
  std::uint64_t at = 8;
  while (const std::optional<std::uint32_t> length = NumberAt(file, at, 4, ByteOrder::kBigEndian)) {
    if (StartsWith(Behind(file, at + 4), name))
      return Piece(file, at + 8, *length).value_or(Bytes{});
    at += std::uint64_t{*length} + 12;
  }
  return {};
}

// The first chunk of that name; each is name, length, bytes padded to even.
Bytes FindRiffChunk(Bytes file, std::string_view name) {
  std::uint64_t at = 12;
  while (const std::optional<std::uint32_t> length =
             NumberAt(file, at + 4, 4, ByteOrder::kLittleEndian)) {
    if (StartsWith(Behind(file, at), name)) return Piece(file, at + 8, *length).value_or(Bytes{});
    at += 8 + std::uint64_t{*length} + (*length & 1);
  }
  return {};
}

// Some programs write the mark of the JPEG segment in WebP files, too.
Bytes WithoutExifMark(Bytes exif) {
  return StartsWith(exif, kExifMark) ? Behind(exif, kExifMark.size()) : exif;
}

Blocks FindBlocks(Bytes file) {
  switch (PictureFormatOf(file)) {
    case PictureFormat::kJpeg: return JpegBlocks(file);
    case PictureFormat::kPng: return {FindPngChunk(file, "eXIf"), {}};
    case PictureFormat::kWebp: return {WithoutExifMark(FindRiffChunk(file, "EXIF")), {}};
    case PictureFormat::kTiff: return {file, {}};
    default: return {};
  }
}

// The first text that isn't blank. A NUL ends a text.
std::string FirstWithText(std::initializer_list<std::string> candidates) {
  for (const std::string& candidate : candidates) {
    std::string text = candidate.substr(0, candidate.find('\0'));
    if (text.find_first_not_of(" \t\r\n") != std::string::npos) return text;
  }
  return {};
}

}  // namespace

PictureMetadata ReadPictureMetadata(Bytes file) {
  const Blocks blocks = FindBlocks(file);
  const ExifTags exif = ReadExif(blocks.exif);
  const Bytes photoshop = blocks.photoshop.empty() ? exif.photoshop : Bytes(blocks.photoshop);
  const Bytes iptc = exif.iptc.empty() ? FindIptcInPhotoshop(photoshop) : exif.iptc;
  return {exif.orientation,
          FirstWithText({ReadIptcCaption(iptc), exif.description, exif.userComment}),
          exif.dateTaken};
}
