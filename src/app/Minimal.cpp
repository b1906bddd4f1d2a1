// The application core, in the order of a run:
//
//   Entry       WinMain: command line, folders, single instance, settings, log
//   Session     DoSaver: display mode, windows, main loop, tear-down
//   Set-up      initStates: bundle, device, show; in fast mode the first picture
//   Frame       RenderFrame: one turn of the main loop
//   Tear-down   ShutdownSound, CleanUp
//   Windows     the two window procedures and the exit rules
//
// The steps stand here; what they decide or compute by themselves stands in
// the files beside this one. settings/Session.h says who writes which of the
// session's globals: nearly all are set here.

#define LOG_SOURCE "Minimal"
#include "app/Minimal.h"

#include "app/AppDataFolders.h"
#include "app/CommandLine.h"
#include "app/CommandLineOption.h"
#include "app/CrashCapture.h"
#include "app/Direct3DSession.h"
#include "app/DpiAwareness.h"
#include "app/ExitRules.h"
#include "app/FastSession.h"
#include "app/Instance.h"
#include "app/Integrity.h"
#include "app/Monitors.h"
#include "app/OsVersion.h"
#include "app/Paths.h"
#include "app/SessionMusic.h"
#include "app/Wallpaper.h"
#include "base/Logger.h"
#include "base/Product.h"
#include "base/win_owned.h"
#include "bundle/VFBundle.h"
#include "graphics/cGameError.h"
#include "graphics/cGraphicsLayer.h"
#include "music/MusicPlayer.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "slideshow/AutoPerformance.h"
#include "slideshow/FastRenderer.h"
#include "slideshow/FrameRate.h"
#include "slideshow/MessagePump.h"
#include "slideshow/Slideshow.h"
#include "ui/ConfigDialog.h"
#include "ui/OpenFileRecords.h"
#include "ui/resource.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <shellapi.h>
#include <sstream>
#include <string>

VFBUNDLE* SlideBundle = nullptr;

namespace {

constexpr char kSaverClass[] = "VelmoraSaver";
constexpr char kChildClass[] = "VelmoraChildClass";

template <class... Values>
std::string Text(const Values&... values) {
  std::ostringstream text;
  (text << ... << values);
  return text.str();
}

}  // namespace

// === Entry ==================================================================

namespace {

constexpr double kVersion = 1.0;
constexpr DWORD kInstallPauseMs = 1200;
constexpr char kCorruptedFilesText[] =
    "One or more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.";
// Told at the start after a run that died, and below at the end of a run that
// failed: each has its own first words.
constexpr char kEarlierErrorText[] =
    "The screen saver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\n"
    "We're sorry for the inconvenience.";
constexpr char kCriticalErrorText[] =
    "The screensaver recently encountered an error while initializing.\n"
    "The problem might be easily solved by selecting \"Run in fast mode\"\n"
    "on the settings screen.  It is recommended that you try this mode\n"
    "if you continue to have problems.\n\n"
    "We're sorry for the inconvenience.";

// Makes the user's data folder, and records it under a key that is opened for all
// users; for an installer with full rights.
void PrepareDataFolder() {
  BuildUserDataPath(GetFocus());
  EnsureUserDataFolder();
}

// Runs a command that does its work before anything else starts. True if there
// was one: the program then ends.
bool RanCommand(StartRequest::Command command) {
  switch (command) {
    case StartRequest::Command::Uninstall:
      RemoveAppDataFolders((std::string(kMachineKey) + kAppDataSubKey).c_str());
      return true;
    case StartRequest::Command::InitialSecurity:
      PrepareDataFolder();
      return true;
    default:
      return false;
  }
}

void TakeRequest(const StartRequest& request) {
  RunMode = request.runMode;
  ParentWindow = request.parentIsForeground
                     ? GetForegroundWindow()
                     : reinterpret_cast<HWND>(static_cast<std::uintptr_t>(request.parentNumber));
  if (request.hasDumpType) DumpType = GetCommandLineInt("dumpType");
  if (DumpType == -1) DumpType = 0;
}

// Started as an ordinary program it shows the dialog, whatever the switch said.
void FindPaths() {
  const bool startedAsExe = BuildProgramPaths();
  BuildUserDataPath();
  EnsureUserDataFolder();
  if (startedAsExe) RunMode = RUNMODE_CONFIG;
  BuildUserFilePaths();
}

// False if another saver runs on: this process ends without a word.
bool EnterSingleInstance() {
  if (RunMode != RUNMODE_PREVIEW && RunMode != RUNMODE_CONFIG) return AcquireSaverInstance();
  WaitForSaverExit();
  return true;
}

// An error that stands in the registry is that of a run which died before it could
// tell. False if its cause is a damaged file: there is no point in going on.
bool RecoverFromLastRun() {
  if (ss->CriticalError != 1 && ss->CriticalError != 2) return true;
  if (!VerifyFiles()) {
    MessageBoxA(nullptr, kCorruptedFilesText, "Encountered corrupted file(s)", MB_ICONERROR);
    return false;
  }
  if (ss->CriticalError == 1)
    MessageBoxA(nullptr, kEarlierErrorText, "Error initializing", MB_OK);
  return true;
}

void ClearFlags() {
  SetCrashFlag(0);
  SetDoChecksum(0);
  SetCriticalError(0);
}

void DropRecord() {
  delete ss;
  ss = nullptr;
}

// They stand in the registry while a run is under way, for whoever looks there after
// a crash; no start acts on them.
void RaiseFlags() {
  if (RunMode == RUNMODE_PREVIEW || RunMode == RUNMODE_CONFIG) return;
  SetCrashFlag(1);
  SetDoChecksum(1);
}

// False if the program has to end.
bool LoadSettings() {
  ss = new SaverSettings;
  ss->ReadGeneralRegistry();
  ss->ReadRegistry();
  const bool recovered = RecoverFromLastRun();
  ClearFlags();
  if (!recovered) {
    DropRecord();
    ReleaseMutex(InstanceMutex);
    return false;
  }
  RaiseFlags();
  return true;
}

void StartLog() {
  if (!ss->DebugLog) return;
  gLogger = new Logger(LogPath());
  LOG_INFO("Velmora 2 started.");
  LOG_INFO(Text("Version: ", kVersion));
}

void LogSystem() {
  OsVersionCode = GetOSVersionCode();
  LOG_INFO(Text("OS is ", OSVersionNames[OsVersionCode]));
  LOG_INFO(Text("Path: ", ModulePath));
  LOG_INFO(Text("AppData Path: ", AppDataPath));
}

void RunInstall() {
  InstallSaver(ModulePath);
  Sleep(kInstallPauseMs);
  RestartAsConfig(ParentWindow, ModulePath);
  DropRecord();
  ReleaseMutex(InstanceMutex);
}

void RunConfiguration() {
  LOG_INFO("In config mode...Initializing dialog structures.");
  PrepareOpenFileRecords(ParentWindow);
  LOG_INFO("Opening dialog box");
  DialogBoxParamA(InstanceHandle, MAKEINTRESOURCEA(IDD_CONFIG), ParentWindow,
                  ConfigDialogProc, 0);
}

void RunChosenMode(int show) {
  switch (RunMode) {
    case RUNMODE_PASSWORD:
      ChangePassword(ParentWindow);
      break;
    case RUNMODE_CONFIG:
      RunConfiguration();
      break;
    case RUNMODE_PREVIEW:
      LOG_INFO("Running in Preview mode.");
      DoSaver(ParentWindow, show);
      break;
    case RUNMODE_SAVER:
      LOG_INFO("Running in normal Screensaver mode.");
      DoSaver(ParentWindow, show);
      WriteSettingsText("AvgFps", Text(AverageFps));
      break;
    default:
      break;
  }
}

void ShowCriticalError() {
  if (ss->CriticalError == 0) return;
  MessageBoxA(GetFocus(), kCriticalErrorText, "Error initializing", MB_SETFOREGROUND);
  LOG_INFO("Showing critical error dialog");
  SetCriticalError(0);
}

void CloseLog() {
  if (RunMode == RUNMODE_SAVER) {
    LOG_INFO(Text("Average FPS: ", AverageFps));
    LOG_INFO("Exiting screensaver.");
  } else {
    LOG_INFO("Exiting configuration");
  }
  LOG_INFO("Successfully exiting WinMain");
  delete gLogger;
  gLogger = nullptr;
}

void EndRun() {
  ShowCriticalError();
  SetCrashFlag(0);
  SetDoChecksum(0);
  DropRecord();
  CloseLog();
  ReleaseMutex(InstanceMutex);
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
  CatchCrashes();
  InstanceHandle = instance;
  const StartRequest request = ParseCommandLine(GetCommandLineA());
  if (RanCommand(request.command)) return 0;
  TakeRequest(request);
  FindPaths();
  if (!EnterSingleInstance()) return 0;
  if (RunMode == RUNMODE_SAVER || RunMode == RUNMODE_PREVIEW) UseRealPixels();
  if (!LoadSettings()) return 0;
  StartLog();
  if (request.installRequested) {
    RunInstall();
    return 0;
  }
  LogSystem();
  RunChosenMode(show);
  EndRun();
  return 0;
}

void ChangePassword(HWND parent) {
  const Library library(LoadLibraryA("MPR.DLL"));
  if (!library) return;
  const auto change = ProcAddress<DWORD(WINAPI*)(LPCSTR, HWND, DWORD, void*)>(
      library.get(), "PwdChangePasswordA");
  if (change) change("SCRSAVE", parent, 0, nullptr);
}

void InstallSaver(const char* path) {
  const std::string arguments = std::string("desk.cpl, InstallScreenSaver ") + path;
  ShellExecuteA(nullptr, nullptr, "rundll32.exe", arguments.c_str(), nullptr, SW_SHOWNORMAL);
}

// The dialog of the new process takes the foreground window as its parent. This
// process ends next, and what CreateProcess gave goes with it.
void RestartAsConfig(HWND, const char* path) {
  std::string commandLine = Text("\"", path, "\" /c");
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  CreateProcessA(path, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                 &process);
}

// === Session ================================================================

namespace {

constexpr char kModeNotSupported[] =
    "The Requested Display Mode Is Not Supported By\nYour Video Card.";
constexpr char kNoSoundTitle[] = "Error initializing sound";
constexpr char kNoSoundText[] =
    "An error was encountered while initializing the sound subsystem.\n\n"
    "Possible causes include:\n"
    "-A file may be corrupt and you need to re-install the screensaver\n"
    "-You may have a corrupt music file in your playlist, try clearing your playlist\n"
    "-Your hardware drivers may be out of date, try installing the latest drivers.\n\n"
    "If all else fails, try disabling music and contact support.";
constexpr DWORD kFrameSleepMs = 5;  // leaves processor time to background threads

DEVMODEA EmptyMode() {
  DEVMODEA mode{};
  static_assert(sizeof mode == 156);
  mode.dmSize = sizeof mode;
  return mode;
}

// A box that falls in a session: losing the activation to it doesn't close the
// saver.
void ShowSessionError(const char* text, const char* title) {
  ss->SuppressActivateClose = 1;
  MessageBoxA(ss->hWnd, text, title, MB_OK);
}

bool RegisterSessionClass(const char* name, WNDPROC procedure, HBRUSH background) {
  WNDCLASSA windowClass{};
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = InstanceHandle;
  windowClass.hbrBackground = background;
  windowClass.lpszClassName = name;
  return RegisterClassA(&windowClass) != 0;
}

void UnregisterSessionClasses() {
  UnregisterClassA(kSaverClass, InstanceHandle);
  UnregisterClassA(kChildClass, InstanceHandle);
}

HWND CreateSaverWindow(DWORD extendedStyle, DWORD style, HWND parent) {
  return CreateWindowExA(extendedStyle, kSaverClass, kProductName, style, 0, 0, ScreenWidth,
                         ScreenHeight, parent, nullptr, InstanceHandle, nullptr);
}

// Always silent, without captions, on the GDI path, and without a trace left
// on the desktop.
void OpenPreviewWindow(HWND hparwnd) {
  ModeChanged = false;
  ss->PlayMusic = 0;
  ss->SetAsWallpaper = 0;
  ss->ShowCaptions = 0;
  ss->FastMode = 1;
  RECT client{};
  GetClientRect(hparwnd, &client);
  ScreenWidth = client.right - client.left;
  ScreenHeight = client.bottom - client.top;
  LOG_INFO("Creating preview window via CreateWindow()");
  hScrWindow = CreateSaverWindow(0, WS_CHILD | WS_VISIBLE, hparwnd);
}

void LogSettings(const DEVMODEA& current, const std::string& requested) {
  if (!gLogger) return;
  LOG_BLOCK("currentMode settings:");
  LOG_INFO(Text("DeviceName: ", reinterpret_cast<const char*>(current.dmDeviceName)));
  LOG_INFO(Text("Driver version: ", current.dmDriverVersion));
  LOG_INFO(Text("BitsPerPel: ", current.dmBitsPerPel));
  LOG_INFO(Text("Resolution: ", current.dmPelsWidth, "x", current.dmPelsHeight));
  LOG_INFO(Text("Freq: ", current.dmDisplayFrequency, "Hz"));
  LOG_INFO("Requested mode:");
  LOG_INFO(ss->DispModeWidth == 0 ? "NO CHANGE" : requested);
  LOG_BLOCK("Screensaver settings:");
  LOG_INFO(Text("Fast mode: ", ss->FastMode));
  LOG_INFO(Text("Play Music: ", ss->PlayMusic));
  LOG_INFO(Text("Custom Music: ", ss->CustomMusic));
  LOG_INFO(Text("Default Music: ", ss->DefaultMusic));
  LOG_INFO(Text("Shuffle playlist: ", ss->ShuffleMusic));
  LOG_INFO(Text("Set as wallpaper: ", ss->SetAsWallpaper));
  LOG_INFO(Text("Random images: ", ss->RandomOrder));
  LOG_INFO(Text("Animate: ", ss->Animate));
  LOG_INFO(Text("Crossfade: ", ss->Crossfade));
  LOG_INFO(Text("Cram images: ", ss->CramImages));
  LOG_INFO(Text("Image cram size: ", ss->CramSize));
  LOG_INFO(Text("Mipmap: ", ss->MipMap));
}

ScreenMode ModeOf(const DEVMODEA& mode) {
  return {static_cast<std::int32_t>(mode.dmPelsWidth), static_cast<std::int32_t>(mode.dmPelsHeight),
          static_cast<std::int32_t>(mode.dmBitsPerPel)};
}

// A desktop of 24 bits has to change, since no card draws at that depth.
bool MustChangeMode(const ScreenMode& current) {
  if (current.bits == 24) return true;
  return ss->DispModeWidth > 0 &&
         (RequestedMode.width != current.width || RequestedMode.height != current.height ||
          RequestedMode.bits != current.bits);
}

bool ChangeMode() {
  ModeChanged = true;
  DEVMODEA mode = EmptyMode();
  mode.dmFields = DM_PELSWIDTH | DM_PELSHEIGHT | DM_BITSPERPEL;
  mode.dmPelsWidth = static_cast<DWORD>(RequestedMode.width);
  mode.dmPelsHeight = static_cast<DWORD>(RequestedMode.height);
  mode.dmBitsPerPel = static_cast<DWORD>(RequestedMode.bits);
  LOG_INFO("Calling ChangeDisplaySettings()");
  return ChangeDisplaySettingsA(&mode, CDS_FULLSCREEN) == DISP_CHANGE_SUCCESSFUL;
}

void OpenChildWindows() {
  RegisterSessionClass(kChildClass, ChildWindowProc,
                       static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  if (!ss->BlankAllScreens) return;
  ChildWindows.EnumerateMonitors();
  ChildWindows.CreateChildWindows(hScrWindow, InstanceHandle, kChildClass,
                                  "Velmora Multimonitor window");
  LOG_INFO(Text("Num Monitors: ", ChildWindows.Count()));
  ChildWindows.AdjustChildWindows();
  LOG_INFO("AdjustChildWindows() successful");
}

// False if the display mode can't be had.
bool OpenFullScreenWindow(const std::string& requested) {
  DEVMODEA current = EmptyMode();
  EnumDisplaySettingsA(nullptr, ENUM_CURRENT_SETTINGS, &current);
  DesktopMode = ModeOf(current);
  if (ss->DispModeWidth == 0) {
    RequestedMode = DesktopMode;
    if (RequestedMode.bits == 24) RequestedMode.bits = 16;
  }
  LogSettings(current, requested);
  if (MustChangeMode(DesktopMode) && !ChangeMode()) {
    ShowSessionError(kModeNotSupported, "Error");
    LOG_ERROR("Call to ChangeDisplaySettings() failed.");
    return false;
  }
  ScreenWidth = GetSystemMetrics(SM_CXSCREEN);
  ScreenHeight = GetSystemMetrics(SM_CYSCREEN);
  LOG_INFO("Calling CreateWindow()");
  hScrWindow = CreateSaverWindow(WS_EX_TOPMOST, WS_POPUP | WS_VISIBLE, nullptr);
  OpenChildWindows();
  return true;
}

// Tells the system that a saver is running, so that it doesn't start another.
void AnnounceSaver(bool running) {
  UINT old = 0;
  if (RunMode == RUNMODE_SAVER)
    SystemParametersInfoA(SPI_SETSCREENSAVERRUNNING, running, &old, 0);
}

// Undoes a set-up that failed half way. The saver window itself goes with the
// process. DestroyWindow has no effect here, nor in TearDownSession: a saver run has
// no parent, and a preview's belongs to another process.
void AbandonSession(HWND hparwnd, const char* boxText) {
  SetCriticalError(1);
  ReleaseDC(hScrWindow, hDC);
  DestroyWindow(hparwnd);
  ChildWindows.DestroyChildWindows();
  UnregisterSessionClasses();
  if (ModeChanged) {
    LOG_INFO("Changing back to original display settings...");
    LOG_INFO("Calling ChangeDisplaySettings()");
    ChangeDisplaySettingsA(nullptr, 0);
  }
  if (RunMode == RUNMODE_SAVER) LOG_INFO("Calling SystemParametersInfo()");
  AnnounceSaver(false);
  ShowSessionError(boxText, "ERROR");
}

// A session without sound goes on, and its end shows the critical error prompt.
void StartSound(HWND hparwnd) {
  if (!ss->PlayMusic || initSound()) return;
  SetCriticalError(1);
  MessageBoxA(hparwnd, kNoSoundText, kNoSoundTitle, MB_ICONERROR);
}

// Registers, opens and builds all that the main loop needs. False if the
// session is over already.
bool SetUpSession(HWND hparwnd, int show) {
  LOG_FUNCTION("DoSaver()");
  Done = false;
  if (!RegisterSessionClass(kSaverClass, ScreenSaverProc, nullptr)) {
    ShowSessionError("RegisterClass() failed:  Cannot register window class.", "Error");
    LOG_ERROR("RegisterClass() failed!");
    return false;
  }
  RequestedMode = {ss->DispModeWidth, ss->DispModeHeight, ss->DispModeBits};
  const std::string requested =
      Text(RequestedMode.width, "x", RequestedMode.height, "x", RequestedMode.bits);
  if (RunMode == RUNMODE_PREVIEW)
    OpenPreviewWindow(hparwnd);
  else if (!OpenFullScreenWindow(requested))
    return false;
  if (!hScrWindow) {
    LOG_ERROR("Call to CreateWindow() failed!");
    SetCriticalError(1);
    return false;
  }
  AnnounceSaver(true);
  hDC = GetDC(hScrWindow);
  if (!initStates(ScreenWidth, ScreenHeight)) {
    LOG_ERROR("initStates() failed!");
    AbandonSession(hparwnd, "Problem encountered in initStates().");
    return false;
  }
  if (ss->FastMode) {
    LOG_INFO("Running in fast mode");
  } else if (!initD3D(ScreenWidth, ScreenHeight)) {
    LOG_ERROR("initD3D() failed!");
    AbandonSession(hparwnd, "Problem encountered in initD3D().");
    return false;
  }
  StartSound(hparwnd);
  LOG_INFO("Showing window via ShowWindow()");
  ChildWindows.ShowChildWindows(show);
  ShowWindow(hScrWindow, show);
  if (ss->FastMode) Transition(0, 0);
  return true;
}

// Whatever the mouse did and the clock ran during the set-up doesn't count.
void StartCounting() {
  GetCursorPos(&ss->InitCursorPos);
  ss->SaverActive = 1;
  FrameTimer.ElapsedMs();
  SetCrashFlag(0);
}

void RenderGuardedFrame() {
  try {
    RenderFrame();
  } catch (const cGameError& error) {
    LOG_ERROR(error.Text());
    Done = true;
    SetCriticalError(2);
  }
}

// The queue is always drained before the next frame. There is no target frame
// rate: motion follows the measured time.
void RunMainLoop() {
  LOG_INFO("Entering main loop...");
  while (!Done) {
    if (PumpOneMessage()) continue;
    RenderGuardedFrame();
    Sleep(kFrameSleepMs);
  }
  LOG_INFO("Exited main loop.");
}

// The crash flag stands meanwhile, as it did during the set-up. A preview's parent is
// hidden as the black windows are; a saver run has none.
void TearDownSession(HWND hparwnd) {
  if (RunMode != RUNMODE_PREVIEW && RunMode != RUNMODE_CONFIG) SetCrashFlag(1);
  LOG_INFO("ReleaseDC(hScrWindow,hDC)");
  ReleaseDC(hScrWindow, hDC);
  if (ModeChanged) {
    LOG_INFO("Changing back display settings");
    LOG_INFO("ChangeDisplaySettings(NULL,0)");
    ChangeDisplaySettingsA(nullptr, 0);
  }
  if (RunMode == RUNMODE_SAVER) LOG_INFO("SystemParametersInfo()");
  AnnounceSaver(false);
  LOG_INFO("Hiding child windows, if any");
  ShowWindow(ParentWindow, SW_HIDE);
  ChildWindows.ShowChildWindows(SW_HIDE);
  ShutdownSound();
  CleanUp();
  LOG_INFO("DestroyWindow(hparwnd)");
  DestroyWindow(hparwnd);
  ChildWindows.DestroyChildWindows();
  SetCrashFlag(0);
  LOG_INFO("UnregisterClass()");
  UnregisterSessionClasses();
}

}  // namespace

void DoSaver(HWND hparwnd, int show) {
  if (!SetUpSession(hparwnd, show)) return;
  StartCounting();
  RunMainLoop();
  TearDownSession(hparwnd);
}

void CloseSaver() {
  ss->CloseLatched = 1;
  ss->CloseRequested = 1;
  PostMessageA(ss->hWnd, WM_CLOSE, 0, 0);
}

// === Set-up =================================================================

namespace {

constexpr std::int32_t kShufflePasses = 50;
// The growth of a slide that is shown for 8 seconds: share of its size in 20 ms.
constexpr float kZoomRate = 0.0003f;
constexpr double kZoomSeconds = 8.0;

// The registry may hold any number. Within these bounds no sum of times overflows.
std::int32_t ImageDelayMs() {
  constexpr double kLongestMs = 1e9;
  const double ms = ss->ImageDelay * 1000.0;
  if (ms > -kLongestMs && ms < kLongestMs) return static_cast<std::int32_t>(ms);
  return static_cast<std::int32_t>(ms > 0 ? kLongestMs : -kLongestMs);
}

bool OpenSlideBundle() {
  SlideBundle = new VFBUNDLE;
  if (SlideBundle->Open(BundlePath.c_str())) return true;
  ShowSessionError("Could not open slide bundle!", "ERROR");
  LOG_ERROR("Could not open the image bundle!");
  return false;
}

void CreateSlideshow(int width, int height) {
  gSlideshow = new Slideshow;
  Slideshow& show = *gSlideshow;
  show.SetAnimate(ss->Animate != 0);
  show.SetCrossfade(ss->Crossfade != 0);
  show.SetMipMap(ss->MipMap != 0);
  show.SetShowCaptions(ss->ShowCaptions != 0);
  show.SetCaptionQuality(CaptionQuality());
  show.SetCaptionFontName(ss->CaptionFont);
  show.SetCaptionFontSize(ss->CaptionFontSize);
  show.SetCaptionBold(ss->CaptionBold != 0);
  show.SetCaptionItalic(ss->CaptionItalic != 0);
  show.SetCaptionOrientation(ss->CaptionOrientation);
  show.SetShufflePasses(kShufflePasses);
  show.SetRandomOrder(ss->RandomOrder != 0);
  show.SetImageDelay(ImageDelayMs());
  const double aspect = 2.0 * height / width;
  show.SetEdges(static_cast<float>(aspect * 0.5), static_cast<float>(aspect * -0.5));
  show.SetMaxTextureSize(MaxTextureSize);
  show.SetDisplayBits(RequestedMode.bits);
  show.LoadBundle(BundlePath.c_str());
  show.SetTileTextures(true);
  show.SetCramImages(ss->CramImages != 0);
  show.SetCramSize(ss->CramSize);
  show.SetZoomRate(static_cast<float>(kZoomSeconds / ss->ImageDelay * double{kZoomRate}));
  show.SetRoundUp(false);
}

}  // namespace

bool initStates(int width, int height) {
  LOG_FUNCTION("initStates");
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  if (!OpenSlideBundle()) return false;
  if (!ss->FastMode && !CreateGraphicsDevice(width, height)) return false;
  CreateSlideshow(width, height);
  if (ss->FastMode) StartFastShow(width, height);
  return true;
}

// === Frame ==================================================================

namespace {

// A machine may stand still between two frames, for longer than can be counted.
std::int32_t WholeFrameMs() {
  constexpr double kLongestFrameMs = 1e9;
  return static_cast<std::int32_t>(std::min(FrameMs, kLongestFrameMs));
}

// Nothing brings a lost surface back: the session ends as by a key.
void EndIfInvalidated() {
  if (!gGraphicsLayer || !gGraphicsLayer->IsLost()) return;
  LOG_ERROR("Screensaver terminated due to graphics subsystem invalidation");
  CloseSaver();
}

}  // namespace

void RenderFrame() {
  FrameMs = FrameTimer.ElapsedMsExact();
  CountFrame(FrameMs);
  AdjustQuality(*ss, *gSlideshow);
  TakeSample();
  if (ss->FastMode)
    RunFastStep(WholeFrameMs());
  else
    RenderDirect3DFrame(WholeFrameMs());
  EndIfInvalidated();
}

// === Tear-down ==============================================================

void ShutdownSound() {
  LOG_FUNCTION("ShutdownSound()");
  ss->PlayMusic = 0;
  gMusicPlayer.Close();
  LOG_INFO("Successfully exiting ShutdownSound()");
}

void CleanUp() {
  LOG_FUNCTION("CleanUp()");
  if (ss->SetAsWallpaper && gSlideshow) HandOverWallpaper(*gSlideshow);
  LOG_INFO("Deleting slideshow object");
  delete gSlideshow;
  gSlideshow = nullptr;
  if (ss->FastMode) {
    LOG_INFO("Deleting fast mode device contexts");
    DeleteFastContexts();
  } else {
    DeleteGraphics();
  }
  LOG_INFO("Deleting slide bundles");
  delete SlideBundle;
  SlideBundle = nullptr;
  // The catalogue went with the show that owned it.
  LOG_INFO("Deleting dimension list");
  LOG_INFO("Successfully exiting CleanUp()");
}

// === Windows ================================================================

namespace {

bool QuitPosted = false;  // by the destruction of the present saver window

bool ExitRulesApply() { return RunMode == RUNMODE_SAVER && !ss->DialogActive; }

void OnMouseMove() {
  if (!ExitRulesApply() || !ss->SaverActive) return;
  POINT cursor{};
  GetCursorPos(&cursor);
  if (!MouseLeftThreshold(cursor, ss->InitCursorPos, ss->MouseThreshold)) return;
  LOG_INFO("Mouse moved -- Quitting screensaver");
  CloseSaver();
}

// Keys, and mouse buttons with their mask.
void OnKey(WPARAM key) {
  const KeyAction action = ActionOfKey(key);
  SteerMusic(action);
  if (action != KeyAction::EndSaver || !ExitRulesApply()) return;
  LOG_INFO("Key pressed -- Quitting screensaver");
  CloseSaver();
}

// An ordinary saver run has no parent, so losing the focus alone doesn't end
// it.
void OnActivation(HWND window, WPARAM wParam) {
  const bool deactivated = LOWORD(wParam) == 0;
  if (!ExitRulesApply() || !deactivated || ss->SuppressActivateClose || window != ParentWindow)
    return;
  LOG_INFO("Closing due to WM_ACTIVATE");
  CloseSaver();
}

void OnSetCursor() {
  SetCursor(ExitRulesApply() ? nullptr : LoadCursorA(nullptr, IDC_ARROW));
}

bool MayClose(HWND window) {
  if (!PasswordIsDue(GetTickCount(), ss->InitTime, ss->PasswordDelay)) return true;
  LOG_INFO("WM_CLOSE: GetTickCount() - ss->InitTime > 1000*ss->PasswordDelay");
  BeginDialog();
  const bool verified = VerifyPassword(window);
  EndDialog();
  return verified;
}

// Only a close that one of the rules asked for counts.
void OnClose(HWND window) {
  if (!ss->CloseRequested || ss->DialogActive) return;
  LOG_INFO("WM_CLOSE: Checking PasswordDelay");
  if (!MayClose(window)) return;
  LOG_INFO("WM_CLOSE: CanClose == true, Calling DestroyWindow()");
  DestroyWindow(window);
}

void OnCreate(HWND window) {
  QuitPosted = false;
  ss->hWnd = window;
  GetCursorPos(&ss->InitCursorPos);
  ss->InitTime = GetTickCount();
}

void OnDestroy(HWND window) {
  if (ss->TimerId != 0) {
    LOG_INFO("Killing timer");
    KillTimer(window, ss->TimerId);
  }
  ss->TimerId = 0;
  LOG_INFO("PostQuitMessage(0)");
  PostQuitMessage(0);
  QuitPosted = true;
}

// A preview whose host process dies may lose its window without a WM_DESTROY;
// it must end all the same.
void OnLastMessage(HWND window) {
  if (!QuitPosted) OnDestroy(window);
}

void RedrawWhenShown(HWND window) {
  if (window == ParentWindow) return;
  RECT rect{};
  GetWindowRect(window, &rect);
  InvalidateRect(window, &rect, TRUE);
}

void PaintBlack(HWND window) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(window, &paint);
  FillRect(dc, &paint.rcPaint, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  EndPaint(window, &paint);
}

}  // namespace

LRESULT CALLBACK ScreenSaverProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      OnCreate(window);
      return 0;
    case WM_DESTROY:
      OnDestroy(window);
      break;
    case WM_NCDESTROY:
      OnLastMessage(window);
      break;
    case WM_ACTIVATE:
    case WM_ACTIVATEAPP:
    case WM_NCACTIVATE:
      OnActivation(window, wParam);
      break;
    case WM_CLOSE:
      if (RunMode != RUNMODE_SAVER) break;
      OnClose(window);
      return 0;
    case WM_SHOWWINDOW:
      RedrawWhenShown(window);
      break;
    case WM_SETCURSOR:
      OnSetCursor();
      break;
    case WM_SYSCOMMAND:
      if (RunMode == RUNMODE_SAVER && IsSwallowedSystemCommand(wParam)) return 0;
      break;
    case WM_MOUSEMOVE:
      OnMouseMove();
      break;
    case WM_KEYDOWN:
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
    case WM_MBUTTONDOWN:
      OnKey(wParam);
      break;
    default:
      break;
  }
  return DefWindowProcA(window, message, wParam, lParam);
}

LRESULT CALLBACK ChildWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      return 0;
    case WM_PAINT:
      PaintBlack(window);
      return 0;
    case WM_SETCURSOR:
      OnSetCursor();
      break;
    case WM_KEYDOWN:
      OnKey(wParam);
      break;
    case WM_MOUSEMOVE:
      OnMouseMove();
      break;
    default:
      break;
  }
  return DefWindowProcA(window, message, wParam, lParam);
}

void BeginDialog() {
  ss->DialogActive = 1;
  SendMessageA(ss->hWnd, WM_SETCURSOR, 0, 0);
}

void EndDialog() {
  ss->DialogActive = 0;
  SendMessageA(ss->hWnd, WM_SETCURSOR, 0, 0);
  GetCursorPos(&ss->InitCursorPos);
}
