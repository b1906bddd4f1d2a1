#pragma once
// Finds the program's folder and the user's, and builds every path that the
// run uses from them. The results are the globals of settings/Session.h.

#include "base/win.h"

#include <string>

// Fills ModulePath, InstallPath, HelpPath and BundlePath. True if the
// program's file extension holds "exe" in any case: then it was started as an
// ordinary program.
bool BuildProgramPaths();

// Fills AppDataPath and ReportToolPath. `owner` is the window that the system's
// questions would belong to.
void BuildUserDataPath(HWND owner = nullptr);

// Creates the user's data folder and records it for a later uninstall, if it
// isn't there yet: this is how a user who never met the installer gets one.
void EnsureUserDataFolder();

// Fills PlaylistPath and WallpaperPath from the user's login name.
void BuildUserFilePaths();

// The log of this user's last run, and the dump of the last crash.
std::string LogPath();
std::string MinidumpPath();
