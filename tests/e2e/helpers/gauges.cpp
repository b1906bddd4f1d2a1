#include "gauges.h"

#include "base/win_owned.h"

#include <algorithm>
#include <cstdint>
#include <vector>
#include <winternl.h>

namespace {

// ---- Handles

constexpr auto kExtendedHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(64);
constexpr ULONG kFirstListSize = 64 * 1024;
constexpr NTSTATUS kListIsLonger = static_cast<NTSTATUS>(0xC0000004);

// The system's list of all handles, as it is for 32-bit programs.
struct HandleEntry {
  std::uint32_t object;
  std::uint32_t process;
  std::uint32_t handle;
  std::uint32_t access;
  std::uint16_t creator;
  std::uint16_t type;
  std::uint32_t attributes;
  std::uint32_t reserved;
};
static_assert(sizeof(HandleEntry) == 28);

struct HandleList {
  std::uint32_t count;
  std::uint32_t reserved;
  HandleEntry entries[1];
};

// ---- GDI objects

// The process environment block of a 32-bit process holds the address of the
// table of GDI handles here.
constexpr std::uintptr_t kGdiTableField = 0x94;
constexpr std::size_t kGdiTableSize = 65536;

// An entry of that table; free ones have no type.
struct GdiTableEntry {
  std::uint64_t object;
  std::uint32_t owner;
  std::uint16_t unique;
  std::uint8_t type;
  std::uint8_t flags;
  std::uint64_t userPointer;
};
static_assert(sizeof(GdiTableEntry) == 24);

bool Read(HANDLE process, std::uintptr_t address, void* to, std::size_t size) {
  SIZE_T got = 0;
  return ReadProcessMemory(process, reinterpret_cast<LPCVOID>(address), to, size, &got) &&
         got == size;
}

// 0 if it can't be found.
std::uintptr_t GdiTableOf(HANDLE process) {
  PROCESS_BASIC_INFORMATION basic = {};
  std::uint32_t table = 0;
  if (NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr) ||
      !Read(process, reinterpret_cast<std::uintptr_t>(basic.PebBaseAddress) + kGdiTableField,
            &table, sizeof table))
    return 0;
  return table;
}

// ---- USER objects

// Of a handle's two halves, the lower one is its place in the desktop's table:
// every other number from this one on.
constexpr DWORD kFirstUserPlace = 0x20;
// Places that this program keeps free for all others: what they make takes one of
// these, so that the table grows for the counting alone.
constexpr std::size_t kUserReserve = 1024;

DWORD PlaceOf(HMENU menu) {
  const auto number = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(menu));
  return ((number & 0xFFFF) - kFirstUserPlace) / 2;
}

using Menu = Owned<HMENU, DestroyMenu>;

}  // namespace

std::map<DWORD, DWORD> CountHandles() {
  std::vector<BYTE> bytes(kFirstListSize);
  ULONG needed = 0;
  NTSTATUS status;
  while ((status = NtQuerySystemInformation(kExtendedHandleInformation, bytes.data(),
                                            static_cast<ULONG>(bytes.size()), &needed)) ==
         kListIsLonger)
    bytes.resize(bytes.size() * 2);
  std::map<DWORD, DWORD> counts;
  if (status) return counts;
  const auto* list = reinterpret_cast<const HandleList*>(bytes.data());
  for (std::uint32_t at = 0; at < list->count; ++at) ++counts[list->entries[at].process];
  return counts;
}

std::optional<DWORD> CountGdiObjects(DWORD id) {
  const KernelHandle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id));
  const std::uintptr_t table = process ? GdiTableOf(process.get()) : 0;
  std::vector<GdiTableEntry> entries(kGdiTableSize);
  if (!table || !Read(process.get(), table, entries.data(), entries.size() * sizeof entries[0]))
    return std::nullopt;
  DWORD used = 0;
  for (const GdiTableEntry& entry : entries) used += entry.type != 0;
  return used;
}

// Free places are taken before the table grows: once a menu stands behind all
// that were ever seen, every place before it is taken, by these menus or by others.
std::optional<DWORD> CountUserObjects() {
  static DWORD tableSize = 0;
  std::vector<Menu> menus;
  DWORD place = 0;
  DWORD highest = 0;
  while (place < tableSize || menus.size() < kUserReserve) {
    menus.emplace_back(CreateMenu());
    if (!menus.back()) return std::nullopt;
    place = PlaceOf(menus.back().get());
    highest = std::max(highest, place);
  }
  tableSize = highest + 1;
  return tableSize - static_cast<DWORD>(menus.size());
}
