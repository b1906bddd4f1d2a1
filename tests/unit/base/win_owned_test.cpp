#include "base/win_owned.h"

#include "support/GdiGauge.h"
#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace {

std::vector<int> closed;
void CloseNumber(int number) { closed.push_back(number); }
using Number = Owned<int, CloseNumber>;

class OwnedTest : public testing::Test {
 protected:
  void SetUp() override { closed.clear(); }
};
using Owner = OwnedTest;

TEST_F(Owner, ClosesWhatItHoldsAtTheEndOfItsScope) {
  { const Number number(5); }
  EXPECT_EQ(closed, std::vector<int>{5});
}

TEST_F(Owner, AnEmptyOneClosesNothing) {
  { const Number number; }
  EXPECT_TRUE(closed.empty());
}

TEST_F(Owner, MovingHandsTheHandleOver) {
  {
    Number first(5);
    const Number second(std::move(first));
    EXPECT_EQ(second.get(), 5);
  }
  EXPECT_EQ(closed, std::vector<int>{5});
}

TEST_F(Owner, MoveAssignmentClosesWhatWasThere) {
  {
    Number first(5);
    Number second(6);
    second = std::move(first);
    EXPECT_EQ(closed, std::vector<int>{6});
  }
  EXPECT_EQ(closed, (std::vector<int>{6, 5}));
}

TEST_F(Owner, AssignmentToItselfKeepsTheHandle) {
  {
    Number number(5);
    Number& same = number;
    number = std::move(same);
    EXPECT_EQ(number.get(), 5);
    EXPECT_TRUE(closed.empty());
  }
  EXPECT_EQ(closed, std::vector<int>{5});
}

TEST_F(Owner, ReleaseGivesTheHandleAway) {
  {
    Number number(5);
    EXPECT_EQ(number.release(), 5);
    EXPECT_FALSE(number);
  }
  EXPECT_TRUE(closed.empty());
}

TEST_F(Owner, ResetClosesTheOldOne) {
  Number number(5);
  number.reset(6);
  EXPECT_EQ(closed, std::vector<int>{5});
  EXPECT_TRUE(number);
}

TEST_F(Owner, IsAsBigAsItsHandleAndCannotBeCopied) {
  static_assert(sizeof(KernelHandle) == sizeof(HANDLE));
  static_assert(!std::is_copy_constructible_v<MemDc> && !std::is_copy_assignable_v<MemDc>);
}

TEST(MakeCanvas, HasTheSizeAndLeavesNothingBehind) {
  const MemDc screen(CreateCompatibleDC(nullptr));
  { const MemDc first = MakeCanvas(screen.get(), 4, 4); }
  const support::GdiGauge gauge;
  for (int n = 0; n < 20; ++n) {
    const MemDc canvas = MakeCanvas(screen.get(), 30, 20);
    ASSERT_TRUE(canvas);
    EXPECT_TRUE(PatBlt(canvas.get(), 0, 0, 30, 20, WHITENESS));
    EXPECT_EQ(GetPixel(canvas.get(), 29, 19), RGB(255, 255, 255));
    EXPECT_EQ(GetPixel(canvas.get(), 30, 19), CLR_INVALID);
    EXPECT_EQ(GetPixel(canvas.get(), 29, 20), CLR_INVALID);
  }
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST(MakeCanvas, FailsWithoutALeakIfThereIsNoBitmap) {
  const MemDc screen(CreateCompatibleDC(nullptr));
  HOOK_IMPORT(none, "gdi32.dll", CreateCompatibleBitmap,
              [](HDC, int, int) -> HBITMAP { return nullptr; });
  const support::GdiGauge gauge;
  EXPECT_FALSE(MakeCanvas(screen.get(), 30, 20));
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST(OwnFile, AFailureIsNull) {
  EXPECT_FALSE(OwnFile(INVALID_HANDLE_VALUE));
  EXPECT_FALSE(OwnFile(nullptr));
  EXPECT_TRUE(OwnFile(CreateFileA("NUL", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
}

TEST(SelectGuard, BringsBackWhatWasSelected) {
  const MemDc dc(CreateCompatibleDC(nullptr));
  const HGDIOBJ before = GetCurrentObject(dc.get(), OBJ_BRUSH);
  const GdiBrush brush(CreateSolidBrush(RGB(1, 2, 3)));
  {
    const SelectGuard selected(dc.get(), brush.get());
    EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_BRUSH), brush.get());
  }
  EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_BRUSH), before);
}

// A window's context that the test hands out, and what is given back.
class WindowContexts : public testing::Test {
 protected:
  HWND window = reinterpret_cast<HWND>(5);
  HDC clientArea = reinterpret_cast<HDC>(6);
  HDC wholeWindow = reinterpret_cast<HDC>(7);
  std::vector<std::pair<HWND, HDC>> released;

 private:
  const std::vector<support::AnyHook> hooks_{
      ANY_HOOK("user32.dll", GetDC, [this](HWND) { return clientArea; }),
      ANY_HOOK("user32.dll", GetWindowDC, [this](HWND) { return wholeWindow; }),
      ANY_HOOK("user32.dll", ReleaseDC,
               [this](HWND from, HDC dc) {
                 released.emplace_back(from, dc);
                 return 1;
               }),
  };
};

TEST_F(WindowContexts, AreGivenBackToTheirWindow) {
  {
    const ClientDc client(window);
    EXPECT_EQ(client.get(), clientArea);
    const WindowDc whole(window);
    EXPECT_EQ(whole.get(), wholeWindow);
    EXPECT_TRUE(released.empty());
  }
  EXPECT_EQ(released, (std::vector{std::pair(window, wholeWindow), std::pair(window, clientArea)}));
}

TEST_F(WindowContexts, OneThatIsNotThereIsNotGivenBack) {
  clientArea = wholeWindow = nullptr;
  {
    const ClientDc client(window);
    const WindowDc whole(window);
    EXPECT_EQ(client.get(), nullptr);
    EXPECT_EQ(whole.get(), nullptr);
  }
  EXPECT_TRUE(released.empty());
}

TEST(ProcAddress, IsNullForAMissingEntry) {
  const HMODULE kernel = GetModuleHandleA("kernel32.dll");
  EXPECT_NE(ProcAddress<decltype(&GetTickCount)>(kernel, "GetTickCount"), nullptr);
  EXPECT_EQ(ProcAddress<decltype(&GetTickCount)>(kernel, "NoSuchEntry"), nullptr);
}

}  // namespace
