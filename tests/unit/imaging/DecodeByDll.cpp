// The code under test is the DLL. A file that it reads behind its end is a crash.

#include "Fixtures.h"

#include "imaging/BTNexgenIPL.h"
#include "support/GuardedBytes.h"

namespace fixtures {

std::optional<Decoded> Decode(const support::Bytes& file) {
  const support::GuardedBytes guarded(file);
  BTCImageObject image;
  const int codec = image.Load(guarded.data(), static_cast<unsigned>(guarded.size()), nullptr);
  const BTCImageData& data = *image.GetObjectDataPtr();
  if (codec == -1) {
    EXPECT_EQ(data.GetBits(), nullptr);
    EXPECT_EQ(data.GetWidth(), 0);
    return std::nullopt;
  }
  const unsigned char* bits = data.GetBits();
  return Decoded{codec,
                 data.GetWidth(),
                 data.GetHeight(),
                 {bits, bits + data.GetWidth() * data.GetHeight() * 4}};
}

std::vector<std::string> FormatsRead() { return {"bmp", "jpeg", "png", "gif", "webp", "tiff"}; }

}  // namespace fixtures
