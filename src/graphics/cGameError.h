#pragma once
// The exception of the graphics layer. It is caught in two places only: around
// the creation of the layer, and around the frame step.

#include <string>

class cGameError {
 public:
  // Keeps the text, and tells it to an attached debugger.
  explicit cGameError(const std::string& errorText);
  const std::string& Text() const { return text; }

 private:
  std::string text;
};
