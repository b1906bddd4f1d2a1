#include "imaging/codecs.h"

namespace imaging {

namespace {

using Decoder = bool (*)(Bytes file, Picture& picture);

// Null for what is none of them.
Decoder DecoderOf(PictureFormat format) {
  switch (format) {
    case PictureFormat::kBmp:
      return DecodeBmp;
    case PictureFormat::kJpeg:
      return DecodeJpeg;
    case PictureFormat::kPng:
      return DecodePng;
    case PictureFormat::kGif:
      return DecodeGif;
    case PictureFormat::kWebp:
      return DecodeWebp;
    case PictureFormat::kTiff:
      return DecodeTiff;
    case PictureFormat::kUnknown:
      break;
  }
  return nullptr;
}

}  // namespace

PictureFormat DecodePicture(Bytes file, Picture& picture) {
  const PictureFormat format = DetectFormat(file);
  const Decoder decode = DecoderOf(format);
  return decode && decode(file, picture) ? format : PictureFormat::kUnknown;
}

}  // namespace imaging
