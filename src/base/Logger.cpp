#include "base/Logger.h"

#include "base/win.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>

Logger* gLogger = nullptr;

namespace {

constexpr std::size_t kHexBytesPerLine = 20;
constexpr std::size_t kHexTextColumn = 3 * kHexBytesPerLine;
constexpr std::size_t kHexLineLength = 4 * kHexBytesPerLine;
constexpr std::int32_t kMaxIndent = 1023;
// Worker threads log without a lock, so two may write one of the shared strings
// at a time. With this much room, and set whole, a string never gives up memory
// that another thread is reading: lines may mix, nothing worse. Set whole means
// `assign` of another string: from characters it computes with its present length,
// which the other thread changes meanwhile, and throws.
constexpr std::size_t kSourceFileRoom = 256;
constexpr std::size_t kPrefixRoom = kMaxIndent + 2 * kSourceFileRoom;

// The stream of one write; whoever holds it closes it with the end of its scope.
// The C run time opens it shared for other readers and writers.
std::ofstream OpenForAppend(const std::string& fileName) {
  return std::ofstream(fileName, std::ios::out | std::ios::app);
}

const char* LevelMark(std::int32_t level) {
  switch (level) {
    case kLogAlways: return "A ";
    case kLogBlockBegin: return "> ";
    case kLogBlockEnd: return "< ";
    case kLogFunction: return "F ";
    case kLogDebug: return "D ";
    case kLogInfo: return "I ";
    case kLogWarning: return "W ";
    case kLogError: return "E ";
    case kLogCritical: return "! ";
    default: return "  ";
  }
}

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  if (local) return *local;
  std::tm none{};
  none.tm_mday = 1;  // there is no day 0 to print
  return none;
}

// The time as asctime writes it, with a NUL in place of its newline: the byte
// 0 goes to the file, behind the year.
std::string TimeForHeadLine() {
  const std::tm now = LocalTime();
  std::string text = std::asctime(&now);
  text.back() = '\0';
  return text;
}

std::string FileNameOf(const std::string& path) {
  const std::size_t separator = path.rfind('\\');
  return separator == std::string::npos ? path : path.substr(separator + 1);
}

std::string Indentation(std::int32_t indent, std::int32_t step, char bar) {
  std::string columns(static_cast<std::size_t>(std::clamp(indent, 0, kMaxIndent)), ' ');
  if (step > 0)
    for (std::size_t column = 1; column < columns.size(); column += static_cast<std::size_t>(step))
      columns[column] = bar;
  return columns;
}

std::string HexLine(const unsigned char* bytes, std::size_t count) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string line(kHexLineLength, '.');
  for (std::size_t n = 0; n < kHexBytesPerLine; ++n) line.replace(3 * n, 3, "-- ");
  for (std::size_t n = 0; n < count; ++n) {
    line[3 * n] = kDigits[bytes[n] >> 4];
    line[3 * n + 1] = kDigits[bytes[n] & 15];
    if (bytes[n] >= 32 && bytes[n] <= 127) line[kHexTextColumn + n] = static_cast<char>(bytes[n]);
  }
  return line;
}

std::string EmptyWithRoom(std::size_t room) {
  std::string text;
  text.reserve(room);
  return text;
}

// "[0123]", and the file's name in front, padded on the left to 12 columns. Works on a
// copy of the file, which another thread may be setting.
std::string SourcePosition(std::string sourceFile, std::int32_t line) {
  char text[16];
  std::snprintf(text, sizeof text, "[%04d]", static_cast<int>(line));
  const std::string file = FileNameOf(sourceFile);
  return std::string(12 - std::min<std::size_t>(file.size(), 12), ' ') + file + text;
}

std::string DateAndTime() {
  const std::tm now = LocalTime();
  char text[64];
  std::snprintf(text, sizeof text, "%02d/%02d %02d:%02d:%02d ", now.tm_mon + 1, now.tm_mday,
                now.tm_hour, now.tm_min, now.tm_sec);
  return text;
}

}  // namespace

Logger::Logger(const std::string& logFileName)
    : fileName(logFileName), sourceFile(EmptyWithRoom(kSourceFileRoom)) {
  Logger::Start();
}

Logger::~Logger() { Logger::Stop(); }

void Logger::Start() {
  if (started) return;
  started = true;
  const std::string time = TimeForHeadLine();
  DeleteFileA(fileName.c_str());
  std::ofstream file = OpenForAppend(fileName);
  if (!file) return;
  file << "---------------------------------------------- Log begins on " << time
       << " ----------------------------------------------" << std::endl;
}

void Logger::Stop() {
  if (!started) return;
  started = false;
  std::ofstream file = OpenForAppend(fileName);
  if (!file) return;
  file << "----------------------------------------------- Log ends on " << TimeForHeadLine()
       << " -----------------------------------------------";
  for (int line = 0; line < 5; ++line) file << std::endl;
}

void Logger::Log(const std::string& text, std::int32_t level) {
  if (IsMasked(level)) return;
  std::ofstream file = OpenForAppend(fileName);
  if (!file) return;
  file << LinePrefix(level) << text << std::endl;
}

void Logger::LogRaw(const std::string& text) {
  std::ofstream file = OpenForAppend(fileName);
  if (file) file << text;
}

void Logger::LogHex(const void* data, std::size_t length, std::int32_t level) {
  if (!data || IsMasked(level) || length == 0) return;
  std::ofstream file = OpenForAppend(fileName);
  if (!file) return;
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (std::size_t at = 0; at < length; at += kHexBytesPerLine)
    file << LinePrefix(level) << HexLine(bytes + at, std::min(kHexBytesPerLine, length - at))
         << std::endl;
}

void Logger::LogEnter(const std::string& text, std::int32_t level) {
  if (IsMasked(level)) return;
  std::ofstream file = OpenForAppend(fileName);
  if (!file) return;
  file << LinePrefix(level) << EnterMark() << text << std::endl;
  indent += indentStep;
}

void Logger::LogLeave(const std::string& text, std::int32_t level) {
  if (IsMasked(level)) return;
  indent = std::max(indent - indentStep, 0);
  std::ofstream file = OpenForAppend(fileName);
  if (!file) return;
  file << LinePrefix(level) << LeaveMark() << text << std::endl;
}

std::string& Logger::LinePrefix(std::int32_t level) {
  static std::string prefix = EmptyWithRoom(kPrefixRoom);
  const std::string whole = LevelMark(level) + SourcePosition(sourceFile, sourceLine) +
                            DateAndTime() +
                            Indentation(indent, indentStep, lineArt ? '\xB3' : '|');
  return prefix.assign(whole);
}

void Logger::SetSource(const std::string& file, std::int32_t line) {
  sourceLine = line;
  sourceFile.assign(file);
}

bool Logger::IsMasked(std::int32_t level) const {
  return (static_cast<std::uint32_t>(level) & levelMask) == 0;
}

const char* Logger::EnterMark() const { return lineArt ? " \xDA " : " +- "; }

const char* Logger::LeaveMark() const { return lineArt ? " \xC0 " : " +- "; }

LogBlockScope::LogBlockScope(const std::string& name) : name_(name) {
  if (gLogger) gLogger->LogEnter("Begin block: " + name_, kLogBlockBegin);
}

LogBlockScope::~LogBlockScope() {
  if (gLogger) gLogger->LogLeave("End block: " + name_, kLogBlockEnd);
}

LogFunctionScope::LogFunctionScope(const std::string& name) : name_(name) {
  if (gLogger) gLogger->LogEnter("Enter function: " + name_, kLogFunction);
}

LogFunctionScope::~LogFunctionScope() {
  if (gLogger) gLogger->LogLeave("Exit function: " + name_, kLogFunction);
}
