#include "net/CReportBugThread.h"

#include "NetTest.h"
#include "base/Logger.h"
#include "support/Layout.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using support::Bytes;
using support::BytesOf;
using support::HttpReply;
using support::HttpServer;
using support::PatternBytes;
using support::TempFolder;
using support::TextOf;
using namespace std::string_literals;

namespace {

constexpr UINT kDone = WM_APP + 7;
const std::string kForm = "appName=Velmora 2 1.0&version=1.0&comments=it broke & burned = 100%";
const std::string kNotSent =
    "The error report was not able to be sent over the internet.  You may not be connected or may "
    "be behind a firewall.";
const std::string kThanks =
    "Thank you for sending this error report.  We will do our best to diagnose the issue.";
const std::string kRow3 =
    "It appears that there is a newer version of the software available.  If you are experiencing "
    "errors, we strongly recommend having the latest version of the software installed.  To visit "
    "the download page for the newest version, please click the link below.";
const std::string kRow4 =
    "It appears that there is a newer version of the software available that may address the issue "
    "you have experienced.  To visit the download page for the newest version, please click the "
    "link below.";
const std::string kRowElse =
    "It appears that there is information that may address the error you have experienced.  Please "
    "click the link below to learn more.";

// The thread with its inside showing.
class Report : public CReportBugThread {
 public:
  bool Launch(const std::string& server, const std::string& log, const std::string& dump,
              HWND window) {
    return Start(server.c_str(), "/report.php", "1.0", "Velmora 2", log.c_str(), dump.c_str(),
                 "it broke & burned = 100%", window, kDone);
  }
  bool FieldsStandInOrder() const {
    return support::StandInOrder(createFlags, host, path, version, appName, logFile, logData,
                                 logSize, dumpFile, dumpData, dumpSize, comments, reply, message,
                                 link, notifyWindow, notifyMessage, failed, status);
  }
  HANDLE Handle() const { return handle; }
  std::uint32_t TimeOut() const { return timeout; }
  std::uint32_t NotifyMessage() const { return notifyMessage; }
  std::int32_t Status() const { return status; }
};

class BugReport : public testing::Test {
 protected:
  // The body of a report with these files.
  std::string BodyWith(const std::string& log, const std::string& dump) {
    const HttpServer server(HttpReply("<msg>thanks</msg>"));
    const Road road(server);
    NotifyWindow window;
    Report report;
    EXPECT_TRUE(report.Launch(server.Host(), log, dump, window.Handle()));
    EXPECT_TRUE(window.WaitForMessage());
    const auto requests = server.Requests();
    return requests.size() == 1 ? WireRequest(requests[0]).body : "not one request";
  }

  TempFolder folder_;
  const std::string none_ = folder_.File("none");
};

// --- What goes over the wire ---

TEST_F(BugReport, WithoutLogAndDumpSendsItsThreeFieldsAlone) {
  EXPECT_EQ(BodyWith(none_, none_), kForm);
  EXPECT_EQ(BodyWith("", ""), kForm);
}

TEST_F(BugReport, IsAFormWithoutATerminator) {
  const HttpServer server(HttpReply(""));
  const Road road(server);
  NotifyWindow window;
  Report report;
  report.Launch(server.Host(), none_, none_, window.Handle());
  ASSERT_TRUE(window.WaitForMessage());
  const WireRequest sent(server.Requests().at(0));
  EXPECT_EQ(sent.line, "POST /report.php HTTP/1.0");
  EXPECT_EQ(sent.headers.size(), 6u);
  for (const std::string& header :
       {"User-Agent: CHTTPRequest Client"s, "Content-Type: application/x-www-form-urlencoded"s,
        "Content-Length: " + std::to_string(kForm.size())})
    EXPECT_EQ(std::count(sent.headers.begin(), sent.headers.end(), header), 1) << header;
}

TEST_F(BugReport, SendsTheLogAsItStands) {
  const std::string log = folder_.Write("log.txt", BytesOf("line 1\r\nline & 2\r\n\xe9"));
  EXPECT_EQ(BodyWith(log, none_), kForm + "&logData=line 1\r\nline & 2\r\n\xe9");
}

TEST_F(BugReport, ANulInTheLogBecomesABlank) {
  const std::string log = folder_.Write("log.txt", BytesOf("\0head\0\0body\0"s));
  EXPECT_EQ(BodyWith(log, none_), kForm + "&logData= head  body ");
}

TEST_F(BugReport, AnEmptyLogIsAnEmptyField) {
  EXPECT_EQ(BodyWith(folder_.Write("log.txt", {}), none_), kForm + "&logData=");
}

TEST_F(BugReport, SendsTheDumpInBase64) {
  const std::string dump = folder_.Write("crash.dmp", BytesOf("Man"));
  EXPECT_EQ(BodyWith(none_, dump), kForm + "&dumpData=TWFu\n");
}

TEST_F(BugReport, SendsLogAndDumpInThisOrder) {
  const std::string log = folder_.Write("log.txt", BytesOf("a log"));
  const std::string dump = folder_.Write("crash.dmp", BytesOf("M\0n"s));
  EXPECT_EQ(BodyWith(log, dump), kForm + "&logData=a log&dumpData=TQBu\n");
}

TEST_F(BugReport, SendsALargeDumpWhole) {
  const std::string dump = folder_.Write("crash.dmp", PatternBytes(540000));
  const std::string body = BodyWith(none_, dump);
  // 10000 lines of 72 characters and a line feed, and the last one, empty.
  EXPECT_EQ(body.size(), kForm.size() + 10 + 10000 * 73 + 1);
  EXPECT_EQ(body.substr(kForm.size() + 10),
            TextOf(support::ReadWholeFile(folder_.File("crash.b64"))));
}

TEST_F(BugReport, SendsARealLog) {
  const std::string log = folder_.File("VelmoraLog.txt");
  { const Logger logger(log); }
  const std::string text = TextOf(support::ReadWholeFile(log));
  ASSERT_NE(text.find('\0'), std::string::npos);
  std::string expected = text;
  std::replace(expected.begin(), expected.end(), '\0', ' ');
  EXPECT_EQ(BodyWith(log, none_), kForm + "&logData=" + expected);
}

// --- Files ---

TEST_F(BugReport, OverwritesTheTextOfAnEarlierDump) {
  const std::string dump = folder_.Write("crash.dmp", BytesOf("Man"));
  const std::string encoded = folder_.Write("crash.b64", BytesOf("an older and longer text"));
  SetFileAttributesA(encoded.c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(BodyWith(none_, dump), kForm + "&dumpData=TWFu\n");
  EXPECT_EQ(TextOf(support::ReadWholeFile(encoded)), "TWFu\n");
  folder_.Write("crash.dmp", BytesOf("M"));
  EXPECT_EQ(BodyWith(none_, dump), kForm + "&dumpData=TQ==\n");
  EXPECT_EQ(TextOf(support::ReadWholeFile(encoded)), "TQ==\n");
}

TEST_F(BugReport, AMissingDumpLeavesNoTextOfAnEarlierOne) {
  const std::string encoded = folder_.Write("none.b64", BytesOf("older"));
  EXPECT_EQ(BodyWith(none_, folder_.File("none.dmp")), kForm);
  EXPECT_EQ(GetFileAttributesA(encoded.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(BugReport, NeverOverwritesTheDumpItself) {
  const std::string dump = folder_.Write("crash.B64", BytesOf("Man"));
  EXPECT_EQ(BodyWith(none_, dump), kForm);
  EXPECT_EQ(TextOf(support::ReadWholeFile(dump)), "Man");
}

TEST_F(BugReport, TheTextOfADumpWithoutAnExtensionLiesBesideIt) {
  const std::string folder = folder_.MakeFolder("last.run");
  const std::string dump = folder_.Write("last.run\\dump", BytesOf("Man"));
  EXPECT_EQ(BodyWith(none_, dump), kForm + "&dumpData=TWFu\n");
  EXPECT_EQ(TextOf(support::ReadWholeFile(dump + ".b64")), "TWFu\n");
}

TEST_F(BugReport, ADumpWhosePathIsTooLongIsLeftOutAndCostsNoOtherFile) {
  char former[MAX_PATH] = "";
  GetCurrentDirectoryA(sizeof former, former);
  SetCurrentDirectoryA(folder_.Path().c_str());
  const std::string other = folder_.Write(".b64", BytesOf("somebody's"));
  const std::string longPath = folder_.File(std::string(3000, 'x') + ".dmp");
  EXPECT_EQ(BodyWith(none_, longPath), kForm);
  EXPECT_EQ(TextOf(support::ReadWholeFile(other)), "somebody's");
  SetCurrentDirectoryA(former);
}

TEST_F(BugReport, LeavesOutADumpWhoseTextCannotBeWritten) {
  const std::string dump = folder_.Write("crash.dmp", BytesOf("Man"));
  folder_.MakeFolder("crash.b64");
  EXPECT_EQ(BodyWith(none_, dump), kForm);
}

TEST_F(BugReport, LeavesOutALogThatCannotBeRead) {
  const std::string log = folder_.Write("log.txt", BytesOf("text"));
  const HANDLE held = CreateFileA(log.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(BodyWith(log, none_), kForm);
  CloseHandle(held);
  int reads = 0;
  HOOK_IMPORT(read, "kernel32.dll", ReadFile,
              [&](HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL { return ++reads, FALSE; });
  EXPECT_EQ(BodyWith(log, none_), kForm);
  EXPECT_GE(reads, 1);
}

// --- The answer ---

struct Outcome {
  std::string message;
  std::string link;
  bool newer = false;
  bool failed = false;
  DWORD exitCode = 0;
};

Outcome AskHost(const std::string& host) {
  NotifyWindow window;
  Report report;
  EXPECT_TRUE(report.Launch(host, "", "", window.Handle()));
  EXPECT_TRUE(window.WaitForMessage());
  EXPECT_EQ(window.Heard(), std::vector<UINT>{kDone});
  EXPECT_FALSE(report.IsRunning());
  Outcome outcome{report.GetMessage(), report.GetLink(), report.IsNewerAvailable(),
                  report.HasFailed()};
  EXPECT_EQ(WaitForSingleObject(report.Handle(), 60000), WAIT_OBJECT_0);
  GetExitCodeThread(report.Handle(), &outcome.exitCode);
  return outcome;
}

void ExpectAnswer(const std::string& body, const std::string& message, const std::string& link,
                  bool newer) {
  SCOPED_TRACE(body);
  const HttpServer server(HttpReply(body));
  const Road road(server);
  const Outcome outcome = AskHost(server.Host());
  EXPECT_EQ(outcome.message, message);
  EXPECT_EQ(outcome.link, link);
  EXPECT_EQ(outcome.newer, newer);
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(outcome.exitCode, 0u);
}

TEST(BugReportAnswer, NothingIsAThankYou) {
  ExpectAnswer("", kThanks, "", false);
  ExpectAnswer("<html>page</html>", kThanks, "", false);
}

TEST(BugReportAnswer, AStatusAloneIsAThankYou) {
  ExpectAnswer("<status>4</status>", kThanks, "", true);
}

TEST(BugReportAnswer, AStatusOf4WithALinkHasItsText) {
  ExpectAnswer("<status>4</status><link>page</link>", kRow4, "page", true);
}

TEST(BugReportAnswer, AStatusOf3WithALinkHasItsText) {
  ExpectAnswer("<link>page</link><STATUS>3</status>", kRow3, "page", true);
}

TEST(BugReportAnswer, ALinkAlonePointsToInformation) {
  ExpectAnswer("<link>page</link>", kRowElse, "page", false);
}

TEST(BugReportAnswer, OtherStatusesPointToInformation) {
  ExpectAnswer("<status>5</status><link>page</link>", kRowElse, "page", true);
  for (const char* status : {"2", "6", "", "x", "-3", "99999999999999999999"})
    ExpectAnswer("<status>"s + status + "</status><link>page</link>", kRowElse, "page", false);
}

TEST(BugReportAnswer, AMessageOverridesTheTexts) {
  ExpectAnswer("<status>3</status><link>page</link><msg>Look here!</msg>", "Look here!", "page",
               true);
  ExpectAnswer("<Msg>Noted.</msg>", "Noted.", "", false);
}

TEST(BugReportAnswer, WithoutAServerSaysSo) {
  const Outcome outcome = AskHost(DeafHost());
  EXPECT_EQ(outcome.message,
            "The error report was not able to be sent over the internet.  You may not be connected "
            "or may be behind a firewall.");
  EXPECT_TRUE(outcome.failed);
  EXPECT_FALSE(outcome.newer);
  EXPECT_EQ(outcome.exitCode, 1u);
}

// --- The thread ---

TEST(BugReportThread, TheFieldsStandInOrder) {
  const Report report;
  EXPECT_TRUE(report.FieldsStandInOrder());
  EXPECT_EQ(report.NotifyMessage(), 1024u);
  EXPECT_EQ(report.Status(), 1);
  EXPECT_EQ(support::SlotOf(&CReportBugThread::Run), 2);
}

TEST(BugReportThread, AnObjectCanReportAgain) {
  Report report;
  for (const char* body : {"<status>3</status><link>page</link>", ""}) {
    const HttpServer server(HttpReply(body));
    const Road road(server);
    NotifyWindow window;
    report.Launch(server.Host(), "", "", window.Handle());
    EXPECT_EQ(report.TimeOut(), 5000u);
    ASSERT_TRUE(window.WaitForMessage());
  }
  EXPECT_EQ(report.GetMessage(), kThanks);
  EXPECT_STREQ(report.GetLink(), "");
  EXPECT_FALSE(report.IsNewerAvailable());
}

TEST(BugReportThread, HasNormalPriorityBeforeItsFirstTurn) {
  const std::string host = DeafHost();
  NotifyWindow window;
  Report report;
  {
    const ThreadStart start;
    report.Launch(host, "", "", window.Handle());
    EXPECT_EQ(start.Steps(), (std::vector<std::string>{"priority 0", "first turn"}));
  }
  EXPECT_TRUE(window.WaitForMessage());
}

TEST(BugReportThread, WithoutAThreadNobodyIsToldAndTheTextSaysSo) {
  HOOK_IMPORT(create, "kernel32.dll", CreateThread,
              [](LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                 LPDWORD) -> HANDLE { return nullptr; });
  NotifyWindow window;
  Report report;
  EXPECT_FALSE(report.Launch("127.0.0.1", "", "", window.Handle()));
  EXPECT_TRUE(report.HasFailed());
  EXPECT_EQ(report.GetMessage(), kNotSent);
  NotifyWindow::HandleMessages();
  EXPECT_TRUE(window.Heard().empty());
}

TEST(BugReportThread, AServerThatNeverAnswersIsLeftAfterTheWaitAndDoesNoHarmLater) {
  auto server = std::make_unique<HttpServer>([](HttpServer::Visit& visit) { visit.Hang(); });
  const Road road(*server);
  NotifyWindow window;
  auto report = std::make_unique<Report>();
  report->Launch(server->Host(), "", "", window.Handle());
  ASSERT_TRUE(support::WaitFor([&] { return !server->Requests().empty(); }));
  HANDLE worker = nullptr;
  DuplicateHandle(GetCurrentProcess(), report->Handle(), GetCurrentProcess(), &worker, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  report.reset();
  EXPECT_EQ(WaitForSingleObject(worker, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  server.reset();  // now the worker gets an end of its wait
  EXPECT_EQ(WaitForSingleObject(worker, 60000), WAIT_OBJECT_0);
  CloseHandle(worker);
  NotifyWindow::HandleMessages();
  EXPECT_TRUE(window.Heard().empty());
}

}  // namespace
