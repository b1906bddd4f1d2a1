#pragma once
// The machine-wide list of users' data folders, so that an uninstall finds
// them all: one text value a user under an HKLM key.

// The data folder within a user's application data folder. Nothing that is
// called otherwise is deleted by an uninstall.
inline constexpr char kDataFolder[] = "\\Tarnwick\\Velmora2";

// Records that the data folder `path` exists, as a value named after the user,
// under the HKLM key `key` plus `subKey`, and opens both keys' security so
// that other users can record theirs. Silent on failure.
void RegisterAppDataFolder(const char* path, const char* key, const char* subKey);

// Empties and removes every folder that the HKLM key `key` lists, then deletes
// the key. A listed path that isn't a "Tarnwick\Velmora2" folder is left
// alone, and links out of a folder aren't followed: any user may write to the
// list.
void RemoveAppDataFolders(const char* key);
