#include "slideshow/MessagePump.h"

#include "base/win.h"
#include "support/SessionState.h"

#include <gtest/gtest.h>

namespace {

constexpr char kWindowClass[] = "VelmoraPumpTest";

int userMessages = 0;  // that the window has handled

LRESULT CALLBACK CountMessages(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  userMessages += message == WM_USER;
  return DefWindowProcA(window, message, wParam, lParam);
}

// A window, and a queue that has nothing of its creation left.
class MessagePump : public testing::Test {
 protected:
  void SetUp() override {
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = CountMessages;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassA(&windowClass);
    window = CreateWindowExA(0, kWindowClass, "", WS_POPUP | WS_VISIBLE, 0, 0, 64, 48, nullptr,
                             nullptr, windowClass.hInstance, nullptr);
    ASSERT_NE(window, nullptr);
    EmptyQueue();
    userMessages = 0;
  }
  void TearDown() override {
    DestroyWindow(window);
    EmptyQueue();
    UnregisterClassA(kWindowClass, GetModuleHandleA(nullptr));
  }

  HWND window = nullptr;

 private:
  static void EmptyQueue() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
  }

  support::SessionState session_;
};

TEST_F(MessagePump, WithoutAMessageReturnsAtOnce) {
  PumpOneMessage();
  EXPECT_FALSE(Done);
}

TEST_F(MessagePump, HandlesExactlyOne) {
  for (int n = 0; n < 3; ++n) PostMessageA(window, WM_USER, 0, 0);
  EXPECT_TRUE(PumpOneMessage());
  EXPECT_EQ(userMessages, 1);
  EXPECT_FALSE(Done);
}

TEST_F(MessagePump, AKeyBecomesACharacter) {
  PostMessageA(window, WM_KEYDOWN, 'A', 1);
  bool seen = false;
  for (int n = 0; n < 100 && !seen; ++n) {
    PumpOneMessage();
    MSG message;
    seen = PeekMessageA(&message, window, WM_CHAR, WM_CHAR, PM_REMOVE) != FALSE;
  }
  EXPECT_TRUE(seen);
}

TEST_F(MessagePump, AQuitEndsTheMainLoop) {
  PostQuitMessage(3);
  EXPECT_TRUE(PumpOneMessage());
  EXPECT_TRUE(Done);
}

}  // namespace
