#include "makebundle/pack/Options.h"

#include <algorithm>
#include <span>

const char* const kHelpText = R"(MakeBundle packs pictures into a bundle that Velmora shows.

  MakeBundle pack OUT.bdl --pictures DIR [options]
      Packs the pictures in DIR (JPEG, PNG, GIF, BMP, WebP, TIFF; told apart by
      what is in them, not by their names).
      --music DIR             add the music in DIR (MP1, MP2, MP3, Ogg, WAV)
      --focus FILE            which way a picture may drift: lines such as
                              "beach.jpg x"; x is sideways, y up and down,
                              xy both (as without a line); # starts a comment
      --captions-from-picture take the caption from the picture's own
                              description (IPTC, EXIF) if it has no text file
      --order name|date       by name, with numbers in numbers' order (this is
                              the default), or by the date they were taken;
                              those without a date come last
      --skip-bad              leave damaged pictures out with a warning
      The caption of beach.jpg stands in beach.txt beside it (UTF-8). Pictures
      that their EXIF data calls turned are turned upright: JPEG files without
      loss where their blocks allow, anything else is saved anew as JPEG.

  MakeBundle list FILE
      Prints what is in the bundle, with the pictures' sizes and captions.

  MakeBundle extract FILE DIR [CATEGORY | CATEGORY/MEMBER] [--overwrite]
      Writes members to DIR\CATEGORY\MEMBER. Without --overwrite, files that
      stand there already are left alone, and that is an error.

  MakeBundle verify FILE
      Reads the whole bundle as the show does, decodes every picture, checks
      every record, and prints what is wrong.

  MakeBundle append TARGET --category NAME DIR [--replace]
      Glues a bundle with the files in DIR, as one category, behind the file
      TARGET, which keeps its own bytes. If TARGET has a bundle of MakeBundle's
      behind it already, --replace puts the new one in its place; without it,
      that is an error.

  MakeBundle sums FOLDER
      Writes FOLDER\chk.sum anew, by which Velmora tells after a crash whether its
      files are whole. FOLDER is where it is installed: do this once you have put
      a bundle of your own there.

FILE may be any file with a bundle at its end. An output is written beside its
place as NAME.part, read back, and renamed when it is whole.

MakeBundle ends with 0 if all went well, 1 if something is wrong with a file,
2 if the command line is wrong. It prints in the console's letters; into a file
or a pipe it writes UTF-8.
)";

namespace {

using Words = std::vector<std::string>;

// Where an option's value goes: a text, or just the fact that it was given.
struct OptionRule {
  const char* name;
  std::string Options::*text = nullptr;
  bool Options::*flag = nullptr;
  void (*parse)(Options&, const std::string& value) = nullptr;
};

struct CommandRule {
  const char* name;
  Command command;
  std::vector<std::string Options::*> words;  // in order
  std::size_t fewestWords;
  std::vector<OptionRule> options;
};

void ParseOrder(Options& options, const std::string& value) {
  if (value == "name")
    options.order = PictureOrder::kName;
  else if (value == "date")
    options.order = PictureOrder::kDate;
  else
    throw UsageError("--order takes name or date, not \"" + value + "\"");
}

const std::vector<CommandRule>& CommandRules() {
  static const std::vector<CommandRule> rules = {
      {"pack", Command::kPack, {&Options::file}, 1,
       {{"--pictures", &Options::pictures},
        {"--music", &Options::music},
        {"--focus", &Options::focus},
        {"--order", nullptr, nullptr, ParseOrder},
        {"--captions-from-picture", nullptr, &Options::captionsFromPicture},
        {"--skip-bad", nullptr, &Options::skipBad}}},
      {"list", Command::kList, {&Options::file}, 1, {}},
      {"extract", Command::kExtract, {&Options::file, &Options::folder, &Options::wanted}, 2,
       {{"--overwrite", nullptr, &Options::overwrite}}},
      {"verify", Command::kVerify, {&Options::file}, 1, {}},
      {"append", Command::kAppend, {&Options::file, &Options::folder}, 2,
       {{"--category", &Options::category}, {"--replace", nullptr, &Options::replace}}},
      {"sums", Command::kSums, {&Options::folder}, 1, {}},
  };
  return rules;
}

template <class Rule>
const Rule& FindRule(const std::vector<Rule>& rules, const std::string& name,
                     const std::string& fault) {
  const auto found =
      std::find_if(rules.begin(), rules.end(), [&](const Rule& rule) { return rule.name == name; });
  if (found == rules.end()) throw UsageError(fault + " \"" + name + "\"");
  return *found;
}

bool IsHelp(const std::string& word) { return word == "--help" || word == "-h" || word == "/?"; }

// Takes one option, and its value if it has one, off the front of `words`.
void TakeOption(Options& options, const CommandRule& command, std::span<const std::string>& words) {
  const std::string word = words.front();
  words = words.subspan(1);
  const std::size_t equals = word.find('=');
  const std::string name = word.substr(0, equals);
  const OptionRule& rule =
      FindRule(command.options, name, std::string(command.name) + " has no option");
  if (rule.flag) {
    if (equals != std::string::npos) throw UsageError(name + " takes no value");
    options.*rule.flag = true;
    return;
  }
  if (equals == std::string::npos && words.empty()) throw UsageError(name + " needs a value");
  const std::string value = equals == std::string::npos ? words.front() : word.substr(equals + 1);
  if (equals == std::string::npos) words = words.subspan(1);
  if (value.empty()) throw UsageError(name + " needs a value");
  if (rule.parse)
    rule.parse(options, value);
  else
    options.*rule.text = value;
}

void CheckComplete(const Options& options) {
  if (options.command == Command::kPack && options.pictures.empty())
    throw UsageError("pack needs --pictures DIR");
  if (options.command == Command::kAppend && options.category.empty())
    throw UsageError("append needs --category NAME");
}

}  // namespace

Options ParseOptions(const Words& arguments) {
  Options options;
  if (arguments.empty()) throw UsageError("what is to be done is missing");
  if (IsHelp(arguments.front()) || std::any_of(arguments.begin(), arguments.end(), IsHelp))
    return options;
  const CommandRule& command = FindRule(CommandRules(), arguments.front(), "there is no command");
  options.command = command.command;
  std::span<const std::string> words = std::span(arguments).subspan(1);
  std::size_t taken = 0;
  bool onlyWords = false;  // behind "--" even a word that starts with "-" is none of the options
  while (!words.empty()) {
    if (!onlyWords && words.front() == "--") {
      onlyWords = true;
      words = words.subspan(1);
    } else if (!onlyWords && words.front().starts_with("-")) {
      TakeOption(options, command, words);
    } else {
      if (taken == command.words.size())
        throw UsageError("\"" + words.front() + "\" is one word too many");
      // A variable that was never set; an empty folder would be the drive's root.
      if (words.front().empty()) throw UsageError("a name is empty");
      options.*command.words[taken++] = words.front();
      words = words.subspan(1);
    }
  }
  if (taken < command.fewestWords)
    throw UsageError(std::string(command.name) + " needs more names; see --help");
  CheckComplete(options);
  return options;
}
