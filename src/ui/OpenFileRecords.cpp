#include "ui/OpenFileRecords.h"

#include "settings/Session.h"

#include <array>
#include <shlobj.h>
#include <string>

OPENFILENAME_NT4A OpenFileRecordA;
OPENFILENAME_NT4W OpenFileRecordW;

namespace {

constexpr std::size_t kFileBufferSize = 1024;  // characters
constexpr DWORD kAllSupportedTypes = 2;        // the filter that is chosen at first
// OFN_ENABLEHOOK joins them once there is a hook to call.
constexpr DWORD kFlags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST |
                         OFN_ALLOWMULTISELECT | OFN_HIDEREADONLY;

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

std::wstring Wide(const char* text, std::size_t length) {
  std::wstring wide(length, L'\0');
  MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(length), wide.data(),
                      static_cast<int>(length));
  return wide;
}

// The user's music folder, or the documents folder; empty if neither is known
// or the system is too old to have one.
std::wstring MusicFolder() {
  std::array<char, MAX_PATH + 1> folder{};
  if (OsVersionCode < 6) return {};
  if (!SHGetSpecialFolderPathA(nullptr, folder.data(), CSIDL_MYMUSIC, FALSE) &&
      !SHGetSpecialFolderPathA(nullptr, folder.data(), CSIDL_PERSONAL, FALSE))
    return {};
  const std::string text = folder.data();
  return Wide(text.c_str(), text.size());
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
  record.lCustData = reinterpret_cast<LPARAM>(&record);
}

}  // namespace

void PrepareOpenFileRecords(HWND owner) {
  static std::array<char, kFileBufferSize> files{};
  static std::array<wchar_t, kFileBufferSize> wideFiles{};
  static const std::wstring wideTitle = Wide(kTitle, sizeof kTitle);
  static const std::wstring wideFilters = Wide(kFilters, sizeof kFilters);
  static std::wstring folder;
  folder = MusicFolder();
  FillRecord(OpenFileRecordA, owner, files.data(), kTitle, kFilters);
  FillRecord(OpenFileRecordW, owner, wideFiles.data(), wideTitle.c_str(), wideFilters.c_str());
  if (!folder.empty()) OpenFileRecordW.lpstrInitialDir = folder.c_str();
}
