#include "app/CommandLine.h"

#include "base/FindNoCase.h"
#include "settings/Session.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

const char* SkipBlanks(const char* text) {
  while (*text == ' ' || *text == '\t') ++text;
  return text;
}

// What follows the program's name, which is quoted if its path has blanks.
const char* SkipProgramName(const char* line) {
  const char* end = *line == '"' ? std::strchr(line + 1, '"') : std::strchr(line, ' ');
  if (!end) return line + std::strlen(line);
  return SkipBlanks(*end == '"' ? end + 1 : end);
}

// What follows a switch letter: "/p 123", "/p:123".
const char* SwitchArgument(const char* text) {
  while (*text == ' ' || *text == ':') ++text;
  return text;
}

std::uint32_t WindowNumber(const char* text) {
  return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

StartRequest::Command CommandIn(const char* text) {
  if (FindNoCase(text, "uninstall")) return StartRequest::Command::Uninstall;
  if (FindNoCase(text, "initialsecurity")) return StartRequest::Command::InitialSecurity;
  return StartRequest::Command::None;
}

void ReadSwitch(const char* text, StartRequest& request) {
  const char* argument = *text ? SwitchArgument(text + 1) : text;
  switch (*text) {
    case 'p': case 'P': case 'l': case 'L':
      request.runMode = RUNMODE_PREVIEW;
      request.parentNumber = WindowNumber(argument);
      break;
    case 's': case 'S':
      request.runMode = RUNMODE_SAVER;
      break;
    case 'c': case 'C':
      request.runMode = RUNMODE_CONFIG;
      request.parentIsForeground = *argument == '\0';
      request.parentNumber = WindowNumber(argument);
      break;
    case 'a': case 'A':
      request.runMode = RUNMODE_PASSWORD;
      request.parentNumber = WindowNumber(argument);
      break;
    case 'z': case 'Z':
      request.installRequested = true;
      break;
    default:
      request.command = CommandIn(text);
      break;
  }
}

}  // namespace

StartRequest ParseCommandLine(const char* commandLine) {
  StartRequest request;
  const char* rest = SkipProgramName(commandLine);
  if (!*rest) {
    request.runMode = RUNMODE_CONFIG;
    return request;
  }
  if (*rest == '-' || *rest == '/') ++rest;
  ReadSwitch(rest, request);
  request.hasDumpType = FindNoCase(commandLine, "/dumpType") != nullptr;
  return request;
}

const wchar_t* ArgumentBehind(std::span<const wchar_t* const> arguments, const wchar_t* name) {
  for (std::size_t index = 0; index + 1 < arguments.size(); ++index)
    if (FindNoCase(arguments[index], name)) return arguments[index + 1];
  return nullptr;
}

std::int32_t DecimalOrZero(const char* text) {
  errno = 0;
  const long long value = std::strtoll(text, nullptr, 10);
  const bool inRange = errno == 0 && std::in_range<std::int32_t>(value);
  return inRange ? static_cast<std::int32_t>(value) : 0;
}
