#include "ControlHost.h"
#include "support/ImportHook.h"
#include "support/Layout.h"
#include "ui/CFilledSlider.h"
#include "ui/CListBoxSlider.h"
#include "ui/CSteppedSlider.h"

#include <gtest/gtest.h>

#include <memory>

using namespace support;

namespace {

constexpr int kId = 5;

// A slider on a button of its own, 108 by 17 px or 18 by 108, with pictures in
// which every pixel differs from its neighbours.
template <class Slider>
class SliderTest : public testing::Test {
 protected:
  void AttachHorizontal() { AttachTo(host.AddButton(kId, 20, 30, 108, 17), true); }
  void AttachVertical() { AttachTo(host.AddButton(kId, 20, 30, 18, 108), false); }

  void AttachTo(HWND hwnd, bool horizontal) {
    button = hwnd;
    slider.SetBackground(track.Dc());
    slider.SetHorizontal(horizontal);
    slider.SetKnob(horizontal ? knob.Dc() : flatKnob.Dc());
    slider.SetKnobSize(horizontal ? 7 : 18, horizontal ? 18 : 7);
    slider.Attach(button);
    host.painters[kId] = [this](const DRAWITEMSTRUCT* item) { slider.Paint(item); };
    InvalidateRect(button, nullptr, FALSE);
    PumpMessages();
  }

  // What one Paint leaves on a red surface of the control's size.
  Pixels Painted() {
    RECT rect{};
    GetClientRect(button, &rect);
    const Canvas canvas(rect.right, rect.bottom, 0xFF0000);
    DRAWITEMSTRUCT item{};
    item.hDC = canvas.Dc();
    slider.Paint(&item);
    return canvas.Read();
  }

  Picture track{120, 120, [](int x, int y, int, int) { return 0x000001u * x + 0x000100u * y; }};
  Picture knob{7, 18, [](int x, int y, int, int) { return 0xC00000u + 0x10u * x + 0x0400u * y; }};
  Picture flatKnob{18, 7,
                   [](int x, int y, int, int) { return 0xC00000u + 0x08u * x + 0x1000u * y; }};
  ControlHost host;
  Slider slider;
  HWND button = nullptr;
};

using CSliderControlTest = SliderTest<CSliderControl>;

TEST(CSliderControlLayout, FieldsStandInTheirOrder) {
  const CSliderControl s;
  EXPECT_TRUE(StandInOrder(s.background, s.knob, s.windowDC, s.clientRect, s.windowRect,
                           s.invalidRect, s.position, s.knobWidth, s.knobHeight, s.pageStep,
                           s.horizontal, s.window, s.notifyWindow, s.oldProc));
  const CFilledSlider filled;
  EXPECT_TRUE(StandInOrder(filled.oldProc, filled.fill));
  const CSteppedSlider stepped;
  EXPECT_TRUE(StandInOrder(stepped.fill, stepped.steps));
  const CListBoxSlider list;
  EXPECT_TRUE(StandInOrder(list.oldProc, list.listWindow, list.visibleRows, list.oldListProc));
}

TEST(CSliderControlLayout, TenOperationsStandInTheirSlots) {
  EXPECT_EQ(SlotOf(&CSliderControl::WindowProc), 0);
  EXPECT_EQ(SlotOf(&CSliderControl::Attach), 1);
  EXPECT_EQ(SlotOf(&CSliderControl::Detach), 2);
  EXPECT_EQ(SlotOf(&CSliderControl::GetKnobEdge), 3);
  EXPECT_EQ(SlotOf(&CSliderControl::GetValue), 4);
  EXPECT_EQ(SlotOf(&CSliderControl::SetPosition), 5);
  EXPECT_EQ(SlotOf(&CSliderControl::SetPageStep), 6);
  EXPECT_EQ(SlotOf(&CSliderControl::PageToward), 7);
  EXPECT_EQ(SlotOf(&CSliderControl::Paint), 8);
  EXPECT_EQ(SlotOf(&CSliderControl::HitKnob), 9);
  EXPECT_EQ(SlotOf(&CSliderControl::SetPercent), -1);
}

TEST(CSliderControlLayout, ANewSliderHasItsDefaults) {
  const CSliderControl s;
  EXPECT_EQ(s.background, nullptr);
  EXPECT_EQ(s.windowDC, nullptr);
  EXPECT_EQ(s.invalidRect.right, 0);
  EXPECT_EQ(s.position, 0.0f);
  EXPECT_EQ(s.knobWidth, 7.0f);
  EXPECT_EQ(s.knobHeight, 18.0f);
  EXPECT_EQ(s.pageStep, 10);
  EXPECT_TRUE(s.horizontal);
  EXPECT_EQ(s.oldProc, nullptr);
  EXPECT_EQ(CSteppedSlider().steps, 3);
  EXPECT_EQ(CListBoxSlider().visibleRows, 0);
}

TEST_F(CSliderControlTest, PercentZeroStandsHalfAKnobFromTheLowEnd) {
  AttachHorizontal();
  slider.SetPercent(0.0f);
  EXPECT_EQ(slider.position, 3.5f);
}

TEST_F(CSliderControlTest, PercentOneStandsHalfAKnobFromTheHighEnd) {
  AttachHorizontal();
  slider.SetPercent(1.0f);
  EXPECT_EQ(slider.position, 104.5f);
}

TEST_F(CSliderControlTest, SharesOutsideZeroToOneAreClamped) {
  AttachVertical();
  slider.SetPercent(-3.0f);
  EXPECT_EQ(slider.position, 3.5f);
  slider.SetPercent(17.0f);
  EXPECT_EQ(slider.position, 104.5f);
  slider.SetPercent(0.0f / 0.0f);
  EXPECT_EQ(slider.position, 3.5f) << "a share that is no number";
}

TEST_F(CSliderControlTest, PercentIsOfTheTrackLessHalfAKnob) {
  AttachHorizontal();
  slider.SetPercent(0.5f);
  EXPECT_EQ(slider.position, 52.25f);
}

TEST_F(CSliderControlTest, PositionNeverComesNearerToAnEndThanHalfAKnob) {
  AttachHorizontal();
  slider.SetPosition(0.0f);
  EXPECT_EQ(slider.position, 3.5f);
  slider.SetPosition(3.0f);
  EXPECT_EQ(slider.position, 3.5f);
  slider.SetPosition(4.0f);
  EXPECT_EQ(slider.position, 4.0f);
  slider.SetPosition(104.0f);
  EXPECT_EQ(slider.position, 104.0f);
  slider.SetPosition(108.0f);
  EXPECT_EQ(slider.position, 104.5f);
}

TEST_F(CSliderControlTest, ValueNeverReachesZero) {
  AttachHorizontal();
  slider.SetPercent(0.0f);
  EXPECT_EQ(slider.GetValue(), 3.5f / 104.5f);
  slider.SetPercent(1.0f);
  EXPECT_EQ(slider.GetValue(), 1.0f);
}

TEST_F(CSliderControlTest, KnobEdgeIsHalfAKnobBeforeTheCentre) {
  AttachVertical();
  slider.SetPosition(50.0f);
  EXPECT_EQ(slider.GetKnobEdge(), 46.5f);
}

TEST_F(CSliderControlTest, KnobIsHitBothEndsIncluded) {
  AttachHorizontal();
  slider.SetPosition(50.5f);
  EXPECT_FALSE(slider.HitKnob(46, 50));
  EXPECT_TRUE(slider.HitKnob(47, 0));
  EXPECT_TRUE(slider.HitKnob(54, 0));
  EXPECT_FALSE(slider.HitKnob(55, 50));
}

TEST_F(CSliderControlTest, AVerticalKnobIsHitByItsHeight) {
  AttachVertical();
  slider.SetPosition(50.5f);
  EXPECT_FALSE(slider.HitKnob(50, 46));
  EXPECT_TRUE(slider.HitKnob(0, 47));
  EXPECT_TRUE(slider.HitKnob(0, 54));
  EXPECT_FALSE(slider.HitKnob(50, 55));
}

TEST_F(CSliderControlTest, PagesGoByThePageStepAndStopAtTheEnds) {
  AttachHorizontal();
  slider.SetPageStep(35);
  slider.SetPosition(50.0f);
  slider.PageToward(51);
  EXPECT_EQ(slider.position, 85.0f);
  slider.PageToward(100);
  EXPECT_EQ(slider.position, 104.5f);
  slider.SetPosition(50.0f);
  slider.PageToward(50);
  EXPECT_EQ(slider.position, 15.0f) << "not beyond the centre counts as before it";
  slider.PageToward(0);
  EXPECT_EQ(slider.position, 3.5f);
}

TEST_F(CSliderControlTest, AttachPutsTheKnobOnTheTrack) {
  AttachHorizontal();
  EXPECT_EQ(slider.position, 3.5f);
  RECT client{};
  GetClientRect(button, &client);
  EXPECT_TRUE(EqualRect(&slider.clientRect, &client));
  RECT window{};
  GetWindowRect(button, &window);
  EXPECT_TRUE(EqualRect(&slider.windowRect, &window));
  EXPECT_EQ(slider.window, button);
  EXPECT_NE(slider.windowDC, nullptr);
  EXPECT_EQ(UserDataOf(button), reinterpret_cast<LONG_PTR>(&slider));
}

TEST_F(CSliderControlTest, HorizontalPaintingIsTrackThenKnob) {
  AttachHorizontal();
  slider.SetPosition(50.9f);  // the knob at 47.4 and at 8 - 9 = -1
  const Pixels expected = Lay(track.Read().Cut(0, 0, 108, 17), knob.Read(), 47, -1);
  EXPECT_TRUE(PixelsNear(Painted(), expected));
}

TEST_F(CSliderControlTest, VerticalPaintingHasTheKnobOnePixelRightOfTheCentre) {
  AttachTo(host.AddButton(kId, 20, 30, 30, 108), false);
  slider.SetPosition(50.9f);  // the knob at 47.4 and at 15 + 1 - 9 = 7
  const Pixels expected = Lay(track.Read().Cut(0, 0, 30, 108), flatKnob.Read(), 7, 47);
  EXPECT_TRUE(PixelsNear(Painted(), expected));
}

TEST_F(CSliderControlTest, MissingPicturesLeaveTheControlBlank) {
  AttachHorizontal();
  slider.SetBackground(nullptr);
  slider.SetKnob(nullptr);
  EXPECT_TRUE(PixelsNear(Painted(), Pixels(108, 17, 0xFF0000)));
}

TEST_F(CSliderControlTest, APressOnTheTrackPagesTowardsIt) {
  AttachHorizontal();
  slider.SetPosition(50.0f);
  Click(button, 90, 8);
  EXPECT_EQ(slider.position, 60.0f);
  Click(button, 10, 8);
  EXPECT_EQ(slider.position, 50.0f);
  for (int n = 0; n < 20; ++n) Click(button, 107, 8);
  EXPECT_EQ(slider.position, 104.5f);
}

TEST_F(CSliderControlTest, APressOnTheKnobDoesNotMoveIt) {
  AttachHorizontal();
  slider.SetPosition(50.0f);
  Click(button, 53, 8);
  EXPECT_EQ(slider.position, 50.0f);
}

TEST_F(CSliderControlTest, ADragCarriesTheKnobWhileTheButtonIsDown) {
  AttachVertical();
  slider.SetPosition(50.0f);
  Press(button, 9, 50);
  DragTo(button, 9, 70);
  EXPECT_EQ(slider.position, 70.0f);
  DragTo(button, 9, 3000);
  EXPECT_EQ(slider.position, 104.5f) << "below the window";
  Release(button, 9, 3000);
  SendMessageA(button, WM_MOUSEMOVE, 0, MousePoint(9, 20));
  EXPECT_EQ(slider.position, 104.5f) << "the button is up";
}

TEST_F(CSliderControlTest, ADragToTheLeftOfTheWindowLeavesTheKnobAtTheLowEnd) {
  AttachHorizontal();
  slider.SetPosition(50.0f);
  Press(button, 50, 8);
  DragTo(button, -5, 8);
  EXPECT_EQ(slider.position, 3.5f);
  DragTo(button, -10000, 8);
  EXPECT_EQ(slider.position, 3.5f);
  Release(button, -5, 8);
}

TEST_F(CSliderControlTest, OneCoordinateAbove55000CountsAsZero) {
  AttachHorizontal();
  Press(button, 3, 8);
  SendMessageA(button, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(55000, 8));
  EXPECT_EQ(slider.position, 104.5f);
  SendMessageA(button, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(55001, 8));
  EXPECT_EQ(slider.position, 3.5f);
  Release(button, 3, 8);
}

TEST_F(CSliderControlTest, ADragShowsAtOnceWithoutWaitingForAPaintMessage) {
  AttachHorizontal();
  UpdateWindow(button);
  host.painters.clear();
  Press(button, 3, 8);
  DragTo(button, 60, 8);
  const Pixels shown = ReadControl(button);
  EXPECT_TRUE(PixelsNear(shown, Painted()));
  Release(button, 60, 8);
}

TEST_F(CSliderControlTest, EachChangeRepaintsTheNotifyWindowsRectangle) {
  AttachHorizontal();
  slider.SetNotifyWindow(host.Window());
  slider.SetInvalidRect(200, 100, 240, 120);
  const auto updateRect = [&] {
    RECT rect{};
    GetUpdateRect(host.Window(), &rect, FALSE);
    ValidateRect(host.Window(), nullptr);
    return rect;
  };
  updateRect();
  Press(button, 90, 8);
  RECT rect = updateRect();
  EXPECT_EQ(rect.left, 200);
  EXPECT_EQ(rect.bottom, 120);
  DragTo(button, 95, 8);
  rect = updateRect();
  EXPECT_EQ(rect.top, 100);
  EXPECT_EQ(rect.right, 240);
  Release(button, 95, 8);
}

TEST_F(CSliderControlTest, EveryMessageGoesOnToTheButton) {
  AttachHorizontal();
  Press(button, 90, 8);
  EXPECT_EQ(GetCapture(), button) << "so that a drag works outside the window";
  Release(button, 90, 8);
  EXPECT_EQ(GetCapture(), nullptr);
  EXPECT_EQ(host.clicked, std::vector<int>{kId});
}

TEST_F(CSliderControlTest, DetachGivesTheWindowItsProcedureBack) {
  const HWND plain = host.AddButton(kId, 20, 30, 108, 17);
  const WNDPROC own = ProcOf(plain);
  AttachTo(plain, true);
  EXPECT_NE(ProcOf(plain), own);
  slider.Detach();
  EXPECT_EQ(ProcOf(plain), own);
  slider.Detach();
  EXPECT_EQ(ProcOf(plain), own);
}

TEST(CSliderControl, AnObjectThatGoesGivesTheWindowBack) {
  const ControlHost host;
  const HWND button = host.AddButton(kId, 20, 30, 108, 17);
  const WNDPROC own = ProcOf(button);
  {
    CFilledSlider slider;
    slider.Attach(button);
  }
  EXPECT_EQ(ProcOf(button), own);
  EXPECT_EQ(UserDataOf(button), 0);
}

TEST(CSliderControl, AnObjectMayOutliveItsWindow) {
  CSliderControl slider;
  {
    const ControlHost host;
    slider.Attach(host.AddButton(kId, 20, 30, 108, 17));
    slider.SetPercent(1.0f);
  }
  EXPECT_EQ(slider.position, 104.5f);
  slider.Detach();
}

// --- The filled kind ---

class CFilledSliderTest : public SliderTest<CFilledSlider> {
 protected:
  CFilledSliderTest() { slider.SetFill(fill.Dc()); }
  Picture fill{120, 120,
               [](int x, int y, int, int) { return 0x400000u + 0x000001u * x + 0x000100u * y; }};
};

TEST_F(CFilledSliderTest, LeftOfAHorizontalKnobThePictureIsTheFill) {
  AttachHorizontal();
  slider.SetPosition(50.9f);
  Pixels expected = Lay(track.Read().Cut(0, 0, 108, 17), fill.Read().Cut(0, 0, 50, 17), 0, 0);
  expected = Lay(expected, knob.Read(), 47, -1);
  EXPECT_TRUE(PixelsNear(Painted(), expected));
}

TEST_F(CFilledSliderTest, BelowAVerticalKnobThePictureIsTheFill) {
  AttachVertical();
  slider.SetPosition(50.9f);
  Pixels expected = Lay(track.Read().Cut(0, 0, 18, 108), fill.Read().Cut(0, 50, 18, 58), 0, 50);
  expected = Lay(expected, flatKnob.Read(), 1, 47);
  EXPECT_TRUE(PixelsNear(Painted(), expected));
}

TEST_F(CFilledSliderTest, BothEndsArePaintedWhole) {
  AttachHorizontal();
  slider.SetPercent(0.0f);
  Pixels expected = Lay(track.Read().Cut(0, 0, 108, 17), fill.Read().Cut(0, 0, 3, 17), 0, 0);
  EXPECT_TRUE(PixelsNear(Painted(), Lay(expected, knob.Read(), 0, -1)));
  slider.SetPercent(1.0f);
  expected = Lay(track.Read().Cut(0, 0, 108, 17), fill.Read().Cut(0, 0, 104, 17), 0, 0);
  EXPECT_TRUE(PixelsNear(Painted(), Lay(expected, knob.Read(), 101, -1)));
}

TEST_F(CFilledSliderTest, ADragShowsTheFillGrow) {
  AttachHorizontal();
  Press(button, 3, 8);
  DragTo(button, 80, 8);
  EXPECT_TRUE(PixelsNear(ReadControl(button), Painted()));
  EXPECT_EQ(ReadControl(button).At(20, 5), fill.Read().At(20, 5));
  EXPECT_EQ(ReadControl(button).At(100, 5), track.Read().At(100, 5));
  Release(button, 80, 8);
}

// --- The stepped kind: four places on 108 px, 36 px apart ---

class CSteppedSliderTest : public SliderTest<CSteppedSlider> {
 protected:
  CSteppedSliderTest() {
    slider.steps = 4;
    slider.SetFill(fill.Dc());
  }
  Picture fill{120, 120, Flat(0x308030)};
};

TEST_F(CSteppedSliderTest, SnapGoesToTheNearestPlace) {
  AttachHorizontal();
  slider.SnapTo(36 + 18);
  EXPECT_EQ(slider.position, 36.0f) << "the middle belongs to the lower place";
  slider.SnapTo(36 + 19);
  EXPECT_EQ(slider.position, 72.0f);
  slider.SnapTo(75);
  EXPECT_EQ(slider.position, 72.0f);
}

TEST_F(CSteppedSliderTest, SnapAtAnEndIsClampedToAWholePixel) {
  AttachHorizontal();
  slider.SnapTo(2);
  EXPECT_EQ(slider.position, 3.0f);
  slider.SnapTo(107);
  EXPECT_EQ(slider.position, 104.0f);
}

TEST_F(CSteppedSliderTest, StepsAreSetByTheirNumberAndRead) {
  AttachHorizontal();
  for (const int step : {0, 1, 2, 3}) {
    slider.SetStep(step);
    // Counted in strides of truncate(101 / 3) = 33 px from half a knob on.
    const int edge = static_cast<int>(slider.position - 3.5f);
    EXPECT_EQ(slider.GetKnobEdge(), static_cast<float>(edge / 33)) << step;
  }
  slider.SetStep(0);
  EXPECT_EQ(slider.position, 3.0f);
  EXPECT_EQ(slider.GetKnobEdge(), 0.0f);
  slider.SetStep(2);
  EXPECT_EQ(slider.position, 72.0f);
  EXPECT_EQ(slider.GetKnobEdge(), 2.0f);
}

TEST_F(CSteppedSliderTest, APressBesideTheKnobMovesOnePlaceAtItsRelease) {
  AttachHorizontal();
  slider.SetStep(1);
  Press(button, 100, 8);
  EXPECT_EQ(slider.position, 36.0f);
  Release(button, 100, 8);
  EXPECT_EQ(slider.position, 72.0f);
  Click(button, 5, 8);
  EXPECT_EQ(slider.position, 36.0f);
  Click(button, 36, 8);
  EXPECT_EQ(slider.position, 36.0f) << "on the knob";
}

TEST_F(CSteppedSliderTest, ADragIsFreeAndSnapsWhenItEnds) {
  AttachHorizontal();
  slider.SetStep(0);
  Press(button, 3, 8);
  DragTo(button, 47, 8);
  EXPECT_EQ(slider.position, 47.0f);
  Release(button, 47, 8);
  EXPECT_EQ(slider.position, 36.0f);
  EXPECT_TRUE(PixelsNear(ReadControl(button), Painted()));
  Press(button, 36, 8);
  DragTo(button, -3, 8);
  Release(button, -3, 8);
  EXPECT_EQ(slider.position, 3.0f) << "released left of the window";
}

TEST_F(CSteppedSliderTest, AReleaseAfterADragIsAPressAgain) {
  AttachHorizontal();
  slider.SetStep(0);
  Press(button, 3, 8);
  DragTo(button, 40, 8);
  Release(button, 40, 8);
  Click(button, 100, 8);
  EXPECT_EQ(slider.position, 72.0f) << "one place on, not to where the press was";
}

TEST_F(CSteppedSliderTest, AVerticalOneIsNotMovedByARelease) {
  AttachVertical();
  slider.SetPosition(50.0f);
  Click(button, 9, 100);
  EXPECT_EQ(slider.position, 50.0f);
  Press(button, 9, 50);
  DragTo(button, 9, 61);
  Release(button, 9, 61);
  EXPECT_EQ(slider.position, 61.0f);
}

TEST_F(CSteppedSliderTest, FewerThanTwoPlacesDoNoHarm) {
  AttachHorizontal();
  for (const int steps : {1, 0, -3, 5000}) {
    slider.steps = steps;
    slider.SnapTo(50);
    slider.PageToward(100);
    slider.SetStep(1);
    EXPECT_GE(slider.position, 3.0f) << steps;
    EXPECT_LE(slider.position, 104.5f) << steps;
    slider.GetKnobEdge();
  }
}

// --- The kind that scrolls a list: 94 px high, knob 13 by 13, six rows ---

class CListBoxSliderTest : public testing::Test {
 protected:
  void Bind(int rows) {
    list = host.AddControl("LISTBOX", WS_BORDER | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT, 7, 100, 20,
                           92, 94);
    for (int row = 0; row < rows; ++row)
      SendMessageA(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("800x600x32"));
    SendMessageA(list, LB_SETCURSEL, 0, 0);
    button = host.AddButton(kId, 192, 20, 15, 94);
    ownListProc = ProcOf(list);
    ownButtonProc = ProcOf(button);
    slider.SetBackground(track.Dc());
    slider.SetKnob(knob.Dc());
    slider.BindList(list);
    slider.SetVisibleRows(6);
    slider.SetHorizontal(false);
    slider.SetKnobSize(13, 13);
    slider.SetPageStep(35);
    slider.Attach(button);
    host.painters[kId] = [this](const DRAWITEMSTRUCT* item) { slider.Paint(item); };
    PumpMessages();
  }

  int Top() const { return static_cast<int>(SendMessageA(list, LB_GETTOPINDEX, 0, 0)); }
  int Selected() const { return static_cast<int>(SendMessageA(list, LB_GETCURSEL, 0, 0)); }
  // Where the list begins for the knob's place, as long as it has rows enough.
  int TopForKnob(int rows) {
    return static_cast<int>((slider.position - 6.5f) / 81.0f * static_cast<float>(rows - 5));
  }
  Pixels Painted() {
    const Canvas canvas(15, 94);
    DRAWITEMSTRUCT item{};
    item.hDC = canvas.Dc();
    slider.Paint(&item);
    return canvas.Read();
  }

  Picture track{15, 94, [](int x, int y, int, int) { return 0x000001u * x + 0x000100u * y; }};
  Picture knob{13, 13, Flat(0xC0C000)};
  ControlHost host;
  CListBoxSlider slider;
  HWND list = nullptr;
  HWND button = nullptr;
  WNDPROC ownListProc = nullptr;
  WNDPROC ownButtonProc = nullptr;
};

TEST_F(CListBoxSliderTest, ValueRunsExactlyFromZeroToOne) {
  Bind(20);
  slider.SetPercent(0.0f);
  EXPECT_EQ(slider.GetValue(), 0.0f);
  slider.SetPercent(1.0f);
  EXPECT_EQ(slider.GetValue(), 1.0f);
}

TEST_F(CListBoxSliderTest, ADragOfTheKnobScrollsTheList) {
  Bind(40);
  Press(button, 7, 6);
  DragTo(button, 7, 47);
  EXPECT_EQ(slider.position, 47.0f);
  EXPECT_EQ(Top(), 17);  // (47 - 6.5) / 81 = 0.5 of 35
  DragTo(button, 7, 94);
  EXPECT_GE(Top(), 34);
  DragTo(button, 7, -20);
  EXPECT_EQ(slider.position, 6.5f);
  EXPECT_EQ(Top(), 0);
  Release(button, 7, 0);
  EXPECT_TRUE(PixelsNear(ReadControl(button), Painted()));
}

TEST_F(CListBoxSliderTest, APressOnTheTrackPagesKnobAndList) {
  Bind(40);
  Click(button, 7, 90);
  EXPECT_EQ(slider.position, 41.5f);
  EXPECT_EQ(Top(), TopForKnob(40));
  EXPECT_EQ(Top(), 15);
  Click(button, 7, 1);
  EXPECT_EQ(slider.position, 6.5f);
  EXPECT_EQ(Top(), 0);
}

TEST_F(CListBoxSliderTest, AWheelNotchOnTheListOrTheKnobMovesBothByTheSameAmount) {
  Bind(40);
  for (const int delta : {-120, 120}) {
    slider.SetPosition(47.0f);
    TurnWheel(button, delta);
    const float knobPlace = slider.position;
    const int top = Top();
    EXPECT_EQ(top, TopForKnob(40));
    slider.SetPosition(47.0f);
    TurnWheel(list, delta);
    EXPECT_EQ(slider.position, knobPlace) << delta;
    EXPECT_EQ(Top(), top) << delta;
    EXPECT_TRUE(PixelsNear(ReadControl(button), Painted()));
  }
}

TEST_F(CListBoxSliderTest, ANotchStartsFromTheKnobsEdge) {
  Bind(40);
  slider.SetPosition(47.0f);
  TurnWheel(button, 120);
  EXPECT_EQ(slider.position, 47.0f - 23.5f);
  slider.SetPosition(47.0f);
  TurnWheel(button, -120);
  EXPECT_EQ(slider.position, 47.0f + 10.5f);
  TurnWheel(button, 0);
  EXPECT_EQ(slider.position, 47.0f + 21.0f) << "no turn at all counts as downwards";
}

TEST_F(CListBoxSliderTest, AClickInTheListMovesTheKnobToTheSelectedRow) {
  Bind(11);
  SendMessageA(list, LB_SETCURSEL, 5, 0);
  SendMessageA(list, WM_LBUTTONUP, 0, MousePoint(10, 200));
  EXPECT_EQ(slider.position, 43.75f);  // half of 94 - 6.5
  EXPECT_TRUE(PixelsNear(ReadControl(button), Painted()));
}

TEST_F(CListBoxSliderTest, AKeyMovesTheKnobByTheRowBeforeIt) {
  Bind(11);
  SetFocus(list);
  SendMessageA(list, WM_KEYDOWN, VK_DOWN, 1);
  EXPECT_EQ(Selected(), 1);
  EXPECT_EQ(slider.position, 6.5f);
  SendMessageA(list, WM_KEYDOWN, VK_END, 1);
  EXPECT_EQ(Selected(), 10);
  EXPECT_EQ(slider.position, 8.75f);  // a tenth of 87.5
  SendMessageA(list, WM_KEYDOWN, VK_HOME, 1);
  EXPECT_EQ(slider.position, 87.5f);
}

TEST_F(CListBoxSliderTest, OneRowPutsTheKnobAtTheStart) {
  Bind(1);
  slider.SetPosition(50.0f);
  SendMessageA(list, WM_LBUTTONUP, 0, MousePoint(10, 5));
  EXPECT_EQ(slider.position, 6.5f);
}

TEST_F(CListBoxSliderTest, AnEmptyListDoesNoHarm) {
  Bind(0);
  SendMessageA(list, WM_LBUTTONUP, 0, MousePoint(10, 5));
  EXPECT_EQ(slider.position, 6.5f);
  Press(button, 7, 6);
  DragTo(button, 7, 60);
  Release(button, 7, 60);
  EXPECT_EQ(slider.position, 60.0f);
}

TEST_F(CListBoxSliderTest, FewerRowsThanAreVisibleStayWhereTheyAre) {
  Bind(3);
  Press(button, 7, 6);
  DragTo(button, 7, 80);
  Release(button, 7, 80);
  EXPECT_EQ(Top(), 0);
}

TEST_F(CListBoxSliderTest, AListThatIsBoundBeforeItsKnobDrawsNothingOnTheScreen) {
  CListBoxSlider early;
  early.SetBackground(track.Dc());
  early.BindList(host.AddControl("LISTBOX", LBS_NOTIFY, 8, 100, 150, 92, 94));
  int asked = 0;
  HOOK_IMPORT(note, "user32.dll", GetWindowDC, [&](HWND hwnd) -> HDC {
    asked += hwnd == nullptr;
    return REAL_IMPORT("user32.dll", GetWindowDC)(hwnd);
  });
  TurnWheel(early.listWindow, -120);
  PressKey(early.listWindow, VK_DOWN);
  EXPECT_EQ(asked, 0);
}

TEST_F(CListBoxSliderTest, DetachGivesBothWindowsTheirProceduresBack) {
  Bind(3);
  EXPECT_NE(ProcOf(list), ownListProc);
  slider.Detach();
  EXPECT_EQ(ProcOf(list), ownListProc);
  EXPECT_EQ(ProcOf(button), ownButtonProc);
}

TEST_F(CListBoxSliderTest, AnObjectThatGoesGivesBothWindowsBack) {
  Bind(3);
  const HWND otherList = host.AddControl("LISTBOX", LBS_NOTIFY, 8, 100, 150, 92, 94);
  const HWND otherButton = host.AddButton(9, 192, 150, 15, 94);
  auto shortLived = std::make_unique<CListBoxSlider>();
  shortLived->BindList(otherList);
  shortLived->Attach(otherButton);
  EXPECT_NE(ProcOf(otherList), ownListProc);
  shortLived.reset();
  EXPECT_EQ(ProcOf(otherList), ownListProc);
  EXPECT_EQ(ProcOf(otherButton), ownButtonProc);
}

}  // namespace
