// Ogg Vorbis through libvorbisfile; also several such streams in a row.

#include "sound/decoders.h"

#include <vorbis/vorbisfile.h>

#include <cstdio>
#include <utility>

namespace sound {

namespace {

constexpr int kFramesAtOnce = 4096;

std::size_t ReadFrom(void* to, std::size_t size, std::size_t count, void* source) {
  return static_cast<ByteSource*>(source)->Read(to, size * count) / (size ? size : 1);
}

int SeekIn(void* source, ogg_int64_t offset, int origin) {
  auto& bytes = *static_cast<ByteSource*>(source);
  const std::int64_t base = origin == SEEK_SET   ? 0
                            : origin == SEEK_CUR ? bytes.Tell()
                                                 : bytes.Size();
  return bytes.Seek(base + offset) ? 0 : -1;
}

// Positions beyond what the callback's type holds make the stream unseekable,
// which it may be.
long Tell(void* source) { return static_cast<long>(static_cast<ByteSource*>(source)->Tell()); }

class VorbisDecoder final : public Decoder {
 public:
  explicit VorbisDecoder(std::unique_ptr<ByteSource> source) : source_(std::move(source)) {}
  ~VorbisDecoder() override {
    if (open_) ov_clear(&file_);
  }
  VorbisDecoder(const VorbisDecoder&) = delete;
  VorbisDecoder& operator=(const VorbisDecoder&) = delete;

  bool Open() {
    const ov_callbacks callbacks = {ReadFrom, SeekIn, nullptr, Tell};
    open_ = ov_open_callbacks(source_.get(), &file_, nullptr, 0, callbacks) == 0;
    return open_;
  }

  bool Decode(AudioBlock& block) override {
    float** planes = nullptr;
    int link = 0;
    long frames = 0;
    do frames = ov_read_float(&file_, &planes, kFramesAtOnce, &link);
    while (frames == OV_HOLE);  // damaged data is stepped over
    const vorbis_info* info = ov_info(&file_, link);
    if (frames <= 0 || !info || info->channels <= 0) return false;
    block.rate = static_cast<int>(info->rate);
    block.channels = info->channels;
    block.order = ChannelOrder::kVorbis;
    block.samples.resize(static_cast<std::size_t>(frames) *
                         static_cast<std::size_t>(info->channels));
    auto at = block.samples.begin();
    for (long frame = 0; frame < frames; ++frame)
      for (int channel = 0; channel < info->channels; ++channel) *at++ = planes[channel][frame];
    return true;
  }

  bool Rewind() override { return ov_raw_seek(&file_, 0) == 0; }

 private:
  std::unique_ptr<ByteSource> source_;
  OggVorbis_File file_{};
  bool open_ = false;
};

}  // namespace

std::unique_ptr<Decoder> OpenVorbis(std::unique_ptr<ByteSource> source) {
  auto decoder = std::make_unique<VorbisDecoder>(std::move(source));
  if (!decoder->Open()) return nullptr;
  return decoder;
}

}  // namespace sound
