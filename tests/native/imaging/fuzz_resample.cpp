// Any sizes, parts and filters for the resampler.

#include "ReadEveryPixel.h"

#include "imaging/resample.h"

#include <algorithm>
#include <cstring>

namespace {

// Takes numbers out of the input; zeros when it has run out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  // Between `low` and `high`, both included.
  int Number(int low, int high) {
    std::uint16_t value = 0;
    const std::size_t count = std::min(size_, sizeof value);
    if (count > 0) std::memcpy(&value, data_, count);
    data_ += count;
    size_ -= count;
    return low + value % (high - low + 1);
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

// A scaling whose wanted pixels have their centres in the picture.
imaging::Scaling MakeScaling(Input& input, int pictureSize) {
  const int target = input.Number(1, 500), first = input.Number(0, target - 1);
  return {0, pictureSize, target, first, input.Number(1, target - first)};
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  imaging::Picture source, target;
  Require(source.Create(input.Number(1, 200), input.Number(1, 200)));
  const auto value = static_cast<std::uint8_t>(input.Number(0, 255));
  std::memset(source.bits(), value, source.rowBytes() * static_cast<std::size_t>(source.height()));
  const imaging::Scaling across = MakeScaling(input, source.width()),
                         down = MakeScaling(input, source.height());
  const auto filter = static_cast<imaging::Filter>(input.Number(0, 2));
  Require(Resample(source, across, down, filter, target));
  Require(target.width() == across.count && target.height() == down.count);
  // Whatever the filter's weights, one value stays that value.
  const std::size_t bytes = target.rowBytes() * static_cast<std::size_t>(target.height());
  Require(std::all_of(target.bits(), target.bits() + bytes,
                      [value](std::uint8_t byte) { return byte == value; }));
  return 0;
}
