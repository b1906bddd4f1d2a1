#include "app/Instance.h"

#include "base/win_owned.h"
#include "support/ImportHook.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace {

constexpr char kHolderVariable[] = "VELMORA_TEST_MUTEX_HOLDER";
constexpr char kHolderReady[] = "VelmoraTestHolderReady";
constexpr DWORD kLongMs = 60000;   // more than any wait here takes
constexpr DWORD kShortMs = 200;

// This program, started anew with the variable set, is another saver: it takes
// the mutex and keeps it until somebody ends it.
const bool kHolderProcess = [] {
  char value[8];
  if (!GetEnvironmentVariableA(kHolderVariable, value, sizeof value)) return false;
  CreateMutexA(nullptr, TRUE, "VelmoraSaver");
  SetEvent(OpenEventA(EVENT_MODIFY_STATE, FALSE, kHolderReady));
  Sleep(kLongMs);
  ExitProcess(1);
}();

// Whether a thread other than this one could take the mutex now.
bool IsFree(HANDLE mutex) {
  bool isFree = false;
  std::thread([&] {
    const DWORD result = WaitForSingleObject(mutex, 0);
    isFree = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    if (isFree) ReleaseMutex(mutex);
  }).join();
  return isFree;
}

class Instance : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(kHolderProcess);
    InstanceMutex = nullptr;
  }
  void TearDown() override {
    if (!InstanceMutex) return;
    ReleaseMutex(InstanceMutex);
    CloseHandle(InstanceMutex);
    InstanceMutex = nullptr;
  }
};

// Another saver, as a thread: holds the mutex from construction to Release or
// to the thread's end.
class Holder {
 public:
  Holder() : thread_([this] { Hold(); }) {
    support::WaitFor([this] { return holding_.load(); });
  }
  ~Holder() { End(Release); }

  enum How { Release, Abandon };
  void End(How how) {
    if (!thread_.joinable()) return;
    how_ = how;
    SetEvent(end_.get());
    thread_.join();
  }
  // Lets go a moment later, so that somebody may be waiting by then.
  void EndSoon() {
    how_ = Release;
    delayMs_ = kShortMs;
    SetEvent(end_.get());
  }

 private:
  void Hold() {
    const KernelHandle mutex(CreateMutexA(nullptr, TRUE, "VelmoraSaver"));
    holding_ = true;
    WaitForSingleObject(end_.get(), kLongMs);
    Sleep(delayMs_);
    if (how_ == Release) ReleaseMutex(mutex.get());
  }

  KernelHandle end_{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<bool> holding_ = false;
  std::atomic<How> how_ = Release;
  std::atomic<DWORD> delayMs_ = 0;
  std::thread thread_;
};

// --- A saver ---

TEST_F(Instance, AloneItTakesTheMutex) {
  EXPECT_TRUE(AcquireSaverInstance(0));
  ASSERT_NE(InstanceMutex, nullptr);
  EXPECT_FALSE(IsFree(InstanceMutex));
}

TEST_F(Instance, AnEarlierErrorDoesNotConfuseIt) {
  SetLastError(ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(AcquireSaverInstance(0));
  EXPECT_FALSE(IsFree(InstanceMutex));
}

TEST_F(Instance, ItWaitsForASaverThatIsClosing) {
  Holder other;
  other.EndSoon();
  EXPECT_TRUE(AcquireSaverInstance(kLongMs));
  ASSERT_NE(InstanceMutex, nullptr);
  EXPECT_FALSE(IsFree(InstanceMutex));
}

TEST_F(Instance, ItGivesWayToASaverThatRunsOn) {
  Holder other;
  EXPECT_FALSE(AcquireSaverInstance(kShortMs));
}

TEST_F(Instance, ASaverThatDiedCountsAsEnded) {
  Holder other;
  other.End(Holder::Abandon);
  EXPECT_TRUE(AcquireSaverInstance(0));
  EXPECT_FALSE(IsFree(InstanceMutex));
}

TEST_F(Instance, AMutexThatNobodyHoldsAnyMoreIsTaken) {
  const KernelHandle keptOpen(CreateMutexA(nullptr, FALSE, "VelmoraSaver"));
  EXPECT_TRUE(AcquireSaverInstance(0));
  EXPECT_FALSE(IsFree(InstanceMutex));
}

TEST_F(Instance, OneReleaseIsEnoughAfterTheWait) {
  const KernelHandle keptOpen(CreateMutexA(nullptr, FALSE, "VelmoraSaver"));
  ASSERT_TRUE(AcquireSaverInstance(0));
  EXPECT_TRUE(ReleaseMutex(InstanceMutex));
  // Initial ownership of a mutex that exists already is none, so one wait is
  // what this process holds.
  EXPECT_TRUE(IsFree(InstanceMutex));
}

TEST_F(Instance, WithoutAMutexItGoesOn) {
  HOOK_IMPORT(noMutex, "kernel32.dll", CreateMutexA,
              [](SECURITY_ATTRIBUTES*, BOOL, LPCSTR) -> HANDLE { return nullptr; });
  EXPECT_TRUE(AcquireSaverInstance(0));
}

TEST_F(Instance, WithoutAccessToTheOthersMutexItGoesOn) {
  Holder other;
  HOOK_IMPORT(noAccess, "kernel32.dll", OpenMutexA,
              [](DWORD, BOOL, LPCSTR) -> HANDLE { return nullptr; });
  EXPECT_TRUE(AcquireSaverInstance(0));
}

// Notes how long this program is ready to wait.
DWORD WaitOf(void (*call)()) {
  DWORD waited = 0;
  HOOK_IMPORT(hook, "kernel32.dll", WaitForSingleObject, [&](HANDLE object, DWORD ms) -> DWORD {
    if (object != InstanceMutex)
      return REAL_IMPORT("kernel32.dll", WaitForSingleObject)(object, ms);
    waited = ms;
    return WAIT_TIMEOUT;
  });
  call();
  return waited;
}

TEST_F(Instance, ItWaitsFifteenSeconds) {
  const KernelHandle keptOpen(CreateMutexA(nullptr, FALSE, "VelmoraSaver"));
  EXPECT_EQ(WaitOf([] { EXPECT_FALSE(AcquireSaverInstance()); }), 15000u);
}

// --- A preview or dialog ---

TEST_F(Instance, APreviewGoesOnAtOnceWithoutASaver) {
  WaitForSaverExit(kLongMs);
  EXPECT_EQ(InstanceMutex, nullptr);
  EXPECT_FALSE(ReleaseMutex(InstanceMutex));
}

TEST_F(Instance, APreviewWaitsForASaverThatIsClosingAndThenOwnsTheMutex) {
  Holder other;
  other.EndSoon();
  WaitForSaverExit(kLongMs);
  ASSERT_NE(InstanceMutex, nullptr);
  EXPECT_FALSE(IsFree(InstanceMutex));
  EXPECT_TRUE(ReleaseMutex(InstanceMutex));
}

TEST_F(Instance, APreviewGoesOnBesideASaverThatRunsOn) {
  Holder other;
  WaitForSaverExit(kShortMs);
  ASSERT_NE(InstanceMutex, nullptr);
  EXPECT_FALSE(ReleaseMutex(InstanceMutex)) << "it must not own the mutex";
}

TEST_F(Instance, APreviewWaitsFifteenSecondsToo) {
  const KernelHandle keptOpen(CreateMutexA(nullptr, FALSE, "VelmoraSaver"));
  EXPECT_EQ(WaitOf([] { WaitForSaverExit(); }), 15000u);
}

// --- Another process ---

class HolderProcess {
 public:
  HolderProcess() {
    const KernelHandle ready(CreateEventA(nullptr, TRUE, FALSE, kHolderReady));
    SetEnvironmentVariableA(kHolderVariable, "1");
    char path[MAX_PATH + 1] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    CreateProcessA(path, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableA(kHolderVariable, nullptr);
    CloseHandle(process.hThread);
    process_.reset(process.hProcess);
    holds_ = WaitForSingleObject(ready.get(), kLongMs) == WAIT_OBJECT_0;
  }
  ~HolderProcess() { Kill(); }

  bool Holds() const { return holds_; }
  void Kill() {
    if (!process_) return;
    TerminateProcess(process_.get(), 9);
    WaitForSingleObject(process_.get(), kLongMs);
    process_.reset();
  }

 private:
  KernelHandle process_;
  bool holds_ = false;
};

TEST_F(Instance, AProcessThatRunsOnKeepsTheMutexUntilItIsKilled) {
  HolderProcess other;
  ASSERT_TRUE(other.Holds());
  EXPECT_FALSE(AcquireSaverInstance(kShortMs));
  CloseHandle(InstanceMutex);
  other.Kill();
  EXPECT_TRUE(AcquireSaverInstance(kLongMs));
  EXPECT_FALSE(IsFree(InstanceMutex));
}

}  // namespace
