// `list`: what is in a bundle, in the directory's order.

#include "makebundle/Commands.h"
#include "makebundle/Console.h"
#include "makebundle/Files.h"
#include "makebundle/ReadBack.h"
#include "makebundle/WinText.h"
#include "makebundle/pack/SlideRecordWriter.h"
#include "makebundle/pack/Text.h"

#include "base/FindNoCase.h"

namespace {

std::string Aligned(std::uint32_t number) {
  const std::string digits = std::to_string(number);
  return std::string(digits.size() < 10 ? 10 - digits.size() : 0, ' ') + digits;
}

std::string OneLine(const std::string& ansi) { return Printable(Utf8FromAnsi(ansi)); }

// A caption on one line: its breaks become " / ".
std::string ShownCaption(const std::string& ansi) {
  std::string text = SingleAmpersands(Utf8FromAnsi(ansi));
  for (std::size_t at; (at = text.find("\r\n")) != std::string::npos;) text.replace(at, 2, " / ");
  return Printable(text);
}

std::string DimsText(Bytes record) {
  const SlideDims dims = DecodeSlideDims(record.data(), record.size());
  std::string text = std::to_string(dims.width) + " x " + std::to_string(dims.height);
  if (dims.focusXOnly) text += ", focus x";
  if (dims.focusYOnly) text += ", focus y";
  return text + ", of " + OneLine(dims.name);
}

std::string CaptionText(Bytes record) {
  const SlideCaption caption = DecodeSlideCaption(record.data(), record.size());
  return std::string("\"") + ShownCaption(caption.text) + "\", of " + OneLine(caption.name);
}

std::string Details(VFFILECAT& category, VFFILE& file) {
  const bool dims = NamesMatch(category.name, "dims");
  if (!dims && !NamesMatch(category.name, "caps")) return {};
  const MemberBytes record(category, file);
  if (!record) return "  can't be read";
  return std::string("  ") + (dims ? DimsText(record.Get()) : CaptionText(record.Get()));
}

}  // namespace

int ListBundle(const Options& options) {
  VFBUNDLE bundle;
  OpenBundle(bundle, options.file);
  std::string text = options.file + ": " + std::to_string(bundle.categories.Count()) +
                     " categories, " + std::to_string(bundle.fileCount) + " members\n";
  for (VFFILECAT* category : CategoriesOf(bundle)) {
    text += "\n[" + OneLine(category->name) + "]\n    offset       size  member\n";
    for (VFFILE* file : MembersOf(*category))
      text += Aligned(file->offset) + " " + Aligned(file->size) + "  " + OneLine(file->name) +
              Details(*category, *file) + "\n";
  }
  Say(text);
  return kExitGood;
}
