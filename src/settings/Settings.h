#pragma once
// All that the program remembers between runs, and the run's own flags, in one
// record behind one global pointer. Values live in the registry: the system's
// saver values (read only), the user's values, and one machine value.
//
// Of the main thread, but for the work on a crash (app/CrashCapture.cpp): that reads
// ShowBugReport and clears CrashFlag and CriticalError on whichever thread does it.
// Registry failures are silent: a value that can't be read keeps its field as it
// is, a write that fails is dropped.

#include "base/win.h"

#include <cstdint>
#include <string>

inline constexpr char kSystemSaverKey[] =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Screen Savers";           // HKLM, read only
inline constexpr char kSettingsKey[] = "Software\\Tarnwick\\TarnwickSaver\\Velmora2";  // HKCU
inline constexpr char kMachineKey[] = "Software\\Tarnwick\\TarnwickSaver\\Velmora2";   // HKLM
inline constexpr char kAppDataSubKey[] =
    "\\AppData";  // of the machine key: the users' data folders

// A flag is a 32-bit integer, 0 or not 0. Fields are named like their registry
// values.
struct SaverSettings {
  // Sets the defaults.
  SaverSettings() = default;

  HWND hWnd = nullptr;                  // the saver window, set at its creation
  std::uint32_t PasswordDelay = 15;     // s after the start in which a close needs no password
  std::int32_t MouseThreshold = 50;     // px the cursor may move in x or in y
  std::int32_t MuteSound = 0;           // the system's mute value
  POINT InitCursorPos{};                // cursor position that motion is measured from
  std::uint32_t InitTime = 0;           // tick count at the window's creation, ms
  std::uint32_t TimerId = 0;            // a window timer; never anything else
  std::int32_t DialogActive = 0;        // a password dialog is up: exit rules are off
  std::int32_t SuppressActivateClose = 0;  // set before an error box, so that losing
                                           // activation to it doesn't close the saver
  std::int32_t CloseRequested = 0;      // WM_CLOSE acts only on it
  std::int32_t MipMap = 1;
  std::int32_t PlayMusic = 1;
  std::int32_t ShuffleMusic = 1;
  std::int32_t DebugLog = 1;
  std::int32_t BitmapText = 0;          // stored; nothing else reads it
  std::int32_t SaverActive = 0;         // set just before the main loop; mouse rule off till then
  std::int32_t CloseLatched = 0;        // set with CloseRequested
  std::int32_t CrashFlag = 0;           // as read at the start
  std::int32_t DoChecksum = 0;          // as read at the start
  std::int32_t CriticalError = 0;       // 0 none, 1 failure of start-up, 2 while running
  std::int32_t StretchWallpaper = 0;
  std::int32_t BlankAllScreens = 1;
  std::string CaptionFont = "Arial";
  std::int32_t DispModeWidth = 0;       // requested mode, px; 0 means no change of mode
  std::int32_t DispModeHeight = 0;
  std::int32_t DispModeBits = 0;        // bits a pixel
  std::int32_t CramSize = 1024;         // limit of a picture's side for cramming, px
  std::int32_t MusicVol = 255;          // 0 to 255
  float ImageDelay = 10.0f;             // s each picture stands
  std::int32_t CaptionFontSize = -22;   // as CreateFontA takes it: negative, px
  std::int32_t CaptionOrientation = 0;  // 0 left, 1 centred, 2 right
  std::uint8_t CaptionItalic = 1;       // 0 or 1
  std::uint8_t CaptionBold = 1;         // 0 or 1
  float AvgFps = 100.0f;                // of the last saver run
  std::int32_t ShowSpeedtip = 1;
  std::int32_t ShowBugReport = 1;
  std::int32_t SetAsWallpaper = 0;      // leave the last picture as wallpaper
  std::int32_t Crossfade = 1;
  std::int32_t Animate = 1;
  std::int32_t RandomOrder = 1;
  std::int32_t DefaultMusic = 1;        // play the built-in music
  std::int32_t CustomMusic = 0;         // play the user's playlist
  std::int32_t FastMode = 0;            // GDI path, no Direct3D
  std::int32_t CramImages = 1;
  std::int32_t AutoPerformance = 0;
  std::int32_t ShowCaptions = 0;
  GUID VideoGUID{};                     // the video card seen last

  // Reads the system's saver values. A set mute value turns PlayMusic off; a
  // stored PlayMusic, read afterwards, turns it on again.
  void ReadGeneralRegistry();
  // Reads the user's values and the machine's. No range is checked here. The
  // result is the status of the last key opened.
  LONG ReadRegistry();
  // Writes the user's values; the result is a registry status.
  LONG WriteRegistry() const;
};

// The process's record: made by WinMain, deleted at its end; null outside.
extern SaverSettings* ss;

// Each writes one value under the user's key at once. The record isn't
// touched, but for CriticalError, which follows a write.
void SetCrashFlag(std::int32_t value);
void SetDoChecksum(std::int32_t value);
void SetCriticalError(std::int32_t value);

// Writes one text value under the user's key.
void WriteSettingsText(const char* name, const std::string& text);

// Creates the HKLM key `key` and writes a REG_BINARY value of `size` bytes;
// true if the value was written.
bool SetMachineBinary(const char* key, const char* name, const void* data, std::uint32_t size);

bool GuidEqual(const GUID& a, const GUID& b);
