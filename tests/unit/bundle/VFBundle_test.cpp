#include "bundle/VFBundle.h"

#include "support/BundleWriter.h"
#include "support/FailingNew.h"
#include "support/Layout.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

using support::Bytes;
using support::BytesOf;
using support::BundleWriter;
using support::TempFolder;

namespace {

class VFBundleTest : public testing::Test {
 protected:
  std::string Write(const Bytes& file, const char* name = "test.bdl") const {
    return folder_.Write(name, file);
  }
  bool Open(const Bytes& file) { return bundle_.Open(Write(file).c_str()); }
  void ExpectFails(const Bytes& file) {
    EXPECT_FALSE(Open(file));
    EXPECT_FALSE(bundle_.IsOpen());
    EXPECT_EQ(bundle_.directoryOffset, 0xFFFFFFFFu);
    EXPECT_EQ(bundle_.categories.Count(), 0);
    EXPECT_EQ(bundle_.categories.head, nullptr);
    EXPECT_EQ(bundle_.fileCount, 0);
  }
  std::vector<std::string> CategoryNames() const {
    std::vector<std::string> names;
    for (auto* node = bundle_.categories.head; node; node = node->next)
      names.push_back(node->data->name);
    return names;
  }
  static std::vector<std::string> MemberNames(const VFFILECAT& category) {
    std::vector<std::string> names;
    for (auto* node = category.files.head; node; node = node->next)
      names.push_back(node->data->name);
    return names;
  }
  // `size` bytes at `data` as text, or "(null)".
  static std::string Text(const unsigned char* data, std::size_t size) {
    return data ? std::string(data, data + size) : "(null)";
  }

  const TempFolder folder_;
  VFBUNDLE bundle_;
};

using Bundle = VFBundleTest;

Bytes TwoCategories() {
  return BundleWriter()
      .Category("skin").Member("menuskin.jpg", "skin picture").Member("knob.jpg", "knob")
      .Category("music").Member("1.mp3", "first track").Member("knob.jpg", "another knob")
      .Build();
}

TEST_F(Bundle, IsClosedAndEmptyAtFirst) {
  EXPECT_FALSE(bundle_.IsOpen());
  EXPECT_EQ(bundle_.directoryOffset, 0xFFFFFFFFu);
  EXPECT_EQ(bundle_.fileCount, 0);
  EXPECT_EQ(bundle_.categories.Count(), 0);
  EXPECT_EQ(bundle_.GetPath(), nullptr);
  EXPECT_EQ(bundle_.FindCategory("skin"), nullptr);
  EXPECT_EQ(bundle_.ReadFile("menuskin.jpg"), nullptr);
  EXPECT_TRUE(bundle_.ReadAll());
}

TEST_F(Bundle, OpenTakesTheDirectoryInItsOrder) {
  const Bytes file = TwoCategories();
  ASSERT_TRUE(Open(file));
  EXPECT_TRUE(bundle_.IsOpen());
  EXPECT_EQ(bundle_.fileCount, 4);
  EXPECT_EQ(bundle_.directoryOffset, 12u + 4 + 11 + 12);
  EXPECT_EQ(CategoryNames(), (std::vector<std::string>{"skin", "music"}));
  EXPECT_EQ(MemberNames(*bundle_.FindCategory("skin")),
            (std::vector<std::string>{"menuskin.jpg", "knob.jpg"}));
  EXPECT_EQ(MemberNames(*bundle_.FindCategory("music")),
            (std::vector<std::string>{"1.mp3", "knob.jpg"}));
}

TEST_F(Bundle, OpenLeavesTheCategoriesCursorOnTheLastOne) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_EQ(bundle_.categories.cursor, bundle_.categories.tail);
}

TEST_F(Bundle, OpenReadsNoMember) {
  ASSERT_TRUE(Open(TwoCategories()));
  const VFFILE* file = bundle_.FindCategory("skin")->FindFile("knob.jpg");
  EXPECT_EQ(file->data, nullptr);
  EXPECT_EQ(file->offset, 12u);
  EXPECT_EQ(file->size, 4u);
  EXPECT_EQ(bundle_.GetFileData("knob.jpg"), nullptr);
}

TEST_F(Bundle, KeepsNoFileOpen) {
  ASSERT_TRUE(Open(TwoCategories()));
  bundle_.ReadFile("knob.jpg");
  EXPECT_EQ(std::remove(bundle_.GetPath()), 0);
}

TEST_F(Bundle, TheConstructorMayOpen) {
  const VFBUNDLE good(Write(TwoCategories()).c_str());
  EXPECT_TRUE(good.IsOpen());
  const VFBUNDLE missing(folder_.File("none").c_str());
  EXPECT_FALSE(missing.IsOpen());
}

TEST_F(Bundle, AMissingFileFailsAndStillSetsThePath) {
  const std::string path = folder_.File("none.bdl");
  EXPECT_FALSE(bundle_.Open(path.c_str()));
  EXPECT_STREQ(bundle_.GetPath(), path.c_str());
  EXPECT_FALSE(bundle_.IsOpen());
}

TEST_F(Bundle, ANullPathFails) {
  EXPECT_FALSE(bundle_.Open(nullptr));
  EXPECT_EQ(bundle_.GetPath(), nullptr);
}

TEST_F(Bundle, ANullPathClosesWhatWasOpen) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_FALSE(bundle_.Open(nullptr));
  EXPECT_FALSE(bundle_.IsOpen());
  EXPECT_EQ(bundle_.fileCount, 0);
}

TEST_F(Bundle, AFolderFails) { EXPECT_FALSE(bundle_.Open(folder_.Path().c_str())); }

TEST_F(Bundle, AFileOfFewerThanFourBytesFails) {
  for (std::size_t size = 0; size < 4; ++size) {
    SCOPED_TRACE(size);
    ExpectFails(Bytes(size, '?'));
  }
}

TEST_F(Bundle, AFileThatIsATrailerAloneFails) {
  ExpectFails({0, 0, 0, 0});
  ExpectFails({4, 0, 0, 0});
  ExpectFails({0xFF, 0xFF, 0xFF, 0xFF});
}

TEST_F(Bundle, ADirectoryWithoutACategoryInFrontFails) {
  ExpectFails(BundleWriter().Member("a.jpg", "x").Category("image").Build());
}

TEST_F(Bundle, ADirectoryOffsetOutsideTheFileFails) {
  for (const std::uint32_t offset : {100u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu})
    ExpectFails(BundleWriter().Category("c").Member("m", "x").Trailer(offset).Build());
}

TEST_F(Bundle, AnEmptyDirectoryFails) {
  ExpectFails(BundleWriter().Build(BytesOf("no directory at all")));
}

TEST_F(Bundle, ACategoryAloneOpensEmpty) {
  ASSERT_TRUE(Open(BundleWriter().Category("image").Build()));
  EXPECT_EQ(bundle_.fileCount, 0);
  EXPECT_EQ(bundle_.categories.Count(), 1);
  VFFILECAT* category = bundle_.FindCategory("image");
  ASSERT_NE(category, nullptr);
  EXPECT_EQ(category->files.Count(), 0);
  EXPECT_TRUE(category->ReadAll());
  EXPECT_TRUE(bundle_.ReadAll());
}

TEST_F(Bundle, EmptyCategoriesKeepTheOthersMembers) {
  ASSERT_TRUE(
      Open(BundleWriter().Category("a").Category("b").Member("m", "x").Category("c").Build()));
  EXPECT_EQ(CategoryNames(), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(bundle_.FindCategory("a")->FindFile("m"), nullptr);
  EXPECT_NE(bundle_.FindCategory("b")->FindFile("m"), nullptr);
}

// Cut anywhere, with the trailer still right, a record is damaged.
TEST_F(Bundle, ADamagedDirectoryFailsAndLeavesNothing) {
  const Bytes whole = BundleWriter().Category("cat").MemberClaiming("name", 0, 1).Build();
  const std::size_t directory = whole.size() - 4;
  const std::size_t goodEnds[] = {5, directory};  // behind "?cat\0", behind the member
  for (std::size_t size = 1; size <= directory; ++size) {
    SCOPED_TRACE(size);
    Bytes file(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    file.insert(file.end(), 4, 0);  // the directory stands at 0
    if (size == goodEnds[0] || size == goodEnds[1]) EXPECT_TRUE(Open(file));
    else ExpectFails(file);
    bundle_.Close();
  }
}

TEST_F(Bundle, WorksBehindAnyOtherFile) {
  const Bytes program = support::PatternBytes(5000);
  ASSERT_TRUE(Open(BundleWriter().Category("skin").Member("m", "bytes").Build(program)));
  EXPECT_EQ(Text(bundle_.ReadFile("m"), bundle_.GetFileSize("m")), "bytes");
  EXPECT_EQ(bundle_.directoryOffset, 5005u);
}

TEST_F(Bundle, MembersMayStandAnywhereInAnyOrder) {
  Bytes file = BytesOf("0123456789");
  const Bytes directory = BundleWriter()
                              .Category("c")
                              .MemberClaiming("late", 7, 3)
                              .MemberClaiming("early", 0, 2)
                              .MemberClaiming("overlapping", 1, 8)
                              .Trailer(10)
                              .Build();
  support::Append(file, directory);
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Text(bundle_.ReadFile("late"), 3), "789");
  EXPECT_EQ(Text(bundle_.ReadFile("early"), 2), "01");
  EXPECT_EQ(Text(bundle_.ReadFile("overlapping"), 8), "12345678");
}

TEST_F(Bundle, NamesMatchWithoutRegardToCase) {
  ASSERT_TRUE(Open(TwoCategories()));
  VFFILECAT* skin = bundle_.FindCategory("SKIN");
  ASSERT_NE(skin, nullptr);
  EXPECT_EQ(skin->name, "skin");
  const VFFILE* file = skin->FindFile("MenuSkin.JPG");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->name, "menuskin.jpg");
}

TEST_F(Bundle, PartsOfANameDoNotMatch) {
  ASSERT_TRUE(Open(TwoCategories()));
  for (const char* name : {"ski", "skins", "kin", "", "s"})
    EXPECT_EQ(bundle_.FindCategory(name), nullptr) << name;
  for (const char* name : {"menuskin", "menuskin.jpg ", ".jpg", "", "enuskin.jpg"})
    EXPECT_EQ(bundle_.FindCategory("skin")->FindFile(name), nullptr) << name;
  EXPECT_EQ(bundle_.FindCategory(nullptr), nullptr);
  EXPECT_EQ(bundle_.FindCategory("skin")->FindFile(nullptr), nullptr);
}

TEST_F(Bundle, EmptyStoredNamesNeverMatch) {
  ASSERT_TRUE(Open(BundleWriter().Category("").Member("", "x").Member("m", "y").Build()));
  EXPECT_EQ(bundle_.fileCount, 2);
  EXPECT_EQ(bundle_.FindCategory(""), nullptr);
  EXPECT_EQ(bundle_.ReadFile(""), nullptr);
  EXPECT_EQ(Text(bundle_.ReadFile("m"), 1), "y");
}

TEST_F(Bundle, ASearchLeavesTheCursorOnTheHit) {
  ASSERT_TRUE(Open(TwoCategories()));
  VFFILECAT* skin = bundle_.FindCategory("skin");
  EXPECT_EQ(bundle_.categories.Current(), skin);
  const VFFILE* file = skin->FindFile("menuskin.jpg");
  EXPECT_EQ(skin->files.Current(), file);
}

TEST_F(Bundle, TheFirstOfEqualNamesWins) {
  ASSERT_TRUE(Open(BundleWriter()
                       .Category("c").Member("M", "first").Member("m", "second")
                       .Category("C").Member("n", "third").Build()));
  EXPECT_EQ(Text(bundle_.ReadFile("c", "m"), 5), "first");
  EXPECT_EQ(bundle_.ReadFile("C", "n"), nullptr);
  EXPECT_EQ(Text(bundle_.ReadFile("n"), 5), "third");
}

TEST_F(Bundle, ReadingWithoutACategoryTakesTheFirstThatHasTheMember) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_EQ(bundle_.GetFileSize("knob.jpg"), 4u);
  EXPECT_EQ(Text(bundle_.ReadFile("knob.jpg"), 4), "knob");
  EXPECT_EQ(Text(bundle_.ReadFile("1.MP3"), 11), "first track");
  EXPECT_EQ(bundle_.ReadFile("none"), nullptr);
  EXPECT_EQ(bundle_.GetFileData("none"), nullptr);
  EXPECT_EQ(bundle_.GetFileSize("none"), 0u);
}

TEST_F(Bundle, ReadingWithACategoryStaysInIt) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_EQ(bundle_.GetFileSize("music", "knob.jpg"), 12u);
  EXPECT_EQ(Text(bundle_.ReadFile("music", "knob.jpg"), 12), "another knob");
  EXPECT_EQ(bundle_.GetFileData("skin", "knob.jpg"), nullptr);
  EXPECT_EQ(bundle_.ReadFile("skin", "1.mp3"), nullptr);
  EXPECT_EQ(bundle_.ReadFile("none", "1.mp3"), nullptr);
  EXPECT_EQ(bundle_.GetFileData("none", "1.mp3"), nullptr);
  EXPECT_EQ(bundle_.GetFileSize("none", "1.mp3"), 0u);
  EXPECT_EQ(bundle_.GetFileSize("skin", "1.mp3"), 0u);
}

TEST_F(Bundle, ReadingTwiceGivesTheSamePointerFromOneVisitToTheDisk) {
  ASSERT_TRUE(Open(TwoCategories()));
  const unsigned char* first = bundle_.ReadFile("menuskin.jpg");
  ASSERT_NE(first, nullptr);
  ASSERT_EQ(std::remove(bundle_.GetPath()), 0);
  EXPECT_EQ(bundle_.ReadFile("menuskin.jpg"), first);
  EXPECT_EQ(bundle_.GetFileData("menuskin.jpg"), first);
  EXPECT_EQ(bundle_.FindCategory("skin")->ReadFile("menuskin.jpg"), first);
  EXPECT_EQ(Text(first, 12), "skin picture");
  EXPECT_EQ(bundle_.ReadFile("1.mp3"), nullptr);
}

TEST_F(Bundle, BytesAreHandedOutAsTheyAre) {
  const Bytes awkward = BytesOf(std::string_view("\0\r\n\x1A\n\xFF\0", 7));
  ASSERT_TRUE(Open(BundleWriter().Category("c").Member("m", awkward).Build()));
  const unsigned char* data = bundle_.ReadFile("m");
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(Bytes(data, data + 7), awkward);
}

TEST_F(Bundle, ALargeMemberComesWhole) {
  const Bytes large = support::PatternBytes(3'000'001);
  ASSERT_TRUE(Open(BundleWriter().Category("c").Member("small", "s").Member("m", large).Build()));
  const unsigned char* data = bundle_.ReadFile("c", "m");
  ASSERT_NE(data, nullptr);
  EXPECT_TRUE(std::equal(large.begin(), large.end(), data));
}

TEST_F(Bundle, AnEmptyMemberIsReadAndNotNull) {
  ASSERT_TRUE(Open(BundleWriter().Category("c").Member("m", "").Build()));
  EXPECT_NE(bundle_.ReadFile("m"), nullptr);
  EXPECT_EQ(bundle_.GetFileSize("m"), 0u);
  EXPECT_TRUE(bundle_.ReadAll());
}

TEST_F(Bundle, AMemberPastTheEndFailsAndLeavesNoData) {
  const struct { std::uint32_t offset, size; } claims[] = {
      {0, 1000}, {1000, 1}, {0xFFFFFFFF, 1}, {1, 0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF},
      {0x80000000, 0x80000000}};
  for (const auto& claim : claims) {
    ASSERT_TRUE(
        Open(BundleWriter().Category("c").MemberClaiming("m", claim.offset, claim.size).Build()));
    EXPECT_EQ(bundle_.ReadFile("m"), nullptr) << claim.offset << " " << claim.size;
    EXPECT_EQ(bundle_.GetFileData("m"), nullptr);
    EXPECT_EQ(bundle_.GetFileSize("m"), claim.size);
  }
}

TEST_F(Bundle, AFileThatShrankFailsToReadAndLeavesNoData) {
  const Bytes file = TwoCategories();
  ASSERT_TRUE(Open(file));
  Write(Bytes(file.begin(), file.begin() + 14));
  EXPECT_EQ(bundle_.ReadFile("knob.jpg"), nullptr);
  EXPECT_EQ(bundle_.GetFileData("knob.jpg"), nullptr);
  EXPECT_EQ(Text(bundle_.ReadFile("menuskin.jpg"), 12), "skin picture");
  Write(file);
  EXPECT_EQ(Text(bundle_.ReadFile("knob.jpg"), 4), "knob");
}

TEST_F(Bundle, ANullMemberGivesNull) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_EQ(bundle_.FindCategory("skin")->ReadFile(static_cast<VFFILE*>(nullptr)), nullptr);
}

TEST_F(Bundle, ReadAllReadsEveryMember) {
  ASSERT_TRUE(bundle_.OpenAndReadAll(Write(TwoCategories()).c_str()));
  for (auto* category = bundle_.categories.head; category; category = category->next)
    for (auto* file = category->data->files.head; file; file = file->next)
      EXPECT_NE(file->data->data, nullptr) << file->data->name;
}

TEST_F(Bundle, OpenAndReadAllFailsIfEitherDoes) {
  EXPECT_FALSE(bundle_.OpenAndReadAll(folder_.File("none").c_str()));
  EXPECT_FALSE(bundle_.OpenAndReadAll(
      Write(BundleWriter().Category("c").MemberClaiming("m", 0, 1000).Build()).c_str()));
  EXPECT_TRUE(bundle_.IsOpen());
}

TEST_F(Bundle, ReadAllStopsAtTheFirstFailure) {
  ASSERT_TRUE(Open(BundleWriter()
                       .Category("a").Member("1", "x").MemberClaiming("2", 0, 1000).Member("3", "x")
                       .Category("b").Member("4", "x").Build()));
  EXPECT_FALSE(bundle_.ReadAll());
  EXPECT_NE(bundle_.GetFileData("1"), nullptr);
  EXPECT_EQ(bundle_.GetFileData("2"), nullptr);
  EXPECT_EQ(bundle_.GetFileData("3"), nullptr);
  EXPECT_EQ(bundle_.GetFileData("4"), nullptr);
}

TEST_F(Bundle, FreedBytesAreReadAnew) {
  ASSERT_TRUE(bundle_.OpenAndReadAll(Write(TwoCategories()).c_str()));
  bundle_.FreeFile("skin", "KNOB.jpg");
  EXPECT_EQ(bundle_.GetFileData("skin", "knob.jpg"), nullptr);
  EXPECT_NE(bundle_.GetFileData("music", "knob.jpg"), nullptr);
  EXPECT_EQ(Text(bundle_.ReadFile("skin", "knob.jpg"), 4), "knob");
}

TEST_F(Bundle, FreeingWhatIsNotThereDoesNothing) {
  ASSERT_TRUE(Open(TwoCategories()));
  bundle_.FreeFile("skin", "knob.jpg");
  bundle_.FreeFile("skin", "none");
  bundle_.FreeFile("none", "knob.jpg");
  bundle_.FreeFile(nullptr, nullptr);
  bundle_.FreeAll();
  EXPECT_EQ(bundle_.fileCount, 4);
}

TEST_F(Bundle, FreeAllDropsEveryMembersBytes) {
  ASSERT_TRUE(bundle_.OpenAndReadAll(Write(TwoCategories()).c_str()));
  bundle_.FreeAll();
  for (const char* category : {"skin", "music"})
    EXPECT_EQ(bundle_.GetFileData(category, "knob.jpg"), nullptr);
  EXPECT_EQ(bundle_.fileCount, 4);
  EXPECT_TRUE(bundle_.ReadAll());
}

TEST_F(Bundle, ACategorysFreeAllLeavesTheOthers) {
  ASSERT_TRUE(bundle_.OpenAndReadAll(Write(TwoCategories()).c_str()));
  bundle_.FindCategory("skin")->FreeAll();
  EXPECT_EQ(bundle_.GetFileData("skin", "knob.jpg"), nullptr);
  EXPECT_NE(bundle_.GetFileData("music", "knob.jpg"), nullptr);
}

TEST_F(Bundle, CloseForgetsEverything) {
  ASSERT_TRUE(bundle_.OpenAndReadAll(Write(TwoCategories()).c_str()));
  bundle_.Close();
  EXPECT_FALSE(bundle_.IsOpen());
  EXPECT_EQ(bundle_.directoryOffset, 0xFFFFFFFFu);
  EXPECT_EQ(bundle_.fileCount, 0);
  EXPECT_EQ(bundle_.categories.Count(), 0);
  EXPECT_EQ(bundle_.GetPath(), nullptr);
  bundle_.Close();
}

TEST_F(Bundle, OpensAgainAfterAClose) {
  ASSERT_TRUE(Open(TwoCategories()));
  bundle_.Close();
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_EQ(bundle_.fileCount, 4);
}

TEST_F(Bundle, OpenOnOneWithMembersClosesItFirst) {
  ASSERT_TRUE(Open(TwoCategories()));
  ASSERT_TRUE(Open(BundleWriter().Category("new").Member("m", "x").Build()));
  EXPECT_EQ(CategoryNames(), std::vector<std::string>{"new"});
  EXPECT_EQ(bundle_.fileCount, 1);
}

TEST_F(Bundle, OpenOnOneWithoutMembersKeepsItsCategoriesInFront) {
  ASSERT_TRUE(Open(BundleWriter().Category("old").Build()));
  ASSERT_TRUE(Open(BundleWriter().Category("new").Member("m", "x").Build()));
  EXPECT_EQ(CategoryNames(), (std::vector<std::string>{"old", "new"}));
  EXPECT_EQ(bundle_.fileCount, 1);
  EXPECT_EQ(Text(bundle_.ReadFile("new", "m"), 1), "x");
}

TEST_F(Bundle, ADamagedDirectoryLeavesNoOldCategoriesEither) {
  ASSERT_TRUE(Open(BundleWriter().Category("old").Build()));
  ExpectFails(BundleWriter().Member("m", "x").Build());
  ASSERT_TRUE(Open(BundleWriter().Category("old").Build()));
  ExpectFails(BundleWriter().Category("c").RawRecord(BytesOf("cut")).Build());
}

TEST_F(Bundle, MayBeOpenedAgainByItsOwnPath) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_TRUE(bundle_.Open(bundle_.GetPath()));
  EXPECT_EQ(bundle_.fileCount, 4);
}

TEST_F(Bundle, AFailedOpenForgetsTheMembersOfBefore) {
  ASSERT_TRUE(Open(TwoCategories()));
  EXPECT_FALSE(bundle_.Open(folder_.File("none").c_str()));
  EXPECT_EQ(bundle_.FindCategory("skin"), nullptr);
  EXPECT_FALSE(bundle_.IsOpen());
}

TEST_F(Bundle, TwoInstancesShareNothing) {
  const std::string path = Write(TwoCategories());
  ASSERT_TRUE(bundle_.Open(path.c_str()));
  VFBUNDLE other(path.c_str());
  const unsigned char* ours = bundle_.ReadFile("knob.jpg");
  EXPECT_EQ(other.GetFileData("knob.jpg"), nullptr);
  EXPECT_NE(other.ReadFile("knob.jpg"), ours);
  other.Close();
  EXPECT_EQ(Text(bundle_.GetFileData("knob.jpg"), 4), "knob");
}

TEST_F(Bundle, CategoriesReadByThemselves) {
  ASSERT_TRUE(Open(TwoCategories()));
  VFFILECAT* music = bundle_.FindCategory("music");
  EXPECT_EQ(music->bundlePath, bundle_.path);
  EXPECT_EQ(music->GetFileSize("1.mp3"), 11u);
  EXPECT_EQ(music->GetFileSize("none"), 0u);
  EXPECT_EQ(music->GetFileData("1.mp3"), nullptr);
  EXPECT_EQ(music->ReadFile("none"), nullptr);
  EXPECT_EQ(Text(music->ReadFile("1.mp3"), 11), "first track");
  EXPECT_NE(music->GetFileData("1.mp3"), nullptr);
}

TEST_F(Bundle, ManyMembersOpenInOrder) {
  BundleWriter writer;
  writer.Category("image");
  for (int n = 0; n < 2000; ++n) writer.Member("picture" + std::to_string(n), std::to_string(n));
  ASSERT_TRUE(Open(writer.Build()));
  EXPECT_EQ(bundle_.fileCount, 2000);
  EXPECT_EQ(Text(bundle_.ReadFile("picture1999"), 4), "1999");
}

TEST_F(Bundle, ASlideBundleHasItsFourCategories) {
  ASSERT_TRUE(Open(support::MakeSlideBundle({{"a.jpg", BytesOf("A"), 800, 600, "Caption", {}}},
                                            {{"1.mp3", BytesOf("M")}})));
  EXPECT_EQ(CategoryNames(), (std::vector<std::string>{"image", "dims", "caps", "music"}));
  for (const char* category : {"image", "dims", "caps", "music"})
    EXPECT_EQ(bundle_.FindCategory(category)->files.Count(), 1) << category;
}

TEST_F(Bundle, RunningOutOfMemoryAnywhereFailsCleanly) {
  const std::string path = Write(TwoCategories());
  bool opened = false;
  int allocations = 0;
  for (; !opened; ++allocations) {
    ASSERT_LT(allocations, 1000);
    VFBUNDLE bundle;
    {
      const support::FailingNew failing(allocations);
      opened = bundle.Open(path.c_str());
    }
    EXPECT_EQ(bundle.IsOpen(), opened);
    EXPECT_EQ(bundle.categories.Count(), opened ? 2 : 0) << allocations;
    EXPECT_EQ(bundle.fileCount, opened ? 4 : 0) << allocations;
  }
  EXPECT_GT(allocations, 10);
}

TEST_F(Bundle, RunningOutOfMemoryWhileReadingLeavesNoData) {
  ASSERT_TRUE(Open(TwoCategories()));
  {
    const support::FailingNew failing(0);
    EXPECT_EQ(bundle_.ReadFile("knob.jpg"), nullptr);
  }
  EXPECT_EQ(bundle_.GetFileData("knob.jpg"), nullptr);
  EXPECT_EQ(Text(bundle_.ReadFile("knob.jpg"), 4), "knob");
}

TEST(VFBundleLayout, FieldsStandInTheirOrder) {
  const VFFILE file;
  EXPECT_TRUE(support::StandInOrder(file.size, file.offset, file.name, file.data));
  const VFFILECAT category;
  EXPECT_TRUE(support::StandInOrder(category.name, category.files, category.bundlePath));
  const VFBUNDLE bundle;
  EXPECT_TRUE(support::StandInOrder(bundle.directoryOffset, bundle.fileCount, bundle.categories,
                                    bundle.path));
  static_assert(!std::is_polymorphic_v<VFFILE> && !std::is_polymorphic_v<VFFILECAT> &&
                !std::is_polymorphic_v<VFBUNDLE>);
}

}  // namespace
