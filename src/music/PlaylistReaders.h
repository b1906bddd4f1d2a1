#pragma once
// The readers of the six playlist formats. They aren't parsers: they find the
// fields with file names by plain text search, so that they survive malformed
// files. What they are given is the text of a whole file; it ends at its first
// NUL. Time and memory grow with the length of the text and no faster.
//
// Each entry found goes to the head of a list, so that the last one of the
// file stands first in it.

#include "base/LinkedList.h"

#include <cstdint>
#include <string>
#include <string_view>

enum PlaylistFormat : std::int32_t {
  kPlaylistM3U = 1,
  kPlaylistB4S = 2,
  kPlaylistPLS = 3,
  kPlaylistASX = 4,
  kPlaylistWPL = 5,
  kPlaylistBPL = 6,
};

// What turns a name found in a file into an entry.
struct EntryRules {
  std::string folder;         // of the playlist file, with its last separator
  char separator = '\\';
  char altSeparator = '/';
  bool decodeEntities = true;
};

using EntryList = LinkedList<std::string>;

// A full path or an address, which holds a colon, stays as it is; any other
// name is relative to the list's folder, also with a slash in front.
std::string MakeEntry(std::string_view text, const EntryRules& rules);

// &apos; &quot; and &nbsp; become the characters; no other entity is decoded.
void DecodeEntities(std::string& text);

// A line each; lines that begin with "#" say nothing of interest.
void ReadM3U(const char* text, const EntryRules& rules, EntryList& found);
// The values of the lines "FileN=". Without "Version=2" anywhere in the text
// every line is an entry.
void ReadPLS(const char* text, const EntryRules& rules, EntryList& found);
// The quoted values behind "Playstring", without a leading "file:".
void ReadPlaystring(const char* text, const EntryRules& rules, EntryList& found);
// The quoted values behind `key`, whatever element holds them.
void ReadAttribute(const char* text, const char* key, const EntryRules& rules, EntryList& found);

// Reads with the reader of a format; an unknown one finds nothing.
void ReadEntries(std::int32_t format, const char* text, const EntryRules& rules, EntryList& found);
