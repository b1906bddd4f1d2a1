// The window in its own modal loop.

#include "reporterr/ReportWindow.h"

#include "DumpBuilder.h"
#include "FakeProcesses.h"
#include "reporterr/Resources.h"
#include "support/ModalDialog.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <wininet.h>

using support::ModalScript;

namespace {

constexpr char kTitle[] = "Velmora 2 error report", kPreview[] = "What the report contains";

class Window : public testing::Test {
 protected:
  void Run(ModalScript& script) {
    script.Run([this] {
      ShowReportWindow(folder.File("log.txt"), folder.File("a.dmp"));
      return INT_PTR{0};
    });
  }
  void WriteDump() {
    DumpBuilder dump;
    dump.Add(DumpBuilder::kComment, support::BytesOf("a crash"));
    folder.Write("a.dmp", dump.Build());
  }
  static void PaintNow(HWND window) {
    RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
  }
  static void Leave(HWND window) { support::PostCommand(window, IDCANCEL); }
  // Finds the window once its status says that.
  static auto StatusSays(const std::string& text) {
    return [text]() -> HWND {
      const HWND window = support::FindVisible(kTitle);
      return window && support::TextOfControl(window, CONTROL_STATUS).find(text) !=
                           std::string::npos
                 ? window
                 : nullptr;
    };
  }

  support::TempFolder folder;
  // There is no network.
  support::AnyHook offline_ = ANY_HOOK("wininet.dll", InternetCheckConnectionA,
                                       [](LPCSTR, DWORD, DWORD) -> BOOL { return FALSE; });
};

TEST_F(Window, GivesEachControlAKeyOfItsOwn) {
  ModalScript script;
  script.When(kTitle, [](HWND window) {
    std::map<int, std::string> takenBy;
    for (const HWND control : support::WindowsInside(window)) {
      const std::string text = support::TextOfWindow(control);
      const std::size_t mark = text.find('&');
      if (mark == std::string::npos) continue;
      std::string& former = takenBy[std::toupper(text.at(mark + 1))];
      EXPECT_EQ(former, "") << "has the key of " << text;
      former = text;
    }
    EXPECT_EQ(takenBy.size(), 5u);
    Leave(window);
  });
  Run(script);
}

TEST_F(Window, PaintsItsPictureOnlyWhereItIsSeen) {
  // The saver that has crashed goes on, so that the light of the wait runs.
  FakeProcesses processes(GetCurrentProcessId() + 4);
  processes.Add(GetCurrentProcessId() + 4, "Velmora2.scr");
  HOOK_IMPORT(open, "kernel32.dll", OpenProcess, [](DWORD, BOOL, DWORD) -> HANDLE {
    return CreateEventA(nullptr, TRUE, FALSE, nullptr);
  });
  int pictures = 0;
  HOOK_IMPORT(picture, "gdi32.dll", SetDIBitsToDevice,
              [&](HDC, int, int, DWORD, DWORD, int, int, UINT, UINT, const void*,
                  const BITMAPINFO*, UINT) -> int {
                ++pictures;
                return 0;
              });
  ModalScript script;
  script.When(StatusSays("is being written down"), [&](HWND window) {
    PaintNow(window);
    const int before = pictures;
    constexpr WPARAM kProgressTimer = 2;
    SendMessageA(window, WM_TIMER, kProgressTimer, 0);
    EXPECT_TRUE(GetUpdateRect(window, nullptr, FALSE)) << "the light runs on";
    PaintNow(window);
    EXPECT_EQ(pictures, before);
    InvalidateRect(window, nullptr, FALSE);
    PaintNow(window);
    EXPECT_GT(pictures, before);
    Leave(window);
  });
  Run(script);
}

TEST_F(Window, ShowsThatItSendsBeforeTheDumpIsEncoded) {
  WriteDump();
  HWND shown = nullptr;
  bool encoded = false;
  HOOK_IMPORT(remove, "kernel32.dll", DeleteFileA, [&](LPCSTR path) -> BOOL {
    if (std::string(path).ends_with(".b64") && !encoded) {
      encoded = true;
      EXPECT_EQ(support::TextOfControl(shown, CONTROL_STATUS), "Sending the report...");
      for (const HWND window : support::WindowsInside(shown))
        if (IsWindowVisible(window)) {
          EXPECT_FALSE(GetUpdateRect(window, nullptr, FALSE)) << support::TextOfWindow(window);
        }
      EXPECT_FALSE(GetUpdateRect(shown, nullptr, FALSE)) << "painted";
    }
    return REAL_IMPORT("kernel32.dll", DeleteFileA)(path);
  });
  ModalScript script;
  script.When(StatusSays("Nothing has been sent yet."), [&](HWND window) {
    shown = window;
    support::PostCommand(window, IDOK);
  });
  script.When(StatusSays("not able to be sent"), Leave);
  Run(script);
  EXPECT_TRUE(encoded);
}

TEST_F(Window, OpensOnlyOneThingOnADoubleClick) {
  ModalScript script;
  script.When(StatusSays("Nothing has been sent yet."), [](HWND window) {
    SendMessageA(window, WM_COMMAND, MAKEWPARAM(CONTROL_SHOW, BN_DOUBLECLICKED), 0);
    support::PostCommand(window, CONTROL_SHOW);
  });
  script.When(kPreview, [](HWND preview) { support::PostCommand(preview, IDCANCEL); });
  script.When(
      [] {
        const HWND window = support::FindVisible(kTitle);
        return IsWindowEnabled(window) && !support::FindVisible(kPreview) ? window : nullptr;
      },
      Leave);
  Run(script);
}

// What can't be added is told of, and isn't counted.
TEST_F(Window, SaysWhatHadNoRoomInTheReport) {
  WriteDump();
  // The text of the dump can't be made: a folder is in its place.
  const support::AnyHook remove =
      ANY_HOOK("kernel32.dll", DeleteFileA, [](LPCSTR path) -> BOOL {
        const std::string name = path;
        if (name.ends_with(".b64")) CreateDirectoryA(path, nullptr);
        return REAL_IMPORT("kernel32.dll", DeleteFileA)(path);
      });
  std::string total;
  ModalScript script;
  script.When(StatusSays("Nothing has been sent yet."), [&](HWND window) {
    total = support::TextOfControl(window, CONTROL_TOTAL);
    support::PostCommand(window, IDOK);
  });
  script.When(StatusSays("not able to be sent"), [&](HWND window) {
    EXPECT_EQ(support::TextOfControl(window, CONTROL_DUMP_SIZE), "couldn't be added");
    EXPECT_NE(support::TextOfControl(window, CONTROL_TOTAL), total);
    Leave(window);
  });
  Run(script);
}

}  // namespace
