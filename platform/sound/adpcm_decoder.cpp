// MS and IMA ADPCM through the system's audio codecs. They trust the header of
// each block; here it is checked before they see it.

#include "sound/decoders.h"

#include "base/LittleEndian.h"
#include "base/win.h"

#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace sound {

namespace {

constexpr int kBlocksAtOnce = 8;
constexpr int kMostBlockBytes = 0x8000;
constexpr int kMsHeadBytes = 7;        // of a block, for each channel
constexpr int kImaHeadBytes = 4;
constexpr int kImaLastStep = 88;       // of the step table
constexpr std::size_t kMsCoefficients = 7;
constexpr std::size_t kMsExtraBytes = 4 + 4 * kMsCoefficients;

// The seven predictors that every MS ADPCM file has; the codec knows no others.
constexpr std::int16_t kCoefficients[kMsCoefficients][2] = {
    {256, 0}, {512, -256}, {0, 0}, {192, 64}, {240, 0}, {460, -208}, {392, -232}};

bool IsMs(const WaveFile& wave) { return wave.tag == kWaveMsAdpcm; }

// Samples of a channel that a whole block holds.
int SamplesInBlock(const WaveFile& wave) {
  const int body = wave.blockAlign - (IsMs(wave) ? kMsHeadBytes : kImaHeadBytes) * wave.channels;
  return body * 2 / wave.channels + (IsMs(wave) ? 2 : 1);
}

bool IsSound(const WaveFile& wave) {
  if (!IsMs(wave) && wave.tag != kWaveImaAdpcm) return false;
  if (wave.bits != 4 || wave.channels > 2 || wave.blockAlign > kMostBlockBytes) return false;
  const int head = (IsMs(wave) ? kMsHeadBytes : kImaHeadBytes) * wave.channels;
  if (wave.blockAlign <= head) return false;
  // IMA stores each channel's samples in pieces of four bytes.
  return IsMs(wave) || wave.blockAlign % (4 * wave.channels) == 0;
}

void Append16(std::vector<std::uint8_t>& bytes, int value) {
  bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
  bytes.push_back(static_cast<std::uint8_t>(value >> 8 & 0xFF));
}

// The format as the codec wants it, made anew from what was checked.
std::vector<std::uint8_t> CodecFormat(const WaveFile& wave) {
  std::vector<std::uint8_t> extra;
  Append16(extra, SamplesInBlock(wave));
  if (IsMs(wave)) {
    Append16(extra, kMsCoefficients);
    for (const auto& pair : kCoefficients)
      for (const std::int16_t value : pair) Append16(extra, value);
  }
  WAVEFORMATEX format{};
  format.wFormatTag = wave.tag;
  format.nChannels = static_cast<WORD>(wave.channels);
  format.nSamplesPerSec = static_cast<DWORD>(wave.rate);
  format.nBlockAlign = static_cast<WORD>(wave.blockAlign);
  format.nAvgBytesPerSec = static_cast<DWORD>(static_cast<std::int64_t>(wave.rate) *
                                              wave.blockAlign / SamplesInBlock(wave));
  format.wBitsPerSample = 4;
  format.cbSize = static_cast<WORD>(extra.size());
  const auto* head = reinterpret_cast<const std::uint8_t*>(&format);
  std::vector<std::uint8_t> bytes(head, head + sizeof format);
  bytes.insert(bytes.end(), extra.begin(), extra.end());
  return bytes;
}

WAVEFORMATEX PcmFormat(const WaveFile& wave) {
  WAVEFORMATEX format{};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = static_cast<WORD>(wave.channels);
  format.nSamplesPerSec = static_cast<DWORD>(wave.rate);
  format.wBitsPerSample = 16;
  format.nBlockAlign = static_cast<WORD>(2 * wave.channels);
  format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
  return format;
}

class Codec {
 public:
  ~Codec() {
    if (stream_) acmStreamClose(stream_, 0);
  }

  bool Open(const WaveFile& wave) {
    std::vector<std::uint8_t> from = CodecFormat(wave);
    WAVEFORMATEX to = PcmFormat(wave);
    return acmStreamOpen(&stream_, nullptr, reinterpret_cast<WAVEFORMATEX*>(from.data()), &to,
                         nullptr, 0, 0, ACM_STREAMOPENF_NONREALTIME) == MMSYSERR_NOERROR;
  }

  // Decodes whole blocks; returns how many bytes came.
  std::size_t Convert(std::vector<std::uint8_t>& from, std::vector<std::uint8_t>& to) {
    ACMSTREAMHEADER header{};
    header.cbStruct = sizeof header;
    header.pbSrc = from.data();
    header.cbSrcLength = static_cast<DWORD>(from.size());
    header.pbDst = to.data();
    header.cbDstLength = static_cast<DWORD>(to.size());
    if (acmStreamPrepareHeader(stream_, &header, 0) != MMSYSERR_NOERROR) return 0;
    const bool done =
        acmStreamConvert(stream_, &header, ACM_STREAMCONVERTF_BLOCKALIGN) == MMSYSERR_NOERROR;
    const DWORD used = header.cbDstLengthUsed;
    header.cbSrcLength = static_cast<DWORD>(from.size());
    header.cbDstLength = static_cast<DWORD>(to.size());
    acmStreamUnprepareHeader(stream_, &header, 0);
    return done ? std::min<std::size_t>(used, to.size()) : 0;
  }

 private:
  HACMSTREAM stream_ = nullptr;
};

class AdpcmDecoder final : public Decoder {
 public:
  AdpcmDecoder(std::unique_ptr<ByteSource> data, const WaveFile& wave)
      : data_(std::move(data)), wave_(wave), samplesLeft_(SamplesTold()) {}

  bool Open() { return codec_.Open(wave_); }

  bool Decode(AudioBlock& block) override {
    const auto blockSize = static_cast<std::size_t>(wave_.blockAlign);
    encoded_.resize(blockSize * kBlocksAtOnce);
    const std::size_t blocks = data_->Read(encoded_.data(), encoded_.size()) / blockSize;
    if (blocks == 0) return false;
    encoded_.resize(blocks * blockSize);
    for (std::size_t i = 0; i < blocks; ++i) CheckHead(&encoded_[i * blockSize]);
    const auto frameSize = static_cast<std::size_t>(2 * wave_.channels);
    decoded_.assign(blocks * static_cast<std::size_t>(SamplesInBlock(wave_)) * frameSize, 0);
    std::size_t frames = codec_.Convert(encoded_, decoded_) / frameSize;
    frames = static_cast<std::size_t>(
        std::min<std::int64_t>(static_cast<std::int64_t>(frames), samplesLeft_));
    samplesLeft_ -= static_cast<std::int64_t>(frames);
    if (frames == 0) return false;
    Fill(block, frames);
    return true;
  }

  bool Rewind() override {
    samplesLeft_ = SamplesTold();
    return data_->Seek(0);
  }

 private:
  // The last block is filled up; the file tells how much of it counts.
  std::int64_t SamplesTold() const {
    const std::int64_t there = wave_.dataSize / wave_.blockAlign * SamplesInBlock(wave_);
    return wave_.sampleCount > 0 ? std::min(wave_.sampleCount, there) : there;
  }

  void CheckHead(std::uint8_t* head) const {
    for (int channel = 0; channel < wave_.channels; ++channel) {
      if (IsMs(wave_)) {
        if (head[channel] >= kMsCoefficients) head[channel] = 0;
      } else {
        std::uint8_t& step = head[channel * kImaHeadBytes + 2];
        step = std::min<std::uint8_t>(step, kImaLastStep);
      }
    }
  }

  void Fill(AudioBlock& block, std::size_t frames) const {
    block.rate = wave_.rate;
    block.channels = wave_.channels;
    block.order = ChannelOrder::kWave;
    block.samples.resize(frames * static_cast<std::size_t>(wave_.channels));
    for (std::size_t i = 0; i < block.samples.size(); ++i) {
      const auto value = static_cast<std::int16_t>(LittleEndian16(&decoded_[2 * i]));
      block.samples[i] = static_cast<float>(value) / 32768.0f;
    }
  }

  std::unique_ptr<ByteSource> data_;
  WaveFile wave_;
  std::int64_t samplesLeft_;
  Codec codec_;
  std::vector<std::uint8_t> encoded_;
  std::vector<std::uint8_t> decoded_;
};

}  // namespace

std::unique_ptr<Decoder> OpenAdpcm(std::unique_ptr<ByteSource> source, const WaveFile& wave) {
  if (!IsSound(wave)) return nullptr;
  auto decoder = std::make_unique<AdpcmDecoder>(
      OpenSlice(std::move(source), wave.dataOffset, wave.dataSize), wave);
  if (!decoder->Open()) return nullptr;
  return decoder;
}

}  // namespace sound
