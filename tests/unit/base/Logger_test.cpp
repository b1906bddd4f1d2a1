#include "base/Logger.h"

#include "support/Layout.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#ifdef _WIN32
#include "base/win_owned.h"
#endif

using support::TempFolder;

namespace {

// The log is a text file: its line ends are the system's.
#ifdef _WIN32
const std::string kEol = "\r\n";
#else
const std::string kEol = "\n";
#endif

std::string DateText(std::time_t when) {
  const std::tm local = *std::localtime(&when);
  char text[64];
  std::snprintf(text, sizeof text, "%02d/%02d %02d:%02d:%02d ", local.tm_mon + 1, local.tm_mday,
                local.tm_hour, local.tm_min, local.tm_sec);
  return text;
}

// Runs `write` until the clock shows the same second before and after, and
// calls `check` with that second.
void WithinOneSecond(const std::function<void()>& write,
                     const std::function<void(std::time_t)>& check) {
  for (;;) {
    const std::time_t before = std::time(nullptr);
    write();
    if (std::time(nullptr) == before) return check(before);
  }
}

class LoggerTest : public testing::Test {
 protected:
  void SetUp() override { logger_ = std::make_unique<Logger>(path_); }

  std::string Text() const { return support::TextOf(support::ReadWholeFile(path_)); }
  void Forget() const { support::WriteWholeFile(path_, {}); }
  // What `write` adds to the log.
  std::string TextOf(const std::function<void()>& write) const {
    Forget();
    write();
    return Text();
  }
  // The same without the changing date and time of each line, which stand
  // behind the "]" of the source position.
  std::string DatelessTextOf(const std::function<void()>& write) const {
    std::string text = TextOf(write);
    for (std::size_t at = 0; (at = text.find(']', at)) != std::string::npos; ++at)
      text.erase(at + 1, kDateLength);
    return text;
  }
  void At(const char* file, int line) const {
    logger_->sourceFile = file;
    logger_->sourceLine = line;
  }

  static constexpr std::size_t kDateLength = 15;  // "11/14 13:46:48 "
  TempFolder folder_;
  std::string path_ = folder_.File("VelmoraLog.txt");
  std::unique_ptr<Logger> logger_;
};

using Log = LoggerTest;

// The head or foot line, without the line end, when it was written in `when`.
std::string EndLine(const std::string& before, std::time_t when, const std::string& behind) {
  std::string time = std::asctime(std::localtime(&when));
  EXPECT_EQ(time.size(), 25u);
  time.back() = '\0';
  return before + time + behind;
}

TEST_F(Log, ExistsFromTheConstructionOnWithItsHeadLine) {
  WithinOneSecond(
      [&] {
        logger_.reset();
        logger_ = std::make_unique<Logger>(path_);
      },
      [&](std::time_t when) {
        EXPECT_EQ(Text(), EndLine("---------------------------------------------- Log begins on ",
                                  when, " ----------------------------------------------") +
                              kEol);
      });
}

TEST_F(Log, EndsWithItsFootLineAndFourEmptyLines) {
  WithinOneSecond(
      [&] {
        logger_->started = true;
        Forget();
        logger_->Stop();
      },
      [&](std::time_t when) {
        EXPECT_EQ(Text(), EndLine("----------------------------------------------- Log ends on ",
                                  when, " -----------------------------------------------") +
                              kEol + kEol + kEol + kEol + kEol);
      });
}

TEST_F(Log, HeadAndFootLineCarryANulBehindTheYear) {
  logger_->Stop();
  const std::string text = Text();
  const std::time_t now = std::time(nullptr);
  const std::string yearAndNul =
      std::to_string(std::localtime(&now)->tm_year + 1900) + '\0' + " ---";
  const std::size_t head = text.find(yearAndNul);
  ASSERT_NE(head, std::string::npos);
  EXPECT_NE(text.find(yearAndNul, head + 1), std::string::npos);
}

TEST_F(Log, EachRunStartsANewOne) {
  logger_->Log("of the first run", kLogInfo);
  logger_.reset();
  logger_ = std::make_unique<Logger>(path_);
  EXPECT_EQ(Text().find("of the first run"), std::string::npos);
}

TEST_F(Log, ASecondStartIsIgnored) {
  logger_->Log("kept", kLogInfo);
  const std::string before = Text();
  logger_->Start();
  EXPECT_EQ(Text(), before);
}

TEST_F(Log, ASecondStopIsIgnored) {
  logger_->Stop();
  EXPECT_FALSE(logger_->started);
  const std::string before = Text();
  logger_->Stop();
  logger_.reset();
  EXPECT_EQ(Text(), before);
}

TEST_F(Log, DestructionStopsIt) {
  logger_.reset();
  EXPECT_NE(Text().find("Log ends on "), std::string::npos);
}

TEST_F(Log, StartsAgainAfterAStop) {
  logger_->Stop();
  logger_->Start();
  EXPECT_TRUE(logger_->started);
  EXPECT_EQ(Text().find("Log ends on "), std::string::npos);
  EXPECT_NE(Text().find("Log begins on "), std::string::npos);
}

TEST_F(Log, ALineIsMarkPositionTimeAndText) {
  At("Minimal", 3486);
  WithinOneSecond(
      [&] {
        Forget();
        logger_->Log("Successfully exiting ShutdownSound()", kLogInfo);
      },
      [&](std::time_t when) {
        EXPECT_EQ(Text(), "I      Minimal[3486]" + DateText(when) +
                              "Successfully exiting ShutdownSound()" + kEol);
      });
}

TEST_F(Log, TheDateIsMonthAndDayWithoutAYear) {
  const std::string prefix = logger_->LinePrefix(kLogInfo);
  const std::size_t bracket = prefix.find(']');
  ASSERT_NE(bracket, std::string::npos);
  std::string shape = prefix.substr(bracket + 1);
  for (char& c : shape)
    if (c >= '0' && c <= '9') c = '0';
  EXPECT_EQ(shape, "00/00 00:00:00 ");
}

TEST_F(Log, EveryLevelHasItsMark) {
  const std::pair<int, std::string> marks[] = {
      {-1, "A "}, {1, "> "}, {2, "< "}, {4, "F "}, {16, "D "},
      {18, "I "}, {20, "W "}, {24, "E "}, {32, "! "}};
  for (const auto& [level, mark] : marks)
    EXPECT_EQ(logger_->LinePrefix(level).substr(0, 2), mark) << level;
}

TEST_F(Log, ALevelOfFiveIsWrittenWithTwoBlanks) {
  At("Minimal", 12);
  EXPECT_EQ(DatelessTextOf([&] { logger_->Log("x", 5); }), "       Minimal[0012]x" + kEol);
}

TEST_F(Log, AnyOtherLevelHasTwoBlanks) {
  for (const int level : {3, 5, 17, 19, 64, 0x40000000})
    EXPECT_EQ(logger_->LinePrefix(level).substr(0, 2), "  ") << level;
}

TEST_F(Log, OnlyTheFilesNameIsPrintedPaddedToTwelve) {
  At("C:\\src\\app\\Minimal", 7);
  EXPECT_EQ(logger_->LinePrefix(kLogInfo).substr(0, 20), "I      Minimal[0007]");
  At("ends\\", 7);
  EXPECT_EQ(logger_->LinePrefix(kLogInfo).substr(0, 20), "I             [0007]");
}

TEST_F(Log, ANameOfTwelveOrMoreIsNeitherPaddedNorCut) {
  At("abcdefghijkl", 1);
  EXPECT_EQ(logger_->LinePrefix(kLogInfo).substr(0, 20), "I abcdefghijkl[0001]");
  At("abcdefghijklm", 12345);
  EXPECT_EQ(logger_->LinePrefix(kLogInfo).substr(0, 22), "I abcdefghijklm[12345]");
  At(std::string(5000, 'n').c_str(), 1);
  EXPECT_EQ(logger_->LinePrefix(kLogInfo).substr(2, 5006), std::string(5000, 'n') + "[0001]");
}

TEST_F(Log, ThePrefixIsOneString) {
  const std::string& first = logger_->LinePrefix(kLogInfo);
  EXPECT_EQ(&first, &logger_->LinePrefix(kLogError));
  EXPECT_EQ(first[0], 'E');
}

class Indentation : public LoggerTest {
 protected:
  std::string Of(int columns) {
    logger_->indent = columns;
    const std::string prefix = logger_->LinePrefix(kLogInfo);
    return prefix.substr(prefix.find(']') + 1 + kDateLength);
  }
};

TEST_F(Indentation, OfZeroIsNothing) { EXPECT_EQ(Of(0), ""); }
TEST_F(Indentation, OfOneIsABlank) { EXPECT_EQ(Of(1), " "); }
TEST_F(Indentation, OfTwoEndsWithABar) { EXPECT_EQ(Of(2), " |"); }
TEST_F(Indentation, OfFourHasABarInColumnOne) { EXPECT_EQ(Of(4), " |  "); }
TEST_F(Indentation, OfEightHasBarsInColumnsOneAndFive) { EXPECT_EQ(Of(8), " |   |  "); }

TEST_F(Indentation, FollowsTheStep) {
  logger_->indentStep = 3;
  EXPECT_EQ(Of(6), " |  | ");
}

TEST_F(Indentation, HasLineArtOnRequest) {
  logger_->lineArt = true;
  EXPECT_EQ(Of(4), " \xB3  ");
}

TEST_F(Indentation, StaysBelow1024Columns) {
  EXPECT_EQ(Of(1023).size(), 1023u);
  EXPECT_EQ(Of(100000).size(), 1023u);
  EXPECT_EQ(Of(-5), "");
}

TEST_F(Indentation, SurvivesAStepOfZero) {
  logger_->indentStep = 0;
  EXPECT_EQ(Of(4), "    ");
}

TEST_F(Log, EnterIndentsTheLinesBehindIt) {
  At("Minimal", 1);
  EXPECT_EQ(DatelessTextOf([&] {
              logger_->LogEnter("in", kLogFunction);
              logger_->Log("inside", kLogInfo);
              logger_->LogLeave("out", kLogFunction);
              logger_->Log("behind", kLogInfo);
            }),
            "F      Minimal[0001] +- in" + kEol +          //
                "I      Minimal[0001] |  inside" + kEol +  //
                "F      Minimal[0001] +- out" + kEol +     //
                "I      Minimal[0001]behind" + kEol);
}

TEST_F(Log, LineArtHasItsOwnCorners) {
  logger_->lineArt = true;
  At("Minimal", 1);
  EXPECT_EQ(DatelessTextOf([&] {
              logger_->LogEnter("in", kLogFunction);
              logger_->LogLeave("out", kLogFunction);
            }),
            "F      Minimal[0001] \xDA in" + kEol + "F      Minimal[0001] \xC0 out" + kEol);
}

TEST_F(Log, LeaveAtZeroKeepsZero) {
  logger_->LogLeave("x", kLogFunction);
  EXPECT_EQ(logger_->indent, 0);
  logger_->indent = 3;
  logger_->LogLeave("x", kLogFunction);
  EXPECT_EQ(logger_->indent, 0);
}

TEST_F(Log, AMaskedLevelWritesNothingAndMovesNothing) {
  logger_->levelMask = 1;
  logger_->indent = 8;
  EXPECT_EQ(TextOf([&] {
              logger_->Log("x", 2);
              logger_->LogLeave("x", 2);
              logger_->LogEnter("x", 2);
              logger_->LogHex("x", 1, 2);
            }),
            "");
  EXPECT_EQ(logger_->indent, 8);
}

TEST_F(Log, ALevelThatSharesABitWithTheMaskIsWritten) {
  logger_->levelMask = 16;
  EXPECT_NE(TextOf([&] { logger_->Log("x", kLogError); }), "");
  EXPECT_NE(TextOf([&] { logger_->Log("x", kLogAlways); }), "");
  EXPECT_EQ(TextOf([&] { logger_->Log("x", kLogCritical); }), "");
}

TEST_F(Log, RawTextHasNoPrefixNoLineEndAndNoLevel) {
  logger_->levelMask = 0;
  EXPECT_EQ(TextOf([&] {
              logger_->LogRaw("one");
              logger_->LogRaw(" two\n");
            }),
            "one two" + kEol);
}

TEST_F(Log, LinesAreAppendedBehindWhatOthersWrote) {
  const std::string text = TextOf([&] {
    logger_->LogRaw("ours;");
    support::Bytes both = support::ReadWholeFile(path_);
    support::Append(both, support::BytesOf("theirs;"));
    support::WriteWholeFile(path_, both);
    logger_->LogRaw("ours again");
  });
  EXPECT_EQ(text, "ours;theirs;ours again");
}

class HexDump : public LoggerTest {
 protected:
  // The 80 columns of each line.
  std::vector<std::string> Of(const std::string& data) {
    At("Minimal", 1);
    const std::string prefix = "D      Minimal[0001]";
    const std::string text =
        DatelessTextOf([&] { logger_->LogHex(data.data(), data.size(), kLogDebug); });
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find(kEol, at);
      if (end == std::string::npos) throw std::runtime_error("a line without its end");
      EXPECT_EQ(text.substr(at, prefix.size()), prefix);
      lines.push_back(text.substr(at + prefix.size(), end - at - prefix.size()));
      at = end + kEol.size();
    }
    return lines;
  }
  static std::string Repeat(const std::string& text, int times) {
    std::string all;
    for (int n = 0; n < times; ++n) all += text;
    return all;
  }
};

TEST_F(HexDump, OfTwentyBytesFillsOneLine) {
  const auto lines = Of("ABCDEFGHIJ0123456789");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0],
            "41 42 43 44 45 46 47 48 49 4A 30 31 32 33 34 35 36 37 38 39 ABCDEFGHIJ0123456789");
}

TEST_F(HexDump, OfTwentyOneBytesTakesTwoLines) {
  const auto lines = Of("ABCDEFGHIJ0123456789x");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], "78 " + Repeat("-- ", 19) + "x" + Repeat(".", 19));
  EXPECT_EQ(lines[1].size(), 80u);
}

TEST_F(HexDump, OfFortyBytesTakesTwoLines) { EXPECT_EQ(Of(std::string(40, 'x')).size(), 2u); }

TEST_F(HexDump, ShowsPrintableBytesAlone) {
  const auto lines = Of(std::string("\x1F\x20\x7E\x7F\x80\xFF\x00\n", 8));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "1F 20 7E 7F 80 FF 00 0A " + Repeat("-- ", 12) + ". ~\x7F" +
                          Repeat(".", 16));
}

TEST_F(HexDump, OfNothingWritesNothing) {
  EXPECT_TRUE(Of("").empty());
  EXPECT_EQ(TextOf([&] { logger_->LogHex(nullptr, 10, kLogDebug); }), "");
}

TEST_F(HexDump, IsIndented) {
  logger_->indent = 4;
  const auto lines = Of("x");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].substr(0, 8), " |  78 -");
}

TEST_F(Log, AFileThatCannotBeOpenedLosesTheLineAndNothingElse) {
  logger_->fileName = folder_.File("no such folder") + "/log.txt";
  logger_->Log("x", kLogInfo);
  logger_->LogRaw("x");
  logger_->LogHex("x", 1, kLogInfo);
  logger_->LogEnter("x", kLogInfo);
  EXPECT_EQ(logger_->indent, 0);
  logger_->indent = 8;
  logger_->LogLeave("x", kLogInfo);
  EXPECT_EQ(logger_->indent, 4);
  logger_->Stop();
  EXPECT_FALSE(logger_->started);
  logger_->Start();
  EXPECT_TRUE(logger_->started);
}

class ScopeLog : public LoggerTest {
 protected:
  void SetUp() override {
    LoggerTest::SetUp();
    gLogger = logger_.get();
    At("Minimal", 1);
  }
  void TearDown() override { gLogger = nullptr; }
};

TEST_F(ScopeLog, ABlockHasItsBeginAndItsEnd) {
  EXPECT_EQ(DatelessTextOf([] { LogBlockScope scope("music"); }),
            ">      Minimal[0001] +- Begin block: music" + kEol +
                "<      Minimal[0001] +- End block: music" + kEol);
  EXPECT_EQ(logger_->indent, 0);
}

TEST_F(ScopeLog, AFunctionHasItsEnterAndItsExit) {
  EXPECT_EQ(DatelessTextOf([] { LogFunctionScope scope("ShutdownSound()"); }),
            "F      Minimal[0001] +- Enter function: ShutdownSound()" + kEol +
                "F      Minimal[0001] +- Exit function: ShutdownSound()" + kEol);
}

#define LOG_SOURCE "src\\app\\Minimal"

std::string Position(int line) {
  char text[32];
  std::snprintf(text, sizeof text, "     Minimal[%04d]", line);
  return text;
}

// The pair stands at the function's start: what follows isn't indented.
TEST_F(ScopeLog, TheGuardedFormClosesAScopeAtOnce) {
  int line = 0;
  const std::string text = DatelessTextOf([&] {
    LOG_FUNCTION("ShutdownSound()");
    LOG_INFO("Successfully exiting ShutdownSound()"); line = __LINE__;
  });
  EXPECT_EQ(text,
            "F " + Position(line - 1) + " +- Enter function: ShutdownSound()" + kEol +
                "F " + Position(line - 1) + " +- Exit function: ShutdownSound()" + kEol +
                "I " + Position(line) + "Successfully exiting ShutdownSound()" + kEol);
}

TEST_F(ScopeLog, TheGuardedFormsHaveTheirLevels) {
  int line = 0;
  const std::string text = DatelessTextOf([&] {
    LOG_AT(kLogError, "failed");
    LOG_ERROR("failed badly");
    LOG_BLOCK("b"); line = __LINE__;
  });
  EXPECT_EQ(text, "E " + Position(line - 2) + "failed" + kEol +
                      "! " + Position(line - 1) + "failed badly" + kEol +
                      "> " + Position(line) + " +- Begin block: b" + kEol +
                      "< " + Position(line) + " +- End block: b" + kEol);
}

TEST_F(ScopeLog, WithTheLogOffNothingIsEvaluated) {
  gLogger = nullptr;
  int evaluated = 0;
  LOG_INFO((++evaluated, "x"));
  LOG_FUNCTION((++evaluated, "x"));
  { const LogBlockScope scope("x"); }
  EXPECT_EQ(evaluated, 0);
}

// What another thread may be reading stays where it is.
TEST_F(Log, ItsSharedStringsNeverMove) {
  const char* source = logger_->sourceFile.data();
  const char* prefix = logger_->LinePrefix(kLogInfo).data();
  logger_->sourceFile = "a name that is longer than what fits into a short string.cpp";
  logger_->indent = 1023;
  EXPECT_EQ(logger_->LinePrefix(kLogInfo).data(), prefix);
  EXPECT_EQ(logger_->sourceFile.data(), source);
}

// Nobody locks: lines may mix or cover one another, but none may bring the
// program down.
TEST_F(ScopeLog, SurvivesTwoThreads) {
  Forget();
  const auto write = [this] {
    for (int n = 0; n < 200; ++n) {
      for (int m = 0; m < 200; ++m)
        logger_->SetSource(m % 2 ? "CImgLoadThread.cpp" : "a much longer name than that.cpp", m);
      logger_->LogRaw("|");
      logger_->LinePrefix(kLogInfo);
    }
  };
  std::thread other(write);
  write();
  other.join();
  const std::string text = Text();
  EXPECT_GE(text.size(), 200u);
  EXPECT_EQ(text, std::string(text.size(), '|'));
}

TEST(LoggerLayout, SlotsAndFieldsStandInTheirOrder) {
  const TempFolder folder;
  const Logger logger(folder.File("log.txt"));
  EXPECT_TRUE(support::StandInOrder(logger.fileName, logger.sourceFile, logger.sourceLine,
                                    logger.indent, logger.indentStep, logger.levelMask,
                                    logger.started, logger.lineArt));
  EXPECT_EQ(logger.indent, 0);
  EXPECT_EQ(logger.indentStep, 4);
  EXPECT_EQ(logger.levelMask, 0xFFFFFFFFu);
  EXPECT_TRUE(logger.started);
  EXPECT_FALSE(logger.lineArt);
  EXPECT_EQ(support::SlotOf(&Logger::Start), 0);
  EXPECT_EQ(support::SlotOf(&Logger::Stop), 1);
  EXPECT_EQ(support::SlotOf(&Logger::Log), 2);
  EXPECT_EQ(support::SlotOf(&Logger::LogRaw), 3);
  EXPECT_EQ(support::SlotOf(&Logger::LogHex), 4);
  EXPECT_EQ(support::SlotOf(&Logger::LogEnter), 5);
  EXPECT_EQ(support::SlotOf(&Logger::LogLeave), 6);
  EXPECT_EQ(support::SlotOf(&Logger::LinePrefix), 7);
}

#ifdef _WIN32

HANDLE OpenWith(const std::string& path, DWORD access, DWORD share) {
  return CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

TEST_F(Log, OthersMayHaveTheFileOpenForReadingAndWriting) {
  const KernelHandle reader(OpenWith(path_, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
  const KernelHandle writer(OpenWith(path_, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
  ASSERT_NE(reader.get(), INVALID_HANDLE_VALUE);
  ASSERT_NE(writer.get(), INVALID_HANDLE_VALUE);
  logger_->Log("written all the same", kLogInfo);
  EXPECT_NE(Text().find("written all the same"), std::string::npos);
}

TEST_F(Log, BetweenTheLinesTheFileIsClosed) {
  logger_->Log("x", kLogInfo);
  const KernelHandle alone(OpenWith(path_, GENERIC_READ | GENERIC_WRITE, 0));
  EXPECT_NE(alone.get(), INVALID_HANDLE_VALUE);
}

TEST_F(Log, AFileThatSomebodyLockedLosesTheLineAlone) {
  const std::string before = Text();
  {
    const KernelHandle alone(OpenWith(path_, GENERIC_READ, 0));
    ASSERT_NE(alone.get(), INVALID_HANDLE_VALUE);
    logger_->Log("lost", kLogInfo);
    logger_->LogEnter("lost", kLogInfo);
    EXPECT_EQ(logger_->indent, 0);
  }
  EXPECT_EQ(Text(), before);
  logger_->Log("written", kLogInfo);
  EXPECT_NE(Text().find("written"), std::string::npos);
}

#endif

}  // namespace
