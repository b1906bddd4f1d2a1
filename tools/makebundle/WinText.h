#pragma once
// Texts between Windows' three forms. Inside MakeBundle every text is UTF-8,
// but for the names and captions that stand in a bundle, which are in the
// system's ANSI code page.

#include <optional>
#include <string>
#include <string_view>

std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

// Nothing if the code page doesn't have one of the characters.
std::optional<std::string> AnsiFromUtf8(std::string_view text);
std::string Utf8FromAnsi(std::string_view text);

// The nearest that the code page has for each character, "?" if it has
// nothing; `lost` is set if there was one of those.
std::string NearestAnsi(std::string_view utf8, bool& lost);

// Lower case by the rules of the system, for every alphabet.
std::string LowerCase(std::string_view utf8);

// "code page 1252"
std::string AnsiCodePageName();
