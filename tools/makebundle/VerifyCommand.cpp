// `verify`: reads a bundle as the show does and says what would go wrong.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/Files.h"
#include "makebundle/Picture.h"
#include "makebundle/ReadBack.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/FileKind.h"
#include "makebundle/pack/PictureMetadata.h"
#include "makebundle/pack/SlideRecordWriter.h"
#include "makebundle/pack/Text.h"

#include "base/FindNoCase.h"

#include <map>
#include <set>

namespace {

// Prints problems as they are found, and counts them.
class Report {
 public:
  explicit Report(std::string path) : path_(std::move(path)) {}

  void Problem(const VFFILECAT& category, const VFFILE& file, const std::string& what) {
    Problem(category.name + "/" + file.name, what);
  }
  void Problem(const std::string& ansiName, const std::string& what) {
    Error(path_ + ": " + Shown(ansiName) + ": " + what);
    ++problems_;
  }
  void Remark(const VFFILECAT& category, const VFFILE& file, const std::string& what) const {
    Warning(path_ + ": " + Shown(category.name + "/" + file.name) + ": " + what);
  }
  std::size_t Problems() const { return problems_; }

 private:
  static std::string Shown(const std::string& ansi) { return Printable(Utf8FromAnsi(ansi)); }

  std::string path_;
  std::size_t problems_ = 0;
};

// --- Any bundle ---

void CheckNames(VFBUNDLE& bundle, Report& report) {
  std::set<std::string> categories;
  for (VFFILECAT* category : CategoriesOf(bundle)) {
    if (category->name.empty())
      report.Problem("(category)", "its name is empty, so nothing can find it");
    else if (!categories.insert(WithoutCase(category->name)).second)
      report.Problem(category->name, "an earlier category has this name and hides it");
    std::set<std::string> names;
    for (const VFFILE* file : MembersOf(*category)) {
      if (file->name.empty())
        report.Problem(*category, *file, "its name is empty, so nothing can find it");
      else if (!names.insert(WithoutCase(file->name)).second)
        report.Problem(*category, *file,
                       "an earlier member of this category has this name and hides it");
    }
  }
}

void CheckPlaces(VFBUNDLE& bundle, Report& report) {
  for (VFFILECAT* category : CategoriesOf(bundle)) {
    for (VFFILE* file : MembersOf(*category)) {
      if (std::uint64_t{file->offset} + file->size > bundle.directoryOffset)
        report.Problem(*category, *file,
                       "it reaches into the directory or past the end of the file");
      else if (!MemberBytes(*category, *file))
        report.Problem(*category, *file, "it can't be read");
    }
  }
}

// --- A slide bundle ---

struct Records {
  std::map<std::string, SlideDims> dims;  // by the picture's name, case and all
  std::set<std::string> captions;
};

// Adds the name that a record is for; the show takes the first of two.
template <class Names, class Entry>
void AddRecord(Names& names, Entry entry, const std::string& picture, VFFILECAT& category,
               VFFILE& file, Report& report) {
  if (!names.insert(std::move(entry)).second)
    report.Problem(
        category, file,
        "an earlier record is for the same picture, \"" + Printable(Utf8FromAnsi(picture)) + "\"");
}

void ReadDims(VFFILECAT& category, Records& records, Report& report) {
  for (VFFILE* file : MembersOf(category)) {
    const MemberBytes bytes(category, *file);
    if (!bytes) continue;
    if (const std::string fault = FaultOfDimsRecord(bytes.Get()); !fault.empty())
      report.Problem(category, *file, fault);
    SlideDims dims = DecodeSlideDims(bytes.Get().data(), bytes.Get().size());
    const std::string name = dims.name;
    AddRecord(records.dims, std::pair(name, std::move(dims)), name, category, *file, report);
  }
}

void ReadCaptions(VFFILECAT& category, Records& records, Report& report) {
  for (VFFILE* file : MembersOf(category)) {
    const MemberBytes bytes(category, *file);
    if (!bytes) continue;
    if (const std::string fault = FaultOfCaptionRecord(bytes.Get()); !fault.empty())
      report.Problem(category, *file, fault);
    const SlideCaption caption = DecodeSlideCaption(bytes.Get().data(), bytes.Get().size());
    AddRecord(records.captions, caption.name, caption.name, category, *file, report);
  }
}

std::string SizeText(std::uint32_t width, std::uint32_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void CheckPicture(VFFILECAT& category, VFFILE& file, const Records& records, Report& report) {
  const auto dims = records.dims.find(file.name);
  if (dims == records.dims.end())
    report.Problem(
        category, file,
        "there is no record in \"dims\" for it, so it would show with another picture's size");
  if (!records.captions.contains(file.name))
    report.Problem(
        category, file,
        "there is no record in \"caps\" for it, so it would show another picture's caption");
  const MemberBytes bytes(category, file);
  if (!bytes) return;
  std::uint32_t width = 0, height = 0;
  try {
    MeasurePicture("the bytes", bytes.Get(), width, height);
  } catch (const PackError& fault) {
    report.Problem(category, file, fault.what());
    return;
  }
  if (dims != records.dims.end() && (dims->second.width != width || dims->second.height != height))
    report.Problem(category, file,
                   "its size is " + SizeText(width, height) + ", but its record in \"dims\" says " +
                       SizeText(dims->second.width, dims->second.height));
  if (ReadPictureMetadata(bytes.Get()).orientation != 1)
    report.Remark(category, file,
                  "its EXIF data call it turned, but the show draws it as it is stored");
}

void CheckOrphans(VFFILECAT& images, const Records& records, Report& report) {
  std::set<std::string> pictures;
  for (const VFFILE* file : MembersOf(images)) pictures.insert(file->name);
  const auto check = [&](const char* category, const std::string& name) {
    if (!pictures.contains(name))
      report.Problem(std::string(category) + "/" + name,
                     "the record is for a picture that isn't in the bundle");
  };
  for (const auto& [name, record] : records.dims) check("dims", name);
  for (const std::string& name : records.captions) check("caps", name);
}

VFFILECAT* NeededCategory(VFBUNDLE& bundle, const char* name, Report& report) {
  VFFILECAT* category = bundle.FindCategory(name);
  if (!category)
    report.Problem(name, "the category is missing, which the show needs");
  else if (category->files.Count() == 0)
    report.Problem(name, "the category is empty; the show needs one member at least");
  return category;
}

void CheckSlides(VFBUNDLE& bundle, Report& report) {
  VFFILECAT* images = NeededCategory(bundle, "image", report);
  VFFILECAT* dims = NeededCategory(bundle, "dims", report);
  VFFILECAT* captions = NeededCategory(bundle, "caps", report);
  if (!images || !dims || !captions) return;
  Records records;
  ReadDims(*dims, records, report);
  ReadCaptions(*captions, records, report);
  const std::vector<VFFILE*> pictures = MembersOf(*images);
  for (std::size_t n = 0; n < pictures.size(); ++n) {
    Progress().Show(n + 1, pictures.size(), Printable(Utf8FromAnsi(pictures[n]->name)));
    CheckPicture(*images, *pictures[n], records, report);
  }
  CheckOrphans(*images, records, report);
}

void CheckMusic(VFFILECAT& music, Report& report) {
  for (VFFILE* file : MembersOf(music)) {
    const MemberBytes bytes(music, *file);
    if (bytes && !IsMusic(bytes.Get()))
      report.Problem(music, *file, "it isn't music that the player knows");
  }
}

void CheckSkin(VFFILECAT& skin, Report& report) {
  for (VFFILE* file : MembersOf(skin)) {
    const MemberBytes bytes(skin, *file);
    if (!bytes) continue;
    std::uint32_t width = 0, height = 0;
    try {
      MeasurePicture("the bytes", bytes.Get(), width, height);
    } catch (const PackError& fault) {
      report.Problem(skin, *file, fault.what());
    }
  }
}

bool HasSlides(VFBUNDLE& bundle) {
  return bundle.FindCategory("image") || bundle.FindCategory("dims") || bundle.FindCategory("caps");
}

}  // namespace

int VerifyBundle(const Options& options) {
  VFBUNDLE bundle;
  OpenBundle(bundle, options.file);
  Report report(options.file);
  CheckNames(bundle, report);
  CheckPlaces(bundle, report);
  if (HasSlides(bundle)) CheckSlides(bundle, report);
  if (VFFILECAT* skin = bundle.FindCategory("skin")) CheckSkin(*skin, report);
  if (VFFILECAT* music = bundle.FindCategory("music")) CheckMusic(*music, report);
  if (report.Problems() > 0) {
    Error(options.file + ": " + std::to_string(report.Problems()) +
          (report.Problems() == 1 ? " problem" : " problems"));
    return kExitBadInput;
  }
  Say(options.file + ": " + std::to_string(bundle.fileCount) + " members, all good\n");
  return kExitGood;
}
