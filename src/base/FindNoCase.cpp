#include "base/FindNoCase.h"

#include <cctype>
#include <cstring>
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

bool NamesMatch(const std::string& stored, const char* name) {
  return name && stored.size() == std::strlen(name) && FindNoCase(stored.c_str(), name);
}
