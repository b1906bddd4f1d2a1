#pragma once
// What MakeBundle says. Texts are UTF-8 with "\n" for line ends; a console gets
// its own letters, a file or pipe gets UTF-8 with CR LF.

#include "makebundle/pack/Progress.h"

#include <string>

// Results, on standard output.
void Say(const std::string& text);

// On standard error, a line each.
void Note(const std::string& text);     // nothing is wrong
void Warning(const std::string& text);  // something isn't as one might want it
void Error(const std::string& text);    // what makes the run fail

// The one progress line, on standard error. The three functions above take it
// off the screen first.
ProgressLine& Progress();
