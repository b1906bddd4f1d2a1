#pragma once
// The tape that instruments play onto, and what is done to it at the end.

#include <cstddef>
#include <vector>

constexpr int kRate = 44100;  // samples a second

struct Tape {
  explicit Tape(double seconds)
      : left(static_cast<std::size_t>(seconds * kRate)), right(left.size()) {}

  std::size_t Size() const { return left.size(); }
  // Adds a sample; `pan` is 0 (left) to 1 (right), of equal power. What falls
  // behind the end is lost.
  void Add(std::size_t at, float sample, float leftGain, float rightGain) {
    if (at >= left.size()) return;
    left[at] += sample * leftGain;
    right[at] += sample * rightGain;
  }

  std::vector<float> left;
  std::vector<float> right;
};

// Puts the tape into a large hall: `wet` is the part of the hall, 0 to 1;
// `seconds` how long a sound takes to die away in it.
void AddHall(Tape& tape, double wet, double seconds);

// Lets the tape begin and end in silence without a step, `fadeOut` seconds
// long at the end, and brings its loudest sample to `peak`.
void Master(Tape& tape, double fadeOut, double peak);

// A WAVE file of 16 bits on the standard output.
void WriteWave(const Tape& tape);
