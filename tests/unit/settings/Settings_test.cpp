#include "settings/Settings.h"

#include "support/ImportHook.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

using support::Bytes;
using support::RegistrySandbox;
using support::RegistryValue;

namespace {

// The user's values that are stored as four bytes and read as they are.
struct DwordField {
  const char* name;
  std::int32_t SaverSettings::*field;
  std::int32_t byDefault;
};

constexpr DwordField kDwordFields[] = {
    {"MipMap", &SaverSettings::MipMap, 1},
    {"PlayMusic", &SaverSettings::PlayMusic, 1},
    {"ShuffleMusic", &SaverSettings::ShuffleMusic, 1},
    {"DebugLog", &SaverSettings::DebugLog, 1},
    {"BitmapText", &SaverSettings::BitmapText, 0},
    {"SetAsWallpaper", &SaverSettings::SetAsWallpaper, 0},
    {"RandomOrder", &SaverSettings::RandomOrder, 1},
    {"Animate", &SaverSettings::Animate, 1},
    {"Crossfade", &SaverSettings::Crossfade, 1},
    {"DefaultMusic", &SaverSettings::DefaultMusic, 1},
    {"CustomMusic", &SaverSettings::CustomMusic, 0},
    {"FastMode", &SaverSettings::FastMode, 0},
    {"StretchWallpaper", &SaverSettings::StretchWallpaper, 0},
    {"ShowSpeedtip", &SaverSettings::ShowSpeedtip, 1},
    {"ShowBugReport", &SaverSettings::ShowBugReport, 1},
    {"CrashFlag", &SaverSettings::CrashFlag, 0},
    {"DoChecksum", &SaverSettings::DoChecksum, 0},
    {"CriticalError", &SaverSettings::CriticalError, 0},
    {"BlankAllScreens", &SaverSettings::BlankAllScreens, 1},
    {"CramImages", &SaverSettings::CramImages, 1},
    {"CramSize", &SaverSettings::CramSize, 1024},
    {"AutoPerformance", &SaverSettings::AutoPerformance, 0},
    {"ShowCaptions", &SaverSettings::ShowCaptions, 0},
    {"CaptionFontSize", &SaverSettings::CaptionFontSize, -22},
    {"CaptionOrientation", &SaverSettings::CaptionOrientation, 0},
};

constexpr GUID kGuid = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

Bytes BytesOfGuid(const GUID& guid) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(&guid);
  return Bytes(bytes, bytes + sizeof guid);
}

void ExpectDefaults(const SaverSettings& settings) {
  for (const DwordField& value : kDwordFields)
    EXPECT_EQ(settings.*value.field, value.byDefault) << value.name;
  EXPECT_EQ(settings.PasswordDelay, 15u);
  EXPECT_EQ(settings.MouseThreshold, 50);
  EXPECT_EQ(settings.CaptionFont, "Arial");
  EXPECT_EQ(settings.DispModeWidth, 0);
  EXPECT_EQ(settings.DispModeHeight, 0);
  EXPECT_EQ(settings.DispModeBits, 0);
  EXPECT_EQ(settings.MusicVol, 255);
  EXPECT_EQ(settings.ImageDelay, 10.0f);
  EXPECT_EQ(settings.CaptionItalic, 1);
  EXPECT_EQ(settings.CaptionBold, 1);
  EXPECT_EQ(settings.AvgFps, 100.0f);
  EXPECT_TRUE(GuidEqual(settings.VideoGUID, GUID{}));
}

class Settings : public testing::Test {
 protected:
  RegistrySandbox user{HKEY_CURRENT_USER, "Software\\Tarnwick\\TarnwickSaver\\Velmora2"};
  RegistrySandbox machine{HKEY_LOCAL_MACHINE, "Software\\Tarnwick\\TarnwickSaver\\Velmora2"};
  RegistrySandbox system{HKEY_LOCAL_MACHINE,
                         "Software\\Microsoft\\Windows\\CurrentVersion\\Screen Savers"};
  SaverSettings settings;
};

// --- Defaults ---

TEST_F(Settings, ANewRecordHoldsTheDefaults) {
  ExpectDefaults(settings);
  EXPECT_EQ(settings.hWnd, nullptr);
  EXPECT_EQ(settings.MuteSound, 0);
  EXPECT_EQ(settings.TimerId, 0u);
  EXPECT_EQ(settings.DialogActive, 0);
  EXPECT_EQ(settings.SuppressActivateClose, 0);
  EXPECT_EQ(settings.CloseRequested, 0);
  EXPECT_EQ(settings.SaverActive, 0);
  EXPECT_EQ(settings.CloseLatched, 0);
}

TEST_F(Settings, AnEmptyRegistryGivesTheDefaults) {
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.ReadRegistry(), ERROR_FILE_NOT_FOUND);
  ExpectDefaults(settings);
  EXPECT_FALSE(user.KeyExists()) << "reading must not make the key";
}

TEST_F(Settings, EmptyKeysGiveTheDefaults) {
  user.CreateKey();
  machine.CreateKey();
  system.CreateKey();
  settings.ReadGeneralRegistry();
  settings.ReadRegistry();
  ExpectDefaults(settings);
}

// --- The system's values ---

TEST_F(Settings, TheSystemsValuesAreTaken) {
  system.SetDword("Password Delay", 42);
  system.SetDword("Mouse Threshold", 7);
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.PasswordDelay, 42u);
  EXPECT_EQ(settings.MouseThreshold, 7);
  EXPECT_EQ(settings.PlayMusic, 1);
}

TEST_F(Settings, TheTypeOfTheSystemsValuesDoesNotCount) {
  system.Set("Password Delay", {REG_BINARY, {1, 2, 0, 0}});
  system.Set("Mouse Threshold", {REG_SZ, {9, 0, 0, 0}});
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.PasswordDelay, 0x201u);
  EXPECT_EQ(settings.MouseThreshold, 9);
}

TEST_F(Settings, ASystemValueOfMoreThanFourBytesIsIgnored) {
  system.Set("Password Delay", {REG_BINARY, {1, 0, 0, 0, 0, 0, 0, 0}});
  system.SetDword("Mouse Threshold", 8);
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.PasswordDelay, 15u);
  EXPECT_EQ(settings.MouseThreshold, 8);
}

TEST_F(Settings, ReadingTheSystemsValuesStartsFromTheirDefaults) {
  settings.PasswordDelay = 1;
  settings.MouseThreshold = 2;
  settings.DialogActive = 1;
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.PasswordDelay, 15u);
  EXPECT_EQ(settings.MouseThreshold, 50);
  EXPECT_EQ(settings.DialogActive, 0);
}

TEST_F(Settings, TheSystemsMuteTurnsMusicOff) {
  system.SetDword("Mute Sound", 1);
  user.CreateKey();
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.MuteSound, 1);
  settings.ReadRegistry();
  EXPECT_EQ(settings.PlayMusic, 0);
}

TEST_F(Settings, AMuteOfZeroLeavesMusicOn) {
  system.SetDword("Mute Sound", 0);
  settings.ReadGeneralRegistry();
  EXPECT_EQ(settings.PlayMusic, 1);
}

TEST_F(Settings, AStoredPlayMusicUndoesTheSystemsMute) {
  system.SetDword("Mute Sound", 1);
  user.SetDword("PlayMusic", 1);
  settings.ReadGeneralRegistry();
  settings.ReadRegistry();
  EXPECT_EQ(settings.PlayMusic, 1);
}

// --- The user's values: reading ---

TEST_F(Settings, EachNumberGoesToItsOwnField) {
  std::uint32_t number = 1000;
  for (const DwordField& value : kDwordFields) user.SetDword(value.name, number++);
  settings.ReadRegistry();
  std::int32_t expected = 1000;
  for (const DwordField& value : kDwordFields)
    EXPECT_EQ(settings.*value.field, expected++) << value.name;
}

TEST_F(Settings, ANumberMayBeNegative) {
  user.SetDword("CaptionFontSize", static_cast<std::uint32_t>(-40));
  settings.ReadRegistry();
  EXPECT_EQ(settings.CaptionFontSize, -40);
}

TEST_F(Settings, CaptionStylesBecomeOneForAnyValueButZero) {
  user.SetDword("CaptionItalic", 0);
  user.SetDword("CaptionBold", 256);
  settings.CaptionBold = 0;
  settings.ReadRegistry();
  EXPECT_EQ(settings.CaptionItalic, 0);
  EXPECT_EQ(settings.CaptionBold, 1);
}

TEST_F(Settings, TextsAreRead) {
  user.SetText("MusicVol", "128");
  user.SetText("AvgFps", "31.25");
  user.SetText("ImageDelay", "2.500000");
  user.SetText("DispModeWidth", "800");
  user.SetText("DispModeHeight", "600");
  user.SetText("DispModeBits", "32");
  user.SetText("CaptionFont", "Courier New");
  settings.ReadRegistry();
  EXPECT_EQ(settings.MusicVol, 128);
  EXPECT_EQ(settings.AvgFps, 31.25f);
  EXPECT_EQ(settings.ImageDelay, 2.5f);
  EXPECT_EQ(settings.DispModeWidth, 800);
  EXPECT_EQ(settings.DispModeHeight, 600);
  EXPECT_EQ(settings.DispModeBits, 32);
  EXPECT_EQ(settings.CaptionFont, "Courier New");
}

TEST_F(Settings, ATextThatIsNoNumberReadsAsZero) {
  user.SetText("MusicVol", "loud");
  user.SetText("ImageDelay", "long");
  settings.ReadRegistry();
  EXPECT_EQ(settings.MusicVol, 0);
  EXPECT_EQ(settings.ImageDelay, 0.0f);
}

TEST_F(Settings, RangesAreNotChecked) {
  user.SetText("MusicVol", "-3000");
  user.SetText("ImageDelay", "-1.5");
  user.SetDword("CaptionOrientation", 99);
  settings.ReadRegistry();
  EXPECT_EQ(settings.MusicVol, -3000);
  EXPECT_EQ(settings.ImageDelay, -1.5f);
  EXPECT_EQ(settings.CaptionOrientation, 99);
}

TEST_F(Settings, ATextEndsAtItsFirstZeroByte) {
  user.Set("CaptionFont", {REG_SZ, {'A', 'b', 0, 'x', 'y', 0}});
  settings.ReadRegistry();
  EXPECT_EQ(settings.CaptionFont, "Ab");
}

TEST_F(Settings, ATextOf1024BytesIsReadWhole) {
  Bytes longest(1024, 'f');
  longest.back() = 0;
  user.Set("CaptionFont", {REG_SZ, longest});
  settings.ReadRegistry();
  EXPECT_EQ(settings.CaptionFont, std::string(1023, 'f'));
}

TEST_F(Settings, ALongerTextKeepsTheDefault) {
  Bytes tooLong(1025, 'f');
  tooLong.back() = 0;
  user.Set("CaptionFont", {REG_SZ, tooLong});
  user.Set("MusicVol", {REG_SZ, Bytes(2000, '9')});
  settings.ReadRegistry();
  EXPECT_EQ(settings.CaptionFont, "Arial");
  EXPECT_EQ(settings.MusicVol, 255);
}

TEST_F(Settings, ANumberOfMoreThanFourBytesKeepsItsDefaultAndSpoilsNoOther) {
  for (const DwordField& value : kDwordFields) user.SetDword(value.name, 77);
  for (const char* name : {"MipMap", "PlayMusic", "CramSize"})
    user.Set(name, {REG_DWORD, {1, 2, 3, 4, 5, 6, 7, 8}});
  settings.ReadRegistry();
  for (const DwordField& value : kDwordFields) {
    const bool wrong = value.field == &SaverSettings::MipMap ||
                       value.field == &SaverSettings::PlayMusic ||
                       value.field == &SaverSettings::CramSize;
    EXPECT_EQ(settings.*value.field, wrong ? value.byDefault : 77) << value.name;
  }
}

TEST_F(Settings, AShortNumberKeepsItsDefaultAndSpoilsNoOther) {
  user.Set("MipMap", {REG_DWORD, {0, 0}});
  user.SetDword("PlayMusic", 0);
  settings.ReadRegistry();
  EXPECT_EQ(settings.MipMap, 1);
  EXPECT_EQ(settings.PlayMusic, 0);
}

TEST_F(Settings, ValuesOfAWrongTypeKeepTheirDefaults) {
  user.SetText("CramSize", "512");
  user.SetDword("MusicVol", 0x31);  // the text "1", if the type didn't count
  user.SetDword("CaptionFont", 0x41);
  settings.ReadRegistry();
  EXPECT_EQ(settings.CramSize, 1024);
  EXPECT_EQ(settings.MusicVol, 255);
  EXPECT_EQ(settings.CaptionFont, "Arial");
}

// Nothing but four bytes of the right type is a number, and nothing but 1024 bytes of
// text at most is a text.
TEST_F(Settings, ValuesOfAnyTypeAndLengthAreTakenOrLeft) {
  constexpr DWORD kLastType = REG_QWORD;
  constexpr std::size_t kLengths[] = {0, 1,  2,  3,    4,    5,    7,   8,
                                      63, 64, 1022, 1023, 1024, 1025, 70000};
  for (DWORD type = REG_NONE; type <= kLastType; ++type)
    for (const std::size_t length : kLengths) {
      SCOPED_TRACE(testing::Message() << "type " << type << ", " << length << " bytes");
      const RegistryValue odd{type, Bytes(length, '7')};
      for (const DwordField& value : kDwordFields) user.Set(value.name, odd);
      for (const char* name : {"MusicVol", "CaptionFont"}) user.Set(name, odd);
      for (const char* name : {"Password Delay", "Mouse Threshold"}) system.Set(name, odd);
      SaverSettings read;
      read.ReadGeneralRegistry();
      read.ReadRegistry();
      const bool number = type == REG_DWORD && length == 4;
      const bool text = type == REG_SZ && length > 0 && length < 1024;
      for (const DwordField& value : kDwordFields)
        EXPECT_EQ(read.*value.field, number ? 0x37373737 : value.byDefault) << value.name;
      EXPECT_EQ(read.MouseThreshold, length == 4 ? 0x37373737 : 50) << "of any type";
      if (text) {
        EXPECT_EQ(read.CaptionFont, std::string(length, '7'));
      } else if (type != REG_SZ || length > 1024) {
        EXPECT_EQ(read.CaptionFont, "Arial");
      }
    }
}

// --- The machine's value ---

TEST_F(Settings, TheCardOfTheLastRunIsRead) {
  user.CreateKey();
  machine.Set("VideoGUID", {REG_BINARY, BytesOfGuid(kGuid)});
  EXPECT_EQ(settings.ReadRegistry(), ERROR_SUCCESS);
  EXPECT_TRUE(GuidEqual(settings.VideoGUID, kGuid));
}

TEST_F(Settings, AShortCardIsFilledWithZeroesAndALongOneIsCut) {
  user.CreateKey();
  machine.Set("VideoGUID", {REG_BINARY, {4, 3, 2, 1}});
  settings.ReadRegistry();
  EXPECT_TRUE(GuidEqual(settings.VideoGUID, GUID{0x01020304, 0, 0, {}}));
  Bytes longer = BytesOfGuid(kGuid);
  longer.resize(100, 0xFF);
  machine.Set("VideoGUID", {REG_BINARY, longer});
  settings.ReadRegistry();
  EXPECT_TRUE(GuidEqual(settings.VideoGUID, kGuid));
}

TEST_F(Settings, WithoutTheUsersKeyTheMachinesIsNotRead) {
  machine.Set("VideoGUID", {REG_BINARY, BytesOfGuid(kGuid)});
  EXPECT_EQ(settings.ReadRegistry(), ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(GuidEqual(settings.VideoGUID, GUID{}));
}

TEST_F(Settings, KeysAreOpenedForReadingOnly) {
  user.CreateKey();
  machine.CreateKey();
  system.CreateKey();
  std::vector<REGSAM> accesses;
  HOOK_IMPORT(hook, "advapi32.dll", RegOpenKeyExA,
              [&](HKEY root, LPCSTR path, DWORD options, REGSAM access, PHKEY key) -> LSTATUS {
                accesses.push_back(access);
                return REAL_IMPORT("advapi32.dll", RegOpenKeyExA)(root, path, options, access, key);
              });
  settings.ReadGeneralRegistry();
  settings.ReadRegistry();
  EXPECT_THAT(accesses, testing::ElementsAre(0x20019u, 0x20019u, 0x20019u));
}

// --- Writing ---

struct Written {
  std::string name;
  DWORD type;
  DWORD size;
};

// Records what goes into the registry, in order.
std::vector<Written> WritesOf(const SaverSettings& settings) {
  std::vector<Written> writes;
  HOOK_IMPORT(hook, "advapi32.dll", RegSetValueExA,
              [&](HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                  DWORD size) -> LSTATUS {
                writes.push_back({name, type, size});
                return REAL_IMPORT("advapi32.dll", RegSetValueExA)(key, name, reserved, type, data,
                                                                   size);
              });
  EXPECT_EQ(settings.WriteRegistry(), ERROR_SUCCESS);
  return writes;
}

TEST_F(Settings, ValuesAreWrittenInTheirOrderWithTypeAndSize) {
  const std::vector<Written> writes = WritesOf(settings);
  std::vector<std::string> numbers;
  std::vector<std::string> texts;
  for (const Written& write : writes) {
    (write.type == REG_DWORD ? numbers : texts).push_back(write.name);
    if (write.type == REG_DWORD)
      EXPECT_EQ(write.size, 4u) << write.name;
    else
      EXPECT_EQ(write.type, static_cast<DWORD>(REG_SZ)) << write.name;
  }
  EXPECT_THAT(numbers,
              testing::ElementsAre(
                  "MipMap", "PlayMusic", "ShuffleMusic", "DebugLog", "BitmapText", "ShowSpeedTip",
                  "ShowBugReport", "SetAsWallpaper", "RandomOrder", "Animate", "Crossfade",
                  "DefaultMusic", "CustomMusic", "FastMode", "StretchWallpaper", "BlankAllScreens",
                  "CramImages", "CramSize", "AutoPerformance", "ShowCaptions", "CaptionFontSize",
                  "CaptionOrientation", "CaptionItalic", "CaptionBold"));
  EXPECT_THAT(texts, testing::ElementsAre("MusicVol", "DispModeWidth", "DispModeHeight",
                                          "DispModeBits", "ImageDelay", "CaptionFont"));
  EXPECT_EQ(writes[23].name, "CaptionBold") << "all numbers come before all texts";
}

// A text in a field of `size` bytes, the rest zero.
Bytes Padded(const std::string& text, std::size_t size) {
  Bytes bytes(text.begin(), text.end());
  bytes.resize(size, 0);
  return bytes;
}

void ExpectText(const RegistrySandbox& key, const char* name, const std::string& text,
                std::size_t size) {
  const auto value = key.Get(name);
  ASSERT_TRUE(value) << name;
  EXPECT_EQ(value->type, static_cast<DWORD>(REG_SZ)) << name;
  EXPECT_EQ(value->data, Padded(text, size)) << name;
}

TEST_F(Settings, FormattedNumbersTake64BytesPaddedWithZeroes) {
  settings.MusicVol = -7;
  settings.DispModeWidth = 1024;
  settings.DispModeHeight = 768;
  settings.DispModeBits = 16;
  settings.WriteRegistry();
  ExpectText(user, "MusicVol", "-7", 64);
  ExpectText(user, "DispModeWidth", "1024", 64);
  ExpectText(user, "DispModeHeight", "768", 64);
  ExpectText(user, "DispModeBits", "16", 64);
  ExpectText(user, "ImageDelay", "10.000000", 64);
}

TEST_F(Settings, TheFontsNameTakesFourTimesItsLength) {
  settings.WriteRegistry();
  ExpectText(user, "CaptionFont", "Arial", 20);
  settings.CaptionFont = "X";
  settings.WriteRegistry();
  ExpectText(user, "CaptionFont", "X", 4);
}

TEST_F(Settings, TheLargestDelayFitsItsBuffer) {
  settings.ImageDelay = -3.4028235e38f;
  settings.WriteRegistry();
  const auto text = user.Text("ImageDelay");
  ASSERT_TRUE(text);
  EXPECT_EQ(text->substr(0, 5), "-3402");
  SaverSettings read;
  read.ReadRegistry();
  EXPECT_EQ(read.ImageDelay, settings.ImageDelay);
}

TEST_F(Settings, WhatIsWrittenIsReadBack) {
  std::int32_t number = 500;
  for (const DwordField& value : kDwordFields) settings.*value.field = number++;
  settings.CaptionItalic = 0;
  settings.CaptionBold = 1;
  settings.MusicVol = 12;
  settings.DispModeWidth = 640;
  settings.DispModeHeight = 480;
  settings.DispModeBits = 8;
  settings.ImageDelay = 0.25f;
  settings.CaptionFont = "A rather long name of a font, \xE4\xF6\xFC";
  settings.WriteRegistry();

  SaverSettings read;
  read.ReadRegistry();
  number = 500;
  for (const DwordField& value : kDwordFields) {
    const std::string name = value.name;
    const bool hasItsOwnWriter =
        name == "CrashFlag" || name == "DoChecksum" || name == "CriticalError";
    EXPECT_EQ(read.*value.field, hasItsOwnWriter ? 0 : number) << name;
    ++number;
  }
  EXPECT_EQ(read.CaptionItalic, 0);
  EXPECT_EQ(read.CaptionBold, 1);
  EXPECT_EQ(read.MusicVol, 12);
  EXPECT_EQ(read.DispModeWidth, 640);
  EXPECT_EQ(read.DispModeHeight, 480);
  EXPECT_EQ(read.DispModeBits, 8);
  EXPECT_EQ(read.ImageDelay, 0.25f);
  EXPECT_EQ(read.CaptionFont, settings.CaptionFont);
}

TEST_F(Settings, AnEmptyFontNameSurvives) {
  settings.CaptionFont.clear();
  settings.WriteRegistry();
  SaverSettings read;
  read.ReadRegistry();
  EXPECT_EQ(read.CaptionFont, "");
}

TEST_F(Settings, TheFrameRateAndTheRunFlagsAreNotAmongTheSettings) {
  settings.CrashFlag = settings.DoChecksum = settings.CriticalError = 1;
  settings.WriteRegistry();
  for (const char* name : {"AvgFps", "CrashFlag", "DoChecksum", "CriticalError", "VideoGUID"})
    EXPECT_FALSE(user.Get(name)) << name;
}

TEST_F(Settings, AKeyThatCannotBeMadeGivesItsStatusAndWritesNothing) {
  HOOK_IMPORT(hook, "advapi32.dll", RegCreateKeyExA,
              [](HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, SECURITY_ATTRIBUTES*, PHKEY,
                 LPDWORD) -> LSTATUS { return ERROR_ACCESS_DENIED; });
  EXPECT_EQ(settings.WriteRegistry(), ERROR_ACCESS_DENIED);
  EXPECT_FALSE(user.KeyExists());
}

TEST_F(Settings, KeysAreMadeWithWriteAccess) {
  std::vector<REGSAM> accesses;
  HOOK_IMPORT(hook, "advapi32.dll", RegCreateKeyExA,
              [&](HKEY root, LPCSTR path, DWORD reserved, LPSTR type, DWORD options, REGSAM access,
                  SECURITY_ATTRIBUTES* security, PHKEY key, LPDWORD disposition) -> LSTATUS {
                accesses.push_back(access);
                return REAL_IMPORT("advapi32.dll", RegCreateKeyExA)(
                    root, path, reserved, type, options, access, security, key, disposition);
              });
  settings.WriteRegistry();
  SetCrashFlag(1);
  EXPECT_THAT(accesses, testing::ElementsAre(0x20006u, 0x20006u));
}

// --- Single values ---

TEST_F(Settings, TheRunFlagsAreWrittenAtOnceAndNotToTheRecord) {
  const support::SessionState session;
  SetCrashFlag(1);
  SetDoChecksum(1);
  EXPECT_EQ(user.Dword("CrashFlag"), 1u);
  EXPECT_EQ(user.Dword("DoChecksum"), 1u);
  EXPECT_EQ(ss->CrashFlag, 0);
  EXPECT_EQ(ss->DoChecksum, 0);
  SetCrashFlag(0);
  SetDoChecksum(0);
  EXPECT_EQ(user.Dword("CrashFlag"), 0u);
  EXPECT_EQ(user.Dword("DoChecksum"), 0u);
}

TEST_F(Settings, ACriticalErrorGoesToTheRegistryAndTheRecord) {
  const support::SessionState session;
  SetCriticalError(2);
  EXPECT_EQ(user.Dword("CriticalError"), 2u);
  EXPECT_EQ(ss->CriticalError, 2);
}

TEST_F(Settings, ACriticalErrorThatCannotBeWrittenIsNotInTheRecordEither) {
  const support::SessionState session;
  HOOK_IMPORT(hook, "advapi32.dll", RegCreateKeyExA,
              [](HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, SECURITY_ATTRIBUTES*, PHKEY,
                 LPDWORD) -> LSTATUS { return ERROR_ACCESS_DENIED; });
  SetCriticalError(1);
  EXPECT_EQ(ss->CriticalError, 0);
  EXPECT_FALSE(user.KeyExists());
}

TEST_F(Settings, ACriticalErrorWithoutARecordIsHarmless) {
  SetCriticalError(1);
  EXPECT_EQ(user.Dword("CriticalError"), 1u);
}

TEST_F(Settings, ASingleTextIsStoredWithItsTerminator) {
  WriteSettingsText("AvgFps", "61.5");
  ExpectText(user, "AvgFps", "61.5", 5);
}

TEST_F(Settings, AMachineValueIsStoredAsBytes) {
  const unsigned char bytes[] = {0, 1, 2, 0xFF};
  EXPECT_TRUE(SetMachineBinary(kMachineKey, "VideoGUID", bytes, sizeof bytes));
  const auto value = machine.Get("VideoGUID");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(value->data, Bytes({0, 1, 2, 0xFF}));
}

TEST_F(Settings, AMachineValueThatCannotBeWrittenIsReported) {
  {
    HOOK_IMPORT(noKey, "advapi32.dll", RegCreateKeyExA,
                [](HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, SECURITY_ATTRIBUTES*, PHKEY,
                   LPDWORD) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    EXPECT_FALSE(SetMachineBinary(kMachineKey, "VideoGUID", "x", 1));
  }
  HOOK_IMPORT(noValue, "advapi32.dll", RegSetValueExA,
              [](HKEY, LPCSTR, DWORD, DWORD, const BYTE*, DWORD) -> LSTATUS {
                return ERROR_ACCESS_DENIED;
              });
  EXPECT_FALSE(SetMachineBinary(kMachineKey, "VideoGUID", "x", 1));
}

TEST(GuidEqual, ComparesEveryPart) {
  EXPECT_TRUE(GuidEqual(kGuid, kGuid));
  GUID other = kGuid;
  other.Data1 ^= 1;
  EXPECT_FALSE(GuidEqual(kGuid, other));
  other = kGuid;
  other.Data2 ^= 1;
  EXPECT_FALSE(GuidEqual(kGuid, other));
  other = kGuid;
  other.Data3 ^= 1;
  EXPECT_FALSE(GuidEqual(kGuid, other));
  for (unsigned char& byte : other.Data4) {
    other = kGuid;
    byte ^= 1;
    EXPECT_FALSE(GuidEqual(kGuid, other));
  }
}

}  // namespace
