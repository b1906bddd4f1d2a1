#include "music/PlaylistReaders.h"

#include "PlaylistFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr std::size_t kHuge = 100'000'000;

class PlayersFile : public ::testing::TestWithParam<PlaylistFile> {};

TEST_P(PlayersFile, GivesItsEntries) {
  const EntryRules rules{.folder = "C:\\lists\\"};
  EXPECT_EQ(Read(GetParam().format, AsText(BytesOfFile(GetParam().path)), rules),
            ExpectedIn(GetParam(), rules.folder));
}

INSTANTIATE_TEST_SUITE_P(Readers, PlayersFile, ::testing::ValuesIn(AllPlaylistFiles()),
                         CaseName);

TEST(PlayersFiles, AreThirtyOrMore) { EXPECT_GE(AllPlaylistFiles().size(), 30u); }

std::string Entry(const std::string& text) { return MakeEntry(text, {.folder = "C:\\lists\\"}); }

TEST(MakeEntry, KeepsFullPathsServerPathsAndAddresses) {
  EXPECT_EQ(Entry("C:\\a.mp3"), "C:\\a.mp3");
  EXPECT_EQ(Entry("\\\\host\\a.mp3"), "\\\\host\\a.mp3");
  EXPECT_EQ(Entry("http://host/a.mp3"), "http://host/a.mp3");
}

TEST(MakeEntry, IsRelativeToTheList) {
  EXPECT_EQ(Entry("a.mp3"), "C:\\lists\\a.mp3");
  EXPECT_EQ(Entry("\\a.mp3"), "C:\\lists\\a.mp3");
  EXPECT_EQ(Entry("/a.mp3"), "C:\\lists\\a.mp3");
  EXPECT_EQ(Entry("//a.mp3"), "C:\\lists\\/a.mp3");
  EXPECT_EQ(Entry(""), "C:\\lists\\");
  EXPECT_EQ(Entry("\\"), "C:\\lists\\");
}

TEST(MakeEntry, ObeysOtherSeparators) {
  const EntryRules rules{.folder = "/lists/", .separator = '/', .altSeparator = '|'};
  EXPECT_EQ(MakeEntry("//host/a", rules), "//host/a");
  EXPECT_EQ(MakeEntry("|a", rules), "/lists/a");
  EXPECT_EQ(MakeEntry("\\\\a", rules), "/lists/\\\\a");
}

std::string Decoded(std::string text) {
  DecodeEntities(text);
  return text;
}

TEST(DecodeEntities, KnowsThreeOfThem) {
  EXPECT_EQ(Decoded("&apos;&quot;&nbsp;"), "'\" ");
  EXPECT_EQ(Decoded("&amp;&lt;&gt;&#39;"), "&amp;&lt;&gt;&#39;");
  EXPECT_EQ(Decoded(""), "");
  EXPECT_EQ(Decoded("plain"), "plain");
}

TEST(DecodeEntities, TellsEntitiesFromWhatLooksLikeThem) {
  EXPECT_EQ(Decoded("&apos;&apos"), "'&apos");
  EXPECT_EQ(Decoded("&APOS;"), "&APOS;");
  EXPECT_EQ(Decoded("&ap&apos;os;"), "&ap'os;");
  EXPECT_EQ(Decoded("&&quot;;"), "&\";");
}

TEST(DecodeEntities, FinishesOneKindBeforeTheNext) {
  // What "&nbsp;" leaves can't become an "&apos;" any more.
  EXPECT_EQ(Decoded("&ap&nbsp;os;"), "&ap os;");
  EXPECT_EQ(Decoded("&quot;&apos;&quot;"), "\"'\"");
}

TEST(ReadM3U, KeepsTheOrderOfTheFile) {
  std::string text;
  std::vector<std::string> wanted;
  for (int i = 0; i < 1000; ++i) {
    text += std::to_string(i * 7919 % 1000) + ".mp3\n";
    wanted.push_back("C:\\lists\\" + std::to_string(i * 7919 % 1000) + ".mp3");
  }
  EXPECT_EQ(Read(kPlaylistM3U, text), wanted);
}

TEST(ReadM3U, DecodesNothing) {
  EXPECT_THAT(Read(kPlaylistM3U, "C:\\&apos;&quot;%20.mp3"),
              ElementsAre("C:\\&apos;&quot;%20.mp3"));
}

TEST(ReadM3U, OfCommentsIsEmpty) {
  EXPECT_THAT(Read(kPlaylistM3U, "#EXTM3U\n#x\n  #y\n"), IsEmpty());
}

TEST(ReadM3U, EndsAtANul) {
  EXPECT_THAT(Read(kPlaylistM3U, std::string("C:\\a\nC:\\b\0c\nC:\\d\n", 17)),
              ElementsAre("C:\\a", "C:\\b"));
}

TEST(ReadPLS, TakesEveryLineWithoutVersion2) {
  EXPECT_THAT(Read(kPlaylistPLS, "[playlist]\nFile1=a.mp3\n#b\n"),
              ElementsAre("C:\\lists\\File1=a.mp3", "C:\\lists\\#b"));
}

TEST(ReadPLS, FindsVersion2AnywhereInAnyCase) {
  EXPECT_THAT(Read(kPlaylistPLS, "vERSION=2\n[playlist]\nFile1=C:\\a\n"), ElementsAre("C:\\a"));
  EXPECT_THAT(Read(kPlaylistPLS, "[playlist]\nFile1=C:\\a\nVersion=2"), ElementsAre("C:\\a"));
}

TEST(ReadPLS, StepsOverHeadingAndItsLineEnd) {
  EXPECT_THAT(Read(kPlaylistPLS, "[playlist]xC:\\a\n"), ElementsAre("C:\\a"));
  EXPECT_THAT(Read(kPlaylistPLS, "[playlist]"), IsEmpty());
  EXPECT_THAT(Read(kPlaylistPLS, "[playlist]\n"), IsEmpty());
}

TEST(ReadPlaystring, KeepsAmpersands) {
  EXPECT_THAT(Read(kPlaylistB4S, "Playstring=\"file:C:\\a &amp; b.mp3\""),
              ElementsAre("C:\\a &amp; b.mp3"));
}

TEST(ReadPlaystring, DecodesOnlyWhenAsked) {
  const std::string text = "Playstring=\"C:\\&apos;.mp3\"";
  EXPECT_THAT(Read(kPlaylistB4S, text), ElementsAre("C:\\'.mp3"));
  EXPECT_THAT(Read(kPlaylistBPL, text, {.folder = "", .decodeEntities = false}),
              ElementsAre("C:\\&apos;.mp3"));
}

TEST(ReadPlaystring, GivesHttpNoSpecialTreatment) {
  EXPECT_THAT(Read(kPlaylistB4S, "Playstring=\"http://h/a\"Playstring=\"file:http://h/b\""),
              ElementsAre("http://h/a", "http://h/b"));
}

TEST(ReadPlaystring, WithoutTheKeyIsEmpty) {
  EXPECT_THAT(Read(kPlaylistB4S, "<entry Play string=\"C:\\a\"/>"), IsEmpty());
}

TEST(ReadPlaystring, GoesOnBehindADecodedValue) {
  EXPECT_THAT(Read(kPlaylistB4S, "Playstring=\"C:\\&apos;&apos;\"Playstring=\"C:\\b\""),
              ElementsAre("C:\\''", "C:\\b"));
}

TEST(ReadAttribute, TakesEveryValueOfTheKey) {
  EXPECT_THAT(Read(kPlaylistASX, "<banner HREF=\"C:\\x.gif\"/><ref hrEF=\"C:\\a.mp3\"/>"),
              ElementsAre("C:\\x.gif", "C:\\a.mp3"));
}

TEST(ReadAttribute, KeepsFileSchemes) {
  EXPECT_THAT(Read(kPlaylistASX, "href=\"file:C:\\a.mp3\""), ElementsAre("file:C:\\a.mp3"));
}

TEST(ReadAttribute, StepsOverQuotesInARow) {
  EXPECT_THAT(Read(kPlaylistWPL, "media src=\"\"\"\"C:\\a\"media src=\"C:\\b\""),
              ElementsAre("C:\\a", "C:\\b"));
}

TEST(ReadEntries, OfAnUnknownFormatFindsNothing) {
  EXPECT_THAT(Read(0, "C:\\a\n"), IsEmpty());
  EXPECT_THAT(Read(7, "C:\\a\n"), IsEmpty());
}

// Each reader on text that tempts it past the end.
class HostileText : public ::testing::TestWithParam<std::int32_t> {};

TEST_P(HostileText, NeverLeadsPastTheEnd) {
  const std::vector<std::string> parts = {
      "", "\"", "\"\"", "\n", " ", "=", "&", "&apos;", "file:", "file", "file1=", "[playlist]",
      "[playlist", "Version=2", "Playstring", "Playstring=\"", "href", "href=\"", "media src",
      "media src=\"", "#", ":", "\\", "\\\\", "/"};
  for (const std::string& a : parts)
    for (const std::string& b : parts)
      for (const std::string& c : parts) {
        // Exactly as long as the text: a step too far is an error here.
        const std::string joined = a + b + c;
        std::vector<char> text(joined.begin(), joined.end());
        text.push_back(0);
        EntryList found;
        ReadEntries(GetParam(), text.data(), {.folder = "C:\\"}, found);
        EXPECT_LE(found.Count(), 3) << joined;
      }
}

TEST_P(HostileText, OfAHundredMegabytesIsRead) {
  const std::string keys = "Version=2 Playstring=\"file: href=\" media src=\"File1=";
  std::string text = keys + std::string(kHuge, 'x');
  EXPECT_LE(Read(GetParam(), text).size(), 1u);
  for (std::size_t i = keys.size(); i + 6 <= text.size(); i += 6) text.replace(i, 6, "&quot;");
  EXPECT_LE(Read(GetParam(), text).size(), 1u);
}

TEST_P(HostileText, GivesEntriesOfAHundredThousandCharacters) {
  const std::string name(100'000, 'n');
  const std::string lines = "C:\\" + name + "\nFile1=C:\\" + name + "\nVersion=2\n";
  const std::string quoted = "Playstring=\"C:\\" + name + "\" href=\"C:\\" + name +
                             "\" media src=\"C:\\" + name + "\"";
  const bool ofLines = GetParam() == kPlaylistM3U || GetParam() == kPlaylistPLS;
  EXPECT_THAT(Read(GetParam(), ofLines ? lines : quoted), ::testing::Contains("C:\\" + name));
}

INSTANTIATE_TEST_SUITE_P(Readers, HostileText, ::testing::Range(1, 7));

}  // namespace
