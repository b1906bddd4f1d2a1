#include "slideshow/FittedSize.h"

#include <algorithm>

PixelSize FitWhole(std::uint32_t pictureWidth, std::uint32_t pictureHeight,
                   std::int32_t screenWidth, std::int32_t screenHeight) {
  if (pictureWidth == 0 || pictureHeight == 0) return {screenWidth, screenHeight};
  const float aspect = static_cast<float>(pictureWidth) / static_cast<float>(pictureHeight);
  const float screenAspect = static_cast<float>(screenWidth) / static_cast<float>(screenHeight);
  if (aspect >= screenAspect)
    return {screenWidth, std::max(1, static_cast<int>(static_cast<float>(screenWidth) / aspect))};
  return {std::max(1, static_cast<int>(static_cast<float>(screenHeight) * aspect)), screenHeight};
}
