// A whole session of the saver in this process, with every frame timed. The
// main loop ends each turn with a sleep: that call is where the benchmark steps
// in, notes the frame, and between two frames draws those of the baselines, so
// that show and baselines share the machine's moods.

#include "app/Minimal.h"
#include "graphics/cGraphicsLayer.h"
#include "graphics/cTexture.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "show/Baselines.h"
#include "show/Modes.h"
#include "show/Samples.h"
#include "slideshow/CImgLoadThread.h"
#include "slideshow/Slideshow.h"
#include "support/ImportHook.h"


#include <algorithm>
#include <memory>

namespace {

constexpr DWORD kMainLoopSleepMs = 5;
constexpr int kFramesInTurn = 12;  // of the show, before the baselines have theirs

// Heap calls of the main thread.
class Allocations {
 public:
  Allocations() { thread_ = GetCurrentThreadId(); }
  static long Take() { return std::exchange(count_, 0); }

 private:
  static void Count() {
    if (GetCurrentThreadId() == thread_) ++count_;
  }
  static void* __cdecl Malloc(std::size_t size) {
    Count();
    return REAL_IMPORT("msvcrt.dll", malloc)(size);
  }
  static void* __cdecl Calloc(std::size_t number, std::size_t size) {
    Count();
    return REAL_IMPORT("msvcrt.dll", calloc)(number, size);
  }
  static void* __cdecl Realloc(void* memory, std::size_t size) {
    Count();
    return REAL_IMPORT("msvcrt.dll", realloc)(memory, size);
  }
  inline static DWORD thread_ = 0;
  inline static long count_ = 0;
  support::ImportHook malloc_{"msvcrt.dll", "malloc", &Malloc};
  support::ImportHook calloc_{"msvcrt.dll", "calloc", &Calloc};
  support::ImportHook realloc_{"msvcrt.dll", "realloc", &Realloc};
};

// Bytes of a slide's textures, mip levels included.
double TextureBytes(const CSlideImage* slide) {
  double bytes = 0;
  for (std::int32_t n = 0; slide && n < slide->TileCount(); ++n) {
    const cTexture* texture = slide->tiles[static_cast<std::size_t>(n)].texture;
    if (!texture) continue;
    const DDSURFACEDESC2& desc = texture->GetDesc();
    double level = 4.0 * desc.dwWidth * desc.dwHeight;
    for (DWORD m = 0; m < std::max<DWORD>(desc.dwMipMapCount, 1); ++m, level /= 4) bytes += level;
  }
  return bytes;
}

// All that the benchmark keeps of a session.
class Session {
 public:
  explicit Session(const SessionOptions& options) : options_(options) {
    if (options.baselines) decoder_ = std::make_unique<BusyDecoder>(options.bundle);
  }

  // Called between two frames, in place of the loop's sleep.
  void EndTurn() {
    const double now = clock_.Ms();
    NoteFrame(now - frameStart_);
    if (changes_ >= options_.changes && !gSlideshow->IsInTransition())
      CloseSaver();
    else if (decoder_ && BaselinesAreDue())
      RunBaselines();
    REAL_IMPORT("kernel32.dll", Sleep)(kMainLoopSleepMs);
    Allocations::Take();
    frameStart_ = clock_.Ms();
  }

  void Print() const {
    for (const Samples* samples : {&show_, &bare_, &decoding_}) samples->Print();
    std::printf("value first_picture_ms %.1f\n", firstPicture_);
    std::printf("value seconds %.3f\n", (clock_.Ms() - firstPicture_) / 1000);
    std::printf("value steady_allocations %ld\n", steadyAllocations_);
    std::printf("value memory_before %.0f\n", static_cast<double>(memoryBefore_));
    PrintPeakMemory();
    std::printf("value textures %.0f\n", textures_);
    std::printf("value encoded %.0f\n", encoded_);
    std::printf("value tiles %d\n", tiles_);
  }

 private:
  void NoteFrame(double ms) {
    const long allocations = Allocations::Take();
    if (!gSlideshow->GetCurrent()) {
      show_.Add("opening", ms);
      if (!gSlideshow->GetLoader()) memoryBefore_ = Memory().WorkingSetSize;
      return;
    }
    if (firstPicture_ == 0) firstPicture_ = clock_.Ms();
    const char* kind = KindOfFrame();
    show_.Add(kind, ms);
    if (kind == kSteady || kind == kTransition)
      steadyAllocations_ = std::max(steadyAllocations_, allocations);
    if (kind == kHandOver || kind == kTakeOver) NoteMemory();
  }

  const char* KindOfFrame() {
    const bool wasInTransition = std::exchange(inTransition_, gSlideshow->IsInTransition());
    const std::int32_t tilesBefore = std::exchange(tilesDone_, TilesDone());
    if (gSlideshow->IsOpening()) return "opening";
    if (inTransition_) {
      ++framesInTurn_;
      return wasInTransition ? kTransition : kHandOver;
    }
    ++framesInTurn_;
    if (wasInTransition) {
      ++changes_;
      return kTakeOver;
    }
    if (!LoaderIsIdle() && tilesDone_ == tilesBefore) return "decoding";
    return tilesDone_ != tilesBefore ? "tile" : kSteady;
  }

  // Tiles of the picture that comes next; touched only once it is decoded.
  static std::int32_t TilesDone() {
    const CImgLoadThread* loader = gSlideshow->GetLoader();
    return loader && loader->IsDecoded() && loader->GetSlide() ? loader->GetSlide()->GetDone() : 0;
  }
  static bool LoaderIsIdle() {
    const CImgLoadThread* loader = gSlideshow->GetLoader();
    return !loader || loader->GetState() == CImgLoadThread::kFinished;
  }

  void NoteMemory() {
    textures_ = std::max(textures_, TextureBytes(gSlideshow->GetCurrent()) +
                                        TextureBytes(gSlideshow->GetNext()));
    tiles_ = std::max(tiles_, static_cast<int>(gSlideshow->GetCurrent()->TileCount()));
    encoded_ = 0;
    for (auto* node = gSlideshow->GetPlaylist().head; node; node = node->next)
      if (node->data->file->data) encoded_ += node->data->file->size;
  }

  // Only while nothing is being loaded, so that the bare frames pay for no
  // decoding.
  bool BaselinesAreDue() const {
    return !gSlideshow->IsOpening() && framesInTurn_ >= kFramesInTurn && LoaderIsIdle();
  }

  void RunBaselines() {
    DrawBaseline(bare_);
    decoder_->On();
    DrawBaseline(decoding_);
    decoder_->Off();
    framesInTurn_ = 0;
    FrameTimer.ElapsedMs();
  }

  void DrawBaseline(Samples& samples) {
    const CSlideImage* next = gSlideshow->IsInTransition() ? gSlideshow->GetNext() : nullptr;
    for (int frame = 0; frame < framesInTurn_; ++frame) {
      REAL_IMPORT("kernel32.dll", Sleep)(kMainLoopSleepMs);
      const double start = clock_.Ms();
      DrawBareFrame(*gSlideshow->GetCurrent(), next, gSlideshow->GetBlend());
      samples.Add(next ? kTransition : kSteady, clock_.Ms() - start);
    }
  }

  static constexpr const char* kSteady = "steady";
  static constexpr const char* kTransition = "transition";
  static constexpr const char* kHandOver = "handover";
  static constexpr const char* kTakeOver = "takeover";

  SessionOptions options_;
  Clock clock_;
  Samples show_{"show"};
  Samples bare_{"bare"};
  Samples decoding_{"decoding"};
  std::unique_ptr<BusyDecoder> decoder_;
  double frameStart_ = 0;
  double firstPicture_ = 0;
  bool inTransition_ = false;
  std::int32_t tilesDone_ = 0;
  int changes_ = 0;
  int framesInTurn_ = 0;
  long steadyAllocations_ = 0;
  SIZE_T memoryBefore_ = 0;
  double textures_ = 0;
  double encoded_ = 0;
  int tiles_ = 0;
};

Session* session = nullptr;

void WINAPI SleepBetweenFrames(DWORD ms) {
  if (ms == kMainLoopSleepMs && session && gSlideshow)
    session->EndTurn();
  else
    REAL_IMPORT("kernel32.dll", Sleep)(ms);
}

void SetSettings(SaverSettings& settings, const SessionOptions& options) {
  settings.PlayMusic = 0;
  settings.BlankAllScreens = 0;
  settings.RandomOrder = 0;
  settings.FastMode = 0;
  settings.AutoPerformance = 0;
  settings.ImageDelay = options.delaySeconds;
  settings.CramSize = options.cramSize;
  settings.ShowCaptions = options.captions;
}

}  // namespace

int RunSessionBench(const SessionOptions& options) {
  SaverSettings settings;
  SetSettings(settings, options);
  ss = &settings;
  RunMode = RUNMODE_SAVER;
  InstanceHandle = GetModuleHandleA(nullptr);
  BundlePath = options.bundle;
  Session measured(options);
  session = &measured;
  const support::ImportHook sleep("kernel32.dll", "Sleep", &SleepBetweenFrames);
  const Allocations allocations;
  DoSaver(nullptr, SW_SHOW);
  session = nullptr;
  measured.Print();
  ss = nullptr;
  return 0;
}
