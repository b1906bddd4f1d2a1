#include "app/CommandLineOption.h"

#include "app/CommandLine.h"
#include "base/AnsiText.h"
#include "base/win.h"

#include <shellapi.h>

std::optional<std::string> GetCommandLineOption(const char* name) {
  if (!name) return std::nullopt;
  int count = 0;
  wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!arguments) return std::nullopt;
  const wchar_t* found =
      ArgumentBehind({arguments, static_cast<std::size_t>(count)}, WideFromAnsi(name).c_str());
  std::optional<std::string> value;
  if (found) value = AnsiFromWide(found);
  LocalFree(arguments);
  return value;
}

std::int32_t GetCommandLineInt(const char* name) {
  const std::optional<std::string> text = GetCommandLineOption(name);
  return text ? DecimalOrZero(text->c_str()) : 0;
}
