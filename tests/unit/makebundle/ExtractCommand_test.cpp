#include "MakeBundleRun.h"

#include "makebundle/WinText.h"
#include "support/BundleWriter.h"

namespace {

using support::Bytes;
using support::BytesOf;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Extract : public MakeBundleTest {
 protected:
  std::string WriteBundle(const support::BundleWriter& writer) const {
    return temp.Write("in\\a.bdl", writer.Build());
  }
  std::vector<std::string> Extracted() const { return TreeOf(target); }
  std::string target = Path("to");
};

TEST_F(Extract, PackedFilesComeBackByteForByte) {
  Picture("a.jpg", "blocks.jpg");
  Picture("b \xC3\xA9.png", "plain.png");
  const std::string music = temp.MakeFolder("music");
  CopyFixture("tone.mp3", music + "\\tone.mp3");
  ASSERT_EQ(RunPack({"--music", music}).exitCode, 0);
  const RunResult run = RunMakeBundle({"extract", out, target});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("7 members extracted"));
  EXPECT_EQ(support::ReadWholeFile(target + "\\image\\a.jpg"),
            support::ReadWholeFile(Fixture("blocks.jpg")));
  EXPECT_EQ(support::ReadWholeFile(target + "\\image\\b \xE9.png"),
            support::ReadWholeFile(Fixture("plain.png")));
  EXPECT_EQ(support::ReadWholeFile(target + "\\music\\tone.mp3"),
            support::ReadWholeFile(Fixture("tone.mp3")));
  EXPECT_EQ(support::ReadWholeFile(target + "\\dims\\a.jpg"), MemberOf(out, "dims", "a.jpg"));
}

TEST_F(Extract, OneCategoryOrMemberCanBeAskedFor) {
  const std::string bundle = WriteBundle(support::BundleWriter()
                                             .Category("one")
                                             .Member("a", "1")
                                             .Member("b", "2")
                                             .Category("two")
                                             .Member("a", "3"));
  EXPECT_EQ(RunMakeBundle({"extract", bundle, target, "ONE/B"}).exitCode, 0);
  EXPECT_THAT(Extracted(), ElementsAre("one", "one/b"));
  EXPECT_EQ(RunMakeBundle({"extract", bundle, target, "two"}).exitCode, 0);
  EXPECT_THAT(Extracted(), ElementsAre("one", "one/b", "two", "two/a"));
}

TEST_F(Extract, WhatIsNotThereIsAnErrorThatNamesIt) {
  const std::string bundle = WriteBundle(support::BundleWriter().Category("one").Member("a", "1"));
  for (const char* wanted : {"two", "one/b", "one/a/x"}) {
    const RunResult run = RunMakeBundle({"extract", bundle, target, wanted});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr(wanted));
  }
  EXPECT_THAT(Extracted(), IsEmpty());
}

TEST_F(Extract, EmptyMembersAndCategoriesAreNoTrouble) {
  const std::string bundle =
      WriteBundle(support::BundleWriter().Category("empty").Category("one").Member("nothing", ""));
  EXPECT_EQ(RunMakeBundle({"extract", bundle, target}).exitCode, 0);
  EXPECT_THAT(support::ReadWholeFile(target + "\\one\\nothing"), IsEmpty());
}

TEST_F(Extract, FilesThatAreThereStayUnlessAskedFor) {
  const std::string bundle =
      WriteBundle(support::BundleWriter().Category("one").Member("a", "new").Member("b", "b"));
  temp.MakeFolder("to");
  temp.MakeFolder("to\\one");
  temp.Write("to\\one\\a", BytesOf("old"));
  const RunResult run = RunMakeBundle({"extract", bundle, target});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("--overwrite"));
  EXPECT_EQ(support::ReadWholeFile(target + "\\one\\a"), BytesOf("old"));
  EXPECT_EQ(support::ReadWholeFile(target + "\\one\\b"), BytesOf("b"))
      << "the others are extracted all the same";
  EXPECT_EQ(RunMakeBundle({"extract", bundle, target, "--overwrite"}).exitCode, 0);
  EXPECT_EQ(support::ReadWholeFile(target + "\\one\\a"), BytesOf("new"));
}

// The bytes of `a` are gathered beside it, by a name such as `a.part`.
TEST_F(Extract, AMemberNamedLikeAStagingFileStays) {
  const std::string bundle = WriteBundle(support::BundleWriter()
                                             .Category("one")
                                             .Member("a.part", "first")
                                             .Member("a.PART1", "second")
                                             .Member("a", "third"));
  const RunResult run = RunMakeBundle({"extract", bundle, target});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("3 members extracted"));
  EXPECT_THAT(Extracted(), ElementsAre("one", "one/a", "one/a.PART1", "one/a.part"));
  EXPECT_EQ(support::ReadWholeFile(target + "\\one\\a.part"), BytesOf("first"));
  EXPECT_EQ(support::ReadWholeFile(target + "\\one\\a.PART1"), BytesOf("second"));
  EXPECT_EQ(support::ReadWholeFile(target + "\\one\\a"), BytesOf("third"));
}

TEST_F(Extract, AFileNamedLikeAStagingFileStays) {
  const std::string bundle =
      WriteBundle(support::BundleWriter().Category("one").Member("a", "a").Member("b", "b"));
  temp.MakeFolder("to");
  temp.MakeFolder("to\\one");
  temp.MakeFolder("to\\one\\b.part");
  temp.Write("to\\one\\a.part", BytesOf("mine"));
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--overwrite"}}) {
    std::vector<std::string> arguments{"extract", bundle, target};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const RunResult run = RunMakeBundle(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(Extracted(), ElementsAre("one", "one/a", "one/a.part", "one/b", "one/b.part"));
    EXPECT_EQ(support::ReadWholeFile(target + "\\one\\a.part"), BytesOf("mine"));
  }
}

const char* const kHostileNames[] = {"..\\evil",
                                     "../evil",
                                     "..\\..\\evil",
                                     "\\evil",
                                     "/evil",
                                     "C:\\evil",
                                     "C:evil",
                                     "\\\\?\\C:\\evil",
                                     "sub\\evil",
                                     "sub/evil",
                                     ".",
                                     "..",
                                     "NUL",
                                     "con.jpg",
                                     "COM1",
                                     "a:stream",
                                     "evil.",
                                     "evil ",
                                     "a\nb",
                                     "a*"};

class HostileName : public Extract, public testing::WithParamInterface<std::size_t> {
 protected:
  std::string name = kHostileNames[GetParam()];
};
INSTANTIATE_TEST_SUITE_P(Extract, HostileName,
                         testing::Range<std::size_t>(0, std::size(kHostileNames)));

TEST_P(HostileName, OfAMemberLeavesTheFolderAlone) {
  const std::string bundle =
      WriteBundle(support::BundleWriter().Category("one").Member(name, "evil").Member("good", "g"));
  const std::vector<std::string> before = TreeOf(temp.Path());
  const RunResult run = RunMakeBundle({"extract", bundle, target});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("isn't extracted"));
  EXPECT_THAT(Extracted(), ElementsAre("one", "one/good"));
  EXPECT_EQ(TreeOf(temp.Path()).size(), before.size() + 3);
}

TEST_P(HostileName, OfACategoryLeavesTheFolderAlone) {
  const std::string bundle =
      WriteBundle(support::BundleWriter().Category(name).Member("evil", "evil"));
  const std::vector<std::string> before = TreeOf(temp.Path());
  const RunResult run = RunMakeBundle({"extract", bundle, target});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(TreeOf(temp.Path()), before);
}

TEST_F(Extract, EmptyNamesAreRefused) {
  const std::string bundle = WriteBundle(support::BundleWriter().Category("one").Member("", "x"));
  EXPECT_EQ(RunMakeBundle({"extract", bundle, target}).exitCode, 1);
  EXPECT_THAT(Extracted(), IsEmpty());
}

TEST_F(Extract, ControlCharactersOfANameDoNotReachTheTerminal) {
  const std::string bundle =
      WriteBundle(support::BundleWriter().Category("one").Member("a\x1B[2Jb", "x"));
  for (const RunResult& run :
       {RunMakeBundle({"extract", bundle, target}), RunMakeBundle({"list", bundle})})
    EXPECT_EQ((run.out + run.err).find('\x1B'), std::string::npos);
}

TEST_F(Extract, MemberThatIsNotThereWholeIsAnError) {
  const std::string bundle = WriteBundle(
      support::BundleWriter().Category("one").MemberClaiming("a", 0, 100000).Member("b", "b"));
  const RunResult run = RunMakeBundle({"extract", bundle, target});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, AllOf(HasSubstr("a"), HasSubstr("can't be read")));
  EXPECT_THAT(Extracted(), ElementsAre("one", "one/b"));
}

using List = Extract;

TEST_F(List, ShowsPlacesSizesDimsAndCaptions) {
  Picture("a.jpg", "blocks.jpg");
  Text("a.txt", "Salt & pepper\nsecond line");
  ASSERT_EQ(RunPack({"--focus", temp.Write("focus.txt", BytesOf("a.jpg y"))}).exitCode, 0);
  const RunResult run = RunMakeBundle({"list", out});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, AllOf(HasSubstr("4 categories, 3 members"), HasSubstr("[image]"),
                             HasSubstr("[music]"), HasSubstr("a.jpg  64 x 48, focus y, of a.jpg"),
                             HasSubstr("a.jpg  \"Salt & pepper / second line\", of a.jpg")));
}

TEST_F(List, FileThatIsNoBundleIsAnErrorThatSaysWhy) {
  const RunResult text =
      RunMakeBundle({"list", temp.Write("in\\x.bdl", BytesOf("This is no bundle at all."))});
  EXPECT_EQ(text.exitCode, 1);
  EXPECT_THAT(text.err, AllOf(HasSubstr("x.bdl"), HasSubstr("no bundle")));
  const RunResult missing = RunMakeBundle({"list", Path("missing.bdl")});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.err, AllOf(HasSubstr("missing.bdl"), HasSubstr("can't be opened")));
}

}  // namespace
