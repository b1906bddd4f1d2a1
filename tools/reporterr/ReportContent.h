#pragma once
// What a report consists of, and the very bytes that go to the server.

#include <cstdint>
#include <string>

struct ReportContent {
  std::string appName;
  std::string version;
  std::string comments;
  std::string logFile;   // empty: the report has no log
  std::string dumpFile;  // empty: the report has no dump

  std::string ServerName() const { return appName + ' ' + version; }
};

// Bytes that each part takes on the wire; 0 for a part that is left out.
std::uint64_t FormSize(const ReportContent& content);
std::uint64_t LogSize(const ReportContent& content);
std::uint64_t DumpSize(const ReportContent& content);
std::uint64_t TotalSize(const ReportContent& content);

// The report as it is sent. Of a part of more than a megabyte the beginning, and
// a line that says how much follows on the wire.
std::string ReportText(const ReportContent& content);

// "812 bytes", "14.9 KB", "3.0 MB".
std::string SizeText(std::uint64_t bytes);
