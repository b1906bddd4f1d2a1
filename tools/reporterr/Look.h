#pragma once
// The tool's looks: colours, fonts, the picture at the top, and controls that are
// drawn the same on every Windows. Lengths are pixels of a screen of 96 dots an
// inch, which Px turns into the real ones.

#include "base/win_owned.h"

#include <string>

namespace colours {
inline constexpr COLORREF kPage = RGB(246, 247, 251);
inline constexpr COLORREF kCard = RGB(255, 255, 255);
inline constexpr COLORREF kFooter = RGB(235, 238, 245);
inline constexpr COLORREF kLine = RGB(208, 213, 226);
inline constexpr COLORREF kText = RGB(28, 35, 54);
inline constexpr COLORREF kQuiet = RGB(98, 107, 130);
inline constexpr COLORREF kAccent = RGB(46, 94, 178);
inline constexpr COLORREF kAccentDark = RGB(35, 74, 143);
inline constexpr COLORREF kAccentPale = RGB(196, 211, 236);
inline constexpr COLORREF kWarning = RGB(176, 54, 42);
}  // namespace colours

enum class ButtonLook { Chief, Plain, Link, LinkAtRight };

class Look {
 public:
  explicit Look(HWND window);
  Look(const Look&) = delete;
  Look& operator=(const Look&) = delete;

  int Px(int length) const { return MulDiv(length, dotsPerInch_, 96); }
  HFONT Body() const { return body_.get(); }
  HFONT Bold() const { return bold_.get(); }
  HFONT Large() const { return large_.get(); }
  HBRUSH PageBrush() const { return page_.get(); }
  HBRUSH CardBrush() const { return card_.get(); }

  // Evening over the hills, with two lines of text on it.
  void PaintHeader(HDC dc, const RECT& area, const char* title, const char* subtitle) const;
  void PaintCard(HDC dc, const RECT& area) const;
  // A tick in a circle that fills the square `area`.
  void PaintTick(HDC dc, const RECT& area) const;
  void PaintFooter(HDC dc, const RECT& area) const;
  // A light that runs along the footer's edge; `position` goes from 0 to 1.
  void PaintProgress(HDC dc, const RECT& area, double position) const;
  // An owner-drawn button.
  void PaintButton(const DRAWITEMSTRUCT& item, ButtonLook look, COLORREF page) const;
  void PaintCheckBox(HWND box, HDC dc) const;

 private:
  void Fill(HDC dc, const RECT& area, COLORREF colour) const;
  void Frame(HDC dc, const RECT& area, COLORREF fill, COLORREF line, int corner) const;
  void PaintFocus(const DRAWITEMSTRUCT& item) const;

  int dotsPerInch_;
  GdiFont body_;
  GdiFont bold_;
  GdiFont large_;
  GdiFont link_;
  GdiBrush page_;
  GdiBrush card_;
};

// A check box of the system that looks like the rest. It must outlive the window
// or go before it.
class FlatCheckBox {
 public:
  FlatCheckBox(HWND box, const Look& look);
  ~FlatCheckBox();
  FlatCheckBox(const FlatCheckBox&) = delete;
  FlatCheckBox& operator=(const FlatCheckBox&) = delete;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

 private:
  void Paint(HWND hwnd) const;

  HWND box_;
  const Look& look_;
  WNDPROC former_;
};
