#include "graphics/cGameError.h"

#include "base/win.h"

cGameError::cGameError(const std::string& errorText) : text(errorText) {
  const std::string line = "***\n*** [ERROR] cGameError thrown! text: [" + text + "]\n***\n";
  OutputDebugStringA(line.c_str());
}
