// `append`: a bundle behind another file. The offsets in a bundle count from
// the start of the file, so the host's own bytes just push them up.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/Files.h"
#include "makebundle/ReadBack.h"
#include "makebundle/SourceFiles.h"
#include "makebundle/WinText.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kPieceSize = 1 << 20;

// Where a bundle that MakeBundle appended starts. Such a bundle has its members
// one behind the other up to the directory; of any other nobody can say where
// the host's bytes end.
std::uint64_t StartOfAppended(const std::string& path, VFBUNDLE& bundle) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> pieces;  // offset, size
  for (VFFILECAT* category : CategoriesOf(bundle))
    for (const VFFILE* file : MembersOf(*category)) pieces.emplace_back(file->offset, file->size);
  std::sort(pieces.rbegin(), pieces.rend());
  std::uint64_t start = bundle.directoryOffset;
  for (const auto& [offset, size] : pieces) {
    if (offset + size != start)
      throw FaultOf(path,
                    "ends with a bundle that MakeBundle didn't append, so it can't be replaced");
    start = offset;
  }
  if (start == 0) throw FaultOf(path, "is a bundle itself; another one behind it would hide it");
  return start;
}

// Bytes of the target that belong to itself.
std::uint64_t HostSize(const Options& options) {
  const std::uint64_t fileSize = InputFile(options.file).Size();
  VFBUNDLE bundle;
  if (!bundle.Open(AnsiPath(options.file).c_str())) return fileSize;
  const std::uint64_t start = StartOfAppended(options.file, bundle);
  if (!options.replace)
    throw FaultOf(options.file,
                  "has a bundle behind it already; --replace puts the new one in its place");
  return start;
}

void CopyHost(const std::string& path, std::uint64_t size, ByteSink& to) {
  InputFile host(path);
  while (size > 0) {
    const std::vector<unsigned char> piece = host.Read(std::min(size, kPieceSize));
    if (piece.empty()) throw FaultOf(path, "became shorter while it was read");
    to.Write(piece);
    size -= piece.size();
  }
}

std::string CategoryName(const Options& options) {
  const std::optional<std::string> name = AnsiFromUtf8(options.category);
  if (!name)
    throw FaultOf("category \"" + options.category + "\"",
                  "the system's " + AnsiCodePageName() + " lacks characters of it");
  return *name;
}

}  // namespace

int AppendBundle(const Options& options) {
  std::vector<SourceFile> files = VisibleFiles(options.folder);
  if (files.empty()) throw FaultOf(options.folder, "there is no file in this folder");
  NameMembers(files);
  const std::uint64_t hostSize = HostSize(options);
  StagedFile output(options.file);
  CheckReadable(output.PartPath());
  CopyHost(options.file, hostSize, output);
  BundleWriter writer(output, hostSize);
  writer.BeginCategory(CategoryName(options));
  for (const SourceFile& file : files) AddFile(writer, file);
  writer.Finish();
  output.Close();
  CheckWritten(output.PartPath(), writer.Members());
  output.Commit(true);
  Say(options.file + ": " + std::to_string(files.size()) + " members in \"" + options.category +
      "\" behind " + std::to_string(hostSize) + " bytes\n");
  return kExitGood;
}
