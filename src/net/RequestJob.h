#pragma once
// One request on its way, with all that its worker thread needs of it. A worker
// may hang in the network for long, and the one who waits for it gives up after a
// few seconds: it then goes, and leaves the worker behind with this job, which
// is shared by both.

#include "base/win.h"
#include "base/win_owned.h"
#include "net/CHTTPRequest.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

class RequestJob {
 public:
  // A null text counts as empty. `notifyWindow` gets `notifyMessage` at the end.
  RequestJob(const char* host, const char* path, std::string body, HWND notifyWindow,
             std::uint32_t notifyMessage);

  // --- The worker's side ---

  // The first call: from here on the worker doesn't use its thread object, but
  // for the call in Finish.
  void Begin() { SetEvent(begun_.get()); }
  // What CHTTPRequest::Send returns.
  const char* Send(CHTTPRequest& request) const;
  // Has `take` store the outcome in the thread object and tells the window;
  // neither, if nobody waits any more. Returns once the window has handled it.
  template <class Take>
  void Finish(Take take) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (abandoned_) return;
      take();
    }
    SendMessageA(notifyWindow_, notifyMessage_, 0, 0);
  }

  // --- The other side, which has started the worker ---

  // After this the worker leaves its thread object alone. Waits until it has begun,
  // which a running thread does at once.
  void Abandon();

 private:
  const std::string host_;
  const std::string path_;
  const std::string body_;
  const HWND notifyWindow_;
  const std::uint32_t notifyMessage_;
  const KernelHandle begun_{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  std::mutex mutex_;
  bool abandoned_ = false;  // under mutex_
};

// The whole of a worker thread's Run; the result is its exit code. `take` gets the
// reply's text, null for a request that failed, and the error of the request.
template <class Take>
unsigned int RunJob(std::shared_ptr<RequestJob> job, Take take) {
  job->Begin();
  CHTTPRequest request;
  const char* const text = job->Send(request);
  job->Finish([&] { take(text, request.GetLastError()); });
  return text ? 0 : 1;
}

// What is to follow the Stop of a thread object whose worker may have outlived the
// wait. Nothing if there is no job.
void AbandonJob(std::shared_ptr<RequestJob>& job);
