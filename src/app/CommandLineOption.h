#pragma once
// Options with a value that stand anywhere in this process's command line.

#include <cstdint>
#include <optional>
#include <string>

// The argument behind the first one that contains `name` anywhere, without
// regard to case; asking for "dump" so finds "/dumpType". Nothing if `name` is
// null or no such argument has one behind it. ANSI code page.
std::optional<std::string> GetCommandLineOption(const char* name);

// The same as a decimal integer; 0 if the option is absent or out of range.
std::int32_t GetCommandLineInt(const char* name);
