// What a crash does, and in what order. The crashes themselves happen in copies of
// this program, since nothing survives one.

#include "app/CrashCapture.h"

#include "app/Instance.h"
#include "base/FileUtilities.h"
#include "base/win_owned.h"
#include "support/Bytes.h"
#include "support/CrashNet.h"
#include "support/ImportHook.h"
#include "support/Installation.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dbghelp.h>
#include <functional>
#include <map>
#include <shellapi.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kDamagedInCrash[] =
    "The screensaver has encountered an error and has found that one or\n"
    "more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.";

// --- Copies of this program that crash ---

constexpr char kCrashVariable[] = "VELMORA_TEST_CRASH";
constexpr char kFolderVariable[] = "VELMORA_TEST_CRASH_FOLDER";

std::string Variable(const char* name) {
  char value[MAX_PATH] = "";
  GetEnvironmentVariableA(name, value, sizeof value);
  return value;
}

void Fault() {
  static int* volatile nowhere = nullptr;
  *nowhere = 1;
}

[[noreturn]] void Throw() { throw std::runtime_error("nobody catches this"); }

void ThrowFromNoexcept() noexcept { Throw(); }

DWORD WINAPI ThrowOnThread(void*) { Throw(); }

// Behind a pointer, since the compiler sees through a function that calls itself.
using CallDeeper = int (*)(int);
extern const volatile CallDeeper kCallDeeper;

int CallItself(int depth) {
  volatile char room[200];
  room[depth % 200] = static_cast<char>(depth);
  return kCallDeeper(depth + 1) + room[0];
}

const volatile CallDeeper kCallDeeper = CallItself;

void OverflowStack() { CallItself(0); }

DWORD WINAPI OverflowOnThread(void*) {
  OverflowStack();
  return 0;
}

void OnSystemThread(LPTHREAD_START_ROUTINE run) {
  const KernelHandle thread(CreateThread(nullptr, 0, run, nullptr, 0, nullptr));
  WaitForSingleObject(thread.get(), INFINITE);
}

// Whoever works on the crash and wants the heap waits for ever, then.
void OverflowWithTheHeapLocked() {
  static const auto wait = REAL_IMPORT("kernel32.dll", WaitForSingleObject);
  HOOK_IMPORT(impatient, "kernel32.dll", WaitForSingleObject, [](HANDLE object, DWORD limit) {
    return wait(object, limit == INFINITE ? INFINITE : std::min<DWORD>(limit, 300));
  });
  HeapLock(GetProcessHeap());
  OverflowStack();
}

constexpr DWORD kSecondReport = 77;

DWORD WINAPI FaultOnThread(void*) {
  Fault();
  return 0;
}

// While the first crash is worked on, another thread crashes.
void CrashOnTwoThreads() {
  static int reports = 0;
  HOOK_IMPORT(tool, "shell32.dll", ShellExecuteA,
              [](HWND, LPCSTR, LPCSTR, LPCSTR, LPCSTR, INT) -> HINSTANCE {
                if (++reports > 1) ExitProcess(kSecondReport);
                const KernelHandle thread(
                    CreateThread(nullptr, 0, FaultOnThread, nullptr, 0, nullptr));
                WaitForSingleObject(thread.get(), 3000);  // it would report, or end the process
                return nullptr;
              });
  Throw();
}

// A destructor, say, crashes once the first crash has been worked on.
void CrashOnTheWayOut() {
  static int reports = 0;
  HOOK_IMPORT(tool, "shell32.dll", ShellExecuteA,
              [](HWND, LPCSTR, LPCSTR, LPCSTR, LPCSTR, INT) -> HINSTANCE {
                if (++reports > 1) ExitProcess(kSecondReport);
                return nullptr;
              });
  EXCEPTION_RECORD record{};
  CONTEXT context{};
  EXCEPTION_POINTERS pointers{&record, &context};
  UnhandledFilter(&pointers);
  if (reports == 1) Fault();
}

// The work on the crash crashes.
void CrashInTheWork(void (*first)()) {
  HOOK_IMPORT(tool, "shell32.dll", ShellExecuteA,
              [](HWND, LPCSTR, LPCSTR, LPCSTR, LPCSTR, INT) -> HINSTANCE {
                Fault();
                return nullptr;
              });
  first();
}

const std::map<std::string, std::function<void()>> kCrashes = {
    {"fault", Fault},
    {"throw", Throw},
    {"noexcept", ThrowFromNoexcept},
    {"abort", [] { std::abort(); }},
    {"thread", [] { std::thread(Throw).join(); }},
    {"system thread", [] { OnSystemThread(ThrowOnThread); }},
    {"overflow", OverflowStack},
    {"overflow on thread", [] { OnSystemThread(OverflowOnThread); }},
    {"overflow with the heap locked", OverflowWithTheHeapLocked},
    {"two threads", CrashOnTwoThreads},
    {"way out", CrashOnTheWayOut},
    {"fault in the work", [] { CrashInTheWork(Fault); }},
    {"fault in the work after overflow", [] { CrashInTheWork(OverflowStack); }},
};

// Stands in for a run of the saver that crashes, with a good installation in the
// given folder. It says that it runs on Windows 2000, where there is no dump: one
// takes seconds for a program with all its symbols.
const bool kCrashingProcess = [] {
  const auto crash = kCrashes.find(Variable(kCrashVariable));
  if (crash == kCrashes.end()) return false;
  SetEnvironmentVariableA(kCrashVariable, nullptr);
  CatchCrashes();
  InstallPath = AppDataPath = Variable(kFolderVariable);
  ReportToolPath = InstallPath + "no such tool.exe";
  OsVersionCode = 6;
  ss = new SaverSettings;
  crash->second();
  ExitProcess(0);
}();

// Runs a copy of this program with a variable set for it; its exit code.
DWORD RunCopy(const char* variable, const std::string& value, std::string arguments) {
  SetEnvironmentVariableA(variable, value.c_str());
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  arguments = '"' + std::string(program) + "\" " + arguments;
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION information{};
  const BOOL started = CreateProcessA(program, arguments.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                      nullptr, &startup, &information);
  SetEnvironmentVariableA(variable, nullptr);
  if (!started) throw std::runtime_error("no copy of the test program can be started");
  const KernelHandle process(information.hProcess), thread(information.hThread);
  WaitForSingleObject(process.get(), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.get(), &code);
  return code;
}

// Its exit code.
DWORD RunCrash(const std::string& kind, const std::string& folder) {
  SetEnvironmentVariableA(kFolderVariable, folder.c_str());
  return RunCopy(kCrashVariable, kind, "");
}

class Crash : public testing::TestWithParam<std::pair<const char*, DWORD>> {};

INSTANTIATE_TEST_SUITE_P(
    Kinds, Crash,
    testing::Values(std::pair("fault", DWORD{EXCEPTION_ACCESS_VIOLATION}),
                    std::pair("throw", kUncaughtException),
                    std::pair("noexcept", kUncaughtException), std::pair("abort", kAborted),
                    std::pair("thread", kUncaughtException),
                    std::pair("system thread", kUncaughtException),
                    std::pair("overflow", DWORD{EXCEPTION_STACK_OVERFLOW}),
                    std::pair("overflow on thread", DWORD{EXCEPTION_STACK_OVERFLOW}),
                    std::pair("two threads", kUncaughtException),
                    std::pair("way out", DWORD{EXCEPTION_ACCESS_VIOLATION})));

TEST_P(Crash, EndsInTheFilterWhereverItHappens) {
  ASSERT_FALSE(kCrashingProcess);
  const auto& [kind, code] = GetParam();
  support::RegistrySandbox user(HKEY_CURRENT_USER,
                                "Software\\Tarnwick\\TarnwickSaver\\Velmora2");
  user.SetDword("CrashFlag", 1);
  const support::Installation files;
  EXPECT_EQ(RunCrash(kind, files.Folder()), code);
  EXPECT_EQ(user.Dword("CrashFlag"), 0u) << "the filter clears it";
}

TEST(CrashInCrash, EndsEvenIfTheWorkOnItCannot) {
  ASSERT_FALSE(kCrashingProcess);
  const support::Installation files;
  for (const char* kind : {"overflow with the heap locked", "fault in the work",
                           "fault in the work after overflow"})
    EXPECT_NE(RunCrash(kind, files.Folder()), 0u) << kind;
}

// --- The filter, called by hand ---

constexpr char kAloneVariable[] = "VELMORA_TEST_ALONE";

// The filter works once in a process, so a test that calls it has one of its own. True
// if the test is over, as it has run in a copy of this program; false in the copy.
bool HasRunAlone() {
  if (!Variable(kAloneVariable).empty()) return false;
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  EXPECT_EQ(RunCopy(kAloneVariable, "1",
                    std::string("--gtest_brief=1 --gtest_filter=") + test.test_suite_name() + "." +
                        test.name()),
            0u);
  return true;
}

// The code of the exception that a dump is about; 0 if it isn't a dump.
DWORD CodeInDump(const std::string& path) {
  if (!PathExists(path.c_str())) return 0;
  const support::Bytes bytes = support::ReadWholeFile(path);
  MINIDUMP_HEADER head{};
  if (bytes.size() < sizeof head) return 0;
  std::memcpy(&head, bytes.data(), sizeof head);
  if (std::memcmp(bytes.data(), "MDMP", 4) != 0) return 0;
  for (ULONG n = 0; n < head.NumberOfStreams; ++n) {
    MINIDUMP_DIRECTORY entry{};
    std::memcpy(&entry, bytes.data() + head.StreamDirectoryRva + n * sizeof entry, sizeof entry);
    MINIDUMP_EXCEPTION_STREAM stream{};
    if (entry.StreamType != ExceptionStream) continue;
    std::memcpy(&stream, bytes.data() + entry.Location.Rva, sizeof stream);
    return stream.ExceptionRecord.ExceptionCode;
  }
  return 0;
}

class Filter : public testing::Test {
 protected:
  void SetUp() override {
    InstallPath = files.Folder();
    AppDataPath = data.Path() + "\\";
    ReportToolPath = InstallPath + "ReportErr.exe";
    OsVersionCode = 7;
    user.SetDword("CrashFlag", 1);
    user.SetDword("CriticalError", 1);
    user.SetDword("DoChecksum", 1);
    InstanceMutex = CreateMutexA(nullptr, TRUE, nullptr);
  }
  void TearDown() override {
    CloseHandle(InstanceMutex);
    InstanceMutex = nullptr;
  }

  // Once in a process: see HasRunAlone.
  LONG Call() {
    RaiseAndRecord();
    return UnhandledFilter(&pointers);
  }
  bool WriteDump() {
    RaiseAndRecord();
    return WriteMinidump(&pointers);
  }
  bool MutexIsFree() const {
    bool isFree = false;
    std::thread([&] { isFree = WaitForSingleObject(InstanceMutex, 0) == WAIT_OBJECT_0; }).join();
    return isFree;
  }
  bool HasDump() const { return PathExists(DumpPath().c_str()); }
  std::string DumpPath() const { return data.File("velmora_minidump.dmp"); }

  support::SessionState session;
  support::RegistrySandbox user{HKEY_CURRENT_USER, "Software\\Tarnwick\\TarnwickSaver\\Velmora2"};
  support::TempFolder data;
  support::Installation files;
  std::vector<std::string> events;  // what the filter did, in order
  std::vector<std::string> boxes;
  std::vector<UINT> boxStyles;
  EXCEPTION_POINTERS pointers{};

 private:
  void RaiseAndRecord() {
    record_.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    context_.ContextFlags = CONTEXT_FULL;
    pointers = {&record_, &context_};
    GetThreadContext(GetCurrentThread(), &context_);
  }

  EXCEPTION_RECORD record_{};
  CONTEXT context_{};
  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("shell32.dll", ShellExecuteA,
               [this](HWND owner, LPCSTR verb, LPCSTR file, LPCSTR arguments, LPCSTR folder,
                      INT show) -> HINSTANCE {
                 EXPECT_EQ(owner, nullptr);
                 EXPECT_STREQ(verb, "open");
                 EXPECT_EQ(file, InstallPath + "ReportErr.exe");
                 EXPECT_EQ(arguments, nullptr);
                 EXPECT_EQ(folder, nullptr);
                 EXPECT_EQ(show, SW_SHOWNORMAL);
                 EXPECT_EQ(CodeInDump(DumpPath()), 0u) << "the tool comes before the dump";
                 events.push_back("tool");
                 return reinterpret_cast<HINSTANCE>(33);
               }),
      ANY_HOOK("user32.dll", MessageBoxA,
               [this](HWND owner, LPCSTR text, LPCSTR title, UINT style) {
                 EXPECT_EQ(owner, nullptr);
                 events.push_back(std::string("box ") + title);
                 boxes.push_back(text);
                 boxStyles.push_back(style);
                 return IDOK;
               }),
  };
};

TEST_F(Filter, StartsTheToolThenOverwritesTheLastDumpAndClearsTheErrors) {
  if (HasRunAlone()) return;
  support::WriteWholeFile(DumpPath(), support::Bytes(1000000, 'x'));
  EXPECT_EQ(Call(), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_THAT(events, ElementsAre("tool"));
  EXPECT_EQ(CodeInDump(DumpPath()), DWORD{EXCEPTION_ACCESS_VIOLATION});
  EXPECT_LT(support::ReadWholeFile(DumpPath()).size(), 1000000u);
  EXPECT_EQ(user.Dword("CrashFlag"), 0u);
  EXPECT_EQ(user.Dword("CriticalError"), 0u);
  EXPECT_EQ(user.Dword("DoChecksum"), 1u) << "only the exit path clears it";
  EXPECT_TRUE(MutexIsFree());
}

TEST_F(Filter, WithoutTheWishToReportItOnlyClearsTheErrors) {
  if (HasRunAlone()) return;
  ss->ShowBugReport = 0;
  EXPECT_EQ(Call(), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_FALSE(HasDump());
  EXPECT_EQ(user.Dword("CrashFlag"), 0u);
  EXPECT_TRUE(MutexIsFree());
}

TEST_F(Filter, TellsOfDamagedFilesAndReportsNothing) {
  if (HasRunAlone()) return;
  files.Damage("fmod.dll");
  EXPECT_EQ(Call(), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_THAT(events, ElementsAre("box Velmora 2"));
  EXPECT_THAT(boxes, ElementsAre(kDamagedInCrash));
  EXPECT_THAT(boxStyles, ElementsAre(UINT{MB_ICONERROR}));
  EXPECT_FALSE(HasDump());
  EXPECT_EQ(user.Dword("CriticalError"), 0u);
  EXPECT_TRUE(MutexIsFree());
}

TEST_F(Filter, BeforeTheSettingsAreReadItTouchesNothingOfTheUsers) {
  if (HasRunAlone()) return;
  ss = nullptr;
  EXPECT_EQ(Call(), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_FALSE(HasDump());
  EXPECT_EQ(user.Dword("CrashFlag"), 1u);
  EXPECT_TRUE(MutexIsFree());
}

TEST_F(Filter, BeforeWindowsXpTheToolComesWithoutADump) {
  if (HasRunAlone()) return;
  OsVersionCode = 6;
  EXPECT_EQ(Call(), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_THAT(events, ElementsAre("tool"));
  EXPECT_FALSE(HasDump());
  EXPECT_EQ(user.Dword("CrashFlag"), 0u);
}

// --- The dump ---

// What the system's function was asked for.
struct DumpRequest {
  HANDLE process;
  DWORD processId;
  MINIDUMP_TYPE type;
  MINIDUMP_EXCEPTION_INFORMATION information;
};
DumpRequest dumpRequest;
BOOL dumpResult = TRUE;

BOOL WINAPI NoteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                     MINIDUMP_EXCEPTION_INFORMATION* information, void* streams, void* callback) {
  EXPECT_EQ(GetFileType(file), DWORD{FILE_TYPE_DISK});
  EXPECT_EQ(streams, nullptr);
  EXPECT_EQ(callback, nullptr);
  dumpRequest = {process, processId, type, *information};
  return dumpResult;
}

TEST_F(Filter, TheDumpIsOfTheCallingThreadAndOfTheKindThatTheCommandLineAsksFor) {
  HOOK_IMPORT(find, "kernel32.dll", GetProcAddress, [](HMODULE, LPCSTR) -> FARPROC {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(NoteDump));
  });
  for (const int kind : {0, 1, 2}) {
    DumpType = kind;
    EXPECT_TRUE(WriteDump());
    EXPECT_EQ(dumpRequest.type, kind);
  }
  EXPECT_EQ(dumpRequest.process, GetCurrentProcess());
  EXPECT_EQ(dumpRequest.processId, GetCurrentProcessId());
  EXPECT_EQ(dumpRequest.information.ThreadId, GetCurrentThreadId());
  EXPECT_EQ(dumpRequest.information.ExceptionPointers, &pointers);
  EXPECT_EQ(dumpRequest.information.ClientPointers, 1);
  dumpResult = FALSE;
  EXPECT_FALSE(WriteDump());
  dumpResult = TRUE;
}

TEST_F(Filter, WithoutAFolderThereIsNoDump) {
  AppDataPath = data.File("no such folder\\");
  EXPECT_FALSE(WriteDump());
}

TEST_F(Filter, WithoutTheLibraryThereIsNoDump) {
  HOOK_IMPORT(hook, "kernel32.dll", LoadLibraryA, [](LPCSTR) -> HMODULE { return nullptr; });
  EXPECT_FALSE(WriteDump());
}

TEST_F(Filter, WithoutTheFunctionThereIsNoDumpAndTheLibraryIsFreed) {
  const auto library = reinterpret_cast<HMODULE>(0x4000);
  int freed = 0;
  HOOK_IMPORT(load, "kernel32.dll", LoadLibraryA, [=](LPCSTR name) -> HMODULE {
    EXPECT_STREQ(name, "dbghelp.dll");
    return library;
  });
  HOOK_IMPORT(find, "kernel32.dll", GetProcAddress, [=](HMODULE module, LPCSTR name) -> FARPROC {
    EXPECT_EQ(module, library);
    EXPECT_STREQ(name, "MiniDumpWriteDump");
    return nullptr;
  });
  HOOK_IMPORT(release, "kernel32.dll", FreeLibrary, [&](HMODULE module) -> BOOL {
    EXPECT_EQ(module, library);
    ++freed;
    return TRUE;
  });
  EXPECT_FALSE(WriteDump());
  EXPECT_EQ(freed, 1);
}

TEST(CatchCrashes, PutsTheFilterInPlace) {
  const support::CrashNet net;
  CatchCrashes();
  EXPECT_EQ(SetUnhandledExceptionFilter(nullptr), &UnhandledFilter);
}

}  // namespace
