#include "ui/CustomMusicDialog.h"

#include "base/FindNoCase.h"
#include "base/PathHelpers.h"
#include "music/Playlist.h"
#include "settings/Session.h"
#include "ui/KeyboardHook.h"
#include "ui/OpenFileRecords.h"
#include "ui/Tooltips.h"
#include "ui/resource.h"

#include <cderr.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

// An extension belongs to a list if it stands somewhere in it.
constexpr char kPlaylistTypes[] = ".b4s.m3u.pls.asx.wpl.bpl";
constexpr char kAudioTypes[] = ".mp2.mp3.wav.ogg.wma.asf";

// The longest path that Windows' own file calls take; the music player could
// open no longer one.
constexpr std::size_t kLongestPath = MAX_PATH - 1;

constexpr int kTooltipWidth = 250;  // px

struct TipText {
  int control;
  const char* text;
};

constexpr TipText kTips[] = {
    {IDC_ADD_FILES, "Click to add songs to your playlist"},
    {IDC_CLEAR_LIST, "Click to remove all songs from your playlist"},
    {IDC_REMOVE_SELECTED, "Click to remove the selected songs from the playlist"},
    {IDC_MOVE_UP, "Click to move the selected files up in the play order"},
    {IDC_MOVE_DOWN, "Click to move the selected files down in the play order"},
};

HWND gTips[std::size(kTips)];

bool IsOfType(const char* path, const char* types) {
  return FindNoCase(types, GetFileExt(path)) != nullptr;
}

// --- The list: a row shows the file's name, its data is the full path, which
// the row owns ---

LRESULT AskList(HWND dialog, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
  return SendDlgItemMessageA(dialog, IDC_SONGS, message, wParam, lParam);
}

int RowCount(HWND dialog) { return static_cast<int>(AskList(dialog, LB_GETCOUNT)); }

// Null if there is no such row.
std::string* PathOfRow(HWND dialog, int row) {
  const LRESULT data = AskList(dialog, LB_GETITEMDATA, static_cast<WPARAM>(row));
  return data == LB_ERR ? nullptr : reinterpret_cast<std::string*>(data);
}

void AddRow(HWND dialog, const char* path) {
  auto owned = std::make_unique<std::string>(path);
  const LRESULT row =
      AskList(dialog, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(GetFileNameAndExt(path)));
  if (row < 0) return;
  AskList(dialog, LB_SETITEMDATA, static_cast<WPARAM>(row),
          reinterpret_cast<LPARAM>(owned.release()));
}

void RemoveRow(HWND dialog, int row) {
  delete PathOfRow(dialog, row);
  AskList(dialog, LB_DELETESTRING, static_cast<WPARAM>(row));
}

// The row itself goes, not its path: that lands with the row `to`.
void MoveRow(HWND dialog, int from, int to) {
  std::string* const path = PathOfRow(dialog, from);
  AskList(dialog, LB_DELETESTRING, static_cast<WPARAM>(from));
  AskList(dialog, LB_INSERTSTRING, static_cast<WPARAM>(to),
          reinterpret_cast<LPARAM>(path ? GetFileNameAndExt(path->c_str()) : ""));
  AskList(dialog, LB_SETITEMDATA, static_cast<WPARAM>(to), reinterpret_cast<LPARAM>(path));
}

// The selected rows, in ascending order.
std::vector<int> SelectedRows(HWND dialog) {
  const LRESULT count = AskList(dialog, LB_GETSELCOUNT);
  std::vector<int> rows(count > 0 ? static_cast<std::size_t>(count) : 0);
  AskList(dialog, LB_GETSELITEMS, rows.size(), reinterpret_cast<LPARAM>(rows.data()));
  return rows;
}

void DeletePaths(HWND dialog) {
  for (int row = RowCount(dialog) - 1; row >= 0; --row) {
    delete PathOfRow(dialog, row);
    AskList(dialog, LB_SETITEMDATA, static_cast<WPARAM>(row), 0);
  }
}

void ShowCount(HWND dialog) {
  const std::string text = std::to_string(RowCount(dialog)) + "\nFiles";
  SendDlgItemMessageA(dialog, IDC_SONG_COUNT, WM_SETTEXT, 0,
                      reinterpret_cast<LPARAM>(text.c_str()));
}

// --- Adding ---

// All entries of a list, or those alone that look like music.
void AddEntries(HWND dialog, const Playlist& list, bool musicAlone) {
  for (int i = 0; i < list.GetCount(); ++i)
    if (!musicAlone || IsOfType(list.GetEntry(i), kAudioTypes)) AddRow(dialog, list.GetEntry(i));
}

// By its full path, since not every file dialog makes the folder of a typed path
// the current one; else by its name there, since a folder may have characters
// that its path lost on the way to the system's code page.
void AddPlaylist(HWND dialog, const std::string& path, bool musicAlone) {
  Playlist list;
  if (!list.Load(path.c_str())) list.Load(GetFileNameAndExt(path.c_str()));
  AddEntries(dialog, list, musicAlone);
}

void AddChosenFile(HWND dialog, const std::string& path, bool oneOfSeveral) {
  if (IsOfType(path.c_str(), kPlaylistTypes))
    AddPlaylist(dialog, path, oneOfSeveral);
  else
    AddRow(dialog, path.c_str());
}

// A list that is chosen by itself is taken whole; among other files it gives
// its music.
void AddChosenFiles(HWND dialog, const ChosenFiles& chosen) {
  if (chosen.first.empty()) return;  // nothing that could be read
  if (chosen.names.empty()) return AddChosenFile(dialog, chosen.first, false);
  for (const std::string& name : chosen.names)
    AddChosenFile(dialog, chosen.first + "\\" + name, true);
}

void ReportDialogError(HWND dialog, DWORD error) {
  if (error == 0) return;  // the user gave up
  MessageBoxA(dialog, "Error with dialog selection!", "Error", MB_OK);
  if (error == FNERR_BUFFERTOOSMALL) MessageBoxA(dialog, "Buffer too small", nullptr, MB_OK);
}

void AddFiles(HWND dialog) {
  if (!AskForFiles(dialog)) return ReportDialogError(dialog, CommDlgExtendedError());
  AddChosenFiles(dialog, TakeChosenFiles());
  ShowCount(dialog);
}

// --- Removing and moving ---

void RemoveSelected(HWND dialog) {
  const std::vector<int> rows = SelectedRows(dialog);
  for (std::size_t i = 0; i < rows.size(); ++i)
    RemoveRow(dialog, rows[i] - static_cast<int>(i));  // each removal moves the later ones up
  ShowCount(dialog);
}

void ClearList(HWND dialog) {
  DeletePaths(dialog);
  AskList(dialog, LB_RESETCONTENT);
  ShowCount(dialog);
}

// The rows beside the selection jump over it, so that the selected rows
// themselves, and their being selected, aren't touched.
void MoveUp(HWND dialog) {
  const std::vector<int> rows = SelectedRows(dialog);
  if (rows.empty() || rows.front() == 0) return;
  for (const int row : rows) MoveRow(dialog, row - 1, row);
}

void MoveDown(HWND dialog) {
  const std::vector<int> rows = SelectedRows(dialog);
  if (rows.empty() || rows.back() == RowCount(dialog) - 1) return;
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) MoveRow(dialog, *row + 1, *row);
}

// --- Saving ---

std::vector<int> RowsWithLongPaths(HWND dialog) {
  std::vector<int> rows;
  for (int row = 0; row < RowCount(dialog); ++row)
    if (const std::string* path = PathOfRow(dialog, row); path && path->size() > kLongestPath)
      rows.push_back(row);
  return rows;
}

// Selects the rows, so that "Remove Selected" takes them.
void RefuseLongPaths(HWND dialog, const std::vector<int>& rows) {
  AskList(dialog, LB_SETSEL, FALSE, -1);
  for (const int row : rows) AskList(dialog, LB_SETSEL, TRUE, row);
  const std::string text =
      "Files whose paths are longer than " + std::to_string(kLongestPath) +
      " characters can't be played. There are " + std::to_string(rows.size()) +
      " in the list, and they are selected now.\n\n"
      "Click \"Remove Selected\" to leave them out, or cancel and move the files into a folder "
      "nearer to the drive's root.";
  MessageBoxA(dialog, text.c_str(), "Error", MB_OK);
}

void SaveRows(HWND dialog) {
  std::vector<const char*> paths;
  for (int row = 0; row < RowCount(dialog); ++row)
    if (const std::string* path = PathOfRow(dialog, row)) paths.push_back(path->c_str());
  Playlist list;
  list.AddEntries(paths.data(), static_cast<std::int32_t>(paths.size()));
  // A list that can't be saved isn't told: the one before stays.
  static_cast<void>(list.Save(PlaylistPath.c_str(), kPlaylistM3U));
}

// No empty list is left behind.
void SaveAndClose(HWND dialog) {
  if (const std::vector<int> rows = RowsWithLongPaths(dialog); !rows.empty())
    return RefuseLongPaths(dialog, rows);
  if (RowCount(dialog) == 0)
    DeleteFileA(PlaylistPath.c_str());
  else
    SaveRows(dialog);
  EndDialog(dialog, IDOK);
}

void AskAndLeave(HWND dialog) {
  if (MessageBoxA(dialog, "Are you sure you want to lose your changes?", "Are you sure?",
                  MB_YESNO) == IDYES)
    EndDialog(dialog, IDCANCEL);
}

// --- The window ---

void OnInit(HWND dialog) {
  AddEntries(dialog, Playlist(PlaylistPath.c_str()), false);
  ShowCount(dialog);
  for (std::size_t i = 0; i < std::size(kTips); ++i)
    gTips[i] = CreateTooltip(GetDlgItem(dialog, kTips[i].control), kTips[i].text, kTooltipWidth, 0,
                             0, 0, nullptr, -1);
  InstallKeyboardHook(dialog);
}

void OnDestroy(HWND dialog) {
  DeletePaths(dialog);
  for (HWND& tip : gTips) DestroyWindow(std::exchange(tip, nullptr));
  RemoveKeyboardHook();
}

// The hook sees the keys of the windows that this one has opened, too: a Delete
// in the file dialog's text isn't meant for the list.
void OnKey(HWND dialog, WPARAM key) {
  if (key == VK_DELETE && IsWindowEnabled(dialog))
    SendMessageA(dialog, WM_COMMAND, IDC_REMOVE_SELECTED, 0);
}

void OnCommand(HWND dialog, int id) {
  switch (id) {
    case IDOK:
      return SaveAndClose(dialog);
    case IDCANCEL:
      return AskAndLeave(dialog);
    case IDC_ADD_FILES:
      return AddFiles(dialog);
    case IDC_REMOVE_SELECTED:
      return RemoveSelected(dialog);
    case IDC_CLEAR_LIST:
      return ClearList(dialog);
    case IDC_MOVE_UP:
      return MoveUp(dialog);
    case IDC_MOVE_DOWN:
      return MoveDown(dialog);
    default:
      return;
  }
}

}  // namespace

INT_PTR CALLBACK CustomMusicDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      OnInit(hwnd);
      break;
    case WM_KEYDOWN:
      OnKey(hwnd, wParam);
      break;
    case WM_COMMAND:
      OnCommand(hwnd, LOWORD(wParam));
      break;
    case WM_DESTROY:
      OnDestroy(hwnd);
      break;
    default:
      break;
  }
  return 0;
}
