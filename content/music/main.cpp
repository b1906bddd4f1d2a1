// Plays one of the pieces into a WAVE file on the standard output.
//
//   music NAME > piece.wav

#include "tracks.h"

#include <cstdio>
#include <exception>

int main(int count, char** arguments) try {
  if (count != 2) {
    std::fputs("usage: music NAME > piece.wav\n", stderr);
    return 2;
  }
  WriteWave(Perform(arguments[1]));
  return std::fflush(stdout) == 0 ? 0 : 1;
} catch (const std::exception& fault) {
  std::fprintf(stderr, "music: %s\n", fault.what());
  return 1;
}
