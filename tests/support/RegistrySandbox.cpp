#include "support/RegistrySandbox.h"

#include "base/win_owned.h"

#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

namespace support {

struct RegistrySandbox::Tree {
  std::vector<std::pair<std::string, RegistryValue>> values;
  std::vector<std::pair<std::string, std::unique_ptr<Tree>>> keys;

  static std::unique_ptr<Tree> Save(HKEY parent, const std::string& path);
  void Restore(HKEY parent, const std::string& path) const;
};

namespace {

constexpr DWORD kNameRoom = 16384;

RegKey OpenKey(HKEY root, const std::string& path, REGSAM access) {
  HKEY key = nullptr;
  return RegOpenKeyExA(root, path.c_str(), 0, access, &key) == ERROR_SUCCESS ? RegKey(key)
                                                                             : RegKey();
}

RegKey MakeKey(HKEY root, const std::string& path) {
  HKEY key = nullptr;
  const LSTATUS status =
      RegCreateKeyExA(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) throw std::runtime_error("can't make the registry key " + path);
  return RegKey(key);
}

std::vector<std::string> NamesOf(HKEY key, bool values) {
  std::vector<std::string> names;
  std::vector<char> name(kNameRoom);
  for (DWORD index = 0;; ++index) {
    DWORD length = kNameRoom;
    const LSTATUS status =
        values
            ? RegEnumValueA(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr)
            : RegEnumKeyExA(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return names;
    names.emplace_back(name.data(), length);
  }
}

std::optional<RegistryValue> ReadValue(HKEY key, const std::string& name) {
  RegistryValue value;
  DWORD size = 0;
  if (RegQueryValueExA(key, name.c_str(), nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS)
    return std::nullopt;
  value.data.resize(size);
  if (RegQueryValueExA(key, name.c_str(), nullptr, &value.type, value.data.data(), &size) !=
      ERROR_SUCCESS)
    return std::nullopt;
  value.data.resize(size);
  return value;
}

void WriteValue(HKEY key, const std::string& name, const RegistryValue& value) {
  RegSetValueExA(key, name.c_str(), 0, value.type, value.data.data(),
                 static_cast<DWORD>(value.data.size()));
}

// The key and all below it.
void DeleteTree(HKEY root, const std::string& path) {
  if (const RegKey key = OpenKey(root, path, KEY_READ))
    for (const std::string& name : NamesOf(key.get(), false)) DeleteTree(root, path + "\\" + name);
  RegDeleteKeyA(root, path.c_str());
}

}  // namespace

std::unique_ptr<RegistrySandbox::Tree> RegistrySandbox::Tree::Save(HKEY parent,
                                                                   const std::string& path) {
  const RegKey key = OpenKey(parent, path, KEY_READ);
  if (!key) return nullptr;
  auto tree = std::make_unique<Tree>();
  for (const std::string& name : NamesOf(key.get(), true))
    if (auto value = ReadValue(key.get(), name)) tree->values.emplace_back(name, std::move(*value));
  for (const std::string& name : NamesOf(key.get(), false))
    if (auto below = Save(key.get(), name)) tree->keys.emplace_back(name, std::move(below));
  return tree;
}

void RegistrySandbox::Tree::Restore(HKEY parent, const std::string& path) const {
  const RegKey key = MakeKey(parent, path);
  for (const auto& [name, value] : values) WriteValue(key.get(), name, value);
  for (const auto& [name, below] : keys) below->Restore(key.get(), name);
}

RegistrySandbox::RegistrySandbox(HKEY root, const std::string& key)
    : root_(root), key_(key), saved_(Tree::Save(root, key)) {
  DeleteTree(root_, key_);
}

RegistrySandbox::~RegistrySandbox() {
  DeleteTree(root_, key_);
  if (saved_) saved_->Restore(root_, key_);
}

std::string RegistrySandbox::PathOf(const std::string& subKey) const {
  return subKey.empty() ? key_ : key_ + "\\" + subKey;
}

void RegistrySandbox::CreateKey(const std::string& subKey) { MakeKey(root_, PathOf(subKey)); }

void RegistrySandbox::SetDword(const std::string& name, std::uint32_t value,
                               const std::string& subKey) {
  RegistryValue stored{REG_DWORD, {}};
  AppendU32(stored.data, value);
  Set(name, stored, subKey);
}

void RegistrySandbox::SetText(const std::string& name, const std::string& text,
                              const std::string& subKey) {
  RegistryValue stored{REG_SZ, {}};
  AppendZ(stored.data, text);
  Set(name, stored, subKey);
}

void RegistrySandbox::Set(const std::string& name, const RegistryValue& value,
                          const std::string& subKey) {
  WriteValue(MakeKey(root_, PathOf(subKey)).get(), name, value);
}

void RegistrySandbox::DeleteValue(const std::string& name, const std::string& subKey) {
  RegDeleteValueA(MakeKey(root_, PathOf(subKey)).get(), name.c_str());
}

bool RegistrySandbox::KeyExists(const std::string& subKey) const {
  return static_cast<bool>(OpenKey(root_, PathOf(subKey), KEY_READ));
}

std::optional<RegistryValue> RegistrySandbox::Get(const std::string& name,
                                                  const std::string& subKey) const {
  const RegKey key = OpenKey(root_, PathOf(subKey), KEY_READ);
  return key ? ReadValue(key.get(), name) : std::nullopt;
}

std::optional<std::uint32_t> RegistrySandbox::Dword(const std::string& name,
                                                    const std::string& subKey) const {
  const auto value = Get(name, subKey);
  if (!value || value->type != REG_DWORD || value->data.size() != 4) return std::nullopt;
  std::uint32_t number;
  std::memcpy(&number, value->data.data(), sizeof number);
  return number;
}

std::optional<std::string> RegistrySandbox::Text(const std::string& name,
                                                 const std::string& subKey) const {
  const auto value = Get(name, subKey);
  if (!value || value->type != REG_SZ) return std::nullopt;
  const std::string text = TextOf(value->data);
  return text.substr(0, text.find('\0'));
}

std::vector<std::string> RegistrySandbox::ValueNames(const std::string& subKey) const {
  const RegKey key = OpenKey(root_, PathOf(subKey), KEY_READ);
  return key ? NamesOf(key.get(), true) : std::vector<std::string>();
}

std::vector<std::string> RegistrySandbox::SubKeyNames(const std::string& subKey) const {
  const RegKey key = OpenKey(root_, PathOf(subKey), KEY_READ);
  return key ? NamesOf(key.get(), false) : std::vector<std::string>();
}

}  // namespace support
