#pragma once
// Writes pictures as BMP files.

#include "imaging/picture.h"

namespace imaging {

// Writes `picture`, which isn't empty, to the file `path` with 24 bits a pixel.
// A file of that name is replaced only once the new one is complete; on failure
// it stays as it was. May throw std::bad_alloc.
[[nodiscard]] bool WriteBmpFile(const char* path, const Picture& picture);

}  // namespace imaging
