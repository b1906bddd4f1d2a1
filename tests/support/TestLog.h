#pragma once
// Turns the log on for the length of one object and reads back what was
// written, without positions and times.

#include "base/Logger.h"
#include "support/TempFolder.h"

#include <string>
#include <vector>

namespace support {

struct LogLine {
  std::string mark;    // of the level: "I", "!", "F", ">" ...
  std::string source;  // the source file's name as logged
  std::string text;
};

class TestLog {
 public:
  TestLog();
  ~TestLog();
  TestLog(const TestLog&) = delete;
  TestLog& operator=(const TestLog&) = delete;

  // All lines between the log's head and its foot.
  std::vector<LogLine> Lines() const;
  // Their texts.
  std::vector<std::string> Texts() const;
  // The texts of errors alone.
  std::vector<std::string> Errors() const;

 private:
  TempFolder folder_;
};

// The lines of a log file that some program wrote.
std::vector<LogLine> ReadLog(const std::string& path);

}  // namespace support
