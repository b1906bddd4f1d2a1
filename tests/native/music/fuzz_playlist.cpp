// Any bytes at all as a playlist file, for the reader of FUZZ_FORMAT. What the
// reader finds has to agree with the rules in their plainest form: strtok over
// a copy of the text, entities decoded in place.

#include "fuzz.h"

#include "base/FindNoCase.h"
#include "music/PlaylistReaders.h"

#include <algorithm>
#include <cstring>
#include <strings.h>
#include <string>
#include <vector>

namespace {

const EntryRules kRules{.folder = "C:\\lists\\"};
using Entries = std::vector<std::string>;

// A text that may be cut up. A second NUL stops a search that starts behind
// the last value.
std::vector<char> Copy(const std::string& text) {
  std::vector<char> copy(text.begin(), text.end());
  copy.insert(copy.end(), 2, '\0');
  return copy;
}

char* SkipBlanks(char* text) {
  while (*text == ' ') ++text;
  return text;
}

// The tail moves down by five bytes, which are overwritten so that a search
// behind the value isn't stopped early.
void DecodeInPlace(char* text, const char* entity, char character) {
  while (char* at = std::strstr(text, entity)) {
    const std::size_t tail = std::strlen(at + 6) + 1;
    *at = character;
    std::memmove(at + 1, at + 6, tail);
    std::memset(at + 1 + tail, 1, 5);
  }
}

Entries PlainLines(char* text) {
  Entries entries;
  for (char* line = std::strtok(text, "\n"); line; line = std::strtok(nullptr, "\n"))
    entries.push_back(SkipBlanks(line));
  return entries;
}

Entries PlainM3U(const std::string& text) {
  Entries lines = PlainLines(Copy(text).data());
  std::erase_if(lines, [](const std::string& line) { return line[0] == '#'; });
  return lines;
}

Entries PlainPLS(const std::string& text) {
  std::vector<char> copy = Copy(text);
  const char* heading = FindNoCase(copy.data(), "[playlist]");
  Entries lines = PlainLines(copy.data() + (heading ? heading - copy.data() + 11 : 0));
  if (!FindNoCase(text.c_str(), "Version=2")) return lines;
  Entries values;
  for (std::string& line : lines) {
    char* equals = std::strchr(line.data(), '=');
    if (equals && strncasecmp(line.c_str(), "file", 4) == 0)
      values.push_back(SkipBlanks(equals + 1));
  }
  return values;
}

Entries PlainValues(const std::string& text, const char* key, bool dropScheme) {
  std::vector<char> copy = Copy(text);
  char* at = copy.data();
  Entries values;
  while (const char* hit = FindNoCase(at, key)) {
    char* quote = std::strchr(copy.data() + (hit - copy.data()), '"');
    if (!quote) break;
    char* value = SkipBlanks(quote + 1);
    if (dropScheme && strncasecmp(value, "file:", 5) == 0) value = SkipBlanks(value + 5);
    value = std::strtok(value, "\"");
    if (!value) break;
    DecodeInPlace(value, "&apos;", '\'');
    DecodeInPlace(value, "&quot;", '"');
    DecodeInPlace(value, "&nbsp;", ' ');
    values.push_back(value);
    at = value + std::strlen(value) + 1;
  }
  return values;
}

Entries Plain(const std::string& text) {
  switch (FUZZ_FORMAT) {
    case kPlaylistM3U: return PlainM3U(text);
    case kPlaylistPLS: return PlainPLS(text);
    case kPlaylistASX: return PlainValues(text, "href", false);
    case kPlaylistWPL: return PlainValues(text, "media src", false);
    default: return PlainValues(text, "Playstring", true);
  }
}

Entries Read(const std::string& text) {
  // Memory of exactly that size: a read behind its end is an error.
  std::vector<char> exact(text.begin(), text.end());
  exact.push_back(0);
  EntryList found;
  ReadEntries(FUZZ_FORMAT, exact.data(), kRules, found);
  Entries entries;
  if (found.First()) {
    do entries.push_back(found.Current());
    while (found.Next());
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  text.resize(std::strlen(text.c_str()));  // a text ends at its first NUL
  Entries expected = Plain(text);
  for (std::string& entry : expected) entry = MakeEntry(entry, kRules);
  Require(Read(text) == expected);
  return 0;
}
