#pragma once
// The diagnosis log: a plain text file, written only if the setting DebugLog
// is on. Every line opens the file, appends and closes it, so the text is on
// the disk when the program crashes a moment later.
//
// Call it through the macros below: with the log off a line costs the test of
// a pointer. No failure reaches the caller: a file that can't be opened loses
// the line. There is no lock; lines of two threads may mix their positions.

#include <cstddef>
#include <cstdint>
#include <string>

// A line is written if `level & levelMask` is not 0.
enum LogLevel : std::int32_t {
  kLogAlways = -1,
  kLogBlockBegin = 1,
  kLogBlockEnd = 2,
  kLogFunction = 4,
  kLogDebug = 16,
  kLogInfo = 18,
  kLogWarning = 20,
  kLogError = 24,
  kLogCritical = 32,
};

class Logger final {
 public:
  // Starts a new log in the file `fileName` (a full path).
  explicit Logger(const std::string& fileName);
  // Writes the foot line and frees the strings.
  ~Logger();
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  // Deletes an old file and writes the head line; ignored once started.
  virtual void Start();
  // Writes the foot line and four empty lines; ignored unless started.
  virtual void Stop();
  // One line: prefix, text.
  virtual void Log(const std::string& text, std::int32_t level);
  // The text alone: no prefix, no line end, no level test.
  virtual void LogRaw(const std::string& text);
  // A dump, 20 bytes a line. Nothing for null `data` or a `length` of 0.
  virtual void LogHex(const void* data, std::size_t length, std::int32_t level);
  // A line that begins or ends a block; the lines between are indented.
  virtual void LogEnter(const std::string& text, std::int32_t level);
  virtual void LogLeave(const std::string& text, std::int32_t level);
  // Mark, source position, local time and indentation. The string is static.
  virtual std::string& LinePrefix(std::int32_t level);

  // Says where the next line comes from. Threads may do so at the same time: one of
  // them wins.
  void SetSource(const std::string& file, std::int32_t line);

  std::string fileName;
  std::string sourceFile;          // set by the caller just before each call
  std::int32_t sourceLine = 0;     // likewise
  std::int32_t indent = 0;         // columns; below 1024
  std::int32_t indentStep = 4;
  std::uint32_t levelMask = 0xFFFFFFFF;
  bool started = false;
  bool lineArt = false;            // box-drawing bytes instead of "|" and "+-"

 private:
  bool IsMasked(std::int32_t level) const;
  const char* EnterMark() const;
  const char* LeaveMark() const;
};

// The process's log; null when logging is off. Made and deleted by WinMain,
// read by everyone.
extern Logger* gLogger;

// Enter and Exit lines for a block or a function. The helper is destroyed at
// once where the macros below make it, so the two lines stand together at the
// block's start and nothing in between is indented.
class LogBlockScope {
 public:
  explicit LogBlockScope(const std::string& name);
  ~LogBlockScope();

 private:
  std::string name_;
};

class LogFunctionScope {
 public:
  explicit LogFunctionScope(const std::string& name);
  ~LogFunctionScope();

 private:
  std::string name_;
};

// The guarded form that every log line goes through. A file that logs defines
// LOG_SOURCE, its name in the log, before it includes this header.
#define VELMORA_LOG_CALL(statement)             \
  do {                                          \
    if (gLogger) {                              \
      gLogger->SetSource(LOG_SOURCE, __LINE__); \
      statement;                                \
    }                                           \
  } while (false)

#define LOG_AT(level, text) VELMORA_LOG_CALL(gLogger->Log(text, level))
#define LOG_INFO(text) LOG_AT(kLogInfo, text)
// The error level of the session's own failures.
#define LOG_ERROR(text) LOG_AT(kLogCritical, text)
#define LOG_BLOCK(name) VELMORA_LOG_CALL(LogBlockScope scope_(name))
#define LOG_FUNCTION(name) VELMORA_LOG_CALL(LogFunctionScope scope_(name))
