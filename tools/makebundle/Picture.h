#pragma once
// From a picture file to what is stored of it.

#include "makebundle/pack/Bytes.h"

#include <cstdint>
#include <string>
#include <vector>

enum class PictureTurn { kNone, kWithoutLoss, kSavedAnew };

struct StoredPicture {
  std::vector<unsigned char> bytes;  // of an encoded picture that decodes
  std::uint32_t width = 0;           // px, as decoded
  std::uint32_t height = 0;
  PictureTurn turn = PictureTurn::kNone;
};

// Decodes the picture as the show does and gives its size; throws a PackError
// that names `name` if the show couldn't decode it.
void MeasurePicture(const std::string& name, Bytes file, std::uint32_t& width,
                    std::uint32_t& height);

// Takes the picture as it is, or turned upright if its metadata say that it is
// stored otherwise. A JPEG is turned without loss if its blocks allow that;
// everything else is decoded, turned, and saved as a JPEG of high quality.
StoredPicture PreparePicture(const std::string& name, std::vector<unsigned char> file,
                             int orientation);
