#include "music/MusicPlayer.h"

#include "base/FindNoCase.h"
#include "base/PathParts.h"
#include "base/win.h"
#include "music/AudioStream.h"
#include "sound/fmod.h"

#include <mmsystem.h>

MusicPlayer gMusicPlayer;

namespace {

constexpr int kBufferMs = 250;
constexpr int kMixRate = 44100;
constexpr int kChannels = 1;
constexpr unsigned kFileMode = FSOUND_NORMAL | FSOUND_2D;
constexpr unsigned kMemoryMode = kFileMode | FSOUND_LOADMEMORY;
constexpr char kAudioStreamTypes[] = ".wma.mp3.asf";
constexpr char kResolverMark = '?';
constexpr std::int32_t kGivenUp = -1;  // an id: no track any more, its graph was closed

// The files that DirectShow plays, by a search for their extension in a list
// of them, in which a short one is found as well. The extension ends where the
// file's text does.
bool IsForAudioStream(const char* file) {
  return FindNoCase(kAudioStreamTypes, ExtensionOf(file).data());
}

}  // namespace

// An operation's turn. What was told meanwhile is seen to at its end.
class MusicPlayer::InTurn {
 public:
  explicit InTurn(MusicPlayer& player) : player_(player) { player_.turn.Take(); }
  ~InTurn() {
    player_.turn.Give();
    player_.HandleEnds();
  }
  InTurn(const InTurn&) = delete;
  InTurn& operator=(const InTurn&) = delete;

 private:
  MusicPlayer& player_;
};

// --- Beginning and end ---

std::int32_t MusicPlayer::Init(std::int32_t newVolume) {
  const InTurn inTurn(*this);
  volume = newVolume;
  std::int32_t result = kMusicDone;
  try {
    FSOUND_SetBufferSize(kBufferMs);
    FSOUND_SetDriver(0);
    FSOUND_SetOutput(FSOUND_OUTPUT_WINMM);
    if (!FSOUND_Init(kMixRate, kChannels, FSOUND_INIT_GLOBALFOCUS)) return kMusicFailed;
    FSOUND_SetPan(FSOUND_ALL, FSOUND_STEREOPAN);
    FSOUND_SetVolume(FSOUND_ALL, volume);
    AudioStream::Instance().SetVolume(LowVolume());
  } catch (...) {
    result = kMusicFailed;
  }
  if (AudioStream* const audioStream = AudioStream::Existing()) audioStream->SetNamedDevice(false);
  return result;
}

void MusicPlayer::Close() {
  closing = true;
  const InTurn inTurn(*this);
  if (AudioStream* const audioStream = AudioStream::Existing())
    audioStream->Stop(static_cast<std::uint32_t>(audioStreamId));
  audioStreamId = -1;
  if (stream) {
    FSOUND_Stream_Stop(stream);
    FSOUND_Stream_Close(stream);
    stream = nullptr;
  }
  FSOUND_Close();
  Reset();
  closing = false;
}

MusicPlayer::~MusicPlayer() {
  Close();
  delete AudioStream::Existing();
}

void MusicPlayer::Reset() {
  shuffled = false;
  repeatFlag = true;
  volume = 255;
  storedMs = 2000;
  stream = nullptr;
  channel = 0;
  audioStreamId = -1;
  usingFmod = false;
  paused = false;
  stopped = true;
  index = 0;
  forward = true;
  resolver = nullptr;
}

// --- The list ---

std::int32_t MusicPlayer::Load(const char* path) {
  const InTurn inTurn(*this);
  return playlist.Load(path) ? kMusicDone : kMusicFailed;
}

void MusicPlayer::AddEntry(const char* text) {
  const InTurn inTurn(*this);
  playlist.AddEntries(&text, 1);
}

void MusicPlayer::SetResolver(Resolver newResolver) {
  const InTurn inTurn(*this);
  resolver = newResolver;
}

std::int32_t MusicPlayer::Count() {
  const InTurn inTurn(*this);
  return playlist.GetCount();
}

void MusicPlayer::Shuffle(bool flag, std::int32_t passes, std::int32_t seed) {
  const InTurn inTurn(*this);
  shuffled = flag;
  playlist.Shuffle(seed == -1 ? timeGetTime() : static_cast<std::uint32_t>(seed), passes);
}

// --- Playing ---

std::int32_t MusicPlayer::Play(std::int32_t which) {
  const InTurn inTurn(*this);
  if (!paused) Stop();
  if (which == -1 && paused) return Resume();
  if (which == -1) which = index;
  if (which >= playlist.GetCount()) {
    stopped = true;
    return kMusicBeyondList;
  }
  paused = false;
  return PlayFromHere();
}

std::int32_t MusicPlayer::Resume() {
  paused = false;
  const bool resumed =
      usingFmod ? FSOUND_SetPaused(channel, false)
                : AudioStream::Instance().Play(static_cast<std::uint32_t>(audioStreamId), false);
  if (!resumed) return kMusicFailed;
  stopped = false;
  return kMusicDone;
}

// A track that opens and doesn't play is passed over like a bad one. A list of
// such tracks is tried once and not for ever.
std::int32_t MusicPlayer::PlayFromHere() {
  for (std::int32_t failures = 0; failures <= playlist.GetCount(); ++failures) {
    if (const std::int32_t result = OpenTrack(); result != kMusicDone) {
      stopped = true;
      return result;
    }
    if (StartTrack()) {
      stopped = false;
      return kMusicDone;
    }
    Stop();
    StepOver();
  }
  return kMusicNothingPlayed;
}

bool MusicPlayer::StartTrack() {
  if (!usingFmod)
    return AudioStream::Instance().Play(static_cast<std::uint32_t>(audioStreamId), false);
  channel = FSOUND_Stream_Play(FSOUND_FREE, stream);
  FSOUND_SetVolume(FSOUND_ALL, volume);
  return channel != -1;
}

void MusicPlayer::StepOver() {
  if (forward)
    StepForward();
  else
    StepBack();
}

void MusicPlayer::StepForward() { index = (index + 1) % playlist.GetCount(); }

void MusicPlayer::StepBack() {
  if (--index < 0) index = playlist.GetCount() - 1;
}

std::int32_t MusicPlayer::Next() {
  const InTurn inTurn(*this);
  if (playlist.GetCount() == 0) return kMusicNothingPlayed;
  paused = false;
  StepForward();
  return Play(-1);
}

std::int32_t MusicPlayer::Previous() {
  const InTurn inTurn(*this);
  StepBack();
  paused = false;
  forward = false;
  const std::int32_t result = Play(-1);
  forward = true;
  return result;
}

std::int32_t MusicPlayer::Pause() {
  const InTurn inTurn(*this);
  paused = true;
  if (usingFmod) return FSOUND_SetPaused(channel, true) ? kMusicDone : kMusicFailed;
  AudioStream::Instance().Pause(static_cast<std::uint32_t>(audioStreamId));
  return kMusicDone;
}

std::int32_t MusicPlayer::Stop() {
  const InTurn inTurn(*this);
  paused = false;
  stopped = true;
  if (!usingFmod) {
    AudioStream::Instance().Stop(static_cast<std::uint32_t>(audioStreamId));
    return kMusicDone;
  }
  if (!stream) return kMusicDone;
  const bool halted = FSOUND_Stream_Stop(stream);
  const bool closed = halted && FSOUND_Stream_Close(stream);
  stream = nullptr;
  return closed ? kMusicDone : kMusicFailed;
}

void MusicPlayer::SetVolume() {
  const InTurn inTurn(*this);
  FSOUND_SetVolume(FSOUND_ALL, volume);
  AudioStream::Instance().SetVolume(LowVolume());
}

// --- Opening a track ---

// The current entry, or the nearest one in the present direction that opens.
std::int32_t MusicPlayer::OpenTrack() {
  const std::int32_t count = playlist.GetCount();
  if (count == 0) return kMusicNothingPlayed;
  index += forward ? -1 : 1;
  for (std::int32_t tries = 0; tries <= count && !closing; ++tries) {
    StepOver();
    const char* const entry = playlist.GetEntry(index);
    if (entry && OpenEntry(entry)) return kMusicDone;
  }
  stopped = true;
  return kMusicNothingPlayed;
}

bool MusicPlayer::OpenEntry(const char* entry) {
  if (entry[0] == kResolverMark) return OpenMemory(entry);
  if (IsForAudioStream(entry)) return OpenAudioStream(entry);
  return TakeStream(FSOUND_Stream_Open(entry, kFileMode, 0, 0));
}

bool MusicPlayer::OpenMemory(const char* entry) {
  const void* data = nullptr;
  std::int32_t length = 0;
  if (!resolver || resolver(entry, &data, &length) != 0 || !data || length == 0) return false;
  return TakeStream(
      FSOUND_Stream_Open(static_cast<const char*>(data), kMemoryMode, 0, length));
}

bool MusicPlayer::OpenAudioStream(const char* file) {
  usingFmod = false;
  audioStreamId = static_cast<std::int32_t>(
      AudioStream::Instance().Open(file, OnStreamEnd, false, 0, this));
  if (audioStreamId < 1) return false;
  AudioStream::Instance().SetVolume(LowVolume());
  return true;
}

bool MusicPlayer::TakeStream(FSOUND_STREAM* opened) {
  usingFmod = true;
  stream = opened;
  if (!stream) return false;
  FSOUND_Stream_SetEndCallback(stream, OnFmodStreamEnd, this);
  return true;
}

// --- Ends of tracks, on the threads of the engines ---

bool MusicPlayer::OnFmodStreamEnd(FSOUND_STREAM* ended, void*, int, void* player) {
  if (!player) return true;
  auto& self = *static_cast<MusicPlayer*>(player);
  self.toldStream = ended;
  self.HandleEnds();
  return true;
}

void MusicPlayer::OnStreamEnd(std::int32_t id, void* player) {
  if (!player) return;
  auto& self = *static_cast<MusicPlayer*>(player);
  // What is given up while nothing plays, a bad file for one, ends nothing.
  if (id == kGivenUp && (self.paused || self.stopped)) return;
  self.toldId = id;
  self.HandleEnds();
}

// An end that comes late, of a track that a key has replaced meanwhile, says
// nothing about the present one.
bool MusicPlayer::IsPresentTrack(FSOUND_STREAM* endedStream, std::int32_t endedId) const {
  if (usingFmod) return endedStream && endedStream == stream;
  return endedId != 0 && (endedId == audioStreamId || endedId == kGivenUp);
}

// Whoever has the turn comes by here after it, so nothing that is told gets
// lost if this thread doesn't get it. A pause that was a moment quicker than
// the end puts it off: what resumes the track finds it.
void MusicPlayer::HandleEnds() {
  while ((toldStream || toldId != 0) && !paused && turn.TryTakeFirst()) {
    FSOUND_STREAM* const endedStream = toldStream.exchange(nullptr);
    const std::int32_t endedId = toldId.exchange(0);
    if (!stopped && IsPresentTrack(endedStream, endedId)) Next();
    turn.Give();
  }
}
