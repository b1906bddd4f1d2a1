#pragma once
// Reading through the show's own reader.

#include "bundle/VFBundle.h"
#include "makebundle/pack/BundleWriter.h"

#include <vector>

// In the directory's order.
std::vector<VFFILECAT*> CategoriesOf(VFBUNDLE& bundle);
std::vector<VFFILE*> MembersOf(VFFILECAT& category);

// Opens the bundle at the end of `path`. Throws a PackError that says what is
// wrong with its trailer or directory.
void OpenBundle(VFBUNDLE& bundle, const std::string& path);

// Throws if the show's reader couldn't open a file of this path whatever is in
// it: better told before the work than after.
void CheckReadable(const std::string& path);

// Throws unless the file at `path` reads back as exactly `members`, name by
// name and byte by byte.
void CheckWritten(const std::string& path, const std::vector<WrittenMember>& members);

// A member's bytes, read now if they weren't; nothing if the file doesn't hold
// them. They are freed at the end of the scope.
class MemberBytes {
 public:
  MemberBytes(VFFILECAT& category, VFFILE& file) : file_(file), data_(category.ReadFile(&file)) {}
  ~MemberBytes() { file_.FreeData(); }
  MemberBytes(const MemberBytes&) = delete;
  MemberBytes& operator=(const MemberBytes&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  Bytes Get() const { return {data_, data_ ? file_.size : 0u}; }

 private:
  VFFILE& file_;
  const unsigned char* data_;
};
