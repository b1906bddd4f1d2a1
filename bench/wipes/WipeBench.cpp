// Measures the twelve wipes on a full-screen window: how long each takes at its
// nominal 1500 ms, and what one step's drawing costs. The baseline of the same
// run is one BitBlt of the whole canvas to the window.
//
//   WipeBench [repetitions]     prints a table, one row an effect

#include "base/Timers.h"
#include "settings/Session.h"
#include "slideshow/FastRenderer.h"
#include "slideshow/Wipes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kDurationMs = 1500;

HWND OpenWindow() {
  ScreenWidth = GetSystemMetrics(SM_CXSCREEN);
  ScreenHeight = GetSystemMetrics(SM_CYSCREEN);
  return CreateWindowExA(WS_EX_TOPMOST, "STATIC", "Wipes", WS_POPUP | WS_VISIBLE, 0, 0, ScreenWidth,
                         ScreenHeight, nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
}

// Stripes, so that neither picture is flat.
void PaintCanvas(int shade) {
  for (int x = 0; x < ScreenWidth; x += 16) {
    const RECT stripe{x, 0, x + 16, ScreenHeight};
    HBRUSH brush = CreateSolidBrush(RGB(x & 255, shade, (x / 4) & 255));
    FillRect(FastCanvasDC, &stripe, brush);
    DeleteObject(brush);
  }
}

class TimedTarget final : public WipeTarget {
 public:
  void Copy(const WipeCopy& copy) override {
    const HDC source = copy.source == WipeCopy::FromCanvas ? FastCanvasDC : hDC;
    BitBlt(hDC, copy.x, copy.y, copy.width, copy.height, source, copy.fromX, copy.fromY, SRCCOPY);
  }
};

double At(std::vector<double>& values, double part) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

std::vector<double> TimeWholeBlits(int count) {
  std::vector<double> times;
  for (int n = 0; n < count; ++n) {
    const CPerfTimer timer(true);
    BitBlt(hDC, 0, 0, ScreenWidth, ScreenHeight, FastCanvasDC, 0, 0, SRCCOPY);
    times.push_back(timer.Elapsed());
  }
  return times;
}

// Every position of the effect, drawn without a pause.
std::vector<double> TimeSteps(int effect) {
  const WipePlan plan = PlanWipe(effect, ScreenWidth, ScreenHeight);
  std::vector<int> order(plan.oneByOne ? static_cast<std::size_t>(plan.steps) : 0);
  MixOrder(order);
  TimedTarget target;
  std::vector<double> times;
  int previous = plan.previous;
  for (int position = plan.first; position < plan.end; previous = position++) {
    const CPerfTimer timer(true);
    DrawWipeStep(effect, ScreenWidth, ScreenHeight, previous, position, order, target);
    times.push_back(timer.Elapsed());
  }
  return times;
}

double TimeWholeWipe(int effect) {
  const CPerfTimer timer(true);
  Transition(effect, kDurationMs);
  return timer.Elapsed();
}

}  // namespace

int main(int argc, char** argv) {
  const int repetitions = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1;
  hScrWindow = OpenWindow();
  hDC = GetDC(hScrWindow);
  if (!hDC || !CreateFastContexts(ScreenWidth, ScreenHeight)) {
    std::fprintf(stderr, "WipeBench: no window or canvas\n");
    return 1;
  }
  PaintCanvas(0);
  std::vector<double> blits = TimeWholeBlits(200);
  const double baseline = At(blits, 0.5);
  std::printf("%dx%d, baseline: whole-screen BitBlt median %.3f ms\n", ScreenWidth, ScreenHeight,
              baseline);
  std::printf("%-6s %6s %12s %12s %12s %10s %12s\n", "effect", "steps", "median ms", "p99 ms",
              "worst ms", "median/base", "whole ms");
  for (int effect = 1; effect <= kWipeCount; ++effect) {
    PaintCanvas(effect * 20);
    std::vector<double> steps = TimeSteps(effect);
    std::vector<double> wholes;
    for (int n = 0; n < repetitions; ++n) {
      PaintCanvas(effect * 20 + 10 + n);
      wholes.push_back(TimeWholeWipe(effect));
    }
    std::printf("%-6d %6zu %12.3f %12.3f %12.3f %10.2f %12.0f\n", effect, steps.size(),
                At(steps, 0.5), At(steps, 0.99), At(steps, 1.0), At(steps, 0.5) / baseline,
                At(wholes, 0.5));
  }
  DeleteFastContexts();
  ReleaseDC(hScrWindow, hDC);
  return 0;
}
