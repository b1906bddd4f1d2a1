#pragma once
// What the bundle says of a picture beside its bytes: one record in the
// category `dims` and one in `caps`, each linked to the picture by the name
// inside the record. docs/bundle-format.md has the layout of both.

#include <cstddef>
#include <cstdint>
#include <string>

struct SlideDims {
  std::uint32_t width = 0;   // of the picture, px
  std::uint32_t height = 0;
  std::string name;          // of the picture's member in `image`
  bool focusXOnly = false;   // the point of focus may move along x only
  bool focusYOnly = false;   // the point of focus may move along y only
};

struct SlideCaption {
  std::uint16_t value0 = 0;  // kept with the record; nothing reads the three
  std::uint16_t value1 = 0;
  std::uint16_t value2 = 0;
  std::string name;          // of the picture's member in `image`
  std::string text;          // ANSI code page; may hold line breaks
};

// Decodes one member of `dims` or `caps`, `size` bytes at `bytes` (null counts
// as empty). What a short member doesn't hold keeps its default, and a text
// without its terminator ends with the member.
SlideDims DecodeSlideDims(const unsigned char* bytes, std::size_t size);
SlideCaption DecodeSlideCaption(const unsigned char* bytes, std::size_t size);
