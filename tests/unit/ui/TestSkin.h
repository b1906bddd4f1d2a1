#pragma once
// A skin for tests: a program file with a bundle behind it, whose pictures are
// patterns that show every displacement. They are BMP files under the names of
// the real members, so that pixels come back as they went in.

#include "support/BundleWriter.h"
#include "support/PixelHelpers.h"

#include <map>
#include <string>

namespace support {

inline constexpr int kSkinWidth = 640;
inline constexpr int kSkinHeight = 458;

// Of the window; every pixel differs from its neighbours.
inline std::uint32_t SkinColour(int x, int y, int, int) {
  return static_cast<std::uint32_t>((x * 3 & 0xFF) << 16 | (y * 5 & 0xFF) << 8 | ((x ^ y) & 0xFF));
}
inline Pattern Marked(std::uint32_t colour) {
  return [colour](int x, int y, int, int) {
    return colour + static_cast<std::uint32_t>(x * 2) + static_cast<std::uint32_t>(y * 2 << 8);
  };
}

// The parts beside the window's picture.
inline const std::map<std::string, Pixels>& SkinParts() {
  static const std::map<std::string, Pixels> parts{
      {"VSliderBG_108_18_1.jpg", Render(18, 108, Marked(0x200000))},
      {"SliderBG_108_18_1.jpg", Render(108, 18, Marked(0x400000))},
      {"slide_knob_7_18_1.jpg", Render(7, 18, Marked(0x800000))},
      {"slide_knob_13_13_1.jpg", Render(13, 13, Marked(0xA00000))},
      {"slide_knob_18_7_1.jpg", Render(18, 7, Marked(0xC00000))},
  };
  return parts;
}

// Transparent pixels of the indicator's mask: rounded corners.
inline bool MaskIsWhite(int x, int y) {
  constexpr int kCut[] = {5, 3, 2, 1};
  const int fromEdge = y < 4 ? y : 14 - y;
  const int cut = fromEdge < 4 ? kCut[fromEdge] : 0;
  return x < cut || x >= 20 - cut;
}

// The mask as a BMP of one bit a pixel, 122 bytes.
inline Bytes MaskBmp() {
  Bytes file = BytesOf("BM");
  for (const std::uint32_t number : {122u, 0u, 62u, 40u, 20u, 15u, 0x00010001u, 0u, 60u, 0u, 0u,
                                     2u, 0u, 0x000000u, 0xFFFFFFu})
    AppendU32(file, number);
  for (int y = 14; y >= 0; --y) {
    std::uint32_t row = 0;  // the left pixel in the highest bit of the first byte
    for (int x = 0; x < 20; ++x)
      if (MaskIsWhite(x, y)) row |= 1u << (x / 8 * 8 + 7 - x % 8);
    AppendU32(file, row);
  }
  return file;
}

using SkinMembers = std::map<std::string, Bytes>;

inline SkinMembers TestSkinMembers() {
  SkinMembers members;
  members["menuskin.jpg"] = MakeBmp(kSkinWidth, kSkinHeight, SkinColour);
  members["toggle_mask_3.bmp"] = MaskBmp();
  for (const auto& [name, pixels] : SkinParts())
    members[name] = MakeBmp(pixels.width, pixels.height,
                            [&shown = pixels](int x, int y, int, int) { return shown.At(x, y); });
  return members;
}

// A "program" with these members behind it.
inline Bytes ProgramWith(const SkinMembers& members) {
  BundleWriter writer;
  writer.Category("skin");
  for (const auto& [name, bytes] : members) writer.Member(name, bytes);
  return writer.Build(BytesOf("MZ, what stands before the bundle"));
}

}  // namespace support
