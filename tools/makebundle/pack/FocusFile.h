#pragma once
// The focus file: which way a picture's point of focus may move. One picture a
// line, its name and then `x` (sideways only), `y` (up and down only) or `xy`
// (both, which is also what pictures without a line get). Empty lines and
// lines that start with "#" count for nothing.

#include <string>
#include <string_view>
#include <vector>

struct FocusLine {
  int line = 0;  // in the file, from 1
  std::string name;  // UTF-8
  bool xOnly = false;
  bool yOnly = false;
};

// Parses a focus file's text (UTF-8, with or without its mark). Throws a
// PackError that names `fileName` and the line for anything it can't make
// sense of, and for a picture that is named twice.
std::vector<FocusLine> ParseFocusFile(const std::string& fileName, std::string_view text);
