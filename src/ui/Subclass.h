#pragma once
// How the controls take over a window: its GWL_USERDATA holds the object, its
// procedure is a thunk that calls the object's WindowProc.

#include "base/win.h"

// A message for the window that had `former` as its procedure; 0 if it had none.
inline LRESULT CallFormerProc(WNDPROC former, HWND hwnd, UINT message, WPARAM wParam,
                              LPARAM lParam) {
  return former ? CallWindowProcA(former, hwnd, message, wParam, lParam) : 0;
}

// Puts `procedure` on the window; the result is the procedure it had.
inline WNDPROC ReplaceProc(HWND hwnd, WNDPROC procedure) {
  return reinterpret_cast<WNDPROC>(
      SetWindowLongPtrA(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

// Answers 0 for a window whose object is gone.
template <class Object>
LRESULT CALLBACK ObjectThunk(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* object = reinterpret_cast<Object*>(GetWindowLongPtrA(hwnd, GWLP_USERDATA));
  return object ? object->WindowProc(hwnd, message, wParam, lParam) : 0;
}

// The result is the procedure that the window had. `object` must outlive the
// window or end the subclass.
template <class Object>
WNDPROC SubclassWithObject(HWND hwnd, Object* object) {
  SetWindowLongPtrA(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(object));
  return ReplaceProc(hwnd, &ObjectThunk<Object>);
}

// Gives the window its former procedure back; nothing if it has gone or isn't
// this object's any more.
template <class Object>
void EndSubclass(HWND hwnd, const Object* object, WNDPROC former) {
  if (GetWindowLongPtrA(hwnd, GWLP_USERDATA) != reinterpret_cast<LONG_PTR>(object)) return;
  ReplaceProc(hwnd, former);
  SetWindowLongPtrA(hwnd, GWLP_USERDATA, 0);
}
