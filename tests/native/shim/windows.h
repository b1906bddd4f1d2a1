#pragma once
// Stands in for the Windows headers where portable code is built for this
// machine: the very few calls that such code makes, and the types that headers
// name on the way to them. Handles of several kinds are never made here.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using BOOL = int;
using BYTE = unsigned char;
using DWORD = std::uint32_t;
using UINT = unsigned;
using LONG = std::int32_t;
using REGSAM = DWORD;
using HANDLE = void*;
using HMODULE = struct Module*;
using HINSTANCE = HMODULE;
using HWND = struct Window*;
using HDC = struct DeviceContext*;
using HBITMAP = struct Bitmap*;
using HFONT = struct Font*;
using HBRUSH = struct Brush*;
using HPEN = struct Pen*;
using HGDIOBJ = void*;
using HKEY = struct RegistryKey*;

struct POINT {
  LONG x, y;
};

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2, Data3;
  std::uint8_t Data4[8];
};

inline BOOL DeleteFileA(const char* path) { return std::remove(path) == 0; }
inline BOOL IsDBCSLeadByte(BYTE) { return 0; }  // a code page of one byte a character
inline void OutputDebugStringA(const char*) {}

constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
// Takes the place of what is there, as rename does on this machine anyway.
inline BOOL MoveFileExA(const char* from, const char* to, DWORD) {
  return std::rename(from, to) == 0;
}

constexpr std::size_t MAX_PATH = 260;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(-1);
BOOL CloseHandle(HANDLE handle);
BOOL FreeLibrary(HMODULE module);
void* GetProcAddress(HMODULE module, const char* name);
BOOL DeleteDC(HDC dc);
BOOL DeleteObject(HGDIOBJ object);
BOOL FindClose(HANDLE search);
HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
HDC GetDC(HWND window);
HDC GetWindowDC(HWND window);
int ReleaseDC(HWND window, HDC dc);

// --- The registry: kept in memory by shim/registry.cpp ---

constexpr LONG ERROR_SUCCESS = 0;
constexpr LONG ERROR_FILE_NOT_FOUND = 2;
constexpr LONG ERROR_MORE_DATA = 234;

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;

constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;

extern const HKEY HKEY_CURRENT_USER;
extern const HKEY HKEY_LOCAL_MACHINE;

LONG RegOpenKeyExA(HKEY root, const char* path, DWORD options, REGSAM access, HKEY* opened);
LONG RegCreateKeyExA(HKEY root, const char* path, DWORD reserved, char* className, DWORD options,
                     REGSAM access, void* security, HKEY* opened, DWORD* disposition);
LONG RegCloseKey(HKEY key);
LONG RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* size);
LONG RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type, const BYTE* data,
                    DWORD size);
