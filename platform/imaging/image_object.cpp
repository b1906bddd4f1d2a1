#include "imaging/bmp_file.h"
#include "imaging/codecs.h"
#include "imaging/image_data.h"

#include <new>
#include <string>
#include <utility>

using imaging::Bytes;
using imaging::Picture;
using imaging::PictureFormat;

static_assert(BTCImageObject::kMaxSide == imaging::kMaxSide &&
              BTCImageObject::kMaxPixels == imaging::kMaxPixels);

namespace {

BTCodecId CodecIdOf(PictureFormat format) {
  switch (format) {
    case PictureFormat::kBmp:
      return BTCodecId_Bmp;
    case PictureFormat::kJpeg:
      return BTCodecId_Jpeg;
    case PictureFormat::kPng:
      return BTCodecId_Png;
    case PictureFormat::kGif:
      return BTCodecId_Gif;
    case PictureFormat::kWebp:
      return BTCodecId_Webp;
    case PictureFormat::kTiff:
      return BTCodecId_Tiff;
    case PictureFormat::kUnknown:
      break;
  }
  return BTCodecId_None;
}

struct ExtensionId {
  const char* extension;
  BTCodecId id;
};

constexpr ExtensionId kExtensions[] = {
    {"bmp", BTCodecId_Bmp},   {"dib", BTCodecId_Bmp},   {"jpg", BTCodecId_Jpeg},
    {"jpeg", BTCodecId_Jpeg}, {"jpe", BTCodecId_Jpeg},  {"jfif", BTCodecId_Jpeg},
    {"png", BTCodecId_Png},   {"gif", BTCodecId_Gif},   {"webp", BTCodecId_Webp},
    {"tif", BTCodecId_Tiff},  {"tiff", BTCodecId_Tiff},
};

}  // namespace

BTCImageObject::BTCImageObject() = default;

BTCImageObject::~BTCImageObject() = default;

int BTCImageObject::Load(const void* data, unsigned int size, const void*) {
  delete std::exchange(data_.pixels_, nullptr);
  if (!data) return BTCodecId_None;
  try {
    Picture picture;
    const Bytes file(static_cast<const std::uint8_t*>(data), size);
    const int id = CodecIdOf(imaging::DecodePicture(file, picture));
    if (id != BTCodecId_None) data_.pixels_ = new BTCImageData::Pixels{std::move(picture)};
    return id;
  } catch (const std::bad_alloc&) {
    return BTCodecId_None;
  }
}

BTCImageData* BTCImageObject::GetObjectDataPtr() { return &data_; }

int BTCImageObject::GetCodecIdFromExtension(const char* extension) {
  if (!extension) return BTCodecId_None;
  if (*extension == '.') ++extension;
  for (const ExtensionId& known : kExtensions)
    if (!lstrcmpiA(known.extension, extension)) return known.id;
  return BTCodecId_None;
}

int BTCImageObject::Save(const char* path, int codec, const void*) const {
  if (!path || codec != BTCodecId_Bmp || !data_.pixels_) return -1;
  try {
    return imaging::WriteBmpFile(path, data_.pixels_->picture) ? 0 : -1;
  } catch (const std::bad_alloc&) {
    return -1;
  }
}
