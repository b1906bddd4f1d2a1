#include "base/cThread.h"

#include "base/StackReserve.h"

cThread::~cThread() { Stop(); }

unsigned int cThread::Run() { return 0; }

HANDLE cThread::Start() {
  if (handle) Stop();
  // Set before the thread exists: a short Run may clear it at once.
  running = true;
  handle = CreateThread(nullptr, 0, Entry, this, createFlags, &threadId);
  if (!handle) running = false;
  return handle;
}

bool cThread::StartWithPriority(int priority) {
  if (!Start()) return false;
  SetThreadPriority(handle, priority);
  ResumeThread(handle);
  return true;
}

void cThread::Stop() {
  if (!handle) return;
  running = false;
  WaitForSingleObject(handle, timeout);
  CloseHandle(handle);
  handle = nullptr;
}

DWORD WINAPI cThread::Entry(void* self) {
  KeepStackForItsOverflow();
  return static_cast<cThread*>(self)->Run();
}

void cMonitor::Lock() {
  WaitForSingleObject(mutex, INFINITE);
  locked = true;
}

void cMonitor::Unlock() {
  ReleaseMutex(mutex);
  locked = false;
}
