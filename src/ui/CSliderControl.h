#pragma once
// A slider on a picture: subclasses an owner-drawn BUTTON window, works in
// pixels along one axis, and paints itself from device contexts that it is
// given. It has no range and sends no notification: the owner asks GetValue
// and turns the share of the track into a setting.
//
// Pictures, orientation and knob size are set first, then Attach, then
// SetPercent. The pictures stay the owner's and must outlive the window; the
// slider may outlive it. The window's thread only.

#include "base/win.h"

class CSliderControl {
 public:
  CSliderControl() = default;
  ~CSliderControl();
  CSliderControl(const CSliderControl&) = delete;
  CSliderControl& operator=(const CSliderControl&) = delete;

  // What a subclassed window does with a message; all of them go on to the
  // window's own procedure, whose mouse capture makes dragging work outside
  // the window.
  virtual LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  // Takes over the button `hwnd`; the knob stays on the track.
  virtual void Attach(HWND hwnd);
  // Gives the window back its own procedure.
  virtual void Detach();
  // The knob's low edge on the axis, px.
  virtual float GetKnobEdge();
  // The knob's place as a share of the track's length less half a knob. Since
  // the centre keeps half a knob from the low end, too, it never reaches 0.
  virtual float GetValue();
  // Puts the knob's centre at `centre` px, or as near as the track allows.
  virtual void SetPosition(float centre);
  virtual void SetPageStep(int pixels) { pageStep = pixels; }
  // Moves one page towards `coordinate`, px.
  virtual void PageToward(int coordinate);
  // Draws the track and the knob into the context of `item`; nothing else of
  // it is read.
  virtual void Paint(const DRAWITEMSTRUCT* item);
  // Whether the point, in client px, is within the knob's length.
  virtual bool HitKnob(int x, int y);

  // Puts the knob at the share `share`, limited to 0 to 1, of the way.
  void SetPercent(float share);

  void SetBackground(HDC picture) { background = picture; }
  void SetKnob(HDC picture) { knob = picture; }
  void SetKnobSize(int width, int height);
  void SetHorizontal(bool yes) { horizontal = yes; }
  // After each change the rectangle of `hwnd` is repainted.
  void SetNotifyWindow(HWND hwnd) { notifyWindow = hwnd; }
  void SetInvalidRect(int left, int top, int right, int bottom) {
    invalidRect = {left, top, right, bottom};
  }

  HDC background = nullptr;  // the track
  HDC knob = nullptr;
  HDC windowDC = nullptr;    // nothing draws on it
  RECT clientRect{};
  RECT windowRect{};         // nothing reads it
  RECT invalidRect{};        // of notifyWindow, repainted after each change
  float position = 0;        // the knob's centre on the axis, px
  float knobWidth = 7;       // px
  float knobHeight = 18;
  int pageStep = 10;         // px
  bool horizontal = true;
  HWND window = nullptr;
  HWND notifyWindow = nullptr;
  WNDPROC oldProc = nullptr;

 protected:
  // Lengths along the axis, px.
  LONG Span() const { return horizontal ? clientRect.right : clientRect.bottom; }
  LONG Start() const { return horizontal ? clientRect.left : clientRect.top; }
  float KnobLength() const { return horizontal ? knobWidth : knobHeight; }
  float HalfKnob() const { return KnobLength() * 0.5f; }
  float LowEnd() const { return static_cast<float>(Start()) + HalfKnob(); }
  float HighEnd() const { return static_cast<float>(Span()) - HalfKnob(); }

  // The coordinate of a mouse message along the axis as it stands in the
  // message: unsigned.
  int MouseCoordinate(LPARAM lParam) const;
  // The same while dragging, with 0 for what lies before the window.
  int DragCoordinate(LPARAM lParam) const;

  // The steps that the kinds of slider share: a press beside the knob pages
  // (false for one on the knob), a move with the button down carries the knob
  // along.
  bool PressAt(LPARAM lParam);
  void DragTo(LPARAM lParam);
  // Draws at once, so that the knob follows the pointer without waiting for
  // WM_PAINT.
  void PaintNow();
  // The same, and has the owner's rectangle repainted.
  void Refresh();

  void PaintKnob(HDC target) const;
};

// 0 for a coordinate of a mouse message that lies before the window's left or
// upper edge, where it arrives as a large unsigned number.
int ClampMouseCoordinate(int coordinate);
