#pragma once
// BTNexgenIPL32.dll: decodes pictures held in memory, resamples them, copies
// them into device contexts, and saves them as BMP.
//
// Formats are told apart by their bytes, never by a name: JPEG, PNG, GIF (the
// first frame), BMP, WebP (still pictures), TIFF (the first page; where the
// system can read it). Pixels are 32 bits, blue, green, red, unused (255), in
// rows from top to bottom without padding. What is transparent in a file is laid
// on black; a note in a file on how to turn its picture isn't followed, nor is a
// colour profile. An object is used by one thread at a time; different objects
// may be used on different threads.

#include "base/win.h"

#ifdef BTNEXGENIPL_BUILD
#define BTNEXGENIPL_API __declspec(dllexport)
#else
#define BTNEXGENIPL_API __declspec(dllimport)
#endif

// Resampling filters of BTCImageData::Resize.
enum BTResizeFilter {
  BTResizeFilter_Nearest = 0,
  BTResizeFilter_Triangle = 1,
  BTResizeFilter_Lanczos = 2,  // windowed sinc, three lobes: smooth, the one the system asks for
};

// Ways of BTCImageData::Draw and Stretch to bring pixels to a device context.
enum BTDrawMode {
  BTDrawMode_Plain = 0,   // unscaled or nearest pixel
  BTDrawMode_Smooth = 4,  // scaled through a triangle filter
};

// Values that stand for a file format; GetCodecIdFromExtension gives them.
enum BTCodecId {
  BTCodecId_None = -1,
  BTCodecId_Bmp = 0,
  BTCodecId_Jpeg = 1,
  BTCodecId_Png = 2,
  BTCodecId_Gif = 3,
  BTCodecId_Webp = 4,
  BTCodecId_Tiff = 5,
};

// The pixels of a picture. They belong to the BTCImageObject that hands it out.
class BTNEXGENIPL_API BTCImageData {
 public:
  BTCImageData(const BTCImageData&) = delete;
  BTCImageData& operator=(const BTCImageData&) = delete;

  int GetWidth() const;  // px, 0 while empty
  int GetHeight() const;
  // Rows of GetWidth() * 4 bytes from the top; null while empty. The memory
  // stands until the next Load or Resize.
  unsigned char* GetBits() const;

  // Resamples in place. False, with the picture unchanged, for an empty
  // picture, a size out of range, or when memory runs out.
  bool Resize(int width, int height, BTResizeFilter filter);

  // Copies the rectangle at (srcX, srcY) unscaled to (x, y) of `hdc`. What
  // lies outside the picture isn't drawn. `rop` is a raster operation such as
  // SRCCOPY; `mode` makes no difference. False for an empty picture, a size
  // below 1, or when GDI fails.
  bool Draw(HDC hdc, int x, int y, int width, int height, int srcX, int srcY, int mode,
            DWORD rop) const;
  // Copies the source rectangle scaled to `width` by `height`; otherwise as
  // Draw. Smoothing takes in pixels beside the source rectangle, so that tiles
  // of a picture stretched one by one fit together without seams.
  bool Stretch(HDC hdc, int x, int y, int width, int height, int srcX, int srcY, int srcWidth,
               int srcHeight, int mode, DWORD rop) const;

  // A new device-dependent bitmap of the whole picture, owned by the caller;
  // null on failure.
  HBITMAP GetBitmap() const;

 private:
  friend class BTCImageObject;
  struct Pixels;
  BTCImageData();
  ~BTCImageData();
  Pixels* pixels_;
};

class BTNEXGENIPL_API BTCImageObject {
 public:
  // The largest side and area of a picture that Load takes. A header that
  // claims more is refused before memory is taken for its pixels.
  static constexpr int kMaxSide = 32767;
  static constexpr long long kMaxPixels = 100'000'000;

  BTCImageObject();
  ~BTCImageObject();
  BTCImageObject(const BTCImageObject&) = delete;
  BTCImageObject& operator=(const BTCImageObject&) = delete;

  // Decodes the picture file of `size` bytes at `data`, which is only read and
  // not kept; `options` is null. Returns the codec's id, or -1 for bytes that
  // are no picture, are damaged or cut short, or exceed the limits; the object
  // is then empty. May run on any thread. Never throws.
  int Load(const void* data, unsigned int size, const void* options);

  // The pixels; never null, and empty before a successful Load.
  BTCImageData* GetObjectDataPtr();

  // The id of a format by its file extension, with or without the dot and in
  // any case; -1 if it is unknown.
  static int GetCodecIdFromExtension(const char* extension);

  // Writes the picture to the file `path`; `options` is null. BTCodecId_Bmp
  // (24 bits) is the one format that is written. Returns 0, or -1 on failure.
  int Save(const char* path, int codec, const void* options) const;

 private:
  BTCImageData data_;
};
