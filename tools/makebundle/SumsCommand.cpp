// `sums`: chk.sum of an install folder. The program compares its files with it
// after a crash and would call slides of the user's own damaged.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/Files.h"

#include "base/Crc32.h"
#include "base/SummedFiles.h"

namespace {

std::uint32_t SumOf(const std::string& path) {
  std::uint32_t sum = 0;
  const DWORD error = CCrc32Static::FileCrc32Win32(AnsiPath(path).c_str(), sum);
  if (error != ERROR_SUCCESS)
    throw SystemFaultOf(path, "can't be read, so there is no sum of it", error);
  return sum;
}

// The copy in the Windows folder is byte for byte what is installed here, and
// may be of another installation while there is none of this one.
std::vector<unsigned char> SumsOf(const std::string& folder) {
  std::vector<unsigned char> bytes;
  for (std::size_t n = 0; n < kSumCount; ++n) {
    const char* name = kSummedFiles[n].name;
    if (name) Progress().Show(n + 1, kSumCount, name);
    const std::uint32_t sum = name ? SumOf(Joined(folder, name)) : 0;
    for (int shift = 0; shift < 32; shift += 8)
      bytes.push_back(static_cast<unsigned char>(sum >> shift));
  }
  return bytes;
}

}  // namespace

int WriteSums(const Options& options) {
  const std::vector<unsigned char> sums = SumsOf(options.folder);
  const std::string path = Joined(options.folder, kSumsFileName);
  StagedFile output(path);
  output.Write(sums);
  output.Close();
  output.Commit(true);
  Say(path + ": the sums of the files beside it\n");
  return kExitGood;
}
