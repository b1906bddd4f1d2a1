#include "bundle/SlideRecords.h"

#include "support/BundleWriter.h"
#include "support/Layout.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using support::Bytes;
using support::CapsRecord;
using support::DimsRecord;
using support::FocusFlags;

namespace {

SlideDims Dims(const Bytes& bytes) { return DecodeSlideDims(bytes.data(), bytes.size()); }
SlideCaption Caption(const Bytes& bytes) { return DecodeSlideCaption(bytes.data(), bytes.size()); }

TEST(SlideDims, HoldSizeAndName) {
  const SlideDims dims = Dims(DimsRecord(3000, 0xFEDCBA98, "beach.jpg"));
  EXPECT_EQ(dims.width, 3000u);
  EXPECT_EQ(dims.height, 0xFEDCBA98u);
  EXPECT_EQ(dims.name, "beach.jpg");
}

TEST(SlideDims, ThatEndBehindTheNameHaveBothFlagsFalse) {
  const SlideDims dims = Dims(DimsRecord(1, 2, "a"));
  EXPECT_FALSE(dims.focusXOnly);
  EXPECT_FALSE(dims.focusYOnly);
}

TEST(SlideDims, TakeBothFlagsFromTheEnd) {
  for (const bool x : {false, true})
    for (const bool y : {false, true}) {
      const SlideDims dims = Dims(DimsRecord(1, 2, "a", FocusFlags{x, y}));
      EXPECT_EQ(dims.focusXOnly, x);
      EXPECT_EQ(dims.focusYOnly, y);
    }
}

TEST(SlideDims, AnyByteButZeroIsAFlag) {
  Bytes record = DimsRecord(1, 2, "a");
  record.push_back(0x80);
  record.push_back(2);
  EXPECT_TRUE(Dims(record).focusXOnly);
  EXPECT_TRUE(Dims(record).focusYOnly);
}

TEST(SlideDims, WithOneFlagOnlyLeaveTheOtherFalse) {
  Bytes record = DimsRecord(1, 2, "a");
  record.push_back(1);
  EXPECT_TRUE(Dims(record).focusXOnly);
  EXPECT_FALSE(Dims(record).focusYOnly);
}

TEST(SlideDims, IgnoreWhatStandsBehindTheFlags) {
  Bytes record = DimsRecord(1, 2, "a", FocusFlags{false, false});
  record.insert(record.end(), 10, 0xFF);
  EXPECT_EQ(Dims(record).name, "a");
  EXPECT_FALSE(Dims(record).focusXOnly);
  EXPECT_FALSE(Dims(record).focusYOnly);
}

TEST(SlideDims, MayHaveAnEmptyName) {
  const SlideDims dims = Dims(DimsRecord(1, 2, "", FocusFlags{true, false}));
  EXPECT_EQ(dims.name, "");
  EXPECT_TRUE(dims.focusXOnly);
}

// Every cut keeps what is whole and leaves the rest at its default.
TEST(SlideDims, CutAnywhereKeepWhatIsThere) {
  const Bytes whole = DimsRecord(0x01020304, 0x05060708, "name", FocusFlags{true, true});
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const SlideDims dims = Dims(cut);
    EXPECT_EQ(dims.width, size >= 4 ? 0x01020304u : 0u) << size;
    EXPECT_EQ(dims.height, size >= 8 ? 0x05060708u : 0u) << size;
    EXPECT_EQ(dims.name, size > 8 ? std::string("name").substr(0, size - 8) : "") << size;
    EXPECT_EQ(dims.focusXOnly, size >= 14) << size;
    EXPECT_EQ(dims.focusYOnly, size >= 15) << size;
  }
}

TEST(SlideDims, OfNothingAreEmpty) {
  const SlideDims dims = DecodeSlideDims(nullptr, 100);
  EXPECT_EQ(dims.width, 0u);
  EXPECT_EQ(dims.height, 0u);
  EXPECT_EQ(dims.name, "");
  EXPECT_FALSE(dims.focusXOnly || dims.focusYOnly);
}

TEST(SlideCaption, HoldsThreeNumbersNameAndText) {
  const SlideCaption caption =
      Caption(CapsRecord("beach.jpg", "The beach\r\nat dawn", 1, 0xFFFE, 0x0203));
  EXPECT_EQ(caption.value0, 1);
  EXPECT_EQ(caption.value1, 0xFFFE);
  EXPECT_EQ(caption.value2, 0x0203);
  EXPECT_EQ(caption.name, "beach.jpg");
  EXPECT_EQ(caption.text, "The beach\r\nat dawn");
}

TEST(SlideCaption, KeepsBytesAbove127) {
  EXPECT_EQ(Caption(CapsRecord("a", "Gr\xFC\xDF" "e")).text, "Gr\xFC\xDF" "e");
}

TEST(SlideCaption, CutAnywhereKeepsWhatIsThere) {
  const Bytes whole = CapsRecord("nm", "text", 0x0102, 0x0304, 0x0506);
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const SlideCaption caption = Caption(cut);
    EXPECT_EQ(caption.value0, size >= 2 ? 0x0102 : 0) << size;
    EXPECT_EQ(caption.value1, size >= 4 ? 0x0304 : 0) << size;
    EXPECT_EQ(caption.value2, size >= 6 ? 0x0506 : 0) << size;
    EXPECT_EQ(caption.name, size > 6 ? std::string("nm").substr(0, size - 6) : "") << size;
    EXPECT_EQ(caption.text, size > 9 ? std::string("text").substr(0, size - 9) : "") << size;
  }
}

TEST(SlideCaption, OfNothingIsEmpty) {
  const SlideCaption caption = DecodeSlideCaption(nullptr, 100);
  EXPECT_EQ(caption.value0 + caption.value1 + caption.value2, 0);
  EXPECT_EQ(caption.name + caption.text, "");
}

TEST(SlideRecords, FieldsStandInTheirOrder) {
  const SlideDims dims;
  EXPECT_TRUE(support::StandInOrder(dims.width, dims.height, dims.name, dims.focusXOnly,
                                    dims.focusYOnly));
  const SlideCaption caption;
  EXPECT_TRUE(support::StandInOrder(caption.value0, caption.value1, caption.value2, caption.name,
                                    caption.text));
  static_assert(std::is_copy_assignable_v<SlideDims> && std::is_copy_assignable_v<SlideCaption>);
}

}  // namespace
