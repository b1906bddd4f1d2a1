#include "base/AnsiText.h"

#include "base/win.h"

std::wstring WideFromAnsi(std::string_view text) {
  const int size = static_cast<int>(text.size());
  const int room = MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(room), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), room);
  return wide;
}

std::string AnsiFromWide(std::wstring_view text) {
  const int size = static_cast<int>(text.size());
  const int room =
      WideCharToMultiByte(CP_ACP, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(room), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), size, narrow.data(), room, nullptr, nullptr);
  return narrow;
}
