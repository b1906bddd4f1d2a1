#include "reporterr/Processes.h"

#include "base/win_owned.h"

#include <algorithm>
#include <tlhelp32.h>

std::vector<Process> RunningProcesses() {
  const KernelHandle list = OwnFile(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32 entry{};
  entry.dwSize = sizeof entry;
  std::vector<Process> processes;
  for (BOOL found = Process32First(list.get(), &entry); found;
       found = Process32Next(list.get(), &entry))
    processes.push_back({entry.th32ProcessID, entry.th32ParentProcessID, entry.szExeFile});
  return processes;
}

const Process* FindProcess(const std::vector<Process>& processes, DWORD id) {
  const auto found = std::find_if(processes.begin(), processes.end(),
                                  [id](const Process& process) { return process.id == id; });
  return found == processes.end() ? nullptr : &*found;
}
