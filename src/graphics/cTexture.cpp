#include "graphics/cTexture.h"

#include "graphics/DdsFile.h"
#include "graphics/LockedSurface.h"
#include "graphics/MipMaps.h"
#include "graphics/cGameError.h"
#include "graphics/cGraphicsLayer.h"

#include <bit>
#include <cstring>
#include <utility>

std::vector<DDPIXELFORMAT> TextureFormats;
bool MipMapsSupported = false;

namespace {

constexpr std::size_t kRoomForFormats = 100;
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

// Of what the file says only the picture's form counts; where its surface
// lives and what it is attached to is for us to say.
DDSURFACEDESC2 DescriptionOf(const DdsFile& file) {
  const DdsHeader& header = file.Header();
  DDSURFACEDESC2 description = EmptyDescription();
  description.dwSize = header.size;
  description.dwFlags = header.flags & (DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT |
                                        DDSD_MIPMAPCOUNT);
  description.dwWidth = header.width;
  description.dwHeight = header.height;
  description.dwMipMapCount = header.mipLevels;
  static_assert(sizeof description.ddpfPixelFormat == sizeof header.format);
  std::memcpy(&description.ddpfPixelFormat, &header.format, sizeof header.format);
  description.ddsCaps.dwCaps = header.caps[0] & (DDSCAPS_TEXTURE | kMipCaps);
  description.ddsCaps.dwCaps |= DDSCAPS_SYSTEMMEMORY;
  if (!file.HasChain()) WithoutMipMaps(description);
  return description;
}

void ReadLevel(DdsFile& file, IDirectDrawSurface7* surface) {
  const LockedSurface level(surface);
  if (!level) throw cGameError("Couldn't lock surface");
  const DDSURFACEDESC2& description = level.Description();
  if (description.dwFlags & DDSD_LINEARSIZE)
    file.ReadWhole(description.lpSurface, description.dwLinearSize);
  else
    file.ReadRows({static_cast<unsigned char*>(description.lpSurface), description.dwWidth,
                   description.dwHeight, description.ddpfPixelFormat.dwRGBBitCount,
                   description.lPitch});
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

// --- Contents ---

void cTexture::FillBlack() {
  if (!surface) return;
  DDBLTFX black{};
  black.dwSize = sizeof black;
  surface->Blt(nullptr, nullptr, nullptr, DDBLT_COLORFILL | DDBLT_WAIT, &black);
  GenerateMipMaps();
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
  DdsFile file(fileName, MipMapsSupported);
  desc = DescriptionOf(file);
  DDSURFACEDESC2 description = desc;
  ComRef<IDirectDrawSurface7> first;
  Require(gGraphicsLayer->GetDDraw()->CreateSurface(&description, first.put(), nullptr),
          "Couldn't create surface");
  ReadLevel(file, first.get());
  if (!MipMapsSupported) return first;
  for (auto level = NextLevel(first.get()); level; level = NextLevel(level.get()))
    ReadLevel(file, level.get());
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
