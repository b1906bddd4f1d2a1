#pragma once
// Loads one picture in the background. The thread reads the member's bytes,
// decodes them and fits the pixels to the limits of the card; the main thread
// then turns them into textures, one tile a frame.
//
//   loader.Setup(category, file, dims);      main thread
//   loader.Set...(...);
//   loader.Begin(clock);
//   ...until GetState() is 8 or GetError() isn't 0...
//   loader.Step();                           once a frame
//   std::unique_ptr<CSlideImage> slide = loader.Finish();
//
// Who may touch what: until `state` is 8 or `error` is set, the picture and the
// slide are the thread's; afterwards the thread is done with them and they are
// the main thread's. The store of either comes last. Nothing here calls the
// graphics device on the loader's thread.

#include "base/cThread.h"
#include "bundle/SlideRecords.h"
#include "bundle/VFBundle.h"
#include "imaging/BTNexgenIPL.h"
#include "slideshow/CSlideImage.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class CImgLoadThread final : public cThread {
 public:
  enum Error : std::int32_t {
    kNoError = 0,
    kNotFound = 1,     // no member has the given name
    kNoCategory = 2,
    kNotRead = 3,
    kNotDecoded = 4,   // or there was no memory for it
  };
  enum State : std::int32_t {
    kCreated = 0,
    kReading = 1,
    kDecoding = 2,
    kBuilding = 3,
    kPlanning = 4,
    kResizingToTiles = 5,
    kResizingToPowers = 6,
    kResized = 7,
    kDecoded = 8,      // the thread is done; textures can be made
    kMakingTextures = 9,
    kFinished = 10,
  };

  CImgLoadThread();
  // Waits for the thread, which means for its decoding to end.
  ~CImgLoadThread() override;
  unsigned int Run() override;

  // --- What to load; before Begin ---

  // `category` and `file` must outlive the loader.
  void Setup(VFFILECAT* category, VFFILE* file, const SlideDims& dims);
  // Instead of a member: its name, to be looked up when the thread runs.
  void SetFileName(const char* name) { fileName = name; }
  void SetMaxTextureSize(std::int32_t px) { maxTextureSize = px; }
  void SetDisplayBits(std::int32_t bits) { displayBits = bits; }  // 16 or 32
  void SetMipMap(bool value) { mipMap = value; }
  void SetRoundUp(bool value) { roundUp = value; }
  void SetTiled(bool value) { tiled = value; }
  // The limit always applies, whatever the argument says.
  void SetCram(bool) { cramEnabled = true; }
  void SetCramSize(std::int32_t px) { cramSize = px; }

  // Starts the thread, below normal priority so that it takes no time from the
  // show; `showClock` is the show's clock, ms.
  void Begin(std::uint32_t showClock);

  // --- How it goes ---

  std::int32_t GetError() const { return error; }
  std::int32_t GetState() const { return state; }
  bool IsDecoded() const { return GetState() >= kDecoded && GetError() == kNoError; }
  std::uint32_t GetStartMs() const { return startMs; }
  // Borrowed; null before there is one. Not to be touched before it is decoded.
  const CSlideImage* GetSlide() const { return slide.get(); }

  // --- Textures; main thread, once decoded ---

  // Makes one texture. True when all are made.
  bool Step();
  // Makes all that are missing and gives the slide away; null if loading
  // failed early.
  std::unique_ptr<CSlideImage> Finish();

 private:
  bool Load();
  bool FailWith(Error code);
  void Fit();
  void PlanTiles();
  void ResizeToPowers();
  void ReportDecoded();
  bool MakeNextTexture();

  std::atomic<std::int32_t> error = kNoError;
  std::atomic<std::int32_t> state = kCreated;
  bool mipMap = true;
  bool roundUp = false;
  bool cramEnabled = false;
  bool crammed = false;                 // this picture was over the limit
  bool tiled = false;
  std::int32_t maxTextureSize = 2048;   // px, a texture's side
  std::int32_t cramSize = 1536;         // px, the picture's side; 0 or below is no limit
  std::int32_t cramWidth = 0;           // the picture after the limit; 0 where not limited
  std::int32_t cramHeight = 0;
  std::int32_t displayBits = 32;
  std::uint32_t startMs = 0;
  std::unique_ptr<CSlideImage> slide;
  VFFILECAT* category = nullptr;
  std::uint32_t width = 0;              // by the catalogue, px: it fixes the proportions
  std::uint32_t height = 0;
  std::string dimsName;
  bool focusXOnly = false;
  bool focusYOnly = false;
  VFFILE* file = nullptr;
  const char* fileName = nullptr;
  std::unique_ptr<BTCImageObject> image;  // decoded, until the last tile is made
  HANDLE stateMutex;                    // around the last writes of Run
  bool stateMutexHeld = false;          // nothing reads it
};
