#include "support/Installation.h"

#include "base/win.h"
#include "support/Bytes.h"

namespace support {

namespace {

constexpr char kSaver[] = "Velmora2.scr";

// Bit by bit, to be independent of the program's own.
std::uint32_t Crc32(const Bytes& bytes) {
  std::uint32_t value = 0xFFFFFFFF;
  for (const unsigned char byte : bytes) {
    value ^= byte;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) ? 0xEDB88320u : 0);
  }
  return ~value;
}

std::string CopyOfSaver() {
  char folder[MAX_PATH] = "";
  GetWindowsDirectoryA(folder, sizeof folder);
  return std::string(folder) + "\\" + kSaver;
}

}  // namespace

// Eight words; the fourth and the last belong to no file.
Installation::Installation() {
  Bytes sums;
  for (const char* name : {"BTNexgenIPL32.dll", "fmod.dll", "images.bdl", "", kSaver, kSaver,
                           "Velmora2.exe", ""}) {
    const Bytes content = BytesOf(std::string("This is ") + name);
    if (*name) folder_.Write(name, content);
    AppendU32(sums, *name ? Crc32(content) : 0);
  }
  folder_.Write("chk.sum", sums);
  WriteWholeFile(CopyOfSaver(), ReadWholeFile(folder_.File(kSaver)));
}

Installation::~Installation() { DeleteFileA(CopyOfSaver().c_str()); }

void Installation::Damage(const std::string& name) const {
  folder_.Write(name, BytesOf("damaged"));
}

}  // namespace support
