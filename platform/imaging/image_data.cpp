#include "imaging/image_data.h"

#include "base/win_owned.h"
#include "imaging/blit.h"
#include "imaging/resample.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>
#include <optional>
#include <utility>

using imaging::Blit;
using imaging::Filter;
using imaging::Picture;
using imaging::PixelBlock;
using imaging::Scaling;

namespace {

// Whole numbers from `first` up to, and without, `end`.
struct Interval {
  std::int64_t first;
  std::int64_t end;
  bool empty() const { return first >= end; }
};

Interval Common(Interval a, Interval b) {
  return {std::max(a.first, b.first), std::min(a.end, b.end)};
}

// One direction of an unscaled copy, cut to the part that exists.
struct CopySpan {
  int source;
  int target;
  int size;
};

std::optional<CopySpan> CutCopy(int target, int size, int source, int pictureSize) {
  const Interval exists = Common({source, std::int64_t{source} + size}, {0, pictureSize});
  if (exists.empty()) return std::nullopt;
  const std::int64_t moved = std::int64_t{target} + (exists.first - source);
  if (moved > INT_MAX) return std::nullopt;
  return CopySpan{static_cast<int>(exists.first), static_cast<int>(moved),
                  static_cast<int>(exists.end - exists.first)};
}

// The target pixels, counted from the left or top of the target rectangle,
// whose centres fall into the picture.
Interval PixelsInPicture(int source, int sourceSize, int targetSize, int pictureSize) {
  const double targetPerSource = static_cast<double>(targetSize) / sourceSize;
  const auto firstBehind = [&](double edge) {
    return static_cast<std::int64_t>(std::ceil((edge - source) * targetPerSource - 0.5));
  };
  return Common({firstBehind(0), firstBehind(pictureSize)}, {0, targetSize});
}

// One direction of a scaled copy, cut to what exists and can be seen; `seen` is
// in coordinates of the target.
std::optional<Scaling> CutScaling(int target, int targetSize, int source, int sourceSize,
                                  int pictureSize, Interval seen) {
  const Interval wanted = Common(PixelsInPicture(source, sourceSize, targetSize, pictureSize),
                                 {seen.first - target, seen.end - target});
  if (wanted.empty()) return std::nullopt;
  return Scaling{source, sourceSize, targetSize, static_cast<int>(wanted.first),
                 static_cast<int>(wanted.end - wanted.first)};
}

std::optional<Filter> FilterOf(BTResizeFilter filter) {
  switch (filter) {
    case BTResizeFilter_Nearest:
      return Filter::kNearest;
    case BTResizeFilter_Triangle:
      return Filter::kTriangle;
    case BTResizeFilter_Lanczos:
      return Filter::kLanczos3;
  }
  return std::nullopt;
}

bool StretchPicture(const Picture& picture, HDC hdc, int x, int y, const Scaling& across,
                    const Scaling& down, Filter filter, DWORD rop) {
  Picture scaled;
  if (!imaging::Resample(picture, across, down, filter, scaled)) return false;
  const PixelBlock block{scaled.bits(), 0, scaled.width(), scaled.height(), scaled.width()};
  return Blit(hdc, x + across.first, y + down.first, block, rop);
}

}  // namespace

BTCImageData::BTCImageData() : pixels_(nullptr) {}

BTCImageData::~BTCImageData() { delete pixels_; }

int BTCImageData::GetWidth() const { return pixels_ ? pixels_->picture.width() : 0; }

int BTCImageData::GetHeight() const { return pixels_ ? pixels_->picture.height() : 0; }

unsigned char* BTCImageData::GetBits() const { return pixels_ ? pixels_->picture.bits() : nullptr; }

bool BTCImageData::Resize(int width, int height, BTResizeFilter filter) {
  const std::optional<Filter> chosen = FilterOf(filter);
  if (!pixels_ || !chosen || !imaging::IsSizeAllowed(width, height)) return false;
  if (width == GetWidth() && height == GetHeight()) return true;
  try {
    Picture resized;
    if (!imaging::Resize(pixels_->picture, width, height, *chosen, resized)) return false;
    pixels_->picture = std::move(resized);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool BTCImageData::Draw(HDC hdc, int x, int y, int width, int height, int srcX, int srcY, int,
                        DWORD rop) const {
  if (!pixels_ || width < 1 || height < 1) return false;
  const std::optional<CopySpan> across = CutCopy(x, width, srcX, GetWidth());
  const std::optional<CopySpan> down = CutCopy(y, height, srcY, GetHeight());
  if (!across || !down) return true;
  const PixelBlock block{pixels_->picture.row(down->source), across->source, across->size,
                         down->size, GetWidth()};
  return Blit(hdc, across->target, down->target, block, rop);
}

bool BTCImageData::Stretch(HDC hdc, int x, int y, int width, int height, int srcX, int srcY,
                           int srcWidth, int srcHeight, int mode, DWORD rop) const {
  if (!pixels_ || width < 1 || height < 1 || srcWidth < 1 || srcHeight < 1) return false;
  // No more is scaled than can be seen.
  RECT seen{};
  if (GetClipBox(hdc, &seen) == ERROR) return false;
  const std::optional<Scaling> across =
      CutScaling(x, width, srcX, srcWidth, GetWidth(), {seen.left, seen.right});
  const std::optional<Scaling> down =
      CutScaling(y, height, srcY, srcHeight, GetHeight(), {seen.top, seen.bottom});
  if (!across || !down) return true;
  const Filter filter = mode == BTDrawMode_Plain ? Filter::kNearest : Filter::kTriangle;
  try {
    return StretchPicture(pixels_->picture, hdc, x, y, *across, *down, filter, rop);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

HBITMAP BTCImageData::GetBitmap() const {
  if (!pixels_) return nullptr;
  const ClientDc screen(nullptr);
  if (!screen.get()) return nullptr;
  GdiBitmap bitmap(CreateCompatibleBitmap(screen.get(), GetWidth(), GetHeight()));
  const MemDc memory(CreateCompatibleDC(screen.get()));
  if (!bitmap || !memory) return nullptr;
  bool done = false;
  {
    const SelectGuard selected(memory.get(), bitmap.get());
    done = Draw(memory.get(), 0, 0, GetWidth(), GetHeight(), 0, 0, BTDrawMode_Plain, SRCCOPY);
  }
  return done ? bitmap.release() : nullptr;
}
