// Any bytes at all as a bundle file: opened, searched, read, decoded.

#include "MemoryFile.h"

#include "bundle/SlideRecords.h"
#include "bundle/VFBundle.h"

#include <cstring>
#include <string>

namespace {

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
