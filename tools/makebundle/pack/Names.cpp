#include "makebundle/pack/Names.h"

#include "makebundle/pack/Text.h"

#include <algorithm>
#include <array>

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Takes the run of digits off the front of `text`, without its leading zeros.
std::string_view TakeNumber(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
  std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

// Below, equal or above 0, as the names' order is.
int CompareNumbers(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.compare(b);
}

int CompareNaturally(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (IsDigit(a[0]) && IsDigit(b[0])) {
      const std::string_view first = TakeNumber(a);
      if (const int order = CompareNumbers(first, TakeNumber(b))) return order;
      continue;
    }
    if (a[0] != b[0])
      return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]) ? -1 : 1;
    a.remove_prefix(1);
    b.remove_prefix(1);
  }
  return static_cast<int>(!a.empty()) - static_cast<int>(!b.empty());
}

// "NUL", "com1", "LPT9": such a name reaches the device whatever follows a dot.
bool IsDeviceName(std::u16string_view name) {
  std::u16string stem(name.substr(0, name.find(u'.')));
  stem.erase(stem.find_last_not_of(u' ') + 1);
  for (char16_t& c : stem)
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
  constexpr std::array<std::u16string_view, 6> kWhole{u"CON", u"PRN",    u"AUX",
                                                      u"NUL", u"CONIN$", u"CONOUT$"};
  if (std::find(kWhole.begin(), kWhole.end(), stem) != kWhole.end()) return true;
  constexpr std::u16string_view kPortNumbers = u"0123456789\u00B9\u00B2\u00B3";
  return stem.size() == 4 && (stem.starts_with(u"COM") || stem.starts_with(u"LPT")) &&
         kPortNumbers.find(stem[3]) != std::u16string_view::npos;
}

}  // namespace

bool ComesBefore(std::string_view a, std::string_view b) {
  const int order = CompareNaturally(WithoutCase(a), WithoutCase(b));
  return order != 0 ? order < 0 : a < b;
}

std::string FaultOfMemberName(std::string_view name) {
  if (name.empty()) return "the name is empty";
  if (name.starts_with('?')) return "a name can't start with \"?\" in a bundle";
  if (name.find('\0') != std::string_view::npos) return "the name holds a NUL";
  return {};
}

std::string FaultOfFileName(std::u16string_view name) {
  if (name.empty()) return "the name is empty";
  for (const char16_t c : name)
    if (c < 0x20 || std::u16string_view(u"\\/:*?\"<>|").find(c) != std::u16string_view::npos)
      return "the name holds a character that file names can't have";
  if (name.back() == u'.' || name.back() == u' ') return "the name ends with a dot or a blank";
  if (IsDeviceName(name)) return "the name is a device's";
  return {};
}
