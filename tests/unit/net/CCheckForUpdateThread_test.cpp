#include "net/CCheckForUpdateThread.h"

#include "NetTest.h"
#include "support/Layout.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

using support::HttpReply;
using support::HttpServer;
using namespace std::string_literals;

namespace {

constexpr UINT kAnswerMessage = WM_APP + 1;
constexpr char kPath[] = "/updates/velmora2_update.php";
const std::string kUnable = "Unable to query the internet for an update. Code: ";
const std::string kFound =
    "An update was found!  Please click the link below to visit the download page.";

// The thread with its inside showing.
class Check : public CCheckForUpdateThread {
 public:
  bool Launch(const std::string& server, HWND window) {
    return Start(server.c_str(), kPath, "1.0", "Velmora 2", window, kAnswerMessage);
  }
  bool FieldsStandInOrder() const {
    return support::StandInOrder(createFlags, host, path, version, title, notifyWindow,
                                 notifyMessage, failed, hasLink, reply, message, link);
  }
  std::uint32_t NotifyMessage() const { return notifyMessage; }
  std::uint32_t TimeOut() const { return timeout; }
  HANDLE Handle() const { return handle; }
  const char* Title() const { return title.Text(); }
};

struct Outcome {
  std::string message;
  std::string link;
  bool hasLink = false;
  bool failed = false;
  DWORD exitCode = 0;
};

// Asks a host and waits for the notification.
Outcome AskHost(const std::string& host) {
  NotifyWindow window;
  Check check;
  EXPECT_TRUE(check.Launch(host, window.Handle()));
  EXPECT_TRUE(window.WaitForMessage());
  EXPECT_EQ(window.Heard(), std::vector<UINT>{kAnswerMessage});
  EXPECT_FALSE(check.IsRunning());
  Outcome outcome{check.GetMessage(), check.GetLink(), check.HasLink(), check.HasFailed()};
  EXPECT_EQ(WaitForSingleObject(check.Handle(), 60000), WAIT_OBJECT_0);
  GetExitCodeThread(check.Handle(), &outcome.exitCode);
  return outcome;
}

Outcome Ask(const HttpServer::Answer& answer) {
  const HttpServer server(answer);
  const Road road(server);
  return AskHost(server.Host());
}

Outcome Ask(const std::string& body) {
  return Ask([body](HttpServer::Visit& visit) { visit.Send(HttpReply(body)); });
}

void ExpectAnswer(const Outcome& outcome, const std::string& message, const std::string& link) {
  EXPECT_EQ(outcome.message, message);
  EXPECT_EQ(outcome.link, link);
  EXPECT_EQ(outcome.hasLink, !link.empty());
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(outcome.exitCode, 0u);
}

void ExpectFailed(const Outcome& outcome, const std::string& code) {
  EXPECT_EQ(outcome.message, kUnable + code);
  EXPECT_FALSE(outcome.hasLink);
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.exitCode, 1u);
}

// --- The question ---

TEST(UpdateCheck, AsksWithTheVersionALineEndAndANul) {
  const HttpServer server(HttpReply("<msg>none</msg>"));
  const Road road(server);
  AskHost(server.Host());
  ASSERT_EQ(server.Requests().size(), 1u);
  const WireRequest sent(server.Requests()[0]);
  EXPECT_EQ(sent.line, "POST /updates/velmora2_update.php HTTP/1.0");
  EXPECT_EQ(sent.body, "version=1.0\r\n\0"s);
  EXPECT_EQ(sent.headers.size(), 6u);
  for (const char* header : {"User-Agent: CHTTPRequest Client", "Content-Length: 14",
                             "Content-Type: application/x-www-form-urlencoded"})
    EXPECT_EQ(std::count(sent.headers.begin(), sent.headers.end(), header), 1) << header;
}

TEST(UpdateCheck, TheFieldsStandInOrder) {
  const Check check;
  EXPECT_TRUE(check.FieldsStandInOrder());
  EXPECT_EQ(check.NotifyMessage(), 1024u);
  EXPECT_EQ(support::SlotOf(&CCheckForUpdateThread::Run), 2);
}

TEST(UpdateCheck, TheTitleGetsTheVersionAndStaysHere) {
  NotifyWindow window;
  Check check;
  check.Launch(DeafHost(), window.Handle());
  EXPECT_STREQ(check.Title(), "Velmora 2 1.0");
  EXPECT_EQ(check.TimeOut(), 5000u);
  EXPECT_TRUE(window.WaitForMessage());
}

// --- The answer ---

TEST(UpdateCheck, NoUpdateIsAMessageAlone) {
  ExpectAnswer(Ask("<msg>You have the latest version.</msg>"), "You have the latest version.", "");
}

TEST(UpdateCheck, AnUpdateWithoutATextGetsTheStandardOne) {
  ExpectAnswer(Ask("<link>http://example.invalid/get</link>"), kFound,
               "http://example.invalid/get");
}

TEST(UpdateCheck, AnUpdateMayBringItsOwnText) {
  ExpectAnswer(Ask("<link>http://example.invalid/get</link><msg>New!</msg>"), "New!",
               "http://example.invalid/get");
}

TEST(UpdateCheck, NamesAreTakenInAnyCaseAndTheLastOfOneNameWins) {
  ExpectAnswer(Ask("<LINK>a</link><Msg>b</mSG><other>x</other><link>c</link><msg>d</msg>"), "d",
               "c");
}

TEST(UpdateCheck, AnEmptyReplyIsUnableWithCode0) { ExpectAnswer(Ask(""), kUnable + "0", ""); }

TEST(UpdateCheck, AnErrorPageIsUnableWithCode0) {
  const std::string page =
      "<html><head><title>500</title></head><body><h1>Internal error</h1></body></html>";
  ExpectAnswer(Ask(page), kUnable + "0", "");
  ExpectAnswer(Ask([&](HttpServer::Visit& visit) {
                 visit.Send("HTTP/1.0 500 Internal Server Error\r\n\r\n" + page);
               }),
               kUnable + "0", "");
}

TEST(UpdateCheck, AnErrorPageThatHoldsAnElementIsAnAnswer) {
  ExpectAnswer(Ask([](HttpServer::Visit& visit) {
                 visit.Send("HTTP/1.0 500 Internal Server Error\r\n\r\nOops <msg>Later!</msg>");
               }),
               "Later!", "");
}

TEST(UpdateCheck, ALinkWithAnAttributeIsNotRecognised) {
  ExpectAnswer(Ask("<link target=\"_top\">http://example.invalid/get</link>"), kUnable + "0", "");
}

TEST(UpdateCheck, AnEmptyLinkIsALinkAndNoAnswer) {
  const Outcome outcome = Ask("<link></link>");
  EXPECT_EQ(outcome.message, kUnable + "0");
  EXPECT_TRUE(outcome.hasLink);
}

TEST(UpdateCheck, AnAnswerInPiecesIsWhole) {
  ExpectAnswer(Ask([](HttpServer::Visit& visit) {
                 visit.Send("HTTP/1.0 200 OK\r\n\r\n");
                 for (const char* piece : {"<li", "nk>http://exam", "ple.invalid</l", "ink>"}) {
                   visit.Pause(60);
                   visit.Send(piece);
                 }
               }),
               kFound, "http://example.invalid");
}

TEST(UpdateCheck, AnAnswerOfFiveMegabytesIsRead) {
  const std::string filling(5000000, 'x');
  ExpectAnswer(Ask(filling + "<msg>" + filling + "</msg><link>http://example.invalid</link>"),
               filling, "http://example.invalid");
}

TEST(UpdateCheck, ANulCutsTheAnswer) {
  ExpectAnswer(Ask("<msg>first</msg>\0<msg>second</msg>"s), "first", "");
}

TEST(UpdateCheck, AnAnswerThatIsCutOffCountsAsFarAsItCame) {
  const FirstRead firstRead;
  ExpectAnswer(Ask([&](HttpServer::Visit& visit) {
                 visit.Send("HTTP/1.0 200 OK\r\nContent-Length: 500\r\n\r\n<msg>half a sen");
                 firstRead.Await();  // else the break would overtake the text
                 visit.Break();
               }),
               "half a sen", "");
}

TEST(UpdateCheck, WithoutAServerTheCodeIsTheSystems) {
  DWORD code = 0;
  HOOK_IMPORT(check, "wininet.dll", InternetCheckConnectionA,
              [&](LPCSTR address, DWORD flags, DWORD reserved) -> BOOL {
                const BOOL reached = REAL_IMPORT("wininet.dll", InternetCheckConnectionA)(
                    address, flags, reserved);
                code = GetLastError();
                return reached;
              });
  const Outcome outcome = AskHost(DeafHost());
  ASSERT_NE(code, 0u);
  ExpectFailed(outcome, std::to_string(code));
}

TEST(UpdateCheck, OfflineTheCodeIs0) {
  HOOK_IMPORT(attempt, "wininet.dll", InternetAttemptConnect, [](DWORD) -> DWORD { return 2250; });
  ExpectFailed(AskHost("127.0.0.1"), "0");
}

TEST(UpdateCheck, ALargeCodeIsPositive) {
  HOOK_IMPORT(check, "wininet.dll", InternetCheckConnectionA, [](LPCSTR, DWORD, DWORD) -> BOOL {
    SetLastError(0x80070005);
    return FALSE;
  });
  ExpectFailed(AskHost("127.0.0.1"), "2147942405");
}

// --- The thread ---

TEST(UpdateCheck, TheWorkerWaitsUntilTheWindowHasHandledTheMessage) {
  const HttpServer server(HttpReply("<msg>text</msg>"));
  const Road road(server);
  Check check;
  DWORD exitCode = 0;
  NotifyWindow window([&](UINT) { GetExitCodeThread(check.Handle(), &exitCode); });
  check.Launch(server.Host(), window.Handle());
  ASSERT_TRUE(window.WaitForMessage());
  EXPECT_EQ(exitCode, static_cast<DWORD>(STILL_ACTIVE));
}

TEST(UpdateCheck, AnObjectCanAskAgain) {
  Check check;
  for (const char* body : {"<link>http://example.invalid</link>", "<msg>nothing new</msg>"}) {
    const HttpServer server(HttpReply(body));
    const Road road(server);
    NotifyWindow window;
    check.Launch(server.Host(), window.Handle());
    ASSERT_TRUE(window.WaitForMessage());
  }
  EXPECT_STREQ(check.GetMessage(), "nothing new");
  EXPECT_STREQ(check.GetLink(), "");
  EXPECT_FALSE(check.HasLink());
}

TEST(UpdateCheck, HasNormalPriorityBeforeItsFirstTurn) {
  const std::string host = DeafHost();
  NotifyWindow window;
  Check check;
  {
    const ThreadStart start;
    check.Launch(host, window.Handle());
    EXPECT_EQ(start.Steps(), (std::vector<std::string>{"priority 0", "first turn"}));
  }
  EXPECT_TRUE(window.WaitForMessage());
}

TEST(UpdateCheck, WithoutAThreadNobodyIsToldAndTheTextSaysWhy) {
  HOOK_IMPORT(create, "kernel32.dll", CreateThread,
              [](LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                 LPDWORD) -> HANDLE { return SetLastError(ERROR_NO_SYSTEM_RESOURCES), nullptr; });
  NotifyWindow window;
  Check check;
  EXPECT_FALSE(check.Launch("127.0.0.1", window.Handle()));
  EXPECT_FALSE(check.IsRunning());
  EXPECT_TRUE(check.HasFailed());
  EXPECT_EQ(check.GetMessage(), kUnable + "1450");
  NotifyWindow::HandleMessages();
  EXPECT_TRUE(window.Heard().empty());
}

// A server that never answers holds its worker for minutes. Stop gives up after its
// five seconds, the object goes, and the worker finds its way without it.
TEST(UpdateCheck, AServerThatNeverAnswersIsLeftAfterTheWaitAndDoesNoHarmLater) {
  auto server = std::make_unique<HttpServer>([](HttpServer::Visit& visit) { visit.Hang(); });
  const Road road(*server);
  NotifyWindow window;
  auto check = std::make_unique<Check>();
  check->Launch(server->Host(), window.Handle());
  ASSERT_TRUE(support::WaitFor([&] { return !server->Requests().empty(); }));
  HANDLE worker = nullptr;
  DuplicateHandle(GetCurrentProcess(), check->Handle(), GetCurrentProcess(), &worker, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  const DWORD begin = GetTickCount();
  check->Stop();
  EXPECT_GE(GetTickCount() - begin, 4900u);
  EXPECT_EQ(WaitForSingleObject(worker, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  check.reset();
  server.reset();  // now the worker gets an end of its wait
  EXPECT_EQ(WaitForSingleObject(worker, 60000), WAIT_OBJECT_0);
  CloseHandle(worker);
  NotifyWindow::HandleMessages();
  EXPECT_TRUE(window.Heard().empty());
}

}  // namespace
