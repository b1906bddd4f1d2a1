#include "app/Integrity.h"

#include "base/Crc32.h"
#include "base/LittleEndian.h"
#include "base/StdFile.h"
#include "base/win.h"
#include "settings/Session.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace {

constexpr std::size_t kWordCount = 8;  // whatever follows them is ignored
using Words = std::array<std::uint32_t, kWordCount>;

std::optional<Words> ReadWords(const std::string& path) {
  const StdFile file(std::fopen(path.c_str(), "rb"));
  unsigned char bytes[kWordCount][4];
  if (!file || std::fread(bytes, 4, kWordCount, file.get()) != kWordCount) return std::nullopt;
  Words words{};
  for (std::size_t n = 0; n < kWordCount; ++n) words[n] = LittleEndian32(bytes[n]);
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
  const std::optional<Words> words = ReadWords(InstallPath + "chk.sum");
  if (!words) return false;
  // The fourth word and the last one stand for files that there aren't.
  const struct {
    std::string path;
    std::uint32_t sum;
  } files[] = {
      {InstallPath + "BTNexgenIPL32.dll", (*words)[0]},
      {InstallPath + "fmod.dll", (*words)[1]},
      {InstallPath + "images.bdl", (*words)[2]},
      {WindowsFolder() + "Velmora2.scr", (*words)[4]},
      {InstallPath + "Velmora2.scr", (*words)[5]},
      {InstallPath + "Velmora2.exe", (*words)[6]},
  };
  for (const auto& file : files)
    if (!CheckFileCrc(file.path.c_str(), file.sum)) return false;
  return true;
}
