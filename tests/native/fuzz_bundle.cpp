// Any bytes at all as a bundle file: opened, searched, read, decoded.

#include "fuzz.h"

#include "bundle/SlideRecords.h"
#include "bundle/VFBundle.h"

#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// A file in memory that has a path.
class MemoryFile {
 public:
  MemoryFile() : fd_(memfd_create("bundle", 0)), path_("/proc/self/fd/" + std::to_string(fd_)) {
    Require(fd_ != -1);
  }
  void Fill(const std::uint8_t* data, std::size_t size) const {
    Require(ftruncate(fd_, 0) == 0);
    Require(pwrite(fd_, data, size, 0) == static_cast<ssize_t>(size));
  }
  const char* Path() const { return path_.c_str(); }

 private:
  int fd_;
  std::string path_;
};

void CheckClosed(VFBUNDLE& bundle) {
  Require(!bundle.IsOpen());
  Require(bundle.fileCount == 0 && bundle.categories.Count() == 0);
}

// A member is either unreadable or exactly the bytes it claims.
void CheckMember(VFFILECAT& category, VFFILE& file, const std::uint8_t* data, std::size_t size) {
  const bool within = std::uint64_t{file.offset} + file.size <= size;
  const unsigned char* bytes = category.ReadFile(&file);
  Require((bytes != nullptr) == within);
  Require(bytes == file.data);
  if (bytes) Require(std::memcmp(bytes, data + file.offset, file.size) == 0);
  Require(category.ReadFile(&file) == bytes);
  DecodeSlideDims(file.data, file.data ? file.size : 0);
  DecodeSlideCaption(file.data, file.data ? file.size : 0);
}

void CheckSearch(VFBUNDLE& bundle, const std::string& category, const std::string& member) {
  Require((bundle.FindCategory(category.c_str()) != nullptr) == !category.empty());
  bundle.GetFileSize(member.c_str());
  bundle.GetFileData(member.c_str());
  bundle.ReadFile(member.c_str());
  bundle.GetFileSize(category.c_str(), member.c_str());
  bundle.FreeFile(category.c_str(), member.c_str());
}

// The walks below are written on nodes, since a search moves the cursor.
void CheckOpen(VFBUNDLE& bundle, const std::uint8_t* data, std::size_t size) {
  std::int32_t members = 0;
  for (auto* category = bundle.categories.head; category; category = category->next)
    for (auto* file = category->data->files.head; file; file = file->next, ++members) {
      CheckMember(*category->data, *file->data, data, size);
      CheckSearch(bundle, category->data->name, file->data->name);
    }
  Require(members == bundle.fileCount);
  bundle.ReadAll();
  bundle.FreeAll();
  for (auto* category = bundle.categories.head; category; category = category->next)
    for (auto* file = category->data->files.head; file; file = file->next)
      Require(file->data->data == nullptr);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  file.Fill(data, size);
  VFBUNDLE bundle;
  if (!bundle.Open(file.Path())) {
    CheckClosed(bundle);
    return 0;
  }
  CheckOpen(bundle, data, size);
  bundle.Close();
  CheckClosed(bundle);
  Require(bundle.GetPath() == nullptr);
  return 0;
}
