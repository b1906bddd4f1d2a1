#pragma once
// Gives a test the state that WinMain would have prepared: a settings record
// with its defaults behind `ss`, and the run's globals as at the process's
// start. All of it is as at the start again when the object goes.

#include "settings/Session.h"
#include "settings/Settings.h"

namespace support {

inline void ResetSessionGlobals() {
  RunMode = RUNMODE_NONE;
  InstanceHandle = GetModuleHandleA(nullptr);
  ParentWindow = nullptr;
  DumpType = 0;
  OsVersionCode = 0;
  ModulePath[0] = '\0';
  for (std::string* path : {&InstallPath, &HelpPath, &BundlePath, &AppDataPath, &ReportToolPath,
                            &PlaylistPath, &WallpaperPath})
    path->clear();
  hScrWindow = nullptr;
  hDC = nullptr;
  ScreenWidth = ScreenHeight = 0;
  RequestedMode = DesktopMode = ScreenMode{};
  ModeChanged = false;
  Done = false;
  FrameMs = 0;
}

class SessionState {
 public:
  SessionState() {
    ResetSessionGlobals();
    ss = &settings;
  }
  ~SessionState() {
    ss = nullptr;
    ResetSessionGlobals();
  }
  SessionState(const SessionState&) = delete;
  SessionState& operator=(const SessionState&) = delete;

  SaverSettings settings;
};

}  // namespace support
