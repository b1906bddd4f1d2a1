#include "graphics/cTexture.h"

#include "base/StdFile.h"
#include "graphics/LockedSurface.h"
#include "graphics/MipMaps.h"
#include "graphics/cGameError.h"
#include "graphics/cGraphicsLayer.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <utility>

std::vector<DDPIXELFORMAT> TextureFormats;
bool MipMapsSupported = false;

namespace {

constexpr std::size_t kRoomForFormats = 100;
constexpr std::uint32_t kDdsMagic = 0x20534444;  // "DDS "
constexpr DWORD kMipCaps = DDSCAPS_MIPMAP | DDSCAPS_COMPLEX;

void Require(HRESULT result, const char* errorText) {
  if (FAILED(result)) throw cGameError(errorText);
}

HRESULT CALLBACK TakeFormat(DDPIXELFORMAT* format, void*) {
  TextureFormats.push_back(*format);
  return D3DENUMRET_OK;
}

void FindTextureFormats() {
  if (!TextureFormats.empty()) return;
  TextureFormats.reserve(kRoomForFormats);
  IDirect3DDevice7* device = gGraphicsLayer ? gGraphicsLayer->GetDevice() : nullptr;
  if (!device || FAILED(device->EnumTextureFormats(TakeFormat, nullptr)))
    throw cGameError("Couldn't enumerate texture formats");
  const DWORD filters = gGraphicsLayer->GetDeviceDesc().dpcTriCaps.dwTextureFilterCaps;
  MipMapsSupported = (filters & (D3DPTFILTERCAPS_MIPNEAREST | D3DPTFILTERCAPS_MIPLINEAR)) != 0;
}

DDPIXELFORMAT Argb8888() {
  DDPIXELFORMAT format{};
  format.dwSize = sizeof format;
  format.dwFlags = DDPF_RGB | DDPF_ALPHAPIXELS;
  format.dwRGBBitCount = 32;
  format.dwRBitMask = 0xFF0000;
  format.dwGBitMask = 0xFF00;
  format.dwBBitMask = 0xFF;
  format.dwRGBAlphaBitMask = 0xFF000000;
  return format;
}

DDPIXELFORMAT Rgb565() {
  DDPIXELFORMAT format{};
  format.dwSize = sizeof format;
  format.dwFlags = DDPF_RGB;
  format.dwRGBBitCount = 16;
  format.dwRBitMask = 0xF800;
  format.dwGBitMask = 0x7E0;
  format.dwBBitMask = 0x1F;
  return format;
}

void WithoutMipMaps(DDSURFACEDESC2& description) {
  description.dwFlags &= ~static_cast<DWORD>(DDSD_MIPMAPCOUNT);
  description.ddsCaps.dwCaps &= ~kMipCaps;
  description.dwMipMapCount = 0;
}

// The next smaller level of a chain; empty at its end.
ComRef<IDirectDrawSurface7> NextLevel(IDirectDrawSurface7* level) {
  DDSCAPS2 caps{};
  caps.dwCaps = DDSCAPS_TEXTURE | DDSCAPS_MIPMAP;
  ComRef<IDirectDrawSurface7> next;
  if (FAILED(level->GetAttachedSurface(&caps, next.put()))) return {};
  return next;
}

void ReadExactly(std::FILE* file, void* to, std::size_t size) {
  if (std::fread(to, 1, size, file) != size) throw cGameError("Bad DDS file\n");
}

long BytesLeft(std::FILE* file) {
  const long here = std::ftell(file);
  std::fseek(file, 0, SEEK_END);
  const long end = std::ftell(file);
  std::fseek(file, here, SEEK_SET);
  return end - here;
}

std::size_t RowBytes(const DDSURFACEDESC2& level) {
  return static_cast<std::size_t>(std::uint64_t{level.dwWidth} *
                                  level.ddpfPixelFormat.dwRGBBitCount / 8);
}

// A damaged size must not become a huge surface: the file has to hold the first
// level, and there can't be more levels than halvings.
bool IsPlausible(const DDSURFACEDESC2& description, long bytesLeft) {
  constexpr DWORD kMaxSide = 0x7FFF;
  const DWORD width = description.dwWidth;
  const DWORD height = description.dwHeight;
  if (width < 1 || width > kMaxSide || height < 1 || height > kMaxSide) return false;
  if (description.dwMipMapCount > static_cast<DWORD>(std::bit_width(std::max(width, height))))
    return false;
  return std::uint64_t{RowBytes(description)} * height <= static_cast<std::uint64_t>(bytesLeft);
}

// Of what the file says only the picture's form counts; where its surface
// lives and what it is attached to is for us to say.
DDSURFACEDESC2 ReadDescription(std::FILE* file) {
  DDSURFACEDESC2 description = EmptyDescription();
  ReadExactly(file, &description, sizeof description);
  if (description.ddpfPixelFormat.dwFourCC != 0)
    throw cGameError("Compressed DDS textures are not supported");
  description.dwFlags &=
      DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT | DDSD_MIPMAPCOUNT;
  description.lpSurface = nullptr;
  description.ddsCaps.dwCaps &= DDSCAPS_TEXTURE | kMipCaps;
  description.ddsCaps.dwCaps |= DDSCAPS_SYSTEMMEMORY;
  description.ddsCaps.dwCaps2 = description.ddsCaps.dwCaps3 = description.ddsCaps.dwCaps4 = 0;
  const bool hasChain = (description.dwFlags & DDSD_MIPMAPCOUNT) != 0;
  if (!MipMapsSupported || !hasChain) WithoutMipMaps(description);
  if (!IsPlausible(description, BytesLeft(file))) throw cGameError("Bad DDS file\n");
  return description;
}

void ReadRows(std::FILE* file, const DDSURFACEDESC2& level) {
  const std::size_t rowBytes = RowBytes(level);
  if (level.lPitch < 0 || rowBytes > static_cast<std::size_t>(level.lPitch))
    throw cGameError("Bad DDS file\n");
  auto* row = static_cast<unsigned char*>(level.lpSurface);
  for (DWORD y = 0; y < level.dwHeight; ++y, row += level.lPitch) ReadExactly(file, row, rowBytes);
}

void ReadLevel(std::FILE* file, IDirectDrawSurface7* surface) {
  const LockedSurface level(surface);
  if (!level) throw cGameError("Couldn't lock surface");
  const DDSURFACEDESC2& description = level.Description();
  if (description.dwFlags & DDSD_LINEARSIZE)
    ReadExactly(file, description.lpSurface, description.dwLinearSize);
  else
    ReadRows(file, description);
}

}  // namespace

cTexture::cTexture() { FindTextureFormats(); }

cTexture::cTexture(const char* fileName, std::int32_t stageNumber) : cTexture() {
  const ComRef<IDirectDrawSurface7> source = ReadDDS(stageNumber, fileName);
  Upload(source.get());
}

cTexture::~cTexture() { Release(); }

void cTexture::Release() { SafeRelease(surface); }

bool cTexture::HasFormat(std::uint32_t bits) {
  for (const DDPIXELFORMAT& format : TextureFormats)
    if ((format.dwFlags & DDPF_RGB) && format.dwRGBBitCount == bits) return true;
  return false;
}

bool cTexture::HasAlphaFormat() {
  for (const DDPIXELFORMAT& format : TextureFormats)
    if (format.dwFlags & DDPF_ALPHAPIXELS) return true;
  return false;
}

// --- Creation ---

void cTexture::Create(std::int32_t width, std::int32_t height, std::int32_t bits,
                      std::int32_t newStage, std::int32_t mipLevels) {
  if (bits == 32)
    Create32(width, height, newStage, mipLevels);
  else
    Create16(width, height, newStage, mipLevels);
}

void cTexture::Create32(std::int32_t width, std::int32_t height, std::int32_t newStage,
                        std::int32_t mipLevels) {
  CreateAs(width, height, Argb8888(), newStage, mipLevels);
}

void cTexture::Create16(std::int32_t width, std::int32_t height, std::int32_t newStage,
                        std::int32_t mipLevels) {
  CreateAs(width, height, Rgb565(), newStage, mipLevels);
}

void cTexture::CreateAs(std::int32_t width, std::int32_t height, const DDPIXELFORMAT& format,
                        std::int32_t newStage, std::int32_t mipLevels) {
  Release();
  stage = newStage;
  FindTextureFormats();
  DDSURFACEDESC2 description = EmptyDescription();
  description.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT | DDSD_MIPMAPCOUNT;
  description.dwWidth = static_cast<DWORD>(width);
  description.dwHeight = static_cast<DWORD>(height);
  description.dwMipMapCount = LimitMipLevels(description.dwWidth, description.dwHeight, mipLevels);
  description.ddpfPixelFormat = format;
  if (stage == kOffscreen) {
    WithoutMipMaps(description);
    description.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN;
  } else {
    description.ddsCaps.dwCaps = DDSCAPS_TEXTURE | DDSCAPS_3DDEVICE | kMipCaps;
    description.ddsCaps.dwCaps2 = DDSCAPS2_D3DTEXTUREMANAGE;
  }
  if (!MipMapsSupported) WithoutMipMaps(description);
  desc = description;
  Require(gGraphicsLayer->GetDDraw()->CreateSurface(&description, &surface, nullptr),
          "Couldn't create surface");
  desc.ddpfPixelFormat = FindFormat(desc.ddpfPixelFormat);
}

DDPIXELFORMAT FindFormat(const DDPIXELFORMAT& format) {
  const auto sameBits = [](DWORD a, DWORD b) {
    return std::popcount(std::uint32_t{a}) == std::popcount(std::uint32_t{b});
  };
  for (const DDPIXELFORMAT& known : TextureFormats) {
    if (known.dwFourCC == 0 && sameBits(known.dwRBitMask, format.dwRBitMask) &&
        sameBits(known.dwGBitMask, format.dwGBitMask) &&
        sameBits(known.dwBBitMask, format.dwBBitMask) &&
        sameBits(known.dwRGBAlphaBitMask, format.dwRGBAlphaBitMask))
      return known;
  }
  return format;
}

// --- Mip chain ---

void cTexture::GenerateMipMaps() {
  if (!surface || !MipMapsSupported) return;
  surface->AddRef();
  ComRef<IDirectDrawSurface7> level(surface);
  while (ComRef<IDirectDrawSurface7> next = NextLevel(level.get())) {
    ShrinkLevel(level.get(), next.get());
    level = std::move(next);
  }
}

void ShrinkLevel(IDirectDrawSurface7* source, IDirectDrawSurface7* target) {
  const LockedSurface from(source);
  const LockedSurface to(target);
  if (!from || !to) return;
  const DDPIXELFORMAT& format = from.Description().ddpfPixelFormat;
  if (format.dwRGBBitCount == 32)
    Shrink32(from.Pixels(), to.Pixels());
  else if (format.dwRGBBitCount == 16)
    Shrink16(from.Pixels(), to.Pixels(),
             {format.dwRBitMask, format.dwGBitMask, format.dwBBitMask});
}

// --- DDS files ---

ComRef<IDirectDrawSurface7> cTexture::ReadDDS(std::int32_t newStage, const char* fileName) {
  name = fileName;
  stage = newStage;
  const StdFile file(std::fopen(fileName, "rb"));
  if (!file) throw cGameError("Couldn't find DDS file");
  std::uint32_t magic = 0;
  ReadExactly(file.get(), &magic, sizeof magic);
  if (magic != kDdsMagic) throw cGameError("Bad DDS file\n");
  desc = ReadDescription(file.get());
  DDSURFACEDESC2 description = desc;
  ComRef<IDirectDrawSurface7> first;
  Require(gGraphicsLayer->GetDDraw()->CreateSurface(&description, first.put(), nullptr),
          "Couldn't create surface");
  ReadLevel(file.get(), first.get());
  if (!MipMapsSupported) return first;
  for (auto level = NextLevel(first.get()); level; level = NextLevel(level.get()))
    ReadLevel(file.get(), level.get());
  return first;
}

void cTexture::Upload(IDirectDrawSurface7* source) {
  Release();
  // The device chooses where the texture lies and moves it as it likes.
  desc.ddsCaps.dwCaps &= ~static_cast<DWORD>(DDSCAPS_SYSTEMMEMORY);
  desc.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
  desc.ddsCaps.dwCaps2 = DDSCAPS2_TEXTUREMANAGE;
  DDSURFACEDESC2 description = desc;
  Require(gGraphicsLayer->GetDDraw()->CreateSurface(&description, &surface, nullptr),
          "Couldn't create texture surface");
  if (gGraphicsLayer->IsHardware())
    Require(gGraphicsLayer->GetDevice()->Load(surface, nullptr, source, nullptr, 0),
            "Texture Load failed\n");
  else
    BlitLevels(source);
}

void cTexture::BlitLevels(IDirectDrawSurface7* source) {
  surface->AddRef();
  source->AddRef();
  ComRef<IDirectDrawSurface7> to(surface);
  ComRef<IDirectDrawSurface7> from(source);
  for (DWORD level = 0;; ++level) {
    Require(to->Blt(nullptr, from.get(), nullptr, DDBLT_WAIT, nullptr), "Texture blit failed");
    if (level + 1 >= desc.dwMipMapCount) return;
    to = NextLevel(to.get());
    from = NextLevel(from.get());
    if (!to || !from) throw cGameError("Couldn't get attached surface");
  }
}
