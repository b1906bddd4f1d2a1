#pragma once
// Opens keys of the registry. A key that can't be had is null; `status`, where it
// is given, gets the system's answer either way.

#include "base/win_owned.h"

RegKey OpenRegistryKey(HKEY root, const char* path, REGSAM access, LONG* status = nullptr);
// Makes the key, and those above it, where they are missing.
RegKey CreateRegistryKey(HKEY root, const char* path, REGSAM access, LONG* status = nullptr);
