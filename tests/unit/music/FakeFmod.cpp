#include "FakeFmod.h"

#include <cstdint>
#include <utility>

namespace {

FakeFmod* current = nullptr;

// As with the library, no stream of the process has the handle of another.
FSOUND_STREAM* NewHandle() {
  static std::atomic<std::uintptr_t> last = 0x1000;
  return reinterpret_cast<FSOUND_STREAM*>(++last);
}

}  // namespace

FakeFmod::FakeFmod() {
  current = this;
  const auto hook = [this](const char* name, auto function) {
    hooks_.push_back(std::make_unique<support::ImportHook>("fmod.dll", name, function));
  };
  hook("FSOUND_SetBufferSize", SetBufferSize);
  hook("FSOUND_SetDriver", SetDriver);
  hook("FSOUND_SetOutput", SetOutput);
  hook("FSOUND_Init", Init);
  hook("FSOUND_Close", Close);
  hook("FSOUND_SetPan", SetPan);
  hook("FSOUND_SetVolume", SetVolume);
  hook("FSOUND_SetPaused", SetPaused);
  hook("FSOUND_Stream_Open", Open);
  hook("FSOUND_Stream_Play", Play);
  hook("FSOUND_Stream_Stop", Stop);
  hook("FSOUND_Stream_Close", CloseStream);
  hook("FSOUND_Stream_SetEndCallback", SetEndCallback);
}

FakeFmod::~FakeFmod() {
  hooks_.clear();
  current = nullptr;
}

std::vector<std::string> FakeFmod::Take() {
  const std::lock_guard guard(lock_);
  return std::exchange(notes_, {});
}

void FakeFmod::Fail(const std::string& call, bool fails) {
  const std::lock_guard guard(lock_);
  if (fails)
    fails_.insert(call);
  else
    fails_.erase(call);
}

void FakeFmod::Bad(const std::string& file) { bad_.insert(file); }
void FakeFmod::Mute(const std::string& file) { mute_.insert(file); }

std::string FakeFmod::Playing() {
  const std::lock_guard guard(lock_);
  return playing_ ? streams_[playing_].file : "";
}

bool FakeFmod::Paused() {
  const std::lock_guard guard(lock_);
  return paused_;
}

int FakeFmod::OpenStreams() {
  const std::lock_guard guard(lock_);
  return static_cast<int>(streams_.size());
}

bool FakeFmod::End() {
  std::unique_lock guard(lock_);
  if (!playing_ || paused_) return false;
  FSOUND_STREAM* const ended = std::exchange(playing_, nullptr);
  const Stream stream = streams_[ended];
  guard.unlock();
  return stream.callback && stream.callback(ended, nullptr, 0, stream.userData);
}

void FakeFmod::EndLate(const std::string& file) {
  const Stream stream = former_.at(file);
  stream.callback(reinterpret_cast<FSOUND_STREAM*>(0x10), nullptr, 0, stream.userData);
}

// With the lock held: notes a call down; whether it works.
bool FakeFmod::Call(const std::string& note) {
  if (keepNotes_) notes_.push_back(note);
  return !fails_.contains(note.substr(0, note.find(' ')));
}

bool FakeFmod::SetBufferSize(int milliseconds) {
  const std::lock_guard guard(current->lock_);
  return current->Call("SetBufferSize " + std::to_string(milliseconds));
}

bool FakeFmod::SetDriver(int driver) {
  const std::lock_guard guard(current->lock_);
  return current->Call("SetDriver " + std::to_string(driver));
}

bool FakeFmod::SetOutput(int output) {
  const std::lock_guard guard(current->lock_);
  return current->Call("SetOutput " + std::to_string(output));
}

bool FakeFmod::Init(int rate, int channels, unsigned flags) {
  const std::lock_guard guard(current->lock_);
  current->running_ = current->Call("Init " + std::to_string(rate) + " " +
                                    std::to_string(channels) + " " + std::to_string(flags));
  return current->running_;
}

void FakeFmod::Close() {
  const std::lock_guard guard(current->lock_);
  current->Call("Close");
  current->streams_.clear();
  current->playing_ = nullptr;
  current->running_ = current->paused_ = false;
}

bool FakeFmod::SetPan(int channel, int pan) {
  const std::lock_guard guard(current->lock_);
  return current->Call("SetPan " + std::to_string(channel) + " " + std::to_string(pan));
}

bool FakeFmod::SetVolume(int channel, int volume) {
  const std::lock_guard guard(current->lock_);
  return current->Call("SetVolume " + std::to_string(channel) + " " + std::to_string(volume));
}

bool FakeFmod::SetPaused(int channel, bool paused) {
  const std::lock_guard guard(current->lock_);
  if (!current->Call("SetPaused " + std::to_string(channel) + (paused ? " 1" : " 0"))) return false;
  current->paused_ = paused;
  return true;
}

FSOUND_STREAM* FakeFmod::Open(const char* nameOrData, unsigned mode, int offset, int length) {
  const std::lock_guard guard(current->lock_);
  // Memory of the tests is text, too.
  const std::string file =
      length > 0 ? std::string(nameOrData, static_cast<std::size_t>(length)) : nameOrData;
  current->Call("Open " + file + " " + std::to_string(mode) + " " + std::to_string(offset) + " " +
                std::to_string(length));
  if (!current->running_ || current->bad_.contains(file)) return nullptr;
  FSOUND_STREAM* const handle = NewHandle();
  current->streams_[handle].file = file;
  return handle;
}

int FakeFmod::Play(int channel, FSOUND_STREAM* stream) {
  std::unique_lock guard(current->lock_);
  const bool works = current->Call("Play " + std::to_string(channel));
  const auto found = current->streams_.find(stream);
  if (!works || found == current->streams_.end() || current->playing_ ||
      current->mute_.contains(found->second.file))
    return -1;
  current->playing_ = stream;
  current->paused_ = false;
  guard.unlock();
  if (const auto run = std::exchange(current->whenPlaying, nullptr)) run();
  return 0;
}

bool FakeFmod::Stop(FSOUND_STREAM* stream) {
  const std::lock_guard guard(current->lock_);
  if (!current->Call("Stop") || !current->streams_.contains(stream)) return false;
  if (current->playing_ == stream) {
    current->playing_ = nullptr;
    current->paused_ = false;
  }
  return true;
}

bool FakeFmod::CloseStream(FSOUND_STREAM* stream) {
  const std::lock_guard guard(current->lock_);
  if (!current->Call("CloseStream") || !current->streams_.contains(stream)) return false;
  if (current->playing_ == stream) current->playing_ = nullptr;
  current->streams_.erase(stream);
  return true;
}

bool FakeFmod::SetEndCallback(FSOUND_STREAM* stream, FSOUND_STREAMCALLBACK callback,
                              void* userData) {
  const std::lock_guard guard(current->lock_);
  if (!current->Call("SetEndCallback") || !current->streams_.contains(stream)) return false;
  Stream& known = current->streams_[stream];
  known.callback = callback;
  known.userData = userData;
  current->former_[known.file] = known;
  return true;
}
