#pragma once
// A stack overflow leaves a thread with what is left of its last page, which may be
// too little even to tell of it.

// Has the system keep some of the calling thread's stack for that case. To be called
// once on each thread; older systems know no such thing.
void KeepStackForItsOverflow();
