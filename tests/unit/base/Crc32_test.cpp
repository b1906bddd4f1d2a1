#include "base/Crc32.h"

#include "base/win.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using support::Bytes;
using support::BytesOf;
using support::PatternBytes;
using support::TempFolder;

namespace {

using Way = std::uint32_t (*)(const char*, std::uint32_t&);

struct NamedWay {
  const char* name;
  Way sum;
};

void PrintTo(const NamedWay& way, std::ostream* out) { *out << way.name; }

class Crc32 : public testing::TestWithParam<NamedWay> {
 protected:
  std::uint32_t SumOf(const std::string& path, std::uint32_t expectedError = 0) {
    std::uint32_t crc = 0xDEADBEEF;
    EXPECT_EQ(GetParam().sum(path.c_str(), crc), expectedError);
    return crc;
  }
  std::uint32_t SumOf(const Bytes& bytes) { return SumOf(folder_.Write("file", bytes)); }

  TempFolder folder_;
};

// Bit by bit, without a table.
std::uint32_t SlowSum(const Bytes& bytes) {
  std::uint32_t value = 0xFFFFFFFF;
  for (const unsigned char byte : bytes)
    for (int bit = 0; bit < 8; ++bit) {
      const bool low = (value ^ byte >> bit) & 1;
      value = value >> 1 ^ (low ? 0xEDB88320 : 0);
    }
  return ~value;
}

TEST_P(Crc32, OfNineDigitsIsTheKnownValue) { EXPECT_EQ(SumOf(BytesOf("123456789")), 0xCBF43926u); }

TEST_P(Crc32, OfAnEmptyFileIs0) { EXPECT_EQ(SumOf(Bytes{}), 0u); }

TEST_P(Crc32, OfAnyLengthAroundTheBlocks) {
  for (const std::size_t length : {1u, 255u, 4095u, 4096u, 4097u, 8192u, 20001u}) {
    const Bytes bytes = PatternBytes(length);
    EXPECT_EQ(SumOf(bytes), SlowSum(bytes)) << length;
  }
}

TEST_P(Crc32, OfMoreThanOneView) {
  static const Bytes bytes = PatternBytes(0xA00000 + 70001);
  static const std::uint32_t expected = SlowSum(bytes);
  EXPECT_EQ(SumOf(bytes), expected);
}

TEST_P(Crc32, OfAMissingFileIs0WithTheSystemsError) {
  EXPECT_EQ(SumOf(folder_.File("none"), ERROR_FILE_NOT_FOUND), 0u);
  EXPECT_EQ(SumOf(folder_.File("no\\folder"), ERROR_PATH_NOT_FOUND), 0u);
}

TEST_P(Crc32, OfAFileThatOthersWriteIsRefused) {
  const std::string path = folder_.Write("file", BytesOf("x"));
  const HANDLE writer =
      CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(SumOf(path, ERROR_SHARING_VIOLATION), 0u);
  CloseHandle(writer);
  EXPECT_NE(SumOf(path), 0u);
}

TEST_P(Crc32, TellsTheSystemHowTheFileIsRead) {
  DWORD flags = 0;
  HOOK_IMPORT(open, "kernel32.dll", CreateFileA,
              [&](LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD how,
                  DWORD with, HANDLE like) -> HANDLE {
                flags = with;
                EXPECT_EQ(access, static_cast<DWORD>(GENERIC_READ));
                EXPECT_EQ(share, static_cast<DWORD>(FILE_SHARE_READ));
                return REAL_IMPORT("kernel32.dll", CreateFileA)(path, access, share, security, how,
                                                               with, like);
              });
  SumOf(BytesOf("x"));
  EXPECT_EQ(flags, FILE_FLAG_SEQUENTIAL_SCAN | 0x27u);
}

const NamedWay kWin32{"Win32", CCrc32Static::FileCrc32Win32};
const NamedWay kAssembly{"Assembly", CCrc32Static::FileCrc32Assembly};
const NamedWay kFilemap{"Filemap", CCrc32Static::FileCrc32Filemap};

INSTANTIATE_TEST_SUITE_P(Ways, Crc32, testing::Values(kWin32, kAssembly, kFilemap),
                         [](const auto& way) { return std::string(way.param.name); });

// --- Single ways ---

class Crc32Failure : public Crc32 {};

TEST_P(Crc32Failure, InTheMiddleGivesItsErrorAndTheSumSoFar) {
  const Bytes bytes = PatternBytes(10000);
  const std::string path = folder_.Write("file", bytes);
  std::vector<DWORD> sizes;
  HOOK_IMPORT(
      read, "kernel32.dll", ReadFile,
      [&](HANDLE file, LPVOID to, DWORD size, LPDWORD got, LPOVERLAPPED overlapped) -> BOOL {
        sizes.push_back(size);
        if (sizes.size() == 3) return SetLastError(ERROR_CRC), FALSE;
        return REAL_IMPORT("kernel32.dll", ReadFile)(file, to, size, got, overlapped);
      });
  EXPECT_EQ(SumOf(path, ERROR_CRC), SlowSum(Bytes(bytes.begin(), bytes.begin() + 8192)));
  EXPECT_EQ(sizes, (std::vector<DWORD>{4096, 4096, 4096}));
}

INSTANTIATE_TEST_SUITE_P(Ways, Crc32Failure, testing::Values(kWin32, kAssembly),
                         [](const auto& way) { return std::string(way.param.name); });

TEST(Crc32Filemap, MapsTenMebibytesAtMostAndMovesAlong) {
  const TempFolder folder;
  const std::string path = folder.Write("file", PatternBytes(2 * 0xA00000 + 5));
  std::vector<std::pair<DWORD, SIZE_T>> views;
  HOOK_IMPORT(map, "kernel32.dll", MapViewOfFile,
              [&](HANDLE mapping, DWORD access, DWORD high, DWORD low, SIZE_T size) -> LPVOID {
                EXPECT_EQ(high, 0u);
                views.emplace_back(low, size);
                return REAL_IMPORT("kernel32.dll", MapViewOfFile)(mapping, access, high, low, size);
              });
  std::uint32_t crc = 0;
  EXPECT_EQ(CCrc32Static::FileCrc32Filemap(path.c_str(), crc), 0u);
  EXPECT_EQ(views, (std::vector<std::pair<DWORD, SIZE_T>>{
                       {0, 0xA00000}, {0xA00000, 0xA00000}, {2 * 0xA00000, 5}}));
}

TEST(Crc32Filemap, DoesNotMapAnEmptyFile) {
  const TempFolder folder;
  const std::string path = folder.Write("file", {});
  int mappings = 0;
  HOOK_IMPORT(map, "kernel32.dll", CreateFileMappingA,
              [&](HANDLE, LPSECURITY_ATTRIBUTES, DWORD, DWORD, DWORD, LPCSTR) -> HANDLE {
                ++mappings;
                return nullptr;
              });
  std::uint32_t crc = 1;
  EXPECT_EQ(CCrc32Static::FileCrc32Filemap(path.c_str(), crc), 0u);
  EXPECT_EQ(crc, 0u);
  EXPECT_EQ(mappings, 0);
}

TEST(Crc32Filemap, WithoutASizeTheCodeIs24) {
  const TempFolder folder;
  const std::string path = folder.Write("file", BytesOf("x"));
  HOOK_IMPORT(size, "kernel32.dll", GetFileSize, [](HANDLE, LPDWORD) -> DWORD {
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_FILE_SIZE;
  });
  std::uint32_t crc = 1;
  EXPECT_EQ(CCrc32Static::FileCrc32Filemap(path.c_str(), crc), 24u);
  EXPECT_EQ(crc, 0u);
}

TEST(Crc32Filemap, GivesTheErrorOfAMappingThatFails) {
  const TempFolder folder;
  const std::string path = folder.Write("file", BytesOf("x"));
  std::uint32_t crc = 1;
  {
    HOOK_IMPORT(mapping, "kernel32.dll", CreateFileMappingA,
                [](HANDLE, LPSECURITY_ATTRIBUTES, DWORD, DWORD, DWORD, LPCSTR) -> HANDLE {
                  return SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr;
                });
    EXPECT_EQ(CCrc32Static::FileCrc32Filemap(path.c_str(), crc),
              static_cast<std::uint32_t>(ERROR_NOT_ENOUGH_MEMORY));
  }
  HOOK_IMPORT(view, "kernel32.dll", MapViewOfFile,
              [](HANDLE, DWORD, DWORD, DWORD, SIZE_T) -> LPVOID {
                return SetLastError(ERROR_INVALID_ADDRESS), nullptr;
              });
  EXPECT_EQ(CCrc32Static::FileCrc32Filemap(path.c_str(), crc),
            static_cast<std::uint32_t>(ERROR_INVALID_ADDRESS));
  EXPECT_EQ(crc, 0u);
}

TEST(CheckFileCrc, ComparesWithTheSumOfAReadableFile) {
  const TempFolder folder;
  const std::string path = folder.Write("file", BytesOf("123456789"));
  EXPECT_TRUE(CheckFileCrc(path.c_str(), 0xCBF43926));
  EXPECT_FALSE(CheckFileCrc(path.c_str(), 0xCBF43927));
  EXPECT_FALSE(CheckFileCrc(folder.File("none").c_str(), 0));
  EXPECT_TRUE(CheckFileCrc(folder.Write("empty", {}).c_str(), 0));
}

TEST(CCrc32Static, HasNoFieldsOfItsOwn) { EXPECT_EQ(sizeof(CCrc32Static), sizeof(void*)); }

}  // namespace
