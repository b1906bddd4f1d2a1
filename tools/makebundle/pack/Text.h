#pragma once
// Texts from outside: their coding, and captions.

#include "makebundle/pack/Bytes.h"

#include <string>

bool IsUtf8(std::string_view text);

// Without the mark that some editors put in front of UTF-8.
std::string_view WithoutUtf8Mark(std::string_view text);

// Up to the first NUL or the end; an odd byte at the end and halves of pairs
// become U+FFFD.
std::string Utf16ToUtf8(Bytes text, ByteOrder order);

std::string_view Trimmed(std::string_view text);

// Letters A to Z to lower case, the rest as it is: the case that a bundle's
// reader overlooks.
std::string WithoutCase(std::string_view text);

// A caption as it goes into a bundle: line breaks are CR LF, tabs are blanks,
// other control characters are gone, and so are blanks at the ends of lines
// and empty lines at the end. `text` is UTF-8 or any coding that keeps ASCII.
std::string CleanCaption(std::string_view text);

// The show draws captions with a Win32 call that takes "&" as the mark of a
// shortcut and "&&" as the character itself. These two turn a text into what
// draws as that text, and back.
std::string DoubleAmpersands(std::string_view text);
std::string SingleAmpersands(std::string_view text);

// In place of control characters, which could steer a terminal, "?".
std::string Printable(std::string_view text);
