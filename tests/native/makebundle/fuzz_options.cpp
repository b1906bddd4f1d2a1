// Any lines at all as MakeBundle's arguments, and as names of members: those in
// a bundle become files where it is extracted.

#include "../fuzz.h"

#include "makebundle/pack/Names.h"
#include "makebundle/pack/Options.h"

#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;

Words SplitAtLineEnds(const std::uint8_t* data, std::size_t size) {
  Words words;
  for (std::size_t at = 0; at < size; ++at) {
    if (at == 0 || data[at - 1] == '\n') words.emplace_back();
    if (data[at] != '\n') words.back().push_back(static_cast<char>(data[at]));
  }
  return words;
}

void CheckOptions(const Words& words) try {
  const Options options = ParseOptions(words);
  if (options.command == Command::kHelp) return;
  Require(options.file.empty() == (options.command == Command::kSums));
  Require(options.command != Command::kSums || !options.folder.empty());
  Require(options.command != Command::kPack || !options.pictures.empty());
  Require(options.command != Command::kExtract || !options.folder.empty());
  if (options.command == Command::kAppend)
    Require(!options.folder.empty() && !options.category.empty());
} catch (const UsageError& error) {
  Require(*error.what() != '\0');
}

// Any two names have a first, and it stays first behind a third.
void CheckOrder(const std::string& a, const std::string& b, const std::string& c) {
  Require(ComesBefore(a, b) + ComesBefore(b, a) == (a == b ? 0 : 1));
  Require(!(ComesBefore(a, b) && ComesBefore(b, c)) || ComesBefore(a, c));
}

void CheckFileName(const std::string& name) {
  const std::u16string wide(name.begin(), name.end());
  if (!FaultOfFileName(wide).empty()) return;
  Require(!wide.empty() && wide != u"." && wide != u"..");
  Require(wide.find_first_of(u"\\/:*?\"<>|") == std::u16string::npos);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Words words = SplitAtLineEnds(data, size);
  CheckOptions(words);
  for (const std::string& word : words) {
    CheckFileName(word);
    const bool isName = !word.empty() && word[0] != '?' && word.find('\0') == std::string::npos;
    Require(FaultOfMemberName(word).empty() == isName);
  }
  for (std::size_t n = 0; n + 2 < words.size(); ++n) {
    CheckOrder(words[n], words[n + 1], words[n + 2]);
    CheckOrder(words[n + 2], words[n + 1], words[n]);
    CheckOrder(words[n + 1], words[n + 2], words[n]);
  }
  return 0;
}
