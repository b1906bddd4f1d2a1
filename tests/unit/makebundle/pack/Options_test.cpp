#include "makebundle/pack/Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

std::string UsageFault(const std::vector<std::string>& arguments) {
  try {
    ParseOptions(arguments);
    return "no fault";
  } catch (const UsageError& fault) {
    return fault.what();
  }
}

TEST(Options, PackTakesAllOfItsOptions) {
  const Options options =
      ParseOptions({"pack", "out.bdl", "--pictures", "in", "--music=songs", "--focus", "focus.txt",
                    "--order", "date", "--captions-from-picture", "--skip-bad"});
  EXPECT_EQ(options.command, Command::kPack);
  EXPECT_EQ(options.file, "out.bdl");
  EXPECT_EQ(options.pictures, "in");
  EXPECT_EQ(options.music, "songs");
  EXPECT_EQ(options.focus, "focus.txt");
  EXPECT_EQ(options.order, PictureOrder::kDate);
  EXPECT_TRUE(options.captionsFromPicture);
  EXPECT_TRUE(options.skipBad);
}

TEST(Options, OptionsMayStandBeforeNames) {
  const Options options = ParseOptions({"pack", "--pictures", "in", "out.bdl"});
  EXPECT_EQ(options.file, "out.bdl");
  EXPECT_EQ(options.order, PictureOrder::kName);
}

TEST(Options, OtherCommandsTakeTheirNames) {
  const Options extract = ParseOptions({"extract", "a.bdl", "dir", "image/b.jpg", "--overwrite"});
  EXPECT_EQ(extract.folder, "dir");
  EXPECT_EQ(extract.wanted, "image/b.jpg");
  EXPECT_TRUE(extract.overwrite);
  const Options append =
      ParseOptions({"append", "a.exe", "--category", "skin", "dir", "--replace"});
  EXPECT_EQ(append.file, "a.exe");
  EXPECT_EQ(append.category, "skin");
  EXPECT_EQ(append.folder, "dir");
  EXPECT_TRUE(append.replace);
  const Options sums = ParseOptions({"sums", "dir"});
  EXPECT_EQ(sums.command, Command::kSums);
  EXPECT_EQ(sums.folder, "dir");
  EXPECT_EQ(ParseOptions({"list", "a.bdl"}).command, Command::kList);
  EXPECT_EQ(ParseOptions({"verify", "a.bdl"}).command, Command::kVerify);
}

TEST(Options, DashesEndTheOptions) {
  EXPECT_EQ(ParseOptions({"list", "--", "--odd name.bdl"}).file, "--odd name.bdl");
}

TEST(Options, HelpIsUnderstoodAnywhere) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                    {"-h"},
                                                    {"/?"},
                                                    {"pack", "--help"},
                                                    {"pack", "--nonsense", "--help"}})
    EXPECT_EQ(ParseOptions(arguments).command, Command::kHelp);
}

TEST(Options, HelpNamesEveryCommandAndOption) {
  for (const char* word : {"pack", "list", "extract", "verify", "append", "sums", "--pictures",
                           "--music", "--focus", "--order", "--captions-from-picture", "--skip-bad",
                           "--overwrite", "--category", "--replace"})
    EXPECT_THAT(kHelpText, HasSubstr(word));
}

TEST(Options, SenselessLinesAreRefusedWithAReason) {
  EXPECT_THAT(UsageFault({}), HasSubstr("missing"));
  EXPECT_THAT(UsageFault({"fold"}), HasSubstr("\"fold\""));
  EXPECT_THAT(UsageFault({"pack", "out.bdl"}), HasSubstr("--pictures"));
  EXPECT_THAT(UsageFault({"pack", "--pictures", "in"}), HasSubstr("needs more names"));
  EXPECT_THAT(UsageFault({"pack", "out.bdl", "--pictures"}), HasSubstr("--pictures needs a value"));
  EXPECT_THAT(UsageFault({"pack", "out.bdl", "--pictures="}),
              HasSubstr("--pictures needs a value"));
  EXPECT_THAT(UsageFault({"list", ""}), HasSubstr("a name is empty"));
  EXPECT_THAT(UsageFault({"extract", "a.bdl", ""}), HasSubstr("a name is empty"));
  EXPECT_THAT(UsageFault({"extract", "a.bdl", "--", "folder", ""}), HasSubstr("a name is empty"));
  EXPECT_THAT(UsageFault({"pack", "out.bdl", "--pictures", "in", "--order", "size"}),
              HasSubstr("\"size\""));
  EXPECT_THAT(UsageFault({"pack", "out.bdl", "--pictures", "in", "--skip-bad=yes"}),
              HasSubstr("takes no value"));
  EXPECT_THAT(UsageFault({"pack", "out.bdl", "extra", "--pictures", "in"}), HasSubstr("\"extra\""));
  EXPECT_THAT(UsageFault({"list", "a.bdl", "--skip-bad"}), HasSubstr("--skip-bad"));
  EXPECT_THAT(UsageFault({"extract", "a.bdl"}), HasSubstr("needs more names"));
  EXPECT_THAT(UsageFault({"append", "a.exe", "dir"}), HasSubstr("--category"));
  EXPECT_THAT(UsageFault({"sums"}), HasSubstr("needs more names"));
  EXPECT_THAT(UsageFault({"sums", "dir", "more"}), HasSubstr("\"more\""));
}

}  // namespace
