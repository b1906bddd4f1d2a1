#include "instruments.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>
#include <vector>

namespace {

constexpr double kTurn = 2 * std::numbers::pi;

double Hertz(double pitch) { return 440.0 * std::exp2((pitch - 69) / 12); }

std::size_t Samples(double seconds) { return static_cast<std::size_t>(seconds * kRate); }

double Between(Chance& chance, double low, double high) {
  return low + (high - low) * (static_cast<double>(chance()) / 4294967295.0);
}

struct Gains {
  explicit Gains(double pan)
      : left(static_cast<float>(std::cos(kTurn / 4 * pan))),
        right(static_cast<float>(std::sin(kTurn / 4 * pan))) {}
  float left;
  float right;
};

// A turning pointer: a sine without a call for each sample.
class Oscillator {
 public:
  Oscillator(double hertz, double phase)
      : x_(std::cos(phase)),
        y_(std::sin(phase)),
        stepX_(std::cos(kTurn * hertz / kRate)),
        stepY_(std::sin(kTurn * hertz / kRate)) {}
  double Next() {
    const double x = x_ * stepX_ - y_ * stepY_;
    y_ = x_ * stepY_ + y_ * stepX_;
    x_ = x;
    return y_;
  }

 private:
  double x_, y_;
  double stepX_, stepY_;
};

// Rises over `attack`, stands, and falls over `release` after `length`; all s.
double Swell(double t, double attack, double length, double release) {
  const double up = std::min(1.0, t / attack);
  const double down = std::clamp((length + release - t) / release, 0.0, 1.0);
  return up * up * (3 - 2 * up) * down * down * (3 - 2 * down);
}

struct Partial {
  double ratio;  // of the note's frequency
  double level;
  double halfLife;  // s
};

// Sines that were struck once and die away.
void PlayPartials(Tape& tape, const Note& note, double attack, double damping,
                  std::initializer_list<Partial> partials) {
  const Gains gains(note.pan);
  const std::size_t start = Samples(note.start);
  for (const Partial& partial : partials) {
    const double hertz = Hertz(note.pitch) * partial.ratio;
    if (hertz > 0.4 * kRate) continue;
    Oscillator sine(hertz, 0);
    const double fall = std::exp2(-1 / (partial.halfLife * kRate));
    const double damped = std::exp2(-1 / (damping * kRate));
    const std::size_t released = Samples(note.length);
    double level = note.loudness * partial.level;
    for (std::size_t i = 0; level > 1e-5; ++i) {
      const double up = std::min(1.0, static_cast<double>(i) / (attack * kRate));
      tape.Add(start + i, static_cast<float>(level * up * sine.Next()), gains.left, gains.right);
      level *= i < released ? fall : std::min(fall, damped);
    }
  }
}

constexpr double kStringEnd = 1.2;  // s that a string sounds after its note

// A burst of noise goes round a loop as long as the string and loses its edge
// at each turn.
class PluckedString {
 public:
  PluckedString(const Note& note, Chance& chance) {
    // High strings lose their edge more slowly, or they would be gone at once.
    blur_ = std::clamp(0.5 - (note.pitch - 50) * 0.016, 0.1, 0.5);
    const double period = kRate / Hertz(note.pitch) - blur_;  // which the averaging takes
    const auto whole = static_cast<std::size_t>(period - 0.2);
    const double rest = period - static_cast<double>(whole);
    tuning_ = (1 - rest) / (1 + rest);
    const double ring = 3.2 * std::exp2((52 - note.pitch) / 18);
    loss_ = std::exp2(-period / (ring * kRate));
    damped_ = std::exp2(-period / (0.12 * kRate));
    Pluck(whole, 0.25 + 0.3 * note.loudness, chance);
  }

  double Next(bool held) {
    const double out = loop_[at_];
    const double averaged = (held ? loss_ : damped_) * (out + blur_ * (last_ - out));
    last_ = out;
    // Delays by the part of a sample that the loop can't.
    passOut_ = tuning_ * (averaged - passOut_) + passIn_;
    passIn_ = averaged;
    loop_[at_] = passOut_;
    at_ = at_ + 1 == loop_.size() ? 0 : at_ + 1;
    return out;
  }

 private:
  // At a fifth of the string's length; `edge` is 0 for a soft finger, 1 for a
  // hard nail.
  void Pluck(std::size_t size, double edge, Chance& chance) {
    std::vector<double> noise(size);
    double soft = 0, softer = 0, mean = 0;
    for (double& sample : noise) {
      soft += edge * (Between(chance, -1, 1) - soft);
      softer += edge * (soft - softer);
      sample = softer;
      mean += softer / static_cast<double>(size);
    }
    loop_.resize(size);
    double power = 0;
    for (std::size_t i = 0; i < size; ++i) {
      loop_[i] = noise[i] - mean - 0.8 * (noise[(i + size - size / 5) % size] - mean);
      power += loop_[i] * loop_[i] / static_cast<double>(size);
    }
    for (double& sample : loop_) sample *= 0.35 / std::sqrt(power);
  }

  std::vector<double> loop_;
  std::size_t at_ = 0;
  double blur_ = 0, tuning_ = 0, loss_ = 0, damped_ = 0;
  double last_ = 0, passIn_ = 0, passOut_ = 0;
};

}  // namespace

void PlayStrings(Tape& tape, const Note& note, Chance& chance) {
  constexpr int kPlayers = 5, kHarmonics = 9;
  const double release = 2.5;
  const std::size_t length = Samples(note.length + release);
  for (int player = 0; player < kPlayers; ++player) {
    const Gains gains(std::clamp(note.pan + Between(chance, -0.35, 0.35), 0.0, 1.0));
    const double hertz = Hertz(note.pitch + Between(chance, -0.07, 0.07));
    const double attack = Between(chance, 1.0, 1.8);
    Oscillator drift(Between(chance, 0.1, 0.35), Between(chance, 0, kTurn));
    std::vector<float> voice(length);
    for (int harmonic = 1; harmonic <= kHarmonics && harmonic * hertz < 6000; ++harmonic) {
      Oscillator sine(harmonic * hertz, Between(chance, 0, kTurn));
      const double level = std::pow(harmonic, -1.7);
      for (float& sample : voice) sample += static_cast<float>(level * sine.Next());
    }
    for (std::size_t i = 0; i < length; ++i) {
      const double t = static_cast<double>(i) / kRate;
      const double swell = Swell(t, attack, note.length, release) * (1 + 0.25 * drift.Next());
      tape.Add(Samples(note.start) + i, static_cast<float>(0.09 * note.loudness * swell) * voice[i],
               gains.left, gains.right);
    }
  }
}

// A sine whose phase a second one shifts: much at the stroke, less and less
// afterwards.
void PlayPiano(Tape& tape, const Note& note) {
  const Gains gains(note.pan);
  const double turn = kTurn * Hertz(note.pitch) / kRate;
  Oscillator tine(std::min(14 * Hertz(note.pitch), 7000.0), 0);
  const double low = std::exp2((60 - note.pitch) / 24);  // low notes ring longer
  const std::size_t released = Samples(note.length);
  const double ring = std::exp2(-1 / (1.1 * low * kRate)), damped = std::exp2(-1 / (0.09 * kRate));
  const double dull = std::exp2(-1 / (0.35 * kRate)), stop = std::exp2(-1 / (0.03 * kRate));
  double level = 0.5 * note.loudness, bright = 3.2 * note.loudness, stroke = 0.06, phase = 0;
  for (std::size_t i = 0; level > 1e-5; ++i) {
    phase += turn;
    const double up = std::min(1.0, static_cast<double>(i) / (0.004 * kRate));
    const double tone = std::sin(phase + bright * std::sin(phase)) + stroke * tine.Next();
    tape.Add(Samples(note.start) + i, static_cast<float>(level * up * tone), gains.left,
             gains.right);
    level *= i < released ? ring : damped;
    bright *= dull;
    stroke *= stop;
  }
}

void PlayGuitar(Tape& tape, const Note& note, Chance& chance) {
  const Gains gains(note.pan);
  PluckedString string(note, chance);
  const std::size_t released = Samples(note.length), length = Samples(note.length + kStringEnd);
  for (std::size_t i = 0; i < length; ++i) {
    const double up = std::min(1.0, static_cast<double>(i) / (0.004 * kRate));
    const double end = std::min(1.0, static_cast<double>(length - i) / (0.1 * kRate));
    const double sample = string.Next(i < released);
    tape.Add(Samples(note.start) + i, static_cast<float>(1.1 * note.loudness * up * end * sample),
             gains.left, gains.right);
  }
}

void PlayGlass(Tape& tape, const Note& note) {
  PlayPartials(tape, note, 0.008, 1.5,
               {{1, 0.40, 1.6},
                {2.003, 0.16, 1.1},
                {3.01, 0.10, 0.6},
                {4.17, 0.05, 0.35},
                {5.43, 0.03, 0.2}});
}

void PlayFlute(Tape& tape, const Note& note, Chance& chance) {
  const Gains gains(note.pan);
  const double hertz = Hertz(note.pitch), release = 0.25;
  Oscillator vibrato(4.8, Between(chance, 0, kTurn));
  double phase = 0, breath = 0;
  for (std::size_t i = 0; i < Samples(note.length + release); ++i) {
    const double t = static_cast<double>(i) / kRate;
    const double late = std::clamp((t - 0.4) / 0.8, 0.0, 1.0);
    phase += kTurn * hertz * (1 + 0.004 * late * vibrato.Next()) / kRate;
    breath += 0.12 * (Between(chance, -1, 1) - breath);
    const double level = note.loudness * Swell(t, 0.09, note.length, release);
    const double tone = std::sin(phase) + 0.28 * std::sin(2 * phase) + 0.09 * std::sin(3 * phase);
    tape.Add(Samples(note.start) + i, static_cast<float>(0.34 * level * (tone + 0.10 * breath)),
             gains.left, gains.right);
  }
}

void PlayBass(Tape& tape, const Note& note) {
  PlayPartials(tape, note, 0.02, 0.08, {{1, 0.60, 1.6}, {2, 0.20, 0.7}, {3, 0.06, 0.35}});
}
