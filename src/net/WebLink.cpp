#include "net/WebLink.h"

#include "base/FindNoCase.h"
#include "base/win.h"

#include <algorithm>
#include <cstring>
#include <shellapi.h>

namespace {

bool IsAddressCharacter(char c) { return c > ' ' && c < 127 && !std::strchr("\"<>\\^`{|}", c); }

bool BeginsWith(const char* text, const char* scheme) {
  return FindNoCase(text, scheme) == text && text[std::strlen(scheme)] != 0;
}

}  // namespace

bool IsWebAddress(const char* text) {
  if (!text || (!BeginsWith(text, "http://") && !BeginsWith(text, "https://"))) return false;
  return std::all_of(text, text + std::strlen(text), IsAddressCharacter);
}

bool OpenWebPage(const char* address) {
  if (!IsWebAddress(address)) return false;
  ShellExecuteA(nullptr, nullptr, address, nullptr, nullptr, SW_MAXIMIZE);
  return true;
}
