#include "makebundle/ReadBack.h"

#include "makebundle/Files.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/BundleFault.h"

namespace {

template <class T>
std::vector<T*> Elements(LinkedList<T*>& list) {
  std::vector<T*> elements;
  ForEach(list, [&](T* element) { elements.push_back(element); });
  return elements;
}

// Why the show's reader didn't open the file; it doesn't say so itself.
std::string WhyNotOpen(const std::string& path) {
  InputFile file(path);
  const auto readAt = [&](std::uint64_t offset, std::uint64_t size) {
    file.SkipTo(offset);
    return file.Read(size);
  };
  return FaultOfDirectory(file.Size(), readAt);
}

bool ReadsBack(VFFILECAT& category, VFFILE& file, const WrittenMember& written) {
  const MemberBytes bytes(category, file);
  return bytes && written.category == category.name && written.name == file.name &&
         written.offset == file.offset && written.size == file.size &&
         written.fingerprint == Fingerprint(bytes.Get());
}

}  // namespace

std::vector<VFFILECAT*> CategoriesOf(VFBUNDLE& bundle) { return Elements(bundle.categories); }
std::vector<VFFILE*> MembersOf(VFFILECAT& category) { return Elements(category.files); }

void OpenBundle(VFBUNDLE& bundle, const std::string& path) {
  if (bundle.Open(AnsiPath(path).c_str())) return;
  throw FaultOf(path, "no bundle can be read from this file: " + WhyNotOpen(path));
}

void CheckReadable(const std::string& path) { AnsiPath(path); }

void CheckWritten(const std::string& path, const std::vector<WrittenMember>& members) {
  VFBUNDLE bundle;
  OpenBundle(bundle, path);
  auto expected = members.begin();
  for (VFFILECAT* category : CategoriesOf(bundle)) {
    for (VFFILE* file : MembersOf(*category)) {
      if (expected == members.end() || !ReadsBack(*category, *file, *expected))
        throw FaultOf(path, "\"" + Utf8FromAnsi(category->name + "/" + file->name) +
                                "\" doesn't read back as it was written");
      ++expected;
    }
  }
  if (expected != members.end())
    throw FaultOf(path, "the directory doesn't read back as it was written");
}
