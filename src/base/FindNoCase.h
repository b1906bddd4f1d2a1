#pragma once
// The search without regard to case that all name tests rest on.

#include <string>

// First place in `haystack` where `needle` stands, comparing each character
// through tolower(); null if there is none. An empty or null `haystack` or
// `needle` gives null.
const char* FindNoCase(const char* haystack, const char* needle);
const wchar_t* FindNoCase(const wchar_t* haystack, const wchar_t* needle);

// Equality without regard to case, as names in bundles and lists are matched:
// equal lengths and a hit of FindNoCase. An empty stored name never matches,
// nor does a null `name`.
bool NamesMatch(const std::string& stored, const char* name);
