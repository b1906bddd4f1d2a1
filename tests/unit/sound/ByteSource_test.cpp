#include "sound/byte_source.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

std::string ReadText(sound::ByteSource& source, std::size_t size) {
  std::string text(size, '?');
  text.resize(source.Read(text.data(), size));
  return text;
}

// Every source behaves alike over the text "0123456789".
void ExpectDigits(sound::ByteSource& source) {
  EXPECT_EQ(source.Size(), 10);
  EXPECT_EQ(ReadText(source, 4), "0123");
  EXPECT_EQ(source.Tell(), 4);
  EXPECT_EQ(ReadText(source, 100), "456789");
  EXPECT_EQ(ReadText(source, 1), "");
  EXPECT_TRUE(source.Seek(8));
  EXPECT_EQ(ReadText(source, 1), "8");
  EXPECT_TRUE(source.Seek(10));
  EXPECT_FALSE(source.Seek(11));
  EXPECT_FALSE(source.Seek(-1));
  EXPECT_EQ(source.Tell(), 10);
}

TEST(ByteSource, OfMemory) { ExpectDigits(*sound::OpenMemory("0123456789", 10)); }

TEST(ByteSource, OfAFile) {
  const support::TempFolder folder;
  const auto file = sound::OpenFile(folder.Write("a.bin", support::BytesOf("0123456789")).c_str());
  ASSERT_TRUE(file);
  ExpectDigits(*file);
  EXPECT_FALSE(sound::OpenFile(folder.File("none").c_str()));
}

TEST(ByteSource, OfASlice) {
  ExpectDigits(*sound::OpenSlice(sound::OpenMemory("ab0123456789cd", 14), 2, 10));
}

TEST(ByteSource, ASliceStaysWithinTheWhole) {
  EXPECT_EQ(sound::OpenSlice(sound::OpenMemory("0123", 4), 2, 100)->Size(), 2);
  EXPECT_EQ(sound::OpenSlice(sound::OpenMemory("0123", 4), 9, 100)->Size(), 0);
  EXPECT_EQ(sound::OpenSlice(sound::OpenMemory("0123", 4), -3, 2)->Size(), 2);
}

TEST(ByteSource, MemoryIsNotCopied) {
  char text[] = "abc";
  const auto source = sound::OpenMemory(text, 3);
  text[1] = 'X';
  EXPECT_EQ(ReadText(*source, 3), "aXc");
}

}  // namespace
