#include "ui/UpdateDialog.h"

#include "net/Servers.h"
#include "support/HttpServer.h"
#include "support/ModalDialog.h"
#include "support/SessionState.h"
#include "ui/resource.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <shellapi.h>
#include <string>
#include <vector>
#include <wininet.h>

using namespace support;

namespace {

constexpr char kTitle[] = "Checking for Updates";
constexpr UINT kAnswerMessage = 32769;
const std::string kAddress = "http://example.invalid/get";

bool IsShown(HWND dialog, int id) { return IsWindowVisible(GetDlgItem(dialog, id)) != 0; }

bool HasAnswer(HWND dialog) { return IsShown(dialog, IDC_UPDATE_REPLY); }

HWND FindDialog() { return FindVisible(kTitle); }

HWND DialogWithAnswer() {
  const HWND dialog = FindDialog();
  return dialog && HasAnswer(dialog) ? dialog : nullptr;
}

class UpdateDialogTest : public testing::Test {
 protected:
  // The maker's server, on this machine.
  void Serve(HttpServer::Answer answer) {
    server = std::make_shared<HttpServer>(std::move(answer));
  }
  void Serve(const std::string& body) {
    Serve([body](HttpServer::Visit& visit) { visit.Send(HttpReply(body)); });
  }
  // The check may be at any step meanwhile, on its own thread.
  void EndServer() {
    std::shared_ptr<HttpServer> ending;
    const std::lock_guard guard(serverLock);
    ending.swap(server);
  }
  // Null once it is gone.
  std::shared_ptr<HttpServer> PresentServer() {
    const std::lock_guard guard(serverLock);
    return server;
  }
  // Opens the window and acts on it once the answer stands.
  INT_PTR OnAnswer(const ModalScript::Action& act) {
    ModalScript script;
    script.When(DialogWithAnswer, act);
    return script.Run(IDD_UPDATE, UpdateDialogProc);
  }
  // The same for a window that waits until the act is over.
  void WhileWaiting(const ModalScript::Action& act, std::function<HWND()> find = FindDialog) {
    Serve([](HttpServer::Visit& visit) { visit.Hang(); });
    ModalScript script;
    script.When(find, [&](HWND dialog) {
      act(dialog);
      EndServer();
    });
    script.When(DialogWithAnswer, [](HWND dialog) { PostCommand(dialog, IDOK); });
    EXPECT_EQ(script.Run(IDD_UPDATE, UpdateDialogProc), IDOK);
  }

  std::mutex serverLock;
  std::shared_ptr<HttpServer> server;
  std::vector<std::string> opened;  // by the shell
  std::set<std::string> asked;      // hosts and ports
  AnsweredBoxes boxes;
  SessionState session;

 private:
  AnyHook check_ = ANY_HOOK("wininet.dll", InternetCheckConnectionA,
                            [this](LPCSTR, DWORD flags, DWORD reserved) -> BOOL {
                              const auto present = PresentServer();
                              if (!present) return SetLastError(2250), FALSE;
                              const std::string there = "http://" + present->Host() + ":" +
                                                        std::to_string(present->Port()) + "/";
                              return REAL_IMPORT("wininet.dll", InternetCheckConnectionA)(
                                  there.c_str(), flags, reserved);
                            });
  AnyHook connect_ = ANY_HOOK(
      "wininet.dll", InternetConnectA,
      [this](HINTERNET handle, LPCSTR host, INTERNET_PORT port, LPCSTR user, LPCSTR password,
             DWORD service, DWORD flags, DWORD_PTR context) -> HINTERNET {
        asked.insert(host + (":" + std::to_string(port)));
        const auto present = PresentServer();
        if (!present) return SetLastError(2250), nullptr;
        return REAL_IMPORT("wininet.dll", InternetConnectA)(
            handle, present->Host().c_str(), present->Port(), user, password, service, flags,
            context);
      });
  AnyHook shell_ = ANY_HOOK("shell32.dll", ShellExecuteA,
                            [this](HWND, LPCSTR, LPCSTR file, LPCSTR, LPCSTR,
                                   INT show) -> HINSTANCE {
                              EXPECT_EQ(show, SW_MAXIMIZE);
                              opened.push_back(file);
                              return nullptr;
                            });
};

// Hidden as it is, Close is the default button.
TEST_F(UpdateDialogTest, TheEnterKeyDoesntCloseItWhileItLooks) {
  WhileWaiting([](HWND dialog) {
    SendMessageA(dialog, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(IsWindowVisible(dialog));
  });
}

TEST_F(UpdateDialogTest, HasItsControlsInTheirPlaces) {
  WhileWaiting([](HWND dialog) {
    ExpectFrame(dialog, kTitle, 250, 100);
    ExpectControl(dialog, 1, "Button", "Close", 100, 80, 50, 14);
    ExpectControl(dialog, 2, "Button", "Cancel", 100, 80, 50, 14);
    ExpectControl(dialog, 1122, "Static", TextOfControl(dialog, 1122).c_str(), 93, 29, 89, 10);
    ExpectControl(dialog, 1123, "Edit", "", 7, 7, 236, 50);
    ExpectControl(dialog, 1124, "Static", "", 7, 64, 236, 10);
    const auto styleOf = [&](int id) { return GetWindowLongA(GetDlgItem(dialog, id), GWL_STYLE); };
    EXPECT_EQ(styleOf(1) & BS_TYPEMASK, BS_DEFPUSHBUTTON);
    EXPECT_TRUE(styleOf(1123) & ES_MULTILINE);
    EXPECT_TRUE(styleOf(1123) & ES_READONLY);
    EXPECT_TRUE(styleOf(1124) & SS_CENTER);
    EXPECT_FALSE(styleOf(1124) & SS_NOTIFY) << "there is nothing to click yet";
  });
}

TEST_F(UpdateDialogTest, CancelStandsInThePlaceOfCloseWhileTheCheckRuns) {
  WhileWaiting([](HWND dialog) {
    EXPECT_FALSE(IsShown(dialog, 1));
    EXPECT_TRUE(IsShown(dialog, 2));
    EXPECT_TRUE(IsShown(dialog, 1122));
    EXPECT_FALSE(IsShown(dialog, 1123));
    EXPECT_TRUE(IsShown(dialog, 1124));
  });
}

TEST_F(UpdateDialogTest, AsksTheUpdateServer) {
  Serve("<msg>none</msg>");
  OnAnswer([](HWND dialog) { PostCommand(dialog, IDOK); });
  EXPECT_EQ(asked, std::set<std::string>{std::string(kUpdateHost) + ":80"});
  ASSERT_EQ(server->Requests().size(), 1u);
  const std::string request = server->Requests()[0];
  EXPECT_EQ(request.find("POST /updates/velmora2_update.php HTTP/1.0\r\n"), 0u);
  EXPECT_EQ(request.substr(request.find("\r\n\r\n") + 4), std::string("version=1.0\r\n\0", 14));
}

TEST_F(UpdateDialogTest, ACheckThatCannotStartIsToldAndCanBeClosed) {
  HOOK_IMPORT(create, "kernel32.dll", CreateThread,
              [](LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                 LPDWORD) -> HANDLE { return SetLastError(ERROR_NO_SYSTEM_RESOURCES), nullptr; });
  const INT_PTR result = OnAnswer([](HWND dialog) {
    EXPECT_EQ(TextOfControl(dialog, 1123),
              "Unable to query the internet for an update. Code: 1450");
    PostCommand(dialog, IDOK);
  });
  EXPECT_EQ(result, IDOK);
}

TEST_F(UpdateDialogTest, WithoutAnUpdateShowsTheMessageAndCloses) {
  Serve("<msg>You have the latest version.</msg>");
  const INT_PTR result = OnAnswer([](HWND dialog) {
    EXPECT_EQ(TextOfControl(dialog, 1123), "You have the latest version.");
    EXPECT_TRUE(IsShown(dialog, 1));
    EXPECT_FALSE(IsShown(dialog, 2));
    EXPECT_EQ(TextOfControl(dialog, 1124), "");
    PostCommand(dialog, IDOK);
  });
  EXPECT_EQ(result, IDOK);
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(UpdateDialogTest, WithoutAServerShowsTheFailure) {
  OnAnswer([](HWND dialog) {
    EXPECT_EQ(TextOfControl(dialog, 1123),
              "Unable to query the internet for an update. Code: 2250");
    PostCommand(dialog, IDOK);
  });
}

// The label's dots are counted from the first tick on, and the timer is the
// dialog's own.
TEST_F(UpdateDialogTest, TheDotsCycleThroughEightForms) {
  std::vector<UINT> timers;
  HOOK_IMPORT(spy, "user32.dll", SetTimer,
              [&](HWND window, UINT_PTR id, UINT ms, TIMERPROC procedure) -> UINT_PTR {
                if (!window) return REAL_IMPORT("user32.dll", SetTimer)(window, id, ms, procedure);
                EXPECT_EQ(procedure, nullptr);
                timers.push_back(static_cast<UINT>(id));
                timers.push_back(ms);
                return id;
              });
  std::vector<std::string> forms;
  WhileWaiting([&](HWND dialog) {
    for (int tick = 0; tick < 10; ++tick) {
      SendMessageA(dialog, WM_TIMER, 987, 0);
      forms.push_back(TextOfControl(dialog, 1122));
    }
  });
  EXPECT_EQ(timers, (std::vector<UINT>{987, 250}));
  ASSERT_EQ(forms.size(), 10u);
  for (std::size_t tick = 0; tick < forms.size(); ++tick)
    EXPECT_EQ(forms[tick], "Looking for updates" + std::string(tick % 8, '.'));
}

TEST_F(UpdateDialogTest, TheDotsMoveByThemselves) {
  WhileWaiting([](HWND) {}, [] {
    const HWND dialog = FindDialog();
    return dialog && TextOfControl(dialog, 1122) == "Looking for updates.." ? dialog : nullptr;
  });
}

// A program-wide memory of the link: this test has to come before those that
// follow one.
TEST_F(UpdateDialogTest, ClosingWithAnUpdateOnOfferAsksUntilTheLinkWasFollowed) {
  Serve("<link>" + kAddress + "</link>");
  boxes.answer = IDNO;
  const INT_PTR result = OnAnswer([&](HWND dialog) {
    EXPECT_EQ(TextOfControl(dialog, 1123),
              "An update was found!  Please click the link below to visit the download page.");
    EXPECT_EQ(TextOfControl(dialog, 1124), kAddress);
    SendMessageA(dialog, WM_COMMAND, IDOK, 0);
    ASSERT_EQ(boxes.shown.size(), 1u);
    EXPECT_EQ(boxes.shown[0].text,
              "There is an update available.\n\nAre you sure you want to close this window?");
    EXPECT_EQ(boxes.shown[0].title, "Are you sure?");
    EXPECT_EQ(boxes.shown[0].flags, 36u);
    EXPECT_EQ(boxes.shown[0].owner, dialog);
    EXPECT_TRUE(IsWindowVisible(dialog));
    boxes.answer = IDYES;
    PostCommand(dialog, IDOK);
  });
  EXPECT_EQ(result, IDOK);
  EXPECT_EQ(boxes.shown.size(), 2u);
  EXPECT_TRUE(opened.empty());
}

TEST_F(UpdateDialogTest, WhatIsNoWebAddressIsShownAndNeverOpened) {
  for (const char* link : {"calc.exe", "file:///c:/x.exe", "\\\\host\\x.exe", "http://x\" -y"}) {
    Serve("<link>" + std::string(link) + "</link>");
    boxes.answer = IDYES;
    boxes.shown.clear();
    OnAnswer([&](HWND dialog) {
      EXPECT_EQ(TextOfControl(dialog, 1124), link);
      EXPECT_EQ(GetPropA(GetDlgItem(dialog, 1124), "_Hyperlink_From_Static_"), nullptr);
      SendMessageA(dialog, WM_COMMAND, IDC_UPDATE_LINK, 0);
      PostCommand(dialog, IDOK);
    });
    EXPECT_TRUE(opened.empty()) << link;
    EXPECT_EQ(boxes.shown.size(), 1u);
  }
}

TEST_F(UpdateDialogTest, AClickOnTheLinkOpensItAndNoQuestionComesAnyMore) {
  Serve("<link>" + kAddress + "</link><msg>New!</msg>");
  OnAnswer([&](HWND dialog) {
    EXPECT_EQ(TextOfControl(dialog, 1123), "New!");
    const HWND link = GetDlgItem(dialog, 1124);
    EXPECT_NE(GetPropA(link, "_Hyperlink_From_Static_"), nullptr);
    EXPECT_EQ(GetPropA(link, "_Hyperlink_Color_"), reinterpret_cast<HANDLE>(0x00C00000));
    SendMessageA(link, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 3));
    SendMessageA(link, WM_LBUTTONUP, 0, MAKELPARAM(5, 3));
    EXPECT_EQ(opened, std::vector<std::string>{kAddress});
    PostCommand(dialog, IDOK);
  });
  EXPECT_TRUE(boxes.shown.empty());
  // The same run of the program doesn't ask at a later check, either.
  Serve("<link>" + kAddress + "</link>");
  EXPECT_EQ(OnAnswer([](HWND dialog) { PostCommand(dialog, IDOK); }), IDOK);
  EXPECT_TRUE(boxes.shown.empty());
}

// The worker has its link a moment before the window hears of it; that an earlier
// check had offered one changes nothing.
TEST_F(UpdateDialogTest, AClickBeforeTheAnswerShowsOpensNothing) {
  Serve("<link>" + kAddress + "</link>");
  const auto click = MAKEWPARAM(IDC_UPDATE_LINK, STN_CLICKED);
  boxes.answer = IDYES;
  int early = 0;
  HOOK_IMPORT(clicker, "user32.dll", SendMessageA,
              [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                const auto send = REAL_IMPORT("user32.dll", SendMessageA);
                if (message == kAnswerMessage) {
                  send(window, WM_COMMAND, click, 0);
                  ++early;
                }
                return send(window, message, wParam, lParam);
              });
  for (const int check : {1, 2}) {
    opened.clear();
    OnAnswer([&](HWND dialog) {
      EXPECT_EQ(early, check);
      EXPECT_TRUE(opened.empty()) << check;
      SendMessageA(dialog, WM_COMMAND, click, 0);
      EXPECT_EQ(opened, std::vector<std::string>{kAddress});
      PostCommand(dialog, IDOK);
    });
  }
}

TEST_F(UpdateDialogTest, TheAnswerBoxLiesInFrontOfTheLabel) {
  Serve("<msg>text</msg>");
  OnAnswer([](HWND dialog) {
    EXPECT_EQ(GetWindow(dialog, GW_CHILD), GetDlgItem(dialog, 1123));
    PostCommand(dialog, IDOK);
  });
}

// A server that never answers: the wait is the thread's five seconds, and the late
// worker finds neither window nor object.
TEST_F(UpdateDialogTest, CancelLeavesAServerThatNeverAnswers) {
  Serve([](HttpServer::Visit& visit) { visit.Hang(); });
  std::string label;
  ModalScript script;
  script.When(
      [this] { return server->Requests().empty() ? nullptr : FindDialog(); },
      [&](HWND dialog) {
        SendMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
        label = TextOfControl(dialog, 1122);
      });
  EXPECT_EQ(script.Run(IDD_UPDATE, UpdateDialogProc), IDCANCEL);
  EXPECT_EQ(label, "Cancelling...");
  EndServer();
  EXPECT_EQ(FindDialog(), nullptr);
}

TEST_F(UpdateDialogTest, AMessageWithoutACheckDoesNothing) {
  EXPECT_EQ(UpdateDialogProc(nullptr, kAnswerMessage, 0, 0), 1);
  EXPECT_EQ(UpdateDialogProc(nullptr, WM_COMMAND, IDC_UPDATE_LINK, 0), 1);
  EXPECT_EQ(UpdateDialogProc(nullptr, WM_SIZE, 0, 0), 0);
  EXPECT_TRUE(opened.empty());
}

}  // namespace
