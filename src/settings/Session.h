#pragma once
// The state of the one run of this process: mode, paths, window, display. It
// is plain global state, written on the main thread and read everywhere, by the
// work on a crash also on other threads; each group says who writes it.

#include "base/Timers.h"
#include "base/win.h"

#include <cstdint>
#include <string>

// --- The run: written by WinMain before anything else starts ---

enum RunModeValue : std::int32_t {
  RUNMODE_NONE = 0,      // nothing runs; the program starts up and ends
  RUNMODE_CONFIG = 1,    // the configuration dialog
  RUNMODE_PASSWORD = 2,  // the system's password dialog
  RUNMODE_PREVIEW = 3,   // a small preview inside a window of another process
  RUNMODE_SAVER = 4,     // the full-screen saver
};

extern std::int32_t RunMode;        // a RunModeValue
extern HINSTANCE InstanceHandle;
extern HWND ParentWindow;           // from the command line, the foreground window for
                                    // `c` alone, or null
extern std::int32_t DumpType;       // of the command line's /dumpType
extern std::int32_t OsVersionCode;  // an OsVersionValue; 0 until the log has started: a
                                    // crash before that leaves no dump

// Which Windows this is. The order is that of the systems, and a comparison asks
// for "this one or a later one".
enum OsVersionValue : std::int32_t {
  OSVERSION_UNSUPPORTED = 0,
  OSVERSION_31 = 1,
  OSVERSION_95 = 2,
  OSVERSION_98 = 3,
  OSVERSION_ME = 4,
  OSVERSION_NT = 5,
  OSVERSION_2000 = 6,
  OSVERSION_XP = 7,
  OSVERSION_2003 = 8,
  OSVERSION_VISTA = 9,     // never found: version 6 counts as unknown
  OSVERSION_UNKNOWN = 10,  // any other, and so whatever is newer than Windows 2003
};

// How captions are smoothed, as CreateFontA takes it: well where the system is known
// to draw that well.
int CaptionQuality();

// --- Paths: built once by WinMain ---

extern char ModulePath[1024];       // the program file, full path
extern std::string InstallPath;     // its folder, with the trailing backslash
extern std::string HelpPath;
extern std::string BundlePath;      // images.bdl
extern std::string AppDataPath;     // the user's data folder, with the trailing backslash
extern std::string ReportToolPath;
extern std::string PlaylistPath;
extern std::string WallpaperPath;

// --- The session: written by DoSaver in Minimal.cpp; who else writes is named ---

struct ScreenMode {
  std::int32_t width = 0;   // px
  std::int32_t height = 0;  // px
  std::int32_t bits = 0;    // a pixel
};

extern HWND hScrWindow;             // the saver window
extern HDC hDC;                     // its device context, taken once
extern std::int32_t ScreenWidth;    // of the saver window, px; all drawing uses it
extern std::int32_t ScreenHeight;
extern ScreenMode RequestedMode;    // for this session; its bits also by
                                    // Direct3DSession.cpp: what the screen really has
extern ScreenMode DesktopMode;      // the desktop at the start
extern bool ModeChanged;            // this session changed the display mode
extern bool Done;                   // ends the main loop; also set by a quit message, in
                                    // MessagePump.cpp
extern IntervalTimer FrameTimer;    // also restarted after a wipe, in FastSession.cpp
extern double FrameMs;              // time of the last frame, ms: written by RenderFrame,
                                    // and by some wipes in FastRenderer.cpp
