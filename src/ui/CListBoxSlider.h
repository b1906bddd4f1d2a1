#pragma once
// A slider that is the scroll bar of a list box. It subclasses the list, too,
// so that clicks, keys and the wheel on the list move the knob.
//
// A key moves the knob by the row that was selected before it: the list handles
// the key afterwards.

#include "ui/CSliderControl.h"

class CListBoxSlider : public CSliderControl {
 public:
  ~CListBoxSlider() { Detach(); }

  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;
  // Gives both windows back their own procedures.
  void Detach() override;
  // The share of the way that the knob has gone, 0 to 1.
  float GetValue() override;

  // Takes over the list box `list`.
  void BindList(HWND list);
  // Rows of the list that are visible at once.
  void SetVisibleRows(int rows) { visibleRows = rows; }

  HWND listWindow = nullptr;
  int visibleRows = 0;
  WNDPROC oldListProc = nullptr;

 private:
  LRESULT KnobProc(UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT ListProc(UINT message, WPARAM wParam, LPARAM lParam);
  void TurnWheel(WPARAM wParam);
  void FollowSelection();
  // Brings the list to where the knob stands.
  void ScrollList();
};
