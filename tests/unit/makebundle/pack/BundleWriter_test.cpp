#include "makebundle/pack/BundleWriter.h"

#include "makebundle/pack/PackError.h"

#include <gtest/gtest.h>

namespace {

class MemorySink : public ByteSink {
 public:
  void Write(Bytes bytes) override { text += AsText(bytes); }
  std::string text;
};

std::string Number(std::uint32_t value) {
  std::string text;
  for (int n = 0; n < 4; ++n) text += static_cast<char>(value >> 8 * n & 0xFF);
  return text;
}
std::string Z(const std::string& text) { return text + '\0'; }

TEST(BundleWriter, LayoutIsAsDocumented) {
  MemorySink sink;
  BundleWriter writer(sink);
  writer.BeginCategory("image");
  writer.Add("a.jpg", AsBytes("AAAA"));
  writer.Add("b.jpg", AsBytes("BB"));
  writer.BeginCategory("dims");
  writer.Add("a.jpg", AsBytes("d"));
  writer.BeginCategory("music");
  writer.Finish();
  EXPECT_EQ(sink.text, "AAAABBd" + Z("?image") + Z("a.jpg") + Number(0) + Number(4) + Z("b.jpg") +
                           Number(4) + Number(2) + Z("?dims") + Z("a.jpg") + Number(6) + Number(1) +
                           Z("?music") + Number(7));
  EXPECT_EQ(writer.Position(), sink.text.size());
}

TEST(BundleWriter, OffsetsCountFromTheStartOfTheHost) {
  MemorySink sink;
  sink.text = "HOSTFILE";
  BundleWriter writer(sink, sink.text.size());
  writer.BeginCategory("skin");
  writer.Add("a", AsBytes("XYZ"));
  writer.Finish();
  EXPECT_EQ(sink.text, "HOSTFILEXYZ" + Z("?skin") + Z("a") + Number(8) + Number(3) + Number(11));
}

TEST(BundleWriter, PiecesGiveTheSameAsTheWhole) {
  MemorySink whole, pieces;
  BundleWriter one(whole), two(pieces);
  for (BundleWriter* writer : {&one, &two}) writer->BeginCategory("c");
  one.Add("m", AsBytes("abcdef"));
  two.BeginMember("m", 6);
  two.Append(AsBytes("abc"));
  two.Append(AsBytes("def"));
  one.Finish();
  two.Finish();
  EXPECT_EQ(whole.text, pieces.text);
  EXPECT_EQ(one.Members()[0].fingerprint, two.Members()[0].fingerprint);
  EXPECT_NE(one.Members()[0].fingerprint, Fingerprint(AsBytes("abcdeF")));
}

TEST(BundleWriter, NamesABundleCannotHoldAreRefused) {
  MemorySink sink;
  BundleWriter writer(sink);
  EXPECT_THROW(writer.BeginCategory(""), PackError);
  EXPECT_THROW(writer.BeginCategory("?c"), PackError);
  writer.BeginCategory("c");
  EXPECT_THROW(writer.Add("", {}), PackError);
  EXPECT_THROW(writer.Add("?m", {}), PackError);
  EXPECT_TRUE(sink.text.empty());
}

TEST(BundleWriter, NamesThatDifferInCaseAreRefused) {
  MemorySink sink;
  BundleWriter writer(sink);
  writer.BeginCategory("one");
  writer.Add("a.jpg", {});
  EXPECT_THROW(writer.Add("A.JPG", {}), PackError);
  EXPECT_THROW(writer.BeginCategory("ONE"), PackError);
  writer.BeginCategory("two");
  EXPECT_NO_THROW(writer.Add("a.jpg", {})) << "another category may have the name, too";
}

TEST(BundleWriter, FileThatChangesItsSizeIsRefused) {
  MemorySink sink;
  BundleWriter grown(sink), shrunk(sink);
  grown.BeginCategory("c");
  grown.BeginMember("m", 2);
  EXPECT_THROW(grown.Append(AsBytes("abc")), PackError);
  shrunk.BeginCategory("c");
  shrunk.BeginMember("m", 2);
  shrunk.Append(AsBytes("a"));
  EXPECT_THROW(shrunk.Finish(), PackError);
  EXPECT_THROW(shrunk.BeginMember("n", 1), PackError);
}

TEST(BundleWriter, FourGigabytesAreTheEnd) {
  // The directory of one category "c" and one member "m" takes 13 bytes.
  constexpr std::uint64_t kMostBytes = BundleWriter::kMaxDirectoryEnd - 13;
  MemorySink sink;
  BundleWriter fits(sink), tooLarge(sink), behindLargeHost(sink, BundleWriter::kMaxDirectoryEnd);
  fits.BeginCategory("c");
  EXPECT_NO_THROW(fits.BeginMember("m", kMostBytes));
  tooLarge.BeginCategory("c");
  EXPECT_THROW(tooLarge.BeginMember("m", kMostBytes + 1), PackError);
  EXPECT_THROW(tooLarge.BeginMember("n", 0x7FFFFFFFFFFFFFFF), PackError);
  EXPECT_THROW(behindLargeHost.BeginCategory("c"), PackError);
}

}  // namespace
