// `pack`: pictures, captions and music to a slide bundle. Everything that can
// be found out without decoding is found out first, so that a wrong name or a
// bad line in a text file shows up at once and not after minutes of work.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/Files.h"
#include "makebundle/Picture.h"
#include "makebundle/ReadBack.h"
#include "makebundle/SourceFiles.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/FileKind.h"
#include "makebundle/pack/FocusFile.h"
#include "makebundle/pack/PictureMetadata.h"
#include "makebundle/pack/SlideRecordWriter.h"
#include "makebundle/pack/Text.h"

#include <algorithm>
#include <map>
#include <new>

namespace {

constexpr std::uint64_t kSniffSize = 16;
constexpr std::uint64_t kMostPictureBytes = 1 << 30;
constexpr std::uint64_t kMostTextBytes = 64 << 10;
constexpr std::uint64_t kMostFocusBytes = 16 << 20;

// A picture on its way into the bundle.
struct Slide {
  SourceFile file;
  std::string captionFile;  // empty if it has none
  std::string caption;      // ANSI, as the record has it
  std::string dateTaken;    // only if the order asks for it
  SlideDims dims;
};

struct Plan {
  std::vector<Slide> slides;
  std::vector<SourceFile> music;
};

struct Counts {
  std::size_t turnedWithoutLoss = 0;
  std::size_t savedAnew = 0;
  std::size_t leftOut = 0;
};

// "beach" of "beach.jpg".
std::string Stem(const std::string& name) { return name.substr(0, name.rfind('.')); }

bool IsTextFile(const std::string& name) { return WithoutCase(name).ends_with(".txt"); }

// --- Captions ---

std::string CaptionForRecord(const std::string& name, const std::string& utf8) {
  bool lost = false;
  const std::string ansi = NearestAnsi(CleanCaption(utf8), lost);
  if (lost)
    Warning(name + ": the caption has characters that the system's " + AnsiCodePageName() +
            " lacks; they show as \"?\"");
  return DoubleAmpersands(ansi);
}

std::string ReadCaptionFile(const std::string& path) {
  const std::vector<unsigned char> bytes = ReadWholeFile(path, kMostTextBytes);
  const std::string_view text = WithoutUtf8Mark(AsText(bytes));
  if (!IsUtf8(text)) throw FaultOf(path, "the caption isn't UTF-8 text; save the file as UTF-8");
  if (text.find('\0') != std::string_view::npos)
    throw FaultOf(path, "the caption holds a NUL, so it isn't a text file");
  return CaptionForRecord(path, std::string(text));
}

// What a picture says of itself is in UTF-8 or, from older programs, in the
// code page of the machine that wrote it, which is most likely like this one.
std::string CaptionFromPicture(const std::string& path, const std::string& description) {
  return CaptionForRecord(path, IsUtf8(description) ? description : Utf8FromAnsi(description));
}

// --- Plan ---

std::vector<SourceFile> KeepPictures(const std::vector<SourceFile>& files,
                                     std::map<std::string, SourceFile>& texts) {
  std::vector<SourceFile> pictures;
  for (const SourceFile& file : files) {
    if (PictureFormatOf(ReadFileStart(file.path, kSniffSize)) != PictureFormat::kUnknown)
      pictures.push_back(file);
    else if (IsTextFile(file.name))
      texts.emplace(LowerCase(Stem(file.name)), file);
    else
      Note(file.path + ": passed over, no picture");
  }
  return pictures;
}

// The focus file may lie among the pictures.
bool IsFocusFile(const Options& options, const std::string& path) {
  return !options.focus.empty() && LowerCase(FullPath(path)) == LowerCase(FullPath(options.focus));
}

std::vector<Slide> FindSlides(const Options& options) {
  std::map<std::string, SourceFile> texts;  // by the name of their picture, without case
  std::vector<SourceFile> pictures = KeepPictures(VisibleFiles(options.pictures), texts);
  if (pictures.empty()) throw FaultOf(options.pictures, "there is no picture in this folder");
  NameMembers(pictures);
  std::vector<Slide> slides;
  std::map<std::string, SourceFile> unused = texts;
  for (const SourceFile& picture : pictures) {
    const std::string stem = LowerCase(Stem(picture.name));
    const auto text = texts.find(stem);
    unused.erase(stem);
    slides.push_back({picture, text == texts.end() ? "" : text->second.path, {}, {}, {}});
    slides.back().dims.name = picture.member;
  }
  for (const auto& [stem, text] : unused)
    if (!IsFocusFile(options, text.path))
      Note(text.path + ": passed over, there is no picture of that name");
  return slides;
}

void SetFocus(const std::string& path, std::vector<Slide>& slides) {
  const std::vector<unsigned char> text = ReadWholeFile(path, kMostFocusBytes);
  for (const FocusLine& line : ParseFocusFile(path, AsText(text))) {
    const auto slide = std::find_if(slides.begin(), slides.end(), [&](const Slide& candidate) {
      return LowerCase(candidate.file.name) == LowerCase(line.name);
    });
    if (slide == slides.end())
      throw FaultOf(path + ", line " + std::to_string(line.line),
                    "there is no picture \"" + Printable(line.name) + "\"");
    slide->dims.focusXOnly = line.xOnly;
    slide->dims.focusYOnly = line.yOnly;
  }
}

// Undated pictures come last; equal dates leave the order of the names.
void SortByDate(std::vector<Slide>& slides) {
  for (Slide& slide : slides)
    slide.dateTaken =
        ReadPictureMetadata(ReadWholeFile(slide.file.path, kMostPictureBytes)).dateTaken;
  std::stable_sort(slides.begin(), slides.end(), [](const Slide& a, const Slide& b) {
    if (a.dateTaken.empty() != b.dateTaken.empty()) return b.dateTaken.empty();
    return a.dateTaken < b.dateTaken;
  });
}

std::vector<SourceFile> FindMusic(const std::string& folder) {
  std::vector<SourceFile> music;
  for (const SourceFile& file : VisibleFiles(folder)) {
    if (IsMusic(ReadFileStart(file.path, kSniffSize)))
      music.push_back(file);
    else
      Note(file.path + ": passed over, no music that a bundle can hold (MP1, MP2, MP3, Ogg, WAV)");
  }
  if (music.empty()) throw FaultOf(folder, "there is no music in this folder");
  NameMembers(music);
  return music;
}

Plan MakePlan(const Options& options) {
  Plan plan;
  plan.slides = FindSlides(options);
  if (!options.focus.empty()) SetFocus(options.focus, plan.slides);
  for (Slide& slide : plan.slides)
    if (!slide.captionFile.empty()) slide.caption = ReadCaptionFile(slide.captionFile);
  if (!options.music.empty()) plan.music = FindMusic(options.music);
  if (options.order == PictureOrder::kDate) SortByDate(plan.slides);
  return plan;
}

// --- Writing ---

StoredPicture ReadPicture(const Options& options, Slide& slide) {
  const std::string& path = slide.file.path;
  try {
    std::vector<unsigned char> file = ReadWholeFile(path, kMostPictureBytes);
    const PictureMetadata metadata = ReadPictureMetadata(file);
    if (slide.captionFile.empty() && options.captionsFromPicture)
      slide.caption = CaptionFromPicture(path, metadata.description);
    return PreparePicture(path, std::move(file), metadata.orientation);
  } catch (const std::bad_alloc&) {
    throw FaultOf(path, "there isn't enough memory for this picture");
  }
}

void TellOfTurn(const std::string& path, PictureTurn turn, Counts& counts) {
  counts.turnedWithoutLoss += turn == PictureTurn::kWithoutLoss;
  if (turn != PictureTurn::kSavedAnew) return;
  ++counts.savedAnew;
  Note(path + ": turned upright and saved anew as JPEG, since it can't be turned without loss");
}

// Writes `image` and drops the slides that are left out from the list.
Counts WriteImages(const Options& options, BundleWriter& writer, std::vector<Slide>& slides) {
  Counts counts;
  std::vector<Slide> written;
  writer.BeginCategory("image");
  for (std::size_t n = 0; n < slides.size(); ++n) {
    Slide& slide = slides[n];
    Progress().Show(n + 1, slides.size(), slide.file.name);
    StoredPicture picture;
    try {
      picture = ReadPicture(options, slide);
    } catch (const PackError& fault) {
      if (!options.skipBad) throw;
      Warning(std::string("left out: ") + fault.what());
      ++counts.leftOut;
      continue;
    }
    TellOfTurn(slide.file.path, picture.turn, counts);
    slide.dims.width = picture.width;
    slide.dims.height = picture.height;
    writer.Add(slide.file.member, picture.bytes);
    written.push_back(std::move(slide));
  }
  if (written.empty()) throw FaultOf(options.pictures, "no picture in this folder is good");
  slides = std::move(written);
  return counts;
}

// Every picture gets a record in both: the show gives one that lacks a record
// the size or the caption of the first picture.
void WriteCatalogue(BundleWriter& writer, const std::vector<Slide>& slides) {
  writer.BeginCategory("dims");
  for (const Slide& slide : slides) writer.Add(slide.file.member, EncodeSlideDims(slide.dims));
  writer.BeginCategory("caps");
  for (const Slide& slide : slides)
    writer.Add(slide.file.member, EncodeSlideCaption({0, 0, 0, slide.file.member, slide.caption}));
}

void WriteMusic(BundleWriter& writer, const std::vector<SourceFile>& music) {
  writer.BeginCategory("music");
  for (std::size_t n = 0; n < music.size(); ++n) {
    Progress().Show(n + 1, music.size(), music[n].name);
    AddFile(writer, music[n]);
  }
}

std::string Count(std::size_t number, const std::string& one, const std::string& many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

void SayWhatWasPacked(const Options& options, const Plan& plan, const Counts& counts,
                      std::uint64_t size) {
  const auto captions = static_cast<std::size_t>(
      std::count_if(plan.slides.begin(), plan.slides.end(),
                    [](const Slide& slide) { return !slide.caption.empty(); }));
  std::string text = options.file + ": " + Count(plan.slides.size(), "picture", "pictures") + ", " +
                     Count(captions, "caption", "captions") + ", " +
                     Count(plan.music.size(), "piece of music", "pieces of music") + ", " +
                     std::to_string(size) + " bytes\n";
  if (counts.turnedWithoutLoss)
    text += "  " + Count(counts.turnedWithoutLoss, "picture", "pictures") +
            " turned upright without loss\n";
  if (counts.savedAnew)
    text +=
        "  " + Count(counts.savedAnew, "picture", "pictures") + " turned upright and saved anew\n";
  if (counts.leftOut)
    text += "  " + Count(counts.leftOut, "damaged picture", "damaged pictures") + " left out\n";
  Say(text);
}

}  // namespace

int PackPictures(const Options& options) {
  Plan plan = MakePlan(options);
  StagedFile output(options.file);
  CheckReadable(output.PartPath());
  BundleWriter writer(output);
  const Counts counts = WriteImages(options, writer, plan.slides);
  WriteCatalogue(writer, plan.slides);
  WriteMusic(writer, plan.music);
  writer.Finish();
  output.Close();
  CheckWritten(output.PartPath(), writer.Members());
  output.Commit(true);
  SayWhatWasPacked(options, plan, counts, writer.Position());
  return kExitGood;
}
