#include "sound/wave_output.h"

#include <algorithm>
#include <new>
#include <utility>

namespace sound {

namespace {

constexpr WORD kChannels = 2;
constexpr WORD kFrameBytes = kChannels * sizeof(std::int16_t);
constexpr DWORD kRetryMs = 1000;
constexpr DWORD kStallMs = 3000;  // much more than a busy system is late
constexpr DWORD kLongestWaitMs = 50;
// A driver that never gives its blocks back costs those that it has each time it
// is lost. That may go on for days, so it comes to an end.
constexpr int kMostKeptBuffers = 10 * WaveOutput::kBlocks;

// Whether `tick` is reached; the clock may wrap.
bool IsPast(DWORD tick) { return static_cast<std::int32_t>(timeGetTime() - tick) >= 0; }

// The driver sets the flag on a thread of its own.
bool IsGivenBack(const WAVEHDR& header) {
  return (*const_cast<const volatile DWORD*>(&header.dwFlags) & WHDR_DONE) != 0;
}

}  // namespace

WaveOutput::WaveOutput(UINT device, int rate, int bufferMs)
    : device_(device),
      rate_(rate),
      blockFrames_(std::max<std::size_t>(
          1,
          static_cast<std::size_t>(rate) * static_cast<std::size_t>(bufferMs) / (1000 * kBlocks))),
      event_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {
  for (Block& block : blocks_) block.buffer = MakeBuffer();
}

WaveOutput::~WaveOutput() {
  Close();
  if (eventKept_) static_cast<void>(event_.release());
}

// A device that refuses to reset has its blocks still under way and can't be
// closed: the driver may write to them and signal the event at any later time.
// What it has is left to it for good.
void WaveOutput::Close() {
  if (!handle_) return;
  waveOutReset(handle_);
  for (std::size_t i = 0; i < underWay_; ++i)
    if (!At(i).timed) TakeBack(At(i));
  if (waveOutClose(std::exchange(handle_, nullptr)) != MMSYSERR_NOERROR) eventKept_ = true;
}

void WaveOutput::TakeBack(Block& block) {
  WAVEHDR& header = block.buffer->header;
  if (waveOutUnprepareHeader(handle_, &header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR) return;
  if (IsGivenBack(header)) return;
  static_cast<void>(block.buffer.release());
  ++keptBuffers_;
}

std::unique_ptr<WaveOutput::Buffer> WaveOutput::MakeBuffer() const {
  return std::make_unique<Buffer>(blockFrames_ * kChannels);
}

bool WaveOutput::Open() { return event_ && OpenDevice(); }

bool WaveOutput::OpenDevice() {
  WAVEFORMATEX format{};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = kChannels;
  format.nSamplesPerSec = static_cast<DWORD>(rate_);
  format.wBitsPerSample = 16;
  format.nBlockAlign = kFrameBytes;
  format.nAvgBytesPerSec = format.nSamplesPerSec * kFrameBytes;
  HWAVEOUT opened = nullptr;
  const MMRESULT result = waveOutOpen(&opened, device_, &format,
                                      reinterpret_cast<DWORD_PTR>(event_.get()), 0, CALLBACK_EVENT);
  if (result != MMSYSERR_NOERROR) return false;
  handle_ = opened;
  return true;
}

void WaveOutput::Wait() const { WaitForSingleObject(event_.get(), kLongestWaitMs); }

// This runs on a thread that mixes: memory that runs out makes a gap, no more.
std::int16_t* WaveOutput::FreeBlock() try {
  Collect();
  if (underWay_ == kBlocks) return nullptr;
  Block& block = At(underWay_);
  if (!block.buffer) block.buffer = MakeBuffer();
  return block.buffer->samples.data();
} catch (const std::bad_alloc&) {
  return nullptr;
}

void WaveOutput::Send(std::size_t frames) {
  TryDeviceAgain();
  if (underWay_ == 0) movedTick_ = timeGetTime();
  Block& block = At(underWay_);
  block.frames = frames;
  block.timed = false;
  if (!SendToDevice(block)) {
    LoseDevice();
    SendToNobody(block);
  }
  ++underWay_;
}

bool WaveOutput::SendToDevice(Block& block) {
  if (!handle_) return false;
  WAVEHDR& header = block.buffer->header;
  header = {};
  header.lpData = reinterpret_cast<LPSTR>(block.buffer->samples.data());
  header.dwBufferLength = static_cast<DWORD>(block.frames * kFrameBytes);
  if (waveOutPrepareHeader(handle_, &header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR &&
      waveOutWrite(handle_, &header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR)
    return true;
  TakeBack(block);
  return false;
}

std::int64_t WaveOutput::HeardFrames() {
  Collect();
  return heardFrames_;
}

// Blocks end in the order of their sending.
void WaveOutput::Collect() {
  LoseStalledDevice();
  while (underWay_ > 0 && IsDone(At(0))) {
    Block& block = At(0);
    if (!block.timed) TakeBack(block);
    heardFrames_ += static_cast<std::int64_t>(block.frames);
    movedTick_ = timeGetTime();
    first_ = (first_ + 1) % kBlocks;
    --underWay_;
  }
}

bool WaveOutput::IsDone(const Block& block) const {
  if (block.timed) return !paused_ && IsPast(block.dueTick);
  return IsGivenBack(block.buffer->header);
}

void WaveOutput::Pause() {
  if (std::exchange(paused_, true) || !handle_) return;
  waveOutPause(handle_);
}

void WaveOutput::Resume() {
  if (!std::exchange(paused_, false) || !handle_) return;
  movedTick_ = timeGetTime();
  waveOutRestart(handle_);
}

void WaveOutput::Reset() {
  if (handle_) {
    waveOutReset(handle_);
    // A reset doesn't end a pause everywhere.
    if (paused_) waveOutRestart(handle_);
  }
  for (std::size_t i = 0; i < underWay_; ++i) At(i).dueTick = timeGetTime();
  paused_ = false;
  Collect();
}

DWORD WaveOutput::MsOf(const Block& block) const {
  return static_cast<DWORD>(static_cast<std::int64_t>(block.frames) * 1000 / rate_);
}

void WaveOutput::SendToNobody(Block& block) {
  const DWORD now = timeGetTime();
  const bool queued = underWay_ > 0 && !IsPast(At(underWay_ - 1).dueTick);
  block.timed = true;
  block.dueTick = (queued ? At(underWay_ - 1).dueTick : now) + MsOf(block);
}

// What was under way on the device is taken as heard when its time is over.
void WaveOutput::LoseDevice() {
  if (!handle_) return;
  Close();
  lostTick_ = timeGetTime();
  DWORD due = lostTick_;
  for (std::size_t i = 0; i < underWay_; ++i) {
    At(i).timed = true;
    At(i).dueTick = due += MsOf(At(i));
  }
}

// Its blocks may all be under way: then no write would ever tell.
void WaveOutput::LoseStalledDevice() {
  if (!handle_ || paused_ || underWay_ == 0 || IsDone(At(0))) return;
  if (IsPast(movedTick_ + MsOf(At(0)) + kStallMs)) LoseDevice();
}

void WaveOutput::TryDeviceAgain() {
  if (handle_ || keptBuffers_ >= kMostKeptBuffers || !IsPast(lostTick_ + kRetryMs)) return;
  lostTick_ = timeGetTime();
  if (!OpenDevice()) return;
  // What was timed meanwhile is over: its sound is lost anyhow.
  for (std::size_t i = 0; i < underWay_; ++i) At(i).dueTick = lostTick_;
}

}  // namespace sound
