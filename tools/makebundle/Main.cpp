// MakeBundle.exe: packs pictures, captions and music into bundles, and lists,
// extracts, verifies and appends them; writes the sums of an install folder with
// another bundle in it. `MakeBundle --help` tells how to use it,
// docs/bundle-format.md what a bundle looks like.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/PackError.h"

#include <new>

namespace {

int Run(const Options& options) {
  switch (options.command) {
    case Command::kHelp: Say(kHelpText); return kExitGood;
    case Command::kPack: return PackPictures(options);
    case Command::kList: return ListBundle(options);
    case Command::kExtract: return ExtractMembers(options);
    case Command::kVerify: return VerifyBundle(options);
    case Command::kAppend: return AppendBundle(options);
    case Command::kSums: return WriteSums(options);
  }
  return kExitBadUsage;
}

int RunGuarded(const std::vector<std::string>& arguments) {
  try {
    return Run(ParseOptions(arguments));
  } catch (const UsageError& fault) {
    Error(std::string(fault.what()) + " (MakeBundle --help tells more)");
    return kExitBadUsage;
  } catch (const std::bad_alloc&) {
    Error("there isn't enough memory");
  } catch (const std::exception& fault) {
    Error(fault.what());
  }
  return kExitBadInput;
}

}  // namespace

int wmain(int count, wchar_t** words) {
  std::vector<std::string> arguments;
  for (int n = 1; n < count; ++n) arguments.push_back(Utf8FromWide(words[n]));
  return RunGuarded(arguments);
}
