#include "reporterr/DumpWatch.h"

#include "DumpBuilder.h"
#include "FakeProcesses.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

using State = DumpWatch::State;

constexpr DWORD kNobody = 0x7FFFFFF0;  // no process has this id
constexpr DWORD kTwoMinutes = 120000;

support::Bytes GoodDump() {
  DumpBuilder dump;
  dump.Add(DumpBuilder::kComment, support::BytesOf("a crash"));
  return dump.Build();
}

class Watch : public testing::Test {
 protected:
  void WriteDump() { folder.Write("a.dmp", GoodDump()); }
  void WriteOldDump() {
    WriteDump();
    const KernelHandle file = OwnFile(CreateFileA(dumpFile.c_str(), GENERIC_WRITE, 0, nullptr,
                                                  OPEN_EXISTING, 0, nullptr));
    const FILETIME longAgo{0, 0x01C00000};
    SetFileTime(file.get(), nullptr, nullptr, &longAgo);
  }

  support::TempFolder folder;
  const std::string dumpFile = folder.File("a.dmp");
};

TEST_F(Watch, TakesAnyDumpIfTheUserHasStartedTheTool) {
  FakeProcesses processes(5000);
  processes.Add(5000, "explorer.exe");
  const DumpWatch watch(dumpFile);
  EXPECT_FALSE(watch.FollowsCrash());
  EXPECT_EQ(watch.Look(), State::Missing);
  WriteOldDump();
  EXPECT_EQ(watch.Look(), State::Ready);
}

// As of programs that a shell of another system starts.
TEST_F(Watch, TakesNoStarterForTheUser) {
  const FakeProcesses processes(0);
  EXPECT_FALSE(DumpWatch(dumpFile).FollowsCrash());
}

// A saver that has started this program and goes on until it is told to end.
class RunningSaver {
 public:
  explicit RunningSaver(const char* program = "Velmora2.scr") : processes_(kSaver) {
    processes_.Add(kSaver, program);
  }
  void End() { SetEvent(end_.get()); }

 private:
  static constexpr DWORD kSaver = 5000;

  FakeProcesses processes_;
  KernelHandle end_{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  support::AnyHook open_ =
      ANY_HOOK("kernel32.dll", OpenProcess, [this](DWORD, BOOL, DWORD id) -> HANDLE {
        EXPECT_EQ(id, kSaver);
        HANDLE process = nullptr;
        DuplicateHandle(GetCurrentProcess(), end_.get(), GetCurrentProcess(), &process, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        return process;
      });
};

TEST_F(Watch, WaitsForTheDumpOfTheSaverThatHasStartedTheTool) {
  for (const char* name : {"Velmora2.scr", "VELMORA2.EXE"}) {
    DeleteFileA(dumpFile.c_str());
    const RunningSaver saver(name);
    const DumpWatch watch(dumpFile);
    EXPECT_TRUE(watch.FollowsCrash());
    EXPECT_EQ(watch.Look(), State::Waiting);
    WriteOldDump();
    EXPECT_EQ(watch.Look(), State::Waiting) << "of another crash";
    WriteDump();
    EXPECT_EQ(watch.Look(), State::Ready);
  }
}

TEST_F(Watch, EndsWithTheSaver) {
  RunningSaver saver;
  const DumpWatch watch(dumpFile);
  WriteOldDump();
  saver.End();
  EXPECT_EQ(watch.Look(), State::Missing);
  WriteDump();
  EXPECT_EQ(watch.Look(), State::Ready);
}

TEST_F(Watch, EndsAfterTwoMinutesIfTheSaverHangs) {
  const RunningSaver saver;
  DWORD now = 0xFFFFFF00;  // the clock turns over meanwhile
  HOOK_IMPORT(clock, "kernel32.dll", GetTickCount, [&] { return now; });
  const DumpWatch watch(dumpFile);
  WriteOldDump();
  for (const DWORD waited : {0ul, 1000ul, kTwoMinutes - 1}) {
    now = 0xFFFFFF00 + waited;
    EXPECT_EQ(watch.Look(), State::Waiting) << waited;
  }
  now = 0xFFFFFF00 + kTwoMinutes;
  EXPECT_EQ(watch.Look(), State::Missing);
  WriteDump();
  EXPECT_EQ(watch.Look(), State::Ready);
}

TEST_F(Watch, KnowsACrashWhoseProgramHasEndedAlready) {
  const FakeProcesses processes(kNobody);
  const DumpWatch watch(dumpFile);
  EXPECT_TRUE(watch.FollowsCrash());
  EXPECT_EQ(watch.Look(), State::Missing);
  WriteOldDump();
  EXPECT_EQ(watch.Look(), State::Missing) << "of another crash";
  WriteDump();
  EXPECT_EQ(watch.Look(), State::Ready);
}

TEST_F(Watch, KnowsACrashWhoseProgramEndsWhileItLooks) {
  FakeProcesses processes(5000);
  processes.Add(5000, "Velmora2.scr");
  HOOK_IMPORT(open, "kernel32.dll", OpenProcess,
              [](DWORD, BOOL, DWORD) -> HANDLE { return nullptr; });
  WriteOldDump();
  const DumpWatch watch(dumpFile);
  EXPECT_TRUE(watch.FollowsCrash());
  EXPECT_EQ(watch.Look(), State::Missing);
}

}  // namespace
