#include "registry.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

struct RegistryKey {
  std::map<std::string, StoredValues> keys;  // of a root
  StoredValues* values = nullptr;            // of an opened key
};

namespace {

RegistryKey user;
RegistryKey machine;
int openKeys = 0;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

LONG Open(StoredValues& values, HKEY* opened) {
  *opened = new RegistryKey{{}, &values};
  ++openKeys;
  return ERROR_SUCCESS;
}

}  // namespace

const HKEY HKEY_CURRENT_USER = &user;
const HKEY HKEY_LOCAL_MACHINE = &machine;

void ForgetRegistry() {
  user.keys.clear();
  machine.keys.clear();
}

StoredValues& ValuesOf(HKEY root, const std::string& path) { return root->keys[path]; }

int OpenKeyCount() { return openKeys; }

LONG RegOpenKeyExA(HKEY root, const char* path, DWORD, REGSAM, HKEY* opened) {
  const auto found = root->keys.find(path);
  return found == root->keys.end() ? ERROR_FILE_NOT_FOUND : Open(found->second, opened);
}

LONG RegCreateKeyExA(HKEY root, const char* path, DWORD, char*, DWORD, REGSAM, void*, HKEY* opened,
                     DWORD*) {
  return Open(root->keys[path], opened);
}

LONG RegCloseKey(HKEY key) {
  delete key;
  --openKeys;
  return ERROR_SUCCESS;
}

// What doesn't fit leaves the buffer in a state that isn't defined. A text comes
// as it was stored, its terminator included or not.
LONG RegQueryValueExA(HKEY key, const char* name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  const auto found = key->values->find(Lower(name));
  if (found == key->values->end()) return ERROR_FILE_NOT_FOUND;
  const StoredValue& value = found->second;
  if (type) *type = value.type;
  const auto room = std::exchange(*size, static_cast<DWORD>(value.data.size()));
  if (*size > room) {
    std::memset(data, 0xEE, room);
    return ERROR_MORE_DATA;
  }
  std::copy(value.data.begin(), value.data.end(), data);
  return ERROR_SUCCESS;
}

LONG RegSetValueExA(HKEY key, const char* name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  (*key->values)[Lower(name)] = {type, {data, data + size}};
  return ERROR_SUCCESS;
}
