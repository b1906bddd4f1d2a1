#include "FakeWaveOut.h"

#include <algorithm>
#include <cstring>

namespace {

FakeWaveOut* current = nullptr;
const auto kHandle = reinterpret_cast<HWAVEOUT>(0x5157);

// The driver sets it on a thread of its own.
void SetFlags(WAVEHDR* header, DWORD flags) {
  *const_cast<volatile DWORD*>(&header->dwFlags) = flags;
}

}  // namespace

FakeWaveOut::FakeWaveOut() {
  current = this;
  queue_.reserve(100);
  const auto hook = [this](const char* name, auto function) {
    hooks_.push_back(std::make_unique<support::ImportHook>("winmm.dll", name, function));
  };
  hook("waveOutOpen", Open);
  hook("waveOutClose", Close);
  hook("waveOutPrepareHeader", Prepare);
  hook("waveOutUnprepareHeader", Unprepare);
  hook("waveOutWrite", Write);
  hook("waveOutPause", Pause);
  hook("waveOutRestart", Restart);
  hook("waveOutReset", Reset);
}

FakeWaveOut::~FakeWaveOut() {
  hooks_.clear();
  current = nullptr;
}

bool FakeWaveOut::PlayBlock() {
  const std::lock_guard guard(lock_);
  if (queue_.empty() || paused_ || unplugged_) return false;
  WAVEHDR* header = queue_.front();
  queue_.erase(queue_.begin());
  const auto* samples = reinterpret_cast<const std::int16_t*>(header->lpData);
  heard_.insert(heard_.end(), samples, samples + header->dwBufferLength / sizeof(std::int16_t));
  Finish(header);
  return true;
}

void FakeWaveOut::Finish(WAVEHDR* header) {
  SetFlags(header, (header->dwFlags & ~static_cast<DWORD>(WHDR_INQUEUE)) | WHDR_DONE);
  SetEvent(event_);
}

bool FakeWaveOut::IsOpen() const { const std::lock_guard guard(lock_); return open_; }
bool FakeWaveOut::IsPaused() const { const std::lock_guard guard(lock_); return paused_; }
int FakeWaveOut::Opened() const { const std::lock_guard guard(lock_); return opened_; }
int FakeWaveOut::ResetCount() const { const std::lock_guard guard(lock_); return resets_; }
std::vector<std::int16_t> FakeWaveOut::Heard() const {
  const std::lock_guard guard(lock_);
  return heard_;
}
WAVEFORMATEX FakeWaveOut::Format() const { const std::lock_guard guard(lock_); return format_; }
UINT FakeWaveOut::Device() const { const std::lock_guard guard(lock_); return device_; }
void FakeWaveOut::RefuseToOpen(bool refuse) {
  const std::lock_guard guard(lock_);
  refuse_ = refuse;
}
void FakeWaveOut::Unplug(bool unplugged) {
  const std::lock_guard guard(lock_);
  unplugged_ = unplugged;
}

void FakeWaveOut::RefuseBlocks(bool refuse) { const std::lock_guard guard(lock_); full_ = refuse; }

void FakeWaveOut::RefuseToReset(bool refuse) {
  const std::lock_guard guard(lock_);
  refuseReset_ = refuse;
}

std::size_t FakeWaveOut::KeptBlocks() const {
  const std::lock_guard guard(lock_);
  return kept_.size();
}

bool FakeWaveOut::KeptIsUntouched() const {
  const std::lock_guard guard(lock_);
  return !keptWasUsed_ && std::all_of(kept_.begin(), kept_.end(), [](const KeptBlock& kept) {
    return std::memcmp(kept.header, &kept.asWritten, sizeof(WAVEHDR)) == 0 && SetEvent(kept.event);
  });
}

bool FakeWaveOut::IsKept(const WAVEHDR* header) const {
  return std::any_of(kept_.begin(), kept_.end(),
                     [&](const KeptBlock& kept) { return kept.header == header; });
}

std::size_t FakeWaveOut::QueuedFrames() const {
  const std::lock_guard guard(lock_);
  std::size_t bytes = 0;
  for (const WAVEHDR* header : queue_) bytes += header->dwBufferLength;
  return bytes / 4;
}

MMRESULT WINAPI FakeWaveOut::Open(HWAVEOUT* handle, UINT device, const WAVEFORMATEX* format,
                                  DWORD_PTR event, DWORD_PTR, DWORD flags) {
  const std::lock_guard guard(current->lock_);
  if (current->refuse_ || current->open_) return MMSYSERR_NODRIVER;
  if (flags != CALLBACK_EVENT) return MMSYSERR_INVALFLAG;
  current->open_ = true;
  ++current->opened_;
  current->device_ = device;
  current->format_ = *format;
  current->event_ = reinterpret_cast<HANDLE>(event);
  *handle = kHandle;
  return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeWaveOut::Close(HWAVEOUT) {
  const std::lock_guard guard(current->lock_);
  current->open_ = current->paused_ = false;
  if (current->queue_.empty()) return MMSYSERR_NOERROR;
  for (WAVEHDR* header : current->queue_)
    current->kept_.push_back({header, *header, current->event_});
  current->queue_.clear();
  return WAVERR_STILLPLAYING;
}

MMRESULT WINAPI FakeWaveOut::Prepare(HWAVEOUT, WAVEHDR* header, UINT) {
  const std::lock_guard guard(current->lock_);
  if (current->IsKept(header)) current->keptWasUsed_ = true;
  SetFlags(header, WHDR_PREPARED);
  return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeWaveOut::Unprepare(HWAVEOUT, WAVEHDR* header, UINT) {
  if (header->dwFlags & WHDR_INQUEUE) return WAVERR_STILLPLAYING;
  SetFlags(header, header->dwFlags & ~static_cast<DWORD>(WHDR_PREPARED));
  return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeWaveOut::Write(HWAVEOUT, WAVEHDR* header, UINT) {
  const std::lock_guard guard(current->lock_);
  if (current->unplugged_ || current->full_) return MMSYSERR_NODRIVER;
  if (!current->open_ || !(header->dwFlags & WHDR_PREPARED)) return WAVERR_UNPREPARED;
  SetFlags(header, WHDR_PREPARED | WHDR_INQUEUE);
  current->queue_.push_back(header);
  return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeWaveOut::Pause(HWAVEOUT) {
  const std::lock_guard guard(current->lock_);
  current->paused_ = true;
  return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeWaveOut::Restart(HWAVEOUT) {
  const std::lock_guard guard(current->lock_);
  current->paused_ = false;
  return MMSYSERR_NOERROR;
}

// Stays paused, as drivers differ in that.
MMRESULT WINAPI FakeWaveOut::Reset(HWAVEOUT) {
  const std::lock_guard guard(current->lock_);
  ++current->resets_;
  if (current->refuseReset_) return MMSYSERR_NODRIVER;
  for (WAVEHDR* header : current->queue_) current->Finish(header);
  current->queue_.clear();
  return MMSYSERR_NOERROR;
}
