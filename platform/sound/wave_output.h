#pragma once
// The system's wave output: a ring of short blocks, 16 bits, two channels. Not
// for two threads at once, but for Wait.
//
// A device that goes away while it plays is replaced by silence of the same
// length, so that what waits for the end of a sound goes on, and asked for again
// once a second. It has gone away if it refuses a block, or if it keeps all that
// it has for seconds, as drivers of a device that was unplugged do.

#include "base/win.h"
#include "base/win_owned.h"

#include <mmsystem.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace sound {

class WaveOutput {
 public:
  static constexpr int kBlocks = 10;

  // `rate` in samples a second; the blocks together hold `bufferMs` of sound.
  WaveOutput(UINT device, int rate, int bufferMs);
  ~WaveOutput();
  WaveOutput(const WaveOutput&) = delete;
  WaveOutput& operator=(const WaveOutput&) = delete;

  [[nodiscard]] bool Open();
  // Ends all sound; nothing else may be called then.
  void Close();

  // Waits until a block may have become free, Wake was called, or a block's
  // time is over.
  void Wait() const;
  void Wake() const { SetEvent(event_.get()); }

  // Room for one block, or null if all are under way.
  std::int16_t* FreeBlock();
  std::size_t BlockFrames() const { return blockFrames_; }
  // Sends the block that FreeBlock gave, with up to BlockFrames() frames.
  void Send(std::size_t frames);

  // Frames of all blocks that have been played, or thrown away, since Open.
  std::int64_t HeardFrames();

  void Pause();
  void Resume();
  // Throws away what hasn't been heard, at once; isn't paused afterwards.
  void Reset();

 private:
  struct Block {
    WAVEHDR header{};
    std::vector<std::int16_t> samples;
    DWORD dueTick = 0;  // without a device: when it would have been heard
  };

  bool OpenDevice();
  void CloseDevice();
  void LoseDevice();
  void LoseStalledDevice();
  void TryDeviceAgain();
  void SendToNobody(Block& block);
  bool IsDone(const Block& block) const;
  void Collect();
  DWORD MsOf(const Block& block) const;

  UINT device_;
  int rate_;
  std::size_t blockFrames_;
  KernelHandle event_;
  HWAVEOUT handle_ = nullptr;      // null while the device is lost
  DWORD lostTick_ = 0;             // of the last try to open it
  DWORD movedTick_ = 0;            // when it last gave back a block, or had reason to begin
  bool paused_ = false;
  std::vector<std::unique_ptr<Block>> free_;
  std::deque<std::unique_ptr<Block>> underWay_;  // in the order of their sending
  std::int64_t heardFrames_ = 0;
};

}  // namespace sound
