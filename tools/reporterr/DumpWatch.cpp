#include "reporterr/DumpWatch.h"

#include "base/FindNoCase.h"

#include <tlhelp32.h>

namespace {

// File times may lag behind the clock by a tick.
constexpr FileTime kClockSlack = 100 * 10000;

// The process that started this one and the name of its program.
struct Starter {
  DWORD id = 0;
  std::string program;
};

Starter FindStarter() {
  const KernelHandle list = OwnFile(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32 entry{};
  entry.dwSize = sizeof entry;
  Starter starter;
  for (BOOL found = Process32First(list.get(), &entry); found;
       found = Process32Next(list.get(), &entry))
    if (entry.th32ProcessID == GetCurrentProcessId()) starter.id = entry.th32ParentProcessID;
  for (BOOL found = Process32First(list.get(), &entry); found;
       found = Process32Next(list.get(), &entry))
    if (entry.th32ProcessID == starter.id) starter.program = entry.szExeFile;
  return starter;
}

KernelHandle OpenCrashedProgram() {
  const Starter starter = FindStarter();
  if (FindNoCase(starter.program.c_str(), "velmora2.") != starter.program.c_str()) return {};
  return KernelHandle(OpenProcess(SYNCHRONIZE, FALSE, starter.id));
}

FileTime StartOfThisProgram() {
  FILETIME created{}, ended{}, kernel{}, user{};
  GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
  return FileTimeOf(created);
}

}  // namespace

DumpWatch::DumpWatch(const std::string& dumpFile)
    : dumpFile_(dumpFile), crashed_(OpenCrashedProgram()), started_(StartOfThisProgram()) {}

DumpWatch::State DumpWatch::Look() const {
  // Asked first: a dump may come between the two questions.
  const bool over = !crashed_ || WaitForSingleObject(crashed_.get(), 0) == WAIT_OBJECT_0;
  if (IsThere()) return State::Ready;
  return over ? State::Missing : State::Waiting;
}

bool DumpWatch::IsThere() const {
  if (crashed_ && WrittenAt(dumpFile_) + kClockSlack < started_) return false;
  return IsWholeDump(dumpFile_);
}
