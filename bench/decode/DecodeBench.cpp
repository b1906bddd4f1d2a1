// Times the image library. The first turn isn't counted. The script run.py
// beside this file makes pictures and a table.

#include "imaging/BTNexgenIPL.h"

#include "base/win_owned.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr char kUsage[] =
    "usage: DecodeBench load FILE COUNT\n"
    "       DecodeBench resize FILE COUNT WIDTH HEIGHT\n"
    "       DecodeBench tile FILE COUNT    750 x 500 pixels to a tile of 256 x 256\n"
    "Prints one time in milliseconds a line.\n";

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "DecodeBench: %s failed\n", what);
  std::exit(1);
}

double NowMs() {
  LARGE_INTEGER now, frequency;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart) * 1000 / static_cast<double>(frequency.QuadPart);
}

// Times `work` `count` times; `prepare` runs before each and isn't timed.
void Time(int count, const std::function<void()>& prepare, const std::function<void()>& work) {
  for (int i = 0; i <= count; ++i) {
    prepare();
    const double start = NowMs();
    work();
    const double elapsed = NowMs() - start;
    if (i > 0) std::printf("%.3f\n", elapsed);
  }
}

std::vector<char> ReadFileBytes(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail("opening the file");
  return {std::istreambuf_iterator<char>(file), {}};
}

void Load(BTCImageObject& image, const std::vector<char>& bytes) {
  if (image.Load(bytes.data(), static_cast<unsigned>(bytes.size()), nullptr) < 0) Fail("Load");
}

HBITMAP MakeTile(HDC like) {
  const HBITMAP tile = CreateCompatibleBitmap(like, 256, 256);
  if (!tile) Fail("CreateCompatibleBitmap");
  return tile;
}

void TimeTiles(BTCImageObject& image, int count) {
  const HDC screen = GetDC(nullptr);
  const MemDc canvas(CreateCompatibleDC(screen));
  const GdiBitmap tile(MakeTile(screen));
  ReleaseDC(nullptr, screen);
  const HGDIOBJ former = SelectObject(canvas.get(), tile.get());
  Time(
      count, [] {},
      [&] {
        if (!image.GetObjectDataPtr()->Stretch(canvas.get(), 0, 0, 256, 256, 0, 0, 750, 500,
                                               BTDrawMode_Smooth, SRCCOPY))
          Fail("Stretch");
      });
  SelectObject(canvas.get(), former);
}

bool IsUsage(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  return what == "resize" ? argc == 6 : (what == "load" || what == "tile") && argc == 4;
}

}  // namespace

int main(int argc, char** argv) {
  if (!IsUsage(argc, argv)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::string what = argv[1];
  const std::vector<char> bytes = ReadFileBytes(argv[2]);
  const int count = std::atoi(argv[3]);
  BTCImageObject image;
  if (what == "load") {
    Time(
        count, [] {}, [&] { Load(image, bytes); });
  } else if (what == "resize") {
    const int width = std::atoi(argv[4]), height = std::atoi(argv[5]);
    Time(
        count, [&] { Load(image, bytes); },
        [&] {
          if (!image.GetObjectDataPtr()->Resize(width, height, BTResizeFilter_Lanczos))
            Fail("Resize");
        });
  } else {
    Load(image, bytes);
    TimeTiles(image, count);
  }
}
