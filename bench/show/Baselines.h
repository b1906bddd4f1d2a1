#pragma once
// The least that a frame of the show can cost: clear, the same textured quads,
// the same calls that end a frame, flip, and nothing else. And a thread that
// decodes pictures all the time, to be paid for by the frames beside it.

#include "base/win_owned.h"
#include "bundle/VFBundle.h"
#include "imaging/BTNexgenIPL.h"

#include <atomic>
#include <thread>

class CSlideImage;

// One frame with the quads of `current`, and over them those of `next` with the
// alpha `blend` unless it is null. Both are borrowed for the call.
void DrawBareFrame(const CSlideImage& current, const CSlideImage* next, float blend);

// Decodes the pictures of a bundle one after the other, below normal priority,
// while it is on.
class BusyDecoder {
 public:
  explicit BusyDecoder(const char* bundlePath);
  ~BusyDecoder();
  BusyDecoder(const BusyDecoder&) = delete;
  BusyDecoder& operator=(const BusyDecoder&) = delete;

  void On();
  // Waits for the picture under way.
  void Off();

 private:
  void Run();
  void DecodeNext();

  VFBUNDLE bundle_;
  VFFILECAT* images_ = nullptr;
  std::atomic<bool> on_ = false;
  std::atomic<bool> busy_ = false;
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};
