#include "net/RequestJob.h"

RequestJob::RequestJob(const char* host, const char* path, std::string body, HWND notifyWindow,
                       std::uint32_t notifyMessage)
    : host_(host ? host : ""),
      path_(path ? path : ""),
      body_(std::move(body)),
      notifyWindow_(notifyWindow),
      notifyMessage_(notifyMessage) {}

const char* RequestJob::Send(CHTTPRequest& request) const {
  return request.Send(host_.c_str(), path_.c_str(), "POST", body_.data(),
                      static_cast<std::uint32_t>(body_.size()));
}

void RequestJob::Abandon() {
  WaitForSingleObject(begun_.get(), INFINITE);
  const std::lock_guard<std::mutex> lock(mutex_);
  abandoned_ = true;
}

void AbandonJob(std::shared_ptr<RequestJob>& job) {
  if (job) job->Abandon();
  job.reset();
}
