#include "base/ComRef.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace {

struct Counted {
  int references = 1;
  void Release() { --references; }
};
using Ref = ComRef<Counted>;

TEST(ComRef, ReleasesItsReferenceAtTheEndOfItsScope) {
  Counted object;
  {
    const Ref ref(&object);
    EXPECT_EQ(ref.get(), &object);
    EXPECT_EQ(ref->references, 1);
  }
  EXPECT_EQ(object.references, 0);
}

TEST(ComRef, AnEmptyOneReleasesNothing) {
  const Ref ref;
  EXPECT_FALSE(ref);
  EXPECT_EQ(ref.get(), nullptr);
}

TEST(ComRef, MovingHandsTheReferenceOver) {
  Counted object;
  {
    Ref first(&object);
    const Ref second(std::move(first));
    EXPECT_EQ(second.get(), &object);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(object.references, 0);
}

TEST(ComRef, MoveAssignmentReleasesWhatWasThere) {
  Counted old;
  Counted fresh;
  Ref target(&old);
  target = Ref(&fresh);
  EXPECT_EQ(old.references, 0);
  EXPECT_EQ(fresh.references, 1);
}

TEST(ComRef, AssignmentToItselfKeepsTheReference) {
  Counted object;
  Ref ref(&object);
  Ref& same = ref;
  ref = std::move(same);
  EXPECT_EQ(ref.get(), &object);
  EXPECT_EQ(object.references, 1);
}

TEST(ComRef, ReleaseGivesTheReferenceAway) {
  Counted object;
  { EXPECT_EQ(Ref(&object).release(), &object); }
  EXPECT_EQ(object.references, 1);
}

TEST(ComRef, TheOutParameterReplacesTheReference) {
  Counted old;
  Counted fresh;
  Counted third;
  Ref ref(&old);
  *ref.put() = &fresh;
  EXPECT_EQ(old.references, 0);
  EXPECT_EQ(ref.get(), &fresh);
  *ref.put_void() = &third;
  EXPECT_EQ(fresh.references, 0);
  EXPECT_EQ(ref.get(), &third);
}

TEST(SafeRelease, ReleasesOnceAndLeavesNull) {
  Counted object;
  Counted* pointer = &object;
  SafeRelease(pointer);
  EXPECT_EQ(pointer, nullptr);
  SafeRelease(pointer);
  EXPECT_EQ(object.references, 0);
}

TEST(ComRef, IsAsBigAsAPointerAndCannotBeCopied) {
  static_assert(sizeof(Ref) == sizeof(void*));
  static_assert(!std::is_copy_constructible_v<Ref> && !std::is_copy_assignable_v<Ref>);
}

}  // namespace
