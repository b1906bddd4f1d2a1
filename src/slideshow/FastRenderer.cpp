#include "slideshow/FastRenderer.h"

#include "base/Timers.h"
#include "base/win_owned.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "slideshow/CaptionFormat.h"
#include "slideshow/FittedSize.h"
#include "slideshow/MessagePump.h"
#include "slideshow/Slideshow.h"
#include "slideshow/Wipes.h"

#include <vector>

HDC BlackPixelDC = nullptr;
HDC FastCanvasDC = nullptr;
HFONT CaptionFontHandle = nullptr;
BTCImageObject FastImage;
std::int32_t FastImageWidth = 0;
std::int32_t FastImageHeight = 0;
std::int32_t TransitionPos = 0;

namespace {

constexpr int kCaptionLeft = 52;         // px from the screen's edges
constexpr int kCaptionRight = 48;
constexpr int kCaptionBottom = 8;
constexpr int kCaptionWrapMargin = 100;  // what the two sides take from the wrap width
constexpr int kShadowOffset = 2;         // px, to the right and down

// Plays the copies of a wipe on the saver window.
class WindowTarget final : public WipeTarget {
 public:
  void Copy(const WipeCopy& copy) override {
    const HDC source = copy.source == WipeCopy::FromCanvas ? FastCanvasDC : hDC;
    BitBlt(hDC, copy.x, copy.y, copy.width, copy.height, source, copy.fromX, copy.fromY, SRCCOPY);
  }
};

void ShowWholeCanvas() {
  BitBlt(hDC, 0, 0, ScreenWidth, ScreenHeight, FastCanvasDC, 0, 0, SRCCOPY);
}

void DrawCaptionText(const std::string& text, RECT rect, COLORREF colour, UINT format) {
  SetTextColor(FastCanvasDC, colour);
  DrawTextA(FastCanvasDC, text.c_str(), -1, &rect, format);
}

// Height of the text at its wrap width. The rectangle lies outside the canvas,
// so that measuring draws nothing that shows.
int MeasureCaption(const std::string& text, UINT format) {
  RECT outside{ScreenWidth, ScreenHeight, 2 * ScreenWidth - kCaptionWrapMargin,
               ScreenHeight + 10000};
  return DrawTextA(FastCanvasDC, text.c_str(), -1, &outside, format);
}

// How far the wipe goes on after a step, in whole steps of time: a slow
// machine takes bigger steps. Never beyond the end.
int Advance(const WipePlan& plan, double elapsedMs, double stepMs) {
  if (plan.oneByOne) return 1;
  const int left = plan.end - TransitionPos;
  const double steps = elapsedMs / stepMs;
  return steps < left ? static_cast<int>(steps) : left;
}

}  // namespace

bool CreateFastContexts(int width, int height) {
  BlackPixelDC = MakeCanvas(hDC, 1, 1).release();
  FastCanvasDC = MakeCanvas(hDC, width, height).release();
  if (!BlackPixelDC || !FastCanvasDC) return false;
  SetPixel(BlackPixelDC, 0, 0, 0);
  return true;
}

void DeleteFastContexts() {
  if (BlackPixelDC) DeleteDC(BlackPixelDC);
  if (FastCanvasDC) DeleteDC(FastCanvasDC);
  if (CaptionFontHandle) DeleteObject(CaptionFontHandle);
  BlackPixelDC = FastCanvasDC = nullptr;
  CaptionFontHandle = nullptr;
}

bool CreateCaptionFont(int quality) {
  CaptionFontHandle =
      CreateFontA(ss->CaptionFontSize, 0, 0, 0, ss->CaptionBold ? FW_BOLD : FW_NORMAL,
                  ss->CaptionItalic, 0, 0, 0, OUT_TT_PRECIS, 0, static_cast<DWORD>(quality), 0,
                  ss->CaptionFont.c_str());
  SetBkMode(FastCanvasDC, TRANSPARENT);
  SetTextColor(FastCanvasDC, RGB(255, 255, 255));
  if (!CaptionFontHandle) return false;
  SelectObject(FastCanvasDC, CaptionFontHandle);
  return true;
}

bool LoadSlideImage(const PlaylistElement* element, BTCImageObject& image) {
  if (!element) return false;
  gSlideshow->RelieveMemory();
  VFFILE* file = element->file;
  if (!element->category->ReadFile(file)) return false;
  if (image.Load(file->data, file->size, nullptr) == -1) return false;
  const SlideDims dims = gSlideshow->GetDimsFor(file);
  const PixelSize size = FitWhole(dims.width, dims.height, ScreenWidth, ScreenHeight);
  FastImageWidth = size.width;
  FastImageHeight = size.height;
  return true;
}

void ClearFastCanvas() {
  StretchBlt(FastCanvasDC, 0, 0, ScreenWidth, ScreenHeight, BlackPixelDC, 0, 0, 1, 1, SRCCOPY);
}

void DrawFastImage() {
  const BTCImageData* image = FastImage.GetObjectDataPtr();
  image->Stretch(FastCanvasDC, ScreenWidth / 2 - FastImageWidth / 2,
                 ScreenHeight / 2 - FastImageHeight / 2, FastImageWidth, FastImageHeight, 0, 0,
                 image->GetWidth(), image->GetHeight(), BTDrawMode_Smooth, SRCCOPY);
}

void DrawFastCaption(const std::string& text) {
  const UINT format = CaptionFormat(ss->CaptionOrientation);
  const int height = MeasureCaption(text, format);
  RECT rect{kCaptionLeft, ScreenHeight - height - kCaptionBottom, ScreenWidth - kCaptionRight,
            ScreenHeight};
  DrawCaptionText(text, rect, RGB(0, 0, 0), format);
  rect.left -= kShadowOffset;
  rect.right -= kShadowOffset;
  rect.top -= kShadowOffset;
  DrawCaptionText(text, rect, RGB(255, 255, 255), format);
}

void Transition(int effect, int durationMs) {
  static CPerfTimer TransitionTimer;
  const bool isWipe = effect >= 1 && effect <= kWipeCount;
  if (!isWipe || !CPerfTimer::HasCounter()) return ShowWholeCanvas();
  const WipePlan plan = PlanWipe(effect, ScreenWidth, ScreenHeight);
  if (!plan.runs) return;
  std::vector<int> order(plan.oneByOne ? static_cast<std::size_t>(plan.steps) : 0);
  MixOrder(order);
  const double stepMs = static_cast<double>(durationMs) / plan.steps;
  WindowTarget window;
  int previous = plan.previous;
  TransitionPos = plan.first;
  while (TransitionPos < plan.end) {
    TransitionTimer.Start();
    DrawWipeStep(effect, ScreenWidth, ScreenHeight, previous, TransitionPos, order, window);
    while (TransitionTimer.Elapsed() < stepMs) Sleep(plan.sleepMs);
    const int advance = Advance(plan, TransitionTimer.Elapsed(), stepMs);
    if (TransitionPos + advance >= plan.end)
      DrawWipeRest(effect, ScreenWidth, ScreenHeight, TransitionPos, window);
    if (plan.resetsFrameTime) FrameMs = 0;
    PumpOneMessage();
    previous = TransitionPos;
    TransitionPos += advance;
  }
}
