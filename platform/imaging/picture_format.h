#pragma once
// Tells picture formats apart by the first bytes of a file. Portable.

#include "imaging/picture.h"

namespace imaging {

enum class PictureFormat { kUnknown, kBmp, kJpeg, kPng, kGif, kWebp, kTiff };

PictureFormat DetectFormat(Bytes file);

}  // namespace imaging
