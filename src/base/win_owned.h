#pragma once
// Owners for Windows handles that live within one function or one class. An
// owner is as big as its handle, can be moved and not copied, and closes what
// it holds at the end of its scope.

#include "base/win.h"

#include <utility>

template <class Handle, auto Close>
class Owned {
 public:
  Owned() = default;
  explicit Owned(Handle handle) : handle_(handle) {}
  Owned(Owned&& other) noexcept : handle_(other.release()) {}
  Owned& operator=(Owned&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Owned() { reset(); }

  Handle get() const { return handle_; }
  explicit operator bool() const { return handle_ != Handle{}; }

  // Gives the handle away: the caller closes it.
  Handle release() { return std::exchange(handle_, Handle{}); }
  void reset(Handle handle = Handle{}) {
    if (Handle old = std::exchange(handle_, handle); old != Handle{}) Close(old);
  }

 private:
  Handle handle_{};
};

// Named closers: a lambda's type would differ from one source file to the next.
namespace closers {
inline void Kernel(HANDLE h) { CloseHandle(h); }
inline void Module(HMODULE h) { FreeLibrary(h); }
inline void Key(HKEY h) { RegCloseKey(h); }
inline void Dc(HDC h) { DeleteDC(h); }
inline void Bitmap(HBITMAP h) { DeleteObject(h); }
inline void Font(HFONT h) { DeleteObject(h); }
inline void Brush(HBRUSH h) { DeleteObject(h); }
inline void Pen(HPEN h) { DeleteObject(h); }
inline void Search(HANDLE h) { FindClose(h); }
}  // namespace closers

using KernelHandle = Owned<HANDLE, closers::Kernel>;
using Library = Owned<HMODULE, closers::Module>;
using RegKey = Owned<HKEY, closers::Key>;
using MemDc = Owned<HDC, closers::Dc>;
using GdiBitmap = Owned<HBITMAP, closers::Bitmap>;
using GdiFont = Owned<HFONT, closers::Font>;
using GdiBrush = Owned<HBRUSH, closers::Brush>;
using GdiPen = Owned<HPEN, closers::Pen>;
using FileSearch = Owned<HANDLE, closers::Search>;  // of FindFirstFile

// Owns what CreateFile and its like have given, whose failure isn't null.
inline KernelHandle OwnFile(HANDLE file) {
  return KernelHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

// A GDI object selected for the length of one scope.
class SelectGuard {
 public:
  SelectGuard(HDC dc, HGDIOBJ object) : dc_(dc), former_(SelectObject(dc, object)) {}
  ~SelectGuard() { SelectObject(dc_, former_); }
  SelectGuard(const SelectGuard&) = delete;
  SelectGuard& operator=(const SelectGuard&) = delete;

 private:
  HDC dc_;
  HGDIOBJ former_;
};

namespace openers {
inline HDC ClientArea(HWND window) { return GetDC(window); }
inline HDC WholeWindow(HWND window) { return GetWindowDC(window); }
}  // namespace openers

// A context of a window, or of the screen for a null window, for the length of one
// scope.
template <auto Open>
class ScopedDc {
 public:
  explicit ScopedDc(HWND window) : window_(window), dc_(Open(window)) {}
  ~ScopedDc() {
    if (dc_) ReleaseDC(window_, dc_);
  }
  ScopedDc(const ScopedDc&) = delete;
  ScopedDc& operator=(const ScopedDc&) = delete;

  HDC get() const { return dc_; }  // null if the system has none to give

 private:
  HWND window_;
  HDC dc_;
};

using ClientDc = ScopedDc<openers::ClientArea>;   // without the window's frame
using WindowDc = ScopedDc<openers::WholeWindow>;  // with it

// An entry point of a loaded library, or null.
template <class Function>
Function ProcAddress(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// A memory context with a fresh bitmap of `width` by `height` pixels in the
// format of `like`. The bitmap's handle is deleted right after it is selected:
// the bitmap itself goes with the context. Null if either can't be made.
MemDc MakeCanvas(HDC like, int width, int height);
