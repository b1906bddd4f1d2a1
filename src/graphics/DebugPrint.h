#pragma once
// Tells an attached debugger what went wrong where nothing is to be thrown.

// The text, with printf's formats, cut to 1,023 characters.
[[gnu::format(printf, 1, 2)]] void DebugPrint(const char* format, ...);
