#include "base/SimpleString.h"

#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

using support::FailingNew;

namespace {

constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();

void Expect(const SimpleString& string, const char* text, std::int32_t capacity) {
  EXPECT_STREQ(string.Text(), text);
  EXPECT_EQ(string.Length(), static_cast<std::int32_t>(std::strlen(text)));
  EXPECT_EQ(string.Capacity(), capacity);
}

// --- Construction and buffer ---

TEST(SimpleString, HoldsItsCapacityThenItsTextThenItsWideCopy) {
  static_assert(!std::is_polymorphic_v<SimpleString>);
  const SimpleString string("four");
  struct {
    std::int32_t capacity;
    const char* text;
    const wchar_t* wide;
  } fields;
  static_assert(sizeof fields == sizeof string);
  std::memcpy(&fields, static_cast<const void*>(&string), sizeof fields);
  EXPECT_EQ(fields.capacity, 4);
  EXPECT_EQ(fields.text, string.Text());
  EXPECT_EQ(fields.wide, nullptr);
}

TEST(SimpleString, IsEmptyAtFirst) {
  Expect(SimpleString(), "", 0);
  EXPECT_TRUE(SimpleString().IsEmpty());
  Expect(SimpleString(static_cast<const char*>(nullptr)), "", 0);
}

TEST(SimpleString, CopiesStandApart) {
  SimpleString a("text");
  a.GrowBy(10);
  SimpleString b(a);
  Expect(b, "text", 4);
  SimpleString c("other");
  c = a;
  Expect(c, "text", 4);
  a.Append("s");
  Expect(b, "text", 4);
  c = *&c;
  Expect(c, "text", 4);
}

TEST(SimpleString, AllocateGivesAnEmptyTextOfThatCapacity) {
  SimpleString string("text");
  EXPECT_TRUE(string.Allocate(7));
  Expect(string, "", 7);
  EXPECT_FALSE(string.Allocate(-1));
  Expect(string, "", 7);
  EXPECT_TRUE(string.Allocate(0));
  Expect(string, "", 0);
}

TEST(SimpleString, GrowKeepsTheTextAndFillsTheNewRoom) {
  SimpleString string("ab");
  EXPECT_TRUE(string.Grow(3, 'x'));
  Expect(string, "abxxx", 5);
  EXPECT_TRUE(string.GrowBy(2));
  Expect(string, "abxxx", 7);
  EXPECT_FALSE(string.GrowBy(0));
  EXPECT_FALSE(string.GrowBy(-4));
  Expect(string, "abxxx", 7);
}

TEST(SimpleString, GrowBehindTheTerminatorDoesNotShow) {
  SimpleString string("ab");
  string.GrowBy(2);
  string.Grow(2, 'x');
  Expect(string, "ab", 6);
}

TEST(SimpleString, GrowthThatMemoryCannotHoldChangesNothing) {
  SimpleString string("text");
  EXPECT_FALSE(string.GrowBy(kHuge));
  Expect(string, "text", 4);
  {
    const FailingNew none(0);
    string.GrowBy(3);
    string.SetBufferSize(40);
    string.SetBufferSize(2);
    string.EnsureCapacity(9);
    string.Append(" that is longer");
    string.Assign("another, longer text");
    string.Insert(1, "x");
    string.ReplaceFirst("t", "u");
    string.ReplaceAll("t", "uuu");
    string.ReplaceRange(0, 1, "x");
    string.Append(1.5, 2);
  }
  Expect(string, "text", 4);
}

TEST(SimpleString, EnsureCapacityOnlyGrows) {
  SimpleString string("text");
  string.EnsureCapacity(3);
  Expect(string, "text", 4);
  string.EnsureCapacity(9);
  Expect(string, "text", 9);
  string.EnsureCapacity(-1);
  Expect(string, "text", 9);
}

TEST(SimpleString, SetBufferSizeCountsTheTerminator) {
  SimpleString string("abcdef");
  string.SetBufferSize(10);
  Expect(string, "abcdef", 9);
  string.SetBufferSize(4);
  Expect(string, "abc", 3);
  string.SetBufferSize(4);
  Expect(string, "abc", 3);
  string.SetBufferSize(1);
  Expect(string, "", 0);
}

TEST(SimpleString, SetBufferSizeBelowOneDoesNothing) {
  SimpleString string("abc");
  string.SetBufferSize(0);
  string.SetBufferSize(-3);
  Expect(string, "abc", 3);
}

// --- Truncate ---

TEST(SimpleString, TruncateCutsAtThePosition) {
  SimpleString string("abcdef");
  string.Truncate(6);
  string.Truncate(9);
  Expect(string, "abcdef", 6);
  string.Truncate(2);
  Expect(string, "ab", 6);
  string.Truncate(-5);
  Expect(string, "", 6);
}

TEST(SimpleString, TruncateWithEllipsisAtPositionTwoLeavesTwoDots) {
  SimpleString string("abcdef");
  string.Truncate(2, true);
  Expect(string, "..", 6);
}

TEST(SimpleString, TruncateWithEllipsisAtPositionFiveKeepsTwoLetters) {
  SimpleString string("abcdef");
  string.Truncate(5, true);
  Expect(string, "ab...", 6);
}

TEST(SimpleString, TruncateWithEllipsisBehindTheEndChangesNothing) {
  SimpleString string("abcdef");
  string.Truncate(6, true);
  Expect(string, "abcdef", 6);
}

// --- Assign ---

TEST(SimpleString, AssignOfNullKeepsTheOldText) {
  SimpleString string("old");
  string.Assign(nullptr);
  string.Assign(static_cast<const char*>(nullptr));
  Expect(string, "old", 3);
}

TEST(SimpleString, AssignFitsTheCapacity) {
  SimpleString string("a long text");
  string.Assign("abc");
  Expect(string, "abc", 3);
  string.Assign("");
  Expect(string, "", 0);
}

TEST(SimpleString, AssignOfItsOwnBufferChangesNothing) {
  SimpleString string("text");
  string.GrowBy(5);
  const char* before = string.Text();
  string.Assign(string.Text());
  EXPECT_EQ(string.Text(), before);
  Expect(string, "text", 9);
}

TEST(SimpleString, AssignOfItsOwnTailIsTheTail) {
  SimpleString string("abcdef");
  string.Assign(string.Text() + 4);
  Expect(string, "ef", 2);
}

TEST(SimpleString, AssignOfANumberKeepsTheRoom) {
  SimpleString string("abcdef");
  string.Assign(-12);
  Expect(string, "-12", 6);
  string.Assign(12345678);
  Expect(string, "12345678", 8);
}

// --- Append ---

TEST(SimpleString, AppendUsesTheRoomThatIsThere) {
  SimpleString string("ab");
  string.GrowBy(3);
  const char* before = string.Text();
  string.Append("cde");
  EXPECT_EQ(string.Text(), before);
  Expect(string, "abcde", 5);
}

TEST(SimpleString, AppendMakesExactlyTheRoomItNeeds) {
  SimpleString string("ab");
  string.GrowBy(2);
  string.Append("cde");
  Expect(string, "abcde", 5);
  string.Append(nullptr);
  string.Append(static_cast<const char*>(nullptr));
  string.Append("");
  Expect(string, "abcde", 5);
}

TEST(SimpleString, AppendTakesItself) {
  SimpleString string("abc");
  string.Append(string);
  Expect(string, "abcabc", 6);
  string.GrowBy(20);
  string.Append(string.Text());
  Expect(string, "abcabcabcabc", 26);
  string.Append(string.Text() + 10);
  Expect(string, "abcabcabcabcbc", 26);
}

// What a cut left in the buffer reaches over its own new place.
TEST(SimpleString, AppendTakesWhatLiesBehindItsTerminator) {
  SimpleString string("abcdefgh");
  string.Truncate(2);
  string.Append(string.Text() + 3);
  Expect(string, "abdefgh", 8);
}

TEST(SimpleString, AppendsACharacter) {
  SimpleString string;
  string.Append('a');
  string.Append('b');
  string.Append('\0');
  Expect(string, "ab", 2);
}

TEST(SimpleString, AppendsNumbersInDecimal) {
  const std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
  const std::pair<std::int32_t, const char*> cases[] = {
      {0, "0"}, {7, "7"}, {10, "10"}, {-1, "-1"}, {kHuge, "2147483647"}, {lowest, "-2147483648"}};
  for (const auto& [value, text] : cases) {
    SimpleString string("n=");
    string.Append(value);
    Expect(string, (std::string("n=") + text).c_str(),
           2 + static_cast<std::int32_t>(std::strlen(text)));
  }
}

TEST(SimpleString, AppendsFractions) {
  SimpleString string;
  string.Append(2.5, 0);
  string.Append(' ');
  string.Append(-1.0 / 3, 5);
  string.Append(' ');
  string.Append(0.5f);
  Expect(string, "2 -0.33333 0.500", 16);
}

TEST(SimpleString, AppendsTheLongestFractionWhole) {
  SimpleString string;
  string.Append(-std::numeric_limits<double>::max(), 20);
  EXPECT_EQ(string.Length(), 1 + 309 + 1 + 20);
  EXPECT_EQ(std::atof(string.Text()), -std::numeric_limits<double>::max());
}

// --- Find ---

TEST(SimpleString, FindsTheFirstOccurrence) {
  const SimpleString string("abcABCabc");
  EXPECT_EQ(string.Find("bc"), 1);
  EXPECT_EQ(string.Find("BC"), 4);
  EXPECT_EQ(string.Find("x"), -1);
  EXPECT_EQ(string.Find(nullptr), -1);
  EXPECT_EQ(string.FindNoCase("BC"), 1);
  EXPECT_EQ(string.FindNoCase("cABCa"), 2);
  EXPECT_EQ(string.FindNoCase("x"), -1);
  EXPECT_EQ(string.FindNoCase(nullptr), -1);
}

// --- Erase and Insert ---

TEST(SimpleString, EraseMovesTheTailDown) {
  SimpleString string("abcdef");
  string.Erase(1, 2);
  Expect(string, "adef", 6);
  string.Erase(3, 1);
  Expect(string, "ade", 6);
  string.Erase(1, kHuge);
  Expect(string, "a", 6);
}

TEST(SimpleString, EraseOutsideOfTheTextDoesNothing) {
  SimpleString string("abc");
  string.Erase(3, 1);
  string.Erase(-1, 2);
  string.Erase(0, 0);
  string.Erase(0, -1);
  Expect(string, "abc", 3);
}

TEST(SimpleString, InsertGrowsByTheTextAndOneMore) {
  SimpleString string("ad");
  string.Insert(1, "bc");
  Expect(string, "abcd", 5);
  string.Insert(4, "e");
  Expect(string, "abcde", 7);
  string.Insert(0, "");
  Expect(string, "abcde", 8);
}

TEST(SimpleString, InsertBehindTheTerminatorDoesNotShow) {
  SimpleString string("ab");
  string.GrowBy(4);
  string.Insert(5, "xyz");
  Expect(string, "ab", 10);
}

TEST(SimpleString, InsertAtABadPlaceDoesNothing) {
  SimpleString string("ab");
  string.Insert(3, "x");
  string.Insert(-1, "x");
  string.Insert(0, nullptr);
  Expect(string, "ab", 2);
}

TEST(SimpleString, InsertTakesItself) {
  SimpleString string("abc");
  string.Insert(1, string.Text());
  EXPECT_STREQ(string.Text(), "aabcbc");
  string.Insert(0, string.Text() + 5);
  EXPECT_STREQ(string.Text(), "caabcbc");
}

// --- Replace ---

TEST(SimpleString, ReplaceFirstReplacesOnce) {
  SimpleString string("one two one");
  EXPECT_TRUE(string.ReplaceFirst("one", "1"));
  EXPECT_STREQ(string.Text(), "1 two one");
  EXPECT_FALSE(string.ReplaceFirst("ONE", "1"));
  EXPECT_TRUE(string.ReplaceFirstNoCase("ONE", "three"));
  EXPECT_STREQ(string.Text(), "1 two three");
}

TEST(SimpleString, ReplaceFirstOfNothingIsFalse) {
  SimpleString string("text");
  EXPECT_FALSE(string.ReplaceFirst("x ", "y"));
  EXPECT_FALSE(string.ReplaceFirst(nullptr, "y"));
  EXPECT_FALSE(string.ReplaceFirst("t", nullptr));
  EXPECT_FALSE(string.ReplaceFirstNoCase(nullptr, "y"));
  EXPECT_FALSE(string.ReplaceFirstNoCase("t", nullptr));
  Expect(string, "text", 4);
}

TEST(SimpleString, ReplaceFirstTakesPartsOfItself) {
  SimpleString string("abcd");
  EXPECT_TRUE(string.ReplaceFirst(string.Text() + 2, string.Text()));
  EXPECT_STREQ(string.Text(), "ababcd");
}

TEST(SimpleString, ReplaceAllOfAnAbsentTextChangesNothing) {
  SimpleString string("text");
  EXPECT_FALSE(string.ReplaceAll("xt ", "long replacement"));
  EXPECT_FALSE(string.ReplaceAll("", "x"));
  EXPECT_FALSE(string.ReplaceAll(nullptr, "x"));
  EXPECT_FALSE(string.ReplaceAll("t", nullptr));
  Expect(string, "text", 4);
}

TEST(SimpleString, ReplaceAllReplacesEachOccurrence) {
  SimpleString string("a-b-c");
  EXPECT_TRUE(string.ReplaceAll("-", " and "));
  EXPECT_STREQ(string.Text(), "a and b and c");
  EXPECT_TRUE(string.ReplaceAll(" and ", ""));
  EXPECT_STREQ(string.Text(), "abc");
}

TEST(SimpleString, ReplaceAllGoesOnWithWhatTheReplacementBroughtAbout) {
  SimpleString string("aabb");
  EXPECT_TRUE(string.ReplaceAll("ab", ""));
  EXPECT_STREQ(string.Text(), "");
}

TEST(SimpleString, ReplaceAllEndsWhereTheReplacementHoldsTheText) {
  SimpleString string("a\nb\n");
  EXPECT_TRUE(string.ReplaceAll("\n", "\r\n"));
  EXPECT_STREQ(string.Text(), "a\r\nb\r\n");
}

// Each replacement here makes room for two more.
TEST(SimpleString, ReplaceAllEndsWhereOccurrencesNeverRunOut) {
  SimpleString string("abb");
  EXPECT_TRUE(string.ReplaceAll("ab", "bbaa"));
  EXPECT_GT(string.Length(), 3);
}

// Only what makes the text longer could go on for ever.
TEST(SimpleString, ReplaceAllGoesOnToTheEndWhereTheTextGetsNoLonger) {
  const auto letters = [](std::size_t first, char a, std::size_t second, char b) {
    return std::string(first, a) + std::string(second, b);
  };
  SimpleString sorted(letters(65, 'a', 65, 'b').c_str());
  EXPECT_TRUE(sorted.ReplaceAll("ab", "ba"));
  EXPECT_EQ(sorted.Text(), letters(65, 'b', 65, 'a'));
  SimpleString nested(letters(5000, 'a', 5000, 'b').c_str());
  EXPECT_TRUE(nested.ReplaceAll("ab", ""));
  EXPECT_STREQ(nested.Text(), "");
}

TEST(SimpleString, ReplaceRangeTakesTheLastCharacterWithIt) {
  SimpleString string("abcdef");
  string.ReplaceRange(1, 3, "-");
  EXPECT_STREQ(string.Text(), "a-ef");
  string.ReplaceRange(2, 99, "!");
  EXPECT_STREQ(string.Text(), "a-!");
}

TEST(SimpleString, ReplaceRangeWithAnEndBeforeTheStartOnlyInserts) {
  SimpleString string("abc");
  string.ReplaceRange(2, 0, "-");
  EXPECT_STREQ(string.Text(), "ab-c");
}

TEST(SimpleString, ReplaceRangeAtABadPlaceDoesNothing) {
  SimpleString string("abc");
  string.ReplaceRange(3, 4, "-");
  string.ReplaceRange(-1, 4, "-");
  string.ReplaceRange(0, -1, "-");
  string.ReplaceRange(0, 1, nullptr);
  Expect(string, "abc", 3);
}

TEST(SimpleString, ReplaceRangeTakesItself) {
  SimpleString string("abcd");
  string.ReplaceRange(1, 2, string.Text());
  EXPECT_STREQ(string.Text(), "aabcdd");
}

// --- Against a model, step by step ---

// What a string should be: its text, and the room that it has.
struct Model {
  std::string text;
  std::int32_t capacity = 0;

  std::int32_t Length() const { return static_cast<std::int32_t>(text.size()); }
  void Grow(std::int32_t by, char fill) {
    if (by < 1) return;
    if (Length() == capacity && fill) text.append(static_cast<std::size_t>(by), fill);
    capacity += by;
  }
  void Append(const std::string& more) {
    text += more;
    capacity = std::max(capacity, Length());
  }
  void Erase(std::int32_t pos, std::int32_t n) {
    if (pos < 0 || pos >= Length() || n < 1) return;
    text.erase(static_cast<std::size_t>(pos), static_cast<std::size_t>(n));
  }
  void Insert(std::int32_t pos, const std::string& what) {
    if (pos < 0 || pos > capacity) return;
    if (pos <= Length()) text.insert(static_cast<std::size_t>(pos), what);
    capacity += static_cast<std::int32_t>(what.size()) + 1;
  }
  bool ReplaceFirst(const std::string& find, const std::string& with) {
    const std::size_t at = text.find(find);
    if (at == std::string::npos) return false;
    Erase(static_cast<std::int32_t>(at), static_cast<std::int32_t>(find.size()));
    Insert(static_cast<std::int32_t>(at), with);
    return true;
  }
  bool ReplaceAll(const std::string& find, const std::string& with) {
    std::int32_t count = 0;
    for (std::size_t at = 0; (at = text.find(find, at)) != std::string::npos; at += find.size())
      ++count;
    if (count == 0) return false;
    const auto change =
        static_cast<std::int32_t>(with.size()) - static_cast<std::int32_t>(find.size());
    if (change > 0) capacity += change * count;
    while (ReplaceFirst(find, with)) {
    }
    return true;
  }
};

class Steps {
 public:
  explicit Steps(std::uint32_t seed) : random_(seed) {}

  void Take() {
    const std::string text = Text();
    const std::int32_t a = Number(-2, 14);
    const std::int32_t b = Number(-2, 14);
    switch (Number(0, 16)) {
      case 0: Allocate(a); break;
      case 1: string_.Grow(a, 'f'); model_.Grow(a, 'f'); break;
      case 2: string_.GrowBy(a); model_.Grow(a, 0); break;
      case 3: string_.EnsureCapacity(a); model_.Grow(a - model_.capacity, 0); break;
      case 4: SetBufferSize(a); break;
      case 5: Truncate(a, b > 5); break;
      case 6: Assign(text); break;
      case 7: string_.Assign(a); Truncated(0); model_.Append(std::to_string(a)); break;
      case 8: string_.Append(text.c_str()); model_.Append(text); break;
      case 9: string_.Append('c'); model_.Append("c"); break;
      case 10: string_.Append(a * 1000); model_.Append(std::to_string(a * 1000)); break;
      case 11: AppendOwnTail(a); break;
      case 12: string_.Erase(a, b); model_.Erase(a, b); break;
      case 13: string_.Insert(a, text.c_str()); model_.Insert(a, text); break;
      case 14: ReplaceFirst(text); break;
      case 15: ReplaceAll(); break;
      default: ReplaceRange(a, b, text); break;
    }
    Expect(string_, model_.text.c_str(), model_.capacity);
    EXPECT_EQ(string_.Find(text.c_str()), static_cast<std::int32_t>(model_.text.find(text)));
  }

 private:
  std::int32_t Number(std::int32_t from, std::int32_t to) {
    return from + static_cast<std::int32_t>(random_() % static_cast<std::uint32_t>(to - from + 1));
  }
  std::string Text() {
    std::string text;
    for (std::int32_t n = Number(0, 5); n > 0; --n) text += static_cast<char>('a' + Number(0, 2));
    return text;
  }
  void Allocate(std::int32_t n) {
    string_.Allocate(n);
    if (n >= 0) model_ = {"", n};
  }
  void SetBufferSize(std::int32_t n) {
    string_.SetBufferSize(n);
    if (n < 1) return;
    model_.text.resize(static_cast<std::size_t>(std::min(n - 1, model_.Length())));
    model_.capacity = n - 1;
  }
  void Truncated(std::int32_t pos) {
    if (pos < model_.Length()) model_.text.resize(static_cast<std::size_t>(std::max(pos, 0)));
  }
  void Truncate(std::int32_t pos, bool ellipsis) {
    string_.Truncate(pos, ellipsis);
    const bool cut = pos < model_.Length();
    Truncated(pos);
    if (!cut || !ellipsis) return;
    for (std::size_t n = 1; n <= std::min<std::size_t>(3, model_.text.size()); ++n)
      model_.text[model_.text.size() - n] = '.';
  }
  void Assign(const std::string& text) {
    string_.Assign(text.c_str());
    model_ = {text, static_cast<std::int32_t>(text.size())};
  }
  void AppendOwnTail(std::int32_t from) {
    if (from < 0 || from > model_.Length()) return;
    string_.Append(string_.Text() + from);
    model_.Append(model_.text.substr(static_cast<std::size_t>(from)));
  }
  void ReplaceFirst(const std::string& find) {
    EXPECT_EQ(string_.ReplaceFirst(find.c_str(), "xy"), model_.ReplaceFirst(find, "xy"));
  }
  // By letters that don't occur, or by a text that is no longer than what it
  // replaces and may bring it about anew.
  void ReplaceAll() {
    const std::string find = Text().substr(0, 3) + static_cast<char>('a' + Number(0, 2));
    std::string with(static_cast<std::size_t>(Number(0, 3)), 'z');
    if (Number(0, 1)) with = Text().substr(0, find.size());
    if (with == find) return;
    EXPECT_EQ(string_.ReplaceAll(find.c_str(), with.c_str()), model_.ReplaceAll(find, with));
  }
  void ReplaceRange(std::int32_t start, std::int32_t end, const std::string& text) {
    string_.ReplaceRange(start, end, text.c_str());
    if (start < 0 || start >= model_.Length() || end < 0) return;
    model_.Erase(start, std::min(end, model_.Length() - 1) - start + 1);
    model_.Insert(start, text);
  }

  std::mt19937 random_;
  SimpleString string_;
  Model model_;
};

TEST(SimpleString, BehavesLikeItsModelInAnyOrderOfOperations) {
  for (std::uint32_t seed = 1; seed <= 400; ++seed) {
    Steps steps(seed);
    for (int step = 0; step < 60; ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      steps.Take();
      if (::testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
