#include "base/TSingleton.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

struct First : TSingleton<First> {};
struct Second : TSingleton<Second> {};

TEST(TSingleton, CreatesNothingByItself) { EXPECT_EQ(First::Instance(), nullptr); }

TEST(TSingleton, RegistersTheObjectWhileItLives) {
  {
    const First object;
    EXPECT_EQ(First::Instance(), &object);
  }
  EXPECT_EQ(First::Instance(), nullptr);
}

TEST(TSingleton, EachClassHasAPointerOfItsOwn) {
  const First first;
  EXPECT_EQ(Second::Instance(), nullptr);
  const Second second;
  EXPECT_EQ(First::Instance(), &first);
  EXPECT_EQ(Second::Instance(), &second);
}

TEST(TSingleton, GoesThroughItsBaseClass) {
  static_assert(std::has_virtual_destructor_v<TSingleton<First>>);
  std::unique_ptr<TSingleton<First>> object = std::make_unique<First>();
  object.reset();
  EXPECT_EQ(First::Instance(), nullptr);
}

}  // namespace
