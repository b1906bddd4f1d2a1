// Any bytes at all as a command line. What is found in it has to agree with the
// rules applied to whole strings.

#include "fuzz.h"

#include "app/CommandLine.h"
#include "settings/Session.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cwctype>
#include <string>
#include <vector>

namespace {

using Command = StartRequest::Command;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool Contains(const std::string& text, const char* lowerPart) {
  return Lower(text).find(lowerPart) != std::string::npos;
}

std::string From(const std::string& text, std::size_t at) {
  return at < text.size() ? text.substr(at) : std::string();
}

std::string BehindProgramName(const std::string& line) {
  const bool quoted = line.starts_with('"');
  const std::size_t end = quoted ? line.find('"', 1) : line.find(' ');
  if (end == std::string::npos) return {};
  const std::string rest = From(line, end + (quoted ? 1 : 0));
  return From(rest, rest.find_first_not_of(" \t"));
}

std::string WithoutMark(const std::string& rest) {
  return rest.starts_with('-') || rest.starts_with('/') ? rest.substr(1) : rest;
}

std::int32_t ModeOf(char letter) {
  switch (letter) {
    case 'p': case 'l': return RUNMODE_PREVIEW;
    case 's': return RUNMODE_SAVER;
    case 'c': return RUNMODE_CONFIG;
    case 'a': return RUNMODE_PASSWORD;
    default: return RUNMODE_NONE;
  }
}

// Numbers of up to nine digits, which every way of reading agrees on.
void CheckParent(const StartRequest& request, const std::string& argument) {
  const std::size_t digits = std::min(argument.find_first_not_of("0123456789"), argument.size());
  if (digits > 0 && digits <= 9) Require(request.parentNumber == std::stoul(argument));
  if (argument.empty() || std::isalpha(static_cast<unsigned char>(argument[0])))
    Require(request.parentNumber == 0);
}

void CheckCommand(const StartRequest& request, const std::string& text) {
  const bool uninstall = Contains(text, "uninstall");
  const bool security = Contains(text, "initialsecurity");
  Require(request.command == (uninstall  ? Command::Uninstall
                              : security ? Command::InitialSecurity
                                         : Command::None));
}

void CheckSwitch(const StartRequest& request, const std::string& text) {
  const std::string letter = Lower(text.substr(0, 1));
  const std::int32_t mode = letter.empty() ? RUNMODE_NONE : ModeOf(letter[0]);
  const std::string behind = From(text, 1);
  const std::string argument = From(behind, behind.find_first_not_of(" :"));
  Require(request.runMode == mode);
  Require(request.installRequested == (letter == "z"));
  Require(request.parentIsForeground == (letter == "c" && argument.empty()));
  if (mode == RUNMODE_NONE || mode == RUNMODE_SAVER)
    Require(request.parentNumber == 0);
  else
    CheckParent(request, argument);
  if (mode != RUNMODE_NONE || letter == "z")
    Require(request.command == Command::None);
  else
    CheckCommand(request, text);
}

void CheckRequest(const std::string& line) {
  // Memory of exactly that size: a read behind its end is an error.
  std::vector<char> exact(line.begin(), line.end());
  exact.push_back(0);
  const StartRequest request = ParseCommandLine(exact.data());
  const std::string rest = BehindProgramName(line);
  Require(request.hasDumpType == (!rest.empty() && Contains(line, "/dumptype")));
  if (!rest.empty()) return CheckSwitch(request, WithoutMark(rest));
  Require(request.runMode == RUNMODE_CONFIG && !request.parentIsForeground);
  Require(!request.installRequested && request.command == Command::None);
}

void CheckNumber(const std::string& text) {
  const std::size_t blanks = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  const char* begin = text.c_str() + blanks;
  const char* end = text.c_str() + text.size();
  if (begin != end && *begin == '+') ++begin;
  const bool twoSigns = begin != text.c_str() && begin[-1] == '+' && begin != end && *begin == '-';
  std::int32_t expected = 0;
  const bool isNumber = std::from_chars(begin, end, expected).ec == std::errc();
  Require(DecimalOrZero(text.c_str()) == (isNumber && !twoSigns ? expected : 0));
}

std::vector<std::wstring> SplitAtBlanks(const std::string& line) {
  std::vector<std::wstring> arguments(1);
  for (const unsigned char c : line) {
    if (c == ' ')
      arguments.emplace_back();
    else
      arguments.back().push_back(c);
  }
  return arguments;
}

void CheckOption(const std::vector<std::wstring>& arguments) {
  std::vector<const wchar_t*> pointers;
  for (const std::wstring& argument : arguments) pointers.push_back(argument.c_str());
  const wchar_t* expected = nullptr;
  for (std::size_t n = 0; n + 1 < arguments.size() && !expected; ++n) {
    std::wstring lower = arguments[n];
    for (wchar_t& c : lower) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    if (lower.find(L"dumptype") != std::wstring::npos) expected = pointers[n + 1];
  }
  Require(ArgumentBehind(pointers, L"dumpType") == expected);
  Require(ArgumentBehind(pointers, L"") == nullptr);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string line(reinterpret_cast<const char*>(data), size);
  line.resize(line.find('\0') == std::string::npos ? size : line.find('\0'));
  CheckRequest(line);
  CheckNumber(line);
  CheckOption(SplitAtBlanks(line));
  return 0;
}
