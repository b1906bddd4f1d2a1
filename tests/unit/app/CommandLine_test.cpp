#include "app/CommandLine.h"
#include "app/CommandLineOption.h"

#include "settings/Session.h"
#include "support/GuardedBytes.h"
#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <shellapi.h>

namespace {

using Command = StartRequest::Command;

constexpr char kSaver[] = "C:\\WINDOWS\\velmora2.scr";

StartRequest ParseArguments(const std::string& arguments) {
  return ParseCommandLine((kSaver + std::string(" ") + arguments).c_str());
}

// Nothing is asked for beside the run mode and the parent.
void ExpectOnly(const StartRequest& request, std::int32_t runMode, std::uint32_t parent,
                bool foreground = false) {
  EXPECT_EQ(request.runMode, runMode);
  EXPECT_EQ(request.parentNumber, parent);
  EXPECT_EQ(request.parentIsForeground, foreground);
  EXPECT_FALSE(request.installRequested);
  EXPECT_EQ(request.command, Command::None);
}

// --- The program's name ---

TEST(CommandLine, WithoutArgumentsTheDialogOpensWithoutAParent) {
  for (const char* line : {kSaver, "velmora2.scr", "velmora2.scr   ", "\"C:\\a b\\velmora2.scr\"",
                           "\"C:\\a b\\velmora2.scr\"   ", "\"unclosed quote /s", "", "\"\""}) {
    SCOPED_TRACE(line);
    ExpectOnly(ParseCommandLine(line), RUNMODE_CONFIG, 0);
    EXPECT_FALSE(ParseCommandLine(line).hasDumpType);
  }
}

TEST(CommandLine, AQuotedProgramNameMayHoldBlanks) {
  ExpectOnly(ParseCommandLine("\"C:\\Program Files\\s p\\velmora2.scr\" /s"), RUNMODE_SAVER, 0);
  ExpectOnly(ParseCommandLine("\"C:\\Program Files\\velmora2.scr\"/p 5"), RUNMODE_PREVIEW, 5);
}

TEST(CommandLine, AnUnquotedProgramNameEndsAtItsFirstBlank) {
  ExpectOnly(ParseCommandLine("C:\\velmora2.scr    /p 12"), RUNMODE_PREVIEW, 12);
}

// --- Switches ---

TEST(CommandLine, SGivesTheSaver) {
  for (const char* arguments : {"s", "S", "-s", "/s", "/S", "-S", "/saver", "screen", "-Show me",
                                "/s 123", "   /s"}) {
    SCOPED_TRACE(arguments);
    ExpectOnly(ParseArguments(arguments), RUNMODE_SAVER, 0);
  }
}

TEST(CommandLine, PAndLGiveThePreviewInItsParent) {
  for (const char* arguments : {"p 1234", "/p 1234", "-P:1234", "/l 1234", "L:1234", "/p1234",
                                "/p : : 1234", "/p  1234", "/p 1234 more"}) {
    SCOPED_TRACE(arguments);
    ExpectOnly(ParseArguments(arguments), RUNMODE_PREVIEW, 1234);
  }
}

TEST(CommandLine, APreviewWithoutANumberHasNoParent) {
  ExpectOnly(ParseArguments("/p"), RUNMODE_PREVIEW, 0);
  ExpectOnly(ParseArguments("/p abc"), RUNMODE_PREVIEW, 0);
}

TEST(CommandLine, AParentsNumberMayTake32Bits) {
  ExpectOnly(ParseArguments("/p 4294967295"), RUNMODE_PREVIEW, 0xFFFFFFFF);
}

TEST(CommandLine, CWithANumberGivesTheDialogWithThatParent) {
  for (const char* arguments : {"/c:77", "/c 77", "-C 77", "c77"}) {
    SCOPED_TRACE(arguments);
    ExpectOnly(ParseArguments(arguments), RUNMODE_CONFIG, 77);
  }
}

TEST(CommandLine, CAloneTakesTheForegroundWindow) {
  for (const char* arguments : {"/c", "-c", "C", "/c ", "/c:", "/c : "}) {
    SCOPED_TRACE(arguments);
    ExpectOnly(ParseArguments(arguments), RUNMODE_CONFIG, 0, true);
  }
}

TEST(CommandLine, AGivesThePasswordDialogInItsParent) {
  for (const char* arguments : {"/a 9", "-A:9", "a9"}) {
    SCOPED_TRACE(arguments);
    ExpectOnly(ParseArguments(arguments), RUNMODE_PASSWORD, 9);
  }
}

TEST(CommandLine, ZAsksForTheInstallAndStartsNothing) {
  for (const char* arguments : {"/z", "Z", "-z"}) {
    const StartRequest request = ParseArguments(arguments);
    EXPECT_TRUE(request.installRequested) << arguments;
    EXPECT_EQ(request.runMode, RUNMODE_NONE) << arguments;
    EXPECT_EQ(request.parentNumber, 0u) << arguments;
  }
}

TEST(CommandLine, OnlyOneMarkIsSkipped) {
  ExpectOnly(ParseArguments("//s"), RUNMODE_NONE, 0);
  ExpectOnly(ParseArguments("-/s"), RUNMODE_NONE, 0);
  ExpectOnly(ParseArguments("/"), RUNMODE_NONE, 0);
  ExpectOnly(ParseArguments("-"), RUNMODE_NONE, 0);
}

TEST(CommandLine, AnyLengthIsRead) {
  const std::string endless(30000, 'x'), digits(30000, '9');
  EXPECT_EQ(ParseArguments("s" + endless).runMode, RUNMODE_SAVER);
  EXPECT_EQ(ParseArguments("p " + digits).parentNumber, 0xFFFFFFFFu);
  EXPECT_EQ(ParseArguments(endless).command, StartRequest::Command::None);
  EXPECT_EQ(ParseArguments(endless + " uninstall").command, StartRequest::Command::Uninstall);
  EXPECT_EQ(ParseCommandLine(('"' + endless).c_str()).runMode, RUNMODE_CONFIG);
}

TEST(CommandLine, AnyOtherLetterStartsNothing) {
  for (const char* arguments : {"/x", "q", "/ s", "/?", "123", "\"/s\"", "\xE4"}) {
    SCOPED_TRACE(arguments);
    ExpectOnly(ParseArguments(arguments), RUNMODE_NONE, 0);
  }
}

// --- Commands ---

TEST(CommandLine, UninstallIsFoundAnywhereBehindAnotherLetter) {
  for (const char* arguments : {"uninstall", "/UnInstall", "-uninstall now", "/x uninstall"})
    EXPECT_EQ(ParseArguments(arguments).command, Command::Uninstall) << arguments;
}

TEST(CommandLine, InitialSecurityIsFoundAnywhereBehindAnotherLetter) {
  for (const char* arguments : {"initialsecurity", "/InitialSecurity", "x initialsecurity"})
    EXPECT_EQ(ParseArguments(arguments).command, Command::InitialSecurity) << arguments;
}

TEST(CommandLine, ASwitchLetterHidesTheCommands) {
  EXPECT_EQ(ParseArguments("/s uninstall").command, Command::None);
  EXPECT_EQ(ParseArguments("/c initialsecurity").command, Command::None);
  EXPECT_EQ(ParseArguments("/please uninstall").command, Command::None);
}

TEST(CommandLine, ACommandInTheProgramsNameDoesNotCount) {
  EXPECT_EQ(ParseCommandLine("C:\\uninstall\\velmora2.scr /x").command, Command::None);
}

// --- The dump type ---

TEST(CommandLine, ADumpTypeIsNoticedWithAnySwitch) {
  for (const char* arguments : {"/dumpType 2", "/s /dumpType 2", "/p 5 /DUMPTYPE 2", "x/dumptype"})
    EXPECT_TRUE(ParseArguments(arguments).hasDumpType) << arguments;
  for (const char* arguments : {"/s", "dumpType 2", "-dumpType 2"})
    EXPECT_FALSE(ParseArguments(arguments).hasDumpType) << arguments;
}

TEST(CommandLine, ADumpTypeAloneStartsNothing) {
  ExpectOnly(ParseArguments("/dumpType 2"), RUNMODE_NONE, 0);
}

// --- Lines of any length ---

// Pieces of lines put together at random, up to the longest that Windows has.
std::string RandomLine(std::mt19937& random) {
  constexpr const char* kPieces[] = {"\"", " ", "\t", "/", "-", ":", "s", "p", "c", "12", "-1",
                                     "uninstall", "/dumpType", "\x80\xFF", "velmora2.scr"};
  const std::size_t most = random() % 4 ? 40 : 32767;
  const std::size_t length = random() % most;
  std::string line;
  while (line.size() < length) line += kPieces[random() % std::size(kPieces)];
  line.resize(length);
  return line;
}

// The terminator is the last byte that may be read.
TEST(CommandLine, LinesOfAnyLengthAreReadToTheirEndAtMost) {
  std::mt19937 random(11);
  int modes = 0;
  for (int turn = 0; turn < 2000; ++turn) {
    const std::string line = RandomLine(random);
    const auto* bytes = reinterpret_cast<const unsigned char*>(line.c_str());
    const support::GuardedBytes guarded({bytes, line.size() + 1});
    modes |= 1 << ParseCommandLine(reinterpret_cast<const char*>(guarded.data())).runMode;
  }
  const auto bit = [](RunModeValue mode) { return 1 << mode; };
  EXPECT_EQ(modes,
            bit(RUNMODE_NONE) | bit(RUNMODE_CONFIG) | bit(RUNMODE_PREVIEW) | bit(RUNMODE_SAVER));
}

// --- Options ---

auto PretendLine(const wchar_t* line) {
  return support::HookImport<decltype(&GetCommandLineW)>(
      "kernel32.dll", "GetCommandLineW",
      [line]() -> LPWSTR { return const_cast<wchar_t*>(line); });
}

class Options : public testing::Test {
 protected:
  std::optional<std::string> Ask(const wchar_t* line, const char* name) {
    const auto hook = PretendLine(line);
    return GetCommandLineOption(name);
  }
  std::int32_t AskInt(const wchar_t* line, const char* name) {
    const auto hook = PretendLine(line);
    return GetCommandLineInt(name);
  }
};

TEST_F(Options, TheArgumentBehindTheNameIsTheAnswer) {
  EXPECT_EQ(Ask(L"a.scr /s /dumpType 12", "dumpType"), "12");
  EXPECT_EQ(Ask(L"a.scr /dumpType \"two words\" x", "dumpType"), "two words");
}

TEST_F(Options, ANameIsFoundWithinAnArgumentAndWithoutRegardToCase) {
  EXPECT_EQ(Ask(L"a.scr /dumpType 12", "dump"), "12");
  EXPECT_EQ(Ask(L"a.scr /DUMPTYPE 12", "dumptype"), "12");
  EXPECT_EQ(Ask(L"a.scr --my-dumpType-x 12", "dumpType"), "12");
}

TEST_F(Options, TheFirstArgumentWithOneBehindItDecides) {
  EXPECT_EQ(Ask(L"a.scr /dumpType 1 /dumpType 2", "dumpType"), "1");
  EXPECT_EQ(Ask(L"a.scr /dumpType /dumpType", "dumpType"), "/dumpType");
}

TEST_F(Options, WithoutAnArgumentBehindItThereIsNoAnswer) {
  EXPECT_EQ(Ask(L"a.scr /s /dumpType", "dumpType"), std::nullopt);
}

TEST_F(Options, AnAbsentOrNullOrEmptyNameHasNoAnswer) {
  EXPECT_EQ(Ask(L"a.scr /s x", "dumpType"), std::nullopt);
  EXPECT_EQ(Ask(L"a.scr /s x", nullptr), std::nullopt);
  EXPECT_EQ(Ask(L"a.scr /s x", ""), std::nullopt);
}

TEST_F(Options, TheAnswerIsInTheAnsiCodePage) {
  EXPECT_EQ(Ask(L"a.scr /name \x00E4\x00F6", "name"), "\xE4\xF6");
}

TEST_F(Options, LinesOfAnyLengthAreSearchedToTheirEndAtMost) {
  std::mt19937 random(12);
  int found = 0;
  for (int turn = 0; turn < 2000; ++turn) {
    const std::string narrow = RandomLine(random);
    const std::wstring line(narrow.begin(), narrow.end());
    const auto* bytes = reinterpret_cast<const unsigned char*>(line.c_str());
    const support::GuardedBytes guarded({bytes, (line.size() + 1) * sizeof(wchar_t)});
    if (Ask(reinterpret_cast<const wchar_t*>(guarded.data()), "dumpType")) ++found;
  }
  EXPECT_GT(found, 0);
  EXPECT_LT(found, 2000);
}

TEST_F(Options, TheArgumentVectorIsFreed) {
  int split = 0;
  int freed = 0;
  HOOK_IMPORT(splitHook, "shell32.dll", CommandLineToArgvW, [&](LPCWSTR line, int* count) {
    ++split;
    return REAL_IMPORT("shell32.dll", CommandLineToArgvW)(line, count);
  });
  HOOK_IMPORT(freeHook, "kernel32.dll", LocalFree, [&](HLOCAL memory) -> HLOCAL {
    ++freed;
    return REAL_IMPORT("kernel32.dll", LocalFree)(memory);
  });
  Ask(L"a.scr /dumpType 1", "dumpType");
  Ask(L"a.scr /s", "dumpType");
  EXPECT_EQ(split, 2);
  EXPECT_EQ(freed, 2);
}

TEST_F(Options, ANumberIsReadInDecimal) {
  EXPECT_EQ(AskInt(L"a.scr /dumpType 2", "dumpType"), 2);
  EXPECT_EQ(AskInt(L"a.scr /dumpType -1", "dumpType"), -1);
  EXPECT_EQ(AskInt(L"a.scr /dumpType 010", "dumpType"), 10);
  EXPECT_EQ(AskInt(L"a.scr /dumpType 7x", "dumpType"), 7);
  EXPECT_EQ(AskInt(L"a.scr /dumpType 2147483647", "dumpType"), 2147483647);
}

TEST_F(Options, ANumberThatIsAbsentOrOutOfRangeOrNoneIsZero) {
  EXPECT_EQ(AskInt(L"a.scr /s", "dumpType"), 0);
  EXPECT_EQ(AskInt(L"a.scr /dumpType", "dumpType"), 0);
  EXPECT_EQ(AskInt(L"a.scr /dumpType x", "dumpType"), 0);
  EXPECT_EQ(AskInt(L"a.scr /dumpType 99999999999", "dumpType"), 0);
  EXPECT_EQ(AskInt(L"a.scr /dumpType -99999999999", "dumpType"), 0);
}

}  // namespace
