#include "music/Playlist.h"

#include "base/FileBeside.h"
#include "base/FindNoCase.h"
#include "base/PathParts.h"
#include "base/StdFile.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include <stdlib.h>  // _fullpath, which isn't the standard's

namespace {

constexpr std::size_t kLongestPath = 1024;
constexpr std::size_t kLongestSavePath = 260;

struct ExtensionOfFormat {
  std::string_view extension;
  PlaylistFormat format;
};

constexpr ExtensionOfFormat kExtensions[] = {
    {".m3u", kPlaylistM3U}, {".b4s", kPlaylistB4S}, {".pls", kPlaylistPLS},
    {".asx", kPlaylistASX}, {".wpl", kPlaylistWPL}, {".bpl", kPlaylistBPL},
};

// The length of a file, or -1 if it can't be told or is beyond what the
// content's 32 bits count.
std::int32_t LengthOf(std::FILE* file) {
  if (std::fseek(file, 0, SEEK_END) != 0) return -1;
  const long length = std::ftell(file);
  if (length < 0 || length >= std::numeric_limits<std::int32_t>::max()) return -1;
  return std::fseek(file, 0, SEEK_SET) == 0 ? static_cast<std::int32_t>(length) : -1;
}

void Write(std::FILE* file, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), file);
}

void WriteM3U(std::FILE* file, const std::string* entries, std::int32_t count) {
  Write(file, "#EXTM3U\n");
  for (std::int32_t i = 0; i < count; ++i) {
    Write(file, "#EXTINF:-1,");
    Write(file, BaseNameOf(entries[i]));
    Write(file, "\n");
    Write(file, entries[i]);
    Write(file, "\n");
  }
}

void WritePLS(std::FILE* file, const std::string* entries, std::int32_t count) {
  Write(file, "[playlist]\nPlaylistName=Tarnwick playlist\n");
  for (std::int32_t i = 0; i < count; ++i) {
    std::fprintf(file, "File%d=", i + 1);
    Write(file, entries[i]);
    std::fprintf(file, "\nTitle%d=", i + 1);
    Write(file, BaseNameOf(entries[i]));
    Write(file, "\n");
  }
  std::fprintf(file, "NumberOfEntries=%d\nVersion=2", count);
}

// Where a list is saved; empty if the name can't be made a full path.
std::string SavePath(const char* fileName) {
  if (HasDrive(fileName) && HasFolder(fileName)) return fileName;
  char full[kLongestSavePath];
  const std::string relative = std::string(".\\") + fileName;
  return _fullpath(full, relative.c_str(), sizeof full) ? full : "";
}

// False if the file can't be made or its disk is full.
template <class Write>
bool WriteWhole(const std::string& path, Write write) {
  const StdFile file(std::fopen(path.c_str(), "wt"));
  if (!file) return false;
  write(file.get());
  return std::fflush(file.get()) == 0 && !std::ferror(file.get());
}

}  // namespace

Playlist::Playlist(const char* fileName) { Load(fileName); }

Playlist::~Playlist() {
  FreeContent();
  FreeEntries();
}

bool Playlist::Load(const char* fileName) {
  try {
    if (!path.empty()) Clear();
    FreeEntries();
    lastError = kPlaylistNoError;
    if (!fileName) return Fail(kPlaylistNoName);
    if (!MakeFullPath(fileName)) return Fail(kPlaylistNoFullPath);
    if (!ReadContent(fileName)) return Fail(kPlaylistNoFile);
    ReadEntriesOfContent();
    FreeContent();
    return true;
  } catch (const std::bad_alloc&) {
    return Fail(kPlaylistNoFile);
  }
}

bool Playlist::MakeFullPath(const char* fileName) {
  char full[kLongestPath];
  if (!_fullpath(full, fileName, sizeof full)) return false;
  path = full;
  return true;
}

// Text mode: the run time takes the CR from each pair of CR and LF.
bool Playlist::ReadContent(const char* fileName) {
  const StdFile file(std::fopen(fileName, "rt"));
  if (!file) return false;
  const std::int32_t length = LengthOf(file.get());
  if (length < 0) return false;
  const auto room = static_cast<std::size_t>(length);
  content = new char[room + 1];
  const std::size_t got = std::fread(content, 1, room, file.get());
  content[got] = 0;
  contentLength = static_cast<std::int32_t>(got);
  return true;
}

void Playlist::ReadEntriesOfContent() {
  const char slash = static_cast<char>(separator);
  folder = path.substr(0, FindLastOf(path, {&slash, 1}) + 1);
  ChooseFormat();
  const EntryRules rules{folder, static_cast<char>(separator), static_cast<char>(altSeparator),
                         decodeEntities};
  EntryList found;
  ReadEntries(format, content, rules, found);
  if (!found.First()) return;
  entries = new std::string[static_cast<std::size_t>(found.Count())];
  count = found.Count();
  // The last entry of the file stands first in the list.
  std::int32_t slot = count;
  do entries[--slot] = std::move(found.Current());
  while (found.Next());
}

void Playlist::ChooseFormat() {
  const std::string_view extension = ExtensionOf(path);
  format = defaultFormat;
  for (const ExtensionOfFormat& known : kExtensions)
    if (EqualNoCase(extension, known.extension)) format = known.format;
}

bool Playlist::Fail(PlaylistError error) {
  FreeContent();
  FreeEntries();
  lastError = error;
  return false;
}

bool Playlist::Save(const char* fileName, std::int32_t saveFormat) const try {
  if (count == 0 || !entries || !fileName) return false;
  if (saveFormat != kPlaylistM3U && saveFormat != kPlaylistPLS) return false;
  const std::string target = SavePath(fileName);
  if (target.empty()) return false;
  // A full disk doesn't cost the old list, too.
  FileBeside beside(target);
  const auto write = saveFormat == kPlaylistM3U ? WriteM3U : WritePLS;
  return WriteWhole(beside.Path(), [&](std::FILE* file) { write(file, entries, count); }) &&
         beside.Commit();
} catch (const std::bad_alloc&) {
  return false;
}

const char* Playlist::GetEntry(std::int32_t i) const {
  return i >= 0 && i < count ? entries[i].c_str() : nullptr;
}

void Playlist::SetEntry(std::int32_t i, const char* text) try {
  if (i >= 0 && i < count && text) entries[i] = text;
} catch (const std::bad_alloc&) {
}

void Playlist::AddEntries(const char* const* texts, std::int32_t n) try {
  if (!texts || n <= 0 || n > std::numeric_limits<std::int32_t>::max() - count) return;
  std::unique_ptr<std::string[]> grown(new std::string[static_cast<std::size_t>(count + n)]);
  for (std::int32_t i = 0; i < n; ++i)
    if (texts[i]) grown[static_cast<std::size_t>(count + i)] = texts[i];
  // Nothing fails from here on.
  for (std::int32_t i = 0; i < count; ++i)
    grown[static_cast<std::size_t>(i)] = std::move(entries[i]);
  delete[] entries;
  entries = grown.release();
  count += n;
} catch (const std::bad_alloc&) {
}

void Playlist::Shuffle(std::uint32_t seed, std::int32_t passes) {
  std::srand(seed);
  for (std::int32_t pass = 0; pass < passes; ++pass)
    for (std::int32_t i = 0; i < count; ++i) std::swap(entries[i], entries[std::rand() % count]);
}

void Playlist::Clear() {
  FreeContent();
  FreeEntries();
  lastError = kPlaylistNoError;
  format = 0;
  path.clear();
  folder.clear();
}

void Playlist::FreeEntries() {
  delete[] entries;
  entries = nullptr;
  count = 0;
}

void Playlist::FreeContent() {
  delete[] content;
  content = nullptr;
  contentLength = 0;
}
