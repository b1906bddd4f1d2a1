#pragma once
// What stops MakeBundle. The text is meant for the person at the keyboard: it
// names the file that is at fault and says what is wrong with it (UTF-8).

#include <stdexcept>
#include <string>

class PackError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The same fault, told of the file `name`.
inline PackError FaultOf(const std::string& name, const std::string& what) {
  return PackError(name + ": " + what);
}
