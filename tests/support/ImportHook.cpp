#include "support/ImportHook.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace support {
namespace {

unsigned char* ImageBase() { return reinterpret_cast<unsigned char*>(GetModuleHandleA(nullptr)); }

template <class T>
T* AtRva(DWORD rva) {
  return reinterpret_cast<T*>(ImageBase() + rva);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstDescriptor() {
  const auto* dos = AtRva<IMAGE_DOS_HEADER>(0);
  const auto* headers = AtRva<IMAGE_NT_HEADERS>(static_cast<DWORD>(dos->e_lfanew));
  const IMAGE_DATA_DIRECTORY& imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  return imports.VirtualAddress ? AtRva<IMAGE_IMPORT_DESCRIPTOR>(imports.VirtualAddress) : nullptr;
}

void CollectSlots(const IMAGE_IMPORT_DESCRIPTOR& descriptor, const char* function,
                  std::vector<void**>& slots) {
  const auto* name = AtRva<IMAGE_THUNK_DATA>(descriptor.OriginalFirstThunk);
  auto* address = AtRva<IMAGE_THUNK_DATA>(descriptor.FirstThunk);
  for (; name->u1.AddressOfData; ++name, ++address) {
    if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
    const auto* byName = AtRva<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData);
    if (std::strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0)
      slots.push_back(reinterpret_cast<void**>(&address->u1.Function));
  }
}

// A program may import one function through several descriptors, one for each
// import library that was linked.
std::vector<void**> FindSlots(const char* dll, const char* function) {
  std::vector<void**> slots;
  const IMAGE_IMPORT_DESCRIPTOR* descriptor = FirstDescriptor();
  for (; descriptor && descriptor->Name; ++descriptor)
    if (lstrcmpiA(AtRva<const char>(descriptor->Name), dll) == 0)
      CollectSlots(*descriptor, function, slots);
  return slots;
}

// The table may lie in a read-only section.
void Write(void** slot, void* value) {
  DWORD protection = 0;
  VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
  *slot = value;
  VirtualProtect(slot, sizeof *slot, protection, &protection);
}

// Asked for before any hook, so that GetProcAddress itself can be hooked, too.
const auto realGetProcAddress = reinterpret_cast<decltype(&GetProcAddress)>(
    reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "GetProcAddress")));

}  // namespace

ImportHook::ImportHook(Plain, const char* dll, const char* function, void* replacement) {
  for (void** slot : FindSlots(dll, function)) {
    patches_.push_back({slot, *slot});
    Write(slot, replacement);
  }
  if (patches_.empty())
    throw std::runtime_error(std::string("this program doesn't import ") + function + " from " +
                             dll);
}

ImportHook::~ImportHook() {
  for (const Patch& patch : patches_) Write(patch.slot, patch.previous);
}

bool ImportHook::Exists(const char* dll, const char* function) {
  return !FindSlots(dll, function).empty();
}

void* ImportHook::Real(const char* dll, const char* function) {
  return reinterpret_cast<void*>(realGetProcAddress(GetModuleHandleA(dll), function));
}

}  // namespace support
