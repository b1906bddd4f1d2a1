#pragma once
// What the command line asks for. Windows starts a saver with a letter after
// an optional "-" or "/"; only that first letter counts.

#include "base/win.h"

#include <cstdint>
#include <optional>
#include <string>

struct StartRequest {
  enum class Command { None, Uninstall, InitialSecurity };

  std::int32_t runMode = 0;            // a RunModeValue
  std::uint32_t parentNumber = 0;      // of the parent window, as the switch gave it
  bool parentIsForeground = false;     // `c` alone: the dialog belongs to the foreground window
  bool installRequested = false;       // `z`
  Command command = Command::None;     // does its work and ends the program
  bool hasDumpType = false;            // "/dumpType" stands somewhere in the line
};

// Reads a whole command line, the program's name included, as GetCommandLineA
// gives it.
StartRequest ParseCommandLine(const char* commandLine);

// The argument behind the first one that contains `name` anywhere, without
// regard to case; asking for "dump" so finds "/dumpType". Nothing if `name` is
// null or no such argument has one behind it. ANSI code page.
std::optional<std::string> GetCommandLineOption(const char* name);

// The same as a decimal integer; 0 if the option is absent or out of range.
std::int32_t GetCommandLineInt(const char* name);
