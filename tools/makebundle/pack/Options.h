#pragma once
// MakeBundle's command line.

#include <stdexcept>
#include <string>
#include <vector>

enum class Command { kHelp, kPack, kList, kExtract, kVerify, kAppend, kSums };
enum class PictureOrder { kName, kDate };

struct Options {
  Command command = Command::kHelp;
  std::string file;      // the bundle, or the file that gets one behind it
  std::string folder;    // extract: where to; append: where from; sums: of the install
  std::string wanted;    // extract: CATEGORY or CATEGORY/MEMBER; empty for all
  std::string pictures;  // folder
  std::string music;     // folder, empty for none
  std::string focus;     // file, empty for none
  std::string category;  // append
  PictureOrder order = PictureOrder::kName;
  bool captionsFromPicture = false;
  bool skipBad = false;
  bool overwrite = false;  // extract
  bool replace = false;    // append
};

// A command line that makes no sense; the text says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// `arguments` without the program's name. Throws UsageError.
Options ParseOptions(const std::vector<std::string>& arguments);

// What --help prints.
extern const char* const kHelpText;
