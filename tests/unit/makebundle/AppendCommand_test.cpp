#include "MakeBundleRun.h"

#include "support/BundleWriter.h"

namespace {

using support::Bytes;
using support::BytesOf;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class Append : public MakeBundleTest {
 protected:
  Append() {
    Text("menuskin.jpg", "the window");
    Text("toggle_mask_3.bmp", "the mask");
  }
  RunResult Run(const std::string& file, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments{"append", file, "--category", "skin", in};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunMakeBundle(arguments);
  }
  // A copy of a real program: this test's, with the library that it needs.
  std::string Program() const {
    char self[MAX_PATH], library[MAX_PATH];
    GetModuleFileNameA(nullptr, self, MAX_PATH);
    GetModuleFileNameA(GetModuleHandleA("BTNexgenIPL32.dll"), library, MAX_PATH);
    CopyFileA(self, target.c_str(), FALSE);
    CopyFileA(library, Path("BTNexgenIPL32.dll").c_str(), FALSE);
    return target;
  }
  std::string target = Path("program.exe");
};

TEST_F(Append, MembersReadBackAndTheProgramKeepsItsBytes) {
  const Bytes before = support::ReadWholeFile(Program());
  const RunResult run = Run(target);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("2 members in \"skin\" behind " + std::to_string(before.size()) +
                                 " bytes"));
  EXPECT_THAT(NamesIn(target, "skin"), ElementsAre("menuskin.jpg", "toggle_mask_3.bmp"));
  EXPECT_EQ(MemberOf(target, "skin", "MENUSKIN.JPG"), BytesOf("the window"));
  EXPECT_EQ(MemberOf(target, "skin", "toggle_mask_3.bmp"), BytesOf("the mask"));
  const Bytes after = support::ReadWholeFile(target);
  ASSERT_GT(after.size(), before.size());
  EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
  VFBUNDLE bundle(target.c_str());
  EXPECT_EQ(bundle.FindCategory("skin")->FindFile("menuskin.jpg")->offset, before.size());
}

TEST_F(Append, ProgramStillRuns) {
  ASSERT_EQ(Run(Program()).exitCode, 0);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  std::string line = "\"" + target + "\" --gtest_filter=None.None";
  ASSERT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                             nullptr, nullptr, &startup, &process));
  EXPECT_EQ(WaitForSingleObject(process.hProcess, 100'000), WAIT_OBJECT_0);
  DWORD code = 99;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  EXPECT_EQ(code, 0u);
}

TEST_F(Append, SecondTimeIsRefusedUnlessItReplaces) {
  temp.Write("program.exe", BytesOf("MZ any program"));
  ASSERT_EQ(Run(target).exitCode, 0);
  const Bytes once = support::ReadWholeFile(target);
  const RunResult again = Run(target);
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.err, AllOf(HasSubstr("program.exe"), HasSubstr("--replace")));
  EXPECT_EQ(support::ReadWholeFile(target), once);
  EXPECT_EQ(Run(target, {"--replace"}).exitCode, 0);
  EXPECT_EQ(support::ReadWholeFile(target), once) << "the same files give the same bytes";
}

TEST_F(Append, ReplacingLeavesNothingOfTheOldBundle) {
  temp.Write("program.exe", BytesOf("MZ any program"));
  ASSERT_EQ(Run(target).exitCode, 0);
  Text("menuskin.jpg", "new");
  DeleteFileA((in + "\\toggle_mask_3.bmp").c_str());
  ASSERT_EQ(Run(target, {"--replace"}).exitCode, 0);
  EXPECT_THAT(NamesIn(target, "skin"), ElementsAre("menuskin.jpg"));
  const std::string file = support::TextOf(support::ReadWholeFile(target));
  EXPECT_TRUE(file.starts_with("MZ any programnew?skin"));
}

TEST_F(Append, ReplaceOnAFileWithoutABundleJustAppends) {
  temp.Write("program.exe", BytesOf("MZ any program"));
  EXPECT_EQ(Run(target, {"--replace"}).exitCode, 0);
  EXPECT_EQ(MemberOf(target, "skin", "menuskin.jpg"), BytesOf("the window"));
}

TEST_F(Append, BundleItselfIsNoTarget) {
  const Bytes bundle = support::MakeSlideBundle({{"a.bmp", BytesOf("picture"), 1, 1, "", {}}});
  temp.Write("program.exe", bundle);
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--replace"}}) {
    const RunResult run = Run(target, more);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("is a bundle itself"));
  }
  EXPECT_EQ(support::ReadWholeFile(target), bundle);
}

TEST_F(Append, ForeignBundleBehindTheTargetIsNotCutOff) {
  // A gap before the directory: nobody knows whose those bytes are.
  const Bytes file = support::BundleWriter().Category("skin").MemberClaiming("a", 3, 2).Build(
      BytesOf("MZ program"));
  temp.Write("program.exe", file);
  const RunResult run = Run(target, {"--replace"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("can't be replaced"));
  EXPECT_EQ(support::ReadWholeFile(target), file);
}

TEST_F(Append, FailureKeepsTheTargetWhole) {
  temp.Write("program.exe", BytesOf("MZ any program"));
  const std::string locked = in + "\\menuskin.jpg";
  const HANDLE lock =
      CreateFileA(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(lock, INVALID_HANDLE_VALUE);
  const RunResult run = Run(target);
  CloseHandle(lock);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("menuskin.jpg"));
  EXPECT_EQ(support::ReadWholeFile(target), BytesOf("MZ any program"));
  EXPECT_THAT(TreeOf(temp.Path()),
              ElementsAre("in", "in/menuskin.jpg", "in/toggle_mask_3.bmp", "program.exe"));
}

TEST_F(Append, ProgramThatRunsKeepsItsBytes) {
  const HANDLE lock = CreateFileA(Program().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  const Bytes before = support::ReadWholeFile(target);
  const RunResult run = Run(target);
  CloseHandle(lock);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("can't be put in its place"));
  EXPECT_EQ(support::ReadWholeFile(target), before);
}

TEST_F(Append, MissingTargetAndEmptyFolderAreErrors) {
  const RunResult missing = Run(Path("missing.exe"));
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.err, HasSubstr("missing.exe"));
  temp.Write("program.exe", BytesOf("MZ"));
  const RunResult empty =
      RunMakeBundle({"append", target, "--category", "skin", temp.MakeFolder("empty")});
  EXPECT_EQ(empty.exitCode, 1);
  EXPECT_THAT(empty.err, HasSubstr("no file in this folder"));
}

TEST_F(Append, CategoryThatABundleCannotHoldIsAnError) {
  temp.Write("program.exe", BytesOf("MZ"));
  EXPECT_EQ(RunMakeBundle({"append", target, "--category", "?skin", in}).exitCode, 1);
  EXPECT_EQ(support::ReadWholeFile(target), BytesOf("MZ"));
}

}  // namespace
