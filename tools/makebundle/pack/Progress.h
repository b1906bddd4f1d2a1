#pragma once
// The line that tells how far long work has come.

#include <cstdint>
#include <functional>
#include <string>

// On a terminal the line is rewritten in place; into a file, where that would
// leave a heap of control characters, a whole line goes out now and then. Work
// that is over soon says nothing at all.
class ProgressLine {
 public:
  using Clock = std::function<std::uint64_t()>;           // ms, from any start
  using Print = std::function<void(const std::string&)>;  // takes the text as it is

  ProgressLine(Clock clock, Print print, bool onTerminal);

  // Step `done` of `total` begins; `what` says which.
  void Show(std::size_t done, std::size_t total, const std::string& what);
  // Takes the line off the terminal, so that something else can be printed.
  void Clear();

 private:
  Clock clock_;
  Print print_;
  bool onTerminal_;
  std::uint64_t next_;  // when the line may next be printed
  std::size_t width_ = 0;  // characters of the line that stands on the terminal
};
