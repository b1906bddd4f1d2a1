#pragma once
// The tool's window. It says what happened, takes a comment, shows what a report
// would contain, and sends it if the user wants that; then it shows the server's
// answer. The user may leave at any moment.

#include "base/win.h"

#include <string>

// Shows the window until the user closes it. `logFile` and `dumpFile` are what a
// run of the screen saver leaves behind; either may be missing.
void ShowReportWindow(const std::string& logFile, const std::string& dumpFile);
