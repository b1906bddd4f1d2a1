#pragma once
// One thread and the object that it runs. Every background job derives from
// it. A thread is created suspended: the derived class's own start operation
// gives it its priority and lets it run.

#include "base/win.h"

#include <atomic>
#include <cstdint>

class cThread {
 public:
  cThread() = default;
  // Stops the thread. A derived class calls Stop() first in its own
  // destructor, since Run must not outlive the derived part.
  virtual ~cThread();
  // The thread's work, on the new thread; the result is its exit code.
  virtual unsigned int Run();

  cThread(const cThread&) = delete;
  cThread& operator=(const cThread&) = delete;

  // Creates the thread, stopping an earlier one first. Returns its handle,
  // which stays with this object; null if it can't be made.
  HANDLE Start();
  // Asks the thread to end, waits for up to the time-out, and closes the
  // handle. A thread that outlives the wait isn't killed. Safe to repeat.
  void Stop();
  // How long Stop waits, in ms; INFINITE unless set.
  void SetTimeout(std::uint32_t ms) { timeout = ms; }
  // False once Stop was called or Run has ended by itself; a Run that loops polls it.
  bool IsRunning() const { return running; }

 protected:
  // Starts the thread and lets it run at once. `priority` is one of the system's
  // and stands before the first instruction of Run. False if the thread can't be
  // made.
  bool StartWithPriority(int priority);

  HANDLE handle = nullptr;
  DWORD threadId = 0;
  std::uint32_t timeout = INFINITE;
  // A one-way signal from true to false; it orders nothing else.
  std::atomic<bool> running = false;
  std::uint32_t createFlags = CREATE_SUSPENDED;

 private:
  static DWORD WINAPI Entry(void* self);
};

// A mutex that its owner may take again. It guards what threads share.
class cMonitor {
 public:
  cMonitor() : mutex(CreateMutexA(nullptr, FALSE, nullptr)) {}
  virtual ~cMonitor() { CloseHandle(mutex); }
  cMonitor(const cMonitor&) = delete;
  cMonitor& operator=(const cMonitor&) = delete;

  void Lock();
  void Unlock();

 protected:
  HANDLE mutex;
  bool locked = false;  // nothing reads it
};
