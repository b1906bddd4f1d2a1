#include "app/Integrity.h"

#include "settings/Session.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using support::Bytes;
using support::BytesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// An install folder and a Windows folder with all files in order.
class Integrity : public testing::Test {
 protected:
  void SetUp() override {
    InstallPath = install_.Path() + "\\";
    for (const char* name : {"BTNexgenIPL32.dll", "fmod.dll", "images.bdl", "Velmora2.exe"})
      install_.Write(name, BytesOf(std::string("the bytes of ") + name));
    install_.Write("Velmora2.scr", BytesOf("123456789"));
    windows_.Write("Velmora2.scr", BytesOf("123456789"));
    WriteSums(Sums());
  }
  void TearDown() override { InstallPath.clear(); }

  // CRC-32 of the texts above, worked out elsewhere.
  static std::vector<std::uint32_t> Sums() {
    return {0x6AA1F264, 0x89941383, 0xC9E9CD4E, 4, 0xCBF43926, 0xCBF43926, 0xA6B4CB7F, 8};
  }
  void WriteSums(const std::vector<std::uint32_t>& words) {
    Bytes bytes;
    for (const std::uint32_t word : words) support::AppendU32(bytes, word);
    install_.Write("chk.sum", bytes);
  }
  // The result, and the names of the files that were looked at.
  bool Verify() {
    opened_.clear();
    HOOK_IMPORT(folder, "kernel32.dll", GetWindowsDirectoryA, [this](LPSTR to, UINT size) -> UINT {
      EXPECT_GT(size, windows_.Path().size());
      std::strcpy(to, windows_.Path().c_str());
      return static_cast<UINT>(windows_.Path().size());
    });
    HOOK_IMPORT(open, "kernel32.dll", CreateFileA,
                [this](LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD how, DWORD flags, HANDLE like) -> HANDLE {
                  opened_.push_back(path);
                  return REAL_IMPORT("kernel32.dll", CreateFileA)(path, access, share, security,
                                                                  how, flags, like);
                });
    return VerifyFiles();
  }

  support::TempFolder install_;
  support::TempFolder windows_;
  std::vector<std::string> opened_;
};

TEST_F(Integrity, HoldsIfAllFilesHaveTheirSums) {
  EXPECT_TRUE(Verify());
  EXPECT_THAT(opened_, ElementsAre(install_.File("BTNexgenIPL32.dll"), install_.File("fmod.dll"),
                                   install_.File("images.bdl"), windows_.File("Velmora2.scr"),
                                   install_.File("Velmora2.scr"), install_.File("Velmora2.exe")));
}

TEST_F(Integrity, FailsWithoutSums) {
  DeleteFileA(install_.File("chk.sum").c_str());
  EXPECT_FALSE(Verify());
  EXPECT_THAT(opened_, IsEmpty());
}

TEST_F(Integrity, FailsWith31Bytes) {
  Bytes bytes = support::ReadWholeFile(install_.File("chk.sum"));
  ASSERT_EQ(bytes.size(), 32u);
  bytes.pop_back();
  install_.Write("chk.sum", bytes);
  EXPECT_FALSE(Verify());
  EXPECT_THAT(opened_, IsEmpty());
}

TEST_F(Integrity, FailsWithAnEmptySumFile) {
  install_.Write("chk.sum", {});
  EXPECT_FALSE(Verify());
}

TEST_F(Integrity, IgnoresWhatFollowsTheSums) {
  std::vector<std::uint32_t> words = Sums();
  words.insert(words.end(), 5, 0xFFFFFFFF);
  WriteSums(words);
  EXPECT_TRUE(Verify());
}

TEST_F(Integrity, IgnoresTheFourthWordAndTheLast) {
  std::vector<std::uint32_t> words = Sums();
  words[3] = words[7] = 0x12345678;
  WriteSums(words);
  EXPECT_TRUE(Verify());
}

TEST_F(Integrity, AChangedByteInTheSlidesFailsAndEndsTheWalk) {
  Bytes bytes = support::ReadWholeFile(install_.File("images.bdl"));
  bytes[3] ^= 1;
  install_.Write("images.bdl", bytes);
  EXPECT_FALSE(Verify());
  EXPECT_THAT(opened_, ElementsAre(install_.File("BTNexgenIPL32.dll"), install_.File("fmod.dll"),
                                   install_.File("images.bdl")));
}

TEST_F(Integrity, FailsWithoutTheCopyInTheWindowsFolder) {
  DeleteFileA(windows_.File("Velmora2.scr").c_str());
  EXPECT_FALSE(Verify());
  ASSERT_EQ(opened_.size(), 4u);
  EXPECT_EQ(opened_.back(), windows_.File("Velmora2.scr"));
}

TEST_F(Integrity, NeedsEveryFileAndEverySum) {
  for (const char* name :
       {"BTNexgenIPL32.dll", "fmod.dll", "images.bdl", "Velmora2.scr", "Velmora2.exe"}) {
    const Bytes bytes = support::ReadWholeFile(install_.File(name));
    DeleteFileA(install_.File(name).c_str());
    EXPECT_FALSE(Verify()) << name;
    install_.Write(name, bytes);
  }
  for (const std::size_t word : {0u, 1u, 2u, 4u, 5u, 6u}) {
    std::vector<std::uint32_t> words = Sums();
    words[word] ^= 0x100;
    WriteSums(words);
    EXPECT_FALSE(Verify()) << word;
  }
  WriteSums(Sums());
  EXPECT_TRUE(Verify());
}

}  // namespace
