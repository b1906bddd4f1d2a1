#include "makebundle/pack/SlideRecordWriter.h"

namespace {

constexpr std::size_t kDimsNumbers = 8;     // width, height
constexpr std::size_t kCaptionNumbers = 6;  // three values that nothing reads
constexpr std::size_t kFlags = 2;

class RecordWriter {
 public:
  void Number(std::uint32_t value, unsigned bytes) {
    for (unsigned n = 0; n < bytes; ++n)
      record_.push_back(static_cast<unsigned char>(value >> 8 * n));
  }
  void Text(const std::string& text) {
    record_.insert(record_.end(), text.begin(), text.end());
    record_.push_back(0);
  }
  std::vector<unsigned char> Take() { return std::move(record_); }

 private:
  std::vector<unsigned char> record_;
};

// Skips a text with its NUL; false if the NUL is missing.
bool SkipText(Bytes& record) {
  const std::size_t nul = AsText(record).find('\0');
  if (nul == std::string_view::npos) return false;
  record = record.subspan(nul + 1);
  return true;
}

}  // namespace

std::vector<unsigned char> EncodeSlideDims(const SlideDims& dims) {
  RecordWriter writer;
  writer.Number(dims.width, 4);
  writer.Number(dims.height, 4);
  writer.Text(dims.name);
  writer.Number(dims.focusXOnly, 1);
  writer.Number(dims.focusYOnly, 1);
  return writer.Take();
}

std::vector<unsigned char> EncodeSlideCaption(const SlideCaption& caption) {
  RecordWriter writer;
  writer.Number(caption.value0, 2);
  writer.Number(caption.value1, 2);
  writer.Number(caption.value2, 2);
  writer.Text(caption.name);
  writer.Text(caption.text);
  return writer.Take();
}

std::string FaultOfDimsRecord(Bytes record) {
  if (record.size() < kDimsNumbers) return "the record ends within the picture's size";
  record = Behind(record, kDimsNumbers);
  if (!SkipText(record)) return "the record ends within the picture's name";
  if (!record.empty() && record.size() < kFlags)
    return "the record ends between the two focus flags";
  return record.size() > kFlags ? "the record goes on behind its last field" : "";
}

std::string FaultOfCaptionRecord(Bytes record) {
  if (record.size() < kCaptionNumbers) return "the record ends within its first three numbers";
  record = Behind(record, kCaptionNumbers);
  if (!SkipText(record)) return "the record ends within the picture's name";
  if (!SkipText(record)) return "the record ends within the caption's text";
  return record.empty() ? "" : "the record goes on behind its last field";
}
