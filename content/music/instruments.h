#pragma once
// The players. Each plays one note onto the tape.

#include "sound.h"

#include <random>

struct Note {
  double start;        // s
  double length;       // s; it rings on for a while
  double pitch;        // of the keyboard: 60 is the middle C, 69 is 440 Hz
  double loudness;     // 0 to 1
  double pan = 0.5;    // 0 left, 1 right
};

// Randomness with a fixed seed for each track: it sounds the same every time.
using Chance = std::mt19937;

// Strings that swell and fade, many at once.
void PlayStrings(Tape& tape, const Note& note, Chance& chance);
// An electric piano: a soft tine with a bright stroke.
void PlayPiano(Tape& tape, const Note& note);
// A plucked string of nylon.
void PlayGuitar(Tape& tape, const Note& note, Chance& chance);
// Glass struck softly; rings long.
void PlayGlass(Tape& tape, const Note& note);
// A flute, with breath and a slow vibrato.
void PlayFlute(Tape& tape, const Note& note, Chance& chance);
// A round bass.
void PlayBass(Tape& tape, const Note& note);
