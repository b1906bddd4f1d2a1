#pragma once
// Says what is wrong with a bundle that the show's reader refuses: the reader
// itself only says that it does.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Reads `size` bytes at `offset`; fewer if the file has no more.
using ReadAt = std::function<std::vector<unsigned char>(std::uint64_t offset, std::uint64_t size)>;

// What is wrong with the trailer or the directory of a file of `fileSize`
// bytes, in the reader's order; "it can't be read" if they look all right.
std::string FaultOfDirectory(std::uint64_t fileSize, const ReadAt& readAt);
