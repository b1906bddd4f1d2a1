#include "base/Timers.h"

#include "base/win.h"
#include "support/ImportHook.h"
#include "support/Layout.h"

#include <gtest/gtest.h>

#include <mmsystem.h>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// A machine whose clocks are in the test's hands. `cost` ticks pass with each
// reading of the counter; a frequency of 0 means that there is no counter.
class TimersTest : public testing::Test {
 protected:
  void SetUp() override { Clock() = {}; }

  struct Clocks {
    std::int64_t frequency = 1000;
    std::int64_t now = 5000;
    std::int64_t cost = 0;
    DWORD milliseconds = 0;
    int frequencyQueries = 0;
    DWORD slept = 0;
  };
  static Clocks& Clock() {
    static Clocks clocks;
    return clocks;
  }

 private:
  static BOOL WINAPI TellCounter(LARGE_INTEGER* to) {
    if (Clock().frequency == 0) return FALSE;
    to->QuadPart = Clock().now += Clock().cost;
    return TRUE;
  }
  static BOOL WINAPI TellFrequency(LARGE_INTEGER* to) {
    ++Clock().frequencyQueries;
    if (Clock().frequency != 0) to->QuadPart = Clock().frequency;
    return Clock().frequency != 0;
  }
  static DWORD WINAPI TellMilliseconds() { return Clock().milliseconds; }
  static void WINAPI TakeSleep(DWORD ms) { Clock().slept += ms; }

  support::ImportHook counter_{"kernel32.dll", "QueryPerformanceCounter", TellCounter};
  support::ImportHook frequency_{"kernel32.dll", "QueryPerformanceFrequency", TellFrequency};
  support::ImportHook milliseconds_{"winmm.dll", "timeGetTime", TellMilliseconds};
  support::ImportHook sleep_{"kernel32.dll", "Sleep", TakeSleep};
};

// A stopwatch whose inside shows.
class OpenTimer : public CPerfTimer {
 public:
  using CPerfTimer::CPerfTimer;
  std::int64_t Value() const { return start; }
  static void ForgetCalibration() { Frequency = Adjust = 0; }
  static std::int64_t TicksPerSecond() { return Frequency; }
  static std::int64_t Overhead() { return Adjust; }
};

class CPerfTimerTest : public TimersTest {
 protected:
  void SetUp() override {
    TimersTest::SetUp();
    OpenTimer::ForgetCalibration();
  }
  // The next construction measures a start-stop pair at the real clock again.
  void TearDown() override { OpenTimer::ForgetCalibration(); }

  // Calibrates at `ticks` a pair; from then on readings cost nothing.
  static void CalibrateAt(std::int64_t ticks) {
    Clock().cost = ticks;
    const OpenTimer first;
    Clock().cost = 0;
  }
};
using PerfTimer = CPerfTimerTest;

TEST_F(PerfTimer, TheFirstConstructionMeasuresTheCostOfAPair) {
  Clock().cost = 7;
  const OpenTimer timer;
  EXPECT_EQ(OpenTimer::TicksPerSecond(), 1000);
  EXPECT_EQ(OpenTimer::Overhead(), -7);
  EXPECT_EQ(timer.Value(), 0);
}

TEST_F(PerfTimer, CalibrationHappensOnce) {
  CalibrateAt(7);
  Clock().cost = 50;
  const OpenTimer another(true);
  EXPECT_EQ(OpenTimer::Overhead(), -7);
  EXPECT_EQ(Clock().frequencyQueries, 1);
}

TEST_F(PerfTimer, StartsAtConstructionOnRequest) {
  CalibrateAt(0);
  const OpenTimer timer(true);
  EXPECT_EQ(timer.Value(), 5000);
  Clock().now += 250;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 250.0);
}

TEST_F(PerfTimer, IsEmptyUntilStarted) {
  CalibrateAt(3);
  const OpenTimer timer;
  Clock().now += 1000;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 0.0);
}

TEST_F(PerfTimer, AnsweringLeavesARunningTimerRunning) {
  CalibrateAt(0);
  OpenTimer timer(true);
  Clock().now += 100;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 100.0);
  Clock().now += 100;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 200.0);
  EXPECT_EQ(timer.Value(), 5000);
}

TEST_F(PerfTimer, TakesItsOwnCostOff) {
  CalibrateAt(10);
  OpenTimer timer;
  timer.Start();
  Clock().now += 110;
  timer.Stop();
  EXPECT_EQ(timer.Value(), -100);
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 100.0);
}

TEST_F(PerfTimer, AnIntervalBelowTheOverheadReadsAsZero) {
  CalibrateAt(10);
  for (const int ticks : {0, 1, 9, 10}) {
    OpenTimer timer;
    timer.Start();
    Clock().now += ticks;
    EXPECT_DOUBLE_EQ(timer.Elapsed(), 0.0) << ticks;
    timer.Stop();
    EXPECT_EQ(timer.Value(), 0) << ticks;
  }
}

TEST_F(PerfTimer, AnIntervalJustAboveTheOverheadCounts) {
  CalibrateAt(10);
  OpenTimer timer(true);
  Clock().now += 11;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 1.0);
}

TEST_F(PerfTimer, ASecondStopLeavesTheValueOfTheFirst) {
  CalibrateAt(0);
  OpenTimer timer(true);
  Clock().now += 40;
  timer.Stop();
  Clock().now += 40;
  timer.Stop();
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 40.0);
}

TEST_F(PerfTimer, ResumingAddsTheSpansUp) {
  CalibrateAt(0);
  OpenTimer timer(true);
  Clock().now += 40;
  timer.Stop();
  Clock().now += 1000;
  timer.Start(false);
  Clock().now += 2;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 42.0);
  timer.Stop();
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 42.0);
}

TEST_F(PerfTimer, StartingAnewForgetsTheTimeSoFar) {
  CalibrateAt(0);
  OpenTimer timer(true);
  Clock().now += 40;
  timer.Stop();
  timer.Start();
  Clock().now += 3;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 3.0);
}

TEST_F(PerfTimer, ResumingARunningOrEmptyTimerStartsIt) {
  CalibrateAt(0);
  OpenTimer timer;
  timer.Start(false);
  Clock().now += 5;
  timer.Start(false);
  Clock().now += 6;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 6.0);
}

TEST_F(PerfTimer, ACopyGoesItsOwnWay) {
  CalibrateAt(0);
  OpenTimer timer(true);
  OpenTimer copy(timer);
  Clock().now += 5;
  timer.Stop();
  Clock().now += 5;
  EXPECT_DOUBLE_EQ(copy.Elapsed(), 10.0);
  copy = timer;
  EXPECT_DOUBLE_EQ(copy.Elapsed(), 5.0);
}

TEST_F(PerfTimer, ElapsedIsInMilliseconds) {
  Clock().frequency = 3'000'000;
  CalibrateAt(0);
  OpenTimer timer(true);
  Clock().now += 4500;
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 1.5);
}

TEST_F(PerfTimer, WithoutACounterTheFrequencyIsOne) {
  Clock().frequency = 0;
  OpenTimer timer(true);
  EXPECT_EQ(OpenTimer::TicksPerSecond(), 1);
  EXPECT_EQ(OpenTimer::Overhead(), 0);
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 0.0);
  timer.Stop();
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 0.0);
}

TEST_F(PerfTimer, KnowsWhetherThereIsACounter) {
  EXPECT_TRUE(CPerfTimer::HasCounter());
  Clock().frequency = 0;
  EXPECT_FALSE(CPerfTimer::HasCounter());
}

// Writes down who locks and unlocks.
class GuardedTimer : public CPerfTimer {
 public:
  GuardedTimer(const std::string& name, std::vector<std::string>* log) : name_(name), log_(log) {}
  GuardedTimer& operator=(const GuardedTimer& other) {
    CPerfTimer::operator=(other);
    return *this;
  }
  void Lock() const override { log_->push_back("lock " + name_); }
  void Unlock() const override { log_->push_back("unlock " + name_); }

 private:
  std::string name_;
  std::vector<std::string>* log_;
};

TEST_F(PerfTimer, AssignmentLocksTheSourceThenItself) {
  std::vector<std::string> log;
  GuardedTimer source("source", &log);
  GuardedTimer target("target", &log);
  log.clear();
  target = source;
  EXPECT_EQ(log, (std::vector<std::string>{"lock source", "lock target", "unlock target",
                                           "unlock source"}));
}

TEST_F(PerfTimer, AssignmentToItselfDoesNothing) {
  std::vector<std::string> log;
  GuardedTimer timer("timer", &log);
  timer.Start();
  log.clear();
  GuardedTimer& same = timer;
  timer = same;
  EXPECT_TRUE(log.empty());
}

TEST_F(PerfTimer, EveryAccessIsBracketed) {
  std::vector<std::string> log;
  GuardedTimer timer("t", &log);
  const std::vector<std::string> bracket = {"lock t", "unlock t"};
  log.clear();
  timer.Start();
  EXPECT_EQ(log, bracket);
  log.clear();
  timer.Stop();
  EXPECT_EQ(log, bracket);
  log.clear();
  timer.Stop();
  EXPECT_EQ(log, bracket);
  log.clear();
  timer.Elapsed();
  EXPECT_EQ(log, bracket);
}

TEST_F(PerfTimer, LayoutAndSlotsAreFixed) {
  static_assert(std::has_virtual_destructor_v<CPerfTimer>);
  EXPECT_EQ(support::SlotOf(&CPerfTimer::Lock), 2);
  EXPECT_EQ(support::SlotOf(&CPerfTimer::Unlock), 3);
}

using BusyWait = CPerfTimerTest;

TEST_F(BusyWait, SpinsUntilTheTimeIsOver) {
  CalibrateAt(0);
  Clock().cost = 1;
  const std::int64_t before = Clock().now;
  WaitMs(40.0f);
  EXPECT_GE(Clock().now - before, 40);
  EXPECT_EQ(Clock().slept, 0u);
}

TEST_F(BusyWait, OfNothingReturnsAtOnce) {
  CalibrateAt(0);
  const std::int64_t before = Clock().now;
  WaitMs(0.0f);
  WaitMs(-5.0f);
  EXPECT_EQ(Clock().now, before);
}

// The stopwatch would stand at 0 for ever.
TEST_F(BusyWait, WithoutACounterSleeps) {
  Clock().frequency = 0;
  WaitMs(40.0f);
  EXPECT_EQ(Clock().slept, 40u);
}

class OpenInterval : public IntervalTimer {
 public:
  std::int64_t Frequency() const { return frequency; }
  float TickSeconds() const { return tickSeconds; }
  bool UsesCounter() const { return useCounter; }
  std::int64_t AtStart() const { return counterAtStart; }
  std::int64_t Last() const { return lastCounter; }
  bool BasesAreZero() const { return startMs == 0 && startMs2 == 0; }
  bool FieldsStandInOrder() const {
    return support::StandInOrder(frequency, tickSeconds, startMs, startMs2, useCounter,
                                 counterAtStart, lastCounter);
  }
};

using Interval = TimersTest;

TEST_F(Interval, TakesTheCounterIfThereIsOne) {
  Clock().frequency = 4000;
  const OpenInterval timer;
  EXPECT_TRUE(timer.UsesCounter());
  EXPECT_EQ(timer.Frequency(), 4000);
  EXPECT_FLOAT_EQ(timer.TickSeconds(), 0.00025f);
  EXPECT_EQ(timer.AtStart(), 5000);
  EXPECT_EQ(timer.Last(), 5000);
  EXPECT_TRUE(timer.BasesAreZero());
}

// Start and last reading are one and the same even if the clock moves.
TEST_F(Interval, ReadsTheCounterOnceAtConstruction) {
  Clock().cost = 3;
  const OpenInterval timer;
  EXPECT_EQ(timer.AtStart(), timer.Last());
}

TEST_F(Interval, AnswersTheTimeSinceTheLastQuery) {
  OpenInterval timer;
  Clock().now += 250;
  EXPECT_EQ(timer.ElapsedMs(), 250);
  EXPECT_EQ(timer.ElapsedMs(), 0);
  Clock().now += 40;
  EXPECT_EQ(timer.ElapsedMs(), 40);
  EXPECT_EQ(timer.AtStart(), 5000);
  EXPECT_EQ(timer.Last(), 5290);
}

TEST_F(Interval, CutsToWholeMillisecondsButTheExactFormDoesNot) {
  Clock().frequency = 3000;
  OpenInterval timer;
  Clock().now += 5;
  EXPECT_EQ(timer.ElapsedMs(), 1);
  Clock().now += 5;
  EXPECT_DOUBLE_EQ(timer.ElapsedMsExact(), 5.0 / 3000.0 * 1000.0);
}

TEST_F(Interval, BothFormsShareTheLastQuery) {
  OpenInterval timer;
  Clock().now += 30;
  EXPECT_DOUBLE_EQ(timer.ElapsedMsExact(), 30.0);
  Clock().now += 12;
  EXPECT_EQ(timer.ElapsedMs(), 12);
}

TEST_F(Interval, AMonthLongSpanIsNoAccident) {
  OpenInterval timer;
  Clock().now += std::int64_t{31} * 24 * 3600 * 1000;
  timer.ElapsedMs();
  Clock().now += 5;
  EXPECT_EQ(timer.ElapsedMs(), 5);
}

class IntervalFallback : public TimersTest {
 protected:
  void SetUp() override {
    TimersTest::SetUp();
    Clock().frequency = 0;
  }
};

TEST_F(IntervalFallback, CountsMilliseconds) {
  const OpenInterval timer;
  EXPECT_FALSE(timer.UsesCounter());
  EXPECT_EQ(timer.Frequency(), 1000);
  EXPECT_EQ(timer.TickSeconds(), 0.001f);
  EXPECT_EQ(timer.Last(), 0);
  EXPECT_TRUE(timer.BasesAreZero());
}

TEST_F(IntervalFallback, TheFirstReadingCountsFromZero) {
  Clock().milliseconds = 123456789;
  OpenInterval timer;
  EXPECT_EQ(timer.ElapsedMs(), 123456789);
  Clock().milliseconds += 40;
  EXPECT_EQ(timer.ElapsedMs(), 40);
}

TEST_F(IntervalFallback, TheExactFormCountsFromZeroToo) {
  Clock().milliseconds = 0xF0000000;
  OpenInterval timer;
  EXPECT_DOUBLE_EQ(timer.ElapsedMsExact(), 4026531840.0);
  Clock().milliseconds += 7;
  EXPECT_DOUBLE_EQ(timer.ElapsedMsExact(), 7.0);
}

TEST_F(IntervalFallback, NoMillisecondIsLostToRounding) {
  OpenInterval timer;
  for (int ms = 1; ms <= 2000; ++ms) {
    Clock().milliseconds += static_cast<DWORD>(ms);
    ASSERT_EQ(timer.ElapsedMs(), ms);
  }
}

// timeGetTime starts anew every 49.7 days.
TEST_F(IntervalFallback, SurvivesTheWrapOfTheTickCount) {
  Clock().milliseconds = 0xFFFFFFF0;
  OpenInterval timer;
  timer.ElapsedMs();
  Clock().milliseconds += 0x30;
  EXPECT_EQ(timer.ElapsedMs(), 0x30);
  Clock().milliseconds = 0xFFFFFFF0;
  timer.ElapsedMsExact();
  Clock().milliseconds += 0x30;
  EXPECT_DOUBLE_EQ(timer.ElapsedMsExact(), 48.0);
}

TEST_F(Interval, FieldsStandInTheirOrderWithoutVirtualOperations) {
  EXPECT_TRUE(OpenInterval().FieldsStandInOrder());
  static_assert(!std::is_polymorphic_v<IntervalTimer>);
}

// At the real clock: both tools agree about a span that was slept away.
TEST(Timers, TheStopwatchAndTheIntervalAgree) {
  CPerfTimer stopwatch(true);
  IntervalTimer interval;
  Sleep(50);
  const double byInterval = interval.ElapsedMsExact();
  const double byStopwatch = stopwatch.Elapsed();
  EXPECT_GE(byInterval, 45.0);
  EXPECT_GE(byStopwatch, byInterval);
}

TEST(Timers, TheBusyWaitLastsAtLeastItsTime) {
  IntervalTimer interval;
  WaitMs(20.0f);
  EXPECT_GE(interval.ElapsedMsExact(), 20.0);
}

}  // namespace
