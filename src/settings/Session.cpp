#include "settings/Session.h"

std::int32_t RunMode = RUNMODE_NONE;
HINSTANCE InstanceHandle = nullptr;
HWND ParentWindow = nullptr;
std::int32_t DumpType = 0;
std::int32_t OsVersionCode = 0;

char ModulePath[1024] = "";
std::string InstallPath;
std::string HelpPath;
std::string BundlePath;
std::string AppDataPath;
std::string ReportToolPath;
std::string PlaylistPath;
std::string WallpaperPath;

HWND hScrWindow = nullptr;
HDC hDC = nullptr;
std::int32_t ScreenWidth = 0;
std::int32_t ScreenHeight = 0;
ScreenMode RequestedMode;
ScreenMode DesktopMode;
bool ModeChanged = false;
bool Done = false;
IntervalTimer FrameTimer;
double FrameMs = 0;

int CaptionQuality() {
  return OsVersionCode >= OSVERSION_2000 ? CLEARTYPE_QUALITY : ANTIALIASED_QUALITY;
}
