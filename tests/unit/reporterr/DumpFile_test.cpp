#include "reporterr/DumpFile.h"

#include "app/CrashCapture.h"
#include "base/win_owned.h"
#include "DumpBuilder.h"
#include "settings/Session.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstring>

using support::Bytes;

namespace {

const Bytes kStack(100, 's'), kRegisters(60, 'r');

class WholeDump : public testing::Test {
 protected:
  bool IsWhole(const Bytes& bytes) const { return IsWholeDump(folder.Write("a.dmp", bytes)); }
  bool IsWhole(const DumpBuilder& dump) const { return IsWhole(dump.Build()); }

  // The very last byte belongs to it.
  void ExpectWholeOnlyAsAWhole(const Bytes& dump) const {
    ASSERT_TRUE(IsWhole(dump));
    for (std::size_t size = 0; size < dump.size(); ++size)
      ASSERT_FALSE(IsWhole(Bytes(dump.begin(), dump.begin() + static_cast<std::ptrdiff_t>(size))))
          << size << " of " << dump.size() << " bytes";
  }

  support::TempFolder folder;
};

TEST_F(WholeDump, HasAllOfItsStreams) {
  DumpBuilder dump;
  dump.Add(DumpBuilder::kComment, Bytes(40, 'c'));
  ExpectWholeOnlyAsAWhole(dump.Build());
}

TEST_F(WholeDump, HasTheStacksOfItsThreads) {
  DumpBuilder dump;
  const std::uint32_t registers = dump.Append(kRegisters);
  const std::uint32_t list = dump.Add(DumpBuilder::kThreads, ThreadList(0, 0, 0, 0));
  const std::uint32_t stack = dump.Append(kStack);
  Bytes bytes = dump.Build();
  const Bytes threads = ThreadList(stack, 100, registers, 60);
  std::memcpy(bytes.data() + list, threads.data(), threads.size());
  ExpectWholeOnlyAsAWhole(bytes);
}

TEST_F(WholeDump, HasTheRegistersOfItsThreads) {
  DumpBuilder dump;
  const std::uint32_t list = dump.Add(DumpBuilder::kThreads, ThreadList(0, 0, 0, 0));
  const std::uint32_t registers = dump.Append(kRegisters);
  Bytes bytes = dump.Build();
  const Bytes threads = ThreadList(0, 0, registers, 60);
  std::memcpy(bytes.data() + list, threads.data(), threads.size());
  ExpectWholeOnlyAsAWhole(bytes);
}

TEST_F(WholeDump, HasItsMemory) {
  DumpBuilder dump;
  const std::uint32_t list = dump.Add(DumpBuilder::kMemory, MemoryList(0, 0));
  const std::uint32_t memory = dump.Append(kStack);
  Bytes bytes = dump.Build();
  std::memcpy(bytes.data() + list, MemoryList(memory, 100).data(), MemoryList(0, 0).size());
  ExpectWholeOnlyAsAWhole(bytes);
}

TEST_F(WholeDump, HasAllMemoryOfADumpWithAllMemory) {
  DumpBuilder dump;
  const std::uint32_t list = dump.Add(DumpBuilder::kLongMemory, LongMemoryList(0, 0, 0));
  const std::uint32_t memory = dump.Append(kStack);
  Bytes bytes = dump.Build();
  const Bytes ranges = LongMemoryList(memory, 70, 30);
  std::memcpy(bytes.data() + list, ranges.data(), ranges.size());
  ExpectWholeOnlyAsAWhole(bytes);
}

TEST_F(WholeDump, HasAHeadAndADirectory) {
  DumpBuilder dump;
  EXPECT_FALSE(IsWhole(dump)) << "without streams";
  dump.Add(DumpBuilder::kComment, Bytes(40, 'c'));
  const Bytes good = dump.Build();
  for (const auto& [place, value] : {std::pair{0, 0x504D444Cu}, std::pair{8, 0xFFFFFFFFu},
                                     std::pair{8, 900u}, std::pair{12, 0xFFFFFFFFu}}) {
    Bytes bytes = good;
    std::memcpy(bytes.data() + place, &value, sizeof value);
    EXPECT_FALSE(IsWhole(bytes)) << value << " at " << place;
  }
}

// Sums and products of these pass the largest number.
TEST_F(WholeDump, IsNotOneWithNumbersOutOfAllBounds) {
  constexpr std::uint32_t kMost = 0xFFFFFFFF;
  for (const std::uint32_t kind :
       {DumpBuilder::kThreads, DumpBuilder::kMemory, DumpBuilder::kLongMemory}) {
    for (const std::uint32_t count : {kMost, 0x80000000u, 0x05555556u, 0x10000000u, 1000u}) {
      DumpBuilder dump;
      Bytes list;
      for (int n = 0; n < 60; ++n) support::AppendU32(list, n == 0 ? count : 0);
      dump.Add(kind, list);
      EXPECT_FALSE(IsWhole(dump)) << count << " entries of list " << kind;
    }
    DumpBuilder empty;
    empty.Add(kind, {});
    EXPECT_FALSE(IsWhole(empty)) << "no room for the number of entries of list " << kind;
  }
  DumpBuilder threads, memory, longMemory;
  threads.Add(DumpBuilder::kThreads, ThreadList(kMost, kMost, 0, 0));
  memory.Add(DumpBuilder::kMemory, MemoryList(kMost, kMost));
  Bytes ranges = LongMemoryList(0, 0, 0);
  std::memset(ranges.data() + 24, 0xFF, 8);  // the first one's size
  longMemory.Add(DumpBuilder::kLongMemory, ranges);
  for (const DumpBuilder* dump : {&threads, &memory, &longMemory}) EXPECT_FALSE(IsWhole(*dump));
}

TEST_F(WholeDump, IsOneOfTheSystemAndNotAPieceOfIt) {
  const support::SessionState session;
  AppDataPath = folder.Path() + "\\";
  OsVersionCode = 7;
  EXCEPTION_RECORD record{};
  CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  GetThreadContext(GetCurrentThread(), &context);
  EXCEPTION_POINTERS pointers{&record, &context};
  ASSERT_TRUE(WriteMinidump(&pointers));
  const Bytes dump = support::ReadWholeFile(folder.File("velmora_minidump.dmp"));
  EXPECT_TRUE(IsWhole(dump));
  for (int tenths = 0; tenths < 10; ++tenths)
    EXPECT_FALSE(IsWhole(Bytes(dump.begin(), dump.begin() + dump.size() * tenths / 10))) << tenths;
}

TEST_F(WholeDump, IsNoneWhileSomebodyWritesIt) {
  DumpBuilder dump;
  dump.Add(DumpBuilder::kComment, Bytes(40, 'c'));
  const std::string path = folder.Write("a.dmp", dump.Build());
  EXPECT_NE(WrittenAt(path), 0u);
  const KernelHandle writer = OwnFile(
      CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_FALSE(IsWholeDump(path));
  EXPECT_EQ(WrittenAt(path), 0u);
}

}  // namespace
