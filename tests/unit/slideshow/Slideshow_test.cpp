#include "slideshow/Slideshow.h"

#include "support/BundleWriter.h"
#include "support/FullAddressSpace.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

using support::BundleWriter;
using support::Bytes;
using support::CapsRecord;
using support::DimsRecord;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

// The run time's clock in seconds, stopped.
auto PretendTime(long now) {
  const char* name = support::ImportHook::Exists("msvcrt.dll", "_time32") ? "_time32" : "time";
  return support::HookImport<long(__cdecl*)(long*)>("msvcrt.dll", name, [now](long* to) {
    if (to) *to = now;
    return now;
  });
}

std::vector<std::string> NamesIn(Slideshow& show) {
  std::vector<std::string> names;
  LinkedList<PlaylistElement*>& list = show.GetPlaylist();
  for (auto* node = list.head; node; node = node->next) names.push_back(node->data->file->name);
  return names;
}

std::vector<std::string> NumberedNames(int count) {
  std::vector<std::string> names;
  for (int n = 0; n < count; ++n) names.push_back("picture" + std::to_string(n));
  return names;
}

BundleWriter BundleOf(const std::vector<std::string>& pictures) {
  BundleWriter bundle;
  bundle.Category("image");
  for (const std::string& name : pictures) bundle.Member(name, name + "'s bytes");
  bundle.Category("dims").Member("d", DimsRecord(1, 2, "none"));
  bundle.Category("caps").Member("c", CapsRecord("none", "text"));
  return bundle;
}

class SlideshowTest : public testing::Test {
 protected:
  bool Load(const BundleWriter& bundle) {
    return show.LoadBundle(temp.Write("images.bdl", bundle.Build()).c_str());
  }
  // A member as the lookups take it.
  static const VFFILE* Named(const char* name) {
    static VFFILE file;
    file.name = name;
    return &file;
  }

  support::TempFolder temp;
  Slideshow show;
};

// --- Catalogue ---

BundleWriter Catalogue() {
  BundleWriter bundle;
  bundle.Category("image").Member("a", "A").Member("b", "B").Member("c", "C");
  bundle.Category("dims")
      .Member("1", DimsRecord(3000, 2000, "b", support::FocusFlags{true, false}))
      .Member("2", DimsRecord(800, 600, "a"))
      .Member("3", DimsRecord(10, 20, "c", support::FocusFlags{false, true}));
  bundle.Category("caps")
      .Member("1", CapsRecord("c", "Third\r\nwith two lines", 1, 2, 65535))
      .Member("2", CapsRecord("a", "First"));
  return bundle;
}

using Catalog = SlideshowTest;

TEST_F(Catalog, RecordsAreLinkedToPicturesByTheNameInsideThem) {
  ASSERT_TRUE(Load(Catalogue()));
  EXPECT_EQ(show.FindDims(Named("a")), 1);
  EXPECT_EQ(show.FindDims(Named("b")), 0);
  EXPECT_EQ(show.FindDims(Named("c")), 2);
  EXPECT_EQ(show.GetDimsFor(Named("a")).width, 800u);
  EXPECT_EQ(show.GetDimsFor(Named("a")).height, 600u);
  EXPECT_EQ(show.GetDimsFor(Named("c")).name, "c");
  EXPECT_EQ(show.FindCaption(Named("c")), 0);
  EXPECT_EQ(show.FindCaption(Named("a")), 1);
  EXPECT_EQ(show.GetCaptionFor(Named("a")).text, "First");
  const SlideCaption caption = show.GetCaptionFor(Named("c"));
  EXPECT_EQ(caption.text, "Third\r\nwith two lines");
  EXPECT_EQ(caption.value0, 1);
  EXPECT_EQ(caption.value1, 2);
  EXPECT_EQ(caption.value2, 65535);
}

TEST_F(Catalog, FocusFlagsAreFalseWhereTheRecordEndsBehindItsName) {
  ASSERT_TRUE(Load(Catalogue()));
  EXPECT_FALSE(show.GetDimsFor(Named("a")).focusXOnly);
  EXPECT_FALSE(show.GetDimsFor(Named("a")).focusYOnly);
  EXPECT_TRUE(show.GetDimsFor(Named("b")).focusXOnly);
  EXPECT_FALSE(show.GetDimsFor(Named("b")).focusYOnly);
  EXPECT_FALSE(show.GetDimsFor(Named("c")).focusXOnly);
  EXPECT_TRUE(show.GetDimsFor(Named("c")).focusYOnly);
}

TEST_F(Catalog, APictureWithoutADimsRecordTakesTheFirstOnesSizeAndFlags) {
  ASSERT_TRUE(Load(Catalogue()));
  const SlideDims dims = show.GetDimsFor(Named("unknown"));
  EXPECT_EQ(dims.width, 3000u);
  EXPECT_EQ(dims.height, 2000u);
  EXPECT_TRUE(dims.focusXOnly);
}

TEST_F(Catalog, APictureWithoutACaptionShowsTheFirstOnes) {
  ASSERT_TRUE(Load(Catalogue()));
  EXPECT_EQ(show.GetCaptionFor(Named("b")).text, "Third\r\nwith two lines");
}

TEST_F(Catalog, NamesMatchExactly) {
  ASSERT_TRUE(Load(Catalogue()));
  EXPECT_EQ(show.FindDims(Named("A")), 0);
  EXPECT_EQ(show.FindDims(Named("C")), 0);
  EXPECT_EQ(show.FindDims(Named("a ")), 0);
  EXPECT_EQ(show.FindDims(Named("")), 0);
  EXPECT_EQ(show.FindCaption(Named("A")), 0);
}

TEST_F(Catalog, AnIndexOutsideGivesTheFirstRecord) {
  ASSERT_TRUE(Load(Catalogue()));
  for (const std::int32_t index : {-1, 3, 1000, -2147483647 - 1}) {
    EXPECT_EQ(show.GetDims(index).name, "b") << index;
    EXPECT_EQ(show.GetCaption(index).name, "c") << index;
  }
  EXPECT_EQ(show.GetDims(2).name, "c");
  EXPECT_EQ(show.GetCaption(1).name, "a");
  EXPECT_EQ(show.GetCaption(2).name, "c");
}

TEST_F(Catalog, AnEmptyCatalogueGivesEmptyRecords) {
  BundleWriter bundle;
  bundle.Category("image").Member("a", "A").Category("dims").Category("caps");
  ASSERT_TRUE(Load(bundle));
  EXPECT_EQ(show.FindDims(Named("a")), 0);
  EXPECT_EQ(show.GetDims(0).width, 0u);
  EXPECT_EQ(show.GetDimsFor(Named("a")).name, "");
  EXPECT_EQ(show.GetCaptionFor(Named("a")).text, "");
}

TEST_F(Catalog, ANullPictureTakesTheFirstRecord) {
  ASSERT_TRUE(Load(Catalogue()));
  EXPECT_EQ(show.FindDims(nullptr), 0);
  EXPECT_EQ(show.FindCaption(nullptr), 0);
}

TEST_F(Catalog, ARecordThatCannotBeReadCostsNoOther) {
  BundleWriter bundle;
  bundle.Category("image").Member("a", "A");
  bundle.Category("dims")
      .Member("1", DimsRecord(1, 1, "first"))
      .MemberClaiming("2", 0, 0x7FFFFFFF)
      .Member("3", DimsRecord(30, 40, "a"));
  bundle.Category("caps").MemberClaiming("1", 0xFFFFFFF0, 100).Member("2", CapsRecord("a", "Yes"));
  ASSERT_TRUE(Load(bundle));
  EXPECT_EQ(show.GetDimsFor(Named("a")).width, 30u);
  EXPECT_EQ(show.GetDims(1).name, "");
  EXPECT_EQ(show.GetCaptionFor(Named("a")).text, "Yes");
}

TEST_F(Catalog, AMissingFileIsReported) {
  EXPECT_FALSE(show.LoadBundle(temp.File("absent.bdl").c_str()));
  EXPECT_THAT(NamesIn(show), IsEmpty());
}

TEST_F(Catalog, EachMissingCategoryIsReported) {
  for (const char* missing : {"image", "dims", "caps"}) {
    BundleWriter bundle;
    for (const char* category : {"image", "dims", "caps"})
      bundle.Category(category == std::string(missing) ? "other" : category)
          .Member("a", DimsRecord(1, 1, "a"));
    Slideshow broken;
    EXPECT_FALSE(broken.LoadBundle(temp.Write("broken.bdl", bundle.Build()).c_str())) << missing;
    EXPECT_THAT(NamesIn(broken), IsEmpty()) << missing;
  }
}

// --- Memory ---

class Relief : public SlideshowTest {
 protected:
  void SetUp() override {
    show.SetRandomOrder(false);
    ASSERT_TRUE(Load(Catalogue()));
    ForEach(show.GetPlaylist(), [](PlaylistElement* slide) { Read(*slide); });
    show.GetPlaylist().First();
  }
  static std::string Read(const PlaylistElement& slide) {
    const unsigned char* bytes = slide.category->ReadFile(slide.file);
    return bytes ? std::string(bytes, bytes + slide.file->size) : "";
  }
  // The names of the pictures that are in memory.
  std::vector<std::string> InMemory() {
    std::vector<std::string> names;
    for (auto* node = show.GetPlaylist().head; node; node = node->next)
      if (node->data->file->data) names.push_back(node->data->file->name);
    return names;
  }
};

// All reservations together wouldn't fit: each is given back.
TEST_F(Relief, WithRoomToWorkAllPicturesStay) {
  for (int n = 0; n < 20; ++n) show.RelieveMemory();
  EXPECT_THAT(InMemory(), ElementsAre("a", "b", "c"));
}

TEST_F(Relief, WithoutRoomThePictureBeforeTheCursorStays) {
  show.GetPlaylist().Next();
  show.GetPlaylist().Next();
  const auto full = support::FullAddressSpace();
  show.RelieveMemory();
  EXPECT_THAT(InMemory(), ElementsAre("b"));
}

TEST_F(Relief, WhatWasFreedIsReadAgain) {
  const auto full = support::FullAddressSpace();
  show.RelieveMemory();
  ASSERT_THAT(InMemory(), ElementsAre("c"));
  EXPECT_EQ(Read(*show.GetPlaylist().head->data), "A");
  EXPECT_EQ(Read(*show.GetPlaylist().tail->data), "C");
}

TEST_F(Relief, AShowWithoutABundleHasNothingToFree) {
  Slideshow empty;
  const auto full = support::FullAddressSpace();
  empty.RelieveMemory();
  EXPECT_EQ(empty.GetPlaylist().Count(), 0);
}

// --- Order ---

using Order = SlideshowTest;

TEST_F(Order, WithoutShuffleIsTheDirectorys) {
  show.SetRandomOrder(false);
  ASSERT_TRUE(Load(BundleOf({"z", "a", "M", "b"})));
  EXPECT_THAT(NamesIn(show), ElementsAre("z", "a", "M", "b"));
}

TEST_F(Order, TheCursorStandsOnTheFirstSlide) {
  for (const bool random : {false, true}) {
    Slideshow each;
    each.SetRandomOrder(random);
    each.LoadBundle(temp.Write("i.bdl", BundleOf(NumberedNames(5)).Build()).c_str());
    ASSERT_NE(each.GetPlaylist().cursor, nullptr);
    EXPECT_EQ(each.GetPlaylist().cursor, each.GetPlaylist().head);
  }
}

TEST_F(Order, ElementsReferToTheirCategoryAndMember) {
  show.SetRandomOrder(false);
  ASSERT_TRUE(Load(BundleOf({"a", "b"})));
  PlaylistElement* second = show.GetPlaylist().tail->data;
  EXPECT_EQ(second->category->name, "image");
  EXPECT_EQ(second->category->FindFile("b"), second->file);
}

// The order as told: swap each place in turn with a random one, again and again.
std::vector<std::string> Shuffled(std::vector<std::string> names, unsigned seed, int passes) {
  std::srand(seed);
  const auto total = names.size();
  for (int pass = 0; pass < passes; ++pass)
    for (std::size_t i = 0; i < total; ++i) {
      const std::size_t j = static_cast<std::size_t>(std::rand()) % total;
      const std::string kept = names[i];
      names[i] = names[j];
      names[j] = kept;
    }
  return names;
}

TEST_F(Order, AShuffleIsPlainSwapsSeededWithTheTime) {
  const std::vector<std::string> names = NumberedNames(37);
  for (const int passes : {1, 2, 50}) {
    Slideshow each;
    each.SetShufflePasses(passes);
    const auto clock = PretendTime(1234567);
    each.LoadBundle(temp.Write("i.bdl", BundleOf(names).Build()).c_str());
    EXPECT_THAT(NamesIn(each), ElementsAreArray(Shuffled(names, 1234567, passes))) << passes;
  }
}

TEST_F(Order, ByDefaultSlidesAreShuffledWithAHundredPasses) {
  const std::vector<std::string> names = NumberedNames(20);
  const auto clock = PretendTime(99);
  ASSERT_TRUE(Load(BundleOf(names)));
  EXPECT_THAT(NamesIn(show), ElementsAreArray(Shuffled(names, 99, 100)));
}

TEST_F(Order, AShuffleStartsFromTheBundlesOrder) {
  const std::vector<std::string> names = NumberedNames(20);
  show.SetShufflePasses(3);
  {
    const auto clock = PretendTime(1);
    ASSERT_TRUE(Load(BundleOf(names)));
  }
  const auto clock = PretendTime(2);
  show.ShuffleSlides();
  EXPECT_THAT(NamesIn(show), ElementsAreArray(Shuffled(names, 2, 3)));
}

TEST_F(Order, TwoShufflesInOneSecondAreEqual) {
  const auto clock = PretendTime(777);
  ASSERT_TRUE(Load(BundleOf(NumberedNames(30))));
  const std::vector<std::string> first = NamesIn(show);
  std::rand();
  show.ShuffleSlides();
  EXPECT_EQ(NamesIn(show), first);
}

TEST_F(Order, AnotherSecondGivesAnotherOrder) {
  ASSERT_TRUE(Load(BundleOf(NumberedNames(30))));
  const auto orderAt = [&](long now) {
    const auto clock = PretendTime(now);
    show.ShuffleSlides();
    return NamesIn(show);
  };
  EXPECT_NE(orderAt(10), orderAt(11));
}

TEST_F(Order, AShuffleKeepsEachSlideOnce) {
  ASSERT_TRUE(Load(BundleOf(NumberedNames(100))));
  for (int n = 0; n < 5; ++n) {
    show.ShuffleSlides();
    EXPECT_THAT(NamesIn(show), testing::UnorderedElementsAreArray(NumberedNames(100)));
    EXPECT_EQ(show.GetPlaylist().cursor, show.GetPlaylist().head);
  }
}

TEST_F(Order, OnePictureIsTheWholeShow) {
  ASSERT_TRUE(Load(BundleOf({"only"})));
  show.ShuffleSlides();
  EXPECT_THAT(NamesIn(show), ElementsAre("only"));
}

TEST_F(Order, NoPictureIsAnEmptyShow) {
  for (const bool random : {false, true}) {
    Slideshow each;
    each.SetRandomOrder(random);
    EXPECT_TRUE(each.LoadBundle(temp.Write("i.bdl", BundleOf({}).Build()).c_str()));
    EXPECT_THAT(NamesIn(each), IsEmpty());
    EXPECT_EQ(each.GetPlaylist().cursor, nullptr);
  }
}

TEST_F(Order, WithoutCategoriesAShuffleDoesNothing) {
  show.ShuffleSlides();
  EXPECT_THAT(NamesIn(show), IsEmpty());
}

// --- SetImages ---

class Images : public testing::Test {
 protected:
  Images() {
    for (const char* name : {"x", "y"}) {
      auto* file = new VFFILE;
      file->name = name;
      categories[0].files.AddTail(file);
    }
    auto* file = new VFFILE;
    file->name = "z";
    categories[1].files.AddTail(file);
    show.SetRandomOrder(false);
  }

  void Set(VFFILECAT* from, std::int32_t count, const char* dimsName) {
    auto dims = std::make_unique<SlideDims[]>(1);
    dims[0].name = dimsName;
    auto captions = std::make_unique<SlideCaption[]>(1);
    captions[0].name = dimsName;
    show.SetImages(from, count, std::move(dims), 1, std::move(captions), 1);
  }

  VFFILECAT categories[2];
  Slideshow show;
};

TEST_F(Images, OfSeveralCategoriesFollowEachOther) {
  Set(categories, 2, "d");
  EXPECT_THAT(NamesIn(show), ElementsAre("x", "y", "z"));
  EXPECT_EQ(show.GetPlaylist().tail->data->category, &categories[1]);
  EXPECT_EQ(show.GetDims(0).name, "d");
  EXPECT_EQ(show.GetCaption(0).name, "d");
}

TEST_F(Images, OfNoCategoriesChangeNothing) {
  Set(categories, 1, "kept");
  Set(nullptr, 1, "new");
  EXPECT_THAT(NamesIn(show), ElementsAre("x", "y"));
  EXPECT_EQ(show.GetDims(0).name, "kept");
  EXPECT_EQ(show.GetCaption(0).name, "kept");
}

TEST_F(Images, ReplaceTheFormerOnes) {
  Set(categories, 1, "d");
  Set(categories + 1, 1, "d");
  EXPECT_THAT(NamesIn(show), ElementsAre("z"));
}

TEST_F(Images, OfZeroCategoriesAreNotShuffled) {
  show.SetRandomOrder(true);
  Set(categories, 0, "d");
  EXPECT_THAT(NamesIn(show), IsEmpty());
}

}  // namespace
