#include "app/PreviewDialog.h"

#include "app/Minimal.h"
#include "support/ImportHook.h"
#include "support/ModalDialog.h"
#include "support/SessionState.h"

#include <gtest/gtest.h>

#include <string>

using namespace support;

namespace {

constexpr char kTitle[] = "Preview";
constexpr char kPath[] = "C:\\with blank\\Velmora2.scr";
constexpr int kFrame = 3;

class PreviewDialogTest : public testing::Test {
 protected:
  void Show(const ModalScript::Action& act) {
    ModalScript script;
    script.When(kTitle, act);
    script.Run([&]() -> INT_PTR {
      ShowPreviewDialog(nullptr, kPath);
      return 0;
    });
  }

  SessionState session;
  int starts = 0;
  std::string path, commandLine;
  DWORD flags = 0;
  BOOL inherits = FALSE;

 private:
  AnyHook create_ = ANY_HOOK(
      "kernel32.dll", CreateProcessA,
      [this](LPCSTR program, LPSTR line, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL inherit,
             DWORD with, LPVOID environment, LPCSTR folder, LPSTARTUPINFOA startup,
             LPPROCESS_INFORMATION) -> BOOL {
        EXPECT_EQ(environment, nullptr);
        EXPECT_EQ(folder, nullptr);
        EXPECT_EQ(startup->cb, 68u);
        EXPECT_EQ(startup->dwFlags, 0u);
        ++starts;
        path = program;
        commandLine = line;
        inherits = inherit;
        flags = with;
        return FALSE;
      });
};

TEST_F(PreviewDialogTest, HasItsControlsInTheirPlaces) {
  Show([](HWND dialog) {
    ExpectFrame(dialog, kTitle, 278, 196);
    // The system itself adds what clips, and drops what it has used.
    const auto style = static_cast<DWORD>(GetWindowLongA(dialog, GWL_STYLE));
    EXPECT_EQ(style & 0x90C808C4, 0x90C808C4u);
    ExpectControl(dialog, 1, "Button", "OK", 113, 175, 50, 14);
    ExpectControl(dialog, kFrame, "Static", "", 7, 7, 264, 152);
    ExpectControl(dialog, 2, "Static", "Screen saver succesfully installed!", 7, 162, 264, 8);
    EXPECT_EQ(GetWindowLongA(GetDlgItem(dialog, 1), GWL_STYLE), 0x50000001);
    EXPECT_EQ(GetWindowLongA(GetDlgItem(dialog, kFrame), GWL_STYLE), 0x50000004);
    EXPECT_EQ(GetWindowLongA(GetDlgItem(dialog, 2), GWL_STYLE), 0x50000001);
    LOGFONTA font{};
    GetObjectA(reinterpret_cast<HFONT>(SendMessageA(dialog, WM_GETFONT, 0, 0)), sizeof font, &font);
    EXPECT_STREQ(font.lfFaceName, "MS Sans Serif");
    PostCommand(dialog, IDOK);
  });
}

TEST_F(PreviewDialogTest, StartsTheSaverInItsFrame) {
  HWND frame = nullptr;
  Show([&](HWND dialog) {
    frame = GetDlgItem(dialog, kFrame);
    PostCommand(dialog, IDCANCEL);
  });
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(path, kPath);
  EXPECT_EQ(commandLine, "\"" + std::string(kPath) + "\" /p " +
                             std::to_string(reinterpret_cast<std::intptr_t>(frame)));
  EXPECT_EQ(flags, 64u);
  EXPECT_TRUE(inherits);
}

TEST_F(PreviewDialogTest, TheFrameIsBlackAndKeepsItsOwnProcedure) {
  Show([](HWND dialog) {
    const HWND frame = GetDlgItem(dialog, kFrame);
    EXPECT_EQ(GetWindowLongPtrA(frame, GWLP_WNDPROC), reinterpret_cast<LONG_PTR>(&ChildWindowProc));
    EXPECT_NE(GetWindowLongPtrA(frame, GWLP_USERDATA), 0);
    PostCommand(dialog, IDOK);
  });
}

WNDPROC formerProc;
int closes;
bool obeys;

LRESULT CALLBACK SaverStandIn(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CLOSE) {
    ++closes;
    if (obeys) DestroyWindow(window);
    return 0;
  }
  return CallWindowProcA(formerProc, window, message, wParam, lParam);
}

TEST_F(PreviewDialogTest, ClosesTheSaverWhetherItObeysOrNot) {
  for (const int end : {IDOK, IDCANCEL}) {
    obeys = end == IDOK;
    closes = 0;
    HWND saver = nullptr;
    Show([&](HWND dialog) {
      saver = CreateWindowExA(0, "STATIC", "", WS_CHILD, 0, 0, 9, 9, GetDlgItem(dialog, kFrame),
                              nullptr, nullptr, nullptr);
      formerProc = reinterpret_cast<WNDPROC>(
          SetWindowLongPtrA(saver, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&SaverStandIn)));
      SendMessageA(dialog, WM_COMMAND, end, 0);
      EXPECT_FALSE(IsWindow(saver));
    });
    EXPECT_EQ(closes, 1);
  }
}

TEST_F(PreviewDialogTest, OtherMessagesAreNotItsOwn) {
  EXPECT_EQ(PreviewDialogProc(nullptr, WM_SIZE, 0, 0), 0);
  EXPECT_EQ(PreviewDialogProc(nullptr, WM_COMMAND, 7, 0), 0);
}

}  // namespace
