#include "base/AnsiText.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace std::string_literals;

TEST(AnsiText, GoesThereAndBack) {
  EXPECT_EQ(WideFromAnsi("C:\\Music\\a.mp3"), L"C:\\Music\\a.mp3");
  EXPECT_EQ(AnsiFromWide(L"C:\\Music\\a.mp3"), "C:\\Music\\a.mp3");
}

TEST(AnsiText, AnEmptyTextStaysEmpty) {
  EXPECT_EQ(WideFromAnsi(""), L"");
  EXPECT_EQ(AnsiFromWide(L""), "");
}

TEST(AnsiText, KeepsTheNulsWithin) {
  EXPECT_EQ(WideFromAnsi(std::string_view("a\0b\0", 4)), L"a\0b\0"s);
  EXPECT_EQ(AnsiFromWide(std::wstring_view(L"a\0b\0", 4)), "a\0b\0"s);
}

// The prefix that the tests run in has the code page of western Europe.
TEST(AnsiText, UsesTheSystemsCodePage) {
  EXPECT_EQ(WideFromAnsi("Caf\xE9"), L"Caf\u00E9");
  EXPECT_EQ(AnsiFromWide(L"Caf\u00E9"), "Caf\xE9");
}

TEST(AnsiText, ACharacterThatTheCodePageLacksCostsOnlyItself) {
  EXPECT_EQ(AnsiFromWide(L"a\u4E00b"), "a?b");
}

}  // namespace
