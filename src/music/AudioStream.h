#pragma once
// Plays one compressed sound file at a time through the system's DirectShow: a
// graph of the system's reader for such files and whatever decodes and renders
// what comes out of it.
//
// Any thread may call; one lock, which its owner may take again, orders the
// calls. The end of a track is told by a hidden window of the thread that built
// the graph, so that thread has to run a message loop. The callback runs with
// the lock held: it may open the next track at once, and must not wait for
// another thread that may be in here. No failure says more than false or 0, and
// no exception leaves this class.

#include "base/TSingleton.h"
#include "base/cThread.h"
#include "base/win.h"

#include <cstdint>

struct IBaseFilter;
struct IBasicAudio;
struct IFileSourceFilter;
struct IGraphBuilder;
struct IMediaControl;
struct IMediaEventEx;
struct IMoniker;
struct IPin;

class AudioStream : public TSingleton<AudioStream> {
 public:
  // Told the id of the track that has ended, or -1 for one that was given up
  // because the graph was closed.
  using Callback = void (*)(std::int32_t id, void* userData);

  // The one object; the first call makes it.
  static AudioStream& Instance();
  // The one object if it was ever asked for, else null.
  static AudioStream* Existing() { return TSingleton<AudioStream>::Instance(); }

  // To be destroyed on the thread that made it.
  ~AudioStream() override;

  // Opens a track in place of the one before, stopped; its id, or 0 if it can't
  // be played. `file` is in the ANSI code page; an empty name and one beyond 259
  // characters give 0 and change nothing. `deferEvents` together with a
  // `callbackParam` that isn't 0 puts all events off. A `callbackParam` or
  // `userData` of 0 keeps the value of the track before.
  std::uint32_t Open(const char* file, Callback callback, bool deferEvents,
                     std::intptr_t callbackParam, void* userData);
  std::uint32_t Open(const wchar_t* file, Callback callback, bool deferEvents,
                     std::intptr_t callbackParam, void* userData);

  // The following are for the id that Open gave last; with any other they do
  // nothing.

  // Plays on, or from the start after a Stop; `loop` has the track start again
  // at its end. True if it plays.
  bool Play(std::uint32_t id, bool loop);
  void Pause(std::uint32_t id);
  // Stops; the file stays open until another is opened or the object goes.
  void Stop(std::uint32_t id);

  // 255 is full volume, 0 is 25 decibels below. Takes no lock: not to be called
  // while another thread opens or closes a track.
  void SetVolume(std::uint8_t value);
  // Whether tracks go to the device of a fixed name, at whatever volume it has.
  void SetNamedDevice(bool flag);

  // `value` in hundredths of a decibel, -2500 to 0.
  static std::int32_t VolumeOf(std::uint8_t value);

 private:
  AudioStream();

  std::uint32_t Build(bool newTrack, Callback newCallback, std::intptr_t newCallbackParam,
                      void* newUserData);
  bool BuildGraph();
  bool MakeFilters();
  bool LoadFile();
  bool FindReaderPin();
  bool Render();
  bool RenderOutput();
  void TakeVolume();
  void MakeNotifyWindow();
  void DestroyNotifyWindow();
  void FindDevice(const char* name);
  bool IsDevice(IMoniker& moniker, const char* name) const;
  void TakeDevice(IMoniker& moniker);
  void Close();
  bool IsCurrent(std::uint32_t id) const { return id == streamId; }

  static LRESULT CALLBACK NotifyProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void OnNotify(HWND window, WPARAM wParam, LPARAM lParam);
  bool NextEvent(IMediaEventEx& events);
  void OnComplete();

  IBasicAudio* basicAudio = nullptr;
  IBaseFilter* sourceFilter = nullptr;    // the reader
  IBaseFilter* rendererFilter = nullptr;  // a named device, or null
  IGraphBuilder* graph = nullptr;
  IMediaControl* mediaControl = nullptr;
  IMediaEventEx* mediaEvent = nullptr;    // null: the track plays without an end event
  IPin* outputPin = nullptr;
  IPin* inputPin = nullptr;
  IFileSourceFilter* fileSource = nullptr;
  wchar_t fileName[260] = L"";
  HWND notifyWindow = nullptr;
  std::intptr_t callbackParam = 0;        // only ever tested
  void* userData = nullptr;
  Callback callback = nullptr;
  bool loop = false;
  bool useNamedDevice = true;
  bool deferEvents = false;
  cMonitor lock;
  std::int32_t volume = 0;                // hundredths of a decibel
  std::int32_t savedVolume = 1;           // the graph's own; 1 before the first graph
  std::uint32_t streamId = 0;
  bool active = false;                    // a graph is built

  inline static UINT notifyMessage = 0;
};
