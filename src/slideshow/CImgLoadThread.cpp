// Everything down to ReportDecoded runs on the loader's thread, the rest on the
// main thread.

#include "slideshow/CImgLoadThread.h"

#include "graphics/cTexture.h"
#include "slideshow/SlideTextures.h"
#include "slideshow/TilePlan.h"

#include <cstddef>
#include <new>

namespace {

constexpr std::int32_t kMipLevels = 4;

// A picture that kept its size would be cut into textures larger than the card takes.
void ResizeOrThrow(BTCImageData& picture, std::int32_t width, std::int32_t height) {
  if (!picture.Resize(width, height, BTResizeFilter_Lanczos)) throw std::bad_alloc();
}

}  // namespace

// --- The thread ---

// For want of memory a picture counts as one that can't be decoded.
unsigned int CImgLoadThread::Run() try {
  crammed = false;
  cramWidth = cramHeight = 0;
  if (!Load()) return 0;
  state = kBuilding;
  slide = std::make_unique<CSlideImage>();
  slide->Setup(width, height, focusXOnly, focusYOnly);
  Fit();
  ReportDecoded();
  return 0;
} catch (const std::bad_alloc&) {
  FailWith(kNotDecoded);
  return 0;
}

// A failure leaves the state where it was.
bool CImgLoadThread::FailWith(Error code) {
  running = false;
  error = code;
  return false;
}

bool CImgLoadThread::Load() {
  if (!category) return FailWith(kNoCategory);
  if (fileName) {
    file = category->FindFile(fileName);
    if (!file) return FailWith(kNotFound);
  }
  state = kReading;
  if (!category->ReadFile(file)) return FailWith(kNotRead);
  state = kDecoding;
  if (image->Load(file->data, file->size, nullptr) == -1) return FailWith(kNotDecoded);
  return true;
}

// Chooses between one texture and a grid of tiles, and brings the pixels to the
// size that it takes.
void CImgLoadThread::Fit() {
  const BTCImageData& picture = *image->GetObjectDataPtr();
  const std::int32_t w = picture.GetWidth();
  const std::int32_t h = picture.GetHeight();
  const bool fits = w <= maxTextureSize && h <= maxTextureSize;
  if (fits && IsPowerOfTwo(w) && IsPowerOfTwo(h)) {
    slide->MakeTiles(1, 1);
  } else if (tiled) {
    PlanTiles();
  } else {
    ResizeToPowers();
    slide->MakeTiles(1, 1);
  }
}

// A picture loses its odd edge by resampling, never by cropping.
void CImgLoadThread::PlanTiles() {
  state = kPlanning;
  BTCImageData& picture = *image->GetObjectDataPtr();
  const TilePlan plan = PlanTileGrid(picture.GetWidth(), picture.GetHeight(), maxTextureSize,
                                     cramEnabled, cramSize);
  crammed = plan.crammed;
  cramWidth = plan.cramWidth;
  cramHeight = plan.cramHeight;
  if (plan.needsResize) {
    state = kResizingToTiles;
    ResizeOrThrow(picture, plan.fitWidth, plan.fitHeight);
  }
  slide->MakeTiles(plan.columns, plan.rows);
  for (std::int32_t n = 0; n < slide->TileCount(); ++n) {
    SlideTile& tile = slide->tiles[static_cast<std::size_t>(n)];
    tile.pixelWidth = crammed ? picture.GetWidth() / plan.columns : plan.fitWidth;
    tile.pixelHeight = crammed ? picture.GetHeight() / plan.rows : plan.fitHeight;
  }
}

void CImgLoadThread::ResizeToPowers() {
  BTCImageData& picture = *image->GetObjectDataPtr();
  const TextureSize size =
      PlanSingleTexture(picture.GetWidth(), picture.GetHeight(), maxTextureSize, roundUp);
  state = kResizingToPowers;
  ResizeOrThrow(picture, size.width, size.height);
  state = kResized;
}

void CImgLoadThread::ReportDecoded() {
  WaitForSingleObject(stateMutex, INFINITE);
  stateMutexHeld = true;
  running = false;
  state = kDecoded;
  ReleaseMutex(stateMutex);
  stateMutexHeld = false;
}

// --- The main thread ---

CImgLoadThread::CImgLoadThread() : stateMutex(CreateMutexA(nullptr, FALSE, nullptr)) {}

CImgLoadThread::~CImgLoadThread() {
  Stop();
  image.reset();
  CloseHandle(stateMutex);
}

void CImgLoadThread::Setup(VFFILECAT* newCategory, VFFILE* newFile, const SlideDims& dims) {
  category = newCategory;
  file = newFile;
  width = dims.width;
  height = dims.height;
  dimsName = dims.name;
  focusXOnly = dims.focusXOnly;
  focusYOnly = dims.focusYOnly;
}

// A thread that can't be made counts as a member that can't be read: the show
// goes on with the next picture.
void CImgLoadThread::Begin(std::uint32_t showClock) {
  startMs = showClock;
  Stop();
  image = std::make_unique<BTCImageObject>();
  if (!StartWithPriority(THREAD_PRIORITY_BELOW_NORMAL)) error = kNotRead;
}

// False if the next tile can't be made.
bool CImgLoadThread::MakeNextTexture() {
  const BTCImageData& picture = *image->GetObjectDataPtr();
  const std::int32_t mipLevels = mipMap ? kMipLevels : 1;
  if (slide->TileCount() <= 1) {
    slide->tiles[0].texture = MakeTexture(displayBits, picture, mipLevels).release();
    slide->AddDone(1);
    return true;
  }
  if (crammed)
    return MakeTileStretched(displayBits, picture, cramWidth, cramHeight, *slide, mipLevels);
  return MakeTile(displayBits, picture, *slide, mipLevels);
}

bool CImgLoadThread::Step() {
  if (!IsDecoded() || !slide) return false;
  if (!slide->AllDone()) {
    state = kMakingTextures;
    MakeNextTexture();
    if (!slide->AllDone()) return false;
    image.reset();
  }
  state = kFinished;
  return true;
}

// A tile that can't be made ends the loop: the slide then lacks it and those
// after it.
std::unique_ptr<CSlideImage> CImgLoadThread::Finish() {
  if (state != kFinished && IsDecoded() && slide) {
    state = kMakingTextures;
    while (!slide->AllDone() && MakeNextTexture()) {
    }
  }
  state = kFinished;
  image.reset();
  return std::move(slide);
}
