// ReportErr.exe: offers to send a report after a crash of the screen saver, which
// starts it without arguments and writes the dump afterwards.

#include "app/Paths.h"
#include "base/win.h"
#include "reporterr/ReportWindow.h"

#include <cstdlib>

namespace {

LONG WINAPI EndProcess(EXCEPTION_POINTERS*) { return EXCEPTION_EXECUTE_HANDLER; }

// Nobody wants a report about the report tool: it ends without the system's box.
// Log and dump are where they were.
void CrashQuietly() {
  SetUnhandledExceptionFilter(EndProcess);
  _set_error_mode(_OUT_TO_STDERR);
}

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  CrashQuietly();
  BuildUserDataPath();
  ShowReportWindow(LogPath(), MinidumpPath());
  return 0;
}
