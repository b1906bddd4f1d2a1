#include "reporterr/ReportCopies.h"

#include "base/FileUtilities.h"
#include "base/FindNoCase.h"
#include "base/PathParts.h"
#include "base/win_owned.h"
#include "reporterr/Processes.h"

#include <charconv>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kFolderName = "VelmoraReport";  // and the process's id

// With its separator.
std::string TemporaryFolder() {
  char folder[MAX_PATH + 1] = "";
  GetTempPathA(sizeof folder, folder);
  return folder;
}

void RemoveFolder(const std::string& folder) {
  DeleteFolderContents(folder.c_str());
  RemoveDirectoryA(folder.c_str());
}

// The process that has made the folder; 0 if no tool has.
DWORD OwnerOf(const WIN32_FIND_DATAA& folder) {
  constexpr DWORD kKind = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  if ((folder.dwFileAttributes & kKind) != FILE_ATTRIBUTE_DIRECTORY) return 0;
  const char* const id = folder.cFileName + kFolderName.size();
  const char* const end = id + std::strlen(id);
  DWORD owner = 0;
  const std::from_chars_result read = std::from_chars(id, end, owner);
  return read.ec == std::errc() && read.ptr == end ? owner : 0;
}

std::vector<DWORD> OwnersOfFolders(const std::string& temporary) {
  std::vector<DWORD> owners;
  WIN32_FIND_DATAA entry{};
  const HANDLE first = FindFirstFileA((temporary + kFolderName.data() + "*").c_str(), &entry);
  if (first == INVALID_HANDLE_VALUE) return owners;
  const FileSearch search(first);
  do {
    if (const DWORD owner = OwnerOf(entry)) owners.push_back(owner);
  } while (FindNextFileA(search.get(), &entry));
  return owners;
}

std::string FolderOfTool(const std::string& temporary, DWORD process) {
  return temporary + kFolderName.data() + std::to_string(process);
}

// Of tools that were killed or have crashed: whoever has the id by now is no tool.
void RemoveLeftovers(const std::string& temporary) {
  // Listed before the processes, so that a tool that starts meanwhile keeps its own.
  const std::vector<DWORD> owners = OwnersOfFolders(temporary);
  const std::vector<Process> running = RunningProcesses();
  const Process* const self = FindProcess(running, GetCurrentProcessId());
  if (!self) return;
  for (const DWORD owner : owners) {
    const Process* const process = FindProcess(running, owner);
    if (!process || !EqualNoCase(process->program, self->program))
      RemoveFolder(FolderOfTool(temporary, owner));
  }
}

}  // namespace

ReportCopies::ReportCopies() {
  const std::string temporary = TemporaryFolder();
  RemoveLeftovers(temporary);
  folder_ = FolderOfTool(temporary, GetCurrentProcessId()) + "\\";
  CreateDirectoryA(folder_.c_str(), nullptr);
  DeleteFolderContents(folder_.c_str());
}

std::string ReportCopies::Copy(const std::string& file) const {
  const std::string copy = folder_ + std::string(FileNameOf(file));
  if (CopyFileA(file.c_str(), copy.c_str(), FALSE)) return copy;
  DeleteFileA(copy.c_str());  // the piece that there was room for
  return FileExists(file.c_str()) ? file : "";
}

void ReportCopies::Remove() const { RemoveFolder(folder_); }
