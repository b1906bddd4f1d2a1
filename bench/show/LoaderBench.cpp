#include "base/win.h"
#include "bundle/VFBundle.h"
#include "graphics/cGraphicsLayer.h"
#include "show/Modes.h"
#include "show/Samples.h"
#include "slideshow/CImgLoadThread.h"

#include <algorithm>
#include <array>
#include <memory>

namespace {

using StateTimes = std::array<double, CImgLoadThread::kFinished + 1>;

// Time in each state up to decoded, ms, seen by asking all the time.
StateTimes WatchLoader(CImgLoadThread& loader) {
  StateTimes times{};
  const Clock clock;
  double since = 0;
  std::int32_t state = loader.GetState();
  while (state < CImgLoadThread::kDecoded && !loader.GetError()) {
    const std::int32_t now = loader.GetState();
    if (now == state) {
      SwitchToThread();
      continue;
    }
    times[static_cast<std::size_t>(state)] += clock.Ms() - since;
    since = clock.Ms();
    state = now;
  }
  return times;
}

std::vector<double> TimeTiles(CImgLoadThread& loader) {
  std::vector<double> times;
  for (bool done = false; !done;) {
    const Clock clock;
    done = loader.Step();
    times.push_back(clock.Ms());
  }
  std::sort(times.begin(), times.end());
  return times;
}

void LoadOne(VFFILECAT& images, VFFILE& file, std::int32_t cramSize) {
  CImgLoadThread loader;
  loader.Setup(&images, &file, {});
  loader.SetMaxTextureSize(256);
  loader.SetTiled(true);
  loader.SetCram(true);
  loader.SetCramSize(cramSize);
  loader.Begin(0);
  const StateTimes times = WatchLoader(loader);
  if (loader.GetError()) return;
  const std::vector<double> tiles = TimeTiles(loader);
  std::printf("loader %s", file.name.c_str());
  for (std::size_t state = 0; state < CImgLoadThread::kDecoded; ++state)
    std::printf(" %.3f", times[state]);
  std::printf(" %zu %.3f %.3f %.3f\n", tiles.size(), tiles.front(), tiles[tiles.size() / 2],
              tiles.back());
}

}  // namespace

int RunLoaderBench(const char* bundlePath, std::int32_t cramSize) {
  const HWND window =
      CreateWindowExA(WS_EX_TOPMOST, "STATIC", "Loader", WS_POPUP | WS_VISIBLE, 0, 0, 640, 480,
                      nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
  const std::unique_ptr<cGraphicsLayer> layer(
      cGraphicsLayer::Create(window, false, 0, 0, 0, nullptr));
  VFBUNDLE bundle;
  if (!bundle.Open(bundlePath)) return 1;
  VFFILECAT* images = bundle.FindCategory("image");
  if (!images) return 1;
  for (auto* node = images->files.head; node; node = node->next)
    LoadOne(*images, *node->data, cramSize);
  return 0;
}
