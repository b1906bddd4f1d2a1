#include "reporterr/ReportCopies.h"

#include "base/FileUtilities.h"
#include "base/win.h"

ReportCopies::ReportCopies() {
  char temporary[MAX_PATH + 1] = "";
  GetTempPathA(sizeof temporary, temporary);
  folder_ = temporary + ("VelmoraReport" + std::to_string(GetCurrentProcessId())) + "\\";
  CreateDirectoryA(folder_.c_str(), nullptr);
  DeleteFolderContents(folder_.c_str());
}

ReportCopies::~ReportCopies() {
  DeleteFolderContents(folder_.c_str());
  RemoveDirectoryA(folder_.c_str());
}

std::string ReportCopies::Copy(const std::string& file) const {
  const std::string copy = folder_ + file.substr(file.rfind('\\') + 1);
  return CopyFileA(file.c_str(), copy.c_str(), FALSE) ? copy : "";
}
