#pragma once
// One HTTP request through WinInet, with its reply as text: the whole network
// layer. It blocks its caller for as long as WinInet's own time limits allow, so
// it belongs on a worker thread. There is no retry, and the HTTP status isn't
// looked at: an error page is a reply like any other.

#include "base/SimpleString.h"
#include "base/win.h"

#include <cstdint>
#include <string>

class CHTTPRequest {
 public:
  // Sends `dataLength` bytes as they stand, always to port 80. `host` is a name
  // without a scheme, `path` begins with "/", `headers` is one line without its
  // end. A null among the arguments from `user` on takes its default: "Guest",
  // "CHTTPRequest Client", the content type of a form, "HTTP/1.0".
  //
  // Returns the reply's text, which this object owns until the next Send, or null:
  // then stage and error tell how far it came. What had arrived before a later
  // read failed is kept and returned. Doesn't throw.
  const char* Send(const char* host, const char* path, const char* verb, const void* data,
                   std::uint32_t dataLength, const char* user = nullptr,
                   const void* reserved1 = nullptr, const char* agent = nullptr,
                   const char* headers = nullptr, const char* httpVersion = nullptr);

  const char* GetReply() const { return reply.Text(); }
  std::int32_t GetReplyLength() const { return reply.Length(); }
  // The system's error code of the step that failed, or 0.
  std::uint32_t GetLastError() const { return lastError; }
  // A RequestStage.
  std::int32_t GetStage() const { return stage; }

 private:
  struct Arguments;
  void* Open(const Arguments& arguments);
  bool ReachHost(const Arguments& arguments);
  bool ReadFirst(void* request, std::string& text, DWORD& read);
  void ReadRest(void* request, std::string& text, DWORD read);
  bool ReadPiece(void* request, DWORD available, std::string& text, DWORD& read);
  bool Fail(DWORD error);

  std::uint32_t lastError = 0;
  SimpleString reply;
  std::int32_t stage = 0;
};

// How far a request came.
enum RequestStage : std::int32_t {
  kStageNothing = 0,
  kStageOnline = 1,         // InternetAttemptConnect
  kStageReachable = 2,      // InternetCheckConnectionA
  kStageSession = 3,        // InternetOpenA
  kStageConnection = 4,     // InternetConnectA
  kStageRequest = 5,        // HttpOpenRequestA
  kStageSent = 6,           // HttpSendRequestA
  kStageFirstAvailable = 7, // the first InternetQueryDataAvailable
  kStageFirstRead = 8,      // the first InternetReadFile
  kStageMoreAvailable = 9,  // a later InternetQueryDataAvailable
  kStageCutShort = 10,      // finished with an error
  kStageDone = 11,
};
