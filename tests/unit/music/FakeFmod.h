#pragma once
// The sound library as the player uses it, without a sound: calls are noted down
// and can be made to fail, and a stream ends when the test says so. It stands in
// for fmod.dll's functions while it lives. One channel, as the player asks for.

#include "sound/fmod.h"
#include "support/ImportHook.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class FakeFmod {
 public:
  FakeFmod();
  ~FakeFmod();
  FakeFmod(const FakeFmod&) = delete;
  FakeFmod& operator=(const FakeFmod&) = delete;

  // What was called since the last asking, in order.
  std::vector<std::string> Take();
  void KeepNotes(bool keep) { keepNotes_ = keep; }

  // Calls that fail, by their names without FSOUND_.
  void Fail(const std::string& call, bool fails = true);
  // Files that don't open; files that open and don't play.
  void Bad(const std::string& file);
  void Mute(const std::string& file);

  // The file that plays, empty for none; whether it is paused.
  std::string Playing();
  bool Paused();
  int OpenStreams();

  // What plays has come to its end: the callback runs on this thread, as it
  // would on the library's, without any lock. False if nothing plays, or if it
  // is paused.
  bool End();
  // Calls a stream's callback as if it had ended, whatever became of it.
  void EndLate(const std::string& file);
  // Runs once, within the next call that starts a stream, when it plays.
  std::function<void()> whenPlaying;

 private:
  struct Stream {
    std::string file;
    FSOUND_STREAMCALLBACK callback = nullptr;
    void* userData = nullptr;
  };
  bool Call(const std::string& note);
  bool Fails(const std::string& call);

  static bool SetBufferSize(int milliseconds);
  static bool SetDriver(int driver);
  static bool SetOutput(int output);
  static bool Init(int rate, int channels, unsigned flags);
  static void Close();
  static bool SetPan(int channel, int pan);
  static bool SetVolume(int channel, int volume);
  static bool SetPaused(int channel, bool paused);
  static FSOUND_STREAM* Open(const char* nameOrData, unsigned mode, int offset, int length);
  static int Play(int channel, FSOUND_STREAM* stream);
  static bool Stop(FSOUND_STREAM* stream);
  static bool CloseStream(FSOUND_STREAM* stream);
  static bool SetEndCallback(FSOUND_STREAM* stream, FSOUND_STREAMCALLBACK callback, void* userData);

  std::mutex lock_;
  std::vector<std::string> notes_;
  std::atomic<bool> keepNotes_ = true;
  std::set<std::string> fails_, bad_, mute_;
  std::map<FSOUND_STREAM*, Stream> streams_;
  std::map<std::string, Stream> former_;  // the last one of each file
  FSOUND_STREAM* playing_ = nullptr;
  bool paused_ = false;
  bool running_ = false;
  std::vector<std::unique_ptr<support::ImportHook>> hooks_;
};
