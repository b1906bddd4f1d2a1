#include "app/ExitRules.h"

#include "base/win_owned.h"
#include "support/ImportHook.h"
#include "support/PretendWindows.h"
#include "unit/app/password/PasswordStandIn.h"

#include <gtest/gtest.h>

namespace {

// --- Mouse ---

TEST(MouseRule, ExactlyTheThresholdIsNotEnough) {
  const POINT reference{100, 200};
  for (const POINT cursor : {POINT{150, 200}, {50, 200}, {100, 250}, {100, 150}, {100, 200}})
    EXPECT_FALSE(MouseLeftThreshold(cursor, reference, 50)) << cursor.x << "," << cursor.y;
}

TEST(MouseRule, OnePixelMoreIsEnoughOnEitherAxis) {
  const POINT reference{100, 200};
  for (const POINT cursor : {POINT{151, 200}, {49, 200}, {100, 251}, {100, 149}})
    EXPECT_TRUE(MouseLeftThreshold(cursor, reference, 50)) << cursor.x << "," << cursor.y;
}

TEST(MouseRule, TheLimitIsASquareAndNotACircle) {
  EXPECT_FALSE(MouseLeftThreshold({50, -50}, {0, 0}, 50));
  EXPECT_TRUE(MouseLeftThreshold({51, 0}, {0, 0}, 50));
}

TEST(MouseRule, AThresholdOfZeroEndsAtTheFirstPixel) {
  EXPECT_FALSE(MouseLeftThreshold({7, 7}, {7, 7}, 0));
  EXPECT_TRUE(MouseLeftThreshold({7, 8}, {7, 7}, 0));
}

// --- Keys ---

TEST(KeyRule, TheArrowsControlTheMusic) {
  EXPECT_EQ(ActionOfKey(0x27), KeyAction::NextTrack);
  EXPECT_EQ(ActionOfKey(0x25), KeyAction::PreviousTrack);
  EXPECT_EQ(ActionOfKey(0x26), KeyAction::RestartTrack);
  EXPECT_EQ(ActionOfKey(0x28), KeyAction::TogglePause);
}

TEST(KeyRule, EveryOtherKeyAndButtonEndsTheSaver) {
  for (WPARAM key = 0; key < 256; ++key) {
    if (key >= 0x25 && key <= 0x28) continue;
    EXPECT_EQ(ActionOfKey(key), KeyAction::EndSaver) << key;
  }
}

// --- Password delay ---

TEST(PasswordDelay, ExactlyTheDelayNeedsNoPassword) {
  EXPECT_FALSE(PasswordIsDue(1000, 1000, 15));
  EXPECT_FALSE(PasswordIsDue(15000, 1000, 15));
  EXPECT_FALSE(PasswordIsDue(16000, 1000, 15));
}

TEST(PasswordDelay, OneMillisecondMoreDoes) { EXPECT_TRUE(PasswordIsDue(16001, 1000, 15)); }

TEST(PasswordDelay, TheClockMayWrapInBetween) {
  EXPECT_FALSE(PasswordIsDue(5000, 0xFFFFFFFF - 9999, 15));
  EXPECT_TRUE(PasswordIsDue(5001, 0xFFFFFFFF - 9999, 15));
}

TEST(PasswordDelay, AHugeDelayDoesNotWrap) {
  EXPECT_FALSE(PasswordIsDue(20000, 0, 4294968));  // 1000 times that is 704 in 32 bits
}

TEST(PasswordDelay, WithoutADelayItIsDueAtOnce) {
  EXPECT_FALSE(PasswordIsDue(7, 7, 0));
  EXPECT_TRUE(PasswordIsDue(8, 7, 0));
}

// --- System commands ---

TEST(SystemCommands, FourAreSwallowed) {
  for (const WPARAM command : {SC_CLOSE, SC_NEXTWINDOW, SC_PREVWINDOW, SC_SCREENSAVE})
    EXPECT_TRUE(IsSwallowedSystemCommand(command)) << std::hex << command;
  for (const WPARAM command : {SC_MINIMIZE, SC_MAXIMIZE, SC_RESTORE, SC_MOVE, SC_SIZE,
                               SC_MONITORPOWER, SC_TASKLIST, SC_KEYMENU})
    EXPECT_FALSE(IsSwallowedSystemCommand(command)) << std::hex << command;
}

// The system keeps notes of its own in the lowest four bits.
TEST(SystemCommands, TheLowestFourBitsDoNotCount) {
  EXPECT_TRUE(IsSwallowedSystemCommand(SC_CLOSE | 3));
  EXPECT_TRUE(IsSwallowedSystemCommand(SC_SCREENSAVE | 0xF));
  EXPECT_FALSE(IsSwallowedSystemCommand(SC_MONITORPOWER | 2));
}

// --- Password ---

class Password : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(library);
    ASSERT_NE(state, nullptr);
    *state = {};
  }

  // Keeps the stand-in, and what it noted, loaded.
  Library library{LoadLibraryA(kPasswordLibrary)};
  PasswordState* state = reinterpret_cast<PasswordState*>(
      reinterpret_cast<void*>(GetProcAddress(library.get(), "State")));
  HWND window = GetDesktopWindow();
};

TEST_F(Password, WindowsNTIsNotAsked) {
  const auto nt = support::PretendWindows(2, 4, 0);
  EXPECT_TRUE(VerifyPassword(window));
  EXPECT_EQ(state->questions, 0);
}

TEST_F(Password, ThisVeryWindowsIsNotAsked) {
  EXPECT_TRUE(VerifyPassword(window));
  EXPECT_EQ(state->questions, 0);
}

TEST_F(Password, ARightPasswordIsTrue) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  state->answer = TRUE;
  EXPECT_TRUE(VerifyPassword(window));
  EXPECT_EQ(state->questions, 1);
  EXPECT_EQ(state->window, window);
}

TEST_F(Password, AWrongPasswordIsFalse) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  EXPECT_FALSE(VerifyPassword(window));
  EXPECT_EQ(state->questions, 1);
}

TEST_F(Password, AnyAnswerButZeroIsRight) {
  const auto windowsMe = support::PretendWindows(1, 4, 90);
  state->answer = 42;
  EXPECT_TRUE(VerifyPassword(window));
}

TEST_F(Password, AMissingLibraryIsNoPassword) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  std::string asked;
  HOOK_IMPORT(noLibrary, "kernel32.dll", LoadLibraryA, [&](LPCSTR name) -> HMODULE {
    asked = name;
    return nullptr;
  });
  EXPECT_TRUE(VerifyPassword(window));
  EXPECT_EQ(asked, "PASSWORD.CPL");
}

TEST_F(Password, AMissingEntryIsNoPasswordAndTheLibraryIsFreed) {
  const auto windows98 = support::PretendWindows(1, 4, 10);
  std::string asked;
  int freed = 0;
  HOOK_IMPORT(noEntry, "kernel32.dll", GetProcAddress, [&](HMODULE, LPCSTR name) -> FARPROC {
    asked = name;
    return nullptr;
  });
  HOOK_IMPORT(free, "kernel32.dll", FreeLibrary, [&](HMODULE module) -> BOOL {
    freed += module == library.get();
    return TRUE;
  });
  EXPECT_TRUE(VerifyPassword(window));
  EXPECT_EQ(asked, "VerifyScreenSavePwd");
  EXPECT_EQ(freed, 1);
}

}  // namespace
