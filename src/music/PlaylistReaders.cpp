#include "music/PlaylistReaders.h"

#include "base/FindNoCase.h"

#include <cstring>

namespace {

constexpr char kHeading[] = "[playlist]";
constexpr char kFileScheme[] = "file:";

std::string_view WithoutLeadingBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

const char* SkipBlanks(const char* text) { return text + std::strspn(text, " "); }

// Calls `use` with each line of `text`. Line ends in a row count as one.
template <class Use>
void ForEachLine(const char* text, Use use) {
  for (;;) {
    text += std::strspn(text, "\n");
    const std::size_t length = std::strcspn(text, "\n");
    if (length == 0) return;
    use(std::string_view(text, length));
    text += length;
  }
}

// Every occurrence of `entity` becomes `character`. The text shrinks in one
// pass: a file may hold millions of them.
void DecodeEntity(std::string& text, std::string_view entity, char character) {
  std::size_t from = text.find(entity);
  if (from == std::string::npos) return;
  std::size_t to = from;
  while (from != std::string::npos) {
    text[to++] = character;
    from += entity.size();
    const std::size_t next = text.find(entity, from);
    const std::size_t end = next == std::string::npos ? text.size() : next;
    std::memmove(text.data() + to, text.data() + from, end - from);
    to += end - from;
    from = next;
  }
  text.resize(to);
}

// The value behind a key whose quotes `text` may hold: the text up to the next
// double quote. Quotes in front of it are stepped over, as strtok does.
// Returns where the search goes on; null if there is no value.
const char* TakeQuotedValue(const char* text, const EntryRules& rules, EntryList& found) {
  text += std::strspn(text, "\"");
  const std::size_t length = std::strcspn(text, "\"");
  if (length == 0) return nullptr;
  std::string value(text, length);
  if (rules.decodeEntities) DecodeEntities(value);
  found.AddHead(MakeEntry(value, rules));
  text += length;
  return *text ? text + 1 : text;
}

// Finds `key` again and again and takes the value behind it, which `prepare`
// may move into.
template <class Prepare>
void ReadQuotedValues(const char* text, const char* key, const EntryRules& rules, EntryList& found,
                      Prepare prepare) {
  while (text && (text = FindNoCase(text, key))) {
    const char* quote = std::strchr(text, '"');
    if (!quote) return;
    text = TakeQuotedValue(prepare(SkipBlanks(quote + 1)), rules, found);
  }
}

const char* SkipFileScheme(const char* text) {
  constexpr std::size_t length = sizeof kFileScheme - 1;
  const std::string_view head(text, ::strnlen(text, length));
  return StartsWithNoCase(head, kFileScheme) ? SkipBlanks(text + length) : text;
}

// Behind the heading and its line end.
const char* BehindHeading(const char* text) {
  const char* heading = FindNoCase(text, kHeading);
  if (!heading) return text;
  heading += sizeof kHeading - 1;
  return *heading ? heading + 1 : heading;
}

}  // namespace

std::string MakeEntry(std::string_view text, const EntryRules& rules) {
  const auto isSeparator = [&](std::size_t at) {
    return text.size() > at && text[at] == rules.separator;
  };
  const bool fromServer = isSeparator(0) && isSeparator(1);
  if (fromServer || text.find(':') != std::string_view::npos) return std::string(text);
  const bool hasSlash =
      !text.empty() && (text[0] == rules.separator || text[0] == rules.altSeparator);
  std::string entry = rules.folder;
  return entry.append(text.substr(hasSlash ? 1 : 0));
}

void DecodeEntities(std::string& text) {
  DecodeEntity(text, "&apos;", '\'');
  DecodeEntity(text, "&quot;", '"');
  DecodeEntity(text, "&nbsp;", ' ');
}

void ReadM3U(const char* text, const EntryRules& rules, EntryList& found) {
  ForEachLine(text, [&](std::string_view line) {
    line = WithoutLeadingBlanks(line);
    if (line.empty() || line[0] != '#') found.AddHead(MakeEntry(line, rules));
  });
}

void ReadPLS(const char* text, const EntryRules& rules, EntryList& found) {
  const bool hasKeys = FindNoCase(text, "Version=2") != nullptr;
  ForEachLine(BehindHeading(text), [&](std::string_view line) {
    line = WithoutLeadingBlanks(line);
    if (hasKeys) {
      const std::size_t equals = line.find('=');
      if (!StartsWithNoCase(line, "file") || equals == std::string_view::npos) return;
      line = WithoutLeadingBlanks(line.substr(equals + 1));
    }
    found.AddHead(MakeEntry(line, rules));
  });
}

void ReadPlaystring(const char* text, const EntryRules& rules, EntryList& found) {
  ReadQuotedValues(text, "Playstring", rules, found, SkipFileScheme);
}

void ReadAttribute(const char* text, const char* key, const EntryRules& rules, EntryList& found) {
  ReadQuotedValues(text, key, rules, found, [](const char* value) { return value; });
}

void ReadEntries(std::int32_t format, const char* text, const EntryRules& rules, EntryList& found) {
  switch (format) {
    case kPlaylistM3U:
      return ReadM3U(text, rules, found);
    case kPlaylistB4S:
    case kPlaylistBPL:
      return ReadPlaystring(text, rules, found);
    case kPlaylistPLS:
      return ReadPLS(text, rules, found);
    case kPlaylistASX:
      return ReadAttribute(text, "href", rules, found);
    case kPlaylistWPL:
      return ReadAttribute(text, "media src", rules, found);
    default:
      return;
  }
}
