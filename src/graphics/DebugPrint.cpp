#include "graphics/DebugPrint.h"

#include "base/win.h"

#include <cstdarg>
#include <cstdio>

void DebugPrint(const char* format, ...) {
  char text[1024];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  text[sizeof text - 1] = '\0';
  OutputDebugStringA(text);
}
