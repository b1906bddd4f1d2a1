// `extract`: members to files. A bundle may come from anywhere, so its names
// are taken for file names only if they can't lead out of the target folder.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/Files.h"
#include "makebundle/ReadBack.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/Names.h"
#include "makebundle/pack/Text.h"

#include "base/FindNoCase.h"

namespace {

// CATEGORY or CATEGORY/MEMBER; empty parts stand for all.
struct Wanted {
  std::string category, member;  // ANSI

  bool Takes(const VFFILECAT& inCategory, const VFFILE& file) const {
    return (category.empty() || NamesMatch(inCategory.name, category.c_str())) &&
           (member.empty() || NamesMatch(file.name, member.c_str()));
  }
};

Wanted ParseWanted(const std::string& text) {
  const std::optional<std::string> ansi = AnsiFromUtf8(text);
  if (!ansi) throw PackError("\"" + text + "\": there is no such member");
  const std::size_t slash = ansi->find('/');
  return {ansi->substr(0, slash), slash == std::string::npos ? "" : ansi->substr(slash + 1)};
}

using Member = std::pair<VFFILECAT*, VFFILE*>;

std::vector<Member> FindMembers(VFBUNDLE& bundle, const Wanted& wanted) {
  std::vector<Member> members;
  for (VFFILECAT* category : CategoriesOf(bundle))
    for (VFFILE* file : MembersOf(*category))
      if (wanted.Takes(*category, *file)) members.emplace_back(category, file);
  return members;
}

// The name for the file system; throws if it isn't a plain, harmless one.
std::string SafeFileName(const std::string& ansi) {
  const std::string name = Utf8FromAnsi(ansi);
  const std::wstring wide = WideFromUtf8(name);
  const std::string fault = FaultOfFileName(std::u16string(wide.begin(), wide.end()));
  if (!fault.empty()) throw FaultOf(Printable(name), fault + ", so it isn't extracted");
  return name;
}

void ExtractMember(const Options& options, VFFILECAT& category, VFFILE& file) {
  const std::string folder = Joined(options.folder, SafeFileName(category.name));
  const std::string path = Joined(folder, SafeFileName(file.name));
  const MemberBytes bytes(category, file);
  if (!bytes)
    throw FaultOf(Printable(Utf8FromAnsi(file.name)),
                  "the member can't be read, the bundle is damaged");
  if (!options.overwrite && PathIsTaken(path))
    throw FaultOf(path, "there is such a file already; --overwrite replaces it");
  MakeFolders(folder);
  StagedFile output(path, OldPart::kKept);
  output.Write(bytes.Get());
  output.Close();
  output.Commit(options.overwrite);
}

}  // namespace

int ExtractMembers(const Options& options) {
  const Wanted wanted = ParseWanted(options.wanted);
  VFBUNDLE bundle;
  OpenBundle(bundle, options.file);
  const std::vector<Member> members = FindMembers(bundle, wanted);
  if (members.empty() && !options.wanted.empty())
    throw FaultOf(options.file, "there is no \"" + options.wanted + "\" in this bundle");
  std::size_t extracted = 0;
  for (std::size_t n = 0; n < members.size(); ++n) {
    const auto [category, file] = members[n];
    Progress().Show(n + 1, members.size(), Printable(Utf8FromAnsi(file->name)));
    try {
      ExtractMember(options, *category, *file);
      ++extracted;
    } catch (const PackError& fault) {
      Error(fault.what());
    }
  }
  Say(std::to_string(extracted) + (extracted == 1 ? " member" : " members") + " extracted to " +
      options.folder + "\n");
  return extracted == members.size() ? kExitGood : kExitBadInput;
}
