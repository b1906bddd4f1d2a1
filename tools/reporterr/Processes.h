#pragma once
// The programs that run on this machine.

#include "base/win.h"

#include <string>
#include <vector>

struct Process {
  DWORD id = 0;
  DWORD starter = 0;    // the id of the process that started it; that may have ended
  std::string program;  // the name of its file
};

// Empty if they can't be listed.
std::vector<Process> RunningProcesses();

// The one with that id among them, or null.
const Process* FindProcess(const std::vector<Process>& processes, DWORD id);
