#pragma once
// The playlist files in tests/data/playlists, written as players write them,
// each with the entries that the readers' rules find in it.

#include "music/PlaylistReaders.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

struct PlaylistFile {
  std::filesystem::path path;
  std::int32_t format = 0;
  std::vector<std::string> expected;  // "{folder}" stands for the list's folder
};

inline void PrintTo(const PlaylistFile& file, std::ostream* out) {
  *out << file.path.filename().string();
}

inline std::string BytesOfFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t from = 0, end; (end = text.find('\n', from)) != std::string::npos;
       from = end + 1)
    lines.push_back(text.substr(from, end - from));
  return lines;
}

inline std::vector<PlaylistFile> AllPlaylistFiles() {
  struct Kind { const char* folder; std::int32_t format; };
  constexpr Kind kinds[] = {{"m3u", kPlaylistM3U}, {"b4s", kPlaylistB4S}, {"pls", kPlaylistPLS},
                            {"asx", kPlaylistASX}, {"wpl", kPlaylistWPL}, {"bpl", kPlaylistBPL}};
  const std::filesystem::path root(PLAYLIST_FILES);
  std::vector<PlaylistFile> files;
  for (const Kind& kind : kinds)
    for (const auto& entry : std::filesystem::directory_iterator(root / kind.folder)) {
      const std::string name = entry.path().filename().string() + ".txt";
      files.push_back(
          {entry.path(), kind.format, SplitLines(BytesOfFile(root / "expected" / name))});
    }
  std::sort(files.begin(), files.end(),
            [](const PlaylistFile& a, const PlaylistFile& b) { return a.path < b.path; });
  return files;
}

// A name for a test case: letters, digits and underscores.
inline std::string CaseName(const ::testing::TestParamInfo<PlaylistFile>& file) {
  std::string name = file.param.path.filename().string();
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

// The expected entries for a list in `folder`.
inline std::vector<std::string> ExpectedIn(const PlaylistFile& file, const std::string& folder) {
  constexpr std::string_view mark = "{folder}";
  std::vector<std::string> entries = file.expected;
  for (std::string& entry : entries)
    if (entry.starts_with(mark)) entry.replace(0, mark.size(), folder);
  return entries;
}

// What text mode makes of a file's bytes: the CR of each pair goes, and the
// old end-of-file mark ends the text.
inline std::string AsText(const std::string& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size() && bytes[i] != '\x1a'; ++i)
    if (bytes[i] != '\r' || i + 1 == bytes.size() || bytes[i + 1] != '\n') text += bytes[i];
  return text;
}

// The list's elements, which stand last first, in the order of the file.
inline std::vector<std::string> InFileOrder(EntryList& found) {
  std::vector<std::string> entries;
  if (found.First()) {
    do entries.push_back(found.Current());
    while (found.Next());
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

inline std::vector<std::string> Read(std::int32_t format, const std::string& text,
                                     const EntryRules& rules = {.folder = "C:\\lists\\"}) {
  EntryList found;
  ReadEntries(format, text.c_str(), rules, found);
  return InFileOrder(found);
}
