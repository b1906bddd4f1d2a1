// Tells formats apart by their first bytes.

#include "sound/decoders.h"

#include <cstring>
#include <utility>

namespace sound {

namespace {

constexpr std::size_t kHeadSize = 4;

bool IsVorbis(const std::uint8_t* head) { return std::memcmp(head, "OggS", 4) == 0; }

// A tag in front, or the head of a frame, whose fields leave some values out.
bool IsMpeg(const std::uint8_t* head) {
  if (std::memcmp(head, "ID3", 3) == 0) return true;
  const bool sync = head[0] == 0xFF && (head[1] & 0xE0) == 0xE0;
  const int version = head[1] >> 3 & 3, layer = head[1] >> 1 & 3;
  const int bitRate = head[2] >> 4, rate = head[2] >> 2 & 3;
  return sync && version != 1 && layer != 0 && bitRate != 15 && rate != 3;
}

std::unique_ptr<Decoder> OpenWave(std::unique_ptr<ByteSource> source) {
  const std::optional<WaveFile> wave = ReadWaveFile(*source);
  if (!wave) return nullptr;
  switch (wave->tag) {
    case kWaveMsAdpcm:
    case kWaveImaAdpcm:
      return OpenAdpcm(std::move(source), *wave);
    case kWaveMpeg:
    case kWaveMp3:
      return OpenMpeg(OpenSlice(std::move(source), wave->dataOffset, wave->dataSize));
    default:
      return OpenPcm(std::move(source), *wave);
  }
}

}  // namespace

std::unique_ptr<Decoder> OpenDecoder(std::unique_ptr<ByteSource> source) {
  std::uint8_t head[kHeadSize];
  if (source->Read(head, sizeof head) != sizeof head || !source->Seek(0)) return nullptr;
  if (IsVorbis(head)) return OpenVorbis(std::move(source));
  if (IsMpeg(head)) return OpenMpeg(std::move(source));
  return OpenWave(std::move(source));
}

}  // namespace sound
