#include "app/Instance.h"

HANDLE InstanceMutex = nullptr;

namespace {

HANDLE OpenInstanceMutex() { return OpenMutexA(MUTEX_ALL_ACCESS, FALSE, kInstanceMutexName); }

HANDLE CreateInstanceMutex() { return CreateMutexA(nullptr, TRUE, kInstanceMutexName); }

bool WaitForMutex(HANDLE mutex, DWORD timeoutMs) {
  const DWORD result = WaitForSingleObject(mutex, timeoutMs);
  return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

}  // namespace

void WaitForSaverExit(DWORD timeoutMs) {
  InstanceMutex = OpenInstanceMutex();
  if (InstanceMutex) WaitForMutex(InstanceMutex, timeoutMs);
}

bool AcquireSaverInstance(DWORD timeoutMs) {
  InstanceMutex = CreateInstanceMutex();
  if (!InstanceMutex || GetLastError() != ERROR_ALREADY_EXISTS) return true;
  CloseHandle(InstanceMutex);
  InstanceMutex = OpenInstanceMutex();
  if (!InstanceMutex) return true;
  if (!WaitForMutex(InstanceMutex, timeoutMs)) return false;
  CloseHandle(InstanceMutex);
  InstanceMutex = CreateInstanceMutex();
  return true;
}
