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

#include <array>
#include <cstddef>
#include <cstdint>
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

  // Room for one block; null if all are under way, or if the one at hand was
  // left to a driver and there is no memory for another now.
  std::int16_t* FreeBlock();
  std::size_t BlockFrames() const { return blockFrames_; }
  bool HasBlocksUnderWay() const { return underWay_ > 0; }
  // Sends the block that FreeBlock gave, with up to BlockFrames() frames.
  void Send(std::size_t frames);

  // Frames of all blocks that have been played, or thrown away, since Open.
  std::int64_t HeardFrames();

  void Pause();
  void Resume();
  // Throws away what hasn't been heard, at once; isn't paused afterwards.
  void Reset();

 private:
  // What the driver sees of a block. It may use it until it has given it back.
  struct Buffer {
    explicit Buffer(std::size_t samplesCount) : samples(samplesCount) {}
    WAVEHDR header{};
    std::vector<std::int16_t> samples;
  };
  struct Block {
    std::unique_ptr<Buffer> buffer;  // null if a driver kept it
    std::size_t frames = 0;
    bool timed = false;  // no device plays it: it is heard ...
    DWORD dueTick = 0;   // ... when its time is over
  };

  bool OpenDevice();
  void LoseDevice();
  void LoseStalledDevice();
  void TryDeviceAgain();
  bool SendToDevice(Block& block);
  void SendToNobody(Block& block);
  void TakeBack(Block& block);
  std::unique_ptr<Buffer> MakeBuffer() const;
  // The blocks in a ring: first those under way, in the order of their sending.
  Block& At(std::size_t place) { return blocks_[(first_ + place) % kBlocks]; }
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
  std::array<Block, kBlocks> blocks_;
  std::size_t first_ = 0;
  std::size_t underWay_ = 0;       // how many are
  int keptBuffers_ = 0;            // that drivers never gave back
  bool eventKept_ = false;         // a driver may still signal it
  std::int64_t heardFrames_ = 0;
};

}  // namespace sound
