#include "app/Integrity.h"

#include "base/Crc32.h"
#include "base/LittleEndian.h"
#include "base/StdFile.h"
#include "base/SummedFiles.h"
#include "base/win.h"
#include "settings/Session.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace {

using Words = std::array<std::uint32_t, kSumCount>;

std::optional<Words> ReadWords(const std::string& path) {
  const StdFile file(std::fopen(path.c_str(), "rb"));
  unsigned char bytes[kSumCount][4];
  if (!file || std::fread(bytes, 4, kSumCount, file.get()) != kSumCount) return std::nullopt;
  Words words{};
  for (std::size_t n = 0; n < kSumCount; ++n) words[n] = LittleEndian32(bytes[n]);
  return words;
}

// With a separator at its end.
std::string WindowsFolder() {
  char folder[MAX_PATH] = {};
  GetWindowsDirectoryA(folder, sizeof folder);
  return std::string(folder) + "\\";
}

}  // namespace

bool VerifyFiles() {
  const std::optional<Words> words = ReadWords(InstallPath + kSumsFileName);
  if (!words) return false;
  for (std::size_t n = 0; n < kSumCount; ++n) {
    const SummedFile& file = kSummedFiles[n];
    if (!file.name) continue;
    const std::string path = (file.inWindowsFolder ? WindowsFolder() : InstallPath) + file.name;
    if (!CheckFileCrc(path.c_str(), (*words)[n])) return false;
  }
  return true;
}
