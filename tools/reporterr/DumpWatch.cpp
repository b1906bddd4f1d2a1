#include "reporterr/DumpWatch.h"

#include "app/CrashCapture.h"
#include "base/FindNoCase.h"
#include "reporterr/Processes.h"

namespace {

// File times may lag behind the clock by a tick.
constexpr FileTime kClockSlack = 100 * 10000;

bool IsSaver(const Process& process) {
  return StartsWithNoCase(process.program, "velmora2.");
}

FileTime StartOfThisProgram() {
  FILETIME created{}, ended{}, kernel{}, user{};
  GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
  return FileTimeOf(created);
}

}  // namespace

DumpWatch::DumpWatch(const std::string& dumpFile)
    : dumpFile_(dumpFile), started_(StartOfThisProgram()), waitingSince_(GetTickCount()) {
  FindCrash();
}

// A starter that has ended by now was a crashing program: what a user starts
// programs with goes on.
void DumpWatch::FindCrash() {
  const std::vector<Process> running = RunningProcesses();
  const Process* const self = FindProcess(running, GetCurrentProcessId());
  if (!self || !self->starter) return;
  const Process* const starter = FindProcess(running, self->starter);
  followsCrash_ = !starter || IsSaver(*starter);
  if (starter && followsCrash_)
    crashed_.reset(OpenProcess(SYNCHRONIZE, FALSE, starter->id));
}

DumpWatch::State DumpWatch::Look() const {
  // Asked first: a dump may come between the two questions.
  const bool over = IsOver();
  if (IsThere()) return State::Ready;
  return over ? State::Missing : State::Waiting;
}

// The crashed program may hang in its dump for ever. It gives its work up itself
// after this time.
bool DumpWatch::IsOver() const {
  return !crashed_ || WaitForSingleObject(crashed_.get(), 0) == WAIT_OBJECT_0 ||
         GetTickCount() - waitingSince_ >= kMostCrashWorkMs;
}

bool DumpWatch::IsThere() const {
  if (followsCrash_ && WrittenAt(dumpFile_) + kClockSlack < started_) return false;
  return IsWholeDump(dumpFile_);
}
