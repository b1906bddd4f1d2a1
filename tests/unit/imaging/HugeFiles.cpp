#include "HugeFiles.h"

#include "Fixtures.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace fixtures {

using support::AppendU16;
using support::AppendU32;
using support::Bytes;

namespace {

void AppendBig32(Bytes& to, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8)
    to.push_back(static_cast<unsigned char>(value >> shift));
}

Bytes HugeBmp(int width, int height, int bits, int compression) {
  Bytes file = support::BytesOf("BM");
  for (const int field :
       {100, 0, 58, 40, width, height, 1 | (bits << 16), compression, 0, 0, 0, 1, 0})
    AppendU32(file, static_cast<std::uint32_t>(field));
  AppendU32(file, 0);           // the palette
  AppendU32(file, 0x01000000);  // and the end of the bitmap
  return file;
}

// The start of a good file, with another size written over its own.
Bytes WithBigEndianSize(Bytes file, std::size_t place, int bytes_a_number, unsigned first,
                        unsigned second) {
  for (const unsigned number : {first, second})
    for (int shift = 8 * (bytes_a_number - 1); shift >= 0; shift -= 8)
      file.at(place++) = static_cast<unsigned char>(number >> shift);
  return file;
}

std::uint32_t Crc32(const unsigned char* data, std::size_t size) {
  std::uint32_t crc = ~0u;
  for (; size > 0; --size) {
    crc ^= *data++;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? 0xedb88320u : 0);
  }
  return ~crc;
}

Bytes HugePng(unsigned width, unsigned height) {
  Bytes file = WithBigEndianSize(FileOf("png-rgb.png"), 16, 4, width, height);
  Bytes crc;
  AppendBig32(crc, Crc32(&file[12], 17));
  std::copy(crc.begin(), crc.end(), file.begin() + 29);
  return file;
}

Bytes HugeJpeg(const char* name, unsigned width, unsigned height) {
  Bytes file = FileOf(name);
  const unsigned char frames[] = {0xc0, 0xc2};
  for (const unsigned char frame : frames) {
    const unsigned char mark[] = {0xff, frame, 0x00, 0x11, 0x08};
    const auto at = std::search(file.begin(), file.end(), mark, mark + 5);
    if (at != file.end())
      return WithBigEndianSize(file, static_cast<std::size_t>(at - file.begin()) + 5, 2, height,
                               width);
  }
  throw std::runtime_error(std::string("no frame header in ") + name);
}

Bytes HugeGif(unsigned width, unsigned height) {
  Bytes file = FileOf("gif-plain.gif");
  Bytes size;
  AppendU16(size, static_cast<std::uint16_t>(width));
  AppendU16(size, static_cast<std::uint16_t>(height));
  std::ranges::copy(size, file.begin() + 6);
  return file;
}

// The format itself ends at 16383 and the area at the limit: 14 bits each.
Bytes HugeWebp() {
  Bytes file = FileOf("webp-lossy.webp");
  for (std::size_t i = 26; i < 30; ++i) file[i] = i % 2 ? 0x3f : 0xff;
  return file;
}

Bytes HugeTiff(unsigned width, unsigned height) {
  Bytes file = support::BytesOf(std::string_view("II*\0\x08\0\0\0", 8));
  const unsigned tags[][3] = {{256, 4, width}, {257, 4, height}, {258, 3, 8},
                              {259, 3, 1},     {262, 3, 1},      {273, 4, 8},
                              {277, 3, 1},     {278, 4, height}, {279, 4, width * height}};
  AppendU16(file, 9);
  for (const auto& tag : tags) {
    AppendU16(file, static_cast<std::uint16_t>(tag[0]));
    AppendU16(file, static_cast<std::uint16_t>(tag[1]));
    AppendU32(file, 1);
    AppendU32(file, tag[2]);
  }
  AppendU32(file, 0);
  return file;
}

}  // namespace

std::vector<Bytes> FilesThatClaimTooMuch() {
  std::vector<Bytes> files;
  for (const auto& [width, height] :
       {std::pair{60000, 60000}, {32768, 1}, {1, 32768}, {32767, 32767}, {10001, 10000}}) {
    const auto w = static_cast<unsigned>(width), h = static_cast<unsigned>(height);
    for (const int bits : {1, 8, 24, 32}) files.push_back(HugeBmp(width, height, bits, 0));
    files.push_back(HugeBmp(width, -height, 24, 0));
    files.push_back(HugeBmp(width, height, 8, 1));
    files.push_back(HugeBmp(width, height, 4, 2));
    files.push_back(HugeJpeg("large.jpg", w, h));
    files.push_back(HugeJpeg("large-progressive.jpg", w, h));
    files.push_back(HugePng(w, h));
    if (w < 65536 && w >= 61 && h >= 37) files.push_back(HugeGif(w, h));
    if (IsFormatRead("tiff")) files.push_back(HugeTiff(w, h));
  }
  for (const int side : {0, -5, INT32_MIN, INT32_MAX}) {
    files.push_back(HugeBmp(side, 10, 24, 0));
    if (side != -5) files.push_back(HugeBmp(10, side, 24, 0));
  }
  files.push_back(HugePng(0x7fffffff, 0x7fffffff));
  files.push_back(HugeWebp());
  return files;
}

std::vector<Bytes> TheSameFilesOfAllowedSizes() {
  std::vector<Bytes> files = {HugePng(61, 37),
                              HugeJpeg("large.jpg", 900, 600),
                              HugeJpeg("large-progressive.jpg", 900, 600),
                              HugeGif(61, 37),
                              HugeGif(32767, 37),
                              HugeBmp(32767, 1, 8, 1),
                              HugeBmp(1, 32767, 4, 2)};
  if (IsFormatRead("tiff")) files.push_back(HugeTiff(5, 5));
  return files;
}

}  // namespace fixtures
