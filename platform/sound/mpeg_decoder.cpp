// MPEG audio of layers 1 to 3 through libmpg123.

#include "sound/decoders.h"

#include <mpg123.h>

#include <cstdio>
#include <limits>
#include <utility>

namespace sound {

namespace {

constexpr std::size_t kBytesAtOnce = 4 * 1152 * 2 * sizeof(float);
// How far to look for the next frame in damaged data.
constexpr long kResyncBytes = 65536;

mpg123_ssize_t ReadFrom(void* source, void* to, std::size_t size) {
  return static_cast<mpg123_ssize_t>(static_cast<ByteSource*>(source)->Read(to, size));
}

off_t SeekIn(void* source, off_t offset, int origin) {
  auto& bytes = *static_cast<ByteSource*>(source);
  const std::int64_t base = origin == SEEK_SET   ? 0
                            : origin == SEEK_CUR ? bytes.Tell()
                                                 : bytes.Size();
  const std::int64_t position = base + offset;
  if (position > std::numeric_limits<off_t>::max() || !bytes.Seek(position)) return -1;
  return static_cast<off_t>(position);
}

class MpegDecoder final : public Decoder {
 public:
  explicit MpegDecoder(std::unique_ptr<ByteSource> source)
      : source_(std::move(source)), handle_(mpg123_new(nullptr, nullptr)) {}
  ~MpegDecoder() override { mpg123_delete(handle_); }
  MpegDecoder(const MpegDecoder&) = delete;
  MpegDecoder& operator=(const MpegDecoder&) = delete;

  bool Open() {
    return handle_ &&
           mpg123_param(handle_, MPG123_ADD_FLAGS, MPG123_FORCE_FLOAT | MPG123_QUIET, 0) ==
               MPG123_OK &&
           mpg123_param(handle_, MPG123_RESYNC_LIMIT, kResyncBytes, 0) == MPG123_OK &&
           mpg123_replace_reader_handle(handle_, ReadFrom, SeekIn, nullptr) == MPG123_OK &&
           mpg123_open_handle(handle_, source_.get()) == MPG123_OK && ReadFormat();
  }

  bool Decode(AudioBlock& block) override {
    for (;;) {
      block.samples.resize(kBytesAtOnce / sizeof(float));
      std::size_t bytes = 0;
      const int result = mpg123_read(handle_, block.samples.data(), kBytesAtOnce, &bytes);
      if (bytes > 0) {
        // What came before a change of format is in the old one.
        block.rate = rate_;
        block.channels = channels_;
        block.order = ChannelOrder::kWave;
        block.samples.resize(bytes / sizeof(float));
        return (result != MPG123_NEW_FORMAT || ReadFormat()) && block.Frames() > 0;
      }
      if (result != MPG123_NEW_FORMAT || !ReadFormat()) return false;
    }
  }

  bool Rewind() override { return mpg123_seek(handle_, 0, SEEK_SET) >= 0; }

 private:
  bool ReadFormat() {
    long rate = 0;
    int encoding = 0;
    if (mpg123_getformat(handle_, &rate, &channels_, &encoding) != MPG123_OK) return false;
    rate_ = static_cast<int>(rate);
    return encoding == MPG123_ENC_FLOAT_32;
  }

  std::unique_ptr<ByteSource> source_;
  mpg123_handle* handle_;
  int rate_ = 0;
  int channels_ = 0;
};

}  // namespace

std::unique_ptr<Decoder> OpenMpeg(std::unique_ptr<ByteSource> source) {
  auto decoder = std::make_unique<MpegDecoder>(std::move(source));
  if (!decoder->Open()) return nullptr;
  return decoder;
}

}  // namespace sound
