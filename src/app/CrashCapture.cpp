#include "app/CrashCapture.h"

#include "app/Instance.h"
#include "app/Integrity.h"
#include "app/Paths.h"
#include "base/Product.h"
#include "base/StackReserve.h"
#include "base/win_owned.h"
#include "settings/Session.h"
#include "settings/Settings.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <dbghelp.h>
#include <exception>
#include <shellapi.h>

namespace {

constexpr DWORD kMostEndMs = 5000;

constexpr char kDamagedInCrash[] =
    "The screensaver has encountered an error and has found that one or\n"
    "more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.";

// The run time would end the process by itself in both cases, past the filter.
[[noreturn]] void RaiseForFilter(DWORD code) {
  RaiseException(code, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  ExitProcess(code);
}

[[noreturn]] void OnTerminate() { RaiseForFilter(kUncaughtException); }

void OnAbort(int) { RaiseForFilter(kAborted); }

// --- The work on a crash

struct Crash {
  DWORD threadId;
  EXCEPTION_POINTERS* pointers;
};

using WriteDump = decltype(&MiniDumpWriteDump);

std::atomic<bool> tellingUser = false;  // who may take any time

bool WriteDumpOf(const Crash& crash) {
  if (OsVersionCode < OSVERSION_XP) return false;
  MINIDUMP_EXCEPTION_INFORMATION information{};
  information.ThreadId = crash.threadId;
  information.ExceptionPointers = crash.pointers;
  information.ClientPointers = TRUE;
  const KernelHandle file =
      OwnFile(CreateFileA(MinidumpPath().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  const Library library(LoadLibraryA("dbghelp.dll"));
  if (!library) return false;
  const auto write = ProcAddress<WriteDump>(library.get(), "MiniDumpWriteDump");
  return write && write(GetCurrentProcess(), GetCurrentProcessId(), file.get(),
                        static_cast<MINIDUMP_TYPE>(DumpType), &information, nullptr, nullptr);
}

void TellOfDamage() {
  tellingUser = true;
  MessageBoxA(nullptr, kDamagedInCrash, kProductName, MB_ICONERROR);
  tellingUser = false;
}

// The tool looks for a dump that is newer than itself, so it comes first.
void OfferReport(const Crash& crash) {
  ShellExecuteA(nullptr, "open", ReportToolPath.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  WriteDumpOf(crash);
}

// The record is missing in a crash before it was made: then nobody is known to
// want a report.
void TellAndClear(const Crash& crash) {
  if (!VerifyFiles())
    TellOfDamage();
  else if (ss && ss->ShowBugReport)
    OfferReport(crash);
  if (ss) {
    SetCrashFlag(0);
    SetCriticalError(0);
  }
}

// --- Who does it

// A thread with a stack of its own, made beforehand: one that has used up its stack
// has next to nothing left, and can only say so and wait. It ends with the process.
class SpareThread {
 public:
  // A process that ends while the system still begins a thread of it may crash in
  // that, so the thread is waited for.
  SpareThread() : thread_(CreateThread(nullptr, 0, Entry, this, 0, &id_)) {
    if (thread_) WaitForSingleObject(running_.get(), INFINITE);
  }

  bool IsThere() const { return begin_ && thread_; }
  DWORD Id() const { return id_; }
  void HandOver(const Crash& crash) {
    crash_ = crash;
    SetEvent(begin_.get());
  }

 private:
  static DWORD WINAPI Entry(void* self) {
    static_cast<SpareThread*>(self)->Run();
    return 0;
  }
  void Run();

  Crash crash_{};
  const KernelHandle running_{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  const KernelHandle begin_{CreateEventA(nullptr, FALSE, FALSE, nullptr)};
  DWORD id_ = 0;
  const KernelHandle thread_;
};

SpareThread* spareThread = nullptr;
HANDLE workDone = nullptr;             // an event
std::atomic<DWORD> crashedThread = 0;  // the first one

// The thread that crashed brings the process's end, unless its last bit of stack
// didn't do even for waiting.
void SpareThread::Run() {
  SetEvent(running_.get());
  WaitForSingleObject(begin_.get(), INFINITE);
  TellAndClear(crash_);
  SetEvent(workDone);
  Sleep(kMostEndMs);
  TerminateProcess(GetCurrentProcess(), EXCEPTION_STACK_OVERFLOW);
}

void AwaitWork() {
  while (WaitForSingleObject(workDone, kMostCrashWorkMs) == WAIT_TIMEOUT && tellingUser) {
  }
}

bool NeedsSpareThread(const Crash& crash) {
  return crash.pointers->ExceptionRecord->ExceptionCode == EXCEPTION_STACK_OVERFLOW;
}

void Work(const Crash& crash) {
  if (NeedsSpareThread(crash) && spareThread && spareThread->IsThere()) {
    spareThread->HandOver(crash);
    AwaitWork();
  } else {
    TellAndClear(crash);
  }
}

// False if there was a crash before, and nothing is left to do but to end. This one
// may be of the work itself, or of the way out after it; a thread that crashes beside
// the work lets it finish and end the process first.
bool BeginWork(DWORD thread) {
  DWORD other = 0;
  if (crashedThread.compare_exchange_strong(other, thread)) return true;
  const bool ofTheWork = thread == other || (spareThread && thread == spareThread->Id());
  if (!ofTheWork) {
    AwaitWork();
    Sleep(kMostEndMs);
  }
  return false;
}

}  // namespace

void CatchCrashes() {
  SetUnhandledExceptionFilter(UnhandledFilter);
  std::set_terminate(OnTerminate);
  std::signal(SIGABRT, OnAbort);
  // abort would show the run time's own box before it comes here.
  _set_error_mode(_OUT_TO_STDERR);
  KeepStackForItsOverflow();
  if (spareThread) return;
  workDone = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  spareThread = new SpareThread;
}

LONG WINAPI UnhandledFilter(EXCEPTION_POINTERS* exceptionPointers) {
  const DWORD thread = GetCurrentThreadId();
  if (!BeginWork(thread)) return EXCEPTION_EXECUTE_HANDLER;
  Work({thread, exceptionPointers});
  ReleaseMutex(InstanceMutex);
  SetEvent(workDone);
  return EXCEPTION_EXECUTE_HANDLER;
}

bool WriteMinidump(EXCEPTION_POINTERS* exceptionPointers) {
  return WriteDumpOf({GetCurrentThreadId(), exceptionPointers});
}
