#include "makebundle/SourceFiles.h"

#include "makebundle/Console.h"
#include "makebundle/Files.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/Names.h"
#include "makebundle/pack/Text.h"

#include <map>

namespace {

constexpr std::uint64_t kPieceSize = 1 << 20;

std::string MemberName(const SourceFile& file) {
  const std::optional<std::string> name = AnsiFromUtf8(file.name);
  if (!name)
    throw FaultOf(file.path, "the name has characters that the system's " + AnsiCodePageName() +
                                 ", in which a bundle keeps names, lacks; rename the file");
  const std::string fault = FaultOfMemberName(*name);
  if (!fault.empty()) throw FaultOf(file.path, fault + "; rename the file");
  return *name;
}

}  // namespace

std::vector<SourceFile> VisibleFiles(const std::string& folder) {
  std::vector<SourceFile> files;
  for (const FolderEntry& entry : ListFolder(folder)) {
    const std::string path = Joined(folder, entry.name);
    if (entry.isFolder)
      Note(path + ": passed over, a folder");
    else if (entry.isHidden)
      Note(path + ": passed over, a hidden file");
    else
      files.push_back({entry.name, path, {}});
  }
  return files;
}

void NameMembers(std::vector<SourceFile>& files) {
  std::map<std::string, std::string> seen;  // by name without case
  for (SourceFile& file : files) {
    file.member = MemberName(file);
    const auto [other, isNew] = seen.emplace(LowerCase(file.name), file.name);
    if (!isNew)
      throw FaultOf(file.path, "differs from \"" + other->second +
                                   "\" in the case of letters only; rename one of the two");
  }
}

void AddFile(BundleWriter& writer, const SourceFile& file) {
  InputFile input(file.path);
  writer.BeginMember(file.member, input.Size());
  for (std::vector<unsigned char> piece; !(piece = input.Read(kPieceSize)).empty();)
    writer.Append(piece);
}
