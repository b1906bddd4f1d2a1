#pragma once
// DirectShow as the audio stream uses it, without a sound: every call is noted
// down, any step can be made to fail, and events are sent when the test says so.
// It stands in for CoCreateInstance while it lives. Objects are counted, so that
// a reference that is kept shows.

#include "base/win.h"
#include "support/ImportHook.h"

#include <objbase.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class FakeGraph;

// What a graph has to tell, and to whom.
struct FakeEvents;

class FakeDirectShow {
 public:
  FakeDirectShow();
  ~FakeDirectShow();
  FakeDirectShow(const FakeDirectShow&) = delete;
  FakeDirectShow& operator=(const FakeDirectShow&) = delete;

  // What was called since the last asking, in order.
  std::vector<std::string> Take();
  // The file that the last graph was given, and how many graphs were made.
  std::string File();
  int Graphs() const { return graphs_; }
  // Objects that somebody still holds.
  int Alive() const { return alive_; }
  bool Running() const { return running_; }
  HWND Window() const { return window_; }

  // Steps that fail: the names are those in the notes.
  void Fail(const std::string& step, bool fails = true);
  bool Fails(const std::string& step);
  // Whether graphs pass over the renderer that they are offered.
  void PassOverRenderer(bool passOver) { passOver_ = passOver; }
  bool PassesOverRenderer() const { return passOver_; }
  // Files that load without a word and have no sound.
  void Bad(const std::string& file);
  bool IsBad(const std::string& file);

  // The graph has something to tell: an event and its second parameter. The
  // notice goes to the window; false if none is set.
  bool Tell(long code, LONG_PTR second = 0);

  // For the objects themselves.
  void Note(const std::string& what);
  static FakeDirectShow& Current();
  void KeepNotes(bool keep) { keepNotes_ = keep; }

 private:
  friend class FakeGraph;
  static HRESULT WINAPI Create(REFCLSID which, IUnknown* outer, DWORD context, REFIID iid,
                               void** object);

  std::mutex lock_;
  std::vector<std::string> notes_;
  std::set<std::string> fails_;
  std::set<std::string> bad_;
  std::string file_;
  std::shared_ptr<FakeEvents> events_;  // of the last graph
  std::atomic<int> graphs_ = 0;
  std::atomic<int> alive_ = 0;
  std::atomic<bool> running_ = false;
  std::atomic<bool> keepNotes_ = true;
  std::atomic<bool> passOver_ = false;
  std::atomic<HWND> window_ = nullptr;
  std::unique_ptr<support::ImportHook> hook_;
};
