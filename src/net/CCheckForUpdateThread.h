#pragma once
// Asks the maker's web server on a worker thread whether there is a newer version,
// and tells a window when it has the answer.
//
// The server's whole protocol: <msg>text</msg> means no update, <link>address of
// the download page</link> an update, with or without a <msg> that replaces the
// standard text.

#include "base/SimpleString.h"
#include "base/cThread.h"

#include <cstdint>
#include <memory>

#undef GetMessage  // the Windows headers' macro would rename the getter

class RequestJob;

class CCheckForUpdateThread : public cThread {
 public:
  // Waits 5 seconds for a check that is under way and then leaves it to itself.
  ~CCheckForUpdateThread() override;
  unsigned int Run() override;

  // Sends the question. `message` goes to `window` by SendMessageA when the
  // outcome stands; the getters are for after that. An earlier check is stopped
  // first. False if there is no thread or no memory to be had: then no message
  // comes, and GetMessage says so at once.
  bool Start(const char* host, const char* path, const char* version, const char* title,
             HWND window, std::uint32_t message);

  const char* GetReply() const { return reply.Text(); }
  // What to tell the user, also about a failure.
  const char* GetMessage() const { return message.Text(); }
  // Whatever the server has sent: check it before opening it.
  const char* GetLink() const { return link.Text(); }
  bool HasLink() const { return hasLink; }
  // The request itself failed.
  bool HasFailed() const { return failed; }

 protected:
  SimpleString host;
  SimpleString path;
  SimpleString version;
  SimpleString title;                  // nothing reads it
  HWND notifyWindow = nullptr;         // nothing reads it: the job has its own
  std::uint32_t notifyMessage = 1024;  // likewise
  bool failed = false;
  bool hasLink = false;
  SimpleString reply;
  SimpleString message;
  SimpleString link;

 private:
  bool FailToStart(std::uint32_t error);
  void TakeOutcome(const char* text, std::uint32_t error);
  void ParseReply();
  void SayUnableToQuery(std::uint32_t code);
  void LeaveWorker();

  std::shared_ptr<RequestJob> job;
};
