#include "sound/sound_system.h"

#include <objbase.h>

#include <chrono>
#include <exception>
#include <utility>

namespace sound {

namespace {

constexpr std::chrono::milliseconds kLongestCallbackWait{200};

UINT DeviceOf(int driver) { return driver == 0 ? WAVE_MAPPER : static_cast<UINT>(driver - 1); }

// A handle that no other stream of the process ever had, so that one which is
// kept too long finds nothing.
FSOUND_STREAM* NewHandle() {
  static std::uintptr_t last = 0;
  return reinterpret_cast<FSOUND_STREAM*>(++last);
}

// Handles the messages of windows that callbacks made on this thread.
void DispatchMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

}  // namespace

SoundSystem::SoundSystem(const SoundSettings& settings, int rate, int channels)
    : output_(DeviceOf(settings.driver), rate, settings.bufferMs),
      mixer_(channels, output_.BlockFrames()),
      rate_(rate),
      endedEvent_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {}

// The threads hold the object, so that it outlives them whatever happens. A first
// one that is left without the second ends by itself, and the device with it.
bool SoundSystem::Start() {
  const std::lock_guard guard(lock_);
  if (!endedEvent_ || !output_.Open()) return false;
  mixing_ = callingBack_ = true;
  try {
    std::thread([self = shared_from_this()] { self->MixUntilClosed(); }).detach();
    std::thread([self = shared_from_this()] { self->CallBackUntilClosed(); }).detach();
    return true;
  } catch (const std::exception&) {
    closing_ = true;
    return false;
  }
}

void SoundSystem::Shutdown() {
  Streams closed;  // goes without the lock: it may have to wait for files
  std::unique_lock guard(lock_);
  closing_ = true;
  for (const auto& [handle, stream] : streams_) mixer_.Stop(*stream.voice);
  closed.swap(streams_);
  ended_.clear();
  output_.Reset();
  output_.Wake();
  SetEvent(endedEvent_.get());
  changed_.wait(guard, [this] { return !mixing_; });
  output_.Close();
  if (callbackThread_ == std::this_thread::get_id()) return;
  changed_.wait_for(guard, kLongestCallbackWait, [this] { return !callingBack_; });
}

// --- Channels ---

template <class Change>
bool SoundSystem::ForChannels(int channel, Change change) {
  const std::lock_guard guard(lock_);
  if (closing_ || (channel != FSOUND_ALL && !mixer_.IsChannel(channel))) return false;
  if (channel != FSOUND_ALL)
    change(channel);
  else
    for (int i = 0; i < mixer_.Channels(); ++i) change(i);
  return true;
}

bool SoundSystem::SetVolume(int channel, int volume) {
  return ForChannels(channel, [&](int i) { mixer_.SetVolume(i, volume); });
}

bool SoundSystem::SetPan(int channel, int pan) {
  return ForChannels(channel, [&](int i) { mixer_.SetPan(i, pan); });
}

bool SoundSystem::SetPaused(int channel, bool paused) {
  return ForChannels(channel, [&](int i) {
    mixer_.SetPaused(i, paused);
    UpdatePause();
  });
}

// The device stands while all that plays is paused: so a pause is heard at
// once, and nothing of the sound is lost.
void SoundSystem::UpdatePause() {
  if (mixer_.HasVoices() && !mixer_.HasRunningVoices())
    output_.Pause();
  else
    output_.Resume();
  output_.Wake();
}

// --- Streams ---

FSOUND_STREAM* SoundSystem::OpenStream(std::unique_ptr<Decoder> decoder) {
  auto voice = std::make_unique<Voice>(std::move(decoder), rate_);
  if (!voice->HasSound()) return nullptr;
  const std::lock_guard guard(lock_);
  if (closing_) return nullptr;
  // So that none is needed when an end has to be told.
  ended_.reserve(streams_.size() + 1);
  FSOUND_STREAM* handle = NewHandle();
  streams_[handle].voice = std::move(voice);
  return handle;
}

int SoundSystem::PlayStream(int channel, FSOUND_STREAM* handle) {
  const std::lock_guard guard(lock_);
  const auto found = streams_.find(handle);
  if (found == streams_.end()) return -1;
  Stream& stream = found->second;
  const int chosen = channel == FSOUND_FREE ? mixer_.FindFreeFor(*stream.voice) : channel;
  if (!mixer_.IsChannel(chosen) || !mixer_.IsFreeFor(*stream.voice, chosen)) return -1;
  TakeOff(stream);
  ForgetEnds(handle);
  if (std::exchange(stream.started, true) && !stream.voice->Rewind()) return -1;
  mixer_.Play(chosen, *stream.voice);
  UpdatePause();
  return chosen;
}

bool SoundSystem::StopStream(FSOUND_STREAM* handle) {
  const std::lock_guard guard(lock_);
  const auto found = streams_.find(handle);
  if (found == streams_.end()) return false;
  TakeOff(found->second);
  ForgetEnds(handle);
  return true;
}

bool SoundSystem::CloseStream(FSOUND_STREAM* handle) {
  Streams::node_type closed;  // goes without the lock: it may have to wait for a file
  const std::lock_guard guard(lock_);
  const auto found = streams_.find(handle);
  if (found == streams_.end()) return false;
  TakeOff(found->second);
  ForgetEnds(handle);
  closed = streams_.extract(found);
  return true;
}

// What is prepared of the last stream is thrown away, so that it falls silent
// at once.
void SoundSystem::TakeOff(const Stream& stream) {
  if (!mixer_.Stop(*stream.voice)) return;
  if (!mixer_.HasVoices()) output_.Reset();
  UpdatePause();
}

void SoundSystem::ForgetEnds(FSOUND_STREAM* handle) { std::erase(ended_, handle); }

bool SoundSystem::SetEndCallback(FSOUND_STREAM* handle, FSOUND_STREAMCALLBACK callback,
                                 void* userData) {
  const std::lock_guard guard(lock_);
  const auto found = streams_.find(handle);
  if (found == streams_.end()) return false;
  found->second.callback = callback;
  found->second.userData = userData;
  return true;
}

// --- The mixing thread ---

void SoundSystem::MixUntilClosed() {
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
  std::unique_lock guard(lock_);
  while (!closing_) {
    FillOutput();
    TellFinished();
    guard.unlock();
    output_.Wait();
    guard.lock();
  }
  mixing_ = false;
  changed_.notify_all();
}

void SoundSystem::FillOutput() {
  while (mixer_.HasRunningVoices()) {
    std::int16_t* block = output_.FreeBlock();
    if (!block) return;
    // A sound that isn't there yet has time while there is still some to be heard.
    if (mixer_.IsLate(output_.BlockFrames()) && output_.HasBlocksUnderWay()) return;
    const std::size_t frames = mixer_.Mix(block, output_.BlockFrames());
    if (frames == 0) return;
    output_.Send(frames);
  }
}

void SoundSystem::TellFinished() {
  const std::int64_t heard = output_.HeardFrames();
  while (const Voice* voice = mixer_.TakeFinished(heard))
    for (const auto& [handle, stream] : streams_)
      if (stream.voice.get() == voice) ended_.push_back(handle);
  if (!ended_.empty()) SetEvent(endedEvent_.get());
}

// --- The callback thread ---

void SoundSystem::CallBackUntilClosed() {
  const bool hasCom = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
  std::unique_lock guard(lock_);
  callbackThread_ = std::this_thread::get_id();
  while (!closing_) {
    guard.unlock();
    const HANDLE event = endedEvent_.get();
    MsgWaitForMultipleObjects(1, &event, FALSE, INFINITE, QS_ALLINPUT);
    DispatchMessages();
    guard.lock();
    while (!closing_ && !ended_.empty()) CallBack(guard);
  }
  guard.unlock();
  if (hasCom) CoUninitialize();
  guard.lock();
  callingBack_ = false;
  changed_.notify_all();
}

void SoundSystem::CallBack(std::unique_lock<std::mutex>& guard) {
  FSOUND_STREAM* const handle = ended_.front();
  ended_.erase(ended_.begin());
  const Stream& stream = streams_.at(handle);
  const FSOUND_STREAMCALLBACK callback = stream.callback;
  void* const userData = stream.userData;
  if (!callback) return;
  guard.unlock();
  try {
    callback(handle, nullptr, 0, userData);
  } catch (...) {
    // A caller's failure; it must not end the process.
  }
  guard.lock();
}

}  // namespace sound
