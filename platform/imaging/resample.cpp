// The vertical pass comes first: each target row is the weighted sum of a few
// source rows, put into one row of 16-bit numbers; the horizontal pass makes the
// target's pixels out of that row at once. So no second picture is needed.
//
// Numbers: weights have 14 bits behind the point. Between the passes a channel
// has 6 (kMiddleBits), and may leave 0..255 a little where the filter has
// negative lobes; only the result is clamped.

#include "imaging/resample.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

namespace imaging {

namespace {

constexpr int kWeightBits = 14;
constexpr int kOne = 1 << kWeightBits;
constexpr int kMiddleBits = 6;

// The horizontal pass takes source pixels in groups of four, the vertical one
// source rows in pairs.
constexpr int kGroup = 4;

double Triangle(double x) { return std::max(0.0, 1.0 - std::abs(x)); }

double Sinc(double x) {
  if (std::abs(x) < 1e-9) return 1;
  const double angle = std::numbers::pi * x;
  return std::sin(angle) / angle;
}

double Lanczos3(double x) { return std::abs(x) < 3 ? Sinc(x) * Sinc(x / 3) : 0; }

struct Kernel {
  double (*value)(double);
  double radius;  // beyond which the value is 0
};

Kernel KernelOf(Filter filter) {
  return filter == Filter::kLanczos3 ? Kernel{Lanczos3, 3} : Kernel{Triangle, 1};
}

// The source pixels that make up one target pixel: `weights.size()` of them
// from `first` on.
struct Taps {
  int first = 0;
  std::vector<std::int16_t> weights;  // their sum is kOne
};

// Computes the taps of one direction, target pixel by target pixel.
class TapMaker {
 public:
  TapMaker(int pictureSize, const Scaling& scaling, Filter filter)
      : size_(pictureSize),
        scaling_(scaling),
        nearest_(filter == Filter::kNearest),
        kernel_(KernelOf(filter)),
        stretch_(std::max(1.0, static_cast<double>(scaling.sourceSize) / scaling.targetSize)) {}

  // The taps of the target pixel `index`.
  void Make(int index, Taps& taps);

 private:
  void MakeNearest(double centre, Taps& taps) const;
  void Weigh(double centre, int first, int last);
  void Round(Taps& taps) const;
  static void DropZeroEnds(Taps& taps);

  int size_;
  Scaling scaling_;
  bool nearest_;
  Kernel kernel_;
  double stretch_;  // how much wider than by itself the filter is
  std::vector<double> exact_;
};

void TapMaker::MakeNearest(double centre, Taps& taps) const {
  taps.first = std::clamp(static_cast<int>(std::floor(centre)), 0, size_ - 1);
  taps.weights.assign(1, kOne);
}

void TapMaker::Weigh(double centre, int first, int last) {
  exact_.clear();
  double sum = 0;
  for (int i = first; i <= last; ++i) {
    exact_.push_back(kernel_.value((i + 0.5 - centre) / stretch_));
    sum += exact_.back();
  }
  for (double& weight : exact_) weight /= sum;
}

// Rounds the running sum rather than each weight, which makes the sum exact and
// spreads the errors even over thousands of tiny weights.
void TapMaker::Round(Taps& taps) const {
  taps.weights.clear();
  double sum = 0;
  int given = 0;
  for (const double weight : exact_) {
    sum += weight;
    const int upto = static_cast<int>(std::lround(sum * kOne));
    taps.weights.push_back(static_cast<std::int16_t>(upto - given));
    given = upto;
  }
}

// Scaling by one leaves one weight that isn't zero.
void TapMaker::DropZeroEnds(Taps& taps) {
  while (taps.weights.back() == 0) taps.weights.pop_back();
  const auto begin = std::ranges::find_if(taps.weights, [](int weight) { return weight != 0; });
  taps.first += static_cast<int>(begin - taps.weights.begin());
  taps.weights.erase(taps.weights.begin(), begin);
}

void TapMaker::Make(int index, Taps& taps) {
  const double centre =
      scaling_.sourceStart + (index + 0.5) * scaling_.sourceSize / scaling_.targetSize;
  if (nearest_) return MakeNearest(centre, taps);
  const double reach = kernel_.radius * stretch_;
  taps.first = static_cast<int>(std::ceil(std::max(0.0, centre - reach - 0.5)));
  const int last = static_cast<int>(std::floor(std::min(size_ - 1.0, centre + reach - 0.5)));
  Weigh(centre, taps.first, last);
  Round(taps);
  DropZeroEnds(taps);
}

// The taps of all wanted target columns, in the order in which the vector code
// reads them: padded to groups of four with zeros, and within a group the
// weights 0 and 2 before 1 and 3.
class Columns {
 public:
  Columns(int pictureWidth, const Scaling& scaling, Filter filter);

  // The source columns that are needed.
  int first() const { return first_; }
  int count() const { return last_ - first_; }
  // Makes one target row out of a row of the middle; that begins at first().
  void MakeRow(const std::int16_t* middle, std::uint8_t* target) const;

 private:
  struct Column {
    int first;
    int groups;
  };
  std::vector<Column> columns_;
  std::vector<std::int16_t> weights_;
  int first_ = 0;
  int last_ = 0;  // one behind
};

Columns::Columns(int pictureWidth, const Scaling& scaling, Filter filter) : first_(pictureWidth) {
  TapMaker maker(pictureWidth, scaling, filter);
  Taps taps;
  columns_.reserve(static_cast<std::size_t>(scaling.count));
  for (int i = 0; i < scaling.count; ++i) {
    maker.Make(scaling.first + i, taps);
    first_ = std::min(first_, taps.first);
    last_ = std::max(last_, taps.first + static_cast<int>(taps.weights.size()));
    taps.weights.resize((taps.weights.size() + kGroup - 1) / kGroup * kGroup);
    columns_.push_back({taps.first, static_cast<int>(taps.weights.size()) / kGroup});
    for (std::size_t k = 0; k < taps.weights.size(); k += kGroup)
      for (const std::size_t place : {0, 2, 1, 3}) weights_.push_back(taps.weights[k + place]);
  }
  for (Column& column : columns_) column.first -= first_;
}

__m128i Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

void Columns::MakeRow(const std::int16_t* middle, std::uint8_t* target) const {
  constexpr int kShift = kWeightBits + kMiddleBits;
  const std::int16_t* weights = weights_.data();
  for (const Column& column : columns_) {
    const std::int16_t* source =
        middle + static_cast<std::ptrdiff_t>(column.first) * kBytesPerPixel;
    __m128i sum = _mm_set1_epi32(1 << (kShift - 1));
    for (int i = 0; i < column.groups; ++i, source += kGroup * kBytesPerPixel, weights += kGroup) {
      const __m128i group = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights));
      const __m128i pixels01 = Load(source), pixels23 = Load(source + 2 * kBytesPerPixel);
      const __m128i even = _mm_unpacklo_epi16(pixels01, pixels23),
                    odd = _mm_unpackhi_epi16(pixels01, pixels23);
      sum = _mm_add_epi32(sum, _mm_madd_epi16(even, _mm_shuffle_epi32(group, 0x00)));
      sum = _mm_add_epi32(sum, _mm_madd_epi16(odd, _mm_shuffle_epi32(group, 0x55)));
    }
    sum = _mm_srai_epi32(sum, kShift);
    const __m128i words = _mm_packs_epi32(sum, sum);
    const int pixel = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    std::memcpy(target, &pixel, sizeof pixel);
    target += kBytesPerPixel;
  }
}

// Two source rows and their weights, as pmaddwd takes them.
struct RowPair {
  const std::uint8_t* rows[2];
  std::int32_t weights;
};

void PairRows(const Picture& source, int firstColumn, const Taps& taps,
              std::vector<RowPair>& pairs) {
  pairs.clear();
  const std::size_t offset = static_cast<std::size_t>(firstColumn) * kBytesPerPixel;
  for (std::size_t i = 0; i < taps.weights.size(); i += 2) {
    const bool single = i + 1 == taps.weights.size();
    const int row = taps.first + static_cast<int>(i);
    const unsigned low = static_cast<std::uint16_t>(taps.weights[i]);
    const unsigned high = single ? 0 : static_cast<std::uint16_t>(taps.weights[i + 1]);
    pairs.push_back({{source.row(row) + offset, source.row(single ? row : row + 1) + offset},
                     static_cast<std::int32_t>(low | (high << 16))});
  }
}

// Adds up the rows into `middle`, four columns at a time; up to three columns
// more than `columns` are read and written.
void MakeMiddle(const std::vector<RowPair>& pairs, int columns, std::int16_t* middle) {
  constexpr int kShift = kWeightBits - kMiddleBits;
  const __m128i zero = _mm_setzero_si128();
  for (std::ptrdiff_t at = 0; at < static_cast<std::ptrdiff_t>(columns) * kBytesPerPixel;
       at += 16) {
    __m128i sum0 = _mm_set1_epi32(1 << (kShift - 1)), sum1 = sum0, sum2 = sum0, sum3 = sum0;
    for (const RowPair& pair : pairs) {
      const __m128i weights = _mm_set1_epi32(pair.weights);
      const __m128i a = Load(pair.rows[0] + at), b = Load(pair.rows[1] + at);
      const __m128i low = _mm_unpacklo_epi8(a, b), high = _mm_unpackhi_epi8(a, b);
      sum0 = _mm_add_epi32(sum0, _mm_madd_epi16(_mm_unpacklo_epi8(low, zero), weights));
      sum1 = _mm_add_epi32(sum1, _mm_madd_epi16(_mm_unpackhi_epi8(low, zero), weights));
      sum2 = _mm_add_epi32(sum2, _mm_madd_epi16(_mm_unpacklo_epi8(high, zero), weights));
      sum3 = _mm_add_epi32(sum3, _mm_madd_epi16(_mm_unpackhi_epi8(high, zero), weights));
    }
    const auto store = [&](std::ptrdiff_t place, __m128i first, __m128i second) {
      const __m128i words =
          _mm_packs_epi32(_mm_srai_epi32(first, kShift), _mm_srai_epi32(second, kShift));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(middle + place), words);
    };
    store(at, sum0, sum1);
    store(at + 8, sum2, sum3);
  }
}

}  // namespace

bool Resample(const Picture& source, const Scaling& horizontal, const Scaling& vertical,
              Filter filter, Picture& target) {
  if (!target.Create(horizontal.count, vertical.count)) return false;
  const Columns columns(source.width(), horizontal, filter);
  // A group may begin at the last column, and the vertical pass writes fours.
  std::vector<std::int16_t> middle(static_cast<std::size_t>(columns.count() + 2 * kGroup) *
                                   kBytesPerPixel);
  TapMaker rows(source.height(), vertical, filter);
  Taps taps;
  std::vector<RowPair> pairs;
  for (int y = 0; y < target.height(); ++y) {
    rows.Make(vertical.first + y, taps);
    PairRows(source, columns.first(), taps, pairs);
    MakeMiddle(pairs, columns.count(), middle.data());
    columns.MakeRow(middle.data(), target.row(y));
  }
  return true;
}

bool Resize(const Picture& source, int width, int height, Filter filter, Picture& target) {
  return Resample(source, {0, source.width(), width, 0, width},
                  {0, source.height(), height, 0, height}, filter, target);
}

}  // namespace imaging
