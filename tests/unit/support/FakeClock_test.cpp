#include "support/FakeClock.h"

#include <gtest/gtest.h>

#include <mmsystem.h>

using support::FakeClock;

namespace {

[[gnu::noinline]] std::int64_t Counter() {
  LARGE_INTEGER now{};
  EXPECT_TRUE(QueryPerformanceCounter(&now));
  return now.QuadPart;
}

[[gnu::noinline]] DWORD MediaTicks() { return timeGetTime(); }
[[gnu::noinline]] DWORD SystemTicks() { return GetTickCount(); }

TEST(FakeClock, StandsStillUntilMoved) {
  FakeClock clock(5000);
  const std::int64_t counter = Counter();
  Sleep(30);
  EXPECT_EQ(Counter(), counter);
  EXPECT_EQ(MediaTicks(), 5000u);
  EXPECT_EQ(SystemTicks(), 5000u);
}

TEST(FakeClock, MovesAllClocksTogether) {
  LARGE_INTEGER frequency{};
  QueryPerformanceFrequency(&frequency);
  FakeClock clock(5000);
  const std::int64_t before = Counter();
  clock.Advance(250.0);
  EXPECT_EQ(MediaTicks(), 5250u);
  EXPECT_EQ(SystemTicks(), 5250u);
  EXPECT_NEAR(static_cast<double>(Counter() - before), static_cast<double>(frequency.QuadPart) / 4,
              1);
}

TEST(FakeClock, PartsOfAMillisecondAddUp) {
  FakeClock clock(0);
  for (int n = 0; n < 4; ++n) clock.Advance(0.5);
  EXPECT_EQ(MediaTicks(), 2u);
}

TEST(FakeClock, TheTickCountWrapsAround) {
  FakeClock clock(0xFFFFFFFF);
  clock.Advance(3);
  EXPECT_EQ(MediaTicks(), 2u);
}

TEST(FakeClock, TheRealClockRunsAgainAfterwards) {
  { const FakeClock clock(1); }
  const std::int64_t counter = Counter();
  Sleep(20);
  EXPECT_GT(Counter(), counter);
}

}  // namespace
