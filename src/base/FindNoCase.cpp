#include "base/FindNoCase.h"

#include <algorithm>
#include <cctype>
#include <cwctype>

namespace {

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
wchar_t Lower(wchar_t c) { return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c))); }

template <class Char>
bool StartsWith(const Char* text, const Char* start) {
  for (; *start; ++text, ++start)
    if (Lower(*text) != Lower(*start)) return false;
  return true;
}

template <class Char>
const Char* Search(const Char* haystack, const Char* needle) {
  if (!haystack || !needle || !*needle) return nullptr;
  for (; *haystack; ++haystack)
    if (StartsWith(haystack, needle)) return haystack;
  return nullptr;
}

}  // namespace

const char* FindNoCase(const char* haystack, const char* needle) {
  return Search(haystack, needle);
}

const wchar_t* FindNoCase(const wchar_t* haystack, const wchar_t* needle) {
  return Search(haystack, needle);
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

bool StartsWithNoCase(std::string_view text, std::string_view start) {
  return EqualNoCase(text.substr(0, start.size()), start);
}

bool NamesMatch(const std::string& stored, const char* name) {
  return name && *name && EqualNoCase(stored, name);
}
