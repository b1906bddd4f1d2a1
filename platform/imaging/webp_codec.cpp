// WebP through libwebp, straight into the picture's rows.

#include "imaging/codecs.h"

#include <webp/decode.h>

namespace imaging {

bool DecodeWebp(Bytes file, Picture& picture) {
  WebPDecoderConfig config;
  if (!WebPInitDecoderConfig(&config)) return false;
  if (WebPGetFeatures(file.data(), file.size(), &config.input) != VP8_STATUS_OK) return false;
  if (config.input.has_animation || !picture.Create(config.input.width, config.input.height))
    return false;

  const std::size_t pixels =
      static_cast<std::size_t>(picture.width()) * static_cast<std::size_t>(picture.height());
  config.output.colorspace = MODE_BGRA;
  config.output.is_external_memory = 1;
  config.output.u.RGBA.rgba = picture.bits();
  config.output.u.RGBA.stride = static_cast<int>(picture.rowBytes());
  config.output.u.RGBA.size = pixels * kBytesPerPixel;
  const bool done = WebPDecode(file.data(), file.size(), &config) == VP8_STATUS_OK;
  WebPFreeDecBuffer(&config.output);
  if (done && config.input.has_alpha) CompositeOnBlack(picture.bits(), pixels);
  return done;
}

}  // namespace imaging
