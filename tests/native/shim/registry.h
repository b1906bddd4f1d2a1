#pragma once
// A registry in memory behind the calls of windows.h, for what no system would
// let a test store. Nothing but the keys below HKEY_CURRENT_USER and
// HKEY_LOCAL_MACHINE, without subkeys; names of values in one case.

#include "windows.h"

#include <map>
#include <string>
#include <vector>

struct StoredValue {
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
  bool operator==(const StoredValue&) const = default;
};

// The values of a key by their names, in lower case: names differ in nothing else.
using StoredValues = std::map<std::string, StoredValue>;

// All keys are gone.
void ForgetRegistry();
// The key's values; the key is made if there is none.
StoredValues& ValuesOf(HKEY root, const std::string& path);
// How many opened keys haven't been closed.
int OpenKeyCount();
