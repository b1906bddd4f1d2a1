#include "ui/OpenFileRecords.h"

#include "support/ImportHook.h"
#include "support/SessionState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <shlobj.h>
#include <string>
#include <vector>

namespace {

const std::vector<std::string> kFilterTexts = {
    "All files (*.*)", "*.*",
    "All supported types",
    "*.mp2;*.mp3;*.wav;*.ogg;*.wma;*.asf;*.m3u;*.pls;*.b4s;*.bpl;*.asx;*.wpl",
    "ASF (*.asf)", "*.asf",
    "MPEG Audio (*.mp2,*.mp3)", "*.mp2;*.mp3",
    "Vorbis files (*.ogg)", "*.ogg",
    "WAV (*.wav)", "*.wav",
    "WMA (*.wma)", "*.wma",
    "ASX Playlist (*.asx)", "*.asx",
    "B4S Playlist (*.b4s)", "*.b4s",
    "BPL Playlist (*.bpl)", "*.bpl",
    "M3U Playlist (*.m3u)", "*.m3u",
    "PLS Playlist (*.pls)", "*.pls",
    "WPL Playlist (*.wpl)", "*.wpl",
};

// The texts of a list that a second NUL ends.
template <class Char>
std::vector<std::string> ListOf(const Char* list) {
  std::vector<std::string> texts;
  while (*list) {
    const std::basic_string<Char> text = list;
    texts.emplace_back(text.begin(), text.end());
    list += text.size() + 1;
  }
  return texts;
}

class OpenFileRecords : public testing::Test {
 protected:
  support::SessionState session;
  HWND owner = reinterpret_cast<HWND>(0x1234);
};

template <class Record>
void ExpectCommonFields(const Record& record, HWND owner) {
  EXPECT_EQ(record.lStructSize, 76u);
  EXPECT_EQ(sizeof record, 76u);
  EXPECT_EQ(record.hwndOwner, owner);
  EXPECT_EQ(record.nMaxFile, 1024u);
  ASSERT_NE(record.lpstrFile, nullptr);
  EXPECT_EQ(record.lpstrFile[0], 0);
  EXPECT_EQ(record.nFilterIndex, 2u);
  EXPECT_EQ(record.lCustData, reinterpret_cast<LPARAM>(&record));
  EXPECT_EQ(ListOf(record.lpstrFilter), kFilterTexts);
}

TEST_F(OpenFileRecords, BothAreVersion4RecordsWithTheirFilters) {
  PrepareOpenFileRecords(owner);
  ExpectCommonFields(OpenFileRecordA, owner);
  ExpectCommonFields(OpenFileRecordW, owner);
  EXPECT_STREQ(OpenFileRecordA.lpstrTitle, "Select a song or playlist");
  EXPECT_STREQ(OpenFileRecordW.lpstrTitle, L"Select a song or playlist");
}

TEST_F(OpenFileRecords, AskForExistingFilesSeveralAtOnce) {
  PrepareOpenFileRecords(owner);
  EXPECT_EQ(OpenFileRecordA.Flags, 0x81a24u);
  EXPECT_EQ(OpenFileRecordW.Flags, 0x81a24u);
}

TEST_F(OpenFileRecords, BothHaveTheHookThatGrowsTheirBuffers) {
  PrepareOpenFileRecords(owner);
  EXPECT_EQ(OpenFileRecordA.lpfnHook, &OpenFileHookProc);
  EXPECT_EQ(OpenFileRecordW.lpfnHook, &OpenFileHookProc);
}

// Answers for one special folder and fails for all others.
auto OnlyFolder(int wanted, const char* path) {
  return support::HookImport<decltype(&SHGetSpecialFolderPathA)>(
      "shell32.dll", "SHGetSpecialFolderPathA",
      [wanted, path](HWND, LPSTR to, int folder, BOOL create) -> BOOL {
        EXPECT_FALSE(create);
        if (folder != wanted) return FALSE;
        std::strcpy(to, path);
        return TRUE;
      });
}

TEST_F(OpenFileRecords, TheWideOneStartsInTheMusicFolder) {
  OsVersionCode = 6;
  const auto hook = OnlyFolder(CSIDL_MYMUSIC, "C:\\My Music");
  PrepareOpenFileRecords(owner);
  ASSERT_NE(OpenFileRecordW.lpstrInitialDir, nullptr);
  EXPECT_STREQ(OpenFileRecordW.lpstrInitialDir, L"C:\\My Music");
  EXPECT_EQ(OpenFileRecordA.lpstrInitialDir, nullptr);
}

TEST_F(OpenFileRecords, WithoutAMusicFolderItStartsInTheDocuments) {
  OsVersionCode = 10;
  const auto hook = OnlyFolder(CSIDL_PERSONAL, "C:\\Docs \xE4");
  PrepareOpenFileRecords(owner);
  ASSERT_NE(OpenFileRecordW.lpstrInitialDir, nullptr);
  EXPECT_STREQ(OpenFileRecordW.lpstrInitialDir, L"C:\\Docs \x00E4");
}

TEST_F(OpenFileRecords, WithoutAnyFolderTheSystemChooses) {
  OsVersionCode = 10;
  const auto hook = OnlyFolder(-1, "");
  PrepareOpenFileRecords(owner);
  EXPECT_EQ(OpenFileRecordW.lpstrInitialDir, nullptr);
}

TEST_F(OpenFileRecords, AnOldSystemChoosesByItself) {
  OsVersionCode = 5;
  const auto hook = OnlyFolder(CSIDL_MYMUSIC, "C:\\My Music");
  PrepareOpenFileRecords(owner);
  EXPECT_EQ(OpenFileRecordW.lpstrInitialDir, nullptr);
}

}  // namespace
