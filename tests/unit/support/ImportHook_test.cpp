#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <mmsystem.h>
#include <stdexcept>

using support::ImportHook;

namespace {

DWORD WINAPI SevenTicks() { return 7; }
DWORD WINAPI EightTicks() { return 8; }
int __cdecl AlwaysFour() { return 4; }

[[gnu::noinline]] DWORD Ticks() { return GetTickCount(); }
[[gnu::noinline]] DWORD MediaTicks() { return timeGetTime(); }
[[gnu::noinline]] int Random() { return std::rand(); }
[[gnu::noinline]] int CallMulDiv(int a, int b, int c) { return MulDiv(a, b, c); }

TEST(ImportHook, ReplacesAStdcallFunctionAndPutsItBack) {
  const DWORD before = Ticks();
  {
    const ImportHook hook("kernel32.dll", "GetTickCount", SevenTicks);
    EXPECT_EQ(Ticks(), 7u);
  }
  EXPECT_GE(Ticks(), before);
}

TEST(ImportHook, ReplacesAFunctionOfTheRunTime) {
  {
    const ImportHook hook("msvcrt.dll", "rand", AlwaysFour);
    EXPECT_EQ(Random(), 4);
    EXPECT_EQ(Random(), 4);
  }
  bool anotherValue = false;
  for (int n = 0; n < 100; ++n) anotherValue |= Random() != 4;
  EXPECT_TRUE(anotherValue);
}

TEST(ImportHook, MatchesTheDllWithoutRegardToCase) {
  const ImportHook hook("KeRnEl32.DLL", "GetTickCount", EightTicks);
  EXPECT_EQ(Ticks(), 8u);
}

TEST(ImportHook, Nests) {
  const ImportHook outer("kernel32.dll", "GetTickCount", SevenTicks);
  {
    const ImportHook inner("kernel32.dll", "GetTickCount", EightTicks);
    EXPECT_EQ(Ticks(), 8u);
  }
  EXPECT_EQ(Ticks(), 7u);
}

TEST(ImportHook, ALambdaMayCapture) {
  int calls = 0;
  {
    HOOK_IMPORT(hook, "winmm.dll", timeGetTime, [&]() -> DWORD { return 100u + ++calls; });
    EXPECT_EQ(MediaTicks(), 101u);
    EXPECT_EQ(MediaTicks(), 102u);
  }
  EXPECT_EQ(calls, 2);
  MediaTicks();
  EXPECT_EQ(calls, 2);
}

// The callee of a stdcall function clears the stack; a wrong convention would
// ruin the caller's frame after a few calls.
TEST(ImportHook, ALambdaTakesTheFunctionsArgumentsInItsConvention) {
  int sum = 0;
  HOOK_IMPORT(hook, "kernel32.dll", MulDiv, [&](int a, int b, int c) {
    sum += a + b + c;
    return a * 10000 + b * 100 + c;
  });
  for (int n = 0; n < 1000; ++n) ASSERT_EQ(CallMulDiv(1, 2, 3), 10203);
  EXPECT_EQ(sum, 6000);
}

TEST(ImportHook, TheRealFunctionIsReachableFromItsReplacement) {
  HOOK_IMPORT(hook, "kernel32.dll", MulDiv, [](int a, int b, int c) {
    return REAL_IMPORT("kernel32.dll", MulDiv)(a, b, c) + 1000;
  });
  EXPECT_EQ(CallMulDiv(6, 4, 3), 1008);
}

TEST(ImportHook, HooksOfOneLambdaExpressionNest) {
  const auto addTo = [](int offset) {
    return support::HookImport<decltype(&MulDiv)>(
        "kernel32.dll", "MulDiv", [offset](int a, int, int) { return a + offset; });
  };
  const auto outer = addTo(100);
  {
    const auto inner = addTo(200);
    EXPECT_EQ(CallMulDiv(1, 1, 1), 201);
  }
  EXPECT_EQ(CallMulDiv(1, 1, 1), 101);
}

TEST(ImportHook, AFunctionThatIsNotImportedThrows) {
  EXPECT_THROW(ImportHook("kernel32.dll", "NoSuchFunction", SevenTicks), std::runtime_error);
  EXPECT_THROW(ImportHook("nosuch.dll", "GetTickCount", SevenTicks), std::runtime_error);
  EXPECT_FALSE(ImportHook::Exists("kernel32.dll", "NoSuchFunction"));
  EXPECT_TRUE(ImportHook::Exists("kernel32.dll", "GetTickCount"));
}

}  // namespace
