#include "net/CHTTPRequest.h"

#include "NetTest.h"
#include "support/FailingNew.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

using support::HttpReply;
using support::HttpServer;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using namespace std::string_literals;

namespace {

const char* Post(CHTTPRequest& request, const HttpServer& server, const std::string& body = "a=b",
                 const char* path = "/there") {
  return request.Send(server.Host().c_str(), path, "POST", body.data(),
                      static_cast<std::uint32_t>(body.size()));
}

// The text of the reply that a server with this answer gives, and the stage.
struct Outcome {
  bool isNull = false;
  std::string text;
  std::int32_t stage = 0;
  std::uint32_t error = 0;
};

Outcome OutcomeOf(CHTTPRequest& request, const char* text) {
  EXPECT_EQ(request.GetReplyLength(), static_cast<std::int32_t>(std::strlen(request.GetReply())));
  EXPECT_TRUE(!text || text == request.GetReply());
  return {!text, text ? text : "", request.GetStage(), request.GetLastError()};
}

Outcome Ask(const HttpServer::Answer& answer) {
  const HttpServer server(answer);
  const Road road(server);
  CHTTPRequest request;
  return OutcomeOf(request, Post(request, server));
}

Outcome Ask(const std::string& reply) {
  return Ask([reply](HttpServer::Visit& visit) { visit.Send(reply); });
}

void ExpectDone(const Outcome& outcome, const std::string& text) {
  EXPECT_FALSE(outcome.isNull);
  EXPECT_EQ(outcome.text, text);
  EXPECT_EQ(outcome.stage, kStageDone);
  EXPECT_EQ(outcome.error, 0u);
}

// --- What goes over the wire ---

TEST(HttpRequest, SendsThisAndNothingElse) {
  const HttpServer server(HttpReply("ok"));
  const Road road(server);
  CHTTPRequest request;
  ASSERT_STREQ(Post(request, server, "version=1.0\r\n\0"s, "/a/b.php"), "ok");
  ASSERT_EQ(server.Requests().size(), 1u);
  const WireRequest sent(server.Requests()[0]);
  const std::string host =
      server.Host() + (server.Port() == 80 ? "" : ":" + std::to_string(server.Port()));
  EXPECT_EQ(sent.line, "POST /a/b.php HTTP/1.0");
  EXPECT_THAT(sent.headers,
              UnorderedElementsAre("Accept: */*", "Cache-Control: no-cache", "Content-Length: 14",
                                   "Content-Type: application/x-www-form-urlencoded",
                                   "Host: " + host, "User-Agent: CHTTPRequest Client"));
  EXPECT_EQ(sent.body, "version=1.0\r\n\0"s);
}

TEST(HttpRequest, SendsAnyBytesAsTheyStand) {
  std::string body;
  for (int n = 0; n < 100000; ++n) body += static_cast<char>(n * 7);
  const HttpServer server(HttpReply("ok"));
  const Road road(server);
  CHTTPRequest request;
  ASSERT_STREQ(Post(request, server, body), "ok");
  EXPECT_EQ(WireRequest(server.Requests().at(0)).body, body);
}

TEST(HttpRequest, TakesOtherWordsThanTheUsualOnes) {
  const HttpServer server(HttpReply("ok"));
  const Road road(server);
  CHTTPRequest request;
  ASSERT_STREQ(request.Send(server.Host().c_str(), "/x", "GET", "", 0, "Someone", nullptr, "Agent",
                            "X-Own: yes", "HTTP/1.1"),
               "ok");
  const WireRequest sent(server.Requests().at(0));
  EXPECT_EQ(sent.line, "GET /x HTTP/1.1");
  EXPECT_THAT(sent.headers, testing::Contains("User-Agent: Agent"));
  EXPECT_THAT(sent.headers, testing::Contains("X-Own: yes"));
}

// --- What the calls are given ---

TEST(HttpRequest, GoesToPort80AsAGuestPastAllCaches) {
  const HttpServer server(HttpReply("ok"));
  const Road road(server);
  std::string checked;
  HOOK_IMPORT(check, "wininet.dll", InternetCheckConnectionA,
              [&](LPCSTR address, DWORD flags, DWORD reserved) -> BOOL {
                checked = std::string(address) + " " + std::to_string(flags) + " " +
                          std::to_string(reserved);
                return TRUE;
              });
  std::string opened;
  HOOK_IMPORT(open, "wininet.dll", InternetOpenA,
              [&](LPCSTR agent, DWORD access, LPCSTR proxy, LPCSTR bypass,
                  DWORD flags) -> HINTERNET {
                opened = std::string(agent) + " " + std::to_string(access) + " " +
                         std::to_string(flags) + (proxy || bypass ? " proxy" : "");
                return REAL_IMPORT("wininet.dll", InternetOpenA)(agent, access, proxy, bypass,
                                                                flags);
              });
  std::string connected;
  HOOK_IMPORT(connect, "wininet.dll", InternetConnectA,
              [&](HINTERNET session, LPCSTR host, INTERNET_PORT port, LPCSTR user, LPCSTR password,
                  DWORD service, DWORD flags, DWORD_PTR context) -> HINTERNET {
                connected = std::string(host) + " " + std::to_string(port) + " " + user + " " +
                            (password ? password : "no password") + " " + std::to_string(service) +
                            " " + std::to_string(flags) + " " + std::to_string(context);
                return REAL_IMPORT("wininet.dll", InternetConnectA)(
                    session, host, server.Port(), user, password, service, flags, context);
              });
  DWORD requestFlags = 0;
  std::string accepted;
  HOOK_IMPORT(request_, "wininet.dll", HttpOpenRequestA,
              [&](HINTERNET connection, LPCSTR verb, LPCSTR object, LPCSTR version, LPCSTR referrer,
                  LPCSTR* types, DWORD flags, DWORD_PTR context) -> HINTERNET {
                requestFlags = flags;
                accepted = types[0];
                EXPECT_EQ(types[1], nullptr);
                EXPECT_EQ(referrer, nullptr);
                return REAL_IMPORT("wininet.dll", HttpOpenRequestA)(
                    connection, verb, object, version, referrer, types, flags, context);
              });
  CHTTPRequest request;
  ASSERT_STREQ(Post(request, server, "x", "/p"), "ok");
  EXPECT_EQ(checked, "http://" + server.Host() + "/p 1 0");
  EXPECT_EQ(opened, "CHTTPRequest Client 0 0");
  EXPECT_EQ(connected, server.Host() + " 80 Guest no password 3 0 0");
  EXPECT_EQ(requestFlags, 0x84000000u);
  EXPECT_EQ(accepted, "*/*");
}

// The scheme is for the check alone.
TEST(HttpRequest, AHostThatHoldsTheSchemeGetsNoSecondOneAndStaysAsItIs) {
  std::string checked;
  HOOK_IMPORT(check, "wininet.dll", InternetCheckConnectionA,
              [&](LPCSTR address, DWORD, DWORD) -> BOOL {
                checked = address;
                return TRUE;
              });
  std::string connected;
  HOOK_IMPORT(connect, "wininet.dll", InternetConnectA,
              [&](HINTERNET, LPCSTR host, INTERNET_PORT, LPCSTR, LPCSTR, DWORD, DWORD,
                  DWORD_PTR) -> HINTERNET {
                connected = host;
                return nullptr;
              });
  CHTTPRequest request;
  EXPECT_EQ(request.Send("HTTP://host.invalid", "/p", "POST", "x", 1), nullptr);
  EXPECT_EQ(checked, "HTTP://host.invalid/p");
  EXPECT_EQ(connected, "HTTP://host.invalid");
}

TEST(HttpRequest, ANullTextDoesNothingAtAll) {
  int attempts = 0;
  HOOK_IMPORT(attempt, "wininet.dll", InternetAttemptConnect, [&](DWORD) -> DWORD {
    ++attempts;
    return 0;
  });
  CHTTPRequest request;
  EXPECT_EQ(request.Send(nullptr, "/p", "POST", "x", 1), nullptr);
  EXPECT_EQ(request.Send("h", nullptr, "POST", "x", 1), nullptr);
  EXPECT_EQ(request.Send("h", "/p", nullptr, "x", 1), nullptr);
  EXPECT_EQ(request.Send("h", "/p", "POST", nullptr, 1), nullptr);
  EXPECT_EQ(attempts, 0);
  EXPECT_EQ(request.GetStage(), kStageNothing);
  EXPECT_EQ(request.GetLastError(), 0u);
  EXPECT_STREQ(request.GetReply(), "");
}

// --- Replies ---

TEST(HttpRequest, ReadsAReplyWithALength) { ExpectDone(Ask(HttpReply("a reply")), "a reply"); }

TEST(HttpRequest, ReadsAReplyThatEndsWithTheConnection) {
  ExpectDone(Ask("HTTP/1.0 200 OK\r\n\r\na reply"), "a reply");
}

TEST(HttpRequest, AReplyOfZeroBytesIsAnEmptyText) { ExpectDone(Ask(HttpReply("")), ""); }

TEST(HttpRequest, AServerThatSaysNothingGivesAnEmptyText) {
  ExpectDone(Ask([](HttpServer::Visit&) {}), "");
}

TEST(HttpRequest, ReadsAReplyInPiecesWithPauses) {
  const Outcome outcome = Ask([](HttpServer::Visit& visit) {
    visit.Send("HTTP/1.0 200 OK\r\n\r\n");
    for (const char* piece : {"one ", "two ", "three"}) {
      visit.Pause(100);
      visit.Send(piece);
    }
  });
  ExpectDone(outcome, "one two three");
}

TEST(HttpRequest, ReadsAReplyOfFiveMegabytes) {
  std::string body;
  while (body.size() < 5000000) body += std::to_string(body.size()) + " ";
  ExpectDone(Ask(HttpReply(body)), body);
}

// Whatever a server sends, the memory stays.
TEST(HttpRequest, StopsReadingAReplyThatGoesOnForEver) {
  const Outcome outcome = Ask([](HttpServer::Visit& visit) {
    visit.Send("HTTP/1.0 200 OK\r\n\r\n");
    const std::string piece(1 << 20, 'x');
    for (int n = 0; n < 20; ++n) visit.Send(piece);
    visit.Hang();
  });
  EXPECT_FALSE(outcome.isNull);
  EXPECT_EQ(outcome.stage, kStageCutShort);
  EXPECT_EQ(outcome.error, static_cast<std::uint32_t>(ERROR_FILE_TOO_LARGE));
  EXPECT_GT(outcome.text.size(), 15u << 20);
  EXPECT_LE(outcome.text.size(), 16u << 20);
}

TEST(HttpRequest, ANulCutsWhatCameWithIt) {
  ExpectDone(Ask(HttpReply("before\0behind"s)), "before");
}

// The next piece is added behind the cut.
TEST(HttpRequest, ANulCutsOnlyItsOwnPiece) {
  int pieces = 0;
  const HttpServer server(HttpReply("x"));
  const Road road(server);
  HOOK_IMPORT(query, "wininet.dll", InternetQueryDataAvailable,
              [&](HINTERNET, LPDWORD available, DWORD, DWORD_PTR) -> BOOL {
                *available = pieces++ < 2 ? 5 : 0;
                return TRUE;
              });
  HOOK_IMPORT(read, "wininet.dll", InternetReadFile,
              [&](HINTERNET, LPVOID to, DWORD, LPDWORD got) -> BOOL {
                std::memcpy(to, pieces == 1 ? "ab\0cd" : "efghi", 5);
                *got = 5;
                return TRUE;
              });
  CHTTPRequest request;
  EXPECT_STREQ(Post(request, server), "abefghi");
  EXPECT_EQ(request.GetStage(), kStageDone);
}

TEST(HttpRequest, AnErrorPageIsAReplyLikeAnyOther) {
  for (const char* status : {"404 Not Found", "500 Internal Server Error"})
    ExpectDone(Ask("HTTP/1.0 "s + status + "\r\n\r\n<html>sorry</html>"), "<html>sorry</html>");
}

TEST(HttpRequest, AReplyShorterThanItsLengthIsWhatCame) {
  ExpectDone(Ask("HTTP/1.0 200 OK\r\nContent-Length: 1000\r\n\r\nonly this"), "only this");
}

TEST(HttpRequest, AConnectionThatBreaksLeavesWhatCameBefore) {
  const FirstRead firstRead;
  const Outcome outcome = Ask([&](HttpServer::Visit& visit) {
    visit.Send("HTTP/1.0 200 OK\r\nContent-Length: 1000\r\n\r\nonly this");
    firstRead.Await();  // else the break would overtake the text
    visit.Break();
  });
  EXPECT_FALSE(outcome.isNull);
  EXPECT_EQ(outcome.text, "only this");
  EXPECT_EQ(outcome.stage, kStageCutShort);
  EXPECT_NE(outcome.error, 0u);
}

TEST(HttpRequest, AnObjectCanBeUsedAgain) {
  CHTTPRequest request;
  EXPECT_EQ(request.Send(nullptr, "/", "POST", "", 0), nullptr);
  for (const char* text : {"first and long", "second"}) {
    const HttpServer server(HttpReply(text));
    const Road road(server);
    EXPECT_STREQ(Post(request, server), text);
  }
  const HttpServer server(HttpReply(""));
  const Road road(server);
  EXPECT_STREQ(Post(request, server), "");
}

// --- Where it can stop ---

TEST(HttpRequest, WithoutAServerTheCheckFails) {
  CHTTPRequest request;
  EXPECT_EQ(request.Send(DeafHost().c_str(), "/", "POST", "x", 1), nullptr);
  EXPECT_EQ(request.GetStage(), kStageOnline);
  EXPECT_NE(request.GetLastError(), 0u);
}

TEST(HttpRequest, AHostThatResolvesNowhereIsNotReached) {
  CHTTPRequest request;
  EXPECT_EQ(request.Send("no-such-host.invalid", "/", "POST", "x", 1), nullptr);
  EXPECT_EQ(request.GetStage(), kStageOnline);
  EXPECT_NE(request.GetLastError(), 0u);
}

TEST(HttpRequest, OfflineItStopsAtOnceWithoutAnError) {
  HOOK_IMPORT(attempt, "wininet.dll", InternetAttemptConnect, [](DWORD) -> DWORD {
    SetLastError(77);
    return ERROR_INTERNET_CANNOT_CONNECT;
  });
  CHTTPRequest request;
  EXPECT_EQ(request.Send("127.0.0.1", "/", "POST", "x", 1), nullptr);
  EXPECT_EQ(request.GetStage(), kStageNothing);
  EXPECT_EQ(request.GetLastError(), 0u);
}

TEST(HttpRequest, WithoutAnyoneListeningTheSendingFails) {
  HOOK_IMPORT(check, "wininet.dll", InternetCheckConnectionA,
              [](LPCSTR, DWORD, DWORD) -> BOOL { return TRUE; });
  CHTTPRequest request;
  EXPECT_EQ(request.Send(DeafHost().c_str(), "/", "POST", "x", 1), nullptr);
  EXPECT_EQ(request.GetStage(), kStageRequest);
  EXPECT_EQ(request.GetLastError(), static_cast<std::uint32_t>(ERROR_INTERNET_CANNOT_CONNECT));
}

constexpr DWORD kOwnError = 1234;

class FailingStep : public testing::Test {
 protected:
  // Null, with the error and this stage.
  void ExpectStopsAt(std::int32_t stage) {
    CHTTPRequest request;
    EXPECT_EQ(Post(request, server_), nullptr);
    EXPECT_EQ(request.GetStage(), stage);
    EXPECT_EQ(request.GetLastError(), kOwnError);
    EXPECT_STREQ(request.GetReply(), "");
  }
  // A text, cut short.
  void ExpectKeeps(const char* text) {
    CHTTPRequest request;
    EXPECT_STREQ(Post(request, server_), text);
    EXPECT_EQ(request.GetStage(), kStageCutShort);
    EXPECT_EQ(request.GetLastError(), kOwnError);
  }

  const HttpServer server_{HttpReply("reply")};
  const Road road_{server_};
};

BOOL No() {
  SetLastError(kOwnError);
  return FALSE;
}

TEST_F(FailingStep, TheCheckOfTheConnection) {
  HOOK_IMPORT(fail, "wininet.dll", InternetCheckConnectionA,
              [](LPCSTR, DWORD, DWORD) -> BOOL { return No(); });
  ExpectStopsAt(kStageOnline);
}

TEST_F(FailingStep, TheSession) {
  HOOK_IMPORT(fail, "wininet.dll", InternetOpenA,
              [](LPCSTR, DWORD, LPCSTR, LPCSTR, DWORD) -> HINTERNET { return No(), nullptr; });
  ExpectStopsAt(kStageReachable);
}

TEST_F(FailingStep, TheConnection) {
  HOOK_IMPORT(fail, "wininet.dll", InternetConnectA,
              [](HINTERNET, LPCSTR, INTERNET_PORT, LPCSTR, LPCSTR, DWORD, DWORD,
                 DWORD_PTR) -> HINTERNET { return No(), nullptr; });
  ExpectStopsAt(kStageSession);
}

TEST_F(FailingStep, TheRequest) {
  HOOK_IMPORT(fail, "wininet.dll", HttpOpenRequestA,
              [](HINTERNET, LPCSTR, LPCSTR, LPCSTR, LPCSTR, LPCSTR*, DWORD,
                 DWORD_PTR) -> HINTERNET {
                return No(), nullptr;
              });
  ExpectStopsAt(kStageConnection);
}

TEST_F(FailingStep, TheSending) {
  HOOK_IMPORT(fail, "wininet.dll", HttpSendRequestA,
              [](HINTERNET, LPCSTR, DWORD, LPVOID, DWORD) -> BOOL { return No(); });
  ExpectStopsAt(kStageRequest);
}

TEST_F(FailingStep, TheFirstQuestionForData) {
  HOOK_IMPORT(fail, "wininet.dll", InternetQueryDataAvailable,
              [](HINTERNET, LPDWORD, DWORD, DWORD_PTR) -> BOOL { return No(); });
  ExpectStopsAt(kStageSent);
}

TEST_F(FailingStep, TheFirstRead) {
  HOOK_IMPORT(fail, "wininet.dll", InternetReadFile,
              [](HINTERNET, LPVOID, DWORD, LPDWORD) -> BOOL { return No(); });
  ExpectStopsAt(kStageFirstAvailable);
}

TEST_F(FailingStep, ALaterQuestionForData) {
  int calls = 0;
  HOOK_IMPORT(fail, "wininet.dll", InternetQueryDataAvailable,
              [&](HINTERNET request, LPDWORD available, DWORD flags, DWORD_PTR context) -> BOOL {
                if (++calls > 1) return No();
                return REAL_IMPORT("wininet.dll", InternetQueryDataAvailable)(request, available,
                                                                             flags, context);
              });
  ExpectKeeps("reply");
}

TEST_F(FailingStep, ALaterRead) {
  HOOK_IMPORT(query, "wininet.dll", InternetQueryDataAvailable,
              [](HINTERNET, LPDWORD available, DWORD, DWORD_PTR) -> BOOL {
                *available = 5;
                return TRUE;
              });
  int calls = 0;
  HOOK_IMPORT(fail, "wininet.dll", InternetReadFile,
              [&](HINTERNET request, LPVOID to, DWORD size, LPDWORD got) -> BOOL {
                if (++calls > 1) return No();
                return REAL_IMPORT("wininet.dll", InternetReadFile)(request, to, size, got);
              });
  ExpectKeeps("reply");
}

// Each round one allocation more succeeds, until all that the request needs do.
TEST_F(FailingStep, MemoryThatRunsOutAnywhere) {
  const std::string host = server_.Host();
  bool done = false;
  int successes = 0;
  for (; !done; ++successes) {
    ASSERT_LT(successes, 1000);
    CHTTPRequest request;
    const char* text = nullptr;
    {
      const support::FailingNew failing(successes);
      text = request.Send(host.c_str(), "/there", "POST", "a=b", 3);
    }
    if (!text) {
      EXPECT_EQ(request.GetLastError(), static_cast<std::uint32_t>(ERROR_NOT_ENOUGH_MEMORY));
    }
    done = text && *text;
  }
  EXPECT_GT(successes, 3);
}

TEST_F(FailingStep, AnAmountThatNoMemoryHolds) {
  HOOK_IMPORT(query, "wininet.dll", InternetQueryDataAvailable,
              [](HINTERNET, LPDWORD available, DWORD, DWORD_PTR) -> BOOL {
                *available = 0xFFFFFFFF;
                return TRUE;
              });
  CHTTPRequest request;
  EXPECT_EQ(Post(request, server_), nullptr);
  EXPECT_EQ(request.GetStage(), kStageFirstAvailable);
  EXPECT_EQ(request.GetLastError(), static_cast<std::uint32_t>(ERROR_FILE_TOO_LARGE));
}

}  // namespace
