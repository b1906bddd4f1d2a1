// TIFF files are decoded by a component of Windows. This machine has none, like
// a Windows that lacks it.

#include "imaging/codecs.h"

namespace imaging {

bool DecodeTiff(Bytes, Picture&) { return false; }

}  // namespace imaging
