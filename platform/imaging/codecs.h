#pragma once
// The decoders, one source file a format, and the way to all of them. Each
// decodes the file `file` into `picture` and returns true; or returns false for
// bytes that aren't such a picture, are damaged or cut short, claim a size
// beyond the limits, or when memory runs out: `picture` is then of no use. They
// share no state, so any thread may call them; std::bad_alloc is the one
// exception that may leave them. All but the TIFF decoder are portable.

#include "imaging/picture.h"
#include "imaging/picture_format.h"

namespace imaging {

// 1, 4, 8, 16, 24 and 32 bits, bit masks, run lengths (RLE4, RLE8), either
// direction of rows, headers of Windows and OS/2.
[[nodiscard]] bool DecodeBmp(Bytes file, Picture& picture);

// Baseline, progressive and arithmetic coding; grey, RGB, YCbCr, CMYK and YCCK.
// A note on how to turn the picture (EXIF) is left to others.
[[nodiscard]] bool DecodeJpeg(Bytes file, Picture& picture);

// Every kind of PNG, on a black ground. Gamma and colour profiles aren't
// applied.
[[nodiscard]] bool DecodePng(Bytes file, Picture& picture);

// The first frame in its place on the logical screen, on a black ground.
[[nodiscard]] bool DecodeGif(Bytes file, Picture& picture);

// Still pictures, lossy and lossless, on a black ground.
[[nodiscard]] bool DecodeWebp(Bytes file, Picture& picture);

// The first page, through the imaging component of Windows, on a black ground.
// Whether the pages behind it are there isn't looked at.
[[nodiscard]] bool DecodeTiff(Bytes file, Picture& picture);

// Tells the format by the first bytes, and decodes the file. The result is
// kUnknown for what can't be decoded, or is of no format above.
PictureFormat DecodePicture(Bytes file, Picture& picture);

}  // namespace imaging
