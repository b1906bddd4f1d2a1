#include "net/CReportBugThread.h"

#include "base/Base64.h"
#include "base/FileUtilities.h"
#include "base/FindNoCase.h"
#include "base/PathParts.h"
#include "base/win_owned.h"
#include "net/ParseXML.h"
#include "net/RequestJob.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <new>
#include <string>

namespace {

constexpr std::uint32_t kStopTimeoutMs = 5000;
constexpr char kNotSent[] =
    "The error report was not able to be sent over the internet.  "
    "You may not be connected or may be behind a firewall.";
constexpr char kThanks[] =
    "Thank you for sending this error report.  We will do our best to diagnose the issue.";
constexpr char kNewerVersion[] =
    "It appears that there is a newer version of the software available.  "
    "If you are experiencing errors, we strongly recommend having the latest version of the "
    "software installed.  To visit the download page for the newest version, please click the "
    "link below.";
constexpr char kNewerVersionMayHelp[] =
    "It appears that there is a newer version of the software available that may address the "
    "issue you have experienced.  To visit the download page for the newest version, please "
    "click the link below.";
constexpr char kInformation[] =
    "It appears that there is information that may address the error you have experienced.  "
    "Please click the link below to learn more.";

const char* PointerText(std::int32_t status) {
  switch (status) {
    case 3: return kNewerVersion;
    case 4: return kNewerVersionMayHelp;
    default: return kInformation;
  }
}

// A whole file with a terminator behind it; null if it can't be read.
std::unique_ptr<char[]> ReadWhole(const char* fileName, std::uint32_t& size) {
  size = 0;
  const KernelHandle file = OwnFile(CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  std::uint64_t bytes = 0;
  if (!file || !GetFileSize64(file.get(), bytes)) return nullptr;
  if (bytes >= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
    return nullptr;
  std::unique_ptr<char[]> data(new (std::nothrow) char[static_cast<std::size_t>(bytes) + 1]);
  DWORD read = 0;
  if (!data || !ReadFile(file.get(), data.get(), static_cast<DWORD>(bytes), &read, nullptr))
    return nullptr;
  data[read] = 0;
  size = read;
  return data;
}

std::string EncodedNameOf(const std::string& dumpFile) {
  return dumpFile.substr(0, dumpFile.size() - ExtensionOf(dumpFile).size()) + ".b64";
}

// False if either file can't be opened or the text can't be written whole.
bool EncodeFile(const char* from, const std::string& to) {
  std::ifstream input(from, std::ios::binary);
  if (!input) return false;
  std::ofstream output(to, std::ios::binary);
  if (!output) return false;
  Base64State state;
  EncodeStream(state, input, output);
  output.close();
  return !output.fail();
}

}  // namespace

CReportBugThread::~CReportBugThread() { LeaveWorker(); }

void CReportBugThread::LeaveWorker() {
  Stop();
  AbandonJob(job);
}

bool CReportBugThread::Start(const char* newHost, const char* newPath, const char* newVersion,
                             const char* newAppName, const char* newLogFile,
                             const char* newDumpFile, const char* newComments, HWND window,
                             std::uint32_t messageNumber) try {
  LeaveWorker();
  failed = false;
  status = 1;
  for (SimpleString* outcome : {&reply, &message, &link}) outcome->Assign("");
  SetTimeout(kStopTimeoutMs);
  host.Assign(newHost);
  path.Assign(newPath);
  version.Assign(newVersion);
  appName.Assign(newAppName);
  logFile.Assign(newLogFile);
  dumpFile.Assign(newDumpFile);
  comments.Assign(newComments);
  notifyWindow = window;
  notifyMessage = messageNumber;
  appName.Append(' ');
  appName.Append(version);
  ReadLog();
  EncodeDump();
  job = std::make_shared<RequestJob>(host.Text(), path.Text(), Body(), window, messageNumber);
  if (StartWithPriority(THREAD_PRIORITY_NORMAL)) return true;
  job.reset();  // nobody has begun it
  return FailToStart();
} catch (const std::bad_alloc&) {
  return FailToStart();
}

bool CReportBugThread::FailToStart() {
  failed = true;
  message.Assign(kNotSent);
  return false;
}

// The log's head and foot lines hold a NUL, and the text travels as a string.
void CReportBugThread::ReadLog() {
  logData = ReadWhole(logFile.Text(), logSize);
  if (logData) std::replace(logData.get(), logData.get() + logSize, '\0', ' ');
}

void CReportBugThread::EncodeDump() {
  dumpData.reset();
  dumpSize = 0;
  if (dumpFile.IsEmpty()) return;
  const std::string encoded = EncodedNameOf(dumpFile.Text());
  // A dump of that very name would be overwritten by its own text.
  if (NamesMatch(encoded, dumpFile.Text())) return;
  ForceDeleteFile(encoded.c_str());
  if (EncodeFile(dumpFile.Text(), encoded)) dumpData = ReadWhole(encoded.c_str(), dumpSize);
}

// No value is encoded, whatever the content type says, and nothing ends the body.
std::string CReportBugThread::Body() const {
  SimpleString form("appName=");
  form.Append(appName);
  form.Append("&version=");
  form.Append(version);
  form.Append("&comments=");
  form.Append(comments);
  std::string body = form.Text();
  if (logData) body.append("&logData=").append(logData.get(), logSize);
  if (dumpData) body.append("&dumpData=").append(dumpData.get(), dumpSize);
  return body;
}

unsigned int CReportBugThread::Run() {
  return RunJob(job, [this](const char* text, std::uint32_t) { TakeOutcome(text); });
}

void CReportBugThread::TakeOutcome(const char* text) {
  failed = !text;
  try {
    reply.Assign(text);
    if (text)
      ParseReply();
    else
      message.Assign(kNotSent);
  } catch (const std::bad_alloc&) {
    message.Assign(kThanks);  // the report itself has arrived
  }
  running = false;
}

void CReportBugThread::ParseReply() {
  ReadTags();
  if (!message.IsEmpty()) return;
  message.Assign(link.IsEmpty() ? kThanks : PointerText(status));
}

void CReportBugThread::ReadTags() {
  ParseXML parser;
  parser.SetText(reply.Text());
  for (ParseXMLTag tag = parser.NextTag(); tag.IsValid(); tag = parser.NextTag()) {
    if (NamesMatch("link", tag.name.Text()))
      link.Assign(tag.text);
    else if (NamesMatch("msg", tag.name.Text()))
      message.Assign(tag.text);
    else if (NamesMatch("status", tag.name.Text()))
      status = static_cast<std::int32_t>(std::strtol(tag.text.Text(), nullptr, 10));
  }
}
