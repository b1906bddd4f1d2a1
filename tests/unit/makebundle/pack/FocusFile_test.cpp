#include "makebundle/pack/FocusFile.h"

#include "makebundle/pack/PackError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

std::vector<FocusLine> Parse(std::string_view text) { return ParseFocusFile("focus.txt", text); }

std::string FaultIn(std::string_view text) {
  try {
    Parse(text);
    return "no fault";
  } catch (const PackError& fault) {
    return fault.what();
  }
}

TEST(FocusFile, EachDirectionSetsItsFlag) {
  const std::vector<FocusLine> lines = Parse("a.jpg x\nb.jpg y\nc.jpg xy\n");
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_TRUE(lines[0].xOnly && !lines[0].yOnly);
  EXPECT_TRUE(!lines[1].xOnly && lines[1].yOnly);
  EXPECT_TRUE(!lines[2].xOnly && !lines[2].yOnly);
}

TEST(FocusFile, NamesMayHoldBlanksAndSigns) {
  const std::vector<FocusLine> lines = Parse("my # best picture.jpg\t X  \r\n");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].name, "my # best picture.jpg");
  EXPECT_TRUE(lines[0].xOnly);
}

TEST(FocusFile, CommentsAndEmptyLinesCountInTheLineNumbers) {
  const std::vector<FocusLine> lines = Parse("\xEF\xBB\xBF# comment\n\n  # another\r\na.jpg y");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].line, 4);
}

TEST(FocusFile, EmptyFileIsGood) { EXPECT_TRUE(Parse("").empty()); }

TEST(FocusFile, WrongDirectionIsToldWithItsLine) {
  EXPECT_THAT(FaultIn("a.jpg x\n\nb.jpg z\n"),
              testing::AllOf(HasSubstr("focus.txt, line 3"), HasSubstr("\"z\"")));
}

TEST(FocusFile, MissingDirectionIsToldWithItsLine) {
  EXPECT_THAT(FaultIn("a.jpg"), HasSubstr("focus.txt, line 1"));
}

TEST(FocusFile, SecondLineForAPictureIsToldWithItsLine) {
  EXPECT_THAT(FaultIn("a.jpg x\nA.JPG y\n"),
              testing::AllOf(HasSubstr("line 2"), HasSubstr("A.JPG")));
}

TEST(FocusFile, TextThatIsNotUtf8IsToldWithItsLine) {
  EXPECT_THAT(FaultIn("a.jpg x\ncaf\xE9.jpg y\n"),
              testing::AllOf(HasSubstr("line 2"), HasSubstr("UTF-8")));
}

}  // namespace
