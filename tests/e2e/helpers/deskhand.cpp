// The tests' hand inside the Windows desktop: does what can't be done from
// outside it. One command a line comes in on stdin, its words separated by
// tabs; one line of JSON goes out on stdout, {"error": N} with the system's
// error code where a call failed. The end of stdin ends the program, and with
// it every window, mutex and changed display mode that it holds.
//
// Commands run on the main thread, which pumps messages in between, so that
// the windows made here stay alive; a thread reads the lines.

#include "base/win_owned.h"
#include "gauges.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <shlwapi.h>
#include <sstream>
#include <string>
#include <tlhelp32.h>
#include <vector>

namespace {

using Words = std::vector<std::string>;

constexpr UINT kRunCommand = WM_APP + 1;  // lParam: the line; sent by the reader
constexpr DWORD kSendLimitMs = 10000;

HWND previewTop = nullptr;
KernelHandle heldMutex;

std::string Quoted(const std::string& text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string json = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 32 || byte > 126 || c == '"' || c == '\\')
      json += std::string("\\u00") + kDigits[byte >> 4] + kDigits[byte & 15];
    else
      json += c;
  }
  return json + '"';
}

std::string Error(DWORD code) { return "{\"error\": " + std::to_string(code) + "}"; }
std::string LastError() { return Error(GetLastError()); }
std::string Value(std::int64_t value) { return "{\"value\": " + std::to_string(value) + "}"; }

std::int64_t Number(const std::string& word) { return std::strtoll(word.c_str(), nullptr, 0); }

HWND Window(const std::string& word) {
  return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(Number(word)));
}

std::int64_t NumberOf(HWND window) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(window));
}

std::string Hex(const std::vector<BYTE>& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const BYTE byte : bytes) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

std::vector<BYTE> Bytes(const std::string& hex) {
  std::vector<BYTE> bytes;
  for (std::size_t at = 0; at + 1 < hex.size(); at += 2)
    bytes.push_back(static_cast<BYTE>(std::stoul(hex.substr(at, 2), nullptr, 16)));
  return bytes;
}

// ---- Windows

std::string TextOf(HWND window) {
  static char text[1 << 16];
  text[0] = '\0';
  DWORD_PTR length = 0;
  SendMessageTimeoutA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text),
                      SMTO_ABORTIFHUNG, kSendLimitMs, &length);
  return text;
}

std::string Describe(HWND window) {
  char className[256] = "";
  GetClassNameA(window, className, sizeof className);
  RECT rect = {};
  GetWindowRect(window, &rect);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  std::ostringstream json;
  json << "{\"hwnd\": " << NumberOf(window) << ", \"class\": " << Quoted(className)
       << ", \"text\": " << Quoted(TextOf(window))
       << ", \"visible\": " << (IsWindowVisible(window) ? "true" : "false")
       << ", \"enabled\": " << (IsWindowEnabled(window) ? "true" : "false")
       << ", \"id\": " << GetDlgCtrlID(window) << ", \"pid\": " << process
       << ", \"parent\": " << NumberOf(GetAncestor(window, GA_PARENT))
       << ", \"style\": " << static_cast<DWORD>(GetWindowLongA(window, GWL_STYLE))
       << ", \"exstyle\": " << static_cast<DWORD>(GetWindowLongA(window, GWL_EXSTYLE))
       << ", \"rect\": [" << rect.left << ", " << rect.top << ", " << rect.right << ", "
       << rect.bottom << "]}";
  return json.str();
}

BOOL CALLBACK CollectWindow(HWND window, LPARAM list) {
  reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  return TRUE;
}

std::string DescribeAll(const std::vector<HWND>& windows) {
  std::string json = "[";
  for (const HWND window : windows) json += (json.size() > 1 ? ", " : "") + Describe(window);
  return json + "]";
}

std::string TopWindows(const Words&) {
  std::vector<HWND> windows;
  EnumWindows(CollectWindow, reinterpret_cast<LPARAM>(&windows));
  return DescribeAll(windows);
}

std::string ChildWindows(const Words& words) {
  std::vector<HWND> windows;
  EnumChildWindows(Window(words.at(1)), CollectWindow, reinterpret_cast<LPARAM>(&windows));
  return DescribeAll(windows);
}

std::string Post(const Words& words) {
  const BOOL posted = PostMessageA(Window(words.at(1)), static_cast<UINT>(Number(words.at(2))),
                                   static_cast<WPARAM>(Number(words.at(3))),
                                   static_cast<LPARAM>(Number(words.at(4))));
  return posted ? Value(1) : LastError();
}

std::string Send(const Words& words) {
  DWORD_PTR result = 0;
  const LRESULT sent = SendMessageTimeoutA(
      Window(words.at(1)), static_cast<UINT>(Number(words.at(2))),
      static_cast<WPARAM>(Number(words.at(3))), static_cast<LPARAM>(Number(words.at(4))),
      SMTO_NORMAL, kSendLimitMs, &result);
  return sent ? Value(static_cast<std::int64_t>(result)) : LastError();
}

std::string ForegroundWindow(const Words&) { return Value(NumberOf(GetForegroundWindow())); }

// ---- The frame that a preview lives in

// Wine gives a window in another process's window no place to draw; sharing
// the top window's drawable with the inner one makes the preview visible.
void ShareDrawable(HWND top, HWND inner) {
  constexpr char kProperty[] = "__wine_x11_whole_window";
  SetPropA(inner, kProperty, GetPropA(top, kProperty));
}

std::string OpenPreviewFrame(const Words& words) {
  const int width = static_cast<int>(Number(words.at(1)));
  const int height = static_cast<int>(Number(words.at(2)));
  previewTop = CreateWindowA("STATIC", "Preview frame", WS_POPUP | WS_VISIBLE, 0, 0, width + 40,
                             height + 40, nullptr, nullptr, nullptr, nullptr);
  const HWND inner = CreateWindowA("STATIC", "", WS_CHILD | WS_VISIBLE | SS_BLACKRECT, 20, 20,
                                   width, height, previewTop, nullptr, nullptr, nullptr);
  if (!inner) return LastError();
  ShareDrawable(previewTop, inner);
  return Value(NumberOf(inner));
}

std::string ClosePreviewFrame(const Words&) {
  return DestroyWindow(previewTop) ? Value(1) : LastError();
}

// A window that takes the focus away from whoever has it; one pixel, so that
// it hides nothing.
std::string TakeFocus(const Words&) {
  const HWND window = CreateWindowA("STATIC", "Focus taker", WS_POPUP | WS_VISIBLE, 0, 0, 1, 1,
                                    nullptr, nullptr, nullptr, nullptr);
  if (!window) return LastError();
  return Value(SetForegroundWindow(window));
}

// ---- The system's state

std::string Cursor(const Words&) {
  CURSORINFO info = {};
  info.cbSize = sizeof info;
  if (!GetCursorInfo(&info)) return LastError();
  return "{\"x\": " + std::to_string(info.ptScreenPos.x) +
         ", \"y\": " + std::to_string(info.ptScreenPos.y) +
         ", \"shown\": " + (info.hCursor ? "true" : "false") + "}";
}

std::string DisplayMode(const Words&) {
  DEVMODEA mode = {};
  mode.dmSize = sizeof mode;
  if (!EnumDisplaySettingsA(nullptr, ENUM_CURRENT_SETTINGS, &mode)) return LastError();
  std::ostringstream json;
  json << "{\"width\": " << mode.dmPelsWidth << ", \"height\": " << mode.dmPelsHeight
       << ", \"bits\": " << mode.dmBitsPerPel << "}";
  return json.str();
}

// What the system does by itself when a program with a temporary mode ends.
std::string RestoreDisplayMode(const Words&) {
  return Value(ChangeDisplaySettingsA(nullptr, 0));
}

// Wine remembers in each process what it first answered there.
std::string SaverRunning(const Words&) {
  BOOL running = FALSE;
  if (!SystemParametersInfoA(SPI_GETSCREENSAVERRUNNING, 0, &running, 0)) return LastError();
  return Value(running);
}

std::string Wallpaper(const Words&) {
  char path[MAX_PATH] = "";
  if (!SystemParametersInfoA(SPI_GETDESKWALLPAPER, sizeof path, path, 0)) return LastError();
  return "{\"path\": " + Quoted(path) + "}";
}

std::string FileAttributes(const Words& words) {
  if (words.size() > 2)
    return SetFileAttributesA(words[1].c_str(), static_cast<DWORD>(Number(words[2])))
               ? Value(1)
               : LastError();
  const DWORD attributes = GetFileAttributesA(words.at(1).c_str());
  return attributes == INVALID_FILE_ATTRIBUTES ? LastError() : Value(attributes);
}

// The processes whose file name begins with `name`.
std::vector<DWORD> ProcessesOf(const std::string& name) {
  const KernelHandle list(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  std::vector<DWORD> processes;
  for (BOOL found = Process32First(list.get(), &entry); found;
       found = Process32Next(list.get(), &entry))
    if (_strnicmp(entry.szExeFile, name.c_str(), name.size()) == 0)
      processes.push_back(entry.th32ProcessID);
  return processes;
}

std::string CountPrograms(const Words& words) {
  return Value(static_cast<std::int64_t>(ProcessesOf(words.at(1)).size()));
}

// Ends the programs whose file name begins with the given text.
std::string EndPrograms(const Words& words) {
  int ended = 0;
  for (const DWORD id : ProcessesOf(words.at(1))) {
    const KernelHandle process(OpenProcess(PROCESS_TERMINATE, FALSE, id));
    if (process && TerminateProcess(process.get(), 1)) ++ended;
  }
  return Value(ended);
}

// ---- What programs hold

std::vector<KernelHandle> heldEvents;
std::vector<GdiBrush> heldBrushes;
std::vector<HWND> heldWindows;

// Of every process that has any.
std::string Handles(const Words&) {
  std::string json = "[";
  for (const auto& [process, count] : CountHandles())
    json += (json.size() > 1 ? ", " : "") + std::string("{\"pid\": ") + std::to_string(process) +
            ", \"handles\": " + std::to_string(count) + "}";
  return json + "]";
}

// process
std::string GdiObjects(const Words& words) {
  const std::optional<DWORD> count = CountGdiObjects(static_cast<DWORD>(Number(words.at(1))));
  return count ? Value(*count) : LastError();
}

std::string UserObjects(const Words&) {
  const std::optional<DWORD> count = CountUserObjects();
  return count ? Value(*count) : LastError();
}

// count: makes so many events, brushes and windows more, for the gauges to see; top
// windows would bring one of the input method's along
std::string Hold(const Words& words) {
  for (std::int64_t left = Number(words.at(1)); left > 0; --left) {
    heldEvents.emplace_back(CreateEventA(nullptr, FALSE, FALSE, nullptr));
    heldBrushes.emplace_back(CreateSolidBrush(0));
    heldWindows.push_back(CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                        nullptr, nullptr));
  }
  return Value(static_cast<std::int64_t>(heldEvents.size()));
}

std::string LetGo(const Words&) {
  heldEvents.clear();
  heldBrushes.clear();
  for (const HWND window : heldWindows) DestroyWindow(window);
  heldWindows.clear();
  return Value(0);
}

// ---- Threads of other programs

constexpr DWORD kFindThreadLimitMs = 60000;

std::vector<DWORD> ThreadsOf(DWORD process) {
  const KernelHandle list(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  std::vector<DWORD> threads;
  for (BOOL found = Thread32First(list.get(), &entry); found;
       found = Thread32Next(list.get(), &entry))
    if (entry.th32OwnerProcessID == process) threads.push_back(entry.th32ThreadID);
  return threads;
}

// The addresses of a module, from the first to behind the last.
struct Range {
  DWORD start;
  DWORD end;
  bool Holds(DWORD address) const { return address >= start && address < end; }
};

// Nothing if the process hasn't loaded it.
std::optional<Range> FindModule(DWORD process, const std::string& name) {
  const KernelHandle list(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, process));
  MODULEENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL found = Module32First(list.get(), &entry); found;
       found = Module32Next(list.get(), &entry)) {
    const auto base = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(entry.modBaseAddr));
    if (_stricmp(entry.szModule, name.c_str()) == 0) return Range{base, base + entry.modBaseSize};
  }
  return std::nullopt;
}

// window: the thread that it belongs to
std::string WindowThread(const Words& words) {
  return Value(GetWindowThreadProcessId(Window(words.at(1)), nullptr));
}

// Has a thread go on at `address`, as if it had jumped there by mistake, if it is
// at one of the places `from`.
bool Derail(DWORD id, DWORD address, const Range& from) {
  const KernelHandle thread(OpenThread(
      THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_SET_CONTEXT, FALSE, id));
  if (!thread || SuspendThread(thread.get()) == static_cast<DWORD>(-1)) return false;
  CONTEXT context = {};
  context.ContextFlags = CONTEXT_CONTROL;
  bool derailed = GetThreadContext(thread.get(), &context) && from.Holds(context.Eip);
  context.Eip = address;
  derailed = derailed && SetThreadContext(thread.get(), &context);
  ResumeThread(thread.get());
  return derailed;
}

// process, module, address, main thread, whether it shall be that thread or another:
// derails a thread while it is in that module's own code, where it holds no lock of
// the system's; its number
std::string DerailIn(const Words& words) {
  const auto process = static_cast<DWORD>(Number(words.at(1)));
  const auto address = static_cast<DWORD>(Number(words.at(3)));
  const auto mainThread = static_cast<DWORD>(Number(words.at(4)));
  const bool wantMain = Number(words.at(5)) != 0;
  const std::optional<Range> module = FindModule(process, words.at(2));
  if (!module) return Error(ERROR_MOD_NOT_FOUND);
  const DWORD start = GetTickCount();
  while (GetTickCount() - start < kFindThreadLimitMs) {
    const std::vector<DWORD> threads =
        wantMain ? std::vector<DWORD>{mainThread} : ThreadsOf(process);
    for (const DWORD id : threads)
      if ((id == mainThread) == wantMain && Derail(id, address, *module)) return Value(id);
    Sleep(1);  // the program needs the time, too
  }
  return Error(ERROR_TIMEOUT);
}

constexpr DWORD kStillMs = 30;
constexpr int kStillSamples = 4;

DWORD PlaceOf(HANDLE thread) {
  CONTEXT context = {};
  context.ContextFlags = CONTEXT_CONTROL;
  if (SuspendThread(thread) == static_cast<DWORD>(-1)) return 0;
  const bool known = GetThreadContext(thread, &context);
  ResumeThread(thread);
  return known ? context.Eip : 0;
}

// Waits until a thread stays where it is: then it waits for the system and holds no
// lock. Its place, 0 if it never does.
DWORD WaitUntilStill(HANDLE thread) {
  const DWORD start = GetTickCount();
  DWORD place = 0;
  for (int same = 0; GetTickCount() - start < kFindThreadLimitMs; Sleep(kStillMs)) {
    const DWORD now = PlaceOf(thread);
    same = now == place ? same + 1 : 0;
    place = now;
    if (place && same == kStillSamples) return place;
  }
  return 0;
}

// thread, address: has a thread that waits in the system go on there once its wait
// is over
std::string DerailWaiting(const Words& words) {
  const auto id = static_cast<DWORD>(Number(words.at(1)));
  const KernelHandle thread(OpenThread(
      THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_SET_CONTEXT, FALSE, id));
  const DWORD place = thread ? WaitUntilStill(thread.get()) : 0;
  const bool derailed =
      place && Derail(id, static_cast<DWORD>(Number(words.at(2))), Range{place, place + 1});
  return derailed ? Value(1) : Error(ERROR_TIMEOUT);
}

using QueryThread = LONG(WINAPI*)(HANDLE thread, ULONG what, void* to, ULONG size, ULONG* used);

// Where a thread began; 0 if that isn't known.
DWORD StartOf(DWORD id) {
  constexpr ULONG kStartAddress = 9;
  const auto query =
      ProcAddress<QueryThread>(GetModuleHandleA("ntdll.dll"), "NtQueryInformationThread");
  const KernelHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, id));
  DWORD start = 0;
  if (thread) query(thread.get(), kStartAddress, &start, sizeof start, nullptr);
  return start;
}

// process, module: the threads that began in that module's code
std::string ThreadsFrom(const Words& words) {
  const auto process = static_cast<DWORD>(Number(words.at(1)));
  const std::optional<Range> module = FindModule(process, words.at(2));
  if (!module) return Error(ERROR_MOD_NOT_FOUND);
  std::string json = "[";
  for (const DWORD id : ThreadsOf(process))
    if (module->Holds(StartOf(id))) json += (json.size() > 1 ? ", " : "") + std::to_string(id);
  return json + "]";
}

// process, bytes in hex: puts code into the process; its address there
std::string PutCode(const Words& words) {
  const KernelHandle process(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE,
                                         static_cast<DWORD>(Number(words.at(1)))));
  const std::vector<BYTE> code = Bytes(words.at(2));
  void* const at = VirtualAllocEx(process.get(), nullptr, code.size(), MEM_COMMIT | MEM_RESERVE,
                                  PAGE_EXECUTE_READWRITE);
  if (!at || !WriteProcessMemory(process.get(), at, code.data(), code.size(), nullptr))
    return LastError();
  return Value(static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(at)));
}

// module, function: its address, which is the same in every process
std::string FunctionAddress(const Words& words) {
  const HMODULE module = GetModuleHandleA(words.at(1).c_str());
  const auto address = reinterpret_cast<std::uintptr_t>(
      reinterpret_cast<void*>(GetProcAddress(module, words.at(2).c_str())));
  return address ? Value(static_cast<std::int64_t>(address)) : LastError();
}

// path: starts the program as a child of this one
std::string StartProgram(const Words& words) {
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION information = {};
  if (!CreateProcessA(words.at(1).c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &information))
    return LastError();
  CloseHandle(information.hThread);
  CloseHandle(information.hProcess);
  return Value(information.dwProcessId);
}

// process: ends it at once, with no say in it
std::string EndProcess(const Words& words) {
  const KernelHandle process(
      OpenProcess(PROCESS_TERMINATE, FALSE, static_cast<DWORD>(Number(words.at(1)))));
  return TerminateProcess(process.get(), 1) ? Value(1) : LastError();
}

// ---- Mutexes

std::string TakeMutex(const Words& words) {
  heldMutex.reset(CreateMutexA(nullptr, FALSE, words.at(1).c_str()));
  if (!heldMutex) return LastError();
  return Value(WaitForSingleObject(heldMutex.get(), static_cast<DWORD>(Number(words.at(2)))));
}

std::string ReleaseHeldMutex(const Words&) {
  const BOOL released = ReleaseMutex(heldMutex.get());
  heldMutex.reset();
  return Value(released);
}

std::string MutexExists(const Words& words) {
  return Value(KernelHandle(OpenMutexA(MUTEX_ALL_ACCESS, FALSE, words.at(1).c_str())) ? 1 : 0);
}

// ---- The registry

HKEY Root(const std::string& name) {
  return name == "HKLM" ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

RegKey OpenKey(const Words& words, REGSAM access) {
  HKEY key = nullptr;
  RegOpenKeyExA(Root(words.at(1)), words.at(2).c_str(), 0, access, &key);
  return RegKey(key);
}

// root, key, name, type, bytes in hex
std::string SetValue(const Words& words) {
  HKEY made = nullptr;
  RegCreateKeyExA(Root(words.at(1)), words.at(2).c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &made,
                  nullptr);
  const RegKey key(made);
  const std::vector<BYTE> data = Bytes(words.size() > 5 ? words[5] : "");
  const LONG status =
      RegSetValueExA(key.get(), words.at(3).c_str(), 0, static_cast<DWORD>(Number(words.at(4))),
                     data.data(), static_cast<DWORD>(data.size()));
  return status ? Error(static_cast<DWORD>(status)) : Value(0);
}

// root, key, name
std::string GetValue(const Words& words) {
  const RegKey key = OpenKey(words, KEY_READ);
  DWORD type = 0;
  DWORD size = 0;
  LONG status = RegQueryValueExA(key.get(), words.at(3).c_str(), nullptr, &type, nullptr, &size);
  std::vector<BYTE> data(size);
  if (!status)
    status = RegQueryValueExA(key.get(), words[3].c_str(), nullptr, &type, data.data(), &size);
  if (status) return Error(static_cast<DWORD>(status));
  return "{\"type\": " + std::to_string(type) + ", \"data\": " + Quoted(Hex(data)) + "}";
}

// root, key: the names of its values; an error if there is no such key
std::string ValueNames(const Words& words) {
  const RegKey key = OpenKey(words, KEY_READ);
  if (!key) return Error(ERROR_FILE_NOT_FOUND);
  std::string json = "[";
  char name[512];
  for (DWORD index = 0;; ++index) {
    DWORD length = sizeof name;
    if (RegEnumValueA(key.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr)) break;
    json += (index ? ", " : "") + Quoted(std::string(name, length));
  }
  return json + "]";
}

// root, key: with all below it
std::string DeleteTree(const Words& words) {
  const LSTATUS status = SHDeleteKeyA(Root(words.at(1)), words.at(2).c_str());
  return status ? Error(static_cast<DWORD>(status)) : Value(0);
}

// root, key, name
std::string DeleteValue(const Words& words) {
  const RegKey key = OpenKey(words, KEY_WRITE);
  const LONG status = RegDeleteValueA(key.get(), words.at(3).c_str());
  return status ? Error(static_cast<DWORD>(status)) : Value(0);
}

// ---- Dispatch

std::string Ping(const Words&) { return Value(static_cast<std::int64_t>(GetCurrentProcessId())); }

const std::map<std::string, std::function<std::string(const Words&)>> kCommands = {
    {"ping", Ping},
    {"top-windows", TopWindows},
    {"child-windows", ChildWindows},
    {"post", Post},
    {"send", Send},
    {"foreground", ForegroundWindow},
    {"open-preview-frame", OpenPreviewFrame},
    {"close-preview-frame", ClosePreviewFrame},
    {"take-focus", TakeFocus},
    {"cursor", Cursor},
    {"display-mode", DisplayMode},
    {"count-programs", CountPrograms},
    {"restore-display-mode", RestoreDisplayMode},
    {"end-programs", EndPrograms},
    {"saver-running", SaverRunning},
    {"wallpaper", Wallpaper},
    {"attributes", FileAttributes},
    {"handles", Handles},
    {"gdi-objects", GdiObjects},
    {"user-objects", UserObjects},
    {"hold", Hold},
    {"let-go", LetGo},
    {"window-thread", WindowThread},
    {"derail-in", DerailIn},
    {"derail-waiting", DerailWaiting},
    {"threads-from", ThreadsFrom},
    {"put-code", PutCode},
    {"function-address", FunctionAddress},
    {"start-program", StartProgram},
    {"end-process", EndProcess},
    {"take-mutex", TakeMutex},
    {"release-mutex", ReleaseHeldMutex},
    {"mutex-exists", MutexExists},
    {"set-value", SetValue},
    {"get-value", GetValue},
    {"value-names", ValueNames},
    {"delete-tree", DeleteTree},
    {"delete-value", DeleteValue},
};

Words Split(const std::string& line) {
  Words words;
  std::istringstream stream(line);
  for (std::string word; std::getline(stream, word, '\t');) words.push_back(word);
  return words;
}

std::string Run(const std::string& line) {
  const Words words = Split(line);
  const auto command = words.empty() ? kCommands.end() : kCommands.find(words[0]);
  if (command == kCommands.end()) return Error(ERROR_INVALID_FUNCTION);
  try {
    return command->second(words);
  } catch (const std::exception&) {  // a word is missing or isn't hex
    return Error(ERROR_INVALID_PARAMETER);
  }
}

LRESULT CALLBACK HandProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != kRunCommand) return DefWindowProcA(window, message, wParam, lParam);
  std::cout << Run(*reinterpret_cast<const std::string*>(lParam)) << std::endl;
  return 0;
}

DWORD WINAPI ReadLines(LPVOID window) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    SendMessageA(static_cast<HWND>(window), kRunCommand, 0, reinterpret_cast<LPARAM>(&line));
  }
  ExitProcess(0);
}

HWND MakeCommandWindow() {
  WNDCLASSA windowClass = {};
  windowClass.lpfnWndProc = HandProc;
  windowClass.lpszClassName = "DeskHand";
  RegisterClassA(&windowClass);
  return CreateWindowA("DeskHand", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

}  // namespace

int main() {
  const HWND window = MakeCommandWindow();
  const KernelHandle reader(CreateThread(nullptr, 0, ReadLines, window, 0, nullptr));
  if (!window || !reader) return 1;
  MSG message = {};
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return 0;
}
