#pragma once
// The files that chk.sum in the install folder tells the CRC-32 of. It is a
// little-endian word of 32 bits for each entry below, in this order; whatever
// follows them is ignored. tools/chksum/chksum.py writes it for the build,
// MakeBundle for a user who has put other slides in.

#include <cstddef>

struct SummedFile {
  const char* name;              // null for a word that stands for no file, and is 0
  bool inWindowsFolder = false;  // a copy of the one in the install folder
};

inline constexpr char kSumsFileName[] = "chk.sum";
inline constexpr SummedFile kSummedFiles[] = {
    {"BTNexgenIPL32.dll"},  {"fmod.dll"},     {"images.bdl"},   {nullptr},
    {"Velmora2.scr", true}, {"Velmora2.scr"}, {"Velmora2.exe"}, {nullptr},
};
inline constexpr std::size_t kSumCount = sizeof kSummedFiles / sizeof *kSummedFiles;
