#pragma once
// A window for controls under test, with messages sent to them as the mouse and
// the keyboard do.

#include "base/win.h"
#include "support/PixelHelpers.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace support {

// Handles all messages that wait.
inline void PumpMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

// A picture to give to a control.
class Picture {
 public:
  Picture(int width, int height, const Pattern& pattern) : canvas_(width, height) {
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const std::uint32_t colour = pattern(x, y, width, height);
        SetPixelV(canvas_.Dc(), x, y,
                  RGB(colour >> 16 & 0xFF, colour >> 8 & 0xFF, colour & 0xFF));
      }
  }
  HDC Dc() const { return canvas_.Dc(); }
  Pixels Read() const { return canvas_.Read(); }

 private:
  Canvas canvas_;
};

// A visible window of 400 by 300 px without a frame. `onMessage`, if set, may
// answer a message; WM_DRAWITEM goes to the painter of its control.
class ControlHost {
 public:
  using Painter = std::function<void(const DRAWITEMSTRUCT*)>;

  ControlHost() {
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = Procedure;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = "ControlHost";
    windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH));
    RegisterClassA(&windowClass);
    window_ = CreateWindowExA(0, "ControlHost", "", WS_POPUP | WS_VISIBLE, 50, 40, 400, 300,
                              nullptr, nullptr, windowClass.hInstance, this);
    PumpMessages();
  }
  ~ControlHost() {
    DestroyWindow(window_);
    PumpMessages();
  }
  ControlHost(const ControlHost&) = delete;
  ControlHost& operator=(const ControlHost&) = delete;

  HWND Window() const { return window_; }

  HWND AddControl(const char* windowClass, DWORD style, int id, int x, int y, int width,
                  int height) const {
    return CreateWindowExA(0, windowClass, "", WS_CHILD | WS_VISIBLE | style, x, y, width, height,
                           window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                           GetModuleHandleA(nullptr), nullptr);
  }
  HWND AddButton(int id, int x, int y, int width, int height) const {
    return AddControl("BUTTON", BS_OWNERDRAW, id, x, y, width, height);
  }

  std::map<int, Painter> painters;
  std::function<bool(UINT, WPARAM, LPARAM)> onMessage;
  std::vector<int> clicked;  // ids of BN_CLICKED, in order

 private:
  static LRESULT CALLBACK Procedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE)
      SetWindowLongPtrA(hwnd, GWLP_USERDATA,
                        reinterpret_cast<LONG_PTR>(
                            reinterpret_cast<CREATESTRUCTA*>(lParam)->lpCreateParams));
    auto* host = reinterpret_cast<ControlHost*>(GetWindowLongPtrA(hwnd, GWLP_USERDATA));
    if (host && host->Handle(message, wParam, lParam)) return TRUE;
    return DefWindowProcA(hwnd, message, wParam, lParam);
  }

  bool Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    if (onMessage && onMessage(message, wParam, lParam)) return true;
    if (message == WM_COMMAND && HIWORD(wParam) == BN_CLICKED)
      clicked.push_back(LOWORD(wParam));
    if (message != WM_DRAWITEM) return false;
    const auto painter = painters.find(static_cast<int>(wParam));
    if (painter != painters.end())
      painter->second(reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    return true;
  }

  HWND window_;
};

inline LPARAM MousePoint(int x, int y) {
  return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y));
}

inline void Press(HWND control, int x, int y) {
  SendMessageA(control, WM_LBUTTONDOWN, MK_LBUTTON, MousePoint(x, y));
}

inline void DragTo(HWND control, int x, int y) {
  SendMessageA(control, WM_MOUSEMOVE, MK_LBUTTON, MousePoint(x, y));
}

inline void Release(HWND control, int x, int y) {
  SendMessageA(control, WM_LBUTTONUP, 0, MousePoint(x, y));
}

inline void Click(HWND control, int x, int y) {
  Press(control, x, y);
  Release(control, x, y);
  PumpMessages();
}

inline void TurnWheel(HWND control, int delta) {
  SendMessageA(control, WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(delta)), 0);
}

inline void PressKey(HWND control, WPARAM key) {
  SendMessageA(control, WM_KEYDOWN, key, 1);
  SendMessageA(control, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
  PumpMessages();
}

inline Pixels ReadControl(HWND control) {
  RECT rect{};
  GetClientRect(control, &rect);
  const HDC dc = GetDC(control);
  Pixels pixels = ReadDc(dc, 0, 0, rect.right, rect.bottom);
  ReleaseDC(control, dc);
  return pixels;
}

inline WNDPROC ProcOf(HWND hwnd) {
  return reinterpret_cast<WNDPROC>(GetWindowLongPtrA(hwnd, GWLP_WNDPROC));
}

inline LONG_PTR UserDataOf(HWND hwnd) { return GetWindowLongPtrA(hwnd, GWLP_USERDATA); }

// `over` laid on `under` at (x, y), as a BitBlt does: cut at the edges.
inline Pixels Lay(Pixels under, const Pixels& over, int x, int y) {
  for (int row = 0; row < over.height; ++row)
    for (int column = 0; column < over.width; ++column) {
      const int toX = x + column;
      const int toY = y + row;
      if (toX >= 0 && toX < under.width && toY >= 0 && toY < under.height)
        under.Set(toX, toY, over.At(column, row));
    }
  return under;
}

}  // namespace support
