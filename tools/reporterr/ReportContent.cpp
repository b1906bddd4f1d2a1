#include "reporterr/ReportContent.h"

#include "base/Base64.h"
#include "base/win_owned.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string_view>

namespace {

constexpr std::string_view kLogField = "&logData=";
constexpr std::string_view kDumpField = "&dumpData=";
// Of each part's file: about a megabyte, and whole lines of a dump's text.
constexpr std::uint64_t kBytesPerLine = 54;
constexpr std::uint64_t kShownBytes = (1 << 20) / kBytesPerLine * kBytesPerLine;

std::uint64_t FileSize(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (path.empty() || !GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  return std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
}

std::string Form(const ReportContent& content) {
  return "appName=" + content.ServerName() + "&version=" + content.version +
         "&comments=" + content.comments;
}

std::string Beginning(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text(static_cast<std::size_t>(std::min(FileSize(path), kShownBytes)), '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

// Both on the wire.
std::string HowMuchFollows(std::uint64_t size, std::uint64_t shown) {
  return size <= shown ? "" : "\n[" + SizeText(size - shown) + " more]\n";
}

// A dump's text from its start on; its end, too, if these bytes are all of it.
std::string Encoded(const std::string& bytes, bool isAll) {
  constexpr std::size_t kSpareRoom = 8;
  std::string text(bytes.size() * 2 + kSpareRoom, '\0');
  Base64State state;
  std::size_t length = EncodeBlock(reinterpret_cast<const unsigned char*>(bytes.data()),
                                   bytes.size(), text.data(), state);
  if (isAll) length += EncodeEnd(text.data() + length, state);
  text.resize(length);
  return text;
}

std::string LogText(const ReportContent& content) {
  if (content.logFile.empty()) return "";
  std::string text = Beginning(content.logFile);
  std::replace(text.begin(), text.end(), '\0', ' ');  // as the sender does it
  const std::string rest = HowMuchFollows(FileSize(content.logFile), text.size());
  return std::string(kLogField) + text + rest;
}

std::string DumpText(const ReportContent& content) {
  if (content.dumpFile.empty()) return "";
  const std::uint64_t size = FileSize(content.dumpFile);
  const std::string text = Encoded(Beginning(content.dumpFile), size <= kShownBytes);
  return std::string(kDumpField) + text + HowMuchFollows(EncodedSize(size), text.size());
}

}  // namespace

std::uint64_t FormSize(const ReportContent& content) { return Form(content).size(); }

std::uint64_t LogSize(const ReportContent& content) {
  return content.logFile.empty() ? 0 : kLogField.size() + FileSize(content.logFile);
}

std::uint64_t DumpSize(const ReportContent& content) {
  return content.dumpFile.empty() ? 0
                                  : kDumpField.size() + EncodedSize(FileSize(content.dumpFile));
}

std::uint64_t TotalSize(const ReportContent& content) {
  return FormSize(content) + LogSize(content) + DumpSize(content);
}

std::string ReportText(const ReportContent& content) {
  return Form(content) + LogText(content) + DumpText(content);
}

std::string SizeText(std::uint64_t bytes) {
  constexpr double kKilo = 1024;
  char text[32];
  const auto size = static_cast<double>(bytes);
  if (size < kKilo)
    std::snprintf(text, sizeof text, "%.0f bytes", size);
  else if (size < kKilo * kKilo)
    std::snprintf(text, sizeof text, "%.1f KB", size / kKilo);
  else
    std::snprintf(text, sizeof text, "%.1f MB", size / (kKilo * kKilo));
  return text;
}
