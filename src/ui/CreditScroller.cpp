#include "ui/CreditScroller.h"

#include "base/win_owned.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr unsigned kSeed = 69;        // the same stars each time
constexpr double kFrameMs = 16.666;   // speeds count frames of a 60th of a second
constexpr int kBrightest = 255;
constexpr int kDimmerByLayer = 50;
constexpr float kFastestLayer = 1.5f;  // against one of medium depth

}  // namespace

CreditScroller::~CreditScroller() {
  if (surfaceDC) DeleteDC(surfaceDC);
  if (windowDC) ReleaseDC(WindowFromDC(windowDC), windowDC);
  if (font) DeleteObject(font);
}

void CreditScroller::AttachTo(HWND hwnd) {
  GetClientRect(hwnd, &clientRect);
  windowDC = GetWindowDC(hwnd);
  surfaceDC = MakeCanvas(windowDC, clientRect.right, clientRect.bottom).release();
  SetBkMode(surfaceDC, TRANSPARENT);
  SetTextColor(surfaceDC, textColor);
  if (font) SelectObject(surfaceDC, font);
}

void CreditScroller::AddLine(const std::string& text) { credits.AddTail(Credit{text}); }

float CreditScroller::RandomX() const {
  return static_cast<float>(std::rand() % std::max<int>(clientRect.right, 1));
}

float CreditScroller::RandomY() const {
  return static_cast<float>(std::rand() % std::max<int>(clientRect.bottom, 1));
}

void CreditScroller::Start() {
  running = true;
  std::srand(kSeed);
  ScatterStars();
  int line = 0;
  ForEach(credits, [&](Credit& credit) {
    credit.y = static_cast<float>((lineHeight + lineGap) * line++ + clientRect.bottom);
  });
  timer = IntervalTimer();
}

void CreditScroller::ScatterStars() {
  layers.clear();
  layerColors.clear();
  for (int layer = 0; layer < layerCount; ++layer) {
    const int grey = kBrightest - kDimmerByLayer * layer;
    layerColors.push_back(RGB(grey, grey, grey));
    layers.push_back(std::make_unique<Star[]>(static_cast<std::size_t>(StarsInLayer(layer))));
    for (int star = 0; star < StarsInLayer(layer); ++star) {
      layers.back()[star].x = RandomX();
      layers.back()[star].y = RandomY();
    }
  }
}

// Untruncated time: with whole milliseconds a fast timer would bring the roll
// to a halt.
void CreditScroller::Frame(const DRAWITEMSTRUCT* item) {
  if (!running) return;
  const auto frames = static_cast<float>(timer.ElapsedMsExact() / kFrameMs);
  PatBlt(surfaceDC, 0, 0, clientRect.right, clientRect.bottom, BLACKNESS);
  DrawStars(frames);
  DrawCredits(frames);
  BitBlt(item->hDC, 0, 0, clientRect.right, clientRect.bottom, surfaceDC, 0, 0, SRCCOPY);
}

// Far stars first, near ones over them.
void CreditScroller::DrawStars(float frames) {
  for (int layer = layerCount - 1; layer >= 0; --layer) {
    const float speed =
        kFastestLayer - static_cast<float>(layer) / static_cast<float>(layerCount - 1);
    for (int n = 0; n < StarsInLayer(layer); ++n) {
      Star& star = layers[static_cast<std::size_t>(layer)][n];
      SetPixel(surfaceDC, static_cast<int>(star.x), static_cast<int>(star.y),
               layerColors[static_cast<std::size_t>(layer)]);
      MoveStar(star, speed, frames);
    }
  }
}

// What leaves on one side comes back on the other, somewhere else along it.
void CreditScroller::MoveStar(Star& star, float speed, float frames) const {
  const auto width = static_cast<float>(clientRect.right);
  const auto height = static_cast<float>(clientRect.bottom);
  star.x += speed * starSpeedX * frames;
  star.y += speed * starSpeedY * frames;
  if (star.x > width) {
    star.x -= width;
    star.y = RandomY();
  }
  if (star.y > height) {
    star.y -= height;
    star.x = RandomX();
  }
  if (star.x < 0) {
    star.x += width;
    star.y = RandomY();
  }
  if (star.y < 0) {
    star.y += height;
    star.x = RandomX();
  }
}

void CreditScroller::DrawCredits(float frames) {
  ForEach(credits, [&](Credit& credit) {
    DrawLine(credit);
    MoveLine(credit, frames);
  });
}

// Lines below the view aren't drawn.
void CreditScroller::DrawLine(const Credit& credit) const {
  if (credit.y > static_cast<float>(clientRect.bottom)) return;
  const int top = static_cast<int>(credit.y);
  RECT place{0, top, clientRect.right, top + lineHeight};
  DrawTextA(surfaceDC, credit.text.c_str(), -1, &place, DT_CENTER);
}

// A line that has left the top queues up behind the last one.
void CreditScroller::MoveLine(Credit& credit, float frames) const {
  credit.y += scrollSpeed * frames;
  if (credit.y + static_cast<float>(lineHeight) > 0) return;
  credit.y += static_cast<float>((lineGap + lineHeight) * credits.Count() + clientRect.bottom);
}
