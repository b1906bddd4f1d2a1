#include "base/FindNoCase.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

// Place of the hit, -1 for none.
int Place(const char* haystack, const char* needle) {
  const char* hit = FindNoCase(haystack, needle);
  return hit ? static_cast<int>(hit - haystack) : -1;
}
int Place(const wchar_t* haystack, const wchar_t* needle) {
  const wchar_t* hit = FindNoCase(haystack, needle);
  return hit ? static_cast<int>(hit - haystack) : -1;
}

TEST(FindNoCase, FindsTheFirstPlace) {
  EXPECT_EQ(Place("abcabc", "bc"), 1);
  EXPECT_EQ(Place("abc", "abc"), 0);
  EXPECT_EQ(Place("abc", "c"), 2);
}

TEST(FindNoCase, TakesNoAccountOfCaseInEitherText) {
  EXPECT_EQ(Place("say UNINSTALL now", "uninstall"), 4);
  EXPECT_EQ(Place(".wma.mp3.asf", ".MP3"), 4);
  EXPECT_EQ(Place("MenuSkin.JPG", "menuskin.jpg"), 0);
}

TEST(FindNoCase, AnEmptyNeedleIsNowhere) { EXPECT_EQ(Place("abc", ""), -1); }

TEST(FindNoCase, AnEmptyHaystackHoldsNothing) {
  EXPECT_EQ(Place("", "a"), -1);
  EXPECT_EQ(Place("", ""), -1);
}

TEST(FindNoCase, NullCountsAsEmpty) {
  EXPECT_EQ(FindNoCase(static_cast<const char*>(nullptr), "a"), nullptr);
  EXPECT_EQ(FindNoCase("a", static_cast<const char*>(nullptr)), nullptr);
  EXPECT_EQ(FindNoCase(static_cast<const wchar_t*>(nullptr), L"a"), nullptr);
  EXPECT_EQ(FindNoCase(L"a", static_cast<const wchar_t*>(nullptr)), nullptr);
}

TEST(FindNoCase, ANeedleThatIsLongerIsNowhere) {
  EXPECT_EQ(Place("abc", "abcd"), -1);
  EXPECT_EQ(Place("xxab", "abc"), -1);
}

// The search starts anew behind the first character of a hit that failed.
TEST(FindNoCase, SurvivesAFalseStart) { EXPECT_EQ(Place("aaab", "AAB"), 1); }

TEST(FindNoCase, BytesAbove127AreThemselves) {
  EXPECT_EQ(Place("x\xFC\xDCy", "\xDC"), 2);
  EXPECT_EQ(Place("x\xFFy", "\xFF"), 1);
}

TEST(FindNoCase, TheWideFormDoesTheSame) {
  EXPECT_EQ(Place(L"prog.exe /DumpType 2", L"/dumptype"), 9);
  EXPECT_EQ(Place(L"abc", L""), -1);
  EXPECT_EQ(Place(L"", L"abc"), -1);
  EXPECT_EQ(Place(L"aaab", L"AAB"), 1);
  EXPECT_EQ(Place(L"\x4E2D\x6587", L"\x6587"), 1);
}

TEST(EqualNoCase, ComparesWholeTextsWithoutCase) {
  EXPECT_TRUE(EqualNoCase(".M3u", ".m3U"));
  EXPECT_TRUE(EqualNoCase("", ""));
  EXPECT_FALSE(EqualNoCase("abc", "abcd"));
  EXPECT_FALSE(EqualNoCase("abcd", "abc"));
  EXPECT_FALSE(EqualNoCase("a[", "A{"));  // 32 apart, as letters are
  EXPECT_FALSE(EqualNoCase("\xFC", "\xDC"));
  EXPECT_TRUE(EqualNoCase(std::string("a\0B", 3), std::string("A\0b", 3)));
  EXPECT_FALSE(EqualNoCase(std::string("a\0b", 3), std::string("a\0c", 3)));
}

// The text goes no further than the view does.
TEST(StartsWithNoCase, ComparesTheBeginning) {
  EXPECT_TRUE(StartsWithNoCase("File1=a", "file"));
  EXPECT_TRUE(StartsWithNoCase("file", "FILE"));
  EXPECT_TRUE(StartsWithNoCase("a", ""));
  EXPECT_FALSE(StartsWithNoCase("fil", "file"));
  EXPECT_FALSE(StartsWithNoCase(" file", "file"));
  EXPECT_FALSE(StartsWithNoCase(std::string_view("file").substr(0, 3), "file"));
  EXPECT_TRUE(StartsWithNoCase("file", std::string_view("files").substr(0, 4)));
}

TEST(NamesMatch, IsEqualityWithoutCase) {
  EXPECT_TRUE(NamesMatch("menuskin.jpg", "MenuSkin.JPG"));
  EXPECT_FALSE(NamesMatch("menuskin.jpg", "menuskin.jp"));
  EXPECT_FALSE(NamesMatch("menuskin.jpg", "menuskin.jpg2"));
  EXPECT_FALSE(NamesMatch("menuskin.jpg", "menuskin_jpg"));
}

TEST(NamesMatch, AnEmptyNameNeverMatches) {
  EXPECT_FALSE(NamesMatch("", ""));
  EXPECT_FALSE(NamesMatch("a", nullptr));
  EXPECT_FALSE(NamesMatch("", nullptr));
}

}  // namespace
