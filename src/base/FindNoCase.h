#pragma once
// Comparisons without regard to case. Letters of the C locale alone have one.

#include <string>
#include <string_view>

// First place in `haystack` where `needle` stands, comparing each character
// through tolower(); null if there is none. An empty or null `haystack` or
// `needle` gives null.
const char* FindNoCase(const char* haystack, const char* needle);
const wchar_t* FindNoCase(const wchar_t* haystack, const wchar_t* needle);

bool EqualNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view start);

// Equality without regard to case, as names in bundles and lists are matched:
// an empty stored name never matches, nor does a null `name`.
bool NamesMatch(const std::string& stored, const char* name);
