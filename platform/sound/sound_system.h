#pragma once
// One run of the output, from FSOUND_Init to FSOUND_Close: its streams, the
// thread that mixes and the thread that tells of ends. Any thread may call
// any function; one lock guards all state. Callbacks run without it, and no file
// is read with it: what may take long reads ahead (read_ahead.h). Memory that
// runs out while something plays ends that sound and nothing else.

#include "sound/fmod.h"
#include "sound/mixer.h"
#include "sound/wave_output.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace sound {

struct SoundSettings {
  int bufferMs = 250;
  int driver = 0;   // 0 is the preferred device
};

class SoundSystem : public std::enable_shared_from_this<SoundSystem> {
 public:
  SoundSystem(const SoundSettings& settings, int rate, int channels);

  // Opens the device and starts the threads. False if either can't be had.
  bool Start();
  // Ends all. Waits for a callback that is under way on another thread, for a
  // while. The threads may outlive it by then, and hold this object.
  void Shutdown();

  bool SetVolume(int channel, int volume);
  bool SetPan(int channel, int pan);
  bool SetPaused(int channel, bool paused);

  // Takes over a decoder; null if there is no sound in it.
  FSOUND_STREAM* OpenStream(std::unique_ptr<Decoder> decoder);
  int PlayStream(int channel, FSOUND_STREAM* handle);
  bool StopStream(FSOUND_STREAM* handle);
  bool CloseStream(FSOUND_STREAM* handle);
  bool SetEndCallback(FSOUND_STREAM* handle, FSOUND_STREAMCALLBACK callback, void* userData);

 private:
  struct Stream {
    std::unique_ptr<Voice> voice;
    FSOUND_STREAMCALLBACK callback = nullptr;
    void* userData = nullptr;
    bool started = false;  // has been played before
  };
  using Streams = std::map<FSOUND_STREAM*, Stream>;

  template <class Change>
  bool ForChannels(int channel, Change change);
  void MixUntilClosed();
  void FillOutput();
  void TellFinished();
  void TakeOff(const Stream& stream);
  void UpdatePause();
  void ForgetEnds(FSOUND_STREAM* handle);
  void CallBackUntilClosed();
  void CallBack(std::unique_lock<std::mutex>& guard);

  std::mutex lock_;
  std::condition_variable changed_;  // a thread ended
  WaveOutput output_;
  Mixer mixer_;
  Streams streams_;
  int rate_;
  std::vector<FSOUND_STREAM*> ended_;  // whose callbacks are due; has room for all streams
  KernelHandle endedEvent_;
  bool closing_ = false;
  bool mixing_ = false;      // the mixing thread lives
  bool callingBack_ = false; // the callback thread lives
  std::thread::id callbackThread_;
};

}  // namespace sound
