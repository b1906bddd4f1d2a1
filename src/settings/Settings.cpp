// The settings record and the registry behind it. Which value goes into which
// field stands in tables, one for reading and one for writing: their orders
// differ.

#include "settings/Settings.h"

#include "base/RegistryKey.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

SaverSettings* ss = nullptr;

namespace {

constexpr REGSAM kReadAccess = KEY_READ;     // 0x20019
constexpr REGSAM kWriteAccess = KEY_WRITE;   // 0x20006
constexpr std::size_t kTextBufferSize = 1024;
constexpr std::size_t kNumberTextSize = 64;

struct FlagValue {
  const char* name;
  std::int32_t SaverSettings::*field;
};

constexpr FlagValue kReadFirst[] = {
    {"MipMap", &SaverSettings::MipMap},
    {"PlayMusic", &SaverSettings::PlayMusic},
    {"ShuffleMusic", &SaverSettings::ShuffleMusic},
    {"DebugLog", &SaverSettings::DebugLog},
    {"BitmapText", &SaverSettings::BitmapText},
    {"SetAsWallpaper", &SaverSettings::SetAsWallpaper},
    {"RandomOrder", &SaverSettings::RandomOrder},
    {"Animate", &SaverSettings::Animate},
    {"Crossfade", &SaverSettings::Crossfade},
    {"DefaultMusic", &SaverSettings::DefaultMusic},
    {"CustomMusic", &SaverSettings::CustomMusic},
    {"FastMode", &SaverSettings::FastMode},
    {"StretchWallpaper", &SaverSettings::StretchWallpaper},
    {"ShowSpeedtip", &SaverSettings::ShowSpeedtip},
    {"ShowBugReport", &SaverSettings::ShowBugReport},
    {"CrashFlag", &SaverSettings::CrashFlag},
    {"DoChecksum", &SaverSettings::DoChecksum},
    {"CriticalError", &SaverSettings::CriticalError},
    {"BlankAllScreens", &SaverSettings::BlankAllScreens},
    {"CramImages", &SaverSettings::CramImages},
    {"CramSize", &SaverSettings::CramSize},
    {"AutoPerformance", &SaverSettings::AutoPerformance},
    {"ShowCaptions", &SaverSettings::ShowCaptions},
    {"CaptionFontSize", &SaverSettings::CaptionFontSize},
    {"CaptionOrientation", &SaverSettings::CaptionOrientation},
};

constexpr FlagValue kWriteFirst[] = {
    {"MipMap", &SaverSettings::MipMap},
    {"PlayMusic", &SaverSettings::PlayMusic},
    {"ShuffleMusic", &SaverSettings::ShuffleMusic},
    {"DebugLog", &SaverSettings::DebugLog},
    {"BitmapText", &SaverSettings::BitmapText},
    {"ShowSpeedTip", &SaverSettings::ShowSpeedtip},  // read as "ShowSpeedtip": one value
    {"ShowBugReport", &SaverSettings::ShowBugReport},
    {"SetAsWallpaper", &SaverSettings::SetAsWallpaper},
    {"RandomOrder", &SaverSettings::RandomOrder},
    {"Animate", &SaverSettings::Animate},
    {"Crossfade", &SaverSettings::Crossfade},
    {"DefaultMusic", &SaverSettings::DefaultMusic},
    {"CustomMusic", &SaverSettings::CustomMusic},
    {"FastMode", &SaverSettings::FastMode},
    {"StretchWallpaper", &SaverSettings::StretchWallpaper},
    {"BlankAllScreens", &SaverSettings::BlankAllScreens},
    {"CramImages", &SaverSettings::CramImages},
    {"CramSize", &SaverSettings::CramSize},
    {"AutoPerformance", &SaverSettings::AutoPerformance},
    {"ShowCaptions", &SaverSettings::ShowCaptions},
    {"CaptionFontSize", &SaverSettings::CaptionFontSize},
    {"CaptionOrientation", &SaverSettings::CaptionOrientation},
};

struct ByteValue {
  const char* name;
  std::uint8_t SaverSettings::*field;
};

constexpr ByteValue kCaptionStyles[] = {
    {"CaptionItalic", &SaverSettings::CaptionItalic},
    {"CaptionBold", &SaverSettings::CaptionBold},
};

constexpr FlagValue kNumberTexts[] = {
    {"MusicVol", &SaverSettings::MusicVol},
    {"DispModeWidth", &SaverSettings::DispModeWidth},
    {"DispModeHeight", &SaverSettings::DispModeHeight},
    {"DispModeBits", &SaverSettings::DispModeBits},
};

// Reads four bytes of any type into `value`; false, with `value` unchanged, for
// a value that is missing, longer or shorter.
bool ReadFourBytes(HKEY key, const char* name, std::uint32_t& value, DWORD* type = nullptr) {
  std::uint32_t bytes = 0;
  DWORD size = sizeof bytes;
  const LONG status =
      RegQueryValueExA(key, name, nullptr, type, reinterpret_cast<BYTE*>(&bytes), &size);
  if (status != ERROR_SUCCESS || size != sizeof bytes) return false;
  value = bytes;
  return true;
}

bool ReadDword(HKEY key, const char* name, std::int32_t& value) {
  DWORD type = REG_NONE;
  std::uint32_t bytes = 0;
  if (!ReadFourBytes(key, name, bytes, &type) || type != REG_DWORD) return false;
  value = static_cast<std::int32_t>(bytes);
  return true;
}

// Reads a text of at most 1024 bytes, up to its first zero byte.
bool ReadText(HKEY key, const char* name, std::string& text) {
  std::array<char, kTextBufferSize + 1> buffer{};
  DWORD type = REG_NONE;
  DWORD size = kTextBufferSize;
  const LONG status =
      RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size);
  if (status != ERROR_SUCCESS || type != REG_SZ) return false;
  text = buffer.data();
  return true;
}

void ReadNumberText(HKEY key, const char* name, std::int32_t& value) {
  std::string text;
  if (ReadText(key, name, text)) value = std::atoi(text.c_str());
}

void ReadFloatText(HKEY key, const char* name, float& value) {
  std::string text;
  if (ReadText(key, name, text)) value = static_cast<float>(std::atof(text.c_str()));
}

void WriteDword(HKEY key, const char* name, std::int32_t value) {
  RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

// The whole 64-byte buffer is stored, the text followed by zero bytes.
template <class Value>
void WriteFormatted(HKEY key, const char* name, const char* format, Value value) {
  std::array<char, kNumberTextSize> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, value);
  RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(buffer.data()), buffer.size());
}

// Stored with four times the text's length, the rest zero bytes; readers stop at
// the first zero byte.
void WriteFontName(HKEY key, const std::string& font) {
  std::string padded = font;
  padded.resize(4 * font.size());
  RegSetValueExA(key, "CaptionFont", 0, REG_SZ, reinterpret_cast<const BYTE*>(padded.data()),
                 static_cast<DWORD>(padded.size()));
}

void ReadVideoGuid(HKEY key, GUID& guid) {
  std::array<BYTE, kTextBufferSize> buffer{};
  DWORD size = buffer.size();
  if (RegQueryValueExA(key, "VideoGUID", nullptr, nullptr, buffer.data(), &size) == ERROR_SUCCESS)
    std::memcpy(&guid, buffer.data(), sizeof guid);
}

bool WriteOneFlag(const char* name, std::int32_t value) {
  const RegKey key = CreateRegistryKey(HKEY_CURRENT_USER, kSettingsKey, kWriteAccess);
  if (key) WriteDword(key.get(), name, value);
  return static_cast<bool>(key);
}

}  // namespace

void SaverSettings::ReadGeneralRegistry() {
  PasswordDelay = 15;
  MouseThreshold = 50;
  DialogActive = 0;
  const RegKey key = OpenRegistryKey(HKEY_LOCAL_MACHINE, kSystemSaverKey, kReadAccess);
  if (!key) return;
  std::uint32_t bytes = 0;
  if (ReadFourBytes(key.get(), "Password Delay", bytes)) PasswordDelay = bytes;
  if (ReadFourBytes(key.get(), "Mouse Threshold", bytes))
    MouseThreshold = static_cast<std::int32_t>(bytes);
  if (ReadFourBytes(key.get(), "Mute Sound", bytes)) MuteSound = static_cast<std::int32_t>(bytes);
  if (MuteSound != 0) PlayMusic = 0;
}

LONG SaverSettings::ReadRegistry() {
  LONG status = ERROR_SUCCESS;
  {
    const RegKey key = OpenRegistryKey(HKEY_CURRENT_USER, kSettingsKey, kReadAccess, &status);
    if (!key) return status;
    for (const FlagValue& value : kReadFirst) ReadDword(key.get(), value.name, this->*value.field);
    for (const ByteValue& value : kCaptionStyles) {
      std::int32_t flag = 0;
      if (ReadDword(key.get(), value.name, flag)) this->*value.field = flag != 0;
    }
    ReadNumberText(key.get(), "MusicVol", MusicVol);
    ReadFloatText(key.get(), "AvgFps", AvgFps);
    ReadFloatText(key.get(), "ImageDelay", ImageDelay);
    ReadNumberText(key.get(), "DispModeWidth", DispModeWidth);
    ReadNumberText(key.get(), "DispModeHeight", DispModeHeight);
    ReadNumberText(key.get(), "DispModeBits", DispModeBits);
    ReadText(key.get(), "CaptionFont", CaptionFont);
  }
  const RegKey machine = OpenRegistryKey(HKEY_LOCAL_MACHINE, kMachineKey, kReadAccess, &status);
  if (machine) ReadVideoGuid(machine.get(), VideoGUID);
  return status;
}

LONG SaverSettings::WriteRegistry() const {
  LONG status = ERROR_SUCCESS;
  const RegKey key = CreateRegistryKey(HKEY_CURRENT_USER, kSettingsKey, kWriteAccess, &status);
  if (!key) return status;
  for (const FlagValue& value : kWriteFirst) WriteDword(key.get(), value.name, this->*value.field);
  for (const ByteValue& value : kCaptionStyles)
    WriteDword(key.get(), value.name, this->*value.field);
  for (const FlagValue& value : kNumberTexts)
    WriteFormatted(key.get(), value.name, "%d", static_cast<int>(this->*value.field));
  WriteFormatted(key.get(), "ImageDelay", "%f", static_cast<double>(ImageDelay));
  WriteFontName(key.get(), CaptionFont);
  return status;
}

void SetCrashFlag(std::int32_t value) { WriteOneFlag("CrashFlag", value); }

void SetDoChecksum(std::int32_t value) { WriteOneFlag("DoChecksum", value); }

void SetCriticalError(std::int32_t value) {
  if (WriteOneFlag("CriticalError", value) && ss) ss->CriticalError = value;
}

void WriteSettingsText(const char* name, const std::string& text) {
  const RegKey key = CreateRegistryKey(HKEY_CURRENT_USER, kSettingsKey, kWriteAccess);
  if (key)
    RegSetValueExA(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>(text.size() + 1));
}

bool SetMachineBinary(const char* key, const char* name, const void* data, std::uint32_t size) {
  const RegKey opened = CreateRegistryKey(HKEY_LOCAL_MACHINE, key, kWriteAccess);
  return opened && RegSetValueExA(opened.get(), name, 0, REG_BINARY,
                                  static_cast<const BYTE*>(data), size) == ERROR_SUCCESS;
}

bool GuidEqual(const GUID& a, const GUID& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::equal(std::begin(a.Data4), std::end(a.Data4), std::begin(b.Data4));
}
