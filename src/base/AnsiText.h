#pragma once
// Text between the system's ANSI code page and 16-bit characters. A character
// that the other side lacks becomes what the system puts in its place. Throws
// std::bad_alloc.

#include <string>
#include <string_view>

std::wstring WideFromAnsi(std::string_view text);
std::string AnsiFromWide(std::wstring_view text);
