// ReportErr.exe: offers to send a report after a crash of the screen saver, which
// starts it without arguments and writes the dump afterwards.

#include "app/Paths.h"
#include "base/win.h"
#include "reporterr/ReportWindow.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  BuildUserDataPath();
  ShowReportWindow(LogPath(), MinidumpPath());
  return 0;
}
