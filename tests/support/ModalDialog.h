#pragma once
// Runs dialogs for real, in their modal loop, and acts on them from within it:
//
//   ModalScript script;
//   script.When("Title of a window", [](HWND window) { ... });
//   script.When("Title of the next", ...);
//   const INT_PTR result = script.Run(IDD_SOMETHING, SomethingProc);
//
// A step begins once a visible window of this thread has its title. It may open
// a further modal window: the next step then runs in that one's loop. A script
// whose window never comes fails the test and closes what is open.

#include "base/win.h"
#include "settings/Session.h"
#include "support/ImportHook.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace support {

inline std::string TextOfWindow(HWND window) {
  const LRESULT length = SendMessageA(window, WM_GETTEXTLENGTH, 0, 0);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  text.resize(static_cast<std::size_t>(
      SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

inline std::string TextOfControl(HWND dialog, int id) {
  return TextOfWindow(GetDlgItem(dialog, id));
}

inline std::string ClassOf(HWND window) {
  char name[64] = "";
  GetClassNameA(window, name, sizeof name);
  return name;
}

inline BOOL CALLBACK CollectWindow(HWND window, LPARAM to) {
  reinterpret_cast<std::vector<HWND>*>(to)->push_back(window);
  return TRUE;
}

// The top-level windows of this thread.
inline std::vector<HWND> WindowsOfThread() {
  std::vector<HWND> windows;
  EnumThreadWindows(GetCurrentThreadId(), CollectWindow, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

// All windows inside a window, at any depth.
inline std::vector<HWND> WindowsInside(HWND window) {
  std::vector<HWND> windows;
  EnumChildWindows(window, CollectWindow, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

inline HWND FindVisible(const std::string& title) {
  for (const HWND window : WindowsOfThread())
    if (IsWindowVisible(window) && ClassOf(window) == "#32770" && TextOfWindow(window) == title)
      return window;
  return nullptr;
}

inline void ClickButton(HWND dialog, int id) {
  SendMessageA(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
}

// As a click does, for what opens a window: returns at once.
inline void PostCommand(HWND dialog, int id) { PostMessageA(dialog, WM_COMMAND, id, 0); }

class ModalScript {
 public:
  using Action = std::function<void(HWND)>;

  ModalScript() : outer_(std::exchange(current, this)) {}
  ~ModalScript() { current = outer_; }
  ModalScript(const ModalScript&) = delete;
  ModalScript& operator=(const ModalScript&) = delete;

  ModalScript& When(std::string title, Action action) {
    return When([title = std::move(title)] { return FindVisible(title); }, std::move(action));
  }
  // The step begins when `find` yields a window.
  ModalScript& When(std::function<HWND()> find, Action action) {
    steps_.push_back({std::move(find), std::move(action)});
    return *this;
  }

  // The dialog's result. The script must be through by then.
  INT_PTR Run(int dialog, DLGPROC procedure, HWND owner = nullptr) {
    return Run([=] {
      return DialogBoxParamA(InstanceHandle, MAKEINTRESOURCEA(dialog), owner, procedure, 0);
    });
  }
  INT_PTR Run(const std::function<INT_PTR()>& open) {
    patience_ = std::chrono::steady_clock::now() + kWaitLimit;
    const UINT_PTR timer = SetTimer(nullptr, 0, USER_TIMER_MINIMUM, Tick);
    const INT_PTR result = open();
    KillTimer(nullptr, timer);
    EXPECT_TRUE(steps_.empty()) << steps_.size() << " steps of the script didn't come to pass";
    return result;
  }

 private:
  struct Step {
    std::function<HWND()> find;
    Action action;
  };

  static void CALLBACK Tick(HWND, UINT, UINT_PTR, DWORD) {
    if (current) current->Advance();
  }

  void Advance() {
    if (steps_.empty() || std::chrono::steady_clock::now() > patience_) return GiveUpIfLate();
    const HWND window = steps_.front().find();
    if (!window) return;
    const Step step = std::move(steps_.front());
    steps_.pop_front();
    patience_ = std::chrono::steady_clock::now() + kWaitLimit;
    step.action(window);
  }

  void GiveUpIfLate() {
    if (std::chrono::steady_clock::now() <= patience_) return;
    for (const HWND window : WindowsOfThread())
      if (ClassOf(window) == "#32770") ::EndDialog(window, -1);
  }

  inline static ModalScript* current = nullptr;
  ModalScript* outer_;
  std::deque<Step> steps_;
  std::chrono::steady_clock::time_point patience_;
};

// Answers message boxes without showing them and remembers what they said.
class AnsweredBoxes {
 public:
  struct Box {
    HWND owner;
    std::string text;
    std::string title;  // "(none)" if it had none
    UINT flags;
  };

  int answer = IDOK;
  std::vector<Box> shown;

 private:
  AnyHook hook_ = ANY_HOOK("user32.dll", MessageBoxA,
                           [this](HWND owner, LPCSTR text, LPCSTR title, UINT flags) -> int {
                             shown.push_back({owner, text, title ? title : "(none)", flags});
                             return answer;
                           });
};

// Expects the control of a dialog's template: class, text, and its place in
// dialog units.
inline void ExpectControl(HWND dialog, int id, const char* windowClass, const char* text, int x,
                          int y, int width, int height) {
  SCOPED_TRACE("control " + std::to_string(id) + " " + text);
  const HWND control = GetDlgItem(dialog, id);
  ASSERT_NE(control, nullptr);
  EXPECT_STRCASEEQ(ClassOf(control).c_str(), windowClass);
  if (ClassOf(control) != "Edit") {
    EXPECT_EQ(TextOfWindow(control), text);
  }
  RECT corner{x, y, 0, 0};
  RECT size{0, 0, width, height};
  MapDialogRect(dialog, &corner);
  MapDialogRect(dialog, &size);
  RECT actual{};
  GetWindowRect(control, &actual);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&actual), 2);
  EXPECT_EQ(actual.left, corner.left);
  EXPECT_EQ(actual.top, corner.top);
  EXPECT_EQ(actual.right - actual.left, size.right);
  if (ClassOf(control) != "ComboBox") {
    EXPECT_EQ(actual.bottom - actual.top, size.bottom);
  }
}

// Expects a static text of the template, which has no number of its own.
inline void ExpectText(HWND dialog, const std::string& text) {
  for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
    if (TextOfWindow(child) == text) return;
  ADD_FAILURE() << "no text " << text;
}

// Expects the size of the dialog's client area in dialog units, its title and
// its frame.
inline void ExpectFrame(HWND dialog, const char* title, int width, int height) {
  EXPECT_EQ(TextOfWindow(dialog), title);
  RECT expected{0, 0, width, height};
  MapDialogRect(dialog, &expected);
  RECT actual{};
  GetClientRect(dialog, &actual);
  EXPECT_EQ(actual.right, expected.right);
  EXPECT_EQ(actual.bottom, expected.bottom);
  const auto style = static_cast<DWORD>(GetWindowLongA(dialog, GWL_STYLE));
  constexpr DWORD kFrame = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
  EXPECT_EQ(style & kFrame, kFrame);
}

}  // namespace support
