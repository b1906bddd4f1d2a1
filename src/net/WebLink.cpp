#include "net/WebLink.h"

#include "base/FindNoCase.h"
#include "base/win.h"

#include <algorithm>
#include <cstring>
#include <shellapi.h>
#include <string_view>

namespace {

bool IsAddressCharacter(char c) { return c > ' ' && c < 127 && !std::strchr("\"<>\\^`{|}", c); }

bool BeginsWith(std::string_view text, std::string_view scheme) {
  return StartsWithNoCase(text, scheme) && text.size() > scheme.size();
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
