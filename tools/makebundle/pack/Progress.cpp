#include "makebundle/pack/Progress.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kTerminalDelay = 500;  // ms
constexpr std::uint64_t kTerminalInterval = 100;
constexpr std::uint64_t kFileInterval = 10'000;
constexpr std::size_t kWidest = 78;  // a line that wraps can't be rewritten

// At most kWidest bytes, and no character cut in two.
std::string Shortened(std::string text) {
  if (text.size() <= kWidest) return text;
  std::size_t end = kWidest - 3;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end) + "...";
}

}  // namespace

ProgressLine::ProgressLine(Clock clock, Print print, bool onTerminal)
    : clock_(std::move(clock)), print_(std::move(print)), onTerminal_(onTerminal),
      next_(clock_() + (onTerminal ? kTerminalDelay : kFileInterval)) {}

void ProgressLine::Show(std::size_t done, std::size_t total, const std::string& what) {
  const std::uint64_t now = clock_();
  if (now < next_) return;
  next_ = now + (onTerminal_ ? kTerminalInterval : kFileInterval);
  const std::string line =
      Shortened(std::to_string(done) + " of " + std::to_string(total) + ": " + what);
  if (!onTerminal_) {
    print_(line + "\n");
    return;
  }
  const std::size_t blanks = width_ > line.size() ? width_ - line.size() : 0;
  print_(std::string("\r") + line + std::string(blanks, ' '));
  width_ = line.size();
}

void ProgressLine::Clear() {
  if (width_ == 0) return;
  print_(std::string("\r") + std::string(width_, ' ') + "\r");
  width_ = 0;
}
