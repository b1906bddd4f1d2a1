#include "makebundle/pack/FocusFile.h"

#include "makebundle/pack/PackError.h"
#include "makebundle/pack/Text.h"

#include <set>

namespace {

PackError FaultInLine(const std::string& fileName, int line, const std::string& what) {
  return FaultOf(fileName + ", line " + std::to_string(line), what);
}

// The direction is the last word, so a name may hold blanks.
FocusLine ParseLine(const std::string& fileName, int number, std::string_view line) {
  if (!IsUtf8(line))
    throw FaultInLine(fileName, number, "isn't UTF-8 text; save the file as UTF-8");
  const std::size_t blank = line.find_last_of(" \t");
  if (blank == std::string_view::npos)
    throw FaultInLine(fileName, number, "a picture's name and then x, y or xy are expected");
  const std::string direction = WithoutCase(line.substr(blank + 1));
  if (direction != "x" && direction != "y" && direction != "xy")
    throw FaultInLine(fileName, number,
                      "the last word is \"" + Printable(direction) + "\", but must be x, y or xy");
  return {number, std::string(Trimmed(line.substr(0, blank))), direction == "x", direction == "y"};
}

}  // namespace

std::vector<FocusLine> ParseFocusFile(const std::string& fileName, std::string_view text) {
  std::vector<FocusLine> lines;
  std::set<std::string> seen;
  text = WithoutUtf8Mark(text);
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    const std::string_view line = Trimmed(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    if (line.empty() || line.starts_with('#')) continue;
    lines.push_back(ParseLine(fileName, number, line));
    if (!seen.insert(WithoutCase(lines.back().name)).second)
      throw FaultInLine(fileName, number,
                        "\"" + Printable(lines.back().name) + "\" has a line already");
  }
  return lines;
}
