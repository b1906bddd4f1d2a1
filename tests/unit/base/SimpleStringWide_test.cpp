#include "base/SimpleString.h"

#include "base/win.h"
#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SimpleStringWide, AssignsAndAppendsInTheAnsiCodePage) {
  SimpleString string;
  string.Assign(L"caf\u00e9");
  EXPECT_STREQ(string.Text(), "caf\xe9");
  EXPECT_EQ(string.Capacity(), 4);
  string.Append(L" \u20ac");
  EXPECT_STREQ(string.Text(), "caf\xe9 \x80");
  EXPECT_EQ(string.Capacity(), 6);
}

TEST(SimpleStringWide, NullChangesNothing) {
  SimpleString string("text");
  string.Assign(static_cast<const wchar_t*>(nullptr));
  string.Append(static_cast<const wchar_t*>(nullptr));
  EXPECT_STREQ(string.Text(), "text");
}

// Two bytes for each character, as in a Far Eastern code page.
TEST(SimpleStringWide, MakesRoomForCharactersOfSeveralBytes) {
  HOOK_IMPORT(twoBytes, "kernel32.dll", WideCharToMultiByte,
              [](UINT, DWORD, LPCWSTR from, int, LPSTR to, int room, LPCSTR, LPBOOL) -> int {
                const int bytes = 2 * lstrlenW(from) + 1;
                if (!to) return bytes;
                if (room < bytes) return 0;
                for (int n = 0; n < bytes - 1; ++n) to[n] = static_cast<char>('a' + n);
                to[bytes - 1] = 0;
                return bytes;
              });
  SimpleString string;
  string.Assign(L"123");
  EXPECT_STREQ(string.Text(), "abcdef");
  EXPECT_EQ(string.Capacity(), 6);
}

TEST(SimpleStringWide, ToWideGivesACopyThatStaysUntilFreed) {
  SimpleString string("caf\xe9");
  string.GrowBy(10);
  const wchar_t* wide = string.ToWide();
  EXPECT_EQ(std::wstring(wide), L"caf\u00e9");
  string.FreeWide();
  string.FreeWide();
  string.Assign("other");
  EXPECT_EQ(std::wstring(string.ToWide()), L"other");
  EXPECT_EQ(std::wstring(SimpleString().ToWide()), L"");
}

TEST(SimpleStringWide, CompareWideGivesTheOrder) {
  SimpleString string("b\xe9");
  EXPECT_EQ(string.CompareWide(L"b\u00e9"), 0);
  EXPECT_EQ(string.CompareWide(L"b"), 1);
  EXPECT_EQ(string.CompareWide(L"b\u00e9x"), -1);
  EXPECT_EQ(string.CompareWide(L"B\u00e9"), 1);
  EXPECT_EQ(string.CompareWide(L"b\uffff"), -1);
  EXPECT_EQ(string.CompareWide(nullptr), 1);
  EXPECT_EQ(string.CompareWide(string.ToWide()), 0);
}

// A copy doesn't take the wide copy along: each frees its own.
TEST(SimpleStringWide, ACopyHasItsOwn) {
  SimpleString string("text");
  string.ToWide();
  SimpleString copy(string);
  EXPECT_EQ(copy.CompareWide(L"text"), 0);
  EXPECT_EQ(string.CompareWide(L"text"), 0);
}

}  // namespace
