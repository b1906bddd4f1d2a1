#pragma once
// Files of every format whose headers claim more than the limits allow, with
// hardly anything behind them.

#include "support/Bytes.h"

#include <vector>

namespace fixtures {

std::vector<support::Bytes> FilesThatClaimTooMuch();
// Made in the same ways, and good.
std::vector<support::Bytes> TheSameFilesOfAllowedSizes();

}  // namespace fixtures
