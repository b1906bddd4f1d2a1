#pragma once
// A wave output that plays when the test says so and keeps what was heard. It
// stands in for winmm's functions while it lives, as long as one device is open
// at a time.

#include "base/win.h"
#include "support/ImportHook.h"

#include <mmsystem.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class FakeWaveOut {
 public:
  FakeWaveOut();
  ~FakeWaveOut();
  FakeWaveOut(const FakeWaveOut&) = delete;
  FakeWaveOut& operator=(const FakeWaveOut&) = delete;

  // Plays the next block; false if there is none or the output is paused.
  bool PlayBlock();

  bool IsOpen() const;
  bool IsPaused() const;
  int Opened() const;                // how many times
  int ResetCount() const;
  std::size_t QueuedFrames() const;
  std::vector<std::int16_t> Heard() const;  // left and right side by side
  WAVEFORMATEX Format() const;       // of the last opening
  UINT Device() const;

  void RefuseToOpen(bool refuse);
  // As if the device was unplugged: what is queued never ends.
  void Unplug(bool unplugged);
  // What is queued plays on; no more is taken.
  void RefuseBlocks(bool refuse);
  // A reset fails and leaves all as it is, so that closing fails while anything
  // is queued. Then the next device is another one, and what was queued stays
  // this one's: it is kept.
  void RefuseToReset(bool refuse);
  std::size_t KeptBlocks() const;
  // Whether each kept block is as it was written, and the event still there.
  bool KeptIsUntouched() const;

 private:
  static MMRESULT WINAPI Open(HWAVEOUT* handle, UINT device, const WAVEFORMATEX* format,
                              DWORD_PTR event, DWORD_PTR, DWORD flags);
  static MMRESULT WINAPI Close(HWAVEOUT);
  static MMRESULT WINAPI Prepare(HWAVEOUT, WAVEHDR* header, UINT);
  static MMRESULT WINAPI Unprepare(HWAVEOUT, WAVEHDR* header, UINT);
  static MMRESULT WINAPI Write(HWAVEOUT, WAVEHDR* header, UINT);
  static MMRESULT WINAPI Pause(HWAVEOUT);
  static MMRESULT WINAPI Restart(HWAVEOUT);
  static MMRESULT WINAPI Reset(HWAVEOUT);

  struct KeptBlock {
    WAVEHDR* header;
    WAVEHDR asWritten;
    HANDLE event;
  };

  void Finish(WAVEHDR* header);
  bool IsKept(const WAVEHDR* header) const;

  mutable std::mutex lock_;
  std::vector<std::unique_ptr<support::ImportHook>> hooks_;
  bool open_ = false;
  bool paused_ = false;
  bool refuse_ = false;
  bool unplugged_ = false;
  bool full_ = false;
  bool refuseReset_ = false;
  bool keptWasUsed_ = false;
  std::vector<KeptBlock> kept_;
  int opened_ = 0;
  int resets_ = 0;
  UINT device_ = 0;
  WAVEFORMATEX format_{};
  HANDLE event_ = nullptr;
  std::vector<WAVEHDR*> queue_;  // has its room, for tests that let memory run out
  std::vector<std::int16_t> heard_;
};
