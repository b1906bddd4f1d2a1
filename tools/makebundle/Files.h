#pragma once
// Files and folders. Paths and names are UTF-8; every failure is a PackError
// that names the file and gives the system's reason.

#include "base/win_owned.h"
#include "makebundle/pack/BundleWriter.h"
#include "makebundle/pack/PackError.h"

#include <cstdint>
#include <string>
#include <vector>

// The fault of `path`, with the system's words for its error `code`.
PackError SystemFaultOf(const std::string& path, const std::string& what, DWORD code);

// A file that is open for reading.
class InputFile {
 public:
  explicit InputFile(const std::string& path);
  std::uint64_t Size() const { return size_; }
  // The next Read starts at `offset`.
  void SkipTo(std::uint64_t offset);
  // From where the last read ended; fewer bytes than asked for at the end only.
  std::vector<unsigned char> Read(std::uint64_t size);

 private:
  std::string path_;
  KernelHandle handle_;
  std::uint64_t size_ = 0;
};

// The whole file; one of more than `limit` bytes is refused.
std::vector<unsigned char> ReadWholeFile(const std::string& path, std::uint64_t limit);

// Its first bytes, at most `size`.
std::vector<unsigned char> ReadFileStart(const std::string& path, std::uint64_t size);

// What happens to a file that has the name of the one beside already.
enum class OldPart {
  kReplaced,  // a run that was killed has left it
  kKept       // it may be anybody's: a number goes behind the new one's name
};

// What is to become the file `path`. The bytes go to a file beside it,
// `path`.part, which takes the name at Commit. Until then, whatever stood at
// `path` stays as it was, and if the program fails, the file beside it goes
// away; so it does if the program is killed while it writes. Between Close and
// Commit a killed program leaves it behind.
class StagedFile : public ByteSink {
 public:
  explicit StagedFile(const std::string& path, OldPart old = OldPart::kReplaced);
  ~StagedFile() override;
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  void Write(Bytes bytes) override;
  // Ends the writing, so that others can read what is there: the system can't
  // be told any more to delete the file if the program is killed.
  void Close();
  // Closed, not yet renamed.
  const std::string& PartPath() const { return part_; }
  // Puts the file in its place; `overwrite` says whether one that stands there
  // may go.
  void Commit(bool overwrite);

 private:
  std::string path_, part_;
  KernelHandle handle_;
  bool present_ = false;  // the file beside is there and ours to delete
};

struct FolderEntry {
  std::string name;
  bool isFolder = false;
  bool isHidden = false;
};

// All entries but "." and "..", in the order of ComesBefore.
std::vector<FolderEntry> ListFolder(const std::string& folder);

// Makes the folder and those above it, as far as they are missing.
void MakeFolders(const std::string& folder);

// True for a folder, too.
bool PathIsTaken(const std::string& path);
std::string FullPath(const std::string& path);
std::string Joined(const std::string& folder, const std::string& name);

// `path` for functions that take the ANSI code page; throws if neither it nor
// its short form can be written that way.
std::string AnsiPath(const std::string& path);
