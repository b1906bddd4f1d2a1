#pragma once
// Which Windows this is, as a small code that the rest compares with: an
// OsVersionValue of settings/Session.h.

#include <cstdint>

// Names by code, as the log shows them.
extern const char* const OSVersionNames[11];

// The code of this system, an index into OSVersionNames.
std::int32_t GetOSVersionCode();

// The same from the numbers of a version record.
std::int32_t ClassifyOSVersion(std::uint32_t platform, std::uint32_t major, std::uint32_t minor);

// True for Windows NT and all that came of it.
bool IsWindowsNT();

// True for Windows 2000 and later. For the false answer `isPlainWin95`, if
// given, tells whether the minor version is 0.
bool IsWindowsNT5OrLater(bool* isPlainWin95 = nullptr);
