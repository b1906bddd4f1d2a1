#include "MakeBundleRun.h"

#include "support/BundleWriter.h"
#include "support/TestPictures.h"

namespace {

using support::Bytes;
using support::BytesOf;
using testing::AllOf;
using testing::HasSubstr;

class Verify : public MakeBundleTest {
 protected:
  RunResult Check(const Bytes& file) const {
    return RunMakeBundle({"verify", temp.Write("a.bdl", file)});
  }
  void ExpectProblem(const Bytes& file, const std::string& text) const {
    const RunResult run = Check(file);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr("error: "), HasSubstr("a.bdl"), HasSubstr(text)));
    EXPECT_EQ(run.out, "");
  }

  // A good bundle of one picture, 8 by 6 pixels, but for what a test changes.
  struct Parts {
    std::string image = "a.bmp";
    Bytes picture = support::MakeBmp(8, 6, support::Gradient());
    Bytes dims = support::DimsRecord(8, 6, "a.bmp", support::FocusFlags{});
    Bytes caps = support::CapsRecord("a.bmp", "text");
  };
  static Bytes Bundle(const Parts& parts) {
    return support::BundleWriter()
        .Category("image").Member(parts.image, parts.picture)
        .Category("dims").Member("1", parts.dims)
        .Category("caps").Member("1", parts.caps)
        .Build();
  }
  Parts parts;
};

TEST_F(Verify, GoodBundleIsGood) {
  const RunResult run = Check(Bundle(parts));
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("3 members, all good"));
}

TEST_F(Verify, RecordWithoutFlagsIsGood) {
  parts.dims = support::DimsRecord(8, 6, "a.bmp");
  EXPECT_EQ(Check(Bundle(parts)).exitCode, 0);
}

TEST_F(Verify, SkinBundleBehindAProgramIsGood) {
  const Bytes program = support::BundleWriter()
                            .Category("skin")
                            .Member("menuskin.jpg", parts.picture)
                            .Build(BytesOf("MZ program"));
  EXPECT_EQ(Check(program).exitCode, 0);
}

TEST_F(Verify, SkinPictureThatCannotBeDecodedIsTold) {
  ExpectProblem(support::BundleWriter()
                    .Category("skin")
                    .Member("menuskin.jpg", "any")
                    .Build(BytesOf("MZ program")),
                "skin/menuskin.jpg");
}

// --- Trailer and directory ---

TEST_F(Verify, FileWithoutRoomForATrailerIsTold) {
  ExpectProblem(BytesOf("abc"), "shorter than a bundle's trailer");
}
TEST_F(Verify, EmptyFileIsTold) { ExpectProblem({}, "shorter than a bundle's trailer"); }
TEST_F(Verify, CutFileIsTold) {
  Bytes file = Bundle(parts);
  file.resize(file.size() - 7);
  EXPECT_EQ(Check(file).exitCode, 1);
}
TEST_F(Verify, TrailerThatPointsPastTheEndIsTold) {
  ExpectProblem(support::BundleWriter().Category("image").Trailer(0x7FFFFFFF).Build(),
                "2147483647");
}
TEST_F(Verify, DirectoryThatStartsWithAMemberIsTold) {
  ExpectProblem(support::BundleWriter().Member("a", "x").Build(), "doesn't start with a category");
}
TEST_F(Verify, NameWithoutItsEndIsTold) {
  ExpectProblem(support::BundleWriter().Category("image").RawRecord(BytesOf("endless")).Build(),
                "past the end of the directory");
}
TEST_F(Verify, NumbersCutShortAreTold) {
  ExpectProblem(support::BundleWriter().Category("image").RawRecord({'a', 0, 1, 0, 0}).Build(),
                "past the end of the directory");
}

TEST_F(Verify, NumbersThatAreMissingWholeAreTold) {
  ExpectProblem(support::BundleWriter().Category("image").RawRecord({'a', 0}).Build(),
                "past the end of the directory");
}

// --- Members ---

TEST_F(Verify, MemberPastTheEndIsTold) {
  ExpectProblem(
      support::BundleWriter().Category("skin").MemberClaiming("far", 5, 0xFFFFFFFF).Build(),
      "skin/far");
}
TEST_F(Verify, MemberThatReachesIntoTheDirectoryIsTold) {
  ExpectProblem(support::BundleWriter()
                    .Category("skin")
                    .Member("a", "12345")
                    .MemberClaiming("b", 2, 10)
                    .Build(),
                "skin/b");
}
TEST_F(Verify, HiddenNamesAreTold) {
  ExpectProblem(support::BundleWriter().Category("skin").Member("a", "1").Member("A", "2").Build(),
                "skin/A");
  ExpectProblem(support::BundleWriter().Category("skin").Member("a", "1").Category("SKIN").Build(),
                "SKIN");
  ExpectProblem(support::BundleWriter().Category("skin").Member("", "1").Build(),
                "its name is empty");
  ExpectProblem(support::BundleWriter().Category("").Build(), "its name is empty");
}

// --- Slides ---

TEST_F(Verify, MissingCategoriesAreTold) {
  ExpectProblem(support::BundleWriter()
                    .Category("image")
                    .Member("a.bmp", parts.picture)
                    .Category("dims")
                    .Member("1", parts.dims)
                    .Build(),
                "caps: the category is missing");
  ExpectProblem(support::BundleWriter()
                    .Category("image")
                    .Member("a.bmp", parts.picture)
                    .Category("caps")
                    .Member("1", parts.caps)
                    .Build(),
                "dims: the category is missing");
  ExpectProblem(support::BundleWriter()
                    .Category("dims")
                    .Member("1", parts.dims)
                    .Category("caps")
                    .Member("1", parts.caps)
                    .Build(),
                "image: the category is missing");
}
TEST_F(Verify, EmptyCategoriesAreTold) {
  const RunResult run =
      Check(support::BundleWriter().Category("image").Category("dims").Category("caps").Build());
  EXPECT_EQ(run.exitCode, 1);
  for (const char* name : {"image", "dims", "caps"})
    EXPECT_THAT(run.err, HasSubstr(std::string(name) + ": the category is empty"));
}
TEST_F(Verify, MissingDimsRecordIsTold) {
  parts.dims = support::DimsRecord(8, 6, "other.bmp");
  ExpectProblem(Bundle(parts), "image/a.bmp: there is no record in \"dims\"");
}
TEST_F(Verify, RecordForANameInAnotherCaseIsNone) {
  parts.dims = support::DimsRecord(8, 6, "A.BMP");
  ExpectProblem(Bundle(parts), "image/a.bmp: there is no record in \"dims\"");
}
TEST_F(Verify, MissingCaptionRecordIsTold) {
  parts.caps = support::CapsRecord("other.bmp", "text");
  ExpectProblem(Bundle(parts), "image/a.bmp: there is no record in \"caps\"");
}
TEST_F(Verify, RecordForNoPictureIsTold) {
  parts.image = "b.bmp";
  ExpectProblem(Bundle(parts), "dims/a.bmp: the record is for a picture that isn't in the bundle");
}
TEST_F(Verify, WrongSizeIsTold) {
  parts.dims = support::DimsRecord(6, 8, "a.bmp");
  ExpectProblem(Bundle(parts), "its size is 8 x 6, but its record in \"dims\" says 6 x 8");
}
TEST_F(Verify, CutRecordsAreTold) {
  parts.dims.pop_back();
  ExpectProblem(Bundle(parts), "dims/1: the record ends between the two focus flags");
  parts.dims = support::DimsRecord(8, 6, "a.bmp");
  parts.caps.pop_back();
  ExpectProblem(Bundle(parts), "caps/1: the record ends within the caption's text");
}
TEST_F(Verify, SecondRecordForAPictureIsTold) {
  ExpectProblem(support::BundleWriter()
                    .Category("image").Member("a.bmp", parts.picture)
                    .Category("dims").Member("1", parts.dims).Member("2", parts.dims)
                    .Category("caps").Member("1", parts.caps)
                    .Build(),
                "dims/2: an earlier record is for the same picture");
}
TEST_F(Verify, DamagedPictureIsTold) {
  parts.picture = support::ReadWholeFile(Fixture("cut.jpg"));
  ExpectProblem(Bundle(parts), "image/a.bmp: ");
}
TEST_F(Verify, ForeignMusicIsTold) {
  ExpectProblem(support::BundleWriter().Category("music").Member("song.wma", "no music").Build(),
                "music/song.wma");
}
TEST_F(Verify, PictureThatWouldShowTurnedIsRemarkedOn) {
  parts.picture = support::ReadWholeFile(Fixture("blocks-6.jpg"));
  parts.dims = support::DimsRecord(64, 48, "a.bmp");
  const RunResult run = Check(Bundle(parts));
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, AllOf(HasSubstr("warning: "), HasSubstr("image/a.bmp")));
}
TEST_F(Verify, EveryProblemIsToldAndCounted) {
  parts.dims = support::DimsRecord(1, 1, "a.bmp");
  parts.caps = support::CapsRecord("other.bmp", "");
  const RunResult run = Check(Bundle(parts));
  EXPECT_THAT(run.err, AllOf(HasSubstr("its size is"), HasSubstr("no record in \"caps\""),
                             HasSubstr("3 problems")));
}

}  // namespace
