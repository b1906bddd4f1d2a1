#include "ControlHost.h"
#include "support/GdiGauge.h"
#include "support/ImportHook.h"
#include "ui/LinkStatics.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace support;

namespace {

constexpr COLORREF kBlue = 0x00C00000;

// Both kinds answer the same questions; what differs is told by the parameter.
struct Kind {
  const char* name;
  int (*attach)(HWND);
  const char* prefix;     // of its properties
  const char* hoverFont;
  bool underlines;
};

int AttachLink(HWND hwnd) { return AttachHyperlink(hwnd, kBlue); }
int AttachSwitching(HWND hwnd) { return AttachClickable(hwnd, 0x112233, 0x445566); }

class StaticTest : public testing::TestWithParam<Kind> {
 protected:
  HWND AddStatic(int id, int x = 30) const {
    const HWND window = host.AddControl("STATIC", 0, id, x, 40, 100, 20);
    SetWindowTextA(window, "www");
    SendMessageA(window, WM_SETFONT, reinterpret_cast<WPARAM>(font), 0);
    return window;
  }
  HWND Attached(int id = 5, int x = 30) const {
    const HWND window = AddStatic(id, x);
    EXPECT_EQ(GetParam().attach(window), 1);
    return window;
  }
  static std::string TextOf(HWND window) {
    char text[16] = "";
    SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
    return text;
  }
  HANDLE Property(HWND window, const char* rest) const {
    return GetPropA(window, (std::string(GetParam().prefix) + rest).c_str());
  }
  static HFONT FontOf(HWND window) {
    return reinterpret_cast<HFONT>(SendMessageA(window, WM_GETFONT, 0, 0));
  }
  HFONT HoverFont(HWND window) const {
    return static_cast<HFONT>(GetPropA(window, GetParam().hoverFont));
  }
  static void MoveOver(HWND window, int x, int y) {
    SendMessageA(window, WM_MOUSEMOVE, 0, MousePoint(x, y));
  }

  HFONT font = CreateFontA(-14, 0, 0, 0, 700, TRUE, FALSE, FALSE, 0, 0, 0, 0, 0, "Arial");
  ControlHost host;
  ~StaticTest() override { DeleteObject(font); }
};

INSTANTIATE_TEST_SUITE_P(
    Kinds, StaticTest,
    testing::Values(
        Kind{"Hyperlink", AttachLink, "_Hyperlink_", "_Hyperlink_Underline_Font_", true},
        Kind{"Clickable", AttachSwitching, "_Clickable_", "_Clickable_Font_", false}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(StaticTest, ItsStateLiesInNamedProperties) {
  const HWND plain = AddStatic(5);
  const WNDPROC own = ProcOf(plain);
  const WNDPROC parentsOwn = ProcOf(host.Window());
  GetParam().attach(plain);
  EXPECT_EQ(Property(plain, "Original_Proc_"), reinterpret_cast<HANDLE>(own));
  EXPECT_EQ(Property(host.Window(), "Original_Proc_"), reinterpret_cast<HANDLE>(parentsOwn));
  EXPECT_EQ(Property(plain, "Original_Font_"), font);
  EXPECT_EQ(Property(plain, "From_Static_"), reinterpret_cast<HANDLE>(1));
  EXPECT_NE(HoverFont(plain), nullptr);
  EXPECT_TRUE(GetWindowLongA(plain, GWL_STYLE) & SS_NOTIFY);
}

TEST_P(StaticTest, TheHoverFontIsACopyThatDiffersInTheUnderlineAlone) {
  LOGFONTA copy{};
  LOGFONTA original{};
  GetObjectA(HoverFont(Attached()), sizeof copy, &copy);
  GetObjectA(font, sizeof original, &original);
  EXPECT_EQ(copy.lfUnderline, GetParam().underlines ? 1 : 0);
  EXPECT_EQ(copy.lfHeight, original.lfHeight);
  EXPECT_EQ(copy.lfWeight, 700);
  EXPECT_EQ(copy.lfItalic, original.lfItalic);
  EXPECT_STREQ(copy.lfFaceName, "Arial");
}

TEST_P(StaticTest, TwoOnOneParentSubclassItOnce) {
  const WNDPROC parentsOwn = ProcOf(host.Window());
  Attached(5, 30);
  const WNDPROC hooked = ProcOf(host.Window());
  EXPECT_NE(hooked, parentsOwn);
  Attached(6, 150);
  EXPECT_EQ(ProcOf(host.Window()), hooked);
  EXPECT_EQ(Property(host.Window(), "Original_Proc_"), reinterpret_cast<HANDLE>(parentsOwn));
}

TEST_P(StaticTest, AttachedAgainItIsSubclassedOnce) {
  const HWND window = AddStatic(5);
  const WNDPROC own = ProcOf(window);
  GetParam().attach(window);
  const HFONT hover = HoverFont(window);
  const GdiGauge gauge;
  MoveOver(window, 10, 10);
  GetParam().attach(window);
  EXPECT_EQ(gauge.Leaked(), 0);
  EXPECT_EQ(Property(window, "Original_Proc_"), reinterpret_cast<HANDLE>(own));
  EXPECT_EQ(Property(window, "Original_Font_"), font) << "not the one that shows under the pointer";
  EXPECT_EQ(HoverFont(window), hover);
  MoveOver(window, 10, 100);
  EXPECT_EQ(FontOf(window), font);
  EXPECT_EQ(GetCapture(), nullptr);
  EXPECT_EQ(TextOf(window), "www");
}

TEST_P(StaticTest, AttachedAgainItGetsItsClicksBack) {
  const HWND window = Attached();
  SetWindowLongPtrA(window, GWL_STYLE, GetWindowLongPtrA(window, GWL_STYLE) & ~SS_NOTIFY);
  GetParam().attach(window);
  EXPECT_TRUE(GetWindowLongPtrA(window, GWL_STYLE) & SS_NOTIFY);
}

TEST_P(StaticTest, ThePointerOverItTakesTheCaptureAndTheHoverFont) {
  const HWND window = Attached();
  EXPECT_EQ(FontOf(window), font);
  MoveOver(window, 10, 10);
  EXPECT_EQ(GetCapture(), window);
  EXPECT_EQ(FontOf(window), HoverFont(window));
  MoveOver(window, 20, 12);
  EXPECT_EQ(GetCapture(), window);
  ReleaseCapture();
}

TEST_P(StaticTest, WhenThePointerLeavesTheFontReturnsAndTheCaptureEnds) {
  const HWND window = Attached();
  const POINT outside[] = {{-1, 10}, {100, 10}, {10, -1}, {10, 20}, {-3000, -3000}};
  for (const POINT& point : outside) {
    MoveOver(window, 10, 10);
    MoveOver(window, point.x, point.y);
    EXPECT_EQ(GetCapture(), nullptr) << point.x << ", " << point.y;
    EXPECT_EQ(FontOf(window), font);
  }
}

TEST_P(StaticTest, TheEdgesBelongToIt) {
  const HWND window = Attached();
  for (const POINT& point : {POINT{0, 0}, POINT{99, 19}}) {
    MoveOver(window, 10, 10);
    MoveOver(window, point.x, point.y);
    EXPECT_EQ(GetCapture(), window);
  }
  ReleaseCapture();
}

TEST_P(StaticTest, TheCursorIsAHand) {
  const HWND window = Attached();
  SetCursor(nullptr);
  EXPECT_EQ(SendMessageA(window, WM_SETCURSOR, 0, 0), TRUE);
  EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, IDC_HAND));
}

TEST_P(StaticTest, WithoutAHandTheCursorIsTheArrow) {
  const HWND window = Attached();
  HOOK_IMPORT(noHand, "user32.dll", LoadCursorA, [](HINSTANCE instance, LPCSTR name) -> HCURSOR {
    return name == IDC_HAND ? nullptr : REAL_IMPORT("user32.dll", LoadCursorA)(instance, name);
  });
  SetCursor(nullptr);
  SendMessageA(window, WM_SETCURSOR, 0, 0);
  EXPECT_EQ(GetCursor(), REAL_IMPORT("user32.dll", LoadCursorA)(nullptr, IDC_ARROW));
}

TEST_P(StaticTest, AClickReachesTheParent) {
  const HWND window = Attached();
  int clicks = 0;
  host.onMessage = [&](UINT message, WPARAM wParam, LPARAM) {
    clicks += message == WM_COMMAND && wParam == MAKEWPARAM(5, STN_CLICKED);
    return false;
  };
  Click(window, 10, 10);
  EXPECT_EQ(clicks, 1);
}

// Notes what a window has left when its last message comes.
std::map<std::string, bool> leftOver;
WNDPROC underlying = nullptr;

BOOL CALLBACK NoteProperty(HWND, LPCSTR name, HANDLE) {
  if (!IS_INTRESOURCE(name)) leftOver[name] = true;
  return TRUE;
}

LRESULT CALLBACK NoteAtTheEnd(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCDESTROY)
    EnumPropsA(hwnd, NoteProperty);
  return CallWindowProcA(underlying, hwnd, message, wParam, lParam);
}

TEST_P(StaticTest, DestroyedWhileItHoldsTheCaptureItLeavesNothingBehind) {
  const HWND window = AddStatic(5);
  leftOver.clear();
  underlying = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&NoteAtTheEnd)));
  GetParam().attach(window);
  const HFONT hover = HoverFont(window);
  MoveOver(window, 10, 10);
  ASSERT_EQ(GetCapture(), window);
  DestroyWindow(window);
  EXPECT_EQ(GetCapture(), nullptr);
  EXPECT_EQ(GetObjectType(hover), 0u) << "the copy is deleted";
  EXPECT_EQ(GetObjectType(font), static_cast<DWORD>(OBJ_FONT)) << "the original is not";
  for (const char* rest : {"Original_Proc_", "Original_Font_", "Underline_Font_", "Font_",
                           "From_Static_"})
    EXPECT_FALSE(leftOver[std::string(GetParam().prefix) + rest]) << rest;
}

TEST_P(StaticTest, TheParentsHookGoesWithTheParent) {
  const HWND parent = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 100, 100, nullptr, nullptr,
                                      GetModuleHandleA(nullptr), nullptr);
  leftOver.clear();
  underlying = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrA(parent, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&NoteAtTheEnd)));
  const HWND child = CreateWindowExA(0, "STATIC", "x", WS_CHILD, 0, 0, 50, 20, parent, nullptr,
                                     GetModuleHandleA(nullptr), nullptr);
  GetParam().attach(child);
  ASSERT_NE(Property(parent, "Original_Proc_"), nullptr);
  DestroyWindow(parent);
  EXPECT_FALSE(leftOver[std::string(GetParam().prefix) + "Original_Proc_"]);
}

TEST_P(StaticTest, AParentWithNoFormerProcedureAnswersZero) {
  Attached();
  const std::string name = std::string(GetParam().prefix) + "Original_Proc_";
  const HANDLE former = RemovePropA(host.Window(), name.c_str());
  EXPECT_EQ(SendMessageA(host.Window(), WM_GETTEXTLENGTH, 0, 0), 0);
  EXPECT_EQ(SendMessageA(host.Window(), WM_NCHITTEST, 0, 0), 0);
  SetPropA(host.Window(), name.c_str(), former);
  EXPECT_NE(SendMessageA(host.Window(), WM_NCHITTEST, 0, MAKELPARAM(60, 50)), 0);
}

// Windows takes a null for the procedure at its word.
TEST_P(StaticTest, WithNoFormerProcedureTheEndLeavesTheProcedureThatIsThere) {
  const HWND window = Attached();
  const std::string name = std::string(GetParam().prefix) + "Original_Proc_";
  int nulls = 0;
  HOOK_IMPORT(spy, "user32.dll", SetWindowLongA, [&](HWND hwnd, int index, LONG value) -> LONG {
    nulls += index == GWLP_WNDPROC && !value;
    return REAL_IMPORT("user32.dll", SetWindowLongA)(hwnd, index, value);
  });
  for (const HWND orphan : {window, host.Window()}) {
    const HANDLE former = RemovePropA(orphan, name.c_str());
    ASSERT_NE(former, nullptr);
    SendMessageA(orphan, WM_DESTROY, 0, 0);
    EXPECT_EQ(nulls, 0);
    SetWindowLongPtrA(orphan, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(former));
  }
}

TEST_P(StaticTest, ManyComeAndGoWithoutALeak) {
  DestroyWindow(Attached());
  const GdiGauge gauge;
  for (int n = 0; n < 30; ++n) DestroyWindow(Attached());
  EXPECT_EQ(gauge.Leaked(), 0);
}

class LinkColorTest : public testing::Test {
 protected:
  COLORREF TextColor(HWND label) const {
    const Canvas canvas(4, 4);
    SetTextColor(canvas.Dc(), 0x010203);
    SendMessageA(host.Window(), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(canvas.Dc()),
                 reinterpret_cast<LPARAM>(label));
    return GetTextColor(canvas.Dc());
  }
  ControlHost host;
  HWND window = host.AddControl("STATIC", 0, 5, 30, 40, 100, 20);
};

TEST_F(LinkColorTest, ALinksColourStaysWhileHovering) {
  AttachHyperlink(host.Window(), 5, kBlue);
  EXPECT_EQ(GetPropA(window, "_Hyperlink_Color_"), reinterpret_cast<HANDLE>(kBlue));
  EXPECT_EQ(TextColor(window), kBlue);
  SendMessageA(window, WM_MOUSEMOVE, 0, MousePoint(10, 10));
  ASSERT_EQ(GetCapture(), window);
  EXPECT_EQ(TextColor(window), kBlue);
  ReleaseCapture();
}

TEST_F(LinkColorTest, AClickableStaticChangesItsColourWhileHovering) {
  AttachClickable(host.Window(), 5, 0x112233, 0x445566);
  EXPECT_EQ(TextColor(window), 0x112233u);
  EXPECT_EQ(GetPropA(window, "_Mouse_Over_"), nullptr);
  SendMessageA(window, WM_MOUSEMOVE, 0, MousePoint(10, 10));
  EXPECT_EQ(GetPropA(window, "_Mouse_Over_"), reinterpret_cast<HANDLE>(1));
  EXPECT_EQ(TextColor(window), 0x445566u);
  SendMessageA(window, WM_MOUSEMOVE, 0, MousePoint(10, 100));
  EXPECT_EQ(GetPropA(window, "_Mouse_Over_"), nullptr);
  EXPECT_EQ(TextColor(window), 0x112233u);
}

TEST_F(LinkColorTest, AttachedAgainTheyShowTheNewColours) {
  AttachHyperlink(window, 0x010101);
  AttachHyperlink(window, kBlue);
  EXPECT_EQ(TextColor(window), kBlue);
  const HWND other = host.AddControl("STATIC", 0, 6, 30, 80, 100, 20);
  AttachClickable(other, 0x010101, 0x020202);
  AttachClickable(other, 0x112233, 0x445566);
  EXPECT_EQ(TextColor(other), 0x112233u);
  SendMessageA(other, WM_MOUSEMOVE, 0, MousePoint(10, 10));
  EXPECT_EQ(TextColor(other), 0x445566u);
  ReleaseCapture();
}

TEST_F(LinkColorTest, BothKindsTakeTurnsOnOneParent) {
  const WNDPROC parentsOwn = ProcOf(host.Window());
  constexpr int kTurns = 3;
  for (int turn = 0; turn < kTurns; ++turn) {
    AttachHyperlink(host.AddControl("STATIC", 0, 10 + turn, 30, 80, 9, 9), kBlue);
    AttachClickable(host.AddControl("STATIC", 0, 20 + turn, 60, 80, 9, 9), 0x112233, 0x445566);
  }
  for (int turn = 0; turn < kTurns; ++turn) {
    EXPECT_EQ(TextColor(GetDlgItem(host.Window(), 10 + turn)), kBlue);
    EXPECT_EQ(TextColor(GetDlgItem(host.Window(), 20 + turn)), 0x112233u);
  }
  SendMessageA(host.Window(), WM_DESTROY, 0, 0);
  EXPECT_EQ(ProcOf(host.Window()), parentsOwn);
}

TEST_F(LinkColorTest, OtherStaticsKeepTheirColour) {
  AttachHyperlink(window, kBlue);
  const HWND other = host.AddControl("STATIC", 0, 6, 30, 80, 100, 20);
  EXPECT_NE(TextColor(other), kBlue);
}

// Answers questions for the colour of a static with a brush.
LRESULT CALLBACK AnswerWithABrush(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CTLCOLORSTATIC)
    return reinterpret_cast<LRESULT>(GetStockObject(DKGRAY_BRUSH));
  return CallWindowProcA(underlying, hwnd, message, wParam, lParam);
}

TEST_F(LinkColorTest, TheBrushIsTheParentsOwn) {
  underlying = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(
      host.Window(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AnswerWithABrush)));
  AttachHyperlink(window, kBlue);
  const Canvas canvas(4, 4);
  const auto ask = [&] {
    return SendMessageA(host.Window(), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(canvas.Dc()),
                        reinterpret_cast<LPARAM>(window));
  };
  EXPECT_EQ(ask(), reinterpret_cast<LRESULT>(GetStockObject(DKGRAY_BRUSH)));
  RemovePropA(host.Window(), "_Hyperlink_Original_Proc_");
  EXPECT_EQ(ask(), reinterpret_cast<LRESULT>(canvas.Dc())) << "no former procedure";
}

}  // namespace
