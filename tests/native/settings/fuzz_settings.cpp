// Any values at all in the registry. A record of the input is the number of a
// value, its type, its length and some of its bytes. What the program makes of
// them shows in what it writes afterwards.

#include "fuzz.h"

#include "settings/Settings.h"
#include "shim/registry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kTextBuffer = 1024;
constexpr std::size_t kNumberText = 64;
constexpr std::size_t kLongestValue = 5000;
constexpr std::size_t kMostBytesOfInput = 64;  // of a value: the rest is filled up

constexpr const char* kUserNames[] = {
    "mipmap", "playmusic", "shufflemusic", "debuglog", "bitmaptext", "showspeedtip",
    "showbugreport", "setaswallpaper", "randomorder", "animate", "crossfade", "defaultmusic",
    "custommusic", "fastmode", "stretchwallpaper", "blankallscreens", "cramimages", "cramsize",
    "autoperformance", "showcaptions", "captionfontsize", "captionorientation", "captionitalic",
    "captionbold", "musicvol", "dispmodewidth", "dispmodeheight", "dispmodebits", "imagedelay",
    "captionfont", "avgfps", "crashflag", "dochecksum", "criticalerror"};
constexpr const char* kSystemNames[] = {"password delay", "mouse threshold", "mute sound"};
constexpr std::size_t kUserCount = std::size(kUserNames);
constexpr std::size_t kSystemCount = std::size(kSystemNames);

StoredValues& UserValues() { return ValuesOf(HKEY_CURRENT_USER, kSettingsKey); }
StoredValues& SystemValues() { return ValuesOf(HKEY_LOCAL_MACHINE, kSystemSaverKey); }
StoredValues& MachineValues() { return ValuesOf(HKEY_LOCAL_MACHINE, kMachineKey); }

StoredValue& ValueOfNumber(std::size_t number) {
  if (number < kUserCount) return UserValues()[kUserNames[number]];
  number -= kUserCount;
  if (number < kSystemCount) return SystemValues()[kSystemNames[number]];
  return MachineValues()["videoguid"];
}

// Takes one record off the input.
void StoreOne(const std::uint8_t*& data, std::size_t& size) {
  constexpr std::size_t head = 4;
  StoredValue& value = ValueOfNumber(data[0] % (kUserCount + kSystemCount + 1));
  value.type = data[1] % 12;
  const std::size_t length = (data[2] | std::size_t{data[3]} << 8) % kLongestValue;
  const std::size_t taken = std::min({length, size - head, kMostBytesOfInput});
  value.data.assign(data + head, data + head + taken);
  value.data.resize(length, '1');
  data += head + taken;
  size -= head + taken;
}

void Store(const std::uint8_t* data, std::size_t size) {
  ForgetRegistry();
  UserValues();
  SystemValues();
  MachineValues();
  while (size >= 4) StoreOne(data, size);
}

const StoredValue* Find(const StoredValues& values, const char* name) {
  const auto found = values.find(name);
  return found == values.end() ? nullptr : &found->second;
}

std::optional<std::uint32_t> FourBytes(const StoredValues& values, const char* name) {
  const StoredValue* value = Find(values, name);
  if (!value || value->data.size() != 4) return std::nullopt;
  std::uint32_t number = 0;
  std::memcpy(&number, value->data.data(), sizeof number);
  return number;
}

// What a program may take for a text: the bytes up to the first NUL or the end.
std::optional<std::string> TextOf(const StoredValue& value) {
  if (value.type != REG_SZ || value.data.size() > kTextBuffer) return std::nullopt;
  const auto end = std::find(value.data.begin(), value.data.end(), 0);
  return std::string(value.data.begin(), end);
}

StoredValue Padded(std::string text, std::size_t size) {
  text.resize(size);
  return {REG_SZ, {text.begin(), text.end()}};
}

template <class Value>
StoredValue Formatted(const char* format, Value value) {
  char text[kNumberText] = {};
  Require(std::snprintf(text, sizeof text, format, value) < static_cast<int>(sizeof text));
  return Padded(text, sizeof text);
}

// `byDefault` is what is written if nothing was stored.
StoredValue Expected(std::string_view name, const StoredValue& stored,
                     const StoredValue& byDefault) {
  if (byDefault.type == REG_DWORD) {
    if (stored.type != REG_DWORD || stored.data.size() != 4) return byDefault;
    const bool style = name == "captionitalic" || name == "captionbold";
    const bool isSet = stored.data != std::vector<BYTE>(4, 0);
    return style ? StoredValue{REG_DWORD, {isSet, 0, 0, 0}} : stored;
  }
  const std::optional<std::string> text = TextOf(stored);
  if (!text) return byDefault;
  if (name == "captionfont") return Padded(*text, 4 * text->size());
  if (name == "imagedelay")
    return Formatted("%f", static_cast<double>(static_cast<float>(std::atof(text->c_str()))));
  return Formatted("%d", std::atoi(text->c_str()));
}

// What the system's mute setting leaves of the default.
void Mute(StoredValues& defaults, const StoredValues& system) {
  if (FourBytes(system, "mute sound").value_or(0) != 0)
    defaults.at("playmusic") = {REG_DWORD, {0, 0, 0, 0}};
}

StoredValues WrittenBy(const SaverSettings& settings) {
  UserValues().clear();
  Require(settings.WriteRegistry() == ERROR_SUCCESS);
  return UserValues();
}

void CheckSystem(const SaverSettings& settings, const StoredValues& system) {
  Require(settings.PasswordDelay == FourBytes(system, "password delay").value_or(15));
  Require(settings.MouseThreshold ==
          static_cast<std::int32_t>(FourBytes(system, "mouse threshold").value_or(50)));
}

void CheckCard(const SaverSettings& settings, const StoredValues& machine) {
  GUID expected{};
  const StoredValue* card = Find(machine, "videoguid");
  if (card && card->data.size() <= kTextBuffer)
    std::copy_n(card->data.begin(), std::min(card->data.size(), sizeof expected),
                reinterpret_cast<BYTE*>(&expected));
  Require(GuidEqual(settings.VideoGUID, expected));
}

void CheckWritten(const StoredValues& written, const StoredValues& stored,
                  const StoredValues& defaults) {
  Require(written.size() == defaults.size());
  for (const auto& [name, byDefault] : defaults) {
    const StoredValue* before = Find(stored, name.c_str());
    Require(written.at(name) == (before ? Expected(name, *before, byDefault) : byDefault));
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  StoredValues defaults = WrittenBy(SaverSettings());
  Store(data, size);
  const StoredValues stored = UserValues();
  Mute(defaults, SystemValues());
  SaverSettings settings;
  settings.ReadGeneralRegistry();
  Require(settings.ReadRegistry() == ERROR_SUCCESS);
  CheckSystem(settings, SystemValues());
  CheckCard(settings, MachineValues());
  CheckWritten(WrittenBy(settings), stored, defaults);
  Require(OpenKeyCount() == 0);
  return 0;
}
