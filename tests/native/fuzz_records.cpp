// Any bytes at all as a catalogue record.

#include "fuzz.h"

#include "bundle/SlideRecords.h"
#include "support/BundleWriter.h"

#include <string>
#include <vector>

namespace {

void CheckText(const std::string& text, std::size_t size) {
  Require(text.size() <= size);
  Require(text.find('\0') == std::string::npos);
}

// What was decoded, written again and decoded again, is the same.
void CheckDims(const std::vector<unsigned char>& bytes) {
  const SlideDims dims = DecodeSlideDims(bytes.data(), bytes.size());
  CheckText(dims.name, bytes.size());
  const auto again = support::DimsRecord(dims.width, dims.height, dims.name,
                                         support::FocusFlags{dims.focusXOnly, dims.focusYOnly});
  const SlideDims copy = DecodeSlideDims(again.data(), again.size());
  Require(copy.width == dims.width && copy.height == dims.height && copy.name == dims.name);
  Require(copy.focusXOnly == dims.focusXOnly && copy.focusYOnly == dims.focusYOnly);
}

void CheckCaption(const std::vector<unsigned char>& bytes) {
  const SlideCaption caption = DecodeSlideCaption(bytes.data(), bytes.size());
  CheckText(caption.name, bytes.size());
  CheckText(caption.text, bytes.size());
  const auto again = support::CapsRecord(caption.name, caption.text, caption.value0,
                                         caption.value1, caption.value2);
  const SlideCaption copy = DecodeSlideCaption(again.data(), again.size());
  Require(copy.name == caption.name && copy.text == caption.text);
  Require(copy.value0 == caption.value0 && copy.value1 == caption.value1 &&
          copy.value2 == caption.value2);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly that size: a read behind its end is an error.
  const std::vector<unsigned char> bytes(data, data + size);
  CheckDims(bytes);
  CheckCaption(bytes);
  return 0;
}
