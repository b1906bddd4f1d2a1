#pragma once
// Three ways to read the clock: a stopwatch that knows its own cost, a clock
// that answers how long it was since it was last asked, and a busy wait.

#include <cstdint>

// A stopwatch on the performance counter. Used on one thread; a derived class
// may make it thread-safe through Lock and Unlock. The first construction in
// the process measures the cost of a start-stop pair and must come before any
// concurrent use.
class CPerfTimer {
 public:
  explicit CPerfTimer(bool startNow = false);
  CPerfTimer(const CPerfTimer& other);
  CPerfTimer& operator=(const CPerfTimer& other);
  virtual ~CPerfTimer() = default;
  virtual void Lock() const {}
  virtual void Unlock() const {}

  // Whether the machine has a performance counter. Without one a stopwatch always
  // reads 0: who waits for it to move waits for ever.
  static bool HasCounter();

  // Starts at zero, or with `reset` false resumes a stopped timer.
  void Start(bool reset = true);
  // Stops; a second call changes nothing. An interval shorter than the
  // stopwatch's own cost counts as zero.
  void Stop();
  // Milliseconds so far. A running timer runs on.
  double Elapsed() const;

 protected:
  void CopyFrom(const CPerfTimer& other);
  static void Calibrate();

  // Counter ticks: positive, the reading at the start; zero, stopped and
  // empty; negative, stopped with this many ticks elapsed.
  std::int64_t start = 0;

  static std::int64_t Frequency;  // ticks per second; 0 until calibrated
  static std::int64_t Adjust;     // cost of a start-stop pair, negative ticks
};

// Spins for `ms` milliseconds. It burns the processor on purpose: a sleep
// isn't exact at the scale of a frame. On a machine without a counter it sleeps
// all the same.
void WaitMs(float ms);

// Answers the time since its last query. One thread.
class IntervalTimer {
 public:
  IntervalTimer();

  // Milliseconds since the previous query (at first since construction),
  // truncated to whole ones.
  std::int32_t ElapsedMs();
  // The same, untruncated.
  double ElapsedMsExact();

 protected:
  std::uint32_t TicksSinceLast();

  std::int64_t frequency = 0;     // ticks per second, 1000 without a counter
  float tickSeconds = 0;          // 1 / frequency; nothing reads it
  std::uint32_t startMs = 0;      // nothing reads it
  std::uint32_t startMs2 = 0;     // nothing reads it
  bool useCounter = false;        // the performance counter exists
  std::int64_t counterAtStart = 0;  // nothing reads it
  std::int64_t lastCounter = 0;
};
