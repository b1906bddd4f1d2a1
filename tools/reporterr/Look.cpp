#include "reporterr/Look.h"

#include "ui/Subclass.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

LOGFONTA SystemFont() {
  NONCLIENTMETRICSA metrics{};
  // The record grew with Windows Vista; older systems refuse the longer one.
  metrics.cbSize = offsetof(NONCLIENTMETRICSA, lfMessageFont) + sizeof metrics.lfMessageFont;
  SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
  return metrics.lfMessageFont;
}

GdiFont MakeFont(int height, int weight, bool underlined = false) {
  LOGFONTA font = SystemFont();
  font.lfHeight = -height;
  font.lfWeight = weight;
  font.lfUnderline = underlined;
  font.lfQuality = CLEARTYPE_QUALITY;
  return GdiFont(CreateFontIndirectA(&font));
}

int DotsPerInch(HWND window) {
  const int dots = GetDeviceCaps(ClientDc(window).get(), LOGPIXELSX);
  return dots > 0 ? dots : 96;
}

// --- The picture ---

struct Colour {
  double red, green, blue;  // 0 to 255
};

Colour Mix(const Colour& from, const Colour& to, double share) {
  return {from.red + (to.red - from.red) * share, from.green + (to.green - from.green) * share,
          from.blue + (to.blue - from.blue) * share};
}

std::uint32_t Packed(const Colour& colour) {
  const auto byte = [](double value) {
    return static_cast<std::uint32_t>(std::clamp(value + 0.5, 0.0, 255.0));
  };
  return byte(colour.red) << 16 | byte(colour.green) << 8 | byte(colour.blue);
}

// From the zenith, 0, to the horizon, 1.
Colour Sky(double height) {
  constexpr Colour kZenith{11, 20, 52}, kMiddle{52, 66, 122}, kHorizon{232, 160, 116};
  return height < 0.55 ? Mix(kZenith, kMiddle, height / 0.55)
                       : Mix(kMiddle, kHorizon, (height - 0.55) / 0.45);
}

// Lengths in shares of the picture's height.
struct Ridge {
  double base, rise, wave, phase;
  Colour colour;
};

constexpr std::array<Ridge, 3> kRidges{{
    {0.74, 0.10, 1.9, 0.4, {92, 88, 138}},
    {0.83, 0.09, 1.3, 2.1, {50, 55, 104}},
    {0.93, 0.08, 0.9, 4.0, {20, 27, 62}},
}};

double Crest(const Ridge& ridge, double x) {
  const double at = x / ridge.wave * 3.0 + ridge.phase;
  return ridge.base -
         ridge.rise * (0.6 * std::sin(at) + 0.3 * std::sin(2.3 * at + 1) + 0.1 * std::sin(7 * at));
}

Colour WithSun(const Colour& sky, double fromSun, double pixel) {
  constexpr Colour kSun{255, 236, 204};
  constexpr double kRadius = 0.13, kGlow = 0.55;
  const double disc = std::clamp((kRadius - fromSun) / pixel + 0.5, 0.0, 1.0);
  const double glow = std::pow(std::max(0.0, 1 - fromSun / kGlow), 2) * 0.55;
  return Mix(sky, kSun, std::max(disc, glow));
}

Colour Evening(int x, int y, int width, int height) {
  constexpr double kSunFromRight = 0.75, kSunHeight = 0.56;
  const double pixel = 1.0 / height;
  const double across = (x + 0.5) * pixel, down = (y + 0.5) * pixel;
  const double sunX = width * pixel - kSunFromRight;
  Colour colour =
      WithSun(Sky(std::min(down / 0.85, 1.0)), std::hypot(across - sunX, down - kSunHeight), pixel);
  for (const Ridge& ridge : kRidges)
    colour = Mix(colour, ridge.colour,
                 std::clamp((down - Crest(ridge, across)) / pixel + 0.5, 0.0, 1.0));
  return colour;
}

// Calls `colour(x, y)` for each pixel, row by row.
template <class ColourOf>
std::vector<std::uint32_t> PaintPixels(int width, int height, ColourOf colour) {
  std::vector<std::uint32_t> pixels;
  pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) pixels.push_back(Packed(colour(x, y)));
  return pixels;
}

struct Point {
  double x, y;
};

double DistanceToLine(const Point& at, const Point& from, const Point& to) {
  const double dx = to.x - from.x, dy = to.y - from.y;
  const double along = ((at.x - from.x) * dx + (at.y - from.y) * dy) / (dx * dx + dy * dy);
  const double nearest = std::clamp(along, 0.0, 1.0);
  return std::hypot(at.x - from.x - nearest * dx, at.y - from.y - nearest * dy);
}

Colour ColourOf(COLORREF colour) {
  return {double{GetRValue(colour)}, double{GetGValue(colour)}, double{GetBValue(colour)}};
}

// One pixel of a tick in a circle, `side` px wide and high.
Colour Tick(int x, int y, int side, int) {
  constexpr Point kStart{0.28, 0.53}, kCorner{0.43, 0.68}, kEnd{0.73, 0.35};
  constexpr double kStroke = 0.045;
  const double pixel = 1.0 / side;
  const Point at{(x + 0.5) * pixel, (y + 0.5) * pixel};
  const auto covered = [=](double inside) { return std::clamp(inside / pixel + 0.5, 0.0, 1.0); };
  const double stroke =
      std::min(DistanceToLine(at, kStart, kCorner), DistanceToLine(at, kCorner, kEnd));
  const Colour disc = Mix(ColourOf(colours::kPage), ColourOf(colours::kAccent),
                          covered(0.5 - std::hypot(at.x - 0.5, at.y - 0.5)));
  return Mix(disc, ColourOf(colours::kCard), covered(kStroke - stroke));
}

// Shows a picture of `colour(x, y, width, height)`. Nothing where it isn't to be seen:
// to compute it takes longer than to paint all the rest.
template <class ColourOf>
void ShowPicture(HDC dc, const RECT& area, ColourOf colour) {
  if (!RectVisible(dc, &area)) return;
  const int width = area.right - area.left, height = area.bottom - area.top;
  const std::vector<std::uint32_t> pixels = PaintPixels(
      width, height, [=](int x, int y) { return colour(x, y, width, height); });
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // the first row is the topmost
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  SetDIBitsToDevice(dc, area.left, area.top, static_cast<DWORD>(width), static_cast<DWORD>(height),
                    0, 0, 0, static_cast<UINT>(height), pixels.data(), &info, DIB_RGB_COLORS);
}

// --- Text ---

void WriteText(HDC dc, HFONT font, COLORREF colour, RECT area, const char* text, UINT format) {
  const SelectGuard select(dc, font);
  SetTextColor(dc, colour);
  SetBkMode(dc, TRANSPARENT);
  DrawTextA(dc, text, -1, &area, format);
}

std::string TextOf(HWND window) {
  char text[512] = "";
  GetWindowTextA(window, text, sizeof text);
  return text;
}

COLORREF FillOf(ButtonLook look, UINT state) {
  if (look != ButtonLook::Chief)
    return state & ODS_SELECTED ? colours::kAccentPale : colours::kCard;
  if (state & ODS_DISABLED) return colours::kAccentPale;
  return state & ODS_SELECTED ? colours::kAccentDark : colours::kAccent;
}

COLORREF InkOf(ButtonLook look, UINT state) {
  if (look == ButtonLook::Chief) return colours::kCard;
  if (state & ODS_DISABLED) return colours::kQuiet;
  return look == ButtonLook::Plain ? colours::kText : colours::kAccent;
}

}  // namespace

Look::Look(HWND window)
    : dotsPerInch_(DotsPerInch(window)),
      body_(MakeFont(Px(12), FW_NORMAL)),
      bold_(MakeFont(Px(12), FW_BOLD)),
      large_(MakeFont(Px(20), FW_BOLD)),
      link_(MakeFont(Px(12), FW_NORMAL, true)),
      page_(CreateSolidBrush(colours::kPage)),
      card_(CreateSolidBrush(colours::kCard)) {}

void Look::PaintHeader(HDC dc, const RECT& area, const char* title, const char* subtitle) const {
  ShowPicture(dc, area, Evening);
  constexpr UINT kLine = DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS;
  RECT text{area.left + Px(20), area.top + Px(16), area.right - Px(20), area.bottom};
  WriteText(dc, Large(), RGB(255, 255, 255), text, title, kLine);
  text.top += Px(28);
  WriteText(dc, Body(), RGB(226, 230, 244), text, subtitle, kLine);
}

void Look::PaintCard(HDC dc, const RECT& area) const {
  Frame(dc, area, colours::kCard, colours::kLine, Px(6));
}

void Look::PaintTick(HDC dc, const RECT& area) const {
  ShowPicture(dc, area, Tick);
}

void Look::PaintFooter(HDC dc, const RECT& area) const {
  Fill(dc, area, colours::kFooter);
  Fill(dc, {area.left, area.top, area.right, area.top + 1}, colours::kLine);
}

void Look::PaintProgress(HDC dc, const RECT& area, double position) const {
  const int width = area.right - area.left, light = width / 4;
  const int start = area.left - light + static_cast<int>(position * (width + light));
  Fill(dc, area, colours::kAccentPale);
  Fill(dc, {std::max<LONG>(start, area.left), area.top, std::min<LONG>(start + light, area.right),
            area.bottom},
       colours::kAccent);
}

void Look::PaintButton(const DRAWITEMSTRUCT& item, ButtonLook look, COLORREF page) const {
  Fill(item.hDC, item.rcItem, page);
  const COLORREF fill = FillOf(look, item.itemState);
  const bool isLink = look == ButtonLook::Link || look == ButtonLook::LinkAtRight;
  if (!isLink)
    Frame(item.hDC, item.rcItem, fill, look == ButtonLook::Chief ? fill : colours::kLine, Px(6));
  const UINT align = look == ButtonLook::Link          ? DT_LEFT | DT_END_ELLIPSIS
                     : look == ButtonLook::LinkAtRight ? DT_RIGHT
                                                       : DT_CENTER;
  const UINT prefix = item.itemState & ODS_NOACCEL ? DT_HIDEPREFIX : 0;
  WriteText(item.hDC, isLink ? link_.get() : Body(),
            InkOf(look, item.itemState), item.rcItem, TextOf(item.hwndItem).c_str(),
            DT_SINGLELINE | DT_VCENTER | align | prefix);
  PaintFocus(item);
}

void Look::PaintFocus(const DRAWITEMSTRUCT& item) const {
  if (!(item.itemState & ODS_FOCUS) || item.itemState & ODS_NOFOCUSRECT) return;
  RECT inside = item.rcItem;
  InflateRect(&inside, -Px(3), -Px(3));
  SetTextColor(item.hDC, RGB(0, 0, 0));
  SetBkColor(item.hDC, RGB(255, 255, 255));
  DrawFocusRect(item.hDC, &inside);
}

void Look::PaintCheckBox(HWND box, HDC dc) const {
  RECT area{};
  GetClientRect(box, &area);
  Fill(dc, area, colours::kCard);
  const int side = Px(14), top = (area.bottom - side) / 2;
  const bool enabled = IsWindowEnabled(box);
  const bool checked = SendMessageA(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
  const COLORREF accent = enabled ? colours::kAccent : colours::kAccentPale;
  Frame(dc, {0, top, side, top + side}, checked ? accent : colours::kCard,
        checked ? accent : colours::kLine, Px(4));
  if (checked) {
    const GdiPen pen(CreatePen(PS_SOLID, Px(2), colours::kCard));
    const SelectGuard select(dc, pen.get());
    const POINT tick[] = {{Px(3), top + Px(7)}, {Px(6), top + Px(10)}, {Px(11), top + Px(4)}};
    Polyline(dc, tick, 3);
  }
  RECT text{side + Px(8), 0, area.right, area.bottom};
  WriteText(dc, Body(), enabled ? colours::kText : colours::kQuiet, text, TextOf(box).c_str(),
            DT_SINGLELINE | DT_VCENTER | DT_HIDEPREFIX);
  if (GetFocus() == box) {
    SetTextColor(dc, RGB(0, 0, 0));
    SetBkColor(dc, RGB(255, 255, 255));
    text.left -= Px(3);
    DrawFocusRect(dc, &text);
  }
}

void Look::Fill(HDC dc, const RECT& area, COLORREF colour) const {
  const GdiBrush brush(CreateSolidBrush(colour));
  FillRect(dc, &area, brush.get());
}

void Look::Frame(HDC dc, const RECT& area, COLORREF fill, COLORREF line, int corner) const {
  const GdiBrush brush(CreateSolidBrush(fill));
  const GdiPen pen(CreatePen(PS_SOLID, 1, line));
  const SelectGuard selectBrush(dc, brush.get());
  const SelectGuard selectPen(dc, pen.get());
  RoundRect(dc, area.left, area.top, area.right, area.bottom, corner, corner);
}

FlatCheckBox::FlatCheckBox(HWND box, const Look& look)
    : box_(box), look_(look), former_(SubclassWithObject(box, this)) {}

FlatCheckBox::~FlatCheckBox() { EndSubclass(box_, this, former_); }

void FlatCheckBox::Paint(HWND hwnd) const {
  PAINTSTRUCT paint;
  look_.PaintCheckBox(hwnd, BeginPaint(hwnd, &paint));
  EndPaint(hwnd, &paint);
}

// The system's own procedure draws at once on these messages.
LRESULT FlatCheckBox::WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_PAINT) {
    Paint(hwnd);
    return 0;
  }
  if (message == WM_ERASEBKGND) return 1;
  const LRESULT result = CallFormerProc(former_, hwnd, message, wParam, lParam);
  switch (message) {
    case BM_SETCHECK:
    case BM_SETSTATE:
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_ENABLE:
      RedrawWindow(hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
      break;
    default:
      break;
  }
  return result;
}
