#include "base/RegistryKey.h"

#include "support/RegistrySandbox.h"

#include <gtest/gtest.h>

namespace {

constexpr char kKey[] = "Software\\Tarnwick\\RegistryKeyTest";

class RegistryKeyTest : public testing::Test {
 protected:
  support::RegistrySandbox sandbox_{HKEY_CURRENT_USER, kKey};
};

TEST_F(RegistryKeyTest, OpenFindsWhatIsThereAndMakesNothing) {
  LONG status = -1;
  EXPECT_FALSE(OpenRegistryKey(HKEY_CURRENT_USER, kKey, KEY_READ, &status));
  EXPECT_EQ(status, ERROR_FILE_NOT_FOUND);
  EXPECT_FALSE(sandbox_.KeyExists());
  sandbox_.CreateKey();
  EXPECT_TRUE(OpenRegistryKey(HKEY_CURRENT_USER, kKey, KEY_READ, &status));
  EXPECT_EQ(status, ERROR_SUCCESS);
}

TEST_F(RegistryKeyTest, CreateMakesTheKeyWithAllAboveIt) {
  LONG status = -1;
  const std::string deep = std::string(kKey) + "\\a\\b";
  EXPECT_TRUE(CreateRegistryKey(HKEY_CURRENT_USER, deep.c_str(), KEY_WRITE, &status));
  EXPECT_EQ(status, ERROR_SUCCESS);
  EXPECT_TRUE(sandbox_.KeyExists("a\\b"));
}

TEST_F(RegistryKeyTest, NobodyHasToAskForTheStatus) {
  EXPECT_FALSE(OpenRegistryKey(HKEY_CURRENT_USER, kKey, KEY_READ));
  EXPECT_TRUE(CreateRegistryKey(HKEY_CURRENT_USER, kKey, KEY_WRITE));
}

}  // namespace
