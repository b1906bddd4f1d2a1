#include "base/RegistryKey.h"

namespace {

RegKey Take(HKEY key, LONG result, LONG* status) {
  if (status) *status = result;
  return RegKey(result == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

RegKey OpenRegistryKey(HKEY root, const char* path, REGSAM access, LONG* status) {
  HKEY key = nullptr;
  const LONG result = RegOpenKeyExA(root, path, 0, access, &key);
  return Take(key, result, status);
}

RegKey CreateRegistryKey(HKEY root, const char* path, REGSAM access, LONG* status) {
  HKEY key = nullptr;
  const LONG result =
      RegCreateKeyExA(root, path, 0, nullptr, 0, access, nullptr, &key, nullptr);
  return Take(key, result, status);
}
