#pragma once
// Small helpers on files and folders. They share no state, and log nothing.

#include "base/win.h"

// True for a file or a folder that exists.
bool PathExists(const char* path);

// Deletes all that lies in `folder`, read-only entries too, and keeps the
// folder itself. A junction or link to another folder is removed, not
// followed. Failures of single steps are ignored. Returns 1 if the folder
// could be listed, else 0; an empty name lists nothing, rather than the root of
// the drive.
int DeleteFolderContents(const char* folder);
