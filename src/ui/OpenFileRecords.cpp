#include "ui/OpenFileRecords.h"

#include "base/AnsiText.h"
#include "settings/Session.h"

#include <array>
#include <shlobj.h>
#include <string>
#include <string_view>

OPENFILENAME_NT4A OpenFileRecordA;
OPENFILENAME_NT4W OpenFileRecordW;

namespace {

constexpr std::size_t kFileBufferSize = 1024;  // characters
constexpr DWORD kAllSupportedTypes = 2;        // the filter that is chosen at first
constexpr DWORD kFlags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST |
                         OFN_ALLOWMULTISELECT | OFN_ENABLEHOOK | OFN_HIDEREADONLY;

// Pairs of text and pattern, each closed by a NUL; a second NUL ends the list.
constexpr char kFilters[] =
    "All files (*.*)\0*.*\0"
    "All supported types\0"
    "*.mp2;*.mp3;*.wav;*.ogg;*.wma;*.asf;*.m3u;*.pls;*.b4s;*.bpl;*.asx;*.wpl\0"
    "ASF (*.asf)\0*.asf\0"
    "MPEG Audio (*.mp2,*.mp3)\0*.mp2;*.mp3\0"
    "Vorbis files (*.ogg)\0*.ogg\0"
    "WAV (*.wav)\0*.wav\0"
    "WMA (*.wma)\0*.wma\0"
    "ASX Playlist (*.asx)\0*.asx\0"
    "B4S Playlist (*.b4s)\0*.b4s\0"
    "BPL Playlist (*.bpl)\0*.bpl\0"
    "M3U Playlist (*.m3u)\0*.m3u\0"
    "PLS Playlist (*.pls)\0*.pls\0"
    "WPL Playlist (*.wpl)\0*.wpl\0";

constexpr char kTitle[] = "Select a song or playlist";

// The user's music folder, or the documents folder; empty if neither is known
// or the system is too old to have one.
std::wstring MusicFolder() {
  std::array<char, MAX_PATH + 1> folder{};
  if (OsVersionCode < OSVERSION_2000) return {};
  if (!SHGetSpecialFolderPathA(nullptr, folder.data(), CSIDL_MYMUSIC, FALSE) &&
      !SHGetSpecialFolderPathA(nullptr, folder.data(), CSIDL_PERSONAL, FALSE))
    return {};
  return WideFromAnsi(folder.data());
}

template <class Record, class Char>
void FillRecord(Record& record, HWND owner, Char* fileBuffer, const Char* title,
                const Char* filters) {
  record = {};
  static_assert(sizeof record == 76);
  record.lStructSize = sizeof record;
  record.hwndOwner = owner;
  record.lpstrFilter = filters;
  record.nFilterIndex = kAllSupportedTypes;
  record.lpstrFile = fileBuffer;
  record.nMaxFile = kFileBufferSize;
  record.lpstrTitle = title;
  record.Flags = kFlags;
  record.lpfnHook = OpenFileHookProc;
  record.lCustData = reinterpret_cast<LPARAM>(&record);
}

// --- Reading what was chosen ---

std::string Narrow(const std::string& text) { return text; }

std::string Narrow(const std::wstring& text) { return AnsiFromWide(text); }

// The text that stands at `place` of `buffer`; empty if it has no end there,
// since a name that was cut off is no name of a file.
template <class Char>
std::basic_string<Char> TextAt(std::basic_string_view<Char> buffer, std::size_t place) {
  const std::size_t end = buffer.find(Char{}, place);
  if (end == buffer.npos) return {};
  return std::basic_string<Char>(buffer.substr(place, end - place));
}

// One file: a full path, within which the name begins. Several: their folder
// and, where the names begin, one name after the other up to an empty one.
template <class Char>
ChosenFiles ReadChosenFiles(std::basic_string_view<Char> buffer, std::size_t namesStart) {
  std::basic_string<Char> text = TextAt(buffer, 0);
  ChosenFiles chosen{Narrow(text), {}};
  if (namesStart <= text.size()) return chosen;
  for (std::size_t place = namesStart;; place += text.size() + 1) {
    text = TextAt(buffer, place);
    if (text.empty()) return chosen;
    chosen.names.push_back(Narrow(text));
  }
}

template <class Record>
ChosenFiles TakeFrom(Record& record) {
  ChosenFiles chosen;
  if (record.lpstrFile) {
    const std::basic_string_view buffer(record.lpstrFile, record.nMaxFile);
    chosen = ReadChosenFiles(buffer, record.nFileOffset);
    record.lpstrFile[0] = 0;
  }
  record.lpstrInitialDir = nullptr;
  return chosen;
}

bool AsksNarrow() { return OsVersionCode < OSVERSION_2000; }

// --- The hook ---

// Properties of the file dialog.
constexpr char kRecordProperty[] = "OFN";
constexpr char kFormerProcProperty[] = "OFN_Former_Proc";
constexpr DWORD kRoomForFolder = 260;      // characters

// The buffers that have taken the first ones' place, one for each record.
void* gNarrowBuffer = nullptr;
void* gWideBuffer = nullptr;

// The old buffer stays in force if there is no memory for a larger one.
template <class Record>
void GrowBuffer(Record& record, void*& heapBuffer, DWORD needed) {
  if (record.nMaxFile >= needed) return;
  const HANDLE heap = GetProcessHeap();
  void* const larger = HeapAlloc(heap, HEAP_ZERO_MEMORY, needed * sizeof *record.lpstrFile);
  if (!larger) return;
  record.lpstrFile = static_cast<decltype(record.lpstrFile)>(larger);
  record.nMaxFile = needed;
  if (heapBuffer) HeapFree(heap, 0, heapBuffer);
  heapBuffer = larger;
}

// The names as the dialog's text has them, and room for their folder.
DWORD NeededCharacters(HWND fileDialog) {
  const LRESULT names = SendMessageA(fileDialog, CDM_GETSPEC, 0, 0);
  return kRoomForFolder + (names > 0 ? static_cast<DWORD>(names) : 0);
}

void MakeRoom(HWND fileDialog) {
  void* const record = GetPropA(fileDialog, kRecordProperty);
  if (!record) return;
  const DWORD needed = NeededCharacters(fileDialog);
  if (AsksNarrow())
    GrowBuffer(*static_cast<OPENFILENAME_NT4A*>(record), gNarrowBuffer, needed);
  else
    GrowBuffer(*static_cast<OPENFILENAME_NT4W*>(record), gWideBuffer, needed);
}

// Names can be typed, too, which tells of no selection: room is made before the
// dialog acts on its Open button.
LRESULT CALLBACK FileDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_COMMAND && LOWORD(wParam) == IDOK) MakeRoom(hwnd);
  const auto former = reinterpret_cast<WNDPROC>(GetPropA(hwnd, kFormerProcProperty));
  return IsWindowUnicode(hwnd) ? CallWindowProcW(former, hwnd, message, wParam, lParam)
                               : CallWindowProcA(former, hwnd, message, wParam, lParam);
}

// Keeps the window's kind of text, wide or narrow.
void SetProc(HWND hwnd, LONG_PTR procedure) {
  const auto set = IsWindowUnicode(hwnd) ? SetWindowLongPtrW : SetWindowLongPtrA;
  set(hwnd, GWLP_WNDPROC, procedure);
}

LONG_PTR ProcOf(HWND hwnd) {
  const auto get = IsWindowUnicode(hwnd) ? GetWindowLongPtrW : GetWindowLongPtrA;
  return get(hwnd, GWLP_WNDPROC);
}

void WatchOpenButton(HWND fileDialog) {
  if (SetPropA(fileDialog, kFormerProcProperty, reinterpret_cast<HANDLE>(ProcOf(fileDialog))))
    SetProc(fileDialog, reinterpret_cast<LONG_PTR>(&FileDialogProc));
}

void UnwatchOpenButton(HWND fileDialog) {
  if (const HANDLE former = RemovePropA(fileDialog, kFormerProcProperty))
    SetProc(fileDialog, reinterpret_cast<LONG_PTR>(former));
}

}  // namespace

UINT_PTR CALLBACK OpenFileHookProc(HWND hwnd, UINT message, WPARAM, LPARAM lParam) {
  const HWND fileDialog = GetParent(hwnd);
  switch (message) {
    case WM_INITDIALOG:
      if (SetPropA(fileDialog, kRecordProperty, reinterpret_cast<HANDLE>(lParam)))
        WatchOpenButton(fileDialog);
      else
        MessageBoxA(hwnd, "SET PRop Failed", "ERROR", MB_OK);
      break;
    case WM_NOTIFY:
      if (reinterpret_cast<const NMHDR*>(lParam)->code == CDN_SELCHANGE)
        MakeRoom(fileDialog);
      break;
    case WM_DESTROY:
      UnwatchOpenButton(fileDialog);
      RemovePropA(fileDialog, kRecordProperty);
      break;
    default:
      break;
  }
  return 0;
}

// A name that doesn't fit leaves the length that it needs in the buffer, which
// the next dialog would take for a name.
bool AskForFiles(HWND owner) {
  OpenFileRecordA.hwndOwner = OpenFileRecordW.hwndOwner = owner;
  const bool chosen =
      AsksNarrow() ? GetOpenFileNameA(reinterpret_cast<OPENFILENAMEA*>(&OpenFileRecordA))
                   : GetOpenFileNameW(reinterpret_cast<OPENFILENAMEW*>(&OpenFileRecordW));
  if (!chosen && OpenFileRecordA.lpstrFile) OpenFileRecordA.lpstrFile[0] = 0;
  if (!chosen && OpenFileRecordW.lpstrFile) OpenFileRecordW.lpstrFile[0] = 0;
  return chosen;
}

ChosenFiles TakeChosenFiles() {
  return AsksNarrow() ? TakeFrom(OpenFileRecordA) : TakeFrom(OpenFileRecordW);
}

void PrepareOpenFileRecords(HWND owner) {
  static std::array<char, kFileBufferSize> files{};
  static std::array<wchar_t, kFileBufferSize> wideFiles{};
  static const std::wstring wideTitle = WideFromAnsi(kTitle);
  static const std::wstring wideFilters =
      WideFromAnsi(std::string_view(kFilters, sizeof kFilters));
  static std::wstring folder;
  folder = MusicFolder();
  FillRecord(OpenFileRecordA, owner, files.data(), kTitle, kFilters);
  FillRecord(OpenFileRecordW, owner, wideFiles.data(), wideTitle.c_str(), wideFilters.c_str());
  if (!folder.empty()) OpenFileRecordW.lpstrInitialDir = folder.c_str();
}
