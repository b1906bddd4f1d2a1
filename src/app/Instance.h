#pragma once
// The named mutex that lets one saver run at a time, and lets a preview or
// dialog wait for a saver that is closing.

#include "base/win.h"

inline constexpr char kInstanceMutexName[] = "VelmoraSaver";
inline constexpr DWORD kInstanceWaitMs = 15000;

// Held by a saver from its start to ReleaseMutex at its end.
extern HANDLE InstanceMutex;

// Waits for a running saver to end, for up to `timeoutMs`; goes on either way.
// A wait that succeeds leaves this process as the mutex's owner.
void WaitForSaverExit(DWORD timeoutMs = kInstanceWaitMs);

// Takes the mutex, waiting for a running saver to end. False if it is still
// running after `timeoutMs`: this process must end. A saver that was killed
// counts as ended.
bool AcquireSaverInstance(DWORD timeoutMs = kInstanceWaitMs);
