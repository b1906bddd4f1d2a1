#include "ControlHost.h"
#include "support/GdiGauge.h"
#include "support/Layout.h"
#include "ui/CButtonControl.h"
#include "ui/CToggleButton.h"

#include <gtest/gtest.h>

#include <memory>

using namespace support;

namespace {

constexpr int kId = 5;

HCURSOR Hand() { return LoadCursorA(nullptr, IDC_HAND); }

bool SetsCursor(HWND control) {
  return SendMessageA(control, WM_SETCURSOR, reinterpret_cast<WPARAM>(control),
                      MAKELPARAM(HTCLIENT, WM_MOUSEMOVE)) == TRUE;
}

// --- CButtonControl ---

class CButtonControlTest : public testing::Test {
 protected:
  void Attach(HCURSOR cursor = Hand()) {
    button.Attach(normal.Dc(), pressed.Dc(), 60, 33, window, cursor);
    host.painters[kId] = [this](const DRAWITEMSTRUCT* item) { button.Paint(item); };
    InvalidateRect(window, nullptr, FALSE);
    PumpMessages();
  }
  Pixels Painted(UINT state) {
    const Canvas canvas(60, 33);
    DRAWITEMSTRUCT item{};
    item.hDC = canvas.Dc();
    item.itemState = state;
    button.Paint(&item);
    return canvas.Read();
  }

  Picture normal{60, 33, Gradient()};
  Picture pressed{60, 33, Checkers(3, 0x112233, 0xAABBCC)};
  ControlHost host;
  HWND window = host.AddButton(kId, 30, 40, 60, 33);
  WNDPROC own = ProcOf(window);
  CButtonControl button;
};

TEST(CButtonControlLayout, FieldsStandInTheirOrderAndAreNullAtFirst) {
  const CButtonControl b;
  EXPECT_TRUE(StandInOrder(b.oldProc, b.cursor, b.window, b.normalDC, b.pressedDC, b.windowDC,
                           b.width, b.height, b.ownsPictures));
  EXPECT_EQ(SlotOf(&CButtonControl::WindowProc), 0);
  EXPECT_EQ(b.oldProc, nullptr);
  EXPECT_EQ(b.normalDC, nullptr);
  EXPECT_EQ(b.width, 0);
  EXPECT_FALSE(b.ownsPictures);
}

TEST_F(CButtonControlTest, PaintsThePictureOfItsState) {
  Attach();
  EXPECT_TRUE(PixelsNear(Painted(0), normal.Read()));
  EXPECT_TRUE(PixelsNear(Painted(ODS_FOCUS), normal.Read()));
  EXPECT_TRUE(PixelsNear(Painted(ODS_SELECTED | ODS_FOCUS), pressed.Read()));
}

TEST_F(CButtonControlTest, TheWindowShowsPressedAndReleased) {
  Attach();
  EXPECT_TRUE(PixelsNear(ReadControl(window), normal.Read()));
  Press(window, 5, 5);
  EXPECT_TRUE(PixelsNear(ReadControl(window), pressed.Read()));
  Release(window, 5, 5);
  EXPECT_TRUE(PixelsNear(ReadControl(window), normal.Read()));
  EXPECT_EQ(host.clicked, std::vector<int>{kId});
}

TEST_F(CButtonControlTest, ItsCursorIsTheOneItWasGiven) {
  Attach();
  SetCursor(nullptr);
  EXPECT_TRUE(SetsCursor(window));
  EXPECT_EQ(GetCursor(), Hand());
  button.SetCursor(LoadCursorA(nullptr, IDC_WAIT));
  EXPECT_TRUE(SetsCursor(window));
  EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, IDC_WAIT));
}

TEST_F(CButtonControlTest, ANullCursorLeavesTheButtonToTheSystem) {
  Attach(nullptr);
  SetCursor(nullptr);
  SetsCursor(window);
  EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, IDC_ARROW));
}

TEST_F(CButtonControlTest, DetachGivesTheWindowItsProcedureBack) {
  Attach();
  EXPECT_NE(ProcOf(window), own);
  EXPECT_EQ(UserDataOf(window), reinterpret_cast<LONG_PTR>(&button));
  button.Detach();
  EXPECT_EQ(ProcOf(window), own);
  EXPECT_EQ(UserDataOf(window), 0);
  EXPECT_EQ(button.window, nullptr);
  EXPECT_EQ(button.windowDC, nullptr);
  EXPECT_EQ(button.normalDC, nullptr);
  EXPECT_EQ(GetObjectType(normal.Dc()), static_cast<DWORD>(OBJ_MEMDC)) << "the caller's";
}

TEST_F(CButtonControlTest, AWindowWhoseObjectFieldIsEmptyAnswersZero) {
  Attach();
  SetWindowLongPtrA(window, GWLP_USERDATA, 0);
  EXPECT_EQ(SendMessageA(window, WM_GETDLGCODE, 0, 0), 0);
  SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&button));
  EXPECT_NE(SendMessageA(window, WM_GETDLGCODE, 0, 0), 0);
}

TEST_F(CButtonControlTest, FromABackgroundItShowsWhatLiesUnderIt) {
  const Picture background(400, 300, Gradient());
  button.AttachFromBackground(host.Window(), kId, background.Dc(), Hand());
  EXPECT_TRUE(button.ownsPictures);
  EXPECT_EQ(button.normalDC, button.pressedDC);
  EXPECT_TRUE(PixelsNear(Painted(0), background.Read().Cut(30, 40, 60, 33)));
  EXPECT_TRUE(PixelsNear(Painted(ODS_SELECTED), background.Read().Cut(30, 40, 60, 33)));
}

TEST_F(CButtonControlTest, WhatItMadeFromABackgroundItDeletes) {
  const Picture background(400, 300, Gradient());
  button.AttachFromBackground(host.Window(), kId, background.Dc(), nullptr);
  button.Detach();
  const GdiGauge gauge;
  for (int n = 0; n < 20; ++n) {
    button.AttachFromBackground(host.Window(), kId, background.Dc(), nullptr);
    button.AttachFromBackground(host.Window(), kId, background.Dc(), nullptr);
    button.Detach();
  }
  EXPECT_EQ(gauge.Leaked(), 0);
  EXPECT_EQ(ProcOf(window), own);
}

TEST(CButtonControl, AnObjectMayOutliveItsWindow) {
  const Picture picture(60, 33, Gradient());
  CButtonControl button;
  {
    const ControlHost host;
    button.Attach(picture.Dc(), picture.Dc(), 60, 33, host.AddButton(kId, 0, 0, 60, 33), nullptr);
  }
  button.Detach();
  EXPECT_EQ(button.window, nullptr);
}

// --- Toggles: mask 20 by 15, as on the picture of the dialog ---

bool MaskIsWhite(int x, int y) {
  constexpr int kCut[] = {5, 3, 2, 1};
  const int fromEdge = y < 4 ? y : 14 - y;
  const int cut = fromEdge < 4 ? kCut[fromEdge] : 0;
  return x < cut || x >= 20 - cut;
}

class ToggleTest : public testing::Test {
 protected:
  static constexpr int kTall = 6;

  ToggleTest() {
    list.SetPictures(onPicture.Dc(), offPicture.Dc(), mask.Dc(), mask.Dc());
    host.painters[kId] = [this](const DRAWITEMSTRUCT* item) {
      list.Draw(kId, background.Dc(), item);
    };
    host.painters[kTall] = [this](const DRAWITEMSTRUCT* item) {
      list.Draw(kTall, background.Dc(), item);
    };
  }
  CToggleButton* Add(HCURSOR cursor = nullptr) {
    CToggleButton* toggle = list.Add(kId, 20, 15, row, host.Window(), cursor);
    Redraw(row);
    return toggle;
  }
  static void Redraw(HWND window) {
    InvalidateRect(window, nullptr, FALSE);
    PumpMessages();
  }
  // The background at (x, y) with the indicator at the right end.
  Pixels Expected(const Picture& indicator, int x, int y, int width, int height) const {
    Pixels pixels = background.Read().Cut(x, y, width, height);
    const Pixels shown = indicator.Read();
    const int top = height / 2 - 7;
    for (int row_ = 0; row_ < 15; ++row_)
      for (int column = 0; column < 20; ++column)
        if (!MaskIsWhite(column, row_))
          pixels.Set(width - 20 + column, top + row_, shown.At(column, row_));
    return pixels;
  }
  Pixels ExpectedRow(const Picture& indicator) const {
    return Expected(indicator, 30, 40, 160, 15);
  }

  Picture background{400, 300, Gradient()};
  Picture onPicture{20, 15, Checkers(2, 0x00FF10, 0x20A030)};
  Picture offPicture{20, 15, Checkers(2, 0xFF0010, 0xA02030)};
  Picture mask{20, 15,
               [](int x, int y, int, int) { return MaskIsWhite(x, y) ? 0xFFFFFFu : 0u; }};
  ControlHost host;
  HWND row = host.AddButton(kId, 30, 40, 160, 15);
  WNDPROC own = ProcOf(row);
  ToggleButtonList list;
};

TEST(CToggleButtonLayout, FieldsStandInTheirOrder) {
  const CToggleButton t;
  EXPECT_TRUE(StandInOrder(t.oldProc, t.cursor, t.window, t.memoryDC, t.windowDC, t.clientRect,
                           t.parentOffset, t.indicator.x, t.indicator.y, t.indicator.width,
                           t.indicator.height, t.id, t.on));
  EXPECT_EQ(SlotOf(&CToggleButton::WindowProc), 0);
  const ToggleButtonList list;
  EXPECT_TRUE(StandInOrder(list.pendingRemoval, list.onPicture, list.offPicture, list.onMask,
                           list.offMask));
}

TEST_F(ToggleTest, AClickFlipsItOnce) {
  const CToggleButton* toggle = Add();
  EXPECT_FALSE(toggle->on);
  Click(row, 10, 7);
  EXPECT_TRUE(toggle->on);
  Click(row, 150, 7);
  EXPECT_FALSE(toggle->on);
  EXPECT_EQ(host.clicked, (std::vector<int>{kId, kId}));
}

TEST_F(ToggleTest, AClickThatIsOverBeforeAnythingIsPaintedFlipsItOnce) {
  const CToggleButton* toggle = Add();
  PostMessageA(row, WM_LBUTTONDOWN, MK_LBUTTON, MousePoint(10, 7));
  PostMessageA(row, WM_LBUTTONUP, 0, MousePoint(10, 7));
  PumpMessages();
  EXPECT_TRUE(toggle->on);
  EXPECT_TRUE(PixelsNear(ReadControl(row), ExpectedRow(onPicture)));
}

TEST_F(ToggleTest, AMouseThatTremblesDuringAClickFlipsItOnce) {
  const CToggleButton* toggle = Add();
  Press(row, 10, 7);
  for (int x = 11; x < 14; ++x) {
    DragTo(row, x, 7);
    PumpMessages();
    EXPECT_TRUE(toggle->on);
  }
  Release(row, 13, 7);
  PumpMessages();
  EXPECT_TRUE(toggle->on);
}

TEST_F(ToggleTest, ASpaceBarFlipsItOnce) {
  const CToggleButton* toggle = Add();
  SetFocus(row);
  PumpMessages();
  PressKey(row, VK_SPACE);
  EXPECT_TRUE(toggle->on);
  PressKey(row, VK_SPACE);
  EXPECT_FALSE(toggle->on);
}

TEST_F(ToggleTest, WhoeverHandlesTheClickReadsTheNewState) {
  Add();
  std::vector<bool> read;
  host.onMessage = [&](UINT message, WPARAM wParam, LPARAM) {
    if (message == WM_COMMAND && LOWORD(wParam) == kId) read.push_back(list.Find(kId)->on);
    return false;
  };
  Click(row, 10, 7);
  Click(row, 10, 7);
  EXPECT_EQ(read, (std::vector<bool>{true, false}));
}

TEST_F(ToggleTest, ItShowsBackgroundAndIndicator) {
  Add();
  EXPECT_TRUE(PixelsNear(ReadControl(row), ExpectedRow(offPicture)));
  list.SetState(kId, true);
  Redraw(row);
  EXPECT_TRUE(PixelsNear(ReadControl(row), ExpectedRow(onPicture)));
}

TEST_F(ToggleTest, ThePressedDrawStillShowsTheOldPicture) {
  const CToggleButton* toggle = Add();
  Press(row, 10, 7);
  EXPECT_TRUE(toggle->on);
  EXPECT_TRUE(PixelsNear(ReadControl(row), ExpectedRow(offPicture)));
  Release(row, 10, 7);
  EXPECT_TRUE(PixelsNear(ReadControl(row), ExpectedRow(onPicture)));
}

TEST_F(ToggleTest, EveryPressedDrawFlips) {
  const CToggleButton* toggle = Add();
  const Canvas canvas(160, 15);
  DRAWITEMSTRUCT item{};
  item.hDC = canvas.Dc();
  item.itemState = ODS_SELECTED;
  list.Draw(kId, background.Dc(), &item);
  EXPECT_TRUE(toggle->on);
  list.Draw(kId, background.Dc(), &item);
  EXPECT_FALSE(toggle->on);
  EXPECT_TRUE(PixelsNear(canvas.Read(), ExpectedRow(onPicture)));
  item.itemState = ODS_FOCUS;
  list.Draw(kId, background.Dc(), &item);
  EXPECT_FALSE(toggle->on);
}

TEST_F(ToggleTest, APressDraggedOffAndBackFlipsTwice) {
  const CToggleButton* toggle = Add();
  Press(row, 10, 7);
  EXPECT_TRUE(toggle->on);
  DragTo(row, 10, 200);
  EXPECT_TRUE(toggle->on) << "drawn released";
  DragTo(row, 10, 7);
  EXPECT_FALSE(toggle->on) << "drawn pressed once more";
  Release(row, 10, 7);
  EXPECT_FALSE(toggle->on);
}

TEST_F(ToggleTest, ATallToggleHasItsIndicatorInTheMiddle) {
  const HWND tall = host.AddButton(kTall, 200, 100, 102, 34);
  const CToggleButton* toggle = list.Add(kTall, 20, 15, tall, host.Window(), true, nullptr);
  EXPECT_EQ(toggle->indicator.x, 82);
  EXPECT_EQ(toggle->indicator.y, 10);
  EXPECT_TRUE(toggle->on);
  Redraw(tall);
  EXPECT_TRUE(PixelsNear(ReadControl(tall), Expected(onPicture, 200, 100, 102, 34)));
}

TEST_F(ToggleTest, CreateKeepsItsPlaceInTheParent) {
  const CToggleButton* toggle = Add();
  EXPECT_EQ(toggle->parentOffset.left, 30);
  EXPECT_EQ(toggle->parentOffset.top, 40);
  EXPECT_EQ(toggle->parentOffset.right, 30 + 160 - 400);
  EXPECT_EQ(toggle->parentOffset.bottom, 40 + 15 - 300);
  EXPECT_EQ(toggle->clientRect.right, 160);
  EXPECT_EQ(toggle->id, static_cast<unsigned>(kId));
}

TEST_F(ToggleTest, ANullCursorLeavesTheToggleToTheSystem) {
  Add();
  SetCursor(nullptr);
  SetsCursor(row);
  EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, IDC_ARROW));
}

TEST_F(ToggleTest, AGivenCursorShows) {
  Add(Hand());
  SetCursor(nullptr);
  EXPECT_TRUE(SetsCursor(row));
  EXPECT_EQ(GetCursor(), Hand());
}

TEST_F(ToggleTest, AnUnknownIdIsNullAndDoesNothing) {
  const CToggleButton* toggle = Add();
  EXPECT_EQ(list.Find(4711), nullptr);
  list.SetState(4711, true);
  list.Flip(4711);
  DRAWITEMSTRUCT item{};
  item.itemState = ODS_SELECTED;
  list.Draw(4711, background.Dc(), &item);
  EXPECT_FALSE(toggle->on);
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(ToggleButtonList().Find(kId), nullptr) << "an empty list";
}

TEST_F(ToggleTest, StatesAreSetAndFlippedById) {
  const CToggleButton* toggle = Add();
  list.SetState(kId, true);
  EXPECT_TRUE(toggle->on);
  list.Flip(kId);
  EXPECT_FALSE(toggle->on);
}

TEST_F(ToggleTest, DrawAllDrawsEachAndFlipsNone) {
  const CToggleButton* toggle = Add();
  const HWND tall = host.AddButton(kTall, 30, 100, 160, 34);
  list.Add(kTall, 20, 15, tall, host.Window(), true, nullptr);
  const Canvas canvas(160, 34, 0x123456);
  DRAWITEMSTRUCT item{};
  item.hDC = canvas.Dc();
  item.itemState = ODS_SELECTED;
  list.DrawAll(background.Dc(), &item);
  EXPECT_FALSE(toggle->on);
  EXPECT_TRUE(PixelsNear(canvas.Read(), Expected(onPicture, 30, 100, 160, 34)));
}

TEST_F(ToggleTest, TheListOwnsItsToggles) {
  const auto addAndDrop = [&] {
    ToggleButtonList local;
    local.Add(kId, 20, 15, row, host.Window(), nullptr);
    EXPECT_NE(ProcOf(row), own);
  };
  addAndDrop();
  EXPECT_EQ(ProcOf(row), own);
  const GdiGauge gauge;
  for (int n = 0; n < 20; ++n) addAndDrop();
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace
