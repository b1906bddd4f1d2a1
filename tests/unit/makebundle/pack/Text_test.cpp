#include "makebundle/pack/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf8, GoodTextIsTaken) {
  for (const std::string text :
       {"", "plain", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x8C\x84", "\xF4\x8F\xBF\xBF"})
    EXPECT_TRUE(IsUtf8(text)) << text;
}

TEST(Utf8, BadTextIsRefused) {
  for (const std::string text :
       {"\x80", "\xC3", "caf\xE9", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "\xF8\x88\x80\x80\x80", "\xE2\x82", "\xC3("})
    EXPECT_FALSE(IsUtf8(text)) << text;
}

TEST(Utf8, MarkInFrontGoes) {
  EXPECT_EQ(WithoutUtf8Mark("\xEF\xBB\xBFtext"), "text");
  EXPECT_EQ(WithoutUtf8Mark("text"), "text");
}

TEST(Utf16, PairsAreJoinedAndHalvesReplaced) {
  EXPECT_EQ(Utf16ToUtf8(AsBytes({"\xD8\x3C\xDF\x04", 4}), ByteOrder::kBigEndian),
            "\xF0\x9F\x8C\x84");
  EXPECT_EQ(Utf16ToUtf8(AsBytes({"\xD8\x3C\0A", 4}), ByteOrder::kBigEndian), "\xEF\xBF\xBD" "A");
  EXPECT_EQ(Utf16ToUtf8(AsBytes({"A\0\xDF", 3}), ByteOrder::kLittleEndian), "A\xEF\xBF\xBD");
}

TEST(Utf16, NulEndsTheText) {
  EXPECT_EQ(Utf16ToUtf8(AsBytes({"A\0\0\0B\0", 6}), ByteOrder::kLittleEndian), "A");
}

TEST(Caption, EveryKindOfLineBreakBecomesCrLf) {
  EXPECT_EQ(CleanCaption("a\nb\r\nc\rd"), "a\r\nb\r\nc\r\nd");
}
TEST(Caption, EmptyLinesAndBlanksAtTheEndGo) {
  EXPECT_EQ(CleanCaption("a  \nb\t\n\n  \r\n"), "a\r\nb");
}
TEST(Caption, EmptyLinesInsideStay) { EXPECT_EQ(CleanCaption("a\n\nb\n"), "a\r\n\r\nb"); }
TEST(Caption, BlankTextIsEmpty) { EXPECT_EQ(CleanCaption(" \r\n\t\n"), ""); }
TEST(Caption, TabsBecomeBlanksAndControlsGo) {
  EXPECT_EQ(CleanCaption("a\tb\x1B\x07"
                         "c"),
            "a bc");
}

TEST(Caption, AmpersandsAreDoubledForDrawingAndBack) {
  EXPECT_EQ(DoubleAmpersands("Salt & pepper && more"), "Salt && pepper &&&& more");
  for (const std::string text : {"", "&", "Salt & pepper", "&&", "a&b&&c&"})
    EXPECT_EQ(SingleAmpersands(DoubleAmpersands(text)), text);
}

TEST(Printable, ControlCharactersBecomeQuestionMarks) {
  EXPECT_EQ(Printable("a\x1B[2Jb\n\x7F"), "a?[2Jb??");
}

}  // namespace
