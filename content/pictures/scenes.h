// The pictures of the sample bundle. Each function paints one, at any size of about its own
// proportions, so that small previews look like the real thing.
#pragma once

#include "common/image.h"

namespace pictures {

struct Picture {
  Image image;
  Development development;
};

Picture Mountains(int width, int height);
Picture SunsetSea(int width, int height);
Picture MandelbrotEye(int width, int height);
Picture BlueRidges(int width, int height);
Picture AuroraLake(int width, int height);
Picture RingedPlanet(int width, int height);
Picture Dunes(int width, int height);
Picture MilkyWay(int width, int height);
Picture RainOnGlass(int width, int height);
Picture SeaOfClouds(int width, int height);
Picture Buddhabrot(int width, int height);
Picture Galaxy(int width, int height);
Picture FogForest(int width, int height);
Picture Lagoon(int width, int height);
Picture JuliaSpirals(int width, int height);
Picture Flame(int width, int height);
Picture SoapFilm(int width, int height);
Picture MoonlitSea(int width, int height);

}  // namespace pictures
