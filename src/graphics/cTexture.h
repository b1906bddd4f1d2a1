#pragma once
// A DirectDraw surface together with how it was made. The show's pictures and
// captions are textures: created empty, filled through a device context or a
// Blt, and given their mip chain. Needs the graphics layer; main thread only.
//
// All failures throw cGameError.

#include "base/ComRef.h"
#include "graphics/DirectX7.h"

#include <cstdint>
#include <string>
#include <vector>

// What the device offers, asked for by the first texture and kept until the
// process ends.
extern std::vector<DDPIXELFORMAT> TextureFormats;
extern bool MipMapsSupported;  // the device can filter between mip levels

class cTexture {
 public:
  // Instead of a stage number: a plain off-screen surface, no texture.
  static constexpr std::int32_t kOffscreen = -1;

  // An empty texture.
  cTexture();
  // The uncompressed DDS file `fileName`, ready to draw.
  cTexture(const char* fileName, std::int32_t stage);
  virtual ~cTexture();
  cTexture(const cTexture&) = delete;
  cTexture& operator=(const cTexture&) = delete;

  // Makes the surface, `width` by `height` px, with up to `mipLevels` levels
  // (fewer where the size or the device has no room for them). 32 bits are
  // ARGB 8888; any other number gives RGB 565. An earlier surface goes.
  void Create(std::int32_t width, std::int32_t height, std::int32_t bits, std::int32_t stage,
              std::int32_t mipLevels);
  void Create32(std::int32_t width, std::int32_t height, std::int32_t stage,
                std::int32_t mipLevels);
  void Create16(std::int32_t width, std::int32_t height, std::int32_t stage,
                std::int32_t mipLevels);
  void Release();

  // Makes all levels black and, where there is alpha, transparent: what a new
  // surface holds is undefined.
  void FillBlack();

  // Fills the levels below the first, each from the one above it. A device
  // context of the surface must have been released before.
  void GenerateMipMaps();

  // Replaces the surface by a texture that the device manages, with the
  // description kept here, and copies all levels of `source` into it.
  void Upload(IDirectDrawSurface7* source);

  // Borrowed; null until created.
  IDirectDrawSurface7* GetSurface() const { return surface; }
  const DDSURFACEDESC2& GetDesc() const { return desc; }

  // Whether the device has any plain RGB texture format of that depth, and any
  // with alpha. Known once the first texture was made.
  static bool HasFormat(std::uint32_t bits);
  static bool HasAlphaFormat();

 private:
  void CreateAs(std::int32_t width, std::int32_t height, const DDPIXELFORMAT& format,
                std::int32_t newStage, std::int32_t mipLevels);
  ComRef<IDirectDrawSurface7> ReadDDS(std::int32_t newStage, const char* fileName);
  void BlitLevels(IDirectDrawSurface7* source);

  IDirectDrawSurface7* surface = nullptr;
  DDSURFACEDESC2 desc{};
  std::string name;        // of the DDS file
  std::int32_t stage = 0;  // as asked for at creation
};

// The first of the device's formats whose channels have as many bits each as
// those of `format`; `format` itself if there is none.
DDPIXELFORMAT FindFormat(const DDPIXELFORMAT& format);

// Fills `target` with `source` at half its size. Depths other than 16 and 32
// bits change nothing.
void ShrinkLevel(IDirectDrawSurface7* source, IDirectDrawSurface7* target);
