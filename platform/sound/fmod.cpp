// The entries of the library: checks of what was given, and the one running
// output. No exception leaves them.

#include "sound/fmod.h"

#include "sound/read_ahead.h"
#include "sound/sound_system.h"

#include <exception>
#include <limits>
#include <memory>
#include <mutex>

namespace {

using sound::SoundSettings;
using sound::SoundSystem;

constexpr int kLowestRate = 8000, kHighestRate = 192000;
constexpr int kMostChannels = 64;
constexpr int kShortestBufferMs = 10, kLongestBufferMs = 2000;

struct Shared {
  std::mutex lock;
  SoundSettings settings;
  std::shared_ptr<SoundSystem> running;
};

// Never destroyed: at the end of a process that doesn't close the output, its
// threads are gone already, and may have held locks.
Shared& TheShared() {
  static Shared& shared = *new Shared;
  return shared;
}

std::shared_ptr<SoundSystem> Running() {
  Shared& shared = TheShared();
  const std::lock_guard guard(shared.lock);
  return shared.running;
}

// Changes the settings, which stand while the output runs.
template <class Change>
bool Set(bool inRange, Change change) {
  Shared& shared = TheShared();
  const std::lock_guard guard(shared.lock);
  if (!inRange || shared.running) return false;
  change(shared.settings);
  return true;
}

// What `use` gives for the running output; `otherwise` if there is none or it
// throws.
template <class Result, class Use>
Result WithOutput(Result otherwise, Use use) try {
  const std::shared_ptr<SoundSystem> system = Running();
  return system ? use(*system) : otherwise;
} catch (const std::exception&) {
  return otherwise;
}

std::unique_ptr<sound::ByteSource> OpenSource(const char* nameOrData, unsigned mode, int offset,
                                              int length) {
  if (!nameOrData || offset < 0 || length < 0) return nullptr;
  if (mode & FSOUND_LOADMEMORY) {
    if (length <= offset) return nullptr;
    return sound::OpenMemory(nameOrData + offset, static_cast<std::size_t>(length - offset));
  }
  std::unique_ptr<sound::ByteSource> file = sound::OpenFile(nameOrData);
  if (!file || (offset == 0 && length == 0)) return file;
  return sound::OpenSlice(std::move(file), offset,
                          length > 0 ? length : std::numeric_limits<std::int64_t>::max());
}

}  // namespace

bool FSOUND_SetBufferSize(int milliseconds) {
  return Set(milliseconds >= kShortestBufferMs && milliseconds <= kLongestBufferMs,
             [&](SoundSettings& settings) { settings.bufferMs = milliseconds; });
}

bool FSOUND_SetDriver(int driver) {
  return Set(driver >= 0, [&](SoundSettings& settings) { settings.driver = driver; });
}

bool FSOUND_SetOutput(int output) {
  return Set(output == FSOUND_OUTPUT_WINMM, [](SoundSettings&) {});
}

bool FSOUND_Init(int rate, int channels, unsigned) try {
  if (rate < kLowestRate || rate > kHighestRate || channels < 1 || channels > kMostChannels)
    return false;
  FSOUND_Close();
  Shared& shared = TheShared();
  const std::lock_guard guard(shared.lock);
  if (shared.running) return false;  // another thread was quicker
  const auto system = std::make_shared<SoundSystem>(shared.settings, rate, channels);
  if (!system->Start()) return false;
  shared.running = system;
  return true;
} catch (const std::exception&) {
  return false;
}

// The output is in its place until it has ended, so that a second thread that
// closes it waits for the end, too.
void FSOUND_Close() {
  const std::shared_ptr<SoundSystem> system = Running();
  if (!system) return;
  system->Shutdown();
  Shared& shared = TheShared();
  const std::lock_guard guard(shared.lock);
  if (shared.running == system) shared.running.reset();
}

bool FSOUND_SetPan(int channel, int pan) {
  return WithOutput(false, [&](SoundSystem& system) { return system.SetPan(channel, pan); });
}

bool FSOUND_SetVolume(int channel, int volume) {
  return WithOutput(false, [&](SoundSystem& system) { return system.SetVolume(channel, volume); });
}

bool FSOUND_SetPaused(int channel, bool paused) {
  return WithOutput(false, [&](SoundSystem& system) { return system.SetPaused(channel, paused); });
}

FSOUND_STREAM* FSOUND_Stream_Open(const char* nameOrData, unsigned mode, int offset, int length) {
  return WithOutput<FSOUND_STREAM*>(nullptr, [&](SoundSystem& system) -> FSOUND_STREAM* {
    auto source = OpenSource(nameOrData, mode, offset, length);
    auto decoder = source ? sound::OpenDecoder(std::move(source)) : nullptr;
    if (decoder && !(mode & FSOUND_LOADMEMORY)) decoder = sound::ReadAhead(std::move(decoder));
    return decoder ? system.OpenStream(std::move(decoder)) : nullptr;
  });
}

int FSOUND_Stream_Play(int channel, FSOUND_STREAM* stream) {
  return WithOutput(-1, [&](SoundSystem& system) { return system.PlayStream(channel, stream); });
}

bool FSOUND_Stream_Stop(FSOUND_STREAM* stream) {
  return WithOutput(false, [&](SoundSystem& system) { return system.StopStream(stream); });
}

bool FSOUND_Stream_Close(FSOUND_STREAM* stream) {
  return WithOutput(false, [&](SoundSystem& system) { return system.CloseStream(stream); });
}

bool FSOUND_Stream_SetEndCallback(FSOUND_STREAM* stream, FSOUND_STREAMCALLBACK callback,
                                  void* userData) {
  return WithOutput(false, [&](SoundSystem& system) {
    return system.SetEndCallback(stream, callback, userData);
  });
}
