#include "MakeBundleRun.h"

#include "makebundle/WinText.h"

namespace {

using support::Bytes;
using support::BytesOf;
using testing::AllOf;
using testing::HasSubstr;

class Sums : public MakeBundleTest {
 protected:
  Sums() {
    for (const char* name : kFiles) temp.Write(name, BytesOf(std::string("this is ") + name));
  }
  RunResult Run() const { return RunMakeBundle({"sums", temp.Path()}); }
  Bytes Written() const { return support::ReadWholeFile(Path("chk.sum")); }

  static constexpr const char* kFiles[] = {"BTNexgenIPL32.dll", "fmod.dll", "images.bdl",
                                           "Velmora2.scr", "Velmora2.exe"};
};

TEST_F(Sums, EachFileHasItsWord) {
  for (const char* name : kFiles) temp.Write(name, {});
  temp.Write("images.bdl", BytesOf("123456789"));  // whose sum everybody knows
  const RunResult run = Run();
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("chk.sum"));
  Bytes expected(32);
  const Bytes known{0x26, 0x39, 0xF4, 0xCB};
  std::copy(known.begin(), known.end(), expected.begin() + 2 * 4);
  EXPECT_EQ(Written(), expected);
}

TEST_F(Sums, TheSaversCopyHasTheSaversSum) {
  ASSERT_EQ(Run().exitCode, 0);
  const Bytes sums = Written();
  ASSERT_EQ(sums.size(), 32u);
  const auto word = [&](std::size_t n) { return Bytes(&sums[n * 4], &sums[n * 4] + 4); };
  EXPECT_EQ(word(4), word(5));
  EXPECT_NE(word(5), word(6));
  EXPECT_EQ(word(3), Bytes(4)) << "a word without a file";
  EXPECT_EQ(word(7), Bytes(4));
}

TEST_F(Sums, OldSumsAreReplacedAndNothingIsLeftBeside) {
  temp.Write("chk.sum", Bytes(99, 0xEE));
  const std::vector<std::string> before = TreeOf(temp.Path());
  ASSERT_EQ(Run().exitCode, 0);
  EXPECT_EQ(Written().size(), 32u);
  EXPECT_EQ(TreeOf(temp.Path()), before);
}

TEST_F(Sums, MissingFileIsAnErrorThatNamesItAndKeepsTheOldSums) {
  temp.Write("chk.sum", BytesOf("old"));
  for (const char* name : kFiles) {
    ASSERT_TRUE(DeleteFileA(Path(name).c_str()));
    const std::vector<std::string> before = TreeOf(temp.Path());
    const RunResult run = Run();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr("error: "), HasSubstr(name), HasSubstr("can't be read")));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(Written(), BytesOf("old"));
    EXPECT_EQ(TreeOf(temp.Path()), before);
    temp.Write(name, BytesOf("back again"));
  }
}

TEST_F(Sums, MissingFolderIsAnErrorThatNamesIt) {
  const RunResult run = RunMakeBundle({"sums", Path("nowhere")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("nowhere"));
}

TEST_F(Sums, SumsThatCannotBeWrittenAreAnError) {
  temp.MakeFolder("chk.sum");
  const RunResult run = Run();
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, AllOf(HasSubstr("chk.sum"), HasSubstr("is a folder")));
}

// The show opens its files by their ANSI names and could do nothing there.
TEST_F(Sums, FolderBeyondTheCodePageIsAnErrorThatNamesIt) {
  const std::string folder = Path("\xE6\x97\xA5");
  CreateDirectoryW(WideFromUtf8(folder).c_str(), nullptr);
  const RunResult run = RunMakeBundle({"sums", folder});
  RemoveDirectoryW(WideFromUtf8(folder).c_str());
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("\xE6\x97\xA5"));
}

}  // namespace
