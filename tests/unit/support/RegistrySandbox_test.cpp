#include "support/RegistrySandbox.h"

#include <gtest/gtest.h>

using namespace support;

namespace {

constexpr char kKey[] = "Software\\VelmoraTests\\Sandbox";

TEST(RegistrySandbox, StartsWithoutTheKey) {
  const RegistrySandbox sandbox(HKEY_CURRENT_USER, kKey);
  EXPECT_FALSE(sandbox.KeyExists());
  EXPECT_FALSE(sandbox.Dword("Any"));
  EXPECT_TRUE(sandbox.ValueNames().empty());
}

TEST(RegistrySandbox, ReadsWhatItWrote) {
  RegistrySandbox sandbox(HKEY_CURRENT_USER, kKey);
  sandbox.SetDword("Number", 0x80000001);
  sandbox.SetText("Text", "ten point five");
  sandbox.Set("Bytes", {REG_BINARY, {1, 2, 3}}, "Below");
  EXPECT_EQ(sandbox.Dword("Number"), 0x80000001u);
  EXPECT_EQ(sandbox.Text("Text"), "ten point five");
  EXPECT_EQ(sandbox.Get("Text")->data.size(), 15u);
  EXPECT_EQ(sandbox.Get("Bytes", "Below")->data, (Bytes{1, 2, 3}));
  EXPECT_EQ(sandbox.SubKeyNames(), std::vector<std::string>{"Below"});
  EXPECT_FALSE(sandbox.Dword("Text"));
  EXPECT_FALSE(sandbox.Text("Number"));
}

TEST(RegistrySandbox, KeepsTheLengthThatAValueWasStoredWith) {
  RegistrySandbox sandbox(HKEY_CURRENT_USER, kKey);
  Bytes padded = BytesOf("255");
  padded.resize(64);
  sandbox.Set("MusicVol", {REG_SZ, padded});
  EXPECT_EQ(sandbox.Get("MusicVol")->data.size(), 64u);
  EXPECT_EQ(sandbox.Text("MusicVol"), "255");
}

TEST(RegistrySandbox, PutsBackWhatStoodThere) {
  RegistrySandbox outer(HKEY_CURRENT_USER, kKey);
  outer.SetDword("Kept", 5);
  outer.SetText("Kept too", "below", "Below");
  outer.CreateKey("Empty");
  {
    RegistrySandbox inner(HKEY_CURRENT_USER, kKey);
    EXPECT_FALSE(inner.KeyExists());
    inner.SetDword("Kept", 6);
    inner.SetDword("New", 7, "New key");
  }
  EXPECT_EQ(outer.Dword("Kept"), 5u);
  EXPECT_EQ(outer.Text("Kept too", "Below"), "below");
  EXPECT_TRUE(outer.KeyExists("Empty"));
  EXPECT_FALSE(outer.KeyExists("New key"));
}

TEST(RegistrySandbox, AKeyThatWasNotThereGoesAgain) {
  {
    RegistrySandbox inner(HKEY_CURRENT_USER, kKey);
    inner.SetDword("New", 7, "Deep\\Deeper");
  }
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

TEST(RegistrySandbox, WorksForTheMachineToo) {
  {
    RegistrySandbox sandbox(HKEY_LOCAL_MACHINE, kKey);
    sandbox.SetDword("Number", 1);
    EXPECT_EQ(sandbox.Dword("Number"), 1u);
    sandbox.DeleteValue("Number");
    EXPECT_FALSE(sandbox.Dword("Number"));
  }
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

}  // namespace
