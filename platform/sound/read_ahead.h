#pragma once
// A decoder's work done ahead, on a thread of its own, for a sound whose bytes
// may take any time to come: a file's may lie on a network that stops answering.
// Portable.

#include "sound/decoders.h"

#include <memory>

namespace sound {

// The same sound, up to about a second of it decoded ahead. None of its functions
// waits for bytes: Decode gives silence for what is late, and Rewind is left to the
// thread. The thread alone has `decoder`, and keeps it for as long as a read takes
// that doesn't come back, whatever becomes of this one.
//
// What is wanted first is decoded here and now, and that does wait. Null if there
// is nothing. Throws if there is no memory or no thread.
std::unique_ptr<Decoder> ReadAhead(std::unique_ptr<Decoder> decoder);

}  // namespace sound
