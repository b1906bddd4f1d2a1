#pragma once
// A roll of credits over a field of stars in layers of different depth. It has
// no window of its own: the owner has it paint into a control, as often as it
// likes. All motion is scaled by the time between two frames, so that its speed
// doesn't depend on how often that is. The window's thread only.
//
// SetFont and SetLineGap first, then AttachTo, then the lines, then Start.

#include "base/LinkedList.h"
#include "base/Timers.h"
#include "base/win.h"

#include <memory>
#include <string>
#include <vector>

// One line of the roll.
struct Credit {
  std::string text;  // empty for a line of space
  float y = 0;       // of its upper edge, px below the view's
};

class CreditScroller {
 public:
  CreditScroller() = default;
  ~CreditScroller();
  CreditScroller(const CreditScroller&) = delete;
  CreditScroller& operator=(const CreditScroller&) = delete;

  // The font becomes the scroller's.
  void SetFont(HFONT newFont) { font = newFont; }
  void SetLineGap(int pixels) { lineGap = pixels; }
  // Takes the size and the pixel format of the control that it will be shown in.
  void AttachTo(HWND hwnd);
  void AddLine(const std::string& text);

  // From the beginning: the first line just below the view, the stars in their
  // places, which are the same each time.
  void Start();
  void Stop() { running = false; }
  // Draws a frame into the context of `item`, the only part of it that is read,
  // and moves on. Nothing while stopped.
  void Frame(const DRAWITEMSTRUCT* item);

  struct Star {
    float x = 0;  // px
    float y = 0;
  };

  HDC surfaceDC = nullptr;  // frames are drawn here first
  HDC windowDC = nullptr;
  RECT clientRect{};
  IntervalTimer timer;
  HFONT font = nullptr;     // owned
  std::vector<std::unique_ptr<Star[]>> layers;  // the nearest first
  std::vector<COLORREF> layerColors;
  COLORREF textColor = RGB(0xA0, 0xA8, 0xF8);
  int baseStars = 25;  // in the first layer; each further one has one more
  int layerCount = 4;  // at least 2
  int lineHeight = 30;  // px
  int lineGap = 40;     // px between two lines
  float scrollSpeed = -0.5f;  // px along y in a 60th of a second
  float starSpeedX = -1.0f;   // the same of a star of medium depth
  float starSpeedY = 0.0f;
  bool running = false;
  LinkedList<Credit> credits;

 private:
  int StarsInLayer(int layer) const { return baseStars + layer; }
  float RandomX() const;
  float RandomY() const;
  void ScatterStars();
  void DrawStars(float frames);
  void MoveStar(Star& star, float speed, float frames) const;
  void DrawCredits(float frames);
  void DrawLine(const Credit& credit) const;
  void MoveLine(Credit& credit, float frames) const;
};
