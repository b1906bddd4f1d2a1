#include "net/ParseXML.h"

#include "base/FindNoCase.h"

#include <cstring>

namespace {

// Line ends, tabs and all bytes from 128 on don't belong to a text.
bool IsKept(char c) { return c == 0 || static_cast<signed char>(c) >= ' '; }

// What may turn out to be the closing tag of an element: the characters since
// the last opening bracket, as long as they aren't more than its name has.
class ClosingTag {
 public:
  explicit ClosingTag(const std::string& name) : expected_("/" + name) {}

  void Open() {
    open_ = true;
    candidate_.clear();
  }
  // True if what was read since Open is the closing tag.
  bool Close() {
    open_ = false;
    return NamesMatch(expected_, candidate_.c_str());
  }
  void Add(char c) {
    if (!open_) return;
    candidate_ += c;
    if (candidate_.size() > expected_.size()) {
      open_ = false;
      candidate_.clear();
    }
  }

 private:
  std::string expected_;
  std::string candidate_;
  bool open_ = false;
};

// The text ends with its closing tag, but for the last bracket.
std::string WithoutClosingTag(const std::string& text) { return text.substr(0, text.rfind('<')); }

}  // namespace

ParseXML::~ParseXML() { Reset(); }

void ParseXML::Reset() {
  if (stream) std::fclose(stream);
  stream = nullptr;
  delete[] buffer;
  buffer = cursor = nullptr;
  current = previous = 0;
  fromFile = false;
  atEnd = true;
}

void ParseXML::SetText(const char* source) {
  if (!source) source = "";
  const std::size_t size = std::strlen(source) + 1;
  char* copy = new char[size];
  std::memcpy(copy, source, size);
  Reset();
  buffer = cursor = copy;
  atEnd = false;
}

void ParseXML::SetStream(std::FILE* source) {
  Reset();
  stream = source;
  fromFile = true;
  atEnd = source == nullptr;
}

char ParseXML::NextChar() {
  if (atEnd) return 0;
  previous = current;
  if (fromFile) {
    const int read = std::fgetc(stream);
    atEnd = read == EOF;
    current = atEnd ? '\0' : static_cast<char>(read);
  } else {
    current = *cursor++;
    atEnd = current == 0;
  }
  return current;
}

char ParseXML::PeekChar() {
  if (atEnd) return 0;
  if (!fromFile) return *cursor;
  const int read = std::fgetc(stream);
  if (read == EOF) return 0;
  std::fseek(stream, -1, SEEK_CUR);
  return static_cast<char>(read);
}

bool ParseXML::FindOpening() {
  while (!atEnd) {
    NextChar();
    if (IsDelimiter('<')) return true;
  }
  return false;
}

// False if the input ends first.
bool ParseXML::ReadName(std::string& name) {
  for (;;) {
    NextChar();
    if (atEnd) return false;
    if (IsDelimiter('>')) return true;
    name += current;
  }
}

std::string ParseXML::ReadText(const std::string& name) {
  ClosingTag closing(name);
  std::string text;
  do {
    NextChar();
    if (IsDelimiter('>') && closing.Close()) return WithoutClosingTag(text);
    if (!IsKept(current)) continue;
    text += current;
    if (IsDelimiter('<'))
      closing.Open();
    else
      closing.Add(current);
  } while (!atEnd);
  return text;
}

ParseXMLTag ParseXML::NextTag() {
  ParseXMLTag tag;
  std::string name;
  if (!FindOpening() || !ReadName(name)) return tag;
  // Names and texts are strings: they end at a NUL.
  name.resize(std::strlen(name.c_str()));
  tag.name.Assign(name.c_str());
  tag.text.Assign(ReadText(name).c_str());
  tag.empty = false;
  return tag;
}
