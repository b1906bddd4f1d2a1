#include "makebundle/pack/Text.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Utf8Form {
  unsigned char mask, lead;  // of the first byte
  std::size_t length;
  char32_t least;            // a smaller character in this form is written too long
};
constexpr Utf8Form kForms[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

bool IsSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

// Bytes of the character at the front of `text`, 0 if it is none.
std::size_t CharacterLength(std::string_view text) {
  const Bytes bytes = AsBytes(text);
  for (const Utf8Form& form : kForms) {
    if ((bytes[0] & form.mask) != form.lead) continue;
    if (bytes.size() < form.length) return 0;
    char32_t c = bytes[0] & static_cast<unsigned char>(~form.mask);
    for (std::size_t n = 1; n < form.length; ++n) {
      if ((bytes[n] & 0xC0) != 0x80) return 0;
      c = c << 6 | (bytes[n] & 0x3Fu);
    }
    return c < form.least || c > 0x10FFFF || IsSurrogate(c) ? 0 : form.length;
  }
  return 0;
}

void AppendUtf8(std::string& to, char32_t c) {
  const auto tail = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80)
    to += static_cast<char>(c);
  else if (c < 0x800)
    (to += static_cast<char>(0xC0 | c >> 6)) += tail(0);
  else if (c < 0x10000)
    ((to += static_cast<char>(0xE0 | c >> 12)) += tail(6)) += tail(0);
  else
    (((to += static_cast<char>(0xF0 | c >> 18)) += tail(12)) += tail(6)) += tail(0);
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

void TrimEnd(std::string& text) { text.erase(text.find_last_not_of(" \r\n") + 1); }

}  // namespace

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string_view WithoutUtf8Mark(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return text.starts_with(kMark) ? text.substr(kMark.size()) : text;
}

std::string Utf16ToUtf8(Bytes text, ByteOrder order) {
  std::string utf8;
  const auto unit = [&](std::size_t at) -> char32_t {
    return NumberAt(text, at, 2, order).value_or(0);
  };
  for (std::size_t at = 0; at < text.size() && (unit(at) != 0 || text.size() - at == 1); at += 2) {
    const char32_t first = text.size() - at == 1 ? kReplacement : unit(at);
    const char32_t second = unit(at + 2);
    if (first >= 0xD800 && first <= 0xDBFF && second >= 0xDC00 && second <= 0xDFFF) {
      AppendUtf8(utf8, 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00));
      at += 2;
    } else {
      AppendUtf8(utf8, IsSurrogate(first) ? kReplacement : first);
    }
  }
  return utf8;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t start = text.find_first_not_of(kBlanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(kBlanks) + 1 - start);
}

std::string WithoutCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

std::string CleanCaption(std::string_view text) {
  std::string clean;
  std::string line;
  const auto endLine = [&] {
    TrimEnd(line);
    (clean += line) += "\r\n";
    line.clear();
  };
  for (std::size_t n = 0; n < text.size(); ++n) {
    const bool pair = text[n] == '\r' && n + 1 < text.size() && text[n + 1] == '\n';
    if (text[n] == '\n' || (text[n] == '\r' && !pair))
      endLine();
    else if (text[n] == '\t')
      line += ' ';
    else if (!IsControl(text[n]))
      line += text[n];
  }
  endLine();
  TrimEnd(clean);
  return clean;
}

std::string DoubleAmpersands(std::string_view text) {
  std::string doubled;
  for (const char c : text) doubled.append(c == '&' ? 2 : 1, c);
  return doubled;
}

std::string SingleAmpersands(std::string_view text) {
  std::string single;
  for (std::size_t n = 0; n < text.size(); ++n) {
    single += text[n];
    if (text[n] == '&' && n + 1 < text.size() && text[n + 1] == '&') ++n;
  }
  return single;
}

std::string Printable(std::string_view text) {
  std::string printable(text);
  for (char& c : printable)
    if (IsControl(c)) c = '?';
  return printable;
}
