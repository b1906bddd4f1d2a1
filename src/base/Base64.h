#pragma once
// Base64 in lines of 72 characters, each ended by a line feed. The encoder can
// stop at any byte and go on later.
//
//   Base64State state;
//   InitState(state);
//   written = EncodeBlock(input, length, output, state);   // any number of times
//   written = EncodeEnd(output, state);

#include <cstddef>
#include <cstdint>
#include <iosfwd>

struct Base64State {
  std::int32_t step = 0;    // 0 to 2: the place in a group of three input bytes
  std::uint8_t carry = 0;   // bits left over from the last byte
  std::int32_t groups = 0;  // written on the present line
  std::int32_t blockSize = 4096;  // bytes that EncodeStream reads at a time
};

// Clears all but blockSize.
void InitState(Base64State& state);

// The character of a 6-bit value; "=" for a value above 63.
char EncodeValue(std::uint32_t value);

// Encodes `length` bytes; returns the characters written. `output` has room for
// twice the input, and 4 more.
std::size_t EncodeBlock(const unsigned char* input, std::size_t length, char* output,
                        Base64State& state);

// Writes what is pending and a last line feed, at most 4 characters in all;
// returns how many. The text always ends in a line feed, even if its last line is
// empty.
std::size_t EncodeEnd(char* output, Base64State& state);

// Characters that `bytes` bytes become, line feeds and all.
std::uint64_t EncodedSize(std::uint64_t bytes);

// Encodes all of `input`, an open binary stream.
void EncodeStream(Base64State& state, std::istream& input, std::ostream& output);
