#pragma once
// Fills a playlist with the music files of a folder and all folders below it.
// No dialog offers this at present; it stands ready for a search of the user's
// music. One thread at a time.

class Playlist;

// Appends the music files of `folder`: those of subfolders first, and within a
// folder grouped by kind: WAV, Ogg, WMA, ASF, MP3, MP2. Folders whose names
// begin with a dot are left out, as are all after the first 100,000. True if
// anything was found.
bool SearchFolderForMusic(const char* folder, Playlist& playlist);

// The same in the user's documents folder; false if there is none.
bool SearchMyDocuments(Playlist& playlist);
