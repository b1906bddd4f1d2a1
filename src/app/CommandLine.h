#pragma once
// What the command line asks for. Windows starts a saver with a letter after
// an optional "-" or "/"; only that first letter counts. Portable.

#include <cstdint>
#include <span>

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

// The argument behind the first of `arguments` that contains `name` anywhere,
// without regard to case; null if no such argument has one behind it. Borrowed.
const wchar_t* ArgumentBehind(std::span<const wchar_t* const> arguments, const wchar_t* name);

// A decimal integer; 0 if it is out of range or none.
std::int32_t DecimalOrZero(const char* text);
