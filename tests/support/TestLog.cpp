#include "support/TestLog.h"

#include <sstream>

namespace support {
namespace {

// "I      Minimal[0123]11/14 13:46:48 text"
constexpr std::size_t kMarkLength = 2;
constexpr std::size_t kTimeLength = 15;

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(" \r") + 1 - first);
}

bool IsLogLine(const std::string& line) {
  const std::size_t bracket = line.find(']');
  return line.size() > kMarkLength && bracket != std::string::npos &&
         line.find('[') < bracket && line.compare(0, 3, "---") != 0 &&
         line.size() >= bracket + 1 + kTimeLength && line[bracket + 3] == '/';
}

LogLine Parse(const std::string& line) {
  const std::size_t bracket = line.find('[');
  const std::size_t time = line.find(']') + 1;
  return {Trimmed(line.substr(0, kMarkLength)),
          Trimmed(line.substr(kMarkLength, bracket - kMarkLength)),
          Trimmed(line.substr(time + kTimeLength))};
}

}  // namespace

std::vector<LogLine> ReadLog(const std::string& path) {
  std::istringstream file(TextOf(ReadWholeFile(path)));
  std::vector<LogLine> lines;
  for (std::string line; std::getline(file, line);)
    if (IsLogLine(line)) lines.push_back(Parse(line));
  return lines;
}

TestLog::TestLog() { gLogger = new Logger(folder_.File("log.txt")); }

TestLog::~TestLog() {
  delete gLogger;
  gLogger = nullptr;
}

std::vector<LogLine> TestLog::Lines() const { return ReadLog(folder_.File("log.txt")); }

std::vector<std::string> TestLog::Texts() const {
  std::vector<std::string> texts;
  for (const LogLine& line : Lines()) texts.push_back(line.text);
  return texts;
}

std::vector<std::string> TestLog::Errors() const {
  std::vector<std::string> texts;
  for (const LogLine& line : Lines())
    if (line.mark == "!" || line.mark == "E") texts.push_back(line.text);
  return texts;
}

}  // namespace support
