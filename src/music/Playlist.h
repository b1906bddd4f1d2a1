#pragma once
// The music list: read from a playlist file in one of six formats, held as
// full path strings, shuffled, and written back in one of two formats. One
// thread at a time. No operation throws; one that runs out of memory leaves
// the list as it was, a Load leaves it empty.

#include "music/PlaylistReaders.h"

#include <cstdint>
#include <string>

// Values of Playlist::GetLastError.
enum PlaylistError : std::int32_t {
  kPlaylistNoError = 0,
  kPlaylistNoName = 1,      // the file name was null
  kPlaylistNoFullPath = 2,  // the full path couldn't be made
  kPlaylistNoFile = 3,      // the file couldn't be opened or read
};

class Playlist {
 public:
  Playlist() = default;
  // Loads `fileName`; GetLastError tells whether that worked.
  explicit Playlist(const char* fileName);
  ~Playlist();
  Playlist(const Playlist&) = delete;
  Playlist& operator=(const Playlist&) = delete;

  // Replaces the list by what the file holds; its extension alone decides the
  // format. True if the file was read, even if it held no entry. A list that
  // failed to load is empty.
  bool Load(const char* fileName);
  // Writes the list as kPlaylistM3U or kPlaylistPLS; any other format is
  // refused. False if the list is empty or the file can't be opened. A name
  // that isn't a full path is relative to the current folder.
  [[nodiscard]] bool Save(const char* fileName, std::int32_t format) const;

  // The text of entry `i`, or null if there is none; it stands until the list
  // changes.
  const char* GetEntry(std::int32_t i) const;
  // Overwrites entry `i`, if there is one.
  void SetEntry(std::int32_t i, const char* text);
  // Appends `n` entries. A null pointer among them gives an empty entry.
  void AddEntries(const char* const* texts, std::int32_t n);

  // Seeds the C run time's generator and exchanges each entry with a random
  // one, `passes` times over.
  void Shuffle(std::uint32_t seed, std::int32_t passes);

  // Back to the empty list, with no path and no error.
  void Clear();

  std::int32_t GetCount() const { return count; }
  std::int32_t GetLastError() const { return lastError; }
  std::int32_t GetFormat() const { return format; }
  std::int32_t GetSeparator() const { return separator; }
  const std::string& GetPath() const { return path; }
  const std::string& GetFolder() const { return folder; }
  void SetSeparator(std::int32_t character) { separator = character; }
  void SetAltSeparator(std::int32_t character) { altSeparator = character; }
  void SetFormat(std::int32_t number) { format = number; }
  void SetDefaultFormat(std::int32_t number) { defaultFormat = number; }
  void SetExtensionSize(std::int32_t size) { extensionSize = size; }
  void SetDecodeEntities(bool decode) { decodeEntities = decode; }

 private:
  bool MakeFullPath(const char* fileName);
  bool ReadContent(const char* fileName);
  void ReadEntriesOfContent();
  void ChooseFormat();
  bool Fail(PlaylistError error);
  void FreeEntries();
  void FreeContent();

  std::string path;                  // full path of the file last read
  std::string folder;                // `path` up to and with its last separator
  std::string* entries = nullptr;    // new[]; in play order
  std::int32_t count = 0;
  char* content = nullptr;           // new[]; the file's text, only during a load
  std::int32_t contentLength = 0;
  std::int32_t lastError = kPlaylistNoError;
  std::int32_t separator = '\\';
  std::int32_t altSeparator = '/';
  std::int32_t format = 0;           // found by the last load
  std::int32_t defaultFormat = kPlaylistM3U;  // for unknown extensions
  std::int32_t extensionSize = 5;    // nothing reads it: an extension has room as it is
  bool decodeEntities = true;
};
