#include "sound/wave_file.h"

#include "base/LittleEndian.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace sound {

namespace {

constexpr int kMostChannels = 64;
constexpr int kMostChunks = 10000;
constexpr std::size_t kFormatSize = 16;        // of the oldest form of the format chunk
constexpr std::size_t kLargestFormat = 4096;
constexpr std::size_t kExtensibleExtra = 22;   // valid bits, channel mask, an identifier that ...
constexpr std::size_t kTagOffset = 6;          // ... begins with the tag proper
constexpr std::uint32_t kSizeUnknown = 0xFFFFFFFF;  // written by programs that can't seek back ...

bool HasName(const std::uint8_t* bytes, const char* name) {
  return std::memcmp(bytes, name, 4) == 0;
}

// The head of a chunk: its name and how many bytes follow.
struct Chunk {
  std::array<std::uint8_t, 4> name;
  std::uint32_t size;
};

std::optional<Chunk> ReadChunk(ByteSource& source) {
  std::uint8_t head[8];
  if (source.Read(head, sizeof head) != sizeof head) return std::nullopt;
  return Chunk{{head[0], head[1], head[2], head[3]}, LittleEndian32(head + 4)};
}

std::vector<std::uint8_t> ReadBytes(ByteSource& source, std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  bytes.resize(source.Read(bytes.data(), size));
  return bytes;
}

// The size that the head tells of the whole; nothing if it is another file's.
std::optional<std::uint32_t> ReadHead(ByteSource& source) {
  std::uint8_t head[12];
  if (!source.Seek(0) || source.Read(head, sizeof head) != sizeof head) return std::nullopt;
  const bool isWave = (HasName(head, "RIFF") || HasName(head, "RF64")) && HasName(head + 8, "WAVE");
  return isWave ? std::optional(LittleEndian32(head + 4)) : std::nullopt;
}

// ... or left at 0, the size of the whole with it; with that told, 0 is what it says.
bool IsUnknown(std::uint32_t dataSize, std::uint32_t wholeSize) {
  return dataSize == kSizeUnknown ||
         (dataSize == 0 && (wholeSize == 0 || wholeSize == kSizeUnknown));
}

bool ReadFormat(ByteSource& source, std::uint32_t size, WaveFile& wave) {
  const std::vector<std::uint8_t> bytes =
      ReadBytes(source, std::min<std::size_t>(size, kLargestFormat));
  if (bytes.size() < kFormatSize) return false;
  wave.tag = LittleEndian16(&bytes[0]);
  wave.channels = LittleEndian16(&bytes[2]);
  const std::uint32_t rate = LittleEndian32(&bytes[4]);
  wave.rate = rate > 0x7FFFFFFF ? 0 : static_cast<int>(rate);
  wave.byteRate = LittleEndian32(&bytes[8]);
  wave.blockAlign = LittleEndian16(&bytes[12]);
  wave.bits = LittleEndian16(&bytes[14]);
  const std::size_t extraStart = kFormatSize + 2;
  if (bytes.size() > extraStart) {
    const std::size_t told = LittleEndian16(&bytes[kFormatSize]);
    const std::size_t there = bytes.size() - extraStart;
    wave.extra.assign(
        bytes.begin() + extraStart,
        bytes.begin() + static_cast<std::ptrdiff_t>(extraStart + std::min(told, there)));
  }
  return true;
}

bool ResolveExtensible(WaveFile& wave) {
  if (wave.tag != kWaveExtensible) return true;
  if (wave.extra.size() < kExtensibleExtra) return false;
  wave.tag = LittleEndian16(&wave.extra[kTagOffset]);
  wave.extra.clear();
  return true;
}

bool IsSensible(const WaveFile& wave) {
  return wave.channels >= 1 && wave.channels <= kMostChannels && wave.rate > 0 &&
         wave.blockAlign > 0;
}

// The samples go up to the end of the chunk or of the file, in whole blocks.
void PlaceData(const ByteSource& source, std::uint32_t size, std::uint32_t wholeSize,
               WaveFile& wave) {
  wave.dataOffset = source.Tell();
  const std::int64_t there = source.Size() - wave.dataOffset;
  wave.dataSize = IsUnknown(size, wholeSize) ? there : std::min<std::int64_t>(size, there);
}

}  // namespace

std::optional<WaveFile> ReadWaveFile(ByteSource& source) {
  const std::optional<std::uint32_t> wholeSize = ReadHead(source);
  if (!wholeSize) return std::nullopt;
  WaveFile wave;
  bool hasFormat = false;
  for (int chunks = 0; chunks < kMostChunks; ++chunks) {
    const std::optional<Chunk> chunk = ReadChunk(source);
    if (!chunk) return std::nullopt;
    const std::int64_t start = source.Tell();
    const std::uint8_t* name = chunk->name.data();
    if (HasName(name, "fmt ")) {
      if (!ReadFormat(source, chunk->size, wave) || !ResolveExtensible(wave)) return std::nullopt;
      hasFormat = true;
    } else if (HasName(name, "fact")) {
      const std::vector<std::uint8_t> count = ReadBytes(source, 4);
      if (count.size() == 4) wave.sampleCount = LittleEndian32(count.data());
    } else if (HasName(name, "data") && hasFormat) {
      if (!IsSensible(wave)) return std::nullopt;
      PlaceData(source, chunk->size, *wholeSize, wave);
      return wave;
    }
    // Chunks begin at even places.
    const std::int64_t next = start + chunk->size + (chunk->size & 1);
    if (!source.Seek(next)) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace sound
