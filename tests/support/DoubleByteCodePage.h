#pragma once
// While one lives, the code linked into the test program takes the byte B3 for
// the first of a character of two bytes, as in code pages of East Asia: what
// follows it is no backslash then, though it may be the byte of one. The system
// itself knows nothing of it.

#include "support/ImportHook.h"

namespace support {

class DoubleByteCodePage {
 private:
  static BOOL WINAPI IsLeadByte(BYTE byte) { return byte == 0xB3; }
  ImportHook hook_{"kernel32.dll", "IsDBCSLeadByte", &IsLeadByte};
};

}  // namespace support
