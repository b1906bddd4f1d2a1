#include "base/Base64.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

using support::Bytes;
using support::BytesOf;
using support::PatternBytes;

namespace {

// Encodes in pieces of the given size, into memory of just the promised room.
std::string Encode(const Bytes& input, std::size_t piece) {
  Base64State state;
  InitState(state);
  std::string text;
  for (std::size_t at = 0; at < input.size(); at += piece) {
    const std::size_t length = std::min(piece, input.size() - at);
    std::vector<char> output(2 * length + 4);
    text.append(output.data(), EncodeBlock(input.data() + at, length, output.data(), state));
  }
  std::vector<char> end(4);
  text.append(end.data(), EncodeEnd(end.data(), state));
  return text;
}

std::string Encode(const Bytes& input) { return Encode(input, input.size() + 1); }

// The plain reading of the rules: six bits after the other.
std::string Expected(const Bytes& input) {
  static const std::string alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  int column = 0;
  for (std::size_t at = 0; at < input.size(); at += 3) {
    const auto byte = [&](std::size_t n) { return at + n < input.size() ? input[at + n] : 0u; };
    const unsigned group = byte(0) << 16 | byte(1) << 8 | byte(2);
    const std::size_t characters = std::min<std::size_t>(input.size() - at, 3) + 1;
    for (std::size_t n = 0; n < 4; ++n)
      text += n < characters ? alphabet[group >> (18 - 6 * n) & 63] : '=';
    column += 4;
    if (column == 72 && characters == 4) {
      text += '\n';
      column = 0;
    }
  }
  return text + '\n';
}

TEST(Base64, ValuesHaveTheirCharacters) {
  EXPECT_EQ(EncodeValue(0), 'A');
  EXPECT_EQ(EncodeValue(25), 'Z');
  EXPECT_EQ(EncodeValue(26), 'a');
  EXPECT_EQ(EncodeValue(51), 'z');
  EXPECT_EQ(EncodeValue(52), '0');
  EXPECT_EQ(EncodeValue(61), '9');
  EXPECT_EQ(EncodeValue(62), '+');
  EXPECT_EQ(EncodeValue(63), '/');
  EXPECT_EQ(EncodeValue(64), '=');
  EXPECT_EQ(EncodeValue(0xFFFFFFFF), '=');
}

TEST(Base64, InitStateClearsAllButTheBlockSize) {
  Base64State state{2, 9, 17, 100};
  InitState(state);
  EXPECT_EQ(state.step, 0);
  EXPECT_EQ(state.carry, 0);
  EXPECT_EQ(state.groups, 0);
  EXPECT_EQ(state.blockSize, 100);
}

TEST(Base64, EncodesWhatEveryoneKnows) {
  EXPECT_EQ(Encode(BytesOf("Man")), "TWFu\n");
  EXPECT_EQ(Encode(BytesOf("foobar")), "Zm9vYmFy\n");
  EXPECT_EQ(Encode({0xFB, 0xFF, 0xBF}), "+/+/\n");
}

TEST(Base64, NothingIsALineFeed) { EXPECT_EQ(Encode({}), "\n"); }

TEST(Base64, OneByteIsTwoCharactersTwoEqualsAndALineFeed) {
  EXPECT_EQ(Encode(BytesOf("M")), "TQ==\n");
}

TEST(Base64, TwoBytesAreThreeCharactersOneEqualsAndALineFeed) {
  EXPECT_EQ(Encode(BytesOf("Ma")), "TWE=\n");
}

TEST(Base64, FiftyFourBytesAreOneWholeLineAndTheEndAddsAnEmptyOne) {
  const std::string text = Encode(PatternBytes(54));
  EXPECT_EQ(text.size(), 74u);
  EXPECT_EQ(text.find('\n'), 72u);
  EXPECT_EQ(text.substr(72), "\n\n");
}

TEST(Base64, ByteByByteGivesTheSameAsAllAtOnce) {
  const Bytes input = PatternBytes(1000);
  EXPECT_EQ(Encode(input, 1), Encode(input));
}

TEST(Base64, AnyLengthInAnyPiecesIsWhatTheRulesSay) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length < 300; ++length) {
    const Bytes input = PatternBytes(length, static_cast<std::uint32_t>(length));
    const std::size_t piece = 1 + random() % 80;
    ASSERT_EQ(Encode(input, piece), Expected(input)) << length << " bytes by " << piece;
  }
}

TEST(Base64, ItsSizeIsKnownBefore) {
  for (std::size_t length = 0; length < 300; ++length)
    ASSERT_EQ(EncodedSize(length), Expected(PatternBytes(length)).size()) << length;
}

TEST(Base64, StreamsAreEncodedWhole) {
  for (const std::size_t length : {0u, 1u, 53u, 54u, 4095u, 4096u, 4097u, 12288u, 50000u}) {
    const Bytes input = PatternBytes(length);
    std::istringstream in(support::TextOf(input));
    std::ostringstream out;
    Base64State state{1, 3, 5, 4096};
    EncodeStream(state, in, out);
    EXPECT_EQ(out.str(), Expected(input)) << length;
    EXPECT_EQ(state.step, 0);
    EXPECT_EQ(state.carry, 0);
    EXPECT_EQ(state.groups, 0);
  }
}

TEST(Base64, BlocksOfAnySizeDoForAStream) {
  const Bytes input = PatternBytes(500);
  for (const std::int32_t size : {1, 2, 3, 7, 54, 499, 500, 501}) {
    std::istringstream in(support::TextOf(input));
    std::ostringstream out;
    Base64State state;
    state.blockSize = size;
    EncodeStream(state, in, out);
    EXPECT_EQ(out.str(), Expected(input)) << size;
  }
}

TEST(Base64, AStreamThatCannotBeReadIsEmpty) {
  std::istringstream in("text");
  in.setstate(std::ios::badbit);
  std::ostringstream out;
  Base64State state;
  EncodeStream(state, in, out);
  EXPECT_EQ(out.str(), "\n");
}

}  // namespace
