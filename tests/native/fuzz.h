#pragma once
// What the fuzz targets share.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// A promise that must hold for every input; stops the target when it doesn't.
inline void Require(bool promise) {
  if (!promise) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
