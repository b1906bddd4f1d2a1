#include "makebundle/pack/Progress.h"

#include <gtest/gtest.h>

namespace {

class Progress : public testing::Test {
 protected:
  ProgressLine Line(bool onTerminal) {
    return ProgressLine([this] { return now; },
                        [this](const std::string& text) { printed += text; }, onTerminal);
  }
  std::uint64_t now = 5000;
  std::string printed;
};

TEST_F(Progress, ShortWorkSaysNothing) {
  ProgressLine terminal = Line(true), file = Line(false);
  terminal.Show(1, 2, "a");
  file.Show(1, 2, "a");
  terminal.Clear();
  file.Clear();
  EXPECT_EQ(printed, "");
}

TEST_F(Progress, TerminalLineIsRewrittenInPlace) {
  ProgressLine line = Line(true);
  now += 500;
  line.Show(1, 20, "long name");
  now += 100;
  line.Show(2, 20, "b");
  EXPECT_EQ(printed, "\r1 of 20: long name\r2 of 20: b        ");
  printed.clear();
  line.Clear();
  EXPECT_EQ(printed, "\r          \r");
  line.Clear();
  EXPECT_EQ(printed, "\r          \r") << "there is nothing left to clear";
}

TEST_F(Progress, TerminalLineIsNotRewrittenTooOften) {
  ProgressLine line = Line(true);
  now += 500;
  line.Show(1, 20, "a");
  now += 99;
  line.Show(2, 20, "b");
  EXPECT_EQ(printed, "\r1 of 20: a");
}

TEST_F(Progress, FileGetsWholeLinesNowAndThen) {
  ProgressLine line = Line(false);
  now += 9999;
  line.Show(1, 20, "a");
  now += 1;
  line.Show(2, 20, "b");
  now += 9999;
  line.Show(3, 20, "c");
  now += 1;
  line.Show(4, 20, "d");
  line.Clear();
  EXPECT_EQ(printed, "2 of 20: b\n4 of 20: d\n");
}

TEST_F(Progress, LongNamesAreCutBetweenCharacters) {
  ProgressLine line = Line(true);
  now += 500;
  std::string name;
  for (int n = 0; n < 60; ++n) name += "\xC3\xA9";
  line.Show(1, 9, name);
  const std::string shown = printed.substr(1);
  EXPECT_LE(shown.size(), 78u);
  EXPECT_EQ(shown.substr(shown.size() - 5), "\xC3\xA9...");
}

}  // namespace
