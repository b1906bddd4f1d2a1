#pragma once
// The pieces, by the names that tracks.txt calls them.

#include "sound.h"

#include <string_view>

// Plays the piece `name`. Throws std::runtime_error if there is no such piece.
Tape Perform(std::string_view name);
