#include "makebundle/WinText.h"

#include "base/win.h"

namespace {

std::wstring ToWide(UINT codePage, std::string_view text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(
      static_cast<std::size_t>(MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0)),
      L'\0');
  MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string FromWide(UINT codePage, DWORD flags, std::wstring_view text, BOOL* usedDefault) {
  const int size = static_cast<int>(text.size());
  const int needed =
      WideCharToMultiByte(codePage, flags, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(codePage, flags, text.data(), size, narrow.data(), needed, nullptr,
                      usedDefault);
  return narrow;
}

}  // namespace

std::wstring WideFromUtf8(std::string_view text) { return ToWide(CP_UTF8, text); }
std::string Utf8FromWide(std::wstring_view text) { return FromWide(CP_UTF8, 0, text, nullptr); }
std::string Utf8FromAnsi(std::string_view text) { return Utf8FromWide(ToWide(CP_ACP, text)); }

std::optional<std::string> AnsiFromUtf8(std::string_view text) {
  // A system whose ANSI code page is UTF-8 has every character, and its
  // conversion allows neither the flag nor the question.
  if (GetACP() == CP_UTF8) return std::string(text);
  BOOL usedDefault = FALSE;
  std::string ansi = FromWide(CP_ACP, WC_NO_BEST_FIT_CHARS, WideFromUtf8(text), &usedDefault);
  if (usedDefault) return std::nullopt;
  return ansi;
}

std::string NearestAnsi(std::string_view utf8, bool& lost) {
  if (GetACP() == CP_UTF8) return std::string(utf8);
  BOOL usedDefault = FALSE;
  std::string ansi = FromWide(CP_ACP, 0, WideFromUtf8(utf8), &usedDefault);
  lost = lost || usedDefault;
  return ansi;
}

std::string LowerCase(std::string_view utf8) {
  std::wstring wide = WideFromUtf8(utf8);
  CharLowerBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  return Utf8FromWide(wide);
}

std::string AnsiCodePageName() { return "code page " + std::to_string(GetACP()); }
