#include "makebundle/pack/BundleFault.h"

#include "makebundle/pack/Bytes.h"

namespace {

constexpr std::uint64_t kTrailerSize = 4;
constexpr std::size_t kNumbersSize = 8;
constexpr std::uint64_t kMaxDirectoryEnd = 0xFFFFFFFF;

bool AllRecordsEndWithin(Bytes directory) {
  while (!directory.empty()) {
    const bool category = directory[0] == '?';
    const std::size_t nul = AsText(directory).find('\0');
    if (nul == std::string_view::npos) return false;
    const std::size_t size = nul + 1 + (category ? 0 : kNumbersSize);
    if (size > directory.size()) return false;
    directory = directory.subspan(size);
  }
  return true;
}

}  // namespace

std::string FaultOfDirectory(std::uint64_t fileSize, const ReadAt& readAt) {
  if (fileSize < kTrailerSize) return "it is shorter than a bundle's trailer (4 bytes)";
  const std::uint64_t end = fileSize - kTrailerSize;
  if (end > kMaxDirectoryEnd) return "it is larger than 4 GiB";
  const std::optional<std::uint32_t> offset =
      NumberAt(readAt(end, kTrailerSize), 0, 4, ByteOrder::kLittleEndian);
  if (!offset) return "it can't be read";
  if (*offset >= end)
    return "its last four bytes give " + std::to_string(*offset) +
           " as the directory's place, which isn't before them";
  if (!StartsWith(readAt(*offset, 1), "?"))
    return "the directory at " + std::to_string(*offset) + " doesn't start with a category";
  if (!AllRecordsEndWithin(readAt(*offset, end - *offset)))
    return "a record runs past the end of the directory";
  return "it can't be read";
}
