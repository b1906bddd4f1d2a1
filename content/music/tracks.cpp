#include "tracks.h"

#include "instruments.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// A step of a melody: a pitch, or kRest, and its length in beats.
struct Step {
  double pitch;
  double beats;
};
constexpr double kRest = 0;

using Chord = std::vector<double>;  // pitches, the bass note first

double Loosely(Chance& chance, double value, double by) {
  return value + by * (static_cast<double>(chance()) / 2147483647.5 - 1);
}

// Plays a melody from `start` on; `play` is called for each of its notes.
template <class Play>
void PlayMelody(std::span<const Step> melody, double start, double beat, Play play) {
  for (const Step& step : melody) {
    if (step.pitch != kRest) play(start, step.beats * beat, step.pitch);
    start += step.beats * beat;
  }
}

// --- Morning mist: strings, electric piano, glass; D major, four beats

Tape MorningMist() {
  constexpr double kBeat = 60.0 / 72, kBars = 2;
  constexpr double kSpan = 4 * kBars * kBeat;  // s, of one chord
  const std::array<Chord, 4> round = {Chord{38, 57, 61, 64, 66}, Chord{35, 54, 57, 61, 62},
                                      Chord{31, 55, 59, 62, 66}, Chord{33, 52, 57, 59, 62}};
  const std::array<Step, 28> theme = {
      {{78, 2}, {76, 1}, {74, 1},    {69, 3},   {kRest, 1}, {71, 2}, {73, 1},
       {74, 1}, {76, 3}, {kRest, 1}, {78, 1.5}, {79, 0.5},  {78, 1}, {74, 1},
       {71, 3}, {69, 1}, {69, 2},    {71, 1},   {73, 1},    {74, 2}, {kRest, 2},
       {81, 2}, {78, 2}, {76, 1},    {74, 1},   {71, 2},    {73, 2}, {74, 2}}};
  constexpr int kChords = 12;
  Chance chance(11);
  Tape tape(kChords * kSpan + 8);
  for (int number = 0; number < kChords; ++number) {
    const Chord& chord = round[static_cast<std::size_t>(number % 4)];
    const double start = number * kSpan;
    for (std::size_t i = 1; i < chord.size(); ++i)
      PlayStrings(tape, {start, kSpan, chord[i], 0.30, 0.2 + 0.15 * static_cast<double>(i)},
                  chance);
    PlayStrings(tape, {start, kSpan, chord[0] + 12, 0.35}, chance);
    if (number < 1) continue;
    PlayBass(tape, {start, 3.5 * kBeat, chord[0], 0.36});
    PlayBass(tape, {start + 4 * kBeat, 3.5 * kBeat, chord[0] + (number % 2 ? 7 : 0), 0.30});
    if (number < 2 || number == kChords - 1) continue;
    constexpr std::array<std::size_t, 8> kFigure = {1, 3, 2, 4, 3, 2, 4, 3};
    for (std::size_t eighth = 0; eighth < 16; ++eighth)
      PlayPiano(
          tape,
          {Loosely(chance, start + 0.006 + 0.5 * static_cast<double>(eighth) * kBeat, 0.006),
           0.9 * kBeat, chord[kFigure[eighth % 8]] + (eighth >= 8 && eighth % 4 == 3 ? 12 : 0),
           Loosely(chance, eighth % 8 == 0 ? 0.30 : 0.21, 0.03), eighth % 2 ? 0.7 : 0.3});
  }
  PlayMelody(theme, 4 * kSpan, kBeat, [&](double at, double length, double pitch) {
    PlayGlass(tape, {at, length, pitch, 0.30, 0.55});
  });
  PlayMelody(std::span(theme).first(10), 8 * kSpan, kBeat,
             [&](double at, double length, double pitch) {
               PlayGlass(tape, {at, length, pitch, 0.22, 0.45});
             });
  AddHall(tape, 0.55, 3.2);
  return tape;
}

// --- Still water: guitar and flute; A minor, six eighths

Tape StillWater() {
  constexpr double kEighth = 60.0 / 138;
  constexpr double kBar = 6 * kEighth;
  const std::array<Chord, 8> verse = {Chord{45, 52, 57, 60, 64}, Chord{41, 48, 57, 60, 65},
                                      Chord{48, 55, 60, 64, 67}, Chord{43, 50, 59, 62, 67},
                                      Chord{45, 52, 57, 60, 64}, Chord{41, 48, 57, 60, 65},
                                      Chord{38, 50, 57, 62, 65}, Chord{40, 52, 56, 59, 64}};
  const std::array<Step, 26> tune = {
      {{76, 4}, {72, 2}, {69, 6}, {67, 3}, {69, 1}, {72, 2}, {71, 4}, {kRest, 2}, {72, 4},
       {74, 2}, {76, 3}, {77, 1}, {76, 2}, {74, 3}, {72, 1}, {69, 2}, {71, 4},    {kRest, 2},
       {76, 6}, {81, 4}, {79, 2}, {76, 3}, {74, 1}, {72, 2}, {71, 5}, {kRest, 1}}};
  constexpr int kBars = 32;
  Chance chance(23);
  Tape tape(kBars * kBar + 7);
  constexpr std::array<std::size_t, 6> kPicking = {0, 2, 3, 4, 3, 2};
  for (int bar = 0; bar < kBars; ++bar) {
    const Chord& chord = verse[static_cast<std::size_t>(bar % 8)];
    const bool last = bar == kBars - 1;
    for (std::size_t i = 0; i < kPicking.size(); ++i) {
      if (last && i > 0) break;
      const bool turned = bar % 4 == 3 && i == 3;
      PlayGuitar(tape,
                 {Loosely(chance, bar * kBar + 0.01 + static_cast<double>(i) * kEighth, 0.008),
                  (i == 0 ? 6 : 4) * kEighth, chord[kPicking[i]] + (turned ? 12 : 0),
                  Loosely(chance, i == 0 ? 0.50 : 0.34, 0.04), i % 2 ? 0.62 : 0.42},
                 chance);
    }
    if (bar >= 16 && !last)
      for (std::size_t i = 2; i < chord.size(); ++i)
        PlayStrings(tape, {bar * kBar, kBar, chord[i], 0.13, 0.25 * static_cast<double>(i) - 0.25},
                    chance);
  }
  PlayGuitar(tape, {kBars * kBar, 4, 45, 0.4}, chance);
  for (const int from : {8, 24}) {
    const std::span<const Step> part =
        from == 8 ? std::span<const Step>(tune) : std::span(tune).first(18);
    PlayMelody(part, from * kBar, kEighth, [&](double at, double length, double pitch) {
      PlayFlute(tape, {Loosely(chance, at + 0.01, 0.008), 0.93 * length, pitch, 0.42, 0.6}, chance);
    });
  }
  AddHall(tape, 0.42, 2.4);
  return tape;
}

// --- Night sky: strings and glass without a beat; E minor

Tape NightSky() {
  constexpr double kSpan = 9.5;  // s, of one chord
  const std::array<Chord, 8> sky = {Chord{28, 47, 52, 54, 59}, Chord{36, 48, 55, 59, 64},
                                    Chord{33, 45, 52, 59, 60}, Chord{35, 47, 52, 54, 57},
                                    Chord{28, 47, 52, 55, 62}, Chord{31, 50, 55, 59, 62},
                                    Chord{36, 48, 55, 62, 64}, Chord{28, 47, 52, 59, 64}};
  constexpr std::array<double, 8> kStars = {76, 79, 81, 83, 86, 88, 71, 74};
  Chance chance(37);
  Tape tape(static_cast<double>(sky.size()) * kSpan + 9);
  double start = 0;
  for (const Chord& chord : sky) {
    PlayStrings(tape, {start, kSpan, chord[0] + 12, 0.42}, chance);
    for (std::size_t i = 1; i < chord.size(); ++i)
      PlayStrings(tape,
                  {start + 0.4 * static_cast<double>(i), kSpan - 0.4 * static_cast<double>(i),
                   chord[i] + 12, 0.24, 0.25 * static_cast<double>(i) - 0.12},
                  chance);
    PlayBass(tape, {start + 0.3, kSpan, chord[0] + 12, 0.26});
    start += kSpan;
  }
  // Stars come out one by one, thicker towards the middle of the night.
  const double night = static_cast<double>(sky.size()) * kSpan;
  for (double at = 7; at < night;
       at += Loosely(chance, at > 0.3 * night && at < 0.75 * night ? 1.3 : 2.6, 0.8)) {
    const double pitch = kStars[chance() % kStars.size()];
    const double pan = Loosely(chance, 0.5, 0.4);
    PlayGlass(tape, {at, 3, pitch, Loosely(chance, 0.20, 0.06), pan});
    if (chance() % 3 == 0) PlayGlass(tape, {at + 0.32, 3, pitch - 12, 0.14, 1 - pan});
  }
  AddHall(tape, 0.8, 4.5);
  return tape;
}

// --- Lantern walk: electric piano, guitar, bass; F major, four beats

Tape LanternWalk() {
  constexpr double kBeat = 60.0 / 84, kBar = 4 * kBeat;
  const std::array<Chord, 8> path = {Chord{41, 57, 60, 64, 67}, Chord{38, 57, 60, 65, 69},
                                     Chord{34, 58, 62, 65, 69}, Chord{36, 55, 58, 62, 65},
                                     Chord{45, 55, 60, 64, 67}, Chord{38, 57, 60, 65, 69},
                                     Chord{43, 58, 62, 65, 70}, Chord{36, 55, 60, 62, 65}};
  const std::array<Step, 30> song = {{{72, 1}, {74, 1},   {77, 2},   {79, 1}, {77, 1}, {74, 2},
                                      {72, 1}, {70, 1},   {69, 1},   {65, 1}, {67, 3}, {kRest, 1},
                                      {72, 1}, {76, 1},   {79, 2},   {81, 1}, {79, 1}, {77, 2},
                                      {74, 1}, {77, 1},   {79, 1},   {81, 1}, {79, 2}, {77, 1},
                                      {74, 1}, {72, 1.5}, {74, 0.5}, {72, 1}, {69, 1}, {65, 2}}};
  constexpr int kBars = 28;
  Chance chance(41);
  Tape tape(kBars * kBar + 6);
  for (int bar = 0; bar < kBars; ++bar) {
    const Chord& chord = path[static_cast<std::size_t>(bar % 8)];
    const double start = bar * kBar;
    // The chord on the first beat, spread a little, and once more off the beat.
    for (std::size_t i = 1; i < chord.size(); ++i) {
      const double spread = 0.018 * static_cast<double>(i);
      PlayPiano(tape, {start + spread, 2.2 * kBeat, chord[i], Loosely(chance, 0.25, 0.03),
                       0.25 + 0.12 * static_cast<double>(i)});
      if (i > 1)
        PlayPiano(tape, {start + 2.5 * kBeat + spread, 1.2 * kBeat, chord[i],
                         Loosely(chance, 0.17, 0.03), 0.3 + 0.1 * static_cast<double>(i)});
    }
    if (bar < 4) continue;
    PlayBass(tape, {start, 1.8 * kBeat, chord[0], 0.42});
    PlayBass(tape, {start + 2 * kBeat, 1.3 * kBeat, chord[0] + 7, 0.32});
    PlayBass(tape, {start + 3.5 * kBeat, 0.45 * kBeat, chord[0] + 12, 0.24});
  }
  for (const int from : {8, 16}) {
    PlayMelody(song, from * kBar, kBeat, [&](double at, double length, double pitch) {
      PlayGuitar(tape, {Loosely(chance, at + 0.012, 0.01), 1.6 * length, pitch, 0.46, 0.62},
                 chance);
    });
    if (from == 16)
      PlayMelody(song, from * kBar, kBeat, [&](double at, double length, double pitch) {
        PlayGlass(tape, {at, length, pitch + 12, 0.07, 0.35});
      });
  }
  for (int bar = 16; bar < kBars; ++bar) {
    const Chord& chord = path[static_cast<std::size_t>(bar % 8)];
    for (std::size_t i = 2; i < chord.size(); ++i)
      PlayStrings(tape, {bar * kBar, kBar, chord[i], 0.11, 0.2 * static_cast<double>(i)}, chance);
  }
  AddHall(tape, 0.38, 2.2);
  return tape;
}

struct Piece {
  const char* name;
  Tape (*play)();
};

constexpr Piece kPieces[] = {{"morning-mist", MorningMist},
                             {"still-water", StillWater},
                             {"night-sky", NightSky},
                             {"lantern-walk", LanternWalk}};
constexpr double kFadeOut = 4.0;  // s
constexpr double kPeak = 0.7;

}  // namespace

Tape Perform(std::string_view name) {
  for (const Piece& piece : kPieces) {
    if (name != piece.name) continue;
    Tape tape = piece.play();
    Master(tape, kFadeOut, kPeak);
    return tape;
  }
  throw std::runtime_error("there is no piece called " + std::string(name));
}
