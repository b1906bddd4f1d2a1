#include "makebundle/Console.h"

#include "base/win.h"
#include "makebundle/WinText.h"

#include <algorithm>

namespace {

bool IsConsole(HANDLE stream) {
  DWORD mode = 0;
  return GetConsoleMode(stream, &mode) != 0;
}

std::string WithCarriageReturns(const std::string& text) {
  std::string lines;
  for (const char c : text) lines.append(c == '\n' ? "\r\n" : std::string(1, c));
  return lines;
}

// A stream that nobody takes from any more is no reason to stop.
void Print(DWORD which, const std::string& text) {
  const HANDLE stream = GetStdHandle(which);
  DWORD written = 0;
  if (IsConsole(stream)) {
    constexpr std::size_t kMostAtOnce = 8000;  // old consoles refuse long texts
    const std::wstring wide = WideFromUtf8(text);
    for (std::size_t at = 0; at < wide.size(); at += kMostAtOnce)
      WriteConsoleW(stream, wide.data() + at,
                    static_cast<DWORD>(std::min(kMostAtOnce, wide.size() - at)), &written, nullptr);
    return;
  }
  const std::string lines = WithCarriageReturns(text);
  WriteFile(stream, lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
}

void PrintLine(const char* kind, const std::string& text) {
  Progress().Clear();
  Print(STD_ERROR_HANDLE, std::string("MakeBundle: ") + kind + text + "\n");
}

}  // namespace

void Say(const std::string& text) {
  Progress().Clear();
  Print(STD_OUTPUT_HANDLE, text);
}

void Note(const std::string& text) { PrintLine("note: ", text); }
void Warning(const std::string& text) { PrintLine("warning: ", text); }
void Error(const std::string& text) { PrintLine("error: ", text); }

ProgressLine& Progress() {
  static ProgressLine line([] { return std::uint64_t{GetTickCount()}; },
                           [](const std::string& text) { Print(STD_ERROR_HANDLE, text); },
                           IsConsole(GetStdHandle(STD_ERROR_HANDLE)));
  return line;
}
