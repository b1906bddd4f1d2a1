#pragma once
// The music of a session: plays a list of tracks, in a loop and without end.
// Each track goes to one of two engines, fmod.dll or DirectShow (AudioStream),
// by where it lies and what it is called.
//
// Keys call it on the main thread, ends of tracks on the threads of the two
// engines. The fields have no lock. Operations take turns instead: a call waits
// for its turn, but an end of a track never does, for it may be told with an
// engine's lock held; one that comes while an operation is under way is seen to
// when that is over.
//
// No operation throws.

#include "music/Playlist.h"
#include "music/Turn.h"

#include <atomic>
#include <cstdint>

struct FSOUND_STREAM;

// Results of the player's operations.
enum MusicResult : std::int32_t {
  kMusicDone = 0,
  kMusicNothingPlayed = 1,
  kMusicFailed = 2,  // the engine, or the list's file
  kMusicBeyondList = 3,
};

class MusicPlayer {
 public:
  // Finds the sound that an entry with a leading "?" stands for; 0 if it did.
  // The sound stays the resolver's and has to stay in its place until the
  // player is closed. Runs on any thread, one call at a time.
  using Resolver = std::int32_t (*)(const char* entry, const void** data, std::int32_t* length);

  MusicPlayer() = default;
  // Closes, and ends AudioStream with it.
  ~MusicPlayer();
  MusicPlayer(const MusicPlayer&) = delete;
  MusicPlayer& operator=(const MusicPlayer&) = delete;

  // Starts the sound output. `newVolume` is 0 to 255; DirectShow takes its low
  // eight bits only. kMusicFailed if there is no device.
  std::int32_t Init(std::int32_t newVolume);
  // Replaces the list by what a playlist file holds, which may be nothing.
  // kMusicFailed if it can't be read.
  std::int32_t Load(const char* path);
  // Appends a file's path, or "?" and a name for the resolver.
  void AddEntry(const char* text);
  void SetResolver(Resolver newResolver);
  std::int32_t Count();
  // With a `seed` of -1 the clock is the seed.
  void Shuffle(bool flag, std::int32_t passes, std::int32_t seed);
  void SetRepeat(bool flag) { repeatFlag = flag; }

  // Resumes a paused track; else plays the current one from its start, or the
  // next that can be played. `which` is -1; any other number is only checked
  // against the length of the list. kMusicFailed if a paused track doesn't
  // resume, kMusicNothingPlayed if no track plays, kMusicBeyondList if there is
  // none of that number, or none at all.
  std::int32_t Play(std::int32_t which);
  // Both go round at the end of the list. kMusicNothingPlayed if no track plays
  // or there is none.
  std::int32_t Next();
  std::int32_t Previous();
  // kMusicFailed if fmod.dll has nothing to pause; IsPaused is true even so.
  std::int32_t Pause();
  // kMusicFailed if fmod.dll has no such stream (any more); it is let go even so.
  std::int32_t Stop();
  bool IsPaused() const { return paused; }
  bool IsStopped() const { return stopped; }

  // Has both engines take the volume of Init again.
  void SetVolume();
  // Ends both engines; the list keeps its entries.
  void Close();

 private:
  class InTurn;

  void Reset();
  std::int32_t Resume();
  std::int32_t PlayFromHere();
  bool StartTrack();
  void StepOver();
  void StepForward();
  void StepBack();
  std::int32_t OpenTrack();
  bool OpenEntry(const char* entry);
  bool OpenMemory(const char* entry);
  bool OpenAudioStream(const char* file);
  bool TakeStream(FSOUND_STREAM* opened);
  std::uint8_t LowVolume() const { return static_cast<std::uint8_t>(volume); }

  static bool OnFmodStreamEnd(FSOUND_STREAM* ended, void* buffer, int length, void* player);
  static void OnStreamEnd(std::int32_t id, void* player);
  bool IsPresentTrack(FSOUND_STREAM* endedStream, std::int32_t endedId) const;
  void HandleEnds();

  bool shuffled = false;                  // nothing reads it
  bool repeatFlag = true;                 // nothing reads it
  std::int32_t volume = 255;
  std::int32_t storedMs = 2000;           // nothing reads it
  FSOUND_STREAM* stream = nullptr;
  std::int32_t channel = 0;
  std::int32_t audioStreamId = -1;
  bool usingFmod = false;                 // which engine has the current track
  std::atomic<bool> paused = false;
  std::atomic<bool> stopped = true;
  std::int32_t index = 0;
  bool forward = true;                    // which way a bad track is skipped
  Resolver resolver = nullptr;
  Playlist playlist;

  Turn turn;
  std::atomic<bool> closing = false;      // has an operation that is under way give up
  // Ends that were told and not yet seen to; null and 0 for none.
  std::atomic<FSOUND_STREAM*> toldStream = nullptr;
  std::atomic<std::int32_t> toldId = 0;
};

// The process's player.
extern MusicPlayer gMusicPlayer;
