#include "sound/wave_output.h"

#include <algorithm>
#include <utility>

namespace sound {

namespace {

constexpr WORD kChannels = 2;
constexpr WORD kFrameBytes = kChannels * sizeof(std::int16_t);
constexpr DWORD kRetryMs = 1000;
constexpr DWORD kStallMs = 3000;  // much more than a busy system is late
constexpr DWORD kLongestWaitMs = 50;

// Whether `tick` is reached; the clock may wrap.
bool IsPast(DWORD tick) { return static_cast<std::int32_t>(timeGetTime() - tick) >= 0; }

}  // namespace

WaveOutput::WaveOutput(UINT device, int rate, int bufferMs)
    : device_(device),
      rate_(rate),
      blockFrames_(std::max<std::size_t>(
          1,
          static_cast<std::size_t>(rate) * static_cast<std::size_t>(bufferMs) / (1000 * kBlocks))),
      event_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {
  for (int i = 0; i < kBlocks; ++i) {
    free_.push_back(std::make_unique<Block>());
    free_.back()->samples.resize(blockFrames_ * kChannels);
  }
}

WaveOutput::~WaveOutput() { Close(); }

void WaveOutput::Close() {
  if (handle_) waveOutReset(handle_);
  CloseDevice();
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

void WaveOutput::CloseDevice() {
  if (!handle_) return;
  for (const auto& block : underWay_)
    waveOutUnprepareHeader(handle_, &block->header, sizeof(WAVEHDR));
  waveOutClose(std::exchange(handle_, nullptr));
}

void WaveOutput::Wait() const { WaitForSingleObject(event_.get(), kLongestWaitMs); }

std::int16_t* WaveOutput::FreeBlock() {
  Collect();
  if (free_.empty()) return nullptr;
  return free_.back()->samples.data();
}

void WaveOutput::Send(std::size_t frames) {
  TryDeviceAgain();
  if (underWay_.empty()) movedTick_ = timeGetTime();
  std::unique_ptr<Block> block = std::move(free_.back());
  free_.pop_back();
  block->header = {};
  block->header.lpData = reinterpret_cast<LPSTR>(block->samples.data());
  block->header.dwBufferLength = static_cast<DWORD>(frames * kFrameBytes);
  const bool sent =
      handle_ &&
      waveOutPrepareHeader(handle_, &block->header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR &&
      waveOutWrite(handle_, &block->header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR;
  if (!sent) {
    if (handle_) waveOutUnprepareHeader(handle_, &block->header, sizeof(WAVEHDR));
    LoseDevice();
    SendToNobody(*block);
  }
  underWay_.push_back(std::move(block));
}

std::int64_t WaveOutput::HeardFrames() {
  Collect();
  return heardFrames_;
}

// Blocks end in the order of their sending.
void WaveOutput::Collect() {
  LoseStalledDevice();
  while (!underWay_.empty() && IsDone(*underWay_.front())) {
    std::unique_ptr<Block> block = std::move(underWay_.front());
    underWay_.pop_front();
    if (handle_) waveOutUnprepareHeader(handle_, &block->header, sizeof(WAVEHDR));
    heardFrames_ += block->header.dwBufferLength / kFrameBytes;
    movedTick_ = timeGetTime();
    free_.push_back(std::move(block));
  }
}

bool WaveOutput::IsDone(const Block& block) const {
  if (handle_) return (*const_cast<const volatile DWORD*>(&block.header.dwFlags) & WHDR_DONE) != 0;
  return !paused_ && IsPast(block.dueTick);
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
  for (const auto& block : underWay_) block->dueTick = timeGetTime();
  paused_ = false;
  Collect();
}

DWORD WaveOutput::MsOf(const Block& block) const {
  return static_cast<DWORD>(static_cast<std::int64_t>(block.header.dwBufferLength / kFrameBytes) *
                            1000 / rate_);
}

void WaveOutput::SendToNobody(Block& block) {
  const DWORD start = underWay_.empty() || IsPast(underWay_.back()->dueTick)
                          ? timeGetTime()
                          : underWay_.back()->dueTick;
  block.dueTick = start + MsOf(block);
}

// What was under way on the device is taken as heard when its time is over.
void WaveOutput::LoseDevice() {
  if (!handle_) return;
  waveOutReset(handle_);
  CloseDevice();
  lostTick_ = timeGetTime();
  DWORD due = lostTick_;
  for (const auto& block : underWay_) block->dueTick = due += MsOf(*block);
}

// Its blocks may all be under way: then no write would ever tell.
void WaveOutput::LoseStalledDevice() {
  if (!handle_ || paused_ || underWay_.empty() || IsDone(*underWay_.front())) return;
  if (IsPast(movedTick_ + MsOf(*underWay_.front()) + kStallMs)) LoseDevice();
}

void WaveOutput::TryDeviceAgain() {
  if (handle_ || !IsPast(lostTick_ + kRetryMs)) return;
  lostTick_ = timeGetTime();
  if (!OpenDevice()) return;
  // What was timed meanwhile is over: its sound is lost anyhow.
  for (const auto& block : underWay_) block->header.dwFlags |= WHDR_DONE;
}

}  // namespace sound
