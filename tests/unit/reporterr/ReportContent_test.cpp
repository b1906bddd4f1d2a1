#include "reporterr/ReportContent.h"

#include "base/Base64.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using testing::EndsWith;
using testing::StartsWith;

namespace {

constexpr char kForm[] = "appName=Velmora 2 1.0&version=1.0&comments=It froze";
constexpr std::size_t kShownLog = 1048572, kLinesOfDump = 19418, kShownDump = 73 * kLinesOfDump;

class Content : public testing::Test {
 protected:
  void WriteLog(std::size_t size) {
    content.logFile = folder.Write("log.txt", support::Bytes(size, 'x'));
  }
  // What the sender makes of a dump of that size.
  std::string WriteDump(std::size_t size) {
    const support::Bytes bytes = support::PatternBytes(size);
    content.dumpFile = folder.Write("a.dmp", bytes);
    std::istringstream input(support::TextOf(bytes));
    std::ostringstream text;
    Base64State state;
    EncodeStream(state, input, text);
    return text.str();
  }

  support::TempFolder folder;
  ReportContent content{"Velmora 2", "1.0", "It froze", "", ""};
};

TEST_F(Content, IsTheFormWithoutLogAndDump) {
  EXPECT_EQ(ReportText(content), kForm);
  EXPECT_EQ(TotalSize(content), sizeof kForm - 1);
}

TEST_F(Content, IsShownWholeUpToAMegabyte) {
  content.logFile = folder.Write("log.txt", support::BytesOf(std::string("a\0b", 3)));
  for (const std::size_t size : {0u, 1u, 53u, 54u, 55u, 4096u, 54u * kLinesOfDump}) {
    const std::string report = std::string(kForm) + "&logData=a b&dumpData=" + WriteDump(size);
    EXPECT_EQ(ReportText(content), report) << size;
    EXPECT_EQ(TotalSize(content), report.size()) << size;
  }
}

TEST_F(Content, ShowsTheBeginningOfALargeLogAndHowMuchFollows) {
  WriteLog(kShownLog + 2048);
  const std::string report =
      kForm + ("&logData=" + std::string(kShownLog, 'x')) + "\n[2.0 KB more]\n";
  EXPECT_EQ(ReportText(content), report);
  EXPECT_EQ(LogSize(content), 9 + kShownLog + 2048);
}

// The very bytes of the wire, whose last line isn't reached: nothing pads them.
TEST_F(Content, ShowsTheBeginningOfALargeDumpAsItIsOnTheWireAndHowMuchFollowsThere) {
  const std::string wire = WriteDump(54 * kLinesOfDump + 1000);
  const std::string report = ReportText(content);
  const std::string shown = kForm + ("&dumpData=" + wire.substr(0, kShownDump));
  EXPECT_THAT(report, StartsWith(shown));
  EXPECT_EQ(report.substr(shown.size()),
            "\n[" + SizeText(wire.size() - kShownDump) + " more]\n");
  EXPECT_THAT(report, EndsWith("\n[1.3 KB more]\n")) << "1000 bytes are 1,355 on the wire";
}

TEST_F(Content, TellsTheRestOfAVeryLargeDumpInMegabytes) {
  WriteDump(3 << 20);
  EXPECT_THAT(ReportText(content), EndsWith("\n[2.7 MB more]\n"));
}

TEST(SizeText, GrowsWithTheSize) {
  for (const auto& [size, text] : {std::pair<std::uint64_t, const char*>{0, "0 bytes"},
                                   {1023, "1023 bytes"},
                                   {1024, "1.0 KB"},
                                   {15258, "14.9 KB"},
                                   {(1 << 20) - 1, "1024.0 KB"},
                                   {1 << 20, "1.0 MB"},
                                   {5ull << 30, "5120.0 MB"}})
    EXPECT_EQ(SizeText(size), text);
}

}  // namespace
