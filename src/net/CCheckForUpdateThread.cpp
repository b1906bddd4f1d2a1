#include "net/CCheckForUpdateThread.h"

#include "base/FindNoCase.h"
#include "net/ParseXML.h"
#include "net/RequestJob.h"

#include <new>
#include <string>

namespace {

constexpr std::uint32_t kStopTimeoutMs = 5000;
constexpr char kUnableToQuery[] = "Unable to query the internet for an update. Code: ";
constexpr char kUpdateFound[] =
    "An update was found!  Please click the link below to visit the download page.";

// The text with its terminator, which goes over the wire as well.
std::string BodyOf(const SimpleString& version) {
  SimpleString body("version=");
  body.Append(version);
  body.Append("\r\n");
  return std::string(body.Text(), static_cast<std::size_t>(body.Capacity()) + 1);
}

}  // namespace

CCheckForUpdateThread::~CCheckForUpdateThread() { LeaveWorker(); }

void CCheckForUpdateThread::LeaveWorker() {
  Stop();
  AbandonJob(job);
}

bool CCheckForUpdateThread::Start(const char* newHost, const char* newPath, const char* newVersion,
                                  const char* newTitle, HWND window,
                                  std::uint32_t messageNumber) try {
  LeaveWorker();
  failed = hasLink = false;
  for (SimpleString* outcome : {&reply, &message, &link}) outcome->Assign("");
  SetTimeout(kStopTimeoutMs);
  host.Assign(newHost);
  path.Assign(newPath);
  version.Assign(newVersion);
  title.Assign(newTitle);
  notifyWindow = window;
  notifyMessage = messageNumber;
  title.Append(' ');
  title.Append(version);
  job = std::make_shared<RequestJob>(host.Text(), path.Text(), BodyOf(version), window,
                                     messageNumber);
  if (StartWithPriority(THREAD_PRIORITY_NORMAL)) return true;
  const DWORD error = GetLastError();
  job.reset();  // nobody has begun it
  return FailToStart(error);
} catch (const std::bad_alloc&) {
  return FailToStart(ERROR_NOT_ENOUGH_MEMORY);
}

bool CCheckForUpdateThread::FailToStart(std::uint32_t error) {
  failed = true;
  SayUnableToQuery(error);
  return false;
}

unsigned int CCheckForUpdateThread::Run() {
  return RunJob(job, [this](const char* text, std::uint32_t error) { TakeOutcome(text, error); });
}

void CCheckForUpdateThread::TakeOutcome(const char* text, std::uint32_t error) {
  failed = !text;
  try {
    reply.Assign(text);
    if (text)
      ParseReply();
    else
      SayUnableToQuery(error);
  } catch (const std::bad_alloc&) {
    SayUnableToQuery(ERROR_NOT_ENOUGH_MEMORY);
  }
  running = false;
}

void CCheckForUpdateThread::ParseReply() {
  ParseXML parser;
  parser.SetText(reply.Text());
  for (ParseXMLTag tag = parser.NextTag(); tag.IsValid(); tag = parser.NextTag()) {
    if (NamesMatch("link", tag.name.Text())) {
      link.Assign(tag.text);
      hasLink = true;
    } else if (NamesMatch("msg", tag.name.Text())) {
      message.Assign(tag.text);
    }
  }
  if (!message.IsEmpty()) return;
  if (link.IsEmpty())
    SayUnableToQuery(0);
  else
    message.Assign(kUpdateFound);
}

void CCheckForUpdateThread::SayUnableToQuery(std::uint32_t code) {
  message.Assign(kUnableToQuery);
  message.Append(std::to_string(code).c_str());
}
