#pragma once
// Sends an error report to the maker's web server on a worker thread: a comment
// of the user, the log, and a crash dump in Base64. The server's answer may point
// to a newer version: any of <status>, <link> and <msg>.

#include "base/SimpleString.h"
#include "base/cThread.h"

#include <cstdint>
#include <memory>
#include <string>

#undef GetMessage  // the Windows headers' macro would rename the getter

class RequestJob;

class CReportBugThread : public cThread {
 public:
  // Waits 5 seconds for a report that is under way and then leaves it to itself.
  ~CReportBugThread() override;
  unsigned int Run() override;

  // Reads `logFile` and encodes `dumpFile` at once, on the caller's thread, into a
  // file beside the dump with the extension ".b64", which stays. One that can't be
  // read is left out. Then sends the report. `message` goes to `window` by
  // SendMessageA when the outcome stands; the getters are for after that. False if
  // there is no thread or no memory to be had: then no message comes, and
  // GetMessage says so at once.
  bool Start(const char* host, const char* path, const char* version, const char* appName,
             const char* logFile, const char* dumpFile, const char* comments, HWND window,
             std::uint32_t message);

  const char* GetReply() const { return reply.Text(); }
  // What to tell the user, also about a failure.
  const char* GetMessage() const { return message.Text(); }
  // Whatever the server has sent: check it before opening it.
  const char* GetLink() const { return link.Text(); }
  bool IsNewerAvailable() const { return status >= 3 && status <= 5; }
  // The request itself failed.
  bool HasFailed() const { return failed; }

 protected:
  SimpleString host;
  SimpleString path;
  SimpleString version;
  SimpleString appName;
  SimpleString logFile;
  std::unique_ptr<char[]> logData;  // null: there is none to send
  std::uint32_t logSize = 0;        // without the terminator
  SimpleString dumpFile;
  std::unique_ptr<char[]> dumpData;  // in Base64
  std::uint32_t dumpSize = 0;
  SimpleString comments;
  SimpleString reply;
  SimpleString message;
  SimpleString link;
  HWND notifyWindow = nullptr;         // nothing reads it: the job has its own
  std::uint32_t notifyMessage = 1024;  // likewise
  bool failed = false;
  std::int32_t status = 1;

 private:
  void ReadLog();
  void EncodeDump();
  std::string Body() const;
  bool FailToStart();
  void TakeOutcome(const char* text);
  void ParseReply();
  void ReadTags();
  void LeaveWorker();

  std::shared_ptr<RequestJob> job;
};
