// The conversions between the ANSI code page and 16-bit characters.

#include "base/SimpleString.h"

#include "base/win.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <new>
#include <string>

void SimpleString::Assign(const wchar_t* from) {
  if (!from) return;
  // A code page of several bytes a character takes more room than characters.
  const int bytes = WideCharToMultiByte(CP_ACP, 0, from, -1, nullptr, 0, nullptr, nullptr);
  const auto characters = static_cast<std::int32_t>(std::wcslen(from));
  if (bytes < 1 || !Allocate(std::max(characters, bytes - 1))) return;
  WideCharToMultiByte(CP_ACP, 0, from, -1, text, bytes, nullptr, nullptr);
}

void SimpleString::Append(const wchar_t* more) {
  if (!more) return;
  SimpleString narrow;
  narrow.Assign(more);
  Append(narrow);
}

const wchar_t* SimpleString::ToWide() {
  FreeWide();
  std::unique_ptr<wchar_t[]> buffer(
      new (std::nothrow) wchar_t[static_cast<std::size_t>(capacity) + 1]);
  if (!buffer) return nullptr;
  buffer[0] = 0;
  MultiByteToWideChar(CP_ACP, 0, text, -1, buffer.get(), capacity + 1);
  wide = buffer.release();
  return wide;
}

int SimpleString::CompareWide(const wchar_t* other) {
  // The argument may be the copy that ToWide is about to free.
  const std::wstring compared = other ? other : L"";
  const wchar_t* own = ToWide();
  const int order = (own ? std::wstring(own) : std::wstring()).compare(compared);
  return (order > 0) - (order < 0);
}
