// The entry point: what each command line reaches, in which order, and what it
// leaves behind. WinMain runs within the test program.

#include "app/CrashCapture.h"
#include "app/Instance.h"
#include "app/OsVersion.h"
#include "base/Crc32.h"
#include "base/FileUtilities.h"
#include "slideshow/FrameRate.h"
#include "support/CrashNet.h"
#include "support/TestLog.h"
#include "ui/OpenFileRecords.h"
#include "unit/app/SaverFixture.h"

#include <gmock/gmock.h>

#include <shellapi.h>
#include <shlobj.h>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

namespace {

constexpr char kCriticalErrorText[] =
    "The screensaver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\nWe're sorry for the inconvenience.";

struct Dialog {
  HINSTANCE instance;
  LPCSTR resource;
  HWND parent;
};

struct Launch {
  std::string what, arguments;
};

bool IsFree(HANDLE mutex) {
  bool isFree = false;
  std::thread([&] {
    isFree = WaitForSingleObject(mutex, 0) != WAIT_TIMEOUT;
    if (isFree) ReleaseMutex(mutex);
  }).join();
  return isFree;
}

class Entry : public SaverMachine {
 protected:
  void SetUp() override {
    module = temp.File("Velmora2.scr");
    temp.MakeFolder("Roaming");
    WriteBundle("gg");
    user.SetDword("FastMode", 1);
    user.SetDword("PlayMusic", 0);
    numbersWritten.clear();
    InstanceMutex = nullptr;
    AverageFps = 100.0f;
    FpsFrames = FpsMs = FpsSamples = 0;
    FpsSum = 0;
    ASSERT_EQ(ss, nullptr);
    ASSERT_EQ(gLogger, nullptr);
  }
  void TearDown() override {
    CloseMutex();
    delete gLogger;
    gLogger = nullptr;
    SaverSettings settings;
    ss = &settings;  // for the procedure of a window that is left
    CleanUp();
    CloseSession();
    ss = nullptr;
  }

  // Starts the program with these arguments.
  int Start(const std::string& arguments) {
    CloseMutex();
    line_ = "\"" + module + "\"" + (arguments.empty() ? "" : " " + arguments);
    wideLine_.assign(line_.begin(), line_.end());
    return WinMain(GetModuleHandleA(nullptr), nullptr, nullptr, SW_SHOW);
  }

  // The end of a process would.
  static void CloseMutex() {
    if (InstanceMutex) CloseHandle(InstanceMutex);
    InstanceMutex = nullptr;
  }

  std::string DataFolder() const { return temp.File("Roaming\\Tarnwick\\Velmora2\\"); }
  std::string LogPath() const { return DataFolder() + "VelmoraLog.txt"; }
  std::vector<std::string> LogTexts() const {
    std::vector<std::string> texts;
    for (const support::LogLine& line : support::ReadLog(LogPath())) texts.push_back(line.text);
    return texts;
  }
  static bool Exists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
  }

  std::string module;
  support::RegistrySandbox machine{HKEY_LOCAL_MACHINE,
                                   "Software\\Tarnwick\\TarnwickSaver\\Velmora2"};
  support::RegistrySandbox system{HKEY_LOCAL_MACHINE,
                                  "Software\\Microsoft\\Windows\\CurrentVersion\\Screen Savers"};
  std::function<void()> duringDialog = [] {};
  std::vector<Dialog> dialogs;
  std::vector<Launch> launches;
  std::vector<std::string> mutexCalls;
  std::vector<HWND> folderOwners;  // of each question for the data folder

 private:
  const support::CrashNet net_;
  std::string line_;
  std::wstring wideLine_;
  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("kernel32.dll", GetCommandLineA, [this]() -> LPSTR { return line_.data(); }),
      ANY_HOOK("kernel32.dll", GetCommandLineW, [this]() -> LPWSTR { return wideLine_.data(); }),
      ANY_HOOK("kernel32.dll", GetModuleFileNameA,
               [this](HMODULE, LPSTR to, DWORD) -> DWORD {
                 std::strcpy(to, module.c_str());
                 return static_cast<DWORD>(module.size());
               }),
      ANY_HOOK("shell32.dll", SHGetSpecialFolderPathA,
               [this](HWND owner, LPSTR to, int folder, BOOL) -> BOOL {
                 if (folder != CSIDL_APPDATA) return FALSE;
                 folderOwners.push_back(owner);
                 std::strcpy(to, temp.File("Roaming").c_str());
                 return TRUE;
               }),
      ANY_HOOK("advapi32.dll", GetUserNameA,
               [](LPSTR to, LPDWORD) -> BOOL {
                 std::strcpy(to, "anna");
                 return TRUE;
               }),
      ANY_HOOK("user32.dll", DialogBoxParamA,
               [this](HINSTANCE instance, LPCSTR resource, HWND parent, DLGPROC procedure,
                      LPARAM parameter) -> INT_PTR {
                 EXPECT_NE(procedure, nullptr);
                 EXPECT_EQ(parameter, 0);
                 dialogs.push_back({instance, resource, parent});
                 duringDialog();
                 return IDOK;
               }),
      ANY_HOOK("shell32.dll", ShellExecuteA,
               [this](HWND owner, LPCSTR verb, LPCSTR file, LPCSTR arguments, LPCSTR folder,
                      INT show) -> HINSTANCE {
                 EXPECT_EQ(owner, nullptr);
                 EXPECT_EQ(verb, nullptr);
                 EXPECT_EQ(folder, nullptr);
                 EXPECT_EQ(show, SW_SHOWNORMAL);
                 launches.push_back({file, arguments});
                 return nullptr;
               }),
      ANY_HOOK("kernel32.dll", CreateProcessA,
               [this](LPCSTR program, LPSTR commandLine, SECURITY_ATTRIBUTES*,
                      SECURITY_ATTRIBUTES*, BOOL inherit, DWORD flags, void* environment,
                      LPCSTR folder, STARTUPINFOA* startup, PROCESS_INFORMATION*) -> BOOL {
                 EXPECT_FALSE(inherit);
                 EXPECT_EQ(flags, 0u);
                 EXPECT_EQ(environment, nullptr);
                 EXPECT_EQ(folder, nullptr);
                 EXPECT_EQ(startup->cb, sizeof(STARTUPINFOA));
                 launches.push_back({program, commandLine});
                 return FALSE;
               }),
      ANY_HOOK("kernel32.dll", CreateMutexA,
               [this](SECURITY_ATTRIBUTES* security, BOOL owner, LPCSTR name) -> HANDLE {
                 mutexCalls.push_back(std::string(owner ? "create owned " : "create ") + name);
                 return REAL_IMPORT("kernel32.dll", CreateMutexA)(security, owner, name);
               }),
      ANY_HOOK("kernel32.dll", OpenMutexA,
               [this](DWORD access, BOOL inherit, LPCSTR name) -> HANDLE {
                 mutexCalls.push_back(std::string("open ") + name);
                 return REAL_IMPORT("kernel32.dll", OpenMutexA)(access, inherit, name);
               }),
  };
};

// --- The configuration dialog ---

TEST_F(Entry, WithoutArgumentsOpensTheDialogWithoutAParentEvenAsSaver) {
  EXPECT_EQ(Start(""), 0);
  ASSERT_EQ(dialogs.size(), 1u);
  EXPECT_EQ(dialogs[0].instance, GetModuleHandleA(nullptr));
  EXPECT_EQ(dialogs[0].resource, MAKEINTRESOURCEA(104));
  EXPECT_EQ(dialogs[0].parent, nullptr);
  EXPECT_EQ(frames, 0);
}

TEST_F(Entry, TheDialogTakesTheParentOfItsSwitch) {
  for (const char* arguments : {"/c:4242", "/c 4242", "-C4242"}) {
    dialogs.clear();
    EXPECT_EQ(Start(arguments), 0);
    ASSERT_EQ(dialogs.size(), 1u) << arguments;
    EXPECT_EQ(dialogs[0].parent, reinterpret_cast<HWND>(4242)) << arguments;
  }
}

TEST_F(Entry, TheDialogTakesTheForegroundWindowIfNoParentIsNamed) {
  const HWND foreground = reinterpret_cast<HWND>(0x5678);
  HOOK_IMPORT(hook, "user32.dll", GetForegroundWindow, [=]() -> HWND { return foreground; });
  Start("/c");
  ASSERT_EQ(dialogs.size(), 1u);
  EXPECT_EQ(dialogs[0].parent, foreground);
}

TEST_F(Entry, AsAProgramItOpensTheDialogWhateverTheSwitchSays) {
  module = temp.File("Velmora2.EXE");
  for (const char* arguments : {"/s", "/p 77", "/a 77", "/x", ""}) {
    dialogs.clear();
    Start(arguments);
    ASSERT_EQ(dialogs.size(), 1u) << arguments;
    const bool named = std::strstr(arguments, "77") != nullptr;
    EXPECT_EQ(dialogs[0].parent, reinterpret_cast<HWND>(named ? 77 : 0)) << arguments;
  }
  EXPECT_EQ(frames, 0);
}

TEST_F(Entry, TheDialogsFileRecordsStandBeforeItOpens) {
  bool ready = false;
  OpenFileRecordA = {};
  duringDialog = [&] {
    ready = OpenFileRecordA.lStructSize == 76 && OpenFileRecordW.lStructSize == 76 &&
            OpenFileRecordA.hwndOwner == reinterpret_cast<HWND>(9);
  };
  Start("/c 9");
  EXPECT_TRUE(ready);
}

TEST_F(Entry, TheDialogsRunIsLogged) {
  Start("/c 1");
  const std::vector<std::string> texts = LogTexts();
  EXPECT_THAT(texts, ElementsAre("Velmora 2 started.", "Version: 1", "OS is Unknown",
                                 "Path: " + module, "AppData Path: " + DataFolder(),
                                 "In config mode...Initializing dialog structures.",
                                 "Opening dialog box", "Exiting configuration",
                                 "Successfully exiting WinMain"));
  for (const support::LogLine& line : support::ReadLog(LogPath())) {
    EXPECT_EQ(line.mark, "I");
    EXPECT_EQ(line.source, "Minimal");
  }
}

TEST_F(Entry, TheNetForCrashesIsTheVeryFirstThing) {
  bool caught = false;
  HOOK_IMPORT(hook, "kernel32.dll", GetCommandLineA, [&]() -> LPSTR {
    static char nothing[] = "x /x";
    const auto filter = SetUnhandledExceptionFilter(nullptr);
    caught = filter == &UnhandledFilter;
    SetUnhandledExceptionFilter(filter);
    return nothing;
  });
  Start("/x");
  EXPECT_TRUE(caught);
}

// --- The saver ---

TEST_F(Entry, TheSaversRunIsLoggedFromItsStartToItsEnd) {
  EXPECT_EQ(Start("/s"), 0);
  EXPECT_EQ(frames, 1);
  EXPECT_THAT(dialogs, IsEmpty());
  const std::vector<std::string> texts = LogTexts();
  ASSERT_GT(texts.size(), 10u);
  EXPECT_THAT(std::vector<std::string>(texts.begin(), texts.begin() + 7),
              ElementsAre("Velmora 2 started.", "Version: 1", "OS is Unknown", "Path: " + module,
                          "AppData Path: " + DataFolder(), "Running in normal Screensaver mode.",
                          "+- Enter function: DoSaver()"));
  EXPECT_THAT(std::vector<std::string>(texts.end() - 4, texts.end()),
              ElementsAre("UnregisterClass()", "Average FPS: 100", "Exiting screensaver.",
                          "Successfully exiting WinMain"));
}

TEST_F(Entry, AnyWordWithSIsTheSaver) {
  for (const char* arguments : {"s", "-S", "/screensaver"}) {
    frames = 0;
    Start(arguments);
    EXPECT_EQ(frames, 1) << arguments;
  }
}

TEST_F(Entry, TheSaverStoresItsFrameRate) {
  onFrame = [](int) {
    AverageFps = 61.53125f;
    CloseSaver();
  };
  Start("/s");
  EXPECT_EQ(user.Text("AvgFps"), "61.5312");
  EXPECT_THAT(LogTexts(), Contains("Average FPS: 61.5312"));
}

TEST_F(Entry, AShortRunStoresAHundredFrames) {
  Start("/s");
  EXPECT_EQ(user.Text("AvgFps"), "100");
}

TEST_F(Entry, OnlyTheSaverStoresItsFrameRate) {
  for (const char* arguments : {"", "/c", "/x", "/a 1"}) {
    Start(arguments);
    EXPECT_FALSE(user.Get("AvgFps")) << arguments;
  }
}

TEST_F(Entry, TheSettingsAreReadBeforeTheSaverStarts) {
  system.SetDword("Mouse Threshold", 77);
  user.SetText("ImageDelay", "3.5");
  bool seen = false;
  onFrame = [&](int) {
    seen = true;
    EXPECT_EQ(ss->MouseThreshold, 77);
    EXPECT_EQ(ss->ImageDelay, 3.5f);
    EXPECT_EQ(RunMode, RUNMODE_SAVER);
    EXPECT_EQ(ParentWindow, nullptr);
    CloseSaver();
  };
  Start("/s");
  EXPECT_TRUE(seen);
}

TEST_F(Entry, WithoutDebugLogNothingIsLogged) {
  user.SetDword("DebugLog", 0);
  Start("/s");
  EXPECT_EQ(frames, 1);
  EXPECT_FALSE(Exists(LogPath()));
}

TEST_F(Entry, TheLogIsClosedAtTheEnd) {
  Start("/x");
  EXPECT_EQ(gLogger, nullptr);
  const std::string log = support::TextOf(support::ReadWholeFile(LogPath()));
  EXPECT_NE(log.find("Log begins on"), std::string::npos);
  EXPECT_NE(log.find("Log ends on"), std::string::npos);
}

TEST_F(Entry, TheSystemsMuteCountsForAUserWithoutAChoiceAlone) {
  system.SetDword("Mute Sound", 1);
  std::vector<std::int32_t> music;
  duringDialog = [&] { music.push_back(ss->PlayMusic); };
  user.SetDword("PlayMusic", 1);
  Start("/c 1");
  user.DeleteValue("PlayMusic");
  Start("/c 1");
  EXPECT_THAT(music, ElementsAre(1, 0));
}

// --- The preview ---

TEST_F(Entry, ThePreviewRunsInItsParent) {
  const HWND parent = CreateWindowExA(0, "STATIC", "", WS_POPUP | WS_VISIBLE, 0, 0, kTestWidth,
                                      kTestHeight, nullptr, nullptr, nullptr, nullptr);
  bool seen = false;
  onFrame = [&](int) {
    seen = true;
    EXPECT_EQ(RunMode, RUNMODE_PREVIEW);
    EXPECT_EQ(ParentWindow, parent);
    EXPECT_EQ(GetParent(hScrWindow), parent);
    DestroyWindow(parent);
  };
  Start("/p " + std::to_string(reinterpret_cast<std::uintptr_t>(parent)));
  EXPECT_TRUE(seen);
  EXPECT_THAT(LogTexts(), IsSupersetOf({"Running in Preview mode.", "Exiting configuration"}));
  EXPECT_FALSE(user.Get("AvgFps"));
}

// The dialog is a picture of fixed size, which the system may enlarge.
TEST_F(Entry, OnlyTheShowAsksForRealPixels) {
  int asked = 0;
  HOOK_IMPORT(count, "kernel32.dll", GetProcAddress,
              [&](HMODULE library, LPCSTR name) -> FARPROC {
                const bool isDpi = HIWORD(name) && std::string(name).starts_with("SetProcessDp");
                asked += isDpi;
                return isDpi ? nullptr : REAL_IMPORT("kernel32.dll", GetProcAddress)(library, name);
              });
  onFrame = [&](int) { CloseSaver(); };
  Start("/c");
  Start("/a 0");
  EXPECT_EQ(asked, 0);
  Start("/p 0");
  EXPECT_EQ(asked, 1);
  Start("/s");
  EXPECT_EQ(asked, 2);
}

// --- The password ---

struct PasswordChange {
  std::string provider;
  HWND parent;
};
std::vector<PasswordChange> passwordChanges;

DWORD WINAPI NotePasswordChange(LPCSTR provider, HWND parent, DWORD first, void* second) {
  EXPECT_EQ(first, 0u);
  EXPECT_EQ(second, nullptr);
  passwordChanges.push_back({provider, parent});
  return ERROR_ACCESS_DENIED;
}

class PasswordEntry : public Entry {
 protected:
  void SetUp() override {
    Entry::SetUp();
    passwordChanges.clear();
  }

  HMODULE library = reinterpret_cast<HMODULE>(0x4000);
  FARPROC function = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(NotePasswordChange));
  int loaded = 0;
  int freed = 0;

 private:
  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("kernel32.dll", LoadLibraryA,
               [this](LPCSTR name) -> HMODULE {
                 if (std::strcmp(name, "MPR.DLL") != 0)
                   return REAL_IMPORT("kernel32.dll", LoadLibraryA)(name);
                 ++loaded;
                 return library;
               }),
      ANY_HOOK("kernel32.dll", GetProcAddress,
               [this](HMODULE module_, LPCSTR name) -> FARPROC {
                 if (!library || module_ != library)
                   return REAL_IMPORT("kernel32.dll", GetProcAddress)(module_, name);
                 EXPECT_STREQ(name, "PwdChangePasswordA");
                 return function;
               }),
      ANY_HOOK("kernel32.dll", FreeLibrary,
               [this](HMODULE module_) -> BOOL {
                 if (module_ != reinterpret_cast<HMODULE>(0x4000))
                   return REAL_IMPORT("kernel32.dll", FreeLibrary)(module_);
                 ++freed;
                 return TRUE;
               }),
  };
};

TEST_F(PasswordEntry, AsksTheSystemToChangeIt) {
  EXPECT_EQ(Start("/a 321"), 0);
  ASSERT_EQ(passwordChanges.size(), 1u);
  EXPECT_EQ(passwordChanges[0].provider, "SCRSAVE");
  EXPECT_EQ(passwordChanges[0].parent, reinterpret_cast<HWND>(321));
  EXPECT_EQ(freed, 1);
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(dialogs, IsEmpty());
}

TEST_F(PasswordEntry, DoesNothingWithoutTheLibrary) {
  library = nullptr;
  EXPECT_EQ(Start("/a 321"), 0);
  EXPECT_EQ(loaded, 1);
  EXPECT_EQ(freed, 0);
}

TEST_F(PasswordEntry, DoesNothingWithoutTheFunction) {
  function = nullptr;
  EXPECT_EQ(Start("/a 321"), 0);
  EXPECT_EQ(loaded, 1);
  EXPECT_EQ(freed, 1);
  EXPECT_TRUE(passwordChanges.empty());
}

TEST_F(PasswordEntry, NoOtherModeAsksForIt) {
  for (const char* arguments : {"", "/c", "/x", "/s"}) Start(arguments);
  EXPECT_EQ(loaded, 0);
}

// --- Nothing ---

TEST_F(Entry, AnyOtherLetterStartsAndEnds) {
  EXPECT_EQ(Start("/x"), 0);
  EXPECT_EQ(RunMode, RUNMODE_NONE);
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(dialogs, IsEmpty());
  EXPECT_THAT(LogTexts(), ElementsAre("Velmora 2 started.", "Version: 1", "OS is Unknown",
                                      "Path: " + module, "AppData Path: " + DataFolder(),
                                      "Exiting configuration", "Successfully exiting WinMain"));
}

TEST_F(Entry, ADumpTypeIsReadWithAnySwitchAndStartsNothingByItself) {
  Start("/dumpType 5");
  EXPECT_EQ(DumpType, 5);
  EXPECT_EQ(RunMode, RUNMODE_NONE);
  EXPECT_EQ(frames, 0);
  Start("/s /dumpType 2");
  EXPECT_EQ(DumpType, 2);
  EXPECT_EQ(frames, 1);
}

TEST_F(Entry, ADumpTypeAsAProgramStillOpensTheDialog) {
  module = temp.File("Velmora2.exe");
  Start("/dumpType 5");
  EXPECT_EQ(DumpType, 5);
  EXPECT_EQ(dialogs.size(), 1u);
}

TEST_F(Entry, ADumpTypeOfMinusOneCountsAsZero) {
  Start("/x /dumpType -1");
  EXPECT_EQ(DumpType, 0);
}

// --- The install switch ---

TEST_F(Entry, TheInstallSwitchInstallsAndStartsTheDialogAnew) {
  const double start = clock.NowMs();
  EXPECT_EQ(Start("/z"), 0);
  ASSERT_EQ(launches.size(), 2u);
  EXPECT_EQ(launches[0].what, "rundll32.exe");
  EXPECT_EQ(launches[0].arguments, "desk.cpl, InstallScreenSaver " + module);
  EXPECT_EQ(launches[1].what, module);
  EXPECT_EQ(launches[1].arguments, "\"" + module + "\" /c");
  EXPECT_GE(clock.NowMs() - start, 1200);
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(dialogs, IsEmpty());
  EXPECT_EQ(RunMode, RUNMODE_NONE);
}

TEST_F(Entry, TheInstallSwitchTakesAndReleasesTheMutexAndWritesNoClosingLines) {
  Start("/z");
  EXPECT_EQ(mutexCalls.front(), "create owned VelmoraSaver");
  EXPECT_TRUE(IsFree(InstanceMutex));
  EXPECT_EQ(ss, nullptr);
  EXPECT_THAT(LogTexts(), ElementsAre("Velmora 2 started.", "Version: 1"));
}

// --- Commands ---

TEST_F(Entry, UninstallRemovesTheRecordedFoldersAndDoesNothingElse) {
  const std::string folder = temp.File("bens");
  for (const char* part : {"bens", "bens\\Tarnwick", "bens\\Tarnwick\\Velmora2"})
    temp.MakeFolder(part);
  machine.SetText("ben", temp.File("bens\\Tarnwick\\Velmora2"), "AppData");
  EXPECT_EQ(Start("/uninstall"), 0);
  EXPECT_FALSE(Exists(temp.File("bens\\Tarnwick\\Velmora2")));
  EXPECT_FALSE(machine.KeyExists("AppData"));
  EXPECT_FALSE(Exists(DataFolder()));
  EXPECT_THAT(mutexCalls, IsEmpty());
  EXPECT_THAT(numbersWritten, IsEmpty());
}

TEST_F(Entry, InitialSecurityMakesAndRecordsTheFolderAndDoesNothingElse) {
  EXPECT_EQ(Start("initialsecurity"), 0);
  EXPECT_TRUE(Exists(DataFolder()));
  EXPECT_EQ(machine.Text("anna", "AppData"), DataFolder());
  EXPECT_THAT(mutexCalls, IsEmpty());
  EXPECT_THAT(numbersWritten, IsEmpty());
  EXPECT_FALSE(Exists(LogPath()));
}

TEST_F(Entry, TheFoldersQuestionsBelongToTheFocusOfTheInstallerAndElseToNobody) {
  const HWND focus = reinterpret_cast<HWND>(0x6789);
  HOOK_IMPORT(hook, "user32.dll", GetFocus, [=]() -> HWND { return focus; });
  Start("initialsecurity");
  Start("/x");
  EXPECT_THAT(folderOwners, ElementsAre(focus, HWND{nullptr}));
}

// --- What all modes share ---

class EveryMode : public Entry, public testing::WithParamInterface<const char*> {
 protected:
  bool IsDialogOrPreview() const {
    const std::string arguments = GetParam();
    return arguments.empty() || arguments == "/c" || arguments == "/p 0";
  }
};

// None, config twice, password, preview (which fails without a parent), saver.
INSTANTIATE_TEST_SUITE_P(Arguments, EveryMode,
                         testing::Values("/x", "", "/c", "/a 0", "/p 0", "/s"));

TEST_P(EveryMode, MakesTheUsersFolderAndThePaths) {
  Start(GetParam());
  EXPECT_TRUE(Exists(DataFolder()));
  EXPECT_EQ(machine.Text("anna", "AppData"), DataFolder());
  EXPECT_EQ(ModulePath, module);
  EXPECT_EQ(InstallPath, temp.Path() + "\\");
  EXPECT_EQ(BundlePath, temp.File("images.bdl"));
  EXPECT_EQ(HelpPath, temp.File("VELMORA2.HLP"));
  EXPECT_EQ(ReportToolPath, temp.File("ReportErr.exe"));
  EXPECT_EQ(AppDataPath, DataFolder());
  EXPECT_EQ(PlaylistPath, DataFolder() + "anna.M3U");
  EXPECT_EQ(WallpaperPath, DataFolder() + "anna_velmora.bmp");
}

TEST_P(EveryMode, TakesTheMutexOrWaitsForIt) {
  Start(GetParam());
  ASSERT_FALSE(mutexCalls.empty());
  EXPECT_EQ(mutexCalls[0],
            IsDialogOrPreview() ? "open VelmoraSaver" : "create owned VelmoraSaver");
  EXPECT_EQ(mutexCalls.size(), 1u);
  if (!InstanceMutex) {
    EXPECT_TRUE(IsDialogOrPreview());
    return;
  }
  EXPECT_TRUE(IsFree(InstanceMutex)) << "it must be released at the end";
}

TEST_P(EveryMode, RaisesTheRunFlagsOnlyForARunThatHoldsTheMutex) {
  using Written = std::vector<std::uint32_t>;
  Start(GetParam());
  const Written whole = IsDialogOrPreview() ? Written{0, 0} : Written{0, 1, 0};
  EXPECT_EQ(WrittenTo("DoChecksum"), whole);
  // A saver's main loop has it down, its tear-down up again.
  const bool isSaver = GetParam() == std::string("/s");
  EXPECT_EQ(WrittenTo("CrashFlag"), isSaver ? (Written{0, 1, 0, 1, 0, 0}) : whole);
  EXPECT_EQ(user.Dword("CrashFlag"), 0u);
  EXPECT_EQ(user.Dword("DoChecksum"), 0u);
  EXPECT_EQ(user.Dword("CriticalError"), 0u);
}

TEST_P(EveryMode, ClearsTheFlagsOfTheLastRun) {
  user.SetDword("CrashFlag", 1);
  user.SetDword("DoChecksum", 1);
  numbersWritten.clear();
  Start(GetParam());
  EXPECT_EQ(WrittenTo("CrashFlag").front(), 0u);
  EXPECT_EQ(WrittenTo("DoChecksum").front(), 0u);
  EXPECT_EQ(WrittenTo("CriticalError").front(), 0u);
}

TEST_P(EveryMode, EndsWithoutARecord) {
  Start(GetParam());
  EXPECT_EQ(ss, nullptr);
}

TEST_P(EveryMode, KnowsItsWindows) {
  Start(GetParam());
  EXPECT_EQ(OsVersionCode, GetOSVersionCode());
}

// --- A second saver ---

TEST_F(Entry, ASaverBesideARunningOneEndsWithoutAWord) {
  int waits = 0;
  HOOK_IMPORT(busy, "kernel32.dll", CreateMutexA,
              [](SECURITY_ATTRIBUTES* security, BOOL, LPCSTR name) -> HANDLE {
                const HANDLE mutex =
                    REAL_IMPORT("kernel32.dll", CreateMutexA)(security, FALSE, name);
                SetLastError(ERROR_ALREADY_EXISTS);
                return mutex;
              });
  HOOK_IMPORT(open, "kernel32.dll", OpenMutexA,
              [](DWORD, BOOL, LPCSTR name) -> HANDLE {
                return REAL_IMPORT("kernel32.dll", CreateMutexA)(nullptr, FALSE, name);
              });
  HOOK_IMPORT(wait, "kernel32.dll", WaitForSingleObject, [&](HANDLE, DWORD ms) -> DWORD {
    ++waits;
    EXPECT_EQ(ms, 15000u);
    return WAIT_TIMEOUT;
  });
  EXPECT_EQ(Start("/s"), 0);
  EXPECT_EQ(waits, 1);
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_THAT(numbersWritten, IsEmpty());
  EXPECT_FALSE(Exists(LogPath()));
}

// --- Critical errors ---

TEST_F(Entry, AFailedSetUpIsToldAtTheEnd) {
  DeleteFileA(BundlePath.c_str());
  DeleteFileA(temp.File("images.bdl").c_str());
  EXPECT_EQ(Start("/s"), 0);
  ASSERT_EQ(boxes.size(), 3u);
  EXPECT_EQ(boxes[2].text, kCriticalErrorText);
  EXPECT_EQ(boxes[2].title, "Error initializing");
  EXPECT_EQ(boxes[2].style, static_cast<UINT>(MB_SETFOREGROUND));
  EXPECT_EQ(user.Dword("CriticalError"), 0u);
  EXPECT_THAT(WrittenTo("CriticalError"), ElementsAre(0u, 1u, 0u));
  EXPECT_THAT(LogTexts(), Contains("Showing critical error dialog"));
}

TEST_F(Entry, AFailureIsToldOnceAndNotAtTheNextStart) {
  DeleteFileA(temp.File("images.bdl").c_str());
  Start("/s");
  boxes.clear();
  Start("/c");
  EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(Entry, AnErrorOfTheShowIsToldAtTheEndAndNotAtTheNextStart) {
  onFrame = [](int) {
    SetCriticalError(2);
    CloseSaver();
  };
  EXPECT_EQ(Start("/s"), 0);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, kCriticalErrorText);
  EXPECT_EQ(user.Dword("CriticalError"), 0u);
  boxes.clear();
  onFrame = [](int) { CloseSaver(); };
  EXPECT_EQ(Start("/s"), 0);
  EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(Entry, ARunWithoutGoodPicturesIsTold) {
  WriteBundle("bb");
  Start("/s");
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, kCriticalErrorText);
}

TEST_F(Entry, AGoodRunTellsNothing) {
  Start("/s");
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_THAT(LogTexts(), Not(Contains("Showing critical error dialog")));
}

// --- After a run that died ---

constexpr char kEarlierErrorText[] =
    "The screen saver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\nWe're sorry for the inconvenience.";
constexpr char kCorruptedText[] =
    "One or more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.";

class EntryAfterDeath : public Entry {
 protected:
  // All files of an installation, with their sums.
  void InstallWhole() {
    support::Bytes sums;
    for (const char* name : {"BTNexgenIPL32.dll", "fmod.dll", "images.bdl", "", "Velmora2.scr",
                             "Velmora2.scr", "Velmora2.exe", ""}) {
      std::uint32_t sum = 0;
      if (*name) {
        if (!PathExists(temp.File(name).c_str())) temp.Write(name, support::BytesOf(name));
        CCrc32Static::FileCrc32Win32(temp.File(name).c_str(), sum);
      }
      support::AppendU32(sums, sum);
    }
    temp.Write("chk.sum", sums);
  }

 private:
  // The Windows folder holds a copy of the saver.
  support::AnyHook windowsFolder_ =
      ANY_HOOK("kernel32.dll", GetWindowsDirectoryA, [this](LPSTR to, UINT) -> UINT {
        std::strcpy(to, temp.Path().c_str());
        return static_cast<UINT>(temp.Path().size());
      });
};

TEST_F(EntryAfterDeath, AFailedStartWithGoodFilesIsToldAndTheProgramGoesOn) {
  InstallWhole();
  user.SetDword("CriticalError", 1);
  numbersWritten.clear();
  Start("/s");
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, kEarlierErrorText);
  EXPECT_EQ(boxes[0].title, "Error initializing");
  EXPECT_EQ(boxes[0].style, static_cast<UINT>(MB_OK));
  EXPECT_EQ(boxes[0].owner, nullptr);
  EXPECT_GE(frames, 1);
  EXPECT_THAT(WrittenTo("CriticalError"), ElementsAre(0u));
  EXPECT_THAT(WrittenTo("CrashFlag").front(), 0u);
}

TEST_F(EntryAfterDeath, AFailureWhileRunningWithGoodFilesIsPassedOver) {
  InstallWhole();
  user.SetDword("CriticalError", 2);
  Start("/s");
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_GE(frames, 1);
  EXPECT_EQ(user.Dword("CriticalError"), 0u);
}

TEST_F(EntryAfterDeath, DamagedFilesAreToldAndTheProgramEndsClean) {
  for (const std::uint32_t error : {1u, 2u}) {
    for (const char* mode : {"/s", "/c", "/p 1234", "/a", "/z"}) {
      SCOPED_TRACE(mode);
      boxes.clear();
      user.SetDword("CriticalError", error);
      user.SetDword("CrashFlag", 1);
      user.SetDword("DoChecksum", 1);
      EXPECT_EQ(Start(mode), 0);
      ASSERT_EQ(boxes.size(), 1u);
      EXPECT_EQ(boxes[0].text, kCorruptedText);
      EXPECT_EQ(boxes[0].title, "Encountered corrupted file(s)");
      EXPECT_EQ(boxes[0].style, static_cast<UINT>(MB_ICONERROR));
      EXPECT_EQ(boxes[0].owner, nullptr);
      for (const char* flag : {"CriticalError", "CrashFlag", "DoChecksum"})
        EXPECT_EQ(user.Dword(flag), 0u) << flag;
      EXPECT_EQ(ss, nullptr);
      EXPECT_EQ(frames, 0);
      EXPECT_TRUE(!InstanceMutex || IsFree(InstanceMutex));
    }
  }
  EXPECT_FALSE(PathExists((AppDataPath + "VelmoraLog.txt").c_str()));
}

TEST_F(EntryAfterDeath, TheStartAfterThatIsAnOrdinaryOne) {
  user.SetDword("CriticalError", 1);
  Start("/s");
  boxes.clear();
  Start("/s");
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_GE(frames, 1);
}

TEST_F(EntryAfterDeath, WithoutAnErrorNoFileIsLookedAt) {
  user.SetDword("CrashFlag", 1);
  user.SetDword("DoChecksum", 1);
  for (const std::uint32_t error : {0u, 3u, 0xFFFFFFFFu}) {
    user.SetDword("CriticalError", error);
    Start("/s");
  }
  EXPECT_THAT(boxes, IsEmpty());
}

}  // namespace
