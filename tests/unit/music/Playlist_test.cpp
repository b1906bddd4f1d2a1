#include "music/Playlist.h"

#include "PlaylistFiles.h"
#include "base/win_owned.h"
#include "support/TempFolder.h"
#ifdef _WIN32
#include "support/DoubleByteCodePage.h"
#endif

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using support::BytesOf;

namespace {

#ifdef _WIN32
constexpr char kSlash = '\\';
void UseSystemSeparators(Playlist&) {}
#else
constexpr char kSlash = '/';
void UseSystemSeparators(Playlist& list) {
  list.SetSeparator('/');
  list.SetAltSeparator('\\');
}
#endif

class PlaylistTest : public ::testing::Test {
 protected:
  PlaylistTest() { UseSystemSeparators(list_); }

  // The entry of a list in this test's folder for the relative name `name`.
  std::string In(const std::string& name) const { return folder_.File(name); }
  std::string Write(const std::string& name, const std::string& text) const {
    return folder_.Write(name, BytesOf(text));
  }
  bool Load(const std::string& name, const std::string& text) {
    return list_.Load(Write(name, text).c_str());
  }

  support::TempFolder folder_;
  Playlist list_;
};

std::vector<std::string> Entries(const Playlist& list) {
  std::vector<std::string> entries;
  for (std::int32_t i = 0; i < list.GetCount(); ++i) entries.push_back(list.GetEntry(i));
  return entries;
}

// What lies in a folder, in the order of the alphabet.
std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

void Add(Playlist& list, const std::vector<const char*>& texts) {
  list.AddEntries(texts.data(), static_cast<std::int32_t>(texts.size()));
}

TEST_F(PlaylistTest, StartsEmpty) {
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_EQ(list_.GetFormat(), 0);
  EXPECT_EQ(list_.GetLastError(), 0);
  EXPECT_EQ(list_.GetEntry(0), nullptr);
  EXPECT_EQ(Playlist().GetSeparator(), 92);
}

TEST_F(PlaylistTest, LoadsTheEntriesOfAFile) {
  EXPECT_TRUE(Load("a.m3u", "#EXTM3U\nx.mp3\nsub/y.mp3\n"));
  EXPECT_THAT(Entries(list_), ElementsAre(In("x.mp3"), In("sub/y.mp3")));
  EXPECT_EQ(list_.GetFormat(), kPlaylistM3U);
  EXPECT_EQ(list_.GetPath(), In("a.m3u"));
  EXPECT_EQ(list_.GetFolder(), folder_.Path() + kSlash);
}

TEST_F(PlaylistTest, LoadsInItsConstructor) {
  const Playlist list(Write("a.m3u", "C:\\x.mp3\n").c_str());
  EXPECT_THAT(Entries(list), ElementsAre("C:\\x.mp3"));
}

TEST_F(PlaylistTest, AMissingFileLeavesThePathAndNoEntries) {
  Add(list_, {"C:\\old.mp3"});
  EXPECT_FALSE(list_.Load(In("none.m3u").c_str()));
  EXPECT_EQ(list_.GetPath(), In("none.m3u"));
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_EQ(list_.GetLastError(), 3);
}

TEST_F(PlaylistTest, ANullNameIsError1) {
  EXPECT_FALSE(list_.Load(nullptr));
  EXPECT_EQ(list_.GetLastError(), 1);
  EXPECT_EQ(list_.GetPath(), "");
}

TEST_F(PlaylistTest, ANameTooLongForAFullPathIsError2) {
  EXPECT_FALSE(list_.Load(std::string(5000, 'a').c_str()));
  EXPECT_EQ(list_.GetLastError(), 2);
}

TEST_F(PlaylistTest, AFolderIsNoList) {
  EXPECT_FALSE(list_.Load(folder_.MakeFolder("sub.m3u").c_str()));
  EXPECT_EQ(list_.GetLastError(), 3);
}

TEST_F(PlaylistTest, AGoodLoadForgetsTheErrorBefore) {
  list_.Load(nullptr);
  EXPECT_TRUE(Load("a.m3u", "C:\\a\n"));
  EXPECT_EQ(list_.GetLastError(), 0);
}

TEST_F(PlaylistTest, AFileOfCommentsIsReadWithoutEntries) {
  EXPECT_TRUE(Load("a.m3u", "#EXTM3U\n#EXTINF:1,x\n"));
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_EQ(list_.GetLastError(), 0);
}

TEST_F(PlaylistTest, AnEmptyFileIsReadWithoutEntries) {
  EXPECT_TRUE(Load("a.b4s", ""));
  EXPECT_EQ(list_.GetCount(), 0);
}

TEST_F(PlaylistTest, ASecondLoadReplacesTheFirst) {
  Load("a.m3u", "C:\\a\nC:\\b\n");
  EXPECT_TRUE(Load("b.pls", "[playlist]\nFile1=C:\\c\nVersion=2"));
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\c"));
  EXPECT_EQ(list_.GetFormat(), kPlaylistPLS);
}

TEST_F(PlaylistTest, ALoadReplacesAddedEntries) {
  Add(list_, {"C:\\old.mp3"});
  Load("a.m3u", "C:\\a\n");
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\a"));
}

TEST_F(PlaylistTest, TheExtensionDecidesInAnyCase) {
  const std::string text = "Playstring=\"C:\\b4s\"href=\"C:\\asx\"media src=\"C:\\wpl\"";
  Load("x.B4S", text);
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\b4s"));
  Load("x.aSx", text);
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\asx"));
  Load("x.wpl", text);
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\wpl"));
  Load("x.bpl", text);
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\b4s"));
  EXPECT_EQ(list_.GetFormat(), kPlaylistBPL);
  Load("x.m3u", text);
  EXPECT_THAT(Entries(list_), ElementsAre(text));
}

TEST_F(PlaylistTest, AnUnknownExtensionTakesTheDefaultFormat) {
  Load("a.txt", "C:\\a\n");
  EXPECT_EQ(list_.GetFormat(), kPlaylistM3U);
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\a"));
  list_.SetDefaultFormat(kPlaylistASX);
  Load("list", "href=\"C:\\b\"");
  EXPECT_EQ(list_.GetFormat(), kPlaylistASX);
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\b"));
}

TEST_F(PlaylistTest, ALongExtensionIsTakenWhole) {
  Load("a.plsx", "C:\\a\n");
  EXPECT_EQ(list_.GetFormat(), kPlaylistM3U);
  list_.SetExtensionSize(2);
  Load("a.pls", "C:\\a\n");
  EXPECT_EQ(list_.GetFormat(), kPlaylistPLS);
}

TEST_F(PlaylistTest, ADotInTheFolderIsNoExtension) {
  folder_.MakeFolder("dir.pls");
  Load(std::string("dir.pls") + kSlash + "list", "C:\\a\n");
  EXPECT_EQ(list_.GetFormat(), kPlaylistM3U);
}

TEST_F(PlaylistTest, EntitiesStayIfAskedFor) {
  list_.SetDecodeEntities(false);
  Load("a.wpl", "media src=\"C:\\&apos;\"");
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\&apos;"));
}

TEST_F(PlaylistTest, EntriesOutsideTheListAreNull) {
  Add(list_, {"a", "b"});
  EXPECT_STREQ(list_.GetEntry(1), "b");
  EXPECT_EQ(list_.GetEntry(-1), nullptr);
  EXPECT_EQ(list_.GetEntry(2), nullptr);
}

TEST_F(PlaylistTest, SetEntryOverwritesWhatIsThere) {
  Add(list_, {"a", "b"});
  list_.SetEntry(1, "c");
  list_.SetEntry(-1, "x");
  list_.SetEntry(2, "x");
  list_.SetEntry(0, nullptr);
  EXPECT_THAT(Entries(list_), ElementsAre("a", "c"));
}

TEST_F(PlaylistTest, AddEntriesAppendsInOrder) {
  Add(list_, {"a"});
  Add(list_, {"b", "c"});
  EXPECT_THAT(Entries(list_), ElementsAre("a", "b", "c"));
}

TEST_F(PlaylistTest, AddEntriesOfNothingChangesNothing) {
  const char* text = "x";
  Add(list_, {"a"});
  list_.AddEntries(nullptr, 3);
  list_.AddEntries(&text, 0);
  list_.AddEntries(&text, -1);
  EXPECT_THAT(Entries(list_), ElementsAre("a"));
}

TEST_F(PlaylistTest, ANullAmongTheEntriesIsAnEmptyOne) {
  Add(list_, {"a", nullptr, "c"});
  EXPECT_THAT(Entries(list_), ElementsAre("a", "", "c"));
}

TEST_F(PlaylistTest, ClearForgetsAll) {
  Load("a.m3u", "C:\\a\n");
  list_.Clear();
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_EQ(list_.GetFormat(), 0);
  EXPECT_EQ(list_.GetPath(), "");
  EXPECT_EQ(list_.GetFolder(), "");
  EXPECT_EQ(list_.GetEntry(0), nullptr);
}

// --- Shuffle ---

TEST_F(PlaylistTest, ShuffleExchangesEachEntryWithARandomOne) {
  std::vector<std::string> wanted = {"a", "b", "c", "d", "e", "f", "g"};
  Add(list_, {"a", "b", "c", "d", "e", "f", "g"});
  list_.Shuffle(4711, 3);
  std::srand(4711);
  for (int pass = 0; pass < 3; ++pass)
    for (std::size_t i = 0; i < 7; ++i)
      std::swap(wanted[i], wanted[static_cast<std::size_t>(std::rand() % 7)]);
  EXPECT_EQ(Entries(list_), wanted);
}

TEST_F(PlaylistTest, ShuffleWithTheSameSeedGivesTheSameOrder) {
  Playlist other;
  for (Playlist* list : {&list_, &other}) {
    Add(*list, {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"});
    list->Shuffle(99, 50);
  }
  EXPECT_EQ(Entries(list_), Entries(other));
  EXPECT_THAT(Entries(list_),
              ::testing::UnorderedElementsAre("a", "b", "c", "d", "e", "f", "g", "h", "i", "j"));
}

TEST_F(PlaylistTest, ShuffleSeedsTheGeneratorEvenWithoutPasses) {
  Add(list_, {"a", "b"});
  std::srand(12);
  const int first = std::rand();
  list_.Shuffle(12, 0);
  EXPECT_EQ(std::rand(), first);
  EXPECT_THAT(Entries(list_), ElementsAre("a", "b"));
}

TEST_F(PlaylistTest, OneEntryOrNoneSurvivesAShuffle) {
  list_.Shuffle(1, 50);
  EXPECT_EQ(list_.GetCount(), 0);
  Add(list_, {"a"});
  list_.Shuffle(1, 50);
  EXPECT_THAT(Entries(list_), ElementsAre("a"));
}

// --- Save ---

TEST_F(PlaylistTest, SavesM3U) {
  Add(list_, {"C:\\Music\\One Song.mp3", "\\\\nas\\two.x.ogg", "three"});
  ASSERT_TRUE(list_.Save(In("out.m3u").c_str(), kPlaylistM3U));
  EXPECT_EQ(AsText(BytesOfFile(In("out.m3u"))),
            "#EXTM3U\n"
            "#EXTINF:-1,One Song\nC:\\Music\\One Song.mp3\n"
            "#EXTINF:-1,two.x\n\\\\nas\\two.x.ogg\n"
            "#EXTINF:-1,three\nthree\n");
}

TEST_F(PlaylistTest, SavesPLS) {
  Add(list_, {"C:\\a.mp3", "http://host/b.ogg"});
  ASSERT_TRUE(list_.Save(In("out.pls").c_str(), kPlaylistPLS));
  EXPECT_EQ(AsText(BytesOfFile(In("out.pls"))),
            "[playlist]\nPlaylistName=Tarnwick playlist\n"
            "File1=C:\\a.mp3\nTitle1=a\n"
            "File2=http://host/b.ogg\nTitle2=b\n"
            "NumberOfEntries=2\nVersion=2");
}

TEST_F(PlaylistTest, WhatIsSavedReadsBackTheSame) {
  const std::string longName = "C:\\" + std::string(100'000, 'x') + ".mp3";
  Add(list_, {"C:\\a.mp3", "\\\\nas\\b.mp3", "http://h/c", longName.c_str(), "C:\\%s%n.mp3"});
  for (const auto& [name, format] :
       {std::pair("x.m3u", kPlaylistM3U), std::pair("x.pls", kPlaylistPLS)}) {
    ASSERT_TRUE(list_.Save(In(name).c_str(), format));
    const Playlist back(In(name).c_str());
    EXPECT_EQ(Entries(back), Entries(list_)) << name;
  }
}

TEST_F(PlaylistTest, SavesNoOtherFormatAndWritesNothing) {
  Add(list_, {"C:\\a"});
  for (const std::int32_t format : {-1, 0, 2, 4, 5, 6, 7})
    EXPECT_FALSE(list_.Save(In("out.b4s").c_str(), format)) << format;
  EXPECT_FALSE(std::filesystem::exists(In("out.b4s")));
}

TEST_F(PlaylistTest, ReadsWhatItDoesNotWrite) {
  EXPECT_TRUE(Load("a.b4s", "Playstring=\"C:\\a\""));
  EXPECT_FALSE(list_.Save(In("b.b4s").c_str(), list_.GetFormat()));
}

TEST_F(PlaylistTest, AnEmptyListOrNoNameIsNotSaved) {
  EXPECT_FALSE(list_.Save(In("out.m3u").c_str(), kPlaylistM3U));
  EXPECT_FALSE(std::filesystem::exists(In("out.m3u")));
  Add(list_, {"C:\\a"});
  EXPECT_FALSE(list_.Save(nullptr, kPlaylistM3U));
}

TEST_F(PlaylistTest, SavingWhereNoFileCanBeIsFalse) {
  Add(list_, {"C:\\a"});
  EXPECT_FALSE(list_.Save((In("no folder") + kSlash + "out.m3u").c_str(), kPlaylistM3U));
}

TEST_F(PlaylistTest, ASaveThatFailsLeavesNothingBeside) {
  Add(list_, {"C:\\a"});
  folder_.MakeFolder("taken.m3u");
  EXPECT_FALSE(list_.Save(In("taken.m3u").c_str(), kPlaylistM3U));
  EXPECT_THAT(NamesIn(folder_.Path()), ElementsAre("taken.m3u"));
}

TEST_F(PlaylistTest, ASaveTouchesNoFileButItsOwn) {
  const std::string others[] = {"out.m3u.tmp", "out.tmp", "vel.tmp", "0.vel.tmp", "out.m3u.part"};
  for (const std::string& other : others) Write(other, "other");
  Add(list_, {"C:\\a"});
  for (int times = 0; times < 3; ++times)
    ASSERT_TRUE(list_.Save(In("out.m3u").c_str(), kPlaylistM3U));
  for (const std::string& other : others) EXPECT_EQ(BytesOfFile(In(other)), "other");
  EXPECT_EQ(NamesIn(folder_.Path()).size(), std::size(others) + 1);
}

#ifdef _WIN32
TEST_F(PlaylistTest, AListThatCannotBeReplacedStaysWhole) {
  Add(list_, {"C:\\a"});
  ASSERT_TRUE(list_.Save(In("out.m3u").c_str(), kPlaylistM3U));
  Add(list_, {"C:\\b"});
  {
    const KernelHandle held = OwnFile(CreateFileA(
        In("out.m3u").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    EXPECT_FALSE(list_.Save(In("out.m3u").c_str(), kPlaylistM3U));
  }
  EXPECT_EQ(Playlist(In("out.m3u").c_str()).GetCount(), 1);
  EXPECT_THAT(NamesIn(folder_.Path()), ElementsAre("out.m3u"));
}
#endif

#ifdef _WIN32
// The move to such a name stands for what a system with that code page does.
TEST_F(PlaylistTest, AListIsSavedUnderANameThatHoldsTheByteOfABackslash) {
  const support::DoubleByteCodePage codePage;
  HOOK_IMPORT(move, "kernel32.dll", MoveFileExA, [&](LPCSTR from, LPCSTR to, DWORD flags) -> BOOL {
    EXPECT_EQ(to, In("\xB3\\.M3U"));
    return REAL_IMPORT("kernel32.dll", MoveFileExA)(from, In("moved.m3u").c_str(), flags);
  });
  Add(list_, {"C:\\\xB3\\.mp3"});
  EXPECT_TRUE(list_.Save(In("\xB3\\.M3U").c_str(), kPlaylistM3U));
  EXPECT_EQ(AsText(BytesOfFile(In("moved.m3u"))),
            "#EXTM3U\n#EXTINF:-1,\xB3\\\nC:\\\xB3\\.mp3\n");
}

TEST_F(PlaylistTest, ItsFolderEndsWithABackslashAndNotWithTheByteOfOne) {
  const support::DoubleByteCodePage codePage;
  folder_.MakeFolder("\xB3");  // where this system looks for the name
  EXPECT_TRUE(Load("\xB3\\.m3u", "x.mp3\n"));
  EXPECT_THAT(Entries(list_), ElementsAre(In("x.mp3")));
}
#endif

// Sets the current folder for one test.
class CurrentFolder {
 public:
  explicit CurrentFolder(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~CurrentFolder() { std::filesystem::current_path(before_); }

 private:
  std::filesystem::path before_;
};

TEST_F(PlaylistTest, ABareNameIsSavedInTheCurrentFolder) {
  folder_.MakeFolder("sub");
  Add(list_, {"C:\\a"});
  const CurrentFolder here(folder_.Path());
  EXPECT_TRUE(list_.Save("bare.m3u", kPlaylistM3U));
  EXPECT_TRUE(std::filesystem::exists(In("bare.m3u")));
  EXPECT_TRUE(list_.Save((std::string("sub") + kSlash + "b.m3u").c_str(), kPlaylistM3U));
  EXPECT_TRUE(std::filesystem::exists(In("sub") + kSlash + "b.m3u"));
}

// The full path, that is; its last part alone wouldn't be too long.
TEST_F(PlaylistTest, ABareNameIsSavedIfItsFullPathHasAtMost259Characters) {
  Add(list_, {"C:\\a"});
  const std::string here = folder_.MakeFolder(std::string(60, 'f'));
  const CurrentFolder current(here);
  const std::string longest(259 - here.size() - 1, 'a');
  EXPECT_TRUE(list_.Save(longest.c_str(), kPlaylistM3U));
  EXPECT_FALSE(list_.Save((longest + "a").c_str(), kPlaylistM3U));
  EXPECT_THAT(NamesIn(here), ElementsAre(longest));
}

TEST_F(PlaylistTest, AFullPathMayBeAsLong) {
  Add(list_, {"C:\\a"});
  // The deeper the folder, the less room beside the list.
  for (const std::size_t length : {100u, 248u, 258u}) {
    const std::string name(length - folder_.Path().size() - 2, 'f');
    const std::string here = folder_.MakeFolder(name) + kSlash;
    const std::string longest(259 - length, 'a');
    EXPECT_TRUE(list_.Save((here + longest).c_str(), kPlaylistM3U)) << length;
    EXPECT_THAT(NamesIn(here), ElementsAre(longest)) << length;
  }
}

TEST_F(PlaylistTest, AShortRoomMayBeTakenUpByOthers) {
  Add(list_, {"C:\\a"});
  const std::string name(256 - folder_.Path().size(), 'f');
  folder_.MakeFolder(name);
  for (const char* other : {"0", "1", "2"}) Write(name + kSlash + other, "other");
  EXPECT_TRUE(list_.Save(In(name + kSlash + "a").c_str(), kPlaylistM3U));
  EXPECT_THAT(NamesIn(In(name)), ElementsAre("0", "1", "2", "a"));
  EXPECT_EQ(BytesOfFile(In(name + kSlash + "0")), "other");
}

TEST_F(PlaylistTest, ARelativeNameIsLoadedFromTheCurrentFolder) {
  Write("a.m3u", "x.mp3\n");
  const CurrentFolder here(folder_.Path());
  EXPECT_TRUE(list_.Load("a.m3u"));
  EXPECT_THAT(Entries(list_), ElementsAre(In("x.mp3")));
}

// --- Hostile files ---

TEST_F(PlaylistTest, AFileOfAHundredMegabytesIsRead) {
  std::string text;
  text.reserve(100'000'100);
  const std::string line = "C:\\" + std::string(996, 'x') + "\n";
  while (text.size() < 100'000'000) text += line;
  EXPECT_TRUE(Load("a.m3u", text));
  EXPECT_EQ(list_.GetCount(), 100'000);
  EXPECT_EQ(std::string(list_.GetEntry(99'999)) + "\n", line);
}

TEST_F(PlaylistTest, NulsEndTheText) {
  EXPECT_TRUE(Load("a.m3u", std::string("C:\\a\n\0C:\\b\n", 11)));
  EXPECT_THAT(Entries(list_), ElementsAre("C:\\a"));
  EXPECT_TRUE(Load("b.m3u", std::string(1000, '\0')));
  EXPECT_EQ(list_.GetCount(), 0);
}

#ifdef _WIN32
class PlayersFileOnDisk : public ::testing::TestWithParam<PlaylistFile> {};

TEST_P(PlayersFileOnDisk, GivesItsEntries) {
  const Playlist list(GetParam().path.string().c_str());
  EXPECT_EQ(Entries(list), ExpectedIn(GetParam(), list.GetFolder()));
  EXPECT_EQ(list.GetFormat(), GetParam().format);
}

INSTANTIATE_TEST_SUITE_P(Playlist, PlayersFileOnDisk, ::testing::ValuesIn(AllPlaylistFiles()),
                         CaseName);
#endif

}  // namespace
