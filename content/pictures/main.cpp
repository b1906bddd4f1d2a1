// pictures SCENE WIDTH HEIGHT: paints one picture and writes it to standard output as PPM.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "scenes.h"

namespace {

struct Scene {
  const char* name;
  pictures::Picture (*paint)(int width, int height);
};

constexpr Scene kScenes[] = {
    {"mountains", pictures::Mountains},
    {"mandelbrot", pictures::MandelbrotEye},
    {"julia", pictures::JuliaSpirals},
    {"buddhabrot", pictures::Buddhabrot},
    {"flame", pictures::Flame},
    {"planet", pictures::RingedPlanet},
    {"galaxy", pictures::Galaxy},
    {"sunset-sea", pictures::SunsetSea},
    {"moonlit-sea", pictures::MoonlitSea},
    {"milky-way", pictures::MilkyWay},
    {"aurora", pictures::AuroraLake},
    {"dunes", pictures::Dunes},
    {"ridges", pictures::BlueRidges},
    {"forest", pictures::FogForest},
    {"rain", pictures::RainOnGlass},
    {"lagoon", pictures::Lagoon},
    {"clouds", pictures::SeaOfClouds},
    {"soap", pictures::SoapFilm},
};

int Usage() {
  std::fprintf(stderr, "usage: pictures SCENE WIDTH HEIGHT >OUT.ppm\nscenes:");
  for (const Scene& scene : kScenes) std::fprintf(stderr, " %s", scene.name);
  std::fprintf(stderr, "\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return Usage();
  const int width = std::atoi(argv[2]), height = std::atoi(argv[3]);
  if (width < 16 || height < 16 || width > 16384 || height > 16384) return Usage();
  for (const Scene& scene : kScenes) {
    if (std::strcmp(scene.name, argv[1]) != 0) continue;
    const pictures::Picture picture = scene.paint(width, height);
    return pictures::Develop(picture.image, picture.development) ? 0 : 1;
  }
  return Usage();
}
