#include "makebundle/Picture.h"

#include "base/win_owned.h"
#include "imaging/BTNexgenIPL.h"
#include "makebundle/pack/FileKind.h"
#include "makebundle/pack/PackError.h"
#include "makebundle/pack/PixelTurn.h"

#include <array>
#include <optional>
#include <turbojpeg.h>

namespace {

constexpr int kQuality = 95;

inline void DestroyCodec(tjhandle codec) { tjDestroy(codec); }
using JpegCodec = Owned<tjhandle, DestroyCodec>;

// Bytes that TurboJPEG allocates.
class JpegBuffer {
 public:
  JpegBuffer() = default;
  ~JpegBuffer() { tjFree(data_); }
  JpegBuffer(const JpegBuffer&) = delete;
  JpegBuffer& operator=(const JpegBuffer&) = delete;
  unsigned char** Data() { return &data_; }
  unsigned long* Size() { return &size_; }
  std::vector<unsigned char> Copy() const { return {data_, data_ + size_}; }

 private:
  unsigned char* data_ = nullptr;
  unsigned long size_ = 0;
};

void LoadPicture(const std::string& name, Bytes file, BTCImageObject& picture) {
  if (picture.Load(file.data(), static_cast<unsigned int>(file.size()), nullptr) == -1)
    throw FaultOf(
        name, "the picture can't be decoded: it is damaged, cut short, or too large (more than " +
                  std::to_string(BTCImageObject::kMaxSide) + " pixels wide or high, or more than " +
                  std::to_string(BTCImageObject::kMaxPixels / 1'000'000) + " megapixels)");
}

// The operation that undoes each orientation of EXIF.
int TransformFor(int orientation) {
  constexpr std::array<int, 9> kTransforms{TJXOP_NONE,   TJXOP_NONE,       TJXOP_HFLIP,
                                           TJXOP_ROT180, TJXOP_VFLIP,      TJXOP_TRANSPOSE,
                                           TJXOP_ROT90,  TJXOP_TRANSVERSE, TJXOP_ROT270};
  return kTransforms[static_cast<std::size_t>(orientation)];
}

// The JPEG with its blocks rearranged; nothing if that would leave a part of a
// block at the wrong edge. The metadata stay behind, so that the orientation
// isn't applied twice.
std::optional<std::vector<unsigned char>> TurnWithoutLoss(Bytes jpeg, int orientation) {
  const JpegCodec codec(tjInitTransform());
  if (!codec) return std::nullopt;
  tjtransform transform{};
  transform.op = TransformFor(orientation);
  transform.options = TJXOPT_PERFECT | TJXOPT_COPYNONE;
  JpegBuffer turned;
  if (tjTransform(codec.get(), jpeg.data(), static_cast<unsigned long>(jpeg.size()), 1,
                  turned.Data(), turned.Size(), &transform, 0) != 0)
    return std::nullopt;
  return turned.Copy();
}

std::vector<unsigned char> SaveAsJpeg(const std::string& name, const Pixels& pixels) {
  const JpegCodec codec(tjInitCompress());
  JpegBuffer jpeg;
  if (!codec ||
      tjCompress2(codec.get(), reinterpret_cast<const unsigned char*>(pixels.values.data()),
                  static_cast<int>(pixels.width), 0, static_cast<int>(pixels.height), TJPF_BGRX,
                  jpeg.Data(), jpeg.Size(), TJSAMP_444, kQuality, TJFLAG_ACCURATEDCT) != 0)
    throw FaultOf(name, "the turned picture can't be saved as JPEG");
  return jpeg.Copy();
}

std::vector<unsigned char> TurnAndSaveAnew(const std::string& name, const BTCImageData& picture,
                                           int orientation) {
  return SaveAsJpeg(name,
                    TurnedUpright(reinterpret_cast<const std::uint32_t*>(picture.GetBits()),
                                  static_cast<std::uint32_t>(picture.GetWidth()),
                                  static_cast<std::uint32_t>(picture.GetHeight()), orientation));
}

}  // namespace

void MeasurePicture(const std::string& name, Bytes file, std::uint32_t& width,
                    std::uint32_t& height) {
  BTCImageObject picture;
  LoadPicture(name, file, picture);
  width = static_cast<std::uint32_t>(picture.GetObjectDataPtr()->GetWidth());
  height = static_cast<std::uint32_t>(picture.GetObjectDataPtr()->GetHeight());
}

StoredPicture PreparePicture(const std::string& name, std::vector<unsigned char> file,
                             int orientation) {
  StoredPicture stored;
  if (orientation == 1) {
    stored.bytes = std::move(file);
  } else {
    // Decoded first even where the blocks alone are moved: a damaged picture
    // must not come out as a whole one.
    BTCImageObject picture;
    LoadPicture(name, file, picture);
    std::optional<std::vector<unsigned char>> turned;
    if (PictureFormatOf(file) == PictureFormat::kJpeg) turned = TurnWithoutLoss(file, orientation);
    stored.turn = turned ? PictureTurn::kWithoutLoss : PictureTurn::kSavedAnew;
    stored.bytes = turned ? *std::move(turned)
                          : TurnAndSaveAnew(name, *picture.GetObjectDataPtr(), orientation);
  }
  MeasurePicture(name, stored.bytes, stored.width, stored.height);
  return stored;
}
