#pragma once
// Small helpers on files and folders. They share no state, and log nothing.

#include "base/win.h"

#include <cstdint>

// True if the file can be opened for reading.
bool FileExists(const char* path);

// True for a file or a folder that exists.
bool PathExists(const char* path);

// Deletes a file, a read-only one too. True if it was deleted.
bool ForceDeleteFile(const char* path);

// The size of an open file in bytes; 0 and false if it can't be told.
bool GetFileSize64(HANDLE file, std::uint64_t& size);

// Whether a file can be made and written in `folder`, which comes without a
// separator at its end. It is tried out, and leaves nothing behind.
bool IsFolderWritable(const char* folder);

// Deletes all that lies in `folder`, read-only entries too, and keeps the
// folder itself. A junction or link to another folder is removed, not
// followed. Failures of single steps are ignored. Returns 1 if the folder
// could be listed, else 0; an empty name lists nothing, rather than the root of
// the drive.
int DeleteFolderContents(const char* folder);
