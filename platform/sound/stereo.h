#pragma once
// Brings sound of any number of channels to two. Portable.

#include "sound/decoders.h"

#include <vector>

namespace sound {

// Appends the moments of `block`, left and right side by side. One channel is
// on both sides, surround sound is folded; samples that are no numbers or far
// beyond full scale, as damaged data gives them, are tamed.
void AppendStereo(const AudioBlock& block, std::vector<float>& stereo);

}  // namespace sound
