#pragma once
// The list of running programs as a test wants it, for as long as the object lives.

#include "base/win.h"
#include "support/ImportHook.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <tlhelp32.h>
#include <utility>
#include <vector>

class FakeProcesses {
 public:
  // This program, started by `starter`.
  explicit FakeProcesses(DWORD starter = 0) {
    Add(GetCurrentProcessId(), "ReportErr.exe", starter);
  }

  void Add(DWORD id, const std::string& program, DWORD starter = 0) {
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    entry.th32ProcessID = id;
    entry.th32ParentProcessID = starter;
    std::strncpy(entry.szExeFile, program.c_str(), sizeof entry.szExeFile - 1);
    entries_.push_back(entry);
  }

 private:
  BOOL Tell(PROCESSENTRY32* to) {
    if (next_ == entries_.size()) return FALSE;
    *to = entries_[next_++];
    return TRUE;
  }

  std::vector<PROCESSENTRY32> entries_;
  std::size_t next_ = 0;
  support::AnyHook first_ = ANY_HOOK("kernel32.dll", Process32First,
                                     [this](HANDLE, PROCESSENTRY32* to) -> BOOL {
                                       next_ = 0;
                                       return Tell(to);
                                     });
  support::AnyHook rest_ = ANY_HOOK("kernel32.dll", Process32Next,
                                    [this](HANDLE, PROCESSENTRY32* to) -> BOOL {
                                      return Tell(to);
                                    });
};
