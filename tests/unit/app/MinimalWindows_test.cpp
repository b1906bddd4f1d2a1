// The two window procedures, message by message. What they ask of the system
// is answered and noted down here.

#include "app/Minimal.h"

#include "base/win_owned.h"
#include "support/ImportHook.h"
#include "support/PixelHelpers.h"
#include "support/PretendWindows.h"
#include "support/SessionState.h"
#include "support/TestLog.h"
#include "unit/app/password/PasswordStandIn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr LRESULT kDefaultResult = 4711;
constexpr int kThreshold = 50;

HWND WindowNumber(std::uintptr_t number) { return reinterpret_cast<HWND>(number); }

struct Message {
  HWND window;
  UINT message;
  bool operator==(const Message&) const = default;
};

// A running saver whose window exists only as a number.
class WindowProcedure : public testing::Test {
 protected:
  void SetUp() override {
    RunMode = RUNMODE_SAVER;
    ss->hWnd = window;
    ss->SaverActive = 1;
    ss->InitCursorPos = {100, 200};
    ss->InitTime = 50000;
    ss->MouseThreshold = kThreshold;
    ss->PlayMusic = 1;
  }

  LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    return ScreenSaverProc(window, message, wParam, lParam);
  }
  LRESULT SendToChild(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    return ChildWindowProc(child, message, wParam, lParam);
  }

  // Whether anything has asked for the end since the last question. The three
  // signs of it go together.
  bool EndAsked() {
    const bool asked = !posted.empty();
    EXPECT_EQ(ss->CloseRequested != 0, asked);
    EXPECT_EQ(ss->CloseLatched != 0, asked);
    const std::vector<Message> ours(posted.size(), Message{ss->hWnd, WM_CLOSE});
    EXPECT_EQ(posted, ours);
    EXPECT_LE(posted.size(), 1u);
    posted.clear();
    ss->CloseRequested = ss->CloseLatched = 0;
    return asked;
  }
  // Whether the message went to the system's own procedure.
  bool DefaultReached() { return std::exchange(defaults, {}).size() == 1; }

  HWND window = WindowNumber(0x111);
  HWND child = WindowNumber(0x222);
  support::SessionState session;

  // What the system answers.
  POINT cursor{100, 200};
  DWORD tick = 50000;
  // What it was asked.
  std::vector<Message> posted;
  std::vector<Message> sent;
  std::vector<Message> defaults;
  std::vector<HWND> destroyed;
  std::vector<HCURSOR> cursorsSet;
  std::vector<std::pair<HWND, UINT_PTR>> timersKilled;
  int quits = 0;

 private:
  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("user32.dll", GetCursorPos,
               [this](POINT* to) -> BOOL {
                 *to = cursor;
                 return TRUE;
               }),
      ANY_HOOK("kernel32.dll", GetTickCount, [this]() -> DWORD { return tick; }),
      ANY_HOOK("user32.dll", PostMessageA,
               [this](HWND to, UINT message, WPARAM, LPARAM) -> BOOL {
                 posted.push_back({to, message});
                 return TRUE;
               }),
      ANY_HOOK("user32.dll", SendMessageA,
               [this](HWND to, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                 EXPECT_EQ(wParam, 0u);
                 EXPECT_EQ(lParam, 0);
                 sent.push_back({to, message});
                 return 0;
               }),
      ANY_HOOK("user32.dll", DefWindowProcA,
               [this](HWND to, UINT message, WPARAM, LPARAM) -> LRESULT {
                 defaults.push_back({to, message});
                 return kDefaultResult;
               }),
      ANY_HOOK("user32.dll", DestroyWindow,
               [this](HWND to) -> BOOL {
                 destroyed.push_back(to);
                 return TRUE;
               }),
      ANY_HOOK("user32.dll", SetCursor,
               [this](HCURSOR to) -> HCURSOR {
                 cursorsSet.push_back(to);
                 return nullptr;
               }),
      ANY_HOOK("user32.dll", KillTimer,
               [this](HWND of, UINT_PTR id) -> BOOL {
                 timersKilled.emplace_back(of, id);
                 return TRUE;
               }),
      ANY_HOOK("user32.dll", PostQuitMessage,
               [this](int code) {
                 EXPECT_EQ(code, 0);
                 ++quits;
               }),
  };
};

// --- Birth and death ---

using SaverWindow = WindowProcedure;

TEST_F(SaverWindow, ItsCreationStartsTheClockAndTheMouseRule) {
  ss->hWnd = nullptr;
  cursor = {7, 8};
  tick = 123456;
  EXPECT_EQ(Send(WM_CREATE), 0);
  EXPECT_FALSE(DefaultReached());
  EXPECT_EQ(ss->hWnd, window);
  EXPECT_EQ(ss->InitCursorPos.x, 7);
  EXPECT_EQ(ss->InitCursorPos.y, 8);
  EXPECT_EQ(ss->InitTime, 123456u);
}

TEST_F(SaverWindow, ItsDestructionEndsTheMainLoop) {
  const support::TestLog log;
  Send(WM_CREATE);
  EXPECT_EQ(Send(WM_DESTROY), kDefaultResult);
  EXPECT_EQ(quits, 1);
  EXPECT_THAT(timersKilled, IsEmpty());
  EXPECT_THAT(log.Texts(), ElementsAre("PostQuitMessage(0)"));
}

TEST_F(SaverWindow, ATimerWouldBeKilled) {
  const support::TestLog log;
  ss->TimerId = 9;
  Send(WM_DESTROY);
  EXPECT_THAT(timersKilled, ElementsAre(std::pair(window, UINT_PTR{9})));
  EXPECT_EQ(ss->TimerId, 0u);
  EXPECT_EQ(quits, 1);
  EXPECT_THAT(log.Texts(), ElementsAre("Killing timer", "PostQuitMessage(0)"));
}

TEST_F(SaverWindow, ItsLastMessageDoesNotEndTheLoopTwice) {
  Send(WM_CREATE);
  Send(WM_DESTROY);
  EXPECT_EQ(Send(WM_NCDESTROY), kDefaultResult);
  EXPECT_EQ(quits, 1);
}

// A host that dies takes its preview's window away without a WM_DESTROY.
TEST_F(SaverWindow, ItsLastMessageEndsTheLoopIfNothingElseDid) {
  RunMode = RUNMODE_PREVIEW;
  Send(WM_CREATE);
  Send(WM_NCDESTROY);
  EXPECT_EQ(quits, 1);
  Send(WM_CREATE);
  Send(WM_NCDESTROY);
  EXPECT_EQ(quits, 2);
}

// --- Mouse ---

class MouseRuleOf : public WindowProcedure, public testing::WithParamInterface<bool> {
 protected:
  // Moves the mouse over the saver's window or over a child's.
  LRESULT Move(LONG x, LONG y) {
    cursor = {x, y};
    // The position in the message is of no interest.
    const LPARAM elsewhere = MAKELPARAM(999, 999);
    return GetParam() ? SendToChild(WM_MOUSEMOVE, 0, elsewhere) : Send(WM_MOUSEMOVE, 0, elsewhere);
  }
};

INSTANTIATE_TEST_SUITE_P(SaverAndChild, MouseRuleOf, testing::Bool());

TEST_P(MouseRuleOf, ExactlyTheThresholdDoesNothing) {
  EXPECT_EQ(Move(100 + kThreshold, 200 - kThreshold), kDefaultResult);
  EXPECT_FALSE(EndAsked());
}

TEST_P(MouseRuleOf, OnePixelMoreEndsTheSaver) {
  const support::TestLog log;
  EXPECT_EQ(Move(100 + kThreshold + 1, 200), kDefaultResult);
  EXPECT_TRUE(EndAsked());
  EXPECT_THAT(log.Texts(), ElementsAre("Mouse moved -- Quitting screensaver"));
  Move(100, 200 - kThreshold - 1);
  EXPECT_TRUE(EndAsked());
}

TEST_P(MouseRuleOf, SmallMotionsAddUp) {
  for (LONG x = 100; x <= 100 + kThreshold; x += 5) {
    Move(x, 200);
    EXPECT_FALSE(EndAsked());
  }
  Move(100 + kThreshold + 5, 200);
  EXPECT_TRUE(EndAsked());
}

TEST_P(MouseRuleOf, CountsOnlyInARunningSaverWithoutADialog) {
  ss->SaverActive = 0;
  Move(900, 900);
  EXPECT_FALSE(EndAsked());
  ss->SaverActive = 1;
  ss->DialogActive = 1;
  Move(900, 900);
  EXPECT_FALSE(EndAsked());
  ss->DialogActive = 0;
  for (const std::int32_t mode :
       {RUNMODE_NONE, RUNMODE_CONFIG, RUNMODE_PASSWORD, RUNMODE_PREVIEW}) {
    RunMode = mode;
    EXPECT_EQ(Move(900, 900), kDefaultResult);
    EXPECT_FALSE(EndAsked()) << mode;
  }
  RunMode = RUNMODE_SAVER;
  Move(900, 900);
  EXPECT_TRUE(EndAsked());
}

// --- Keys ---

class KeyRuleOf : public WindowProcedure, public testing::WithParamInterface<bool> {
 protected:
  LRESULT Press(WPARAM key) {
    return GetParam() ? SendToChild(WM_KEYDOWN, key) : Send(WM_KEYDOWN, key);
  }
};

INSTANTIATE_TEST_SUITE_P(SaverAndChild, KeyRuleOf, testing::Bool());

TEST_P(KeyRuleOf, AnyKeyEndsTheSaver) {
  const support::TestLog log;
  for (const WPARAM key : {VK_ESCAPE, VK_SPACE, VK_SHIFT, VK_F1, static_cast<int>('A')}) {
    EXPECT_EQ(Press(key), kDefaultResult);
    EXPECT_TRUE(EndAsked()) << key;
  }
  EXPECT_THAT(log.Texts(), Contains("Key pressed -- Quitting screensaver").Times(5));
}

TEST_P(KeyRuleOf, TheArrowsDoNotEvenWithMusicOff) {
  for (const std::int32_t music : {0, 1}) {
    ss->PlayMusic = music;
    for (const WPARAM key : {VK_LEFT, VK_RIGHT, VK_UP, VK_DOWN}) {
      EXPECT_EQ(Press(key), kDefaultResult);
      EXPECT_FALSE(EndAsked()) << key;
    }
  }
}

TEST_P(KeyRuleOf, CountsOnlyInASaverWithoutADialog) {
  ss->DialogActive = 1;
  Press(VK_SPACE);
  EXPECT_FALSE(EndAsked());
  ss->DialogActive = 0;
  for (const std::int32_t mode :
       {RUNMODE_NONE, RUNMODE_CONFIG, RUNMODE_PASSWORD, RUNMODE_PREVIEW}) {
    RunMode = mode;
    EXPECT_EQ(Press(VK_SPACE), kDefaultResult);
    EXPECT_FALSE(EndAsked()) << mode;
  }
}

TEST_P(KeyRuleOf, CountsBeforeTheMainLoopToo) {
  ss->SaverActive = 0;
  Press(VK_SPACE);
  EXPECT_TRUE(EndAsked());
}

// --- Mouse buttons ---

TEST_F(SaverWindow, AnyMouseButtonEndsTheSaver) {
  const support::TestLog log;
  for (const auto& [message, mask] : {std::pair<UINT, WPARAM>{WM_LBUTTONDOWN, MK_LBUTTON},
                                     {WM_RBUTTONDOWN, MK_RBUTTON},
                                     {WM_MBUTTONDOWN, MK_MBUTTON}}) {
    EXPECT_EQ(Send(message, mask), kDefaultResult);
    EXPECT_TRUE(EndAsked()) << message;
  }
  EXPECT_THAT(log.Texts(), Contains("Key pressed -- Quitting screensaver").Times(3));
}

TEST_F(SaverWindow, InAPreviewMouseButtonsDoNothing) {
  RunMode = RUNMODE_PREVIEW;
  for (const UINT message : {WM_LBUTTONDOWN, WM_RBUTTONDOWN, WM_MBUTTONDOWN}) {
    EXPECT_EQ(Send(message, MK_LBUTTON), kDefaultResult);
    EXPECT_FALSE(EndAsked());
  }
}

using ChildWindow = WindowProcedure;

TEST_F(ChildWindow, MouseButtonsDoNothing) {
  for (const UINT message : {WM_LBUTTONDOWN, WM_RBUTTONDOWN, WM_MBUTTONDOWN}) {
    EXPECT_EQ(SendToChild(message, MK_RBUTTON), kDefaultResult);
    EXPECT_FALSE(EndAsked());
  }
}

// --- Activation ---

class ActivationRule : public WindowProcedure {
 protected:
  void SetUp() override {
    WindowProcedure::SetUp();
    ParentWindow = window;  // the one case in which the rule fires
  }
};

TEST_F(ActivationRule, ADeactivatedWindowThatIsTheParentEndsTheSaver) {
  const support::TestLog log;
  for (const UINT message : {WM_ACTIVATE, WM_ACTIVATEAPP, WM_NCACTIVATE}) {
    EXPECT_EQ(Send(message, 0), kDefaultResult);
    EXPECT_TRUE(EndAsked()) << message;
    Send(message, MAKEWPARAM(0, 1));
    EXPECT_TRUE(EndAsked()) << message;
  }
  EXPECT_THAT(log.Texts(), Contains("Closing due to WM_ACTIVATE").Times(6));
}

TEST_F(ActivationRule, AnOrdinarySaverHasNoParentAndKeepsRunning) {
  ParentWindow = nullptr;
  for (const UINT message : {WM_ACTIVATE, WM_ACTIVATEAPP, WM_NCACTIVATE}) {
    EXPECT_EQ(Send(message, 0), kDefaultResult);
    EXPECT_FALSE(EndAsked());
  }
}

TEST_F(ActivationRule, AnActivationDoesNothing) {
  for (const WPARAM activation : {WA_ACTIVE, WA_CLICKACTIVE, static_cast<int>(MAKEWPARAM(1, 1))}) {
    EXPECT_EQ(Send(WM_ACTIVATE, activation), kDefaultResult);
    EXPECT_FALSE(EndAsked());
  }
}

TEST_F(ActivationRule, AnErrorBoxSuppressesIt) {
  ss->SuppressActivateClose = 1;
  Send(WM_ACTIVATE, 0);
  EXPECT_FALSE(EndAsked());
}

TEST_F(ActivationRule, CountsOnlyInASaverWithoutADialog) {
  ss->DialogActive = 1;
  Send(WM_ACTIVATE, 0);
  EXPECT_FALSE(EndAsked());
  ss->DialogActive = 0;
  RunMode = RUNMODE_PREVIEW;
  Send(WM_ACTIVATE, 0);
  EXPECT_FALSE(EndAsked());
}

// --- Close ---

class CloseRule : public WindowProcedure {
 protected:
  void SetUp() override {
    WindowProcedure::SetUp();
    ASSERT_TRUE(library_);
    ASSERT_NE(password, nullptr);
    *password = {};
    ss->CloseRequested = 1;
    ss->PasswordDelay = 15;
  }
  void SetAge(DWORD ms) { tick = ss->InitTime + ms; }

 private:
  Library library_{LoadLibraryA(kPasswordLibrary)};

 protected:
  PasswordState* password = reinterpret_cast<PasswordState*>(
      reinterpret_cast<void*>(GetProcAddress(library_.get(), "State")));
};

TEST_F(CloseRule, ARequestedCloseDestroysTheWindow) {
  const support::TestLog log;
  EXPECT_EQ(Send(WM_CLOSE), 0);
  EXPECT_FALSE(DefaultReached());
  EXPECT_THAT(destroyed, ElementsAre(window));
  EXPECT_THAT(log.Texts(), ElementsAre("WM_CLOSE: Checking PasswordDelay",
                                       "WM_CLOSE: CanClose == true, Calling DestroyWindow()"));
}

TEST_F(CloseRule, ExternalCloseIsSwallowed) {
  const support::TestLog log;
  ss->CloseRequested = 0;
  EXPECT_EQ(Send(WM_CLOSE), 0);
  EXPECT_FALSE(DefaultReached());
  EXPECT_THAT(destroyed, IsEmpty());
  EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(CloseRule, ACloseDuringThePasswordDialogIsSwallowed) {
  ss->DialogActive = 1;
  EXPECT_EQ(Send(WM_CLOSE), 0);
  EXPECT_THAT(destroyed, IsEmpty());
}

TEST_F(CloseRule, APreviewClosesAtOnce) {
  RunMode = RUNMODE_PREVIEW;
  ss->CloseRequested = 0;
  EXPECT_EQ(Send(WM_CLOSE), kDefaultResult);
  EXPECT_TRUE(DefaultReached());
}

TEST_F(CloseRule, WithinTheDelayNoPasswordIsAsked) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  for (const DWORD age : {0u, 14000u, 15000u}) {
    SetAge(age);
    Send(WM_CLOSE);
    EXPECT_EQ(password->questions, 0) << age;
  }
  EXPECT_EQ(destroyed.size(), 3u);
}

TEST_F(CloseRule, AfterTheDelayARightPasswordCloses) {
  const support::TestLog log;
  const auto windows98 = support::PretendWindows(1, 4, 10);
  password->answer = TRUE;
  SetAge(15001);
  EXPECT_EQ(Send(WM_CLOSE), 0);
  EXPECT_EQ(password->questions, 1);
  EXPECT_EQ(password->window, window);
  EXPECT_THAT(destroyed, ElementsAre(window));
  EXPECT_THAT(log.Texts(),
              ElementsAre("WM_CLOSE: Checking PasswordDelay",
                          "WM_CLOSE: GetTickCount() - ss->InitTime > 1000*ss->PasswordDelay",
                          "WM_CLOSE: CanClose == true, Calling DestroyWindow()"));
}

TEST_F(CloseRule, AWrongPasswordLeavesTheSaverRunningAndTheNextKeyAsksAgain) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  SetAge(20000);
  EXPECT_EQ(Send(WM_CLOSE), 0);
  EXPECT_THAT(destroyed, IsEmpty());
  EXPECT_EQ(ss->CloseRequested, 1);
  EXPECT_EQ(ss->DialogActive, 0);
  Send(WM_KEYDOWN, VK_SPACE);
  EXPECT_THAT(posted, ElementsAre(Message{window, WM_CLOSE}));
  Send(WM_CLOSE);
  EXPECT_EQ(password->questions, 2);
}

TEST_F(CloseRule, OnWindowsNTNobodyIsAsked) {
  SetAge(20000);
  Send(WM_CLOSE);
  EXPECT_EQ(password->questions, 0);
  EXPECT_THAT(destroyed, ElementsAre(window));
}

TEST_F(CloseRule, TheClockMayWrap) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  ss->InitTime = 0xFFFFFFFF - 999;
  tick = 14000;
  Send(WM_CLOSE);
  EXPECT_EQ(password->questions, 0);
  tick = 14001;
  Send(WM_CLOSE);
  EXPECT_EQ(password->questions, 1);
}

TEST_F(CloseRule, DuringTheQuestionTheExitRulesAreOffAndTheArrowIsBack) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  static int dialogActive;
  dialogActive = 0;
  // What the dialog's own message loop would bring.
  password->duringQuestion = [] {
    dialogActive = ss->DialogActive;
    ScreenSaverProc(ss->hWnd, WM_SETCURSOR, 0, 0);
    ScreenSaverProc(ss->hWnd, WM_KEYDOWN, VK_SPACE, 0);
    ScreenSaverProc(ss->hWnd, WM_CLOSE, 0, 0);
    ChildWindowProc(ss->hWnd, WM_KEYDOWN, VK_SPACE, 0);
  };
  SetAge(20000);
  cursor = {600, 700};
  Send(WM_CLOSE);
  EXPECT_EQ(dialogActive, 1);
  EXPECT_EQ(ss->DialogActive, 0);
  EXPECT_THAT(posted, IsEmpty());
  EXPECT_THAT(destroyed, IsEmpty());
  EXPECT_THAT(cursorsSet, ElementsAre(LoadCursorA(nullptr, IDC_ARROW)));
  // The window is told before and after.
  EXPECT_THAT(sent, ElementsAre(Message{window, WM_SETCURSOR}, Message{window, WM_SETCURSOR}));
  // Motion in the dialog doesn't count afterwards.
  EXPECT_EQ(ss->InitCursorPos.x, 600);
  EXPECT_EQ(ss->InitCursorPos.y, 700);
}

TEST_F(ChildWindow, ACloseGoesToTheSystem) {
  ss->CloseRequested = 1;
  EXPECT_EQ(SendToChild(WM_CLOSE), kDefaultResult);
}

TEST_F(SaverWindow, CloseSaverPostsTheCloseToTheSaversWindow) {
  ss->CloseRequested = ss->CloseLatched = 0;
  CloseSaver();
  EXPECT_TRUE(EndAsked());
}

TEST_F(SaverWindow, ADialogBeginsAndEnds) {
  BeginDialog();
  EXPECT_EQ(ss->DialogActive, 1);
  EXPECT_THAT(sent, ElementsAre(Message{window, WM_SETCURSOR}));
  cursor = {3, 4};
  EndDialog();
  EXPECT_EQ(ss->DialogActive, 0);
  EXPECT_EQ(sent.size(), 2u);
  EXPECT_EQ(ss->InitCursorPos.x, 3);
  EXPECT_EQ(ss->InitCursorPos.y, 4);
}

// --- Cursor ---

class CursorRuleOf : public WindowProcedure, public testing::WithParamInterface<bool> {
 protected:
  HCURSOR CursorShown() {
    cursorsSet.clear();
    const LRESULT result = GetParam() ? SendToChild(WM_SETCURSOR) : Send(WM_SETCURSOR);
    EXPECT_EQ(result, kDefaultResult);
    EXPECT_EQ(cursorsSet.size(), 1u);
    return cursorsSet.empty() ? nullptr : cursorsSet.back();
  }
};

INSTANTIATE_TEST_SUITE_P(SaverAndChild, CursorRuleOf, testing::Bool());

TEST_P(CursorRuleOf, IsHiddenInASaverAndTheArrowElsewhere) {
  const HCURSOR arrow = LoadCursorA(nullptr, IDC_ARROW);
  ASSERT_NE(arrow, nullptr);
  EXPECT_EQ(CursorShown(), nullptr);
  ss->DialogActive = 1;
  EXPECT_EQ(CursorShown(), arrow);
  ss->DialogActive = 0;
  RunMode = RUNMODE_PREVIEW;
  EXPECT_EQ(CursorShown(), arrow);
}

// --- System commands ---

TEST_F(SaverWindow, FourSystemCommandsAreSwallowed) {
  for (const WPARAM command : {SC_CLOSE, SC_NEXTWINDOW, SC_PREVWINDOW, SC_SCREENSAVE}) {
    EXPECT_EQ(Send(WM_SYSCOMMAND, command), 0);
    EXPECT_FALSE(DefaultReached()) << command;
  }
  for (const WPARAM command : {SC_MONITORPOWER, SC_MINIMIZE, SC_MOVE}) {
    EXPECT_EQ(Send(WM_SYSCOMMAND, command), kDefaultResult);
    EXPECT_TRUE(DefaultReached()) << command;
  }
}

TEST_F(SaverWindow, OutsideASaverNoSystemCommandIsSwallowed) {
  RunMode = RUNMODE_PREVIEW;
  for (const WPARAM command : {SC_CLOSE, SC_NEXTWINDOW, SC_PREVWINDOW, SC_SCREENSAVE})
    EXPECT_EQ(Send(WM_SYSCOMMAND, command), kDefaultResult) << command;
}

// --- Showing ---

struct Invalidated {
  HWND window;
  RECT rect;
  BOOL erase;
};

std::vector<Invalidated> InvalidatedBy(HWND window) {
  std::vector<Invalidated> all;
  HOOK_IMPORT(rect, "user32.dll", GetWindowRect, [](HWND, RECT* to) -> BOOL {
    *to = {1, 2, 30, 40};
    return TRUE;
  });
  HOOK_IMPORT(invalidate, "user32.dll", InvalidateRect,
              [&](HWND of, const RECT* area, BOOL erase) -> BOOL {
                all.push_back({of, *area, erase});
                return TRUE;
              });
  EXPECT_EQ(ScreenSaverProc(window, WM_SHOWWINDOW, TRUE, 0), kDefaultResult);
  return all;
}

TEST_F(SaverWindow, IsDrawnAnewWhenItIsShown) {
  const auto all = InvalidatedBy(window);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].window, window);
  EXPECT_EQ(all[0].rect.left, 1);
  EXPECT_EQ(all[0].rect.top, 2);
  EXPECT_EQ(all[0].rect.right, 30);
  EXPECT_EQ(all[0].rect.bottom, 40);
  EXPECT_TRUE(all[0].erase);
}

TEST_F(SaverWindow, TheParentItselfIsNotDrawnAnew) {
  ParentWindow = window;
  EXPECT_TRUE(InvalidatedBy(window).empty());
}

// --- All else ---

TEST_F(SaverWindow, LeavesAllElseToTheSystem) {
  for (const UINT message : {WM_PAINT, WM_TIMER, WM_ERASEBKGND, WM_KEYUP, WM_CHAR, WM_SYSKEYDOWN,
                             WM_LBUTTONUP, WM_MOUSEWHEEL, WM_SIZE, WM_USER, WM_QUERYENDSESSION}) {
    EXPECT_EQ(Send(message, 0x41), kDefaultResult);
    EXPECT_TRUE(DefaultReached()) << message;
    EXPECT_FALSE(EndAsked()) << message;
  }
}

TEST_F(ChildWindow, LeavesAllElseToTheSystem) {
  for (const UINT message : {WM_DESTROY, WM_ACTIVATE, WM_ACTIVATEAPP, WM_SYSCOMMAND, WM_TIMER,
                             WM_SHOWWINDOW, WM_USER}) {
    EXPECT_EQ(SendToChild(message, 0), kDefaultResult);
    EXPECT_TRUE(DefaultReached()) << message;
  }
  EXPECT_EQ(quits, 0);
  EXPECT_FALSE(EndAsked());
}

TEST_F(ChildWindow, ItsCreationIsAccepted) {
  ss->hWnd = window;
  EXPECT_EQ(SendToChild(WM_CREATE), 0);
  EXPECT_FALSE(DefaultReached());
  EXPECT_EQ(ss->hWnd, window) << "only the saver's own window is kept";
}

// A real window: painting needs one.
TEST(ChildWindowPainting, IsBlack) {
  const support::SessionState session;
  RunMode = RUNMODE_SAVER;
  WNDCLASSA windowClass{};
  windowClass.lpfnWndProc = ChildWindowProc;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  windowClass.lpszClassName = "VelmoraPaintTest";
  ASSERT_TRUE(RegisterClassA(&windowClass));
  const HWND window =
      CreateWindowExA(WS_EX_TOPMOST, "VelmoraPaintTest", "", WS_POPUP | WS_VISIBLE, 0, 0, 40, 30,
                      nullptr, nullptr, windowClass.hInstance, nullptr);
  ASSERT_NE(window, nullptr);
  InvalidateRect(window, nullptr, TRUE);
  EXPECT_NE(GetUpdateRect(window, nullptr, FALSE), 0);
  UpdateWindow(window);
  EXPECT_EQ(GetUpdateRect(window, nullptr, FALSE), 0) << "the window must count as painted";
  const HDC dc = GetDC(window);
  EXPECT_TRUE(PixelsNear(support::ReadDc(dc, 0, 0, 40, 30), support::Pixels(40, 30, 0)));
  ReleaseDC(window, dc);
  DestroyWindow(window);
  UnregisterClassA("VelmoraPaintTest", windowClass.hInstance);
}

}  // namespace
