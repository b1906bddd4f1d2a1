#include "app/CrashCapture.h"

#include "app/Instance.h"
#include "app/Integrity.h"
#include "app/Paths.h"
#include "base/win_owned.h"
#include "settings/Session.h"
#include "settings/Settings.h"

#include <csignal>
#include <cstdlib>
#include <dbghelp.h>
#include <exception>
#include <shellapi.h>

namespace {

constexpr std::int32_t kWindowsXp = 7;  // an OsVersionCode

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

using WriteDump = decltype(&MiniDumpWriteDump);

// The tool looks for a dump that is newer than itself, so it comes first.
void OfferReport(EXCEPTION_POINTERS* exceptionPointers) {
  ShellExecuteA(nullptr, "open", ReportToolPath.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  WriteMinidump(exceptionPointers);
}

}  // namespace

void CatchCrashes() {
  SetUnhandledExceptionFilter(UnhandledFilter);
  std::set_terminate(OnTerminate);
  std::signal(SIGABRT, OnAbort);
  // abort would show the run time's own box before it comes here.
  _set_error_mode(_OUT_TO_STDERR);
}

// The record is missing in a crash before it was made: then nobody is known to
// want a report.
LONG WINAPI UnhandledFilter(EXCEPTION_POINTERS* exceptionPointers) {
  if (!VerifyFiles())
    MessageBoxA(nullptr, kDamagedInCrash, "Velmora 2", MB_ICONERROR);
  else if (ss && ss->ShowBugReport)
    OfferReport(exceptionPointers);
  if (ss) {
    SetCrashFlag(0);
    SetCriticalError(0);
  }
  ReleaseMutex(InstanceMutex);
  return EXCEPTION_EXECUTE_HANDLER;
}

bool WriteMinidump(EXCEPTION_POINTERS* exceptionPointers) {
  if (OsVersionCode < kWindowsXp) return false;
  MINIDUMP_EXCEPTION_INFORMATION information{};
  information.ThreadId = GetCurrentThreadId();
  information.ExceptionPointers = exceptionPointers;
  information.ClientPointers = TRUE;
  const HANDLE opened =
      CreateFileA(MinidumpPath().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return false;
  const KernelHandle file(opened);
  const Library library(LoadLibraryA("dbghelp.dll"));
  if (!library) return false;
  const auto write = ProcAddress<WriteDump>(library.get(), "MiniDumpWriteDump");
  return write && write(GetCurrentProcess(), GetCurrentProcessId(), file.get(),
                        static_cast<MINIDUMP_TYPE>(DumpType), &information, nullptr, nullptr);
}
