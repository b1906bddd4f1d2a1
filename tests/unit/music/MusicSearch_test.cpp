#include "music/MusicSearch.h"

#include "base/win.h"
#include "music/Playlist.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <io.h>
#include <shlobj.h>
#include <stdexcept>
#include <string_view>
#include <utility>

using ::testing::ElementsAre;

namespace {

std::vector<std::string> Entries(const Playlist& list) {
  std::vector<std::string> entries;
  for (std::int32_t i = 0; i < list.GetCount(); ++i) entries.push_back(list.GetEntry(i));
  return entries;
}

class MusicSearchTest : public ::testing::Test {
 protected:
  void Put(const std::string& name) const { folder_.Write(name, {}); }

  support::TempFolder folder_;
  Playlist list_;
};

TEST_F(MusicSearchTest, GroupsAFoldersFilesByKind) {
  for (const char* name :
       {"f.mp2", "e.mp3", "d.asf", "c.wma", "b.ogg", "a.wav", "no.txt", "no.m3u"})
    Put(name);
  EXPECT_TRUE(SearchFolderForMusic(folder_.Path().c_str(), list_));
  EXPECT_THAT(Entries(list_),
              ElementsAre(folder_.File("a.wav"), folder_.File("b.ogg"), folder_.File("c.wma"),
                          folder_.File("d.asf"), folder_.File("e.mp3"), folder_.File("f.mp2")));
}

TEST_F(MusicSearchTest, PutsSubfoldersBeforeTheirParent) {
  folder_.MakeFolder("sub");
  folder_.MakeFolder("sub\\deep");
  for (const char* name : {"top.mp3", "sub\\middle.mp3", "sub\\deep\\bottom.mp3"}) Put(name);
  EXPECT_TRUE(SearchFolderForMusic(folder_.Path().c_str(), list_));
  EXPECT_THAT(Entries(list_),
              ElementsAre(folder_.File("sub\\deep\\bottom.mp3"), folder_.File("sub\\middle.mp3"),
                          folder_.File("top.mp3")));
}

TEST_F(MusicSearchTest, LeavesFoldersWithADotOut) {
  folder_.MakeFolder(".hidden");
  Put(".hidden\\a.mp3");
  EXPECT_FALSE(SearchFolderForMusic(folder_.Path().c_str(), list_));
  EXPECT_EQ(list_.GetCount(), 0);
}

TEST_F(MusicSearchTest, AppendsToWhatIsThere) {
  const char* first = "C:\\first.mp3";
  list_.AddEntries(&first, 1);
  Put("a.ogg");
  EXPECT_TRUE(SearchFolderForMusic(folder_.Path().c_str(), list_));
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\first.mp3", folder_.File("a.ogg")));
}

TEST_F(MusicSearchTest, FindingNothingIsFalse) {
  EXPECT_FALSE(SearchFolderForMusic(folder_.Path().c_str(), list_));
  EXPECT_FALSE(SearchFolderForMusic(folder_.File("missing").c_str(), list_));
  EXPECT_FALSE(SearchFolderForMusic(nullptr, list_));
}

TEST_F(MusicSearchTest, AFindInASubfolderIsAFind) {
  folder_.MakeFolder("sub");
  Put("sub\\a.wma");
  EXPECT_TRUE(SearchFolderForMusic(folder_.Path().c_str(), list_));
}

// As with two links to a folder above: each folder holds two more, as deep as a
// path can be.
TEST_F(MusicSearchTest, EndsInATreeWithoutEndAndKeepsWhatItHasFound) {
  int folders = 0;
  std::vector<const char*> next;  // what each listing gives after its first entry
  const auto give = [](_finddata_t* entry, const char* name) {
    entry->attrib = _A_SUBDIR;
    std::strcpy(entry->name, name);
  };
  HOOK_IMPORT(first, "msvcrt.dll", _findfirst,
              [&](const char* pattern, _finddata_t* entry) -> std::intptr_t {
                const std::string_view text = pattern;
                const bool isMusic = text == "C:\\x\\*.mp3";
                if (!isMusic && (!text.ends_with("*.*") || text.size() >= MAX_PATH)) return -1;
                if (++folders > 200'000) throw std::runtime_error("there is no end to it");
                give(entry, isMusic ? "top.mp3" : "a");
                next.push_back(isMusic ? nullptr : "b");
                return static_cast<std::intptr_t>(next.size() - 1);
              });
  HOOK_IMPORT(second, "msvcrt.dll", _findnext,
              [&](std::intptr_t listing, _finddata_t* entry) -> int {
                const char* name = std::exchange(next[static_cast<std::size_t>(listing)], nullptr);
                if (!name) return -1;
                give(entry, name);
                return 0;
              });
  HOOK_IMPORT(close, "msvcrt.dll", _findclose, [](std::intptr_t) { return 0; });
  EXPECT_TRUE(SearchFolderForMusic("C:\\x", list_));
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\x\\top.mp3"));
  EXPECT_GT(folders, 10'000);
}

TEST_F(MusicSearchTest, SearchesTheUsersDocuments) {
  Put("a.ogg");
  HOOK_IMPORT(documents, "shell32.dll", SHGetSpecialFolderPathA,
              [&](HWND, LPSTR path, int which, WINBOOL create) -> WINBOOL {
                EXPECT_EQ(which, 5);
                EXPECT_FALSE(create);
                std::strcpy(path, folder_.Path().c_str());
                return TRUE;
              });
  EXPECT_TRUE(SearchMyDocuments(list_));
  EXPECT_THAT(Entries(list_), ElementsAre(folder_.File("a.ogg")));
}

TEST_F(MusicSearchTest, WithoutADocumentsFolderFindsNothing) {
  HOOK_IMPORT(documents, "shell32.dll", SHGetSpecialFolderPathA,
              [](HWND, LPSTR, int, WINBOOL) -> WINBOOL { return FALSE; });
  EXPECT_FALSE(SearchMyDocuments(list_));
}

}  // namespace
