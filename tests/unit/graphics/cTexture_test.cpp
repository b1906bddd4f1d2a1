#include "graphics/cTexture.h"

#include "graphics/LockedSurface.h"
#include "unit/graphics/GraphicsTest.h"
#include "support/Bytes.h"
#include "support/MethodHook.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

namespace {

using graphics_test::DescriptionOf;
using graphics_test::ErrorOf;
using graphics_test::MipLevel;
using graphics_test::PaintSurface;
using graphics_test::ReadSurface;
using support::Bytes;
using support::Pixels;
using support::PixelsNear;

// A device enumeration whose devices can't filter between mip levels.
class NoMipFilters {
 public:
  explicit NoMipFilters(IDirect3D7* d3d) : hook_(d3d, &IDirect3D7::EnumDevices, Enumerate{}) {}

 private:
  struct Caller {
    LPD3DENUMDEVICESCALLBACK7 callback;
    void* context;
  };
  static HRESULT CALLBACK Strip(char* text, char* name, D3DDEVICEDESC7* description,
                                void* context) {
    D3DDEVICEDESC7 stripped = *description;
    stripped.dpcTriCaps.dwTextureFilterCaps &= ~static_cast<DWORD>(
        D3DPTFILTERCAPS_MIPNEAREST | D3DPTFILTERCAPS_MIPLINEAR | D3DPTFILTERCAPS_LINEARMIPNEAREST |
        D3DPTFILTERCAPS_LINEARMIPLINEAR);
    const auto& caller = *static_cast<Caller*>(context);
    return caller.callback(text, name, &stripped, caller.context);
  }
  struct Enumerate {
    template <class Real>
    HRESULT operator()(Real real, IDirect3D7* self, LPD3DENUMDEVICESCALLBACK7 callback,
                       void* context) const {
      Caller caller{callback, context};
      return real(self, Strip, &caller);
    }
  };
  support::MethodHook<IDirect3D7, Enumerate, HRESULT, LPD3DENUMDEVICESCALLBACK7, void*> hook_;
};

// Every session has a process of its own; here each test plays one.
class Texture : public graphics_test::GraphicsTest {
 protected:
  Texture() { ForgetFormats(); }
  ~Texture() override { ForgetFormats(); }

  static void ForgetFormats() {
    TextureFormats.clear();
    MipMapsSupported = false;
  }
  static bool HasLevel(const cTexture& texture, int steps) {
    return static_cast<bool>(MipLevel(texture.GetSurface(), steps));
  }
  static int CountLevels(const cTexture& texture) {
    int levels = 1;
    while (HasLevel(texture, levels)) ++levels;
    return levels;
  }
};

// The half-size picture by its definition: the mean of 2 by 2, rounded down.
Pixels Halved(const Pixels& source) {
  Pixels half(source.width / 2, source.height / 2);
  for (int y = 0; y < half.height; ++y) {
    for (int x = 0; x < half.width; ++x) {
      std::uint32_t colour = 0;
      for (int shift = 0; shift < 24; shift += 8) {
        std::uint32_t sum = 0;
        for (int n = 0; n < 4; ++n) sum += source.At(2 * x + n % 2, 2 * y + n / 2) >> shift & 0xFF;
        colour |= sum / 4 << shift;
      }
      half.Set(x, y, colour);
    }
  }
  return half;
}

// --- Formats ---

TEST_F(Texture, TheFirstOneAsksForTheDevicesFormats) {
  Windowed();
  EXPECT_TRUE(TextureFormats.empty());
  const cTexture first;
  EXPECT_FALSE(TextureFormats.empty());
  EXPECT_GE(TextureFormats.capacity(), 100u);
  EXPECT_TRUE(MipMapsSupported);
  const std::size_t count = TextureFormats.size();
  const cTexture second;
  EXPECT_EQ(TextureFormats.size(), count);
}

TEST_F(Texture, WithoutADeviceThereAreNoFormats) {
  EXPECT_EQ(ErrorOf([] { cTexture texture; }), "Couldn't enumerate texture formats");
}

TEST_F(Texture, AnEnumerationThatFailsThrows) {
  Windowed();
  HOOK_METHOD(none, AnyDevice(), &IDirect3DDevice7::EnumTextureFormats,
              [](auto, IDirect3DDevice7*, LPD3DENUMPIXELFORMATSCALLBACK, void*) {
                return DDERR_GENERIC;
              });
  EXPECT_EQ(ErrorOf([] { cTexture texture; }), "Couldn't enumerate texture formats");
}

TEST_F(Texture, FormatsCanBeAskedFor) {
  Windowed();
  EXPECT_FALSE(cTexture::HasFormat(32));
  EXPECT_FALSE(cTexture::HasAlphaFormat());
  const cTexture texture;
  EXPECT_TRUE(cTexture::HasFormat(32));
  EXPECT_TRUE(cTexture::HasFormat(16));
  EXPECT_FALSE(cTexture::HasFormat(17));
  EXPECT_TRUE(cTexture::HasAlphaFormat());
}

DDPIXELFORMAT RgbFormat(DWORD bits, DWORD red, DWORD green, DWORD blue, DWORD alpha = 0) {
  DDPIXELFORMAT format{};
  format.dwSize = sizeof format;
  format.dwFlags = DDPF_RGB | (alpha ? DDPF_ALPHAPIXELS : 0u);
  format.dwRGBBitCount = bits;
  format.dwRBitMask = red;
  format.dwGBitMask = green;
  format.dwBBitMask = blue;
  format.dwRGBAlphaBitMask = alpha;
  return format;
}

TEST_F(Texture, AFormatIsFoundByTheBitsOfItsChannels) {
  DDPIXELFORMAT coded = RgbFormat(16, 0xF800, 0x7E0, 0x1F);
  coded.dwFourCC = 0x31545844;
  const DDPIXELFORMAT swapped565 = RgbFormat(16, 0x1F, 0x7E0, 0xF800);
  const DDPIXELFORMAT later565 = RgbFormat(16, 0xF800, 0x7E0, 0x1F);
  TextureFormats = {coded, RgbFormat(16, 0x7C00, 0x3E0, 0x1F), swapped565, later565};
  const DDPIXELFORMAT found = FindFormat(RgbFormat(16, 0xF800, 0x7E0, 0x1F));
  EXPECT_EQ(std::memcmp(&found, &swapped565, sizeof found), 0);
}

TEST_F(Texture, AFormatThatIsNotThereStaysAsItIs) {
  TextureFormats = {RgbFormat(16, 0xF800, 0x7E0, 0x1F)};
  const DDPIXELFORMAT wanted = RgbFormat(32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000);
  const DDPIXELFORMAT found = FindFormat(wanted);
  EXPECT_EQ(std::memcmp(&found, &wanted, sizeof found), 0);
}

TEST_F(Texture, AlphaBitsCountWhenAFormatIsSought) {
  const DDPIXELFORMAT opaque = RgbFormat(32, 0xFF0000, 0xFF00, 0xFF);
  const DDPIXELFORMAT withAlpha = RgbFormat(32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000);
  TextureFormats = {opaque, withAlpha};
  const DDPIXELFORMAT found = FindFormat(withAlpha);
  EXPECT_EQ(std::memcmp(&found, &withAlpha, sizeof found), 0);
}

// --- Creation ---

TEST_F(Texture, AnEmptyOneHasNoSurface) {
  Windowed();
  cTexture texture;
  EXPECT_EQ(texture.GetSurface(), nullptr);
  texture.GenerateMipMaps();
  texture.Release();
}

TEST_F(Texture, ThirtyTwoBitsAreArgb) {
  Windowed();
  cTexture texture;
  texture.Create(256, 128, 32, 0, 4);
  const DDSURFACEDESC2 made = DescriptionOf(texture.GetSurface());
  EXPECT_EQ(made.dwWidth, 256u);
  EXPECT_EQ(made.dwHeight, 128u);
  EXPECT_EQ(made.ddpfPixelFormat.dwRGBBitCount, 32u);
  EXPECT_EQ(made.ddpfPixelFormat.dwRBitMask, 0xFF0000u);
  EXPECT_EQ(made.ddpfPixelFormat.dwRGBAlphaBitMask, 0xFF000000u);
  EXPECT_TRUE(made.ddsCaps.dwCaps & DDSCAPS_TEXTURE);
  const DDSURFACEDESC2& kept = texture.GetDesc();
  EXPECT_EQ(kept.dwSize, 124u);
  EXPECT_EQ(kept.ddsCaps.dwCaps,
            DWORD{DDSCAPS_TEXTURE | DDSCAPS_3DDEVICE | DDSCAPS_MIPMAP | DDSCAPS_COMPLEX});
  EXPECT_EQ(kept.ddsCaps.dwCaps2, DWORD{DDSCAPS2_D3DTEXTUREMANAGE});
  EXPECT_EQ(kept.dwFlags, DWORD{DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT |
                                DDSD_MIPMAPCOUNT});
  EXPECT_EQ(kept.dwMipMapCount, 4u);
}

TEST_F(Texture, AnyOtherDepthIs565) {
  Windowed();
  for (const int bits : {16, 24, 8}) {
    cTexture texture;
    texture.Create(64, 64, bits, 0, 1);
    const DDPIXELFORMAT made = DescriptionOf(texture.GetSurface()).ddpfPixelFormat;
    EXPECT_EQ(made.dwRGBBitCount, 16u);
    EXPECT_EQ(made.dwRBitMask, 0xF800u);
    EXPECT_EQ(made.dwGBitMask, 0x7E0u);
    EXPECT_EQ(made.dwBBitMask, 0x1Fu);
    EXPECT_EQ(made.dwRGBAlphaBitMask, 0u);
  }
}

TEST_F(Texture, LevelsAreAsManyAsFit) {
  Windowed();
  cTexture texture;
  texture.Create32(256, 128, 0, 4);
  EXPECT_EQ(CountLevels(texture), 4);
  texture.Create32(4, 4, 0, 4);
  EXPECT_EQ(CountLevels(texture), 3);
  texture.Create16(1, 1, 0, 4);
  EXPECT_EQ(CountLevels(texture), 1);
  texture.Create32(256, 333, 0, 0);
  EXPECT_EQ(CountLevels(texture), 1);
}

TEST_F(Texture, OffscreenMeansAPlainSurface) {
  Windowed();
  cTexture texture;
  texture.Create(896, 256, 32, cTexture::kOffscreen, 4);
  EXPECT_EQ(CountLevels(texture), 1);
  const DDSURFACEDESC2 made = DescriptionOf(texture.GetSurface());
  EXPECT_FALSE(made.ddsCaps.dwCaps & DDSCAPS_TEXTURE);
  EXPECT_EQ(texture.GetDesc().ddsCaps.dwCaps, DWORD{DDSCAPS_OFFSCREENPLAIN});
  EXPECT_EQ(texture.GetDesc().ddsCaps.dwCaps2, 0u);
  EXPECT_FALSE(texture.GetDesc().dwFlags & DDSD_MIPMAPCOUNT);
  EXPECT_EQ(texture.GetDesc().dwMipMapCount, 0u);
}

TEST_F(Texture, ASecondCreationReplacesTheSurface) {
  Windowed();
  cTexture texture;
  texture.Create32(64, 64, 0, 1);
  IDirectDrawSurface7* first = texture.GetSurface();
  first->AddRef();
  texture.Create32(128, 64, 0, 1);
  EXPECT_EQ(first->Release(), 0u);
  EXPECT_EQ(DescriptionOf(texture.GetSurface()).dwWidth, 128u);
}

TEST_F(Texture, DestructionReleasesTheSurface) {
  Windowed();
  auto texture = std::make_unique<cTexture>();
  texture->Create32(64, 64, 0, 4);
  IDirectDrawSurface7* surface = texture->GetSurface();
  surface->AddRef();
  texture.reset();
  EXPECT_EQ(surface->Release(), 0u);
}

TEST_F(Texture, ACreationThatFailsThrows) {
  Windowed();
  cTexture texture;
  HOOK_METHOD(full, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [](auto, IDirectDraw7*, DDSURFACEDESC2*, IDirectDrawSurface7**, IUnknown*) {
                return DDERR_OUTOFVIDEOMEMORY;
              });
  EXPECT_EQ(ErrorOf([&] { texture.Create32(64, 64, 0, 1); }), "Couldn't create surface");
  EXPECT_EQ(texture.GetSurface(), nullptr);
}

TEST_F(Texture, AnImpossibleSizeThrows) {
  Windowed();
  cTexture texture;
  EXPECT_EQ(ErrorOf([&] { texture.Create32(0, 64, 0, 1); }), "Couldn't create surface");
  EXPECT_EQ(ErrorOf([&] { texture.Create32(-5, 64, 0, 4); }), "Couldn't create surface");
}

TEST_F(Texture, GdiDrawsIntoIt) {
  Windowed();
  for (const int bits : {16, 32}) {
    cTexture texture;
    texture.Create(64, 32, bits, 0, 1);
    HDC dc = nullptr;
    ASSERT_EQ(texture.GetSurface()->GetDC(&dc), DD_OK);
    const HBRUSH brush = CreateSolidBrush(RGB(0xFF, 0x00, 0xFF));
    const RECT right{32, 0, 64, 32};
    PatBlt(dc, 0, 0, 64, 32, BLACKNESS);
    FillRect(dc, &right, brush);
    DeleteObject(brush);
    texture.GetSurface()->ReleaseDC(dc);
    EXPECT_TRUE(PixelsNear(ReadSurface(texture.GetSurface()),
                           support::Render(64, 32, support::Quadrants(0, 0xFF00FF, 0, 0xFF00FF))))
        << bits << " bits";
  }
}

// --- Contents ---

TEST_F(Texture, FilledWithBlackIsAllZeroInAllLevels) {
  Windowed();
  for (const int bits : {16, 32}) {
    cTexture texture;
    texture.Create(64, 32, bits, 0, 4);
    for (int steps = 0; steps < 4; ++steps)
      PaintSurface(MipLevel(texture.GetSurface(), steps).get(), support::Flat(0xFFFFFFFF));
    texture.FillBlack();
    for (int steps = 0; steps < 4; ++steps) {
      const auto level = MipLevel(texture.GetSurface(), steps);
      const LockedSurface locked(level.get());
      ASSERT_TRUE(locked);
      const auto pixels = locked.Pixels();
      const std::string row(reinterpret_cast<const char*>(pixels.bits),
                            pixels.width * static_cast<unsigned>(bits) / 8);
      EXPECT_EQ(row, std::string(row.size(), '\0')) << bits << " bits, level " << steps;
    }
  }
}

TEST_F(Texture, OneWithoutASurfaceHasNothingToFill) {
  Windowed();
  cTexture texture;
  texture.FillBlack();
  EXPECT_EQ(texture.GetSurface(), nullptr);
}

// --- Mip chain ---

TEST_F(Texture, EachLevelIsTheMeanOfTheOneAbove) {
  Windowed();
  cTexture texture;
  texture.Create32(256, 128, 0, 4);
  PaintSurface(texture.GetSurface(), support::Gradient());
  texture.GenerateMipMaps();
  Pixels expected = ReadSurface(texture.GetSurface());
  for (int steps = 1; steps < 4; ++steps) {
    expected = Halved(expected);
    EXPECT_TRUE(PixelsNear(ReadSurface(MipLevel(texture.GetSurface(), steps).get()), expected))
        << "level " << steps;
  }
}

TEST_F(Texture, ALevelOf565IsTheMeanOfTheOneAbove) {
  Windowed();
  cTexture texture;
  texture.Create16(64, 64, 0, 2);
  PaintSurface(texture.GetSurface(), support::Quadrants(0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF));
  texture.GenerateMipMaps();
  EXPECT_TRUE(PixelsNear(
      ReadSurface(MipLevel(texture.GetSurface(), 1).get()),
      support::Render(32, 32, support::Quadrants(0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF))));
  PaintSurface(texture.GetSurface(), support::Checkers(1, 0xFFFFFF, 0x000000));
  texture.GenerateMipMaps();
  // Half of 31 and of 63, rounded down, as 8-bit channels.
  EXPECT_TRUE(PixelsNear(ReadSurface(MipLevel(texture.GetSurface(), 1).get()),
                         support::Render(32, 32, support::Flat(0x7B7D7B))));
}

TEST_F(Texture, OddLevelsAreFilledToTheirEdges) {
  Windowed();
  cTexture texture;
  texture.Create32(255, 333, 0, 4);
  PaintSurface(texture.GetSurface(), support::Flat(0x336699));
  texture.GenerateMipMaps();
  const auto last = MipLevel(texture.GetSurface(), 3);
  ASSERT_TRUE(last);
  EXPECT_TRUE(
      PixelsNear(ReadSurface(last.get()), support::Render(31, 41, support::Flat(0x336699))));
}

TEST_F(Texture, ALevelOfAnotherDepthStaysAsItIs) {
  Windowed();
  DDSURFACEDESC2 description{};
  description.dwSize = sizeof description;
  description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT | DDSD_PIXELFORMAT;
  description.ddsCaps.dwCaps = DDSCAPS_TEXTURE | DDSCAPS_SYSTEMMEMORY;
  description.dwWidth = description.dwHeight = 8;
  description.ddpfPixelFormat = RgbFormat(24, 0xFF0000, 0xFF00, 0xFF);
  ComRef<IDirectDrawSurface7> source, target;
  ASSERT_EQ(AnyDDraw()->CreateSurface(&description, source.put(), nullptr), DD_OK);
  description.dwWidth = description.dwHeight = 4;
  ASSERT_EQ(AnyDDraw()->CreateSurface(&description, target.put(), nullptr), DD_OK);
  const auto firstByte = [&target](int put) {
    DDSURFACEDESC2 locked{};
    locked.dwSize = sizeof locked;
    target->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr);
    auto* byte = static_cast<unsigned char*>(locked.lpSurface);
    if (put >= 0) *byte = static_cast<unsigned char>(put);
    const int value = *byte;
    target->Unlock(nullptr);
    return value;
  };
  firstByte(0x5A);
  ShrinkLevel(source.get(), target.get());
  EXPECT_EQ(firstByte(-1), 0x5A);
}

TEST_F(Texture, ACardWithoutMipFiltersHasOneLevel) {
  const NoMipFilters card(AnyD3D());
  Windowed();
  cTexture texture;
  EXPECT_FALSE(MipMapsSupported);
  texture.Create32(256, 256, 0, 4);
  EXPECT_EQ(CountLevels(texture), 1);
  EXPECT_FALSE(texture.GetDesc().dwFlags & DDSD_MIPMAPCOUNT);
  EXPECT_FALSE(texture.GetDesc().ddsCaps.dwCaps & (DDSCAPS_MIPMAP | DDSCAPS_COMPLEX));
  EXPECT_EQ(texture.GetDesc().dwMipMapCount, 0u);
  int locks = 0;
  HOOK_METHOD(lock, AnySurface(), &IDirectDrawSurface7::Lock,
              [&](auto real, IDirectDrawSurface7* self, RECT* rect, DDSURFACEDESC2* description,
                  DWORD flags, HANDLE event) {
                ++locks;
                return real(self, rect, description, flags, event);
              });
  texture.GenerateMipMaps();
  EXPECT_EQ(locks, 0);
}

// --- DDS files ---

// An uncompressed DDS file: a level for each pattern, each half as large.
Bytes DdsFile(int width, int height, const DDPIXELFORMAT& format,
              const std::vector<std::uint32_t>& levelColours) {
  DDSURFACEDESC2 description{};
  description.dwSize = sizeof description;
  description.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT | DDSD_PITCH;
  description.dwWidth = static_cast<DWORD>(width);
  description.dwHeight = static_cast<DWORD>(height);
  description.lPitch = width * static_cast<LONG>(format.dwRGBBitCount) / 8;
  description.ddsCaps.dwCaps = DDSCAPS_TEXTURE;
  if (levelColours.size() > 1) {
    description.dwFlags |= DDSD_MIPMAPCOUNT;
    description.dwMipMapCount = static_cast<DWORD>(levelColours.size());
    description.ddsCaps.dwCaps |= DDSCAPS_MIPMAP | DDSCAPS_COMPLEX;
  }
  description.ddpfPixelFormat = format;
  Bytes file = support::BytesOf("DDS ");
  const auto* bytes = reinterpret_cast<const unsigned char*>(&description);
  file.insert(file.end(), bytes, bytes + sizeof description);
  for (const std::uint32_t colour : levelColours) {
    for (int pixel = 0; pixel < width * height; ++pixel)
      for (DWORD byte = 0; byte < format.dwRGBBitCount / 8; ++byte)
        file.push_back(static_cast<unsigned char>(colour >> 8 * byte));
    width /= 2;
    height /= 2;
  }
  return file;
}

const DDPIXELFORMAT kArgb = RgbFormat(32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000);
const DDPIXELFORMAT k565 = RgbFormat(16, 0xF800, 0x7E0, 0x1F);

class DdsTexture : public Texture {
 protected:
  std::string ErrorOfFile(const std::string& path) {
    return ErrorOf([&] { cTexture texture(path.c_str(), 0); });
  }
  std::string ErrorOfBytes(const Bytes& bytes) {
    return ErrorOfFile(folder.Write("texture.dds", bytes));
  }
  support::TempFolder folder;
};

TEST_F(DdsTexture, AllLevelsOfAFileReachTheTexture) {
  for (const std::uint32_t flags : {0u, std::uint32_t{cGraphicsLayer::kNoHardware}}) {
    ForgetFormats();
    Windowed(flags);
    const std::string path =
        folder.Write("a.dds", DdsFile(64, 32, kArgb, {0xFF112233, 0xFF445566, 0xFF778899}));
    const cTexture texture(path.c_str(), 0);
    EXPECT_TRUE(texture.GetDesc().ddsCaps.dwCaps2 & DDSCAPS2_TEXTUREMANAGE);
    const std::uint32_t colours[] = {0x112233, 0x445566, 0x778899};
    for (int level = 0; level < 3; ++level) {
      const auto surface = MipLevel(texture.GetSurface(), level);
      ASSERT_TRUE(surface) << "level " << level;
      EXPECT_TRUE(
          PixelsNear(ReadSurface(surface.get()),
                     support::Render(64 >> level, 32 >> level, support::Flat(colours[level]))))
          << "level " << level << " flags " << flags;
    }
  }
}

TEST_F(DdsTexture, AFileOf16BitsKeepsItsDepth) {
  Windowed();
  const std::string path = folder.Write("a.dds", DdsFile(32, 32, k565, {0x07E0}));
  const cTexture texture(path.c_str(), 0);
  EXPECT_EQ(DescriptionOf(texture.GetSurface()).ddpfPixelFormat.dwRGBBitCount, 16u);
  EXPECT_TRUE(PixelsNear(ReadSurface(texture.GetSurface()),
                         support::Render(32, 32, support::Flat(0x00FF00))));
}

TEST_F(DdsTexture, ACardWithoutMipFiltersTakesTheFirstLevel) {
  const NoMipFilters card(AnyD3D());
  Windowed();
  const std::string path = folder.Write("a.dds", DdsFile(32, 32, kArgb, {0xFF0000FF, 0xFFFF0000}));
  const cTexture texture(path.c_str(), 0);
  EXPECT_EQ(CountLevels(texture), 1);
  EXPECT_TRUE(PixelsNear(ReadSurface(texture.GetSurface()),
                         support::Render(32, 32, support::Flat(0x0000FF))));
}

TEST_F(DdsTexture, AMissingFileThrows) {
  Windowed();
  EXPECT_EQ(ErrorOfFile(folder.File("none.dds")), "Couldn't find DDS file");
}

TEST_F(DdsTexture, AFileOfAnotherKindThrows) {
  Windowed();
  Bytes file = DdsFile(8, 8, kArgb, {0});
  file[0] = 'X';
  EXPECT_EQ(ErrorOfBytes(file), "Bad DDS file\n");
  EXPECT_EQ(ErrorOfBytes({}), "Bad DDS file\n");
}

TEST_F(DdsTexture, ACompressedFileThrowsAndIsClosed) {
  Windowed();
  DDPIXELFORMAT dxt1{};
  dxt1.dwSize = sizeof dxt1;
  dxt1.dwFlags = DDPF_FOURCC;
  dxt1.dwFourCC = 0x31545844;
  const std::string path = folder.Write("c.dds", DdsFile(8, 8, dxt1, {0}));
  EXPECT_EQ(ErrorOfFile(path), "Compressed DDS textures are not supported");
  EXPECT_TRUE(DeleteFileA(path.c_str())) << "still open";
}

TEST_F(DdsTexture, AFileThatEndsEarlyThrows) {
  Windowed();
  const Bytes whole = DdsFile(8, 8, kArgb, {0, 0});
  for (const std::size_t length : {std::size_t{3}, std::size_t{4}, std::size_t{127},
                                   std::size_t{128}, std::size_t{128 + 8 * 8 * 4 - 1},
                                   whole.size() - 1})
    EXPECT_EQ(ErrorOfBytes(Bytes(whole.begin(), whole.begin() + static_cast<int>(length))),
              "Bad DDS file\n")
        << length << " bytes";
  EXPECT_EQ(ErrorOfBytes(whole), "nothing thrown");
}

TEST_F(DdsTexture, NamesWhatFailed) {
  Windowed();
  const Bytes file = DdsFile(8, 8, kArgb, {0, 0});
  int surfaces = 0;
  int failing = 1;
  HOOK_METHOD(surface, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                  IDirectDrawSurface7** made, IUnknown* outer) {
                return ++surfaces == failing ? DDERR_OUTOFMEMORY
                                             : real(self, description, made, outer);
              });
  EXPECT_EQ(ErrorOfBytes(file), "Couldn't create surface");
  surfaces = 0;
  failing = 2;
  EXPECT_EQ(ErrorOfBytes(file), "Couldn't create texture surface");
  failing = 0;
  {
    HOOK_METHOD(lock, AnySurface(), &IDirectDrawSurface7::Lock,
                [](auto, IDirectDrawSurface7*, RECT*, DDSURFACEDESC2*, DWORD, HANDLE) {
                  return DDERR_SURFACEBUSY;
                });
    EXPECT_EQ(ErrorOfBytes(file), "Couldn't lock surface");
  }
  {
    HOOK_METHOD(load, AnyDevice(), &IDirect3DDevice7::Load,
                [](auto, IDirect3DDevice7*, IDirectDrawSurface7*, POINT*, IDirectDrawSurface7*,
                   RECT*, DWORD) { return DDERR_GENERIC; });
    EXPECT_EQ(ErrorOfBytes(file), "Texture Load failed\n");
  }
}

TEST_F(DdsTexture, ASoftwareDeviceNamesWhatFailed) {
  Windowed(cGraphicsLayer::kNoHardware);
  const Bytes file = DdsFile(8, 8, kArgb, {0, 0});
  {
    HOOK_METHOD(blt, AnySurface(), &IDirectDrawSurface7::Blt,
                [](auto, IDirectDrawSurface7*, RECT*, IDirectDrawSurface7*, RECT*, DWORD,
                   DDBLTFX*) { return DDERR_GENERIC; });
    EXPECT_EQ(ErrorOfBytes(file), "Texture blit failed");
  }
  int walks = 0;
  HOOK_METHOD(attached, AnySurface(), &IDirectDrawSurface7::GetAttachedSurface,
              [&](auto real, IDirectDrawSurface7* self, DDSCAPS2* caps,
                  IDirectDrawSurface7** level) {
                // Reading walks twice: to the second level, and to the end.
                return ++walks == 3 ? DDERR_NOTFOUND : real(self, caps, level);
              });
  EXPECT_EQ(ErrorOfBytes(file), "Couldn't get attached surface");
}

TEST_F(DdsTexture, ALevelWithoutAPitchIsReadInOnePiece) {
  Windowed();
  const std::string path = folder.Write("a.dds", DdsFile(8, 8, kArgb, {0xFF123456}));
  std::unique_ptr<cTexture> texture;
  {
    HOOK_METHOD(lock, AnySurface(), &IDirectDrawSurface7::Lock,
                [](auto real, IDirectDrawSurface7* self, RECT* rect, DDSURFACEDESC2* description,
                   DWORD flags, HANDLE event) {
                  const HRESULT result = real(self, rect, description, flags, event);
                  description->dwFlags |= DDSD_LINEARSIZE;
                  description->dwLinearSize = 8 * 8 * 4;
                  description->dwWidth = 0;  // rows would hold nothing
                  return result;
                });
    texture = std::make_unique<cTexture>(path.c_str(), 0);
  }
  EXPECT_TRUE(PixelsNear(ReadSurface(texture->GetSurface()),
                         support::Render(8, 8, support::Flat(0x123456))));
}

TEST_F(DdsTexture, AbsurdNumbersThrow) {
  Windowed();
  const Bytes whole = DdsFile(16, 16, kArgb, {0xFF123456, 0xFF654321});
  const auto withNumber = [&whole](std::size_t field, std::uint32_t value) {
    Bytes file = whole;
    std::memcpy(&file[4 + field], &value, sizeof value);
    return file;
  };
  constexpr std::size_t height = offsetof(DDSURFACEDESC2, dwHeight);
  constexpr std::size_t width = offsetof(DDSURFACEDESC2, dwWidth);
  constexpr std::size_t levels = offsetof(DDSURFACEDESC2, dwMipMapCount);
  for (const std::uint32_t absurd : {0u, 0xFFFFu, 0x7FFFFFFFu, 0x80000001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(ErrorOfBytes(withNumber(width, absurd)), "Bad DDS file\n") << absurd;
    EXPECT_EQ(ErrorOfBytes(withNumber(height, absurd)), "Bad DDS file\n") << absurd;
  }
  // Sixteen px of these are 4 GB, which 32 bits don't hold.
  constexpr std::size_t bits = offsetof(DDSURFACEDESC2, ddpfPixelFormat.dwRGBBitCount);
  EXPECT_EQ(ErrorOfBytes(withNumber(bits, 0x80000000u)), "Bad DDS file\n");
  for (const std::uint32_t absurd : {6u, 1000u, 0x40000000u, 0xFFFFFFFFu})
    EXPECT_EQ(ErrorOfBytes(withNumber(levels, absurd)), "Bad DDS file\n") << absurd;
}

TEST_F(DdsTexture, DamagedDescriptionsOnlyThrow) {
  Windowed();
  const Bytes whole = DdsFile(16, 16, kArgb, {0xFF123456, 0xFF654321});
  std::mt19937 random(7);
  int loaded = 0;
  for (int round = 0; round < 300; ++round) {
    Bytes file = whole;
    for (int changes = 0; changes < 3; ++changes)
      file[4 + random() % 124] =
          static_cast<unsigned char>(random() % 4 ? 1u << random() % 8 : random());
    if (ErrorOfBytes(file) == "nothing thrown") ++loaded;
  }
  EXPECT_GT(loaded, 0);
  EXPECT_LT(loaded, 300);
}

}  // namespace
