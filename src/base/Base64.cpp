#include "base/Base64.h"

#include <algorithm>
#include <istream>
#include <ostream>
#include <vector>

namespace {

constexpr std::int32_t kGroupsPerLine = 18;
// A single byte may write two characters and a line feed: more than twice itself.
constexpr std::size_t kSpareRoom = 4;

}  // namespace

void InitState(Base64State& state) {
  state.step = 0;
  state.carry = 0;
  state.groups = 0;
}

char EncodeValue(std::uint32_t value) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  return value > 63 ? '=' : kAlphabet[value];
}

std::size_t EncodeBlock(const unsigned char* input, std::size_t length, char* output,
                        Base64State& state) {
  char* to = output;
  for (std::size_t n = 0; n < length; ++n) {
    const unsigned byte = input[n];
    switch (state.step) {
      case 0:
        *to++ = EncodeValue(byte >> 2);
        state.carry = static_cast<std::uint8_t>((byte & 3) << 4);
        state.step = 1;
        break;
      case 1:
        *to++ = EncodeValue(state.carry | byte >> 4);
        state.carry = static_cast<std::uint8_t>((byte & 15) << 2);
        state.step = 2;
        break;
      default:
        *to++ = EncodeValue(state.carry | byte >> 6);
        *to++ = EncodeValue(byte & 63);
        state.step = 0;
        if (++state.groups == kGroupsPerLine) {
          *to++ = '\n';
          state.groups = 0;
        }
    }
  }
  return static_cast<std::size_t>(to - output);
}

std::size_t EncodeEnd(char* output, Base64State& state) {
  char* to = output;
  if (state.step > 0) {
    *to++ = EncodeValue(state.carry);
    to = std::fill_n(to, 3 - state.step, '=');
  }
  *to++ = '\n';
  return static_cast<std::size_t>(to - output);
}

std::uint64_t EncodedSize(std::uint64_t bytes) {
  const std::uint64_t fullLines = bytes / 3 / kGroupsPerLine;
  return (bytes + 2) / 3 * 4 + fullLines + 1;
}

void EncodeStream(Base64State& state, std::istream& input, std::ostream& output) {
  InitState(state);
  const auto blockSize = static_cast<std::size_t>(std::max(state.blockSize, 1));
  std::vector<char> block(blockSize);
  std::vector<char> encoded(blockSize * 2 + kSpareRoom);
  while (!input.eof()) {
    input.read(block.data(), static_cast<std::streamsize>(block.size()));
    const auto read = static_cast<std::size_t>(input.gcount());
    if (read < 1) break;
    const std::size_t written = EncodeBlock(reinterpret_cast<const unsigned char*>(block.data()),
                                            read, encoded.data(), state);
    output.write(encoded.data(), static_cast<std::streamsize>(written));
  }
  const std::size_t written = EncodeEnd(encoded.data(), state);
  output.write(encoded.data(), static_cast<std::streamsize>(written));
  InitState(state);
}
