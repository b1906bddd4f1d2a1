#include "base/cThread.h"

#include "base/win_owned.h"
#include "support/ImportHook.h"
#include "support/Layout.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <type_traits>

namespace {

// A thread whose work is a function; its inside shows.
class Job : public cThread {
 public:
  explicit Job(std::function<unsigned(Job&)> work = {}) : work_(std::move(work)) {}
  ~Job() override { Stop(); }
  unsigned int Run() override { return work_ ? work_(*this) : cThread::Run(); }

  HANDLE Launch() {
    const HANDLE thread = Start();
    ResumeThread(thread);
    return thread;
  }
  bool LaunchAt(int priority) { return StartWithPriority(priority); }
  HANDLE Handle() const { return handle; }
  DWORD Id() const { return threadId; }
  std::uint32_t TimeOut() const { return timeout; }
  std::uint32_t CreateFlags() const { return createFlags; }
  void ClearRunning() { running = false; }
  bool FieldsStandInOrder() const {
    return support::StandInOrder(handle, threadId, timeout, running, createFlags) &&
           sizeof running == sizeof(bool);
  }

 private:
  std::function<unsigned(Job&)> work_;
};

unsigned RunUntilStopped(Job& job) {
  while (job.IsRunning()) Sleep(1);
  return 7;
}

// A second handle on a thread, which outlives the first.
KernelHandle Duplicate(HANDLE thread) {
  HANDLE copy = nullptr;
  DuplicateHandle(GetCurrentProcess(), thread, GetCurrentProcess(), &copy, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  return KernelHandle(copy);
}

DWORD ExitCodeOf(HANDLE thread) {
  EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeThread(thread, &code));
  return code;
}

TEST(cThread, StartsOutWithoutAThread) {
  const Job job;
  EXPECT_EQ(job.Handle(), nullptr);
  EXPECT_EQ(job.Id(), 0u);
  EXPECT_EQ(job.TimeOut(), INFINITE);
  EXPECT_FALSE(job.IsRunning());
  EXPECT_EQ(job.CreateFlags(), 4u);
}

// As much as the filter for crashes needs on a thread whose stack is used up.
TEST(cThread, KeepsSomeStackForItsOverflow) {
  const auto guarantee = ProcAddress<BOOL(WINAPI*)(ULONG*)>(GetModuleHandleA("kernel32.dll"),
                                                            "SetThreadStackGuarantee");
  ASSERT_NE(guarantee, nullptr);
  ULONG kept = 0;  // asks, and changes nothing
  Job job([&](Job&) { return guarantee(&kept) ? 0u : 1u; });
  EXPECT_EQ(ExitCodeOf(Duplicate(job.Launch()).get()), 0u);
  EXPECT_GE(kept, 16u * 1024);
}

TEST(cThread, StopOfANeverStartedThreadDoesNothing) {
  Job job;
  job.Stop();
  job.Stop();
  EXPECT_EQ(job.Handle(), nullptr);
  EXPECT_FALSE(job.IsRunning());
}

TEST(cThread, StartsSuspended) {
  std::atomic<bool> ran = false;
  Job job([&](Job&) { ran = true; return 0u; });
  const HANDLE thread = job.Start();
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(job.Handle(), thread);
  EXPECT_NE(job.Id(), 0u);
  EXPECT_TRUE(job.IsRunning());
  EXPECT_TRUE(SetThreadPriority(thread, THREAD_PRIORITY_BELOW_NORMAL));
  EXPECT_EQ(WaitForSingleObject(thread, 20), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_FALSE(ran);
  EXPECT_EQ(ResumeThread(thread), 1u);
  ExitCodeOf(thread);
  EXPECT_TRUE(ran);
}

TEST(cThread, RunsOnTheThreadThatItNames) {
  DWORD id = 0;
  Job job([&](Job&) { id = GetCurrentThreadId(); return 0u; });
  ExitCodeOf(job.Launch());
  EXPECT_EQ(id, job.Id());
  EXPECT_NE(id, GetCurrentThreadId());
}

TEST(cThread, RunOfTheBaseClassReturnsZeroAtOnce) {
  Job job;
  EXPECT_EQ(job.Run(), 0u);
  EXPECT_EQ(ExitCodeOf(job.Launch()), 0u);
}

TEST(cThread, TheResultOfRunIsTheExitCode) {
  Job job([](Job&) { return 0xDEADBEEFu; });
  EXPECT_EQ(ExitCodeOf(job.Launch()), 0xDEADBEEFu);
}

TEST(cThread, StopAsksWaitsAndClosesTheHandle) {
  Job job(RunUntilStopped);
  const KernelHandle thread = Duplicate(job.Launch());
  job.Stop();
  EXPECT_FALSE(job.IsRunning());
  EXPECT_EQ(job.Handle(), nullptr);
  EXPECT_EQ(WaitForSingleObject(thread.get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(ExitCodeOf(thread.get()), 7u);
  job.Stop();
}

TEST(cThread, StartOnARunningThreadWaitsForTheOldOne) {
  std::atomic<int> ended = 0;
  Job job([&](Job& self) {
    const unsigned code = RunUntilStopped(self);
    ++ended;
    return code;
  });
  const KernelHandle first = Duplicate(job.Launch());
  const HANDLE second = job.Start();
  EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(ended, 1);
  EXPECT_TRUE(job.IsRunning());
  ResumeThread(second);
  job.Stop();
  EXPECT_EQ(ended, 2);
}

TEST(cThread, AThreadThatOutlivesTheTimeOutIsLetGo) {
  std::atomic<bool> mayEnd = false;
  Job job([&](Job&) {
    while (!mayEnd) Sleep(1);
    return 3u;
  });
  job.SetTimeout(20);
  const KernelHandle thread = Duplicate(job.Launch());
  job.Stop();
  EXPECT_EQ(job.Handle(), nullptr);
  EXPECT_EQ(WaitForSingleObject(thread.get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
  mayEnd = true;
  EXPECT_EQ(ExitCodeOf(thread.get()), 3u);
}

TEST(cThread, RunMayClearTheSignalByItself) {
  Job job([](Job& self) { self.ClearRunning(); return 0u; });
  job.Launch();
  EXPECT_TRUE(support::WaitFor([&] { return !job.IsRunning(); }));
}

TEST(cThread, DestructionStops) {
  std::atomic<bool> ended = false;
  {
    Job job([&](Job& self) {
      RunUntilStopped(self);
      ended = true;
      return 0u;
    });
    job.Launch();
  }
  EXPECT_TRUE(ended);
}

TEST(cThread, AThreadThatCannotBeMadeIsNotRunning) {
  HOOK_IMPORT(none, "kernel32.dll", CreateThread,
              [](LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                 LPDWORD) -> HANDLE { return nullptr; });
  Job job;
  EXPECT_EQ(job.Start(), nullptr);
  EXPECT_FALSE(job.IsRunning());
  job.Stop();
}

TEST(cThread, AsksForTheDefaultStack) {
  SIZE_T stack = 1;
  DWORD flags = 0;
  HOOK_IMPORT(spy, "kernel32.dll", CreateThread,
              [&](LPSECURITY_ATTRIBUTES, SIZE_T stackSize, LPTHREAD_START_ROUTINE, LPVOID,
                  DWORD creationFlags, LPDWORD) -> HANDLE {
                stack = stackSize;
                flags = creationFlags;
                return nullptr;
              });
  Job().Start();
  EXPECT_EQ(stack, 0u);
  EXPECT_EQ(flags, static_cast<DWORD>(CREATE_SUSPENDED));
}

TEST(cThread, FieldsAndSlotsStandInTheirOrder) {
  EXPECT_TRUE(Job().FieldsStandInOrder());
  static_assert(std::has_virtual_destructor_v<cThread>);
  EXPECT_EQ(support::SlotOf(&cThread::Run), 2);
  EXPECT_EQ(support::SlotOf(&cThread::Start), -1);
  static_assert(sizeof(cThread) == 24);
}

class OpenMonitor : public cMonitor {
 public:
  HANDLE Mutex() const { return mutex; }
  bool Locked() const { return locked; }
  bool FieldsStandInOrder() const { return support::StandInOrder(mutex, locked); }
};

// Whether another thread could take the mutex this moment.
bool IsFreeForOthers(HANDLE mutex) {
  bool isFree = false;
  Job other([&](Job&) {
    isFree = WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0;
    if (isFree) ReleaseMutex(mutex);
    return 0u;
  });
  ExitCodeOf(other.Launch());
  return isFree;
}

TEST(cThread, ItsPriorityStandsBeforeItRuns) {
  std::atomic<int> seen = 99;
  Job job([&](Job&) {
    seen = GetThreadPriority(GetCurrentThread());
    return 5u;
  });
  EXPECT_TRUE(job.LaunchAt(THREAD_PRIORITY_BELOW_NORMAL));
  EXPECT_EQ(ExitCodeOf(job.Handle()), 5u);
  EXPECT_EQ(seen, THREAD_PRIORITY_BELOW_NORMAL);
}

TEST(cThread, TellsIfItCouldNotBeMade) {
  HOOK_IMPORT(none, "kernel32.dll", CreateThread,
              [](LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                 LPDWORD) -> HANDLE { return nullptr; });
  Job job;
  EXPECT_FALSE(job.LaunchAt(THREAD_PRIORITY_NORMAL));
  EXPECT_FALSE(job.IsRunning());
}

TEST(cMonitor, StartsOutFree) {
  const OpenMonitor monitor;
  EXPECT_NE(monitor.Mutex(), nullptr);
  EXPECT_FALSE(monitor.Locked());
  EXPECT_TRUE(IsFreeForOthers(monitor.Mutex()));
}

TEST(cMonitor, KeepsOthersOutWhileLocked) {
  OpenMonitor monitor;
  monitor.Lock();
  EXPECT_TRUE(monitor.Locked());
  EXPECT_FALSE(IsFreeForOthers(monitor.Mutex()));
  monitor.Unlock();
  EXPECT_FALSE(monitor.Locked());
  EXPECT_TRUE(IsFreeForOthers(monitor.Mutex()));
}

TEST(cMonitor, ItsOwnerMayTakeItAgain) {
  OpenMonitor monitor;
  monitor.Lock();
  monitor.Lock();
  monitor.Unlock();
  EXPECT_FALSE(IsFreeForOthers(monitor.Mutex()));
  monitor.Unlock();
  EXPECT_TRUE(IsFreeForOthers(monitor.Mutex()));
}

TEST(cMonitor, LockWaitsForItsOwner) {
  OpenMonitor monitor;
  std::atomic<bool> entered = false;
  monitor.Lock();
  Job other([&](Job&) {
    monitor.Lock();
    entered = true;
    monitor.Unlock();
    return 0u;
  });
  const HANDLE thread = other.Launch();
  EXPECT_EQ(WaitForSingleObject(thread, 20), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_FALSE(entered);
  monitor.Unlock();
  ExitCodeOf(thread);
  EXPECT_TRUE(entered);
}

TEST(cMonitor, DestructionClosesTheMutex) {
  HANDLE mutex = nullptr;
  {
    const OpenMonitor monitor;
    mutex = monitor.Mutex();
  }
  DWORD flags = 0;
  EXPECT_FALSE(GetHandleInformation(mutex, &flags));
}

TEST(cMonitor, FieldsStandInTheirOrder) {
  EXPECT_TRUE(OpenMonitor().FieldsStandInOrder());
  static_assert(std::has_virtual_destructor_v<cMonitor>);
  static_assert(sizeof(cMonitor) == 12);
}

}  // namespace
