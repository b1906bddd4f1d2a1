#include "sound.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <string>

namespace {

constexpr double kFadeIn = 0.03;  // s

class DelayLine {
 public:
  explicit DelayLine(std::size_t length) : samples_(length) {}
  float Oldest() const { return samples_[at_]; }
  void Push(float sample) {
    samples_[at_] = sample;
    at_ = at_ + 1 == samples_.size() ? 0 : at_ + 1;
  }
  std::size_t Length() const { return samples_.size(); }

 private:
  std::vector<float> samples_;
  std::size_t at_ = 0;
};

// Smears a sound in time without colouring it.
class AllPass {
 public:
  explicit AllPass(std::size_t length) : line_(length) {}
  float Process(float in) {
    const float old = line_.Oldest();
    const float mixed = in + 0.6f * old;
    line_.Push(mixed);
    return old - 0.6f * mixed;
  }

 private:
  DelayLine line_;
};

// Eight echoes that feed each other; their lengths share no divisor, so that no
// pitch rings. High sounds die away sooner than low ones.
class Hall {
 public:
  explicit Hall(double seconds) {
    for (std::size_t i = 0; i < kLines; ++i)
      gain_[i] = static_cast<float>(
          std::pow(10.0, -3.0 * static_cast<double>(lines_[i].Length()) / (seconds * kRate)));
  }

  void Process(float in, float& left, float& right) {
    in_.Push(in);
    float smeared = in_.Oldest();
    for (AllPass& pass : smear_) smeared = pass.Process(smeared);
    std::array<float, kLines> out{};
    for (std::size_t i = 0; i < kLines; ++i) {
      damped_[i] += 0.55f * (lines_[i].Oldest() - damped_[i]);
      out[i] = damped_[i] * gain_[i];
    }
    left = out[0] + out[2] + out[4] + out[6];
    right = out[1] + out[3] + out[5] + out[7];
    Mix(out);
    for (std::size_t i = 0; i < kLines; ++i) lines_[i].Push(out[i] + smeared);
  }

 private:
  static constexpr std::size_t kLines = 8;

  // A Hadamard matrix: keeps the energy and mixes all lines.
  static void Mix(std::array<float, kLines>& v) {
    for (std::size_t half = 1; half < kLines; half *= 2)
      for (std::size_t i = 0; i < kLines; i += 2 * half)
        for (std::size_t j = i; j < i + half; ++j) {
          const float a = v[j], b = v[j + half];
          v[j] = a + b;
          v[j + half] = a - b;
        }
    for (float& x : v) x *= 0.35355339f;
  }

  DelayLine in_{1103};
  std::array<AllPass, 4> smear_{AllPass{225}, AllPass{341}, AllPass{441}, AllPass{556}};
  std::array<DelayLine, kLines> lines_{DelayLine{1361}, DelayLine{1597}, DelayLine{1867},
                                       DelayLine{2203}, DelayLine{2539}, DelayLine{2953},
                                       DelayLine{3319}, DelayLine{3719}};
  std::array<float, kLines> damped_{};
  std::array<float, kLines> gain_{};
};

float Loudest(const Tape& tape) {
  float most = 0;
  for (const auto* side : {&tape.left, &tape.right})
    for (const float sample : *side) most = std::max(most, std::abs(sample));
  return most;
}

void AppendNumber(std::string& text, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) text.push_back(static_cast<char>(value >> (8 * i)));
}

}  // namespace

void AddHall(Tape& tape, double wet, double seconds) {
  Hall hall(seconds);
  const auto gain = static_cast<float>(wet);
  for (std::size_t i = 0; i < tape.Size(); ++i) {
    float left = 0, right = 0;
    hall.Process(0.25f * (tape.left[i] + tape.right[i]), left, right);
    tape.left[i] += gain * left;
    tape.right[i] += gain * right;
  }
}

void Master(Tape& tape, double fadeOut, double peak) {
  const auto length = static_cast<double>(tape.Size());
  const double in = kFadeIn * kRate, out = fadeOut * kRate;
  const double gain = peak / std::max(1e-9f, Loudest(tape));
  for (std::size_t i = 0; i < tape.Size(); ++i) {
    const double at = static_cast<double>(i);
    const double start = std::min(1.0, at / in);
    const double rest = std::min(1.0, (length - 1 - at) / out);
    const double turn = std::numbers::pi / 2;
    const double fade = std::pow(std::sin(turn * start) * std::sin(turn * rest), 2);
    tape.left[i] *= static_cast<float>(gain * fade);
    tape.right[i] *= static_cast<float>(gain * fade);
  }
}

void WriteWave(const Tape& tape) {
  const auto dataSize = static_cast<std::uint32_t>(4 * tape.Size());
  std::string file = "RIFF";
  AppendNumber(file, 36 + dataSize, 4);
  file += "WAVEfmt ";
  AppendNumber(file, 16, 4);
  AppendNumber(file, 1, 2);  // PCM
  AppendNumber(file, 2, 2);
  AppendNumber(file, kRate, 4);
  AppendNumber(file, 4 * kRate, 4);
  AppendNumber(file, 4, 2);
  AppendNumber(file, 16, 2);
  file += "data";
  AppendNumber(file, dataSize, 4);
  for (std::size_t i = 0; i < tape.Size(); ++i)
    for (const float sample : {tape.left[i], tape.right[i]})
      AppendNumber(file, static_cast<std::uint32_t>(std::lrint(32767 * sample)), 2);
  std::fwrite(file.data(), 1, file.size(), stdout);
}
