#pragma once
// Shows a report as it goes to the server, in a window over `owner`, until the
// user closes it.

#include "base/win.h"

#include <string>

void ShowPreview(HWND owner, const std::string& report);
