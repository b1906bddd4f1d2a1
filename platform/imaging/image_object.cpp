#include "imaging/bmp_file.h"
#include "imaging/codecs.h"
#include "imaging/image_data.h"
#include "imaging/picture_format.h"

#include <new>
#include <string>
#include <utility>

using imaging::Bytes;
using imaging::Picture;
using imaging::PictureFormat;

static_assert(BTCImageObject::kMaxSide == imaging::kMaxSide &&
              BTCImageObject::kMaxPixels == imaging::kMaxPixels);

namespace {

// How one format is decoded; without a decoder for what is none of them.
struct Codec {
  BTCodecId id;
  bool (*decode)(Bytes file, Picture& picture);
};

Codec CodecOf(PictureFormat format) {
  switch (format) {
    case PictureFormat::kBmp:
      return {BTCodecId_Bmp, imaging::DecodeBmp};
    case PictureFormat::kJpeg:
      return {BTCodecId_Jpeg, imaging::DecodeJpeg};
    case PictureFormat::kPng:
      return {BTCodecId_Png, imaging::DecodePng};
    case PictureFormat::kGif:
      return {BTCodecId_Gif, imaging::DecodeGif};
    case PictureFormat::kWebp:
      return {BTCodecId_Webp, imaging::DecodeWebp};
    case PictureFormat::kTiff:
      return {BTCodecId_Tiff, imaging::DecodeTiff};
    case PictureFormat::kUnknown:
      break;
  }
  return {BTCodecId_None, nullptr};
}

// The codec's id, or -1.
int Decode(Bytes file, Picture& picture) {
  const Codec codec = CodecOf(imaging::DetectFormat(file));
  return codec.decode && codec.decode(file, picture) ? codec.id : BTCodecId_None;
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
    const int id = Decode(Bytes(static_cast<const std::uint8_t*>(data), size), picture);
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
