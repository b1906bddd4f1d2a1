#pragma once
// Gives a test a registry subtree of its own: what stands there is put away
// and comes back, whatever the test left, when the object goes.
//
//   RegistrySandbox settings(HKEY_CURRENT_USER, "Software\\...");
//   settings.SetDword("DebugLog", 0);

#include "base/win.h"
#include "support/Bytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace support {

// One value as stored, with the length that it was stored with.
struct RegistryValue {
  DWORD type = REG_NONE;
  Bytes data;
};

class RegistrySandbox {
 public:
  // Afterwards the key doesn't exist.
  RegistrySandbox(HKEY root, const std::string& key);
  ~RegistrySandbox();
  RegistrySandbox(const RegistrySandbox&) = delete;
  RegistrySandbox& operator=(const RegistrySandbox&) = delete;

  // Each makes the key first. `subKey` is below the sandbox's key.
  void CreateKey(const std::string& subKey = "");
  void SetDword(const std::string& name, std::uint32_t value, const std::string& subKey = "");
  void SetText(const std::string& name, const std::string& text, const std::string& subKey = "");
  void Set(const std::string& name, const RegistryValue& value, const std::string& subKey = "");
  void DeleteValue(const std::string& name, const std::string& subKey = "");

  bool KeyExists(const std::string& subKey = "") const;
  std::optional<RegistryValue> Get(const std::string& name, const std::string& subKey = "") const;
  // Nothing unless the value is a REG_DWORD of four bytes.
  std::optional<std::uint32_t> Dword(const std::string& name, const std::string& subKey = "") const;
  // A REG_SZ up to its first NUL.
  std::optional<std::string> Text(const std::string& name, const std::string& subKey = "") const;
  // Values below a key, in the registry's order.
  std::vector<std::string> ValueNames(const std::string& subKey = "") const;
  std::vector<std::string> SubKeyNames(const std::string& subKey = "") const;

 private:
  struct Tree;
  std::string PathOf(const std::string& subKey) const;

  HKEY root_;
  std::string key_;
  std::unique_ptr<Tree> saved_;  // null if there was no such key
};

}  // namespace support
