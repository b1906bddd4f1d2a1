#include "music/MusicSearch.h"

#include "base/LinkedList.h"
#include "base/win.h"
#include "music/Playlist.h"

#include <cstdint>
#include <io.h>
#include <new>
#include <shlobj.h>
#include <string>
#include <vector>

namespace {

constexpr const char* kPatterns[] = {"*.wav", "*.ogg", "*.wma", "*.asf", "*.mp3", "*.mp2"};

// Links to folders are followed as folders are, and two that lead upwards double
// the work with each level, up to the longest path there is: a search has an end
// at many more folders than anybody keeps music in.
constexpr int kMostFolders = 100'000;

// A listing under way, closed at the end of its scope.
struct Listing {
  explicit Listing(const std::string& pattern) : handle(_findfirst(pattern.c_str(), &file)) {}
  ~Listing() {
    if (handle != -1) _findclose(handle);
  }
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;

  _finddata_t file{};
  std::intptr_t handle;
};

// Calls `use` with each entry that `pattern` lists.
template <class Use>
void ForEachFile(const std::string& pattern, Use use) {
  Listing listing(pattern);
  if (listing.handle == -1) return;
  do use(listing.file);
  while (_findnext(listing.handle, &listing.file) == 0);
}

void AddAll(LinkedList<std::string>& files, Playlist& playlist) {
  std::vector<const char*> texts;
  ForEach(files, [&](const std::string& file) { texts.push_back(file.c_str()); });
  playlist.AddEntries(texts.data(), static_cast<std::int32_t>(texts.size()));
}

// `foldersLeft` may be looked into yet, this one among them.
bool Search(const std::string& folder, Playlist& playlist, int& foldersLeft) {
  if (foldersLeft == 0) return false;
  --foldersLeft;
  LinkedList<std::string> files;
  for (const char* pattern : kPatterns)
    ForEachFile(folder + "\\" + pattern,
                [&](const _finddata_t& file) { files.AddTail(folder + "\\" + file.name); });
  bool found = files.Count() != 0;
  ForEachFile(folder + "\\*.*", [&](const _finddata_t& file) {
    if ((file.attrib & _A_SUBDIR) && file.name[0] != '.')
      found |= Search(folder + "\\" + file.name, playlist, foldersLeft);
  });
  AddAll(files, playlist);
  return found;
}

}  // namespace

bool SearchFolderForMusic(const char* folder, Playlist& playlist) try {
  int foldersLeft = kMostFolders;
  return folder && Search(folder, playlist, foldersLeft);
} catch (const std::bad_alloc&) {
  return false;
}

bool SearchMyDocuments(Playlist& playlist) {
  char documents[MAX_PATH];
  return SHGetSpecialFolderPathA(GetFocus(), documents, CSIDL_PERSONAL, FALSE) &&
         SearchFolderForMusic(documents, playlist);
}
