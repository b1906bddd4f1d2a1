#include "ui/CustomMusicDialog.h"

#include "base/AnsiText.h"
#include "base/win_owned.h"
#include "support/ModalDialog.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"
#include "ui/KeyboardHook.h"
#include "ui/OpenFileRecords.h"
#include "ui/resource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <commctrl.h>
#include <cstdio>
#include <dlgs.h>
#include <string>
#include <vector>

using namespace support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char kTitle[] = "Select Custom Music";
constexpr char kFileDialogTitle[] = "Select a song or playlist";
constexpr int kNameEdit = edt1;  // the file dialog's, 1152
constexpr int kRecentSystem = 8;
constexpr int kOldSystem = 4;

LRESULT AskList(HWND dialog, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
  return SendDlgItemMessageA(dialog, IDC_SONGS, message, wParam, lParam);
}

std::vector<std::string> Names(HWND dialog) {
  std::vector<std::string> names;
  for (WPARAM row = 0; row < static_cast<WPARAM>(AskList(dialog, LB_GETCOUNT)); ++row) {
    std::string name(static_cast<std::size_t>(AskList(dialog, LB_GETTEXTLEN, row)) + 1, '\0');
    AskList(dialog, LB_GETTEXT, row, reinterpret_cast<LPARAM>(name.data()));
    names.emplace_back(name.c_str());
  }
  return names;
}

std::vector<std::string> Paths(HWND dialog) {
  std::vector<std::string> paths;
  for (WPARAM row = 0; row < static_cast<WPARAM>(AskList(dialog, LB_GETCOUNT)); ++row)
    paths.push_back(*reinterpret_cast<std::string*>(AskList(dialog, LB_GETITEMDATA, row)));
  return paths;
}

std::vector<int> Selection(HWND dialog) {
  std::vector<int> rows(static_cast<std::size_t>(AskList(dialog, LB_GETSELCOUNT)));
  AskList(dialog, LB_GETSELITEMS, rows.size(), reinterpret_cast<LPARAM>(rows.data()));
  return rows;
}

void Select(HWND dialog, const std::vector<int>& rows) {
  AskList(dialog, LB_SETSEL, FALSE, -1);
  for (const int row : rows) AskList(dialog, LB_SETSEL, TRUE, row);
}

std::string Label(HWND dialog) { return TextOfControl(dialog, IDC_SONG_COUNT); }

class CustomMusicDialogTest : public testing::Test {
 protected:
  CustomMusicDialogTest() {
    OsVersionCode = kRecentSystem;
    PlaylistPath = folder.File("mine.m3u");
    PrepareOpenFileRecords(nullptr);
    GetCurrentDirectoryA(sizeof formerFolder, formerFolder);
  }
  ~CustomMusicDialogTest() override { SetCurrentDirectoryA(formerFolder); }

  void WriteList(const std::vector<std::string>& entries) const {
    std::string text = "#EXTM3U\n";
    for (const std::string& entry : entries) text += entry + "\n";
    folder.Write("mine.m3u", BytesOf(text));
  }
  void WriteFiveSongs() const {
    WriteList({"C:\\m\\a.mp3", "C:\\m\\b.mp3", "C:\\m\\c.mp3", "C:\\m\\d.mp3", "C:\\m\\e.mp3"});
  }
  std::string ReadList() const { return TextOf(ReadWholeFile(PlaylistPath)); }
  bool ListExists() const {
    return GetFileAttributesA(PlaylistPath.c_str()) != INVALID_FILE_ATTRIBUTES;
  }

  // Opens the dialog, acts, and leaves it by Cancel.
  void Look(const ModalScript::Action& act) {
    boxes.answer = IDYES;
    script.When(kTitle, [&](HWND dialog) {
      act(dialog);
      ClickButton(dialog, IDCANCEL);
    });
    EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDCANCEL);
  }

  // Where the file dialog begins. The text must outlive the dialog.
  void StartIn(const std::string& path) {
    narrowStart = path;
    wideStart.assign(path.begin(), path.end());
    OpenFileRecordA.lpstrInitialDir = narrowStart.c_str();
    OpenFileRecordW.lpstrInitialDir = wideStart.c_str();
  }

  // Adds what `typed` names in the real file dialog, then acts and cancels.
  void AddByTyping(const std::string& typed, const ModalScript::Action& act) {
    boxes.answer = IDYES;
    script.When(kTitle, [](HWND dialog) { PostCommand(dialog, IDC_ADD_FILES); })
        .When(kFileDialogTitle,
              [typed](HWND fileDialog) {
                SetDlgItemTextA(fileDialog, kNameEdit, typed.c_str());
                PostCommand(fileDialog, IDOK);
              })
        .When(EnabledDialog(), [&](HWND dialog) {
          act(dialog);
          ClickButton(dialog, IDCANCEL);
        });
    EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDCANCEL);
  }

  // The dialog once it can be used again, with no window of its own in front.
  static std::function<HWND()> EnabledDialog() {
    return [] {
      const HWND dialog = FindVisible(kTitle);
      return dialog && IsWindowEnabled(dialog) && !FindVisible(kFileDialogTitle) ? dialog : nullptr;
    };
  }

  SessionState session;
  TempFolder folder;
  AnsweredBoxes boxes;
  ModalScript script;
  char formerFolder[MAX_PATH] = "";
  std::string narrowStart;
  std::wstring wideStart;
};

// --- The window ---

TEST_F(CustomMusicDialogTest, HasItsControlsInTheirPlaces) {
  Look([](HWND dialog) {
    ExpectFrame(dialog, kTitle, 309, 187);
    ExpectControl(dialog, IDOK, "Button", "OK", 252, 148, 50, 14);
    ExpectControl(dialog, IDCANCEL, "Button", "Cancel", 252, 166, 50, 14);
    ExpectControl(dialog, 1103, "ListBox", "", 7, 28, 240, 152);
    ExpectControl(dialog, 3, "Button", "Add File(s)", 252, 28, 50, 14);
    ExpectControl(dialog, 4, "Button", "Remove Selected", 252, 45, 50, 19);
    ExpectControl(dialog, 5, "Button", "Clear List", 252, 67, 50, 14);
    ExpectControl(dialog, 1011, "Button", "/\\", 252, 94, 14, 11);
    ExpectControl(dialog, 1012, "Button", "\\/", 252, 109, 14, 11);
    ExpectControl(dialog, 1106, "Static", "0\nFiles", 270, 98, 32, 18);
    ExpectText(dialog, "Music Files:");
    ExpectText(dialog,
               "Select files to which you want to listen as the screensaver runs by clicking "
               "\"Add File(s)\":");
    EXPECT_TRUE(GetWindowLongA(GetDlgItem(dialog, 1103), GWL_STYLE) & LBS_EXTENDEDSEL);
    EXPECT_TRUE(GetWindowLongA(GetDlgItem(dialog, IDOK), GWL_STYLE) & BS_DEFPUSHBUTTON);
  });
}

// The texts of all tooltips of the thread, by the control that they belong to.
std::vector<std::pair<int, std::string>> Tooltips() {
  std::vector<std::pair<int, std::string>> tips;
  for (const HWND window : WindowsOfThread()) {
    if (ClassOf(window) != TOOLTIPS_CLASSA) continue;
    char text[256] = "";
    TOOLINFOA tool{};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;
    tool.lpszText = text;
    if (!SendMessageA(window, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool))) continue;
    SendMessageA(window, TTM_GETTEXTA, 0, reinterpret_cast<LPARAM>(&tool));
    tips.emplace_back(GetDlgCtrlID(tool.hwnd), text);
  }
  std::sort(tips.begin(), tips.end());
  return tips;
}

TEST_F(CustomMusicDialogTest, FiveControlsHaveTooltipsAsLongAsItIsOpen) {
  Look([](HWND) {
    using Tip = std::pair<int, std::string>;
    EXPECT_THAT(Tooltips(),
                ElementsAre(Tip{3, "Click to add songs to your playlist"},
                            Tip{4, "Click to remove the selected songs from the playlist"},
                            Tip{5, "Click to remove all songs from your playlist"},
                            Tip{1011, "Click to move the selected files up in the play order"},
                            Tip{1012, "Click to move the selected files down in the play order"}));
  });
  EXPECT_THAT(Tooltips(), IsEmpty());
}

TEST_F(CustomMusicDialogTest, RowsShowTheNamesInPlayOrderAndHoldTheFullPaths) {
  WriteList({"C:\\two\\z.mp3", "C:\\one\\a.b.ogg", "\\\\host\\share\\m", "near.wma"});
  Look([this](HWND dialog) {
    EXPECT_THAT(Names(dialog), ElementsAre("z.mp3", "a.b.ogg", "m", "near.wma"));
    EXPECT_THAT(Paths(dialog), ElementsAre("C:\\two\\z.mp3", "C:\\one\\a.b.ogg",
                                           "\\\\host\\share\\m", folder.File("near.wma")));
    EXPECT_EQ(Label(dialog), "4\nFiles");
  });
}

TEST_F(CustomMusicDialogTest, WithoutAPlaylistItStartsEmptyAndSaysNothing) {
  boxes.answer = IDYES;
  Look([this](HWND dialog) {
    EXPECT_THAT(Names(dialog), IsEmpty());
    EXPECT_EQ(Label(dialog), "0\nFiles");
    EXPECT_THAT(boxes.shown, IsEmpty());
  });
}

// --- Removing ---

TEST_F(CustomMusicDialogTest, RemovingRows1And3OfFiveLeavesTheOthers) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    Select(dialog, {1, 3});
    ClickButton(dialog, IDC_REMOVE_SELECTED);
    EXPECT_THAT(Names(dialog), ElementsAre("a.mp3", "c.mp3", "e.mp3"));
    EXPECT_THAT(Paths(dialog), ElementsAre("C:\\m\\a.mp3", "C:\\m\\c.mp3", "C:\\m\\e.mp3"));
    EXPECT_EQ(Label(dialog), "3\nFiles");
  });
}

TEST_F(CustomMusicDialogTest, RemovingNothingChangesNothing) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    ClickButton(dialog, IDC_REMOVE_SELECTED);
    EXPECT_EQ(Names(dialog).size(), 5u);
  });
}

TEST_F(CustomMusicDialogTest, ClearEmptiesTheListWithoutAQuestion) {
  WriteFiveSongs();
  Look([this](HWND dialog) {
    ClickButton(dialog, IDC_CLEAR_LIST);
    EXPECT_THAT(Names(dialog), IsEmpty());
    EXPECT_EQ(Label(dialog), "0\nFiles");
    EXPECT_THAT(boxes.shown, IsEmpty());
  });
}

TEST_F(CustomMusicDialogTest, TheDeleteKeyRemovesWhicheverControlHasTheFocus) {
  WriteFiveSongs();
  script
      .When(kTitle,
            [](HWND dialog) {
              Select(dialog, {0});
              SetForegroundWindow(dialog);
              SetFocus(GetDlgItem(dialog, IDC_MOVE_UP));
              keybd_event(VK_DELETE, 0, 0, 0);
              keybd_event(VK_DELETE, 0, KEYEVENTF_KEYUP, 0);
            })
      .When(
          [] {
            const HWND dialog = FindVisible(kTitle);
            return dialog && Names(dialog).size() < 5 ? dialog : nullptr;
          },
          [this](HWND dialog) {
            EXPECT_THAT(Names(dialog), ElementsAre("b.mp3", "c.mp3", "d.mp3", "e.mp3"));
            EXPECT_EQ(Label(dialog), "4\nFiles");
            boxes.answer = IDYES;
            ClickButton(dialog, IDCANCEL);
          });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDCANCEL);
  EXPECT_EQ(gKeyboardHook, nullptr) << "it takes its hook along";
}

TEST_F(CustomMusicDialogTest, ADeleteForAWindowInFrontOfItRemovesNothing) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    Select(dialog, {0});
    EnableWindow(dialog, FALSE);
    SendMessageA(dialog, WM_KEYDOWN, VK_DELETE, 0);
    EXPECT_EQ(Names(dialog).size(), 5u);
    EnableWindow(dialog, TRUE);
    SendMessageA(dialog, WM_KEYDOWN, VK_BACK, 0);
    EXPECT_EQ(Names(dialog).size(), 5u);
    SendMessageA(dialog, WM_KEYDOWN, VK_DELETE, 0);
    EXPECT_EQ(Names(dialog).size(), 4u);
  });
}

// --- Moving ---

TEST_F(CustomMusicDialogTest, SelectedRowsMoveUpAndStaySelected) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    Select(dialog, {1, 3, 4});
    ClickButton(dialog, IDC_MOVE_UP);
    EXPECT_THAT(Names(dialog), ElementsAre("b.mp3", "a.mp3", "d.mp3", "e.mp3", "c.mp3"));
    EXPECT_THAT(Paths(dialog), ElementsAre("C:\\m\\b.mp3", "C:\\m\\a.mp3", "C:\\m\\d.mp3",
                                           "C:\\m\\e.mp3", "C:\\m\\c.mp3"));
    EXPECT_THAT(Selection(dialog), ElementsAre(0, 2, 3));
    EXPECT_EQ(Label(dialog), "5\nFiles");
  });
}

TEST_F(CustomMusicDialogTest, SelectedRowsMoveDownAndStaySelected) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    Select(dialog, {0, 1, 3});
    ClickButton(dialog, IDC_MOVE_DOWN);
    EXPECT_THAT(Names(dialog), ElementsAre("c.mp3", "a.mp3", "b.mp3", "e.mp3", "d.mp3"));
    EXPECT_THAT(Paths(dialog), ElementsAre("C:\\m\\c.mp3", "C:\\m\\a.mp3", "C:\\m\\b.mp3",
                                           "C:\\m\\e.mp3", "C:\\m\\d.mp3"));
    EXPECT_THAT(Selection(dialog), ElementsAre(1, 2, 4));
  });
}

TEST_F(CustomMusicDialogTest, MovingUpWithTheFirstRowSelectedDoesNothing) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    Select(dialog, {0, 2});
    ClickButton(dialog, IDC_MOVE_UP);
    EXPECT_THAT(Names(dialog), ElementsAre("a.mp3", "b.mp3", "c.mp3", "d.mp3", "e.mp3"));
    EXPECT_THAT(Selection(dialog), ElementsAre(0, 2));
  });
}

TEST_F(CustomMusicDialogTest, MovingDownWithTheLastRowSelectedDoesNothing) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    Select(dialog, {2, 4});
    ClickButton(dialog, IDC_MOVE_DOWN);
    EXPECT_THAT(Names(dialog), ElementsAre("a.mp3", "b.mp3", "c.mp3", "d.mp3", "e.mp3"));
  });
}

TEST_F(CustomMusicDialogTest, MovingWithoutASelectionDoesNothing) {
  WriteFiveSongs();
  Look([](HWND dialog) {
    ClickButton(dialog, IDC_MOVE_UP);
    ClickButton(dialog, IDC_MOVE_DOWN);
    EXPECT_THAT(Names(dialog), ElementsAre("a.mp3", "b.mp3", "c.mp3", "d.mp3", "e.mp3"));
  });
}

// --- Leaving ---

TEST_F(CustomMusicDialogTest, OkWritesTheListAsM3u) {
  WriteFiveSongs();
  script.When(kTitle, [](HWND dialog) {
    Select(dialog, {0, 1, 2});
    ClickButton(dialog, IDC_REMOVE_SELECTED);
    Select(dialog, {1});
    ClickButton(dialog, IDC_MOVE_UP);
    ClickButton(dialog, IDOK);
  });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDOK);
  EXPECT_EQ(ReadList(),
            "#EXTM3U\r\n#EXTINF:-1,e\r\nC:\\m\\e.mp3\r\n#EXTINF:-1,d\r\nC:\\m\\d.mp3\r\n");
  EXPECT_THAT(boxes.shown, IsEmpty());
}

TEST_F(CustomMusicDialogTest, OkWithAnEmptyListDeletesTheFileAndTheNextStartIsEmpty) {
  WriteFiveSongs();
  script.When(kTitle, [](HWND dialog) {
    ClickButton(dialog, IDC_CLEAR_LIST);
    ClickButton(dialog, IDOK);
  });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDOK);
  EXPECT_FALSE(ListExists());
  Look([](HWND dialog) { EXPECT_THAT(Names(dialog), IsEmpty()); });
}

TEST_F(CustomMusicDialogTest, CancelAsksStaysOnNoAndLosesTheChangesOnYes) {
  WriteFiveSongs();
  const std::string before = ReadList();
  script.When(kTitle, [this](HWND dialog) {
    ClickButton(dialog, IDC_CLEAR_LIST);
    boxes.answer = IDNO;
    ClickButton(dialog, IDCANCEL);
    EXPECT_TRUE(IsWindowVisible(dialog));
    boxes.answer = IDYES;
    ClickButton(dialog, IDCANCEL);
  });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDCANCEL);
  ASSERT_EQ(boxes.shown.size(), 2u);
  EXPECT_EQ(boxes.shown[0].text, "Are you sure you want to lose your changes?");
  EXPECT_EQ(boxes.shown[0].title, "Are you sure?");
  EXPECT_EQ(boxes.shown[0].flags, static_cast<UINT>(MB_YESNO));
  EXPECT_EQ(ReadList(), before);
}

TEST_F(CustomMusicDialogTest, CancelAsksEvenIfNothingChanged) {
  Look([](HWND) {});
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_EQ(boxes.shown[0].text, "Are you sure you want to lose your changes?");
}

TEST_F(CustomMusicDialogTest, TheSettingsRecordStaysAsItIs) {
  WriteFiveSongs();
  script.When(kTitle, [](HWND dialog) { ClickButton(dialog, IDOK); });
  script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc);
  EXPECT_EQ(session.settings.CustomMusic, SaverSettings().CustomMusic);
}

// --- Paths of any length ---

std::string PathOfLength(std::size_t length) {
  std::string path = "C:\\";
  while (path.size() + 20 < length) path += "a folder far below\\";
  return path + std::string(length - path.size() - 4, 'n') + ".mp3";
}

TEST_F(CustomMusicDialogTest, APathOf259CharactersIsSaved) {
  WriteList({PathOfLength(259)});
  script.When(kTitle, [](HWND dialog) { ClickButton(dialog, IDOK); });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDOK);
  EXPECT_THAT(ReadList(), HasSubstr(PathOfLength(259) + "\r\n"));
}

TEST_F(CustomMusicDialogTest, LongerPathsAreRefusedSelectedAndCanBeRemoved) {
  WriteList({"C:\\m\\a.mp3", PathOfLength(260), "C:\\m\\b.mp3", PathOfLength(30000)});
  const std::string before = ReadList();
  script.When(kTitle, [&](HWND dialog) {
    ASSERT_EQ(Names(dialog).size(), 4u);
    ClickButton(dialog, IDOK);
    EXPECT_TRUE(IsWindowVisible(dialog));
    EXPECT_EQ(ReadList(), before);
    EXPECT_THAT(Selection(dialog), ElementsAre(1, 3));
    ClickButton(dialog, IDC_REMOVE_SELECTED);
    ClickButton(dialog, IDOK);
  });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDOK);
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_EQ(boxes.shown[0].title, "Error");
  EXPECT_THAT(boxes.shown[0].text, HasSubstr("longer than 259 characters can't be played"));
  EXPECT_THAT(boxes.shown[0].text, HasSubstr("There are 2 in the list"));
  EXPECT_EQ(ReadList(),
            "#EXTM3U\r\n#EXTINF:-1,a\r\nC:\\m\\a.mp3\r\n#EXTINF:-1,b\r\nC:\\m\\b.mp3\r\n");
}

// --- Adding, through the real file dialog ---

class AddingTest : public CustomMusicDialogTest, public testing::WithParamInterface<int> {
 protected:
  AddingTest() {
    OsVersionCode = GetParam();
    songs.Write("one.mp3", BytesOf("1"));
    songs.Write("two.ogg", BytesOf("2"));
    songs.Write("three.txt", BytesOf("3"));
    songs.Write("list.m3u", BytesOf("in.wav\nnotes.txt\nC:\\far\\out.MP3\n"));
    StartIn(songs.Path());
  }
  std::string Song(const char* name) const { return songs.File(name); }

  TempFolder songs;
};

INSTANTIATE_TEST_SUITE_P(Systems, AddingTest, testing::Values(kRecentSystem, kOldSystem),
                         [](const auto& test) {
                           return std::string(test.param < 6 ? "Narrow" : "Wide");
                         });

TEST_P(AddingTest, OneFileBecomesOneRow) {
  WriteList({"C:\\m\\a.mp3"});
  AddByTyping("one.mp3", [this](HWND dialog) {
    EXPECT_THAT(Names(dialog), ElementsAre("a.mp3", "one.mp3"));
    EXPECT_STRCASEEQ(Paths(dialog)[1].c_str(), Song("one.mp3").c_str());
    EXPECT_EQ(Label(dialog), "2\nFiles");
  });
}

TEST_P(AddingTest, AFileOfAnyTypeIsAdded) {
  AddByTyping("three.txt",
              [](HWND dialog) { EXPECT_THAT(Names(dialog), ElementsAre("three.txt")); });
}

TEST_P(AddingTest, SeveralFilesBecomeARowEach) {
  AddByTyping("\"two.ogg\" \"one.mp3\" \"three.txt\"", [this](HWND dialog) {
    EXPECT_THAT(Names(dialog), ElementsAre("two.ogg", "one.mp3", "three.txt"));
    EXPECT_STRCASEEQ(Paths(dialog)[1].c_str(), Song("one.mp3").c_str());
    EXPECT_EQ(Label(dialog), "3\nFiles");
  });
}

TEST_P(AddingTest, APlaylistByItselfGivesAllItsEntries) {
  AddByTyping("list.m3u", [this](HWND dialog) {
    EXPECT_THAT(Names(dialog), ElementsAre("in.wav", "notes.txt", "out.MP3"));
    EXPECT_STRCASEEQ(Paths(dialog)[0].c_str(), Song("in.wav").c_str());
    EXPECT_EQ(Paths(dialog)[2], "C:\\far\\out.MP3");
    EXPECT_EQ(Label(dialog), "3\nFiles");
  });
}

TEST_P(AddingTest, APlaylistInAnotherFolderThanTheOneShownIsFound) {
  const TempFolder elsewhere;
  elsewhere.Write("far.m3u", BytesOf("in.wav\n"));
  AddByTyping(elsewhere.File("far.m3u"), [&](HWND dialog) {
    ASSERT_THAT(Names(dialog), ElementsAre("in.wav"));
    EXPECT_STRCASEEQ(Paths(dialog)[0].c_str(), elsewhere.File("in.wav").c_str());
  });
}

// In a folder whose name the code page can't tell, which is the current one as
// long as the file dialog says so.
class FarFolderTest : public CustomMusicDialogTest {
 protected:
  FarFolderTest() {
    wideStart = WideFromAnsi(folder.Path()) + L"\\\u041c\u0443\u0437\u044b\u043a\u0430";
    CreateDirectoryW(wideStart.c_str(), nullptr);
    Write(L"list.m3u", "C:\\far\\notes.txt\nC:\\far\\out.mp3\n");
    Write(L"one.mp3", "1");
    OpenFileRecordW.lpstrInitialDir = wideStart.c_str();
  }
  ~FarFolderTest() override {
    SetCurrentDirectoryA(formerFolder);
    for (const wchar_t* name : {L"list.m3u", L"one.mp3"}) DeleteFileW(File(name).c_str());
    EXPECT_TRUE(RemoveDirectoryW(wideStart.c_str()));
  }

 private:
  std::wstring File(const wchar_t* name) const { return wideStart + L"\\" + name; }
  void Write(const wchar_t* name, const std::string& text) const {
    const KernelHandle file(CreateFileW(File(name).c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_NEW, 0, nullptr));
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written,
                          nullptr));
  }
};

TEST_F(FarFolderTest, APlaylistIsFoundByItsName) {
  AddByTyping("list.m3u", [](HWND dialog) {
    EXPECT_THAT(Paths(dialog), ElementsAre("C:\\far\\notes.txt", "C:\\far\\out.mp3"));
  });
}

TEST_F(FarFolderTest, APlaylistAmongOtherFilesIsFoundByItsName) {
  AddByTyping("\"one.mp3\" \"list.m3u\"",
              [](HWND dialog) { EXPECT_THAT(Names(dialog), ElementsAre("one.mp3", "out.mp3")); });
}

TEST_F(FarFolderTest, TheUsersOwnListIsNotLookedForInTheCurrentFolder) {
  SetCurrentDirectoryW(wideStart.c_str());
  PlaylistPath = "C:\\not there\\list.m3u";
  Look([](HWND dialog) { EXPECT_THAT(Names(dialog), IsEmpty()); });
}

TEST_P(AddingTest, APlaylistAmongOtherFilesGivesItsMusicAlone) {
  AddByTyping("\"one.mp3\" \"list.m3u\"", [](HWND dialog) {
    EXPECT_THAT(Names(dialog), ElementsAre("one.mp3", "in.wav", "out.MP3"));
  });
}

TEST_P(AddingTest, TheNextTimeStartsInTheSameFolderWithoutAName) {
  AddByTyping("one.mp3", [](HWND) {});
  EXPECT_EQ(OpenFileRecordA.lpstrFile[0], 0);
  EXPECT_EQ(OpenFileRecordW.lpstrFile[0], 0);
  const void* const start = GetParam() < 6
                                ? static_cast<const void*>(OpenFileRecordA.lpstrInitialDir)
                                : static_cast<const void*>(OpenFileRecordW.lpstrInitialDir);
  EXPECT_EQ(start, nullptr);
  char now[MAX_PATH] = "";
  GetCurrentDirectoryA(sizeof now, now);
  EXPECT_STRCASEEQ(now, songs.Path().c_str());
}

TEST_P(AddingTest, ACancelledFileDialogChangesNothing) {
  script.When(kTitle, [](HWND dialog) { PostCommand(dialog, IDC_ADD_FILES); })
      .When(kFileDialogTitle, [](HWND fileDialog) { PostCommand(fileDialog, IDCANCEL); })
      .When(EnabledDialog(), [this](HWND dialog) {
        EXPECT_THAT(Names(dialog), IsEmpty());
        EXPECT_THAT(boxes.shown, IsEmpty());
        boxes.answer = IDYES;
        ClickButton(dialog, IDCANCEL);
      });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDCANCEL);
}

// Answers as a file dialog whose record holds nothing that could be read.
class UnreadableTest : public AddingTest {
 protected:
  void AddAndExpectNoRow() {
    Look([](HWND dialog) {
      ClickButton(dialog, IDC_ADD_FILES);
      EXPECT_THAT(Names(dialog), IsEmpty());
      EXPECT_EQ(Label(dialog), "0\nFiles");
    });
  }

 private:
  AnyHook narrow_ = ANY_HOOK("comdlg32.dll", GetOpenFileNameA,
                             [](OPENFILENAMEA*) -> BOOL { return TRUE; });
  AnyHook wide_ = ANY_HOOK("comdlg32.dll", GetOpenFileNameW,
                           [](OPENFILENAMEW*) -> BOOL { return TRUE; });
};

INSTANTIATE_TEST_SUITE_P(Systems, UnreadableTest, testing::Values(kRecentSystem, kOldSystem));

TEST_P(UnreadableTest, WithoutABufferNoRowIsAdded) {
  OpenFileRecordA.lpstrFile = nullptr;
  OpenFileRecordW.lpstrFile = nullptr;
  AddAndExpectNoRow();
}

TEST_P(UnreadableTest, WithoutATerminatorNoRowIsAdded) {
  std::string narrow(32, 'x');
  std::wstring wide(32, L'x');
  OpenFileRecordA.lpstrFile = narrow.data();
  OpenFileRecordW.lpstrFile = wide.data();
  OpenFileRecordA.nMaxFile = OpenFileRecordW.nMaxFile = 32;
  AddAndExpectNoRow();
}

TEST_P(AddingTest, ANameThatDoesntFitIsReported) {
  HOOK_IMPORT(noMemory, "kernel32.dll", HeapAlloc,
              [](HANDLE, DWORD, SIZE_T) -> void* { return nullptr; });
  OpenFileRecordA.nMaxFile = OpenFileRecordW.nMaxFile = 8;
  AddByTyping("one.mp3", [](HWND dialog) { EXPECT_THAT(Names(dialog), IsEmpty()); });
  ASSERT_GE(boxes.shown.size(), 2u);
  EXPECT_EQ(boxes.shown[0].text, "Error with dialog selection!");
  EXPECT_EQ(boxes.shown[0].title, "Error");
  EXPECT_EQ(boxes.shown[1].text, "Buffer too small");
  EXPECT_EQ(boxes.shown[1].title, "(none)");
  EXPECT_EQ(OpenFileRecordA.lpstrFile[0], 0) << "what is left there would be taken for a name";
  EXPECT_EQ(OpenFileRecordW.lpstrFile[0], 0);
}

HWND ListOf(HWND fileDialog) {
  for (const HWND child : WindowsInside(fileDialog))
    if (ClassOf(child) == WC_LISTVIEWA) return child;
  return nullptr;
}

TEST_P(AddingTest, NamesOfMoreThan1024CharactersThatAreTypedComeWhole) {
  std::string typed;
  for (int i = 0; i < 200; ++i) typed += i % 2 ? "\"two.ogg\" " : "\"one.mp3\" ";
  AddByTyping(typed, [](HWND dialog) { EXPECT_EQ(Names(dialog).size(), 200u); });
}

TEST_P(AddingTest, ASelectionOfMoreThan1024CharactersComesWhole) {
  const TempFolder many;
  std::vector<std::string> expected;
  for (int i = 100; i < 160; ++i) {
    expected.push_back("a song with quite a long name " + std::to_string(i) + ".mp3");
    many.Write(expected.back(), BytesOf("x"));
  }
  StartIn(many.Path());
  script.When(kTitle, [](HWND dialog) { PostCommand(dialog, IDC_ADD_FILES); })
      .When(
          [&]() -> HWND {
            const HWND fileDialog = FindVisible(kFileDialogTitle);
            const HWND list = fileDialog ? ListOf(fileDialog) : nullptr;
            const auto rows = list ? SendMessageA(list, LVM_GETITEMCOUNT, 0, 0) : 0;
            return rows == static_cast<LRESULT>(expected.size()) ? fileDialog : nullptr;
          },
          [&](HWND fileDialog) {
            LVITEMA all{};
            all.stateMask = all.state = LVIS_SELECTED;
            for (WPARAM row = 0; row < expected.size(); ++row)
              SendMessageA(ListOf(fileDialog), LVM_SETITEMSTATE, row,
                           reinterpret_cast<LPARAM>(&all));
            PostCommand(fileDialog, IDOK);
          })
      .When(EnabledDialog(), [&](HWND dialog) {
        std::vector<std::string> names = Names(dialog);
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, expected);
        for (const std::string& path : Paths(dialog))
          EXPECT_NE(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES) << path;
        EXPECT_EQ(Label(dialog), "60\nFiles");
        boxes.answer = IDYES;
        ClickButton(dialog, IDCANCEL);
      });
  EXPECT_EQ(script.Run(IDD_CUSTOM_MUSIC, CustomMusicDialogProc), IDCANCEL);
  EXPECT_GT(GetParam() < 6 ? OpenFileRecordA.nMaxFile : OpenFileRecordW.nMaxFile, 2000u)
      << "the larger buffer stays for the next time";
}

}  // namespace
