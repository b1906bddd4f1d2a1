#include "makebundle/pack/Names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

std::vector<std::string> Sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end(), ComesBefore);
  return names;
}

TEST(NameOrder, NumbersCountAsNumbers) {
  EXPECT_EQ(Sorted({"img 10.jpg", "img 9.jpg", "img 1.jpg", "img 100.jpg"}),
            (std::vector<std::string>{"img 1.jpg", "img 9.jpg", "img 10.jpg", "img 100.jpg"}));
}
TEST(NameOrder, CaseDoesNotCount) {
  EXPECT_EQ(Sorted({"b.jpg", "C.jpg", "A.jpg"}),
            (std::vector<std::string>{"A.jpg", "b.jpg", "C.jpg"}));
}
TEST(NameOrder, NumbersOfAnyLengthAreCompared) {
  EXPECT_TRUE(ComesBefore("99999999999999999998", "99999999999999999999"));
  EXPECT_TRUE(ComesBefore("99999999999999999999", "100000000000000000000"));
}
TEST(NameOrder, LeadingZerosDoNotCountButSettleTies) {
  EXPECT_TRUE(ComesBefore("img007", "img8"));
  EXPECT_TRUE(ComesBefore("img 07", "img 7"));
  EXPECT_FALSE(ComesBefore("img 7", "img 07"));
}
TEST(NameOrder, StartOfANameComesFirst) { EXPECT_TRUE(ComesBefore("a", "ab")); }
TEST(NameOrder, IsStrict) {
  for (const std::string a : {"", "a", "A", "1", "01", "a1b", "a01b"})
    for (const std::string b : {"", "a", "A", "1", "01", "a1b", "a01b"})
      EXPECT_EQ(ComesBefore(a, b) + ComesBefore(b, a), a == b ? 0 : 1) << a << " " << b;
}

TEST(MemberName, PlainNamesAreGood) {
  for (const std::string name : {"a.jpg", "with blank.jpg", "#1!.jpg", "caf\xE9.jpg", "a?.jpg"})
    EXPECT_EQ(FaultOfMemberName(name), "");
}
TEST(MemberName, NamesThatABundleCannotHoldAreRefused) {
  EXPECT_NE(FaultOfMemberName(""), "");
  EXPECT_NE(FaultOfMemberName("?a.jpg"), "");
  EXPECT_NE(FaultOfMemberName(std::string("a\0b", 3)), "");
}

TEST(FileName, PlainNamesAreGood) {
  for (const std::u16string name : {u"a.jpg", u"with blank.jpg", u".hidden", u"a..b",
                                    u"console.jpg", u"COM10.jpg", u"communist", u"\u00E9"})
    EXPECT_EQ(FaultOfFileName(name), "");
}
TEST(FileName, NamesThatLeadElsewhereAreRefused) {
  for (const std::u16string name : {u"",
                                    u".",
                                    u"..",
                                    u"..\\x",
                                    u"../x",
                                    u"a\\b",
                                    u"a/b",
                                    u"\\x",
                                    u"/x",
                                    u"C:x",
                                    u"C:\\x",
                                    u"a:stream",
                                    u"\\\\server\\share",
                                    u"\\\\?\\C:\\x",
                                    u"a*",
                                    u"a?",
                                    u"a|b",
                                    u"a<",
                                    u"a>",
                                    u"a\"",
                                    u"a\nb",
                                    u"\x01"})
    EXPECT_NE(FaultOfFileName(name), "");
}
TEST(FileName, NamesThatWindowsChangesAreRefused) {
  for (const std::u16string name : {u"a.", u"a ", u"a.jpg.", u"...", u". ."})
    EXPECT_NE(FaultOfFileName(name), "");
}
TEST(FileName, DevicesAreRefused) {
  for (const std::u16string name :
       {u"NUL", u"nul.jpg", u"Con", u"aux.txt.jpg", u"PRN", u"COM1", u"com9.jpg", u"LPT3.x",
        u"COM\u00B9", u"NUL .jpg", u"CONIN$", u"conout$"})
    EXPECT_NE(FaultOfFileName(name), "");
}

}  // namespace
