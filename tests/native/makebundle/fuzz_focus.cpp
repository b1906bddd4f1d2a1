// Any bytes at all as a focus file.

#include "../fuzz.h"

#include "makebundle/pack/FocusFile.h"
#include "makebundle/pack/PackError.h"
#include "makebundle/pack/Text.h"

#include <vector>

namespace {

std::vector<FocusLine> ParseOrNothing(const std::string& text) {
  try {
    return ParseFocusFile("focus", text);
  } catch (const PackError& fault) {
    Require(std::string_view(fault.what()).starts_with("focus, line "));
    return {};
  }
}

// The comment keeps a name that starts like UTF-8's mark off the start.
std::string Written(const std::vector<FocusLine>& lines) {
  std::string text = "#\n";
  for (const FocusLine& line : lines)
    text += line.name + (line.xOnly ? " x\n" : line.yOnly ? " y\n" : " xy\n");
  return text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<FocusLine> lines = ParseOrNothing(std::string(data, data + size));
  int last = 0;
  for (const FocusLine& line : lines) {
    Require(line.line > last);
    Require(!line.name.empty() && IsUtf8(line.name) && Trimmed(line.name) == line.name);
    Require(!(line.xOnly && line.yOnly));
    last = line.line;
  }
  // What was understood, written again and parsed again, is the same.
  const std::vector<FocusLine> copy = ParseOrNothing(Written(lines));
  Require(copy.size() == lines.size());
  for (std::size_t n = 0; n < lines.size(); ++n)
    Require(copy[n].name == lines[n].name && copy[n].xOnly == lines[n].xOnly &&
            copy[n].yOnly == lines[n].yOnly);
  return 0;
}
