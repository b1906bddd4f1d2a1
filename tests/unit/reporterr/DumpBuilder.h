#pragma once
// Dumps as a test wants them, from the format's description.

#include "support/Bytes.h"

#include <cstdint>
#include <utility>
#include <vector>

class DumpBuilder {
 public:
  static constexpr std::uint32_t kThreads = 3, kMemory = 5, kLongMemory = 9, kComment = 10;

  // A stream of these bytes at the end of what there is so far; its place.
  std::uint32_t Add(std::uint32_t kind, const support::Bytes& bytes) {
    streams_.push_back({kind, static_cast<std::uint32_t>(bytes.size()), Append(bytes)});
    return streams_.back().place;
  }
  // Bytes that belong to no stream; their place.
  std::uint32_t Append(const support::Bytes& bytes) {
    const auto place = static_cast<std::uint32_t>(kBody + body_.size());
    support::Append(body_, bytes);
    return place;
  }

  support::Bytes Build() const {
    support::Bytes dump = support::BytesOf("MDMP");
    for (const std::uint32_t field : {0xA793u, static_cast<std::uint32_t>(streams_.size()),
                                      kHead, 0u, 0u, 0u, 0u})
      support::AppendU32(dump, field);
    for (const Stream& stream : streams_)
      for (const std::uint32_t field : {stream.kind, stream.size, stream.place})
        support::AppendU32(dump, field);
    dump.resize(kBody);
    support::Append(dump, body_);
    return dump;
  }

 private:
  struct Stream {
    std::uint32_t kind, size, place;
  };

  static constexpr std::uint32_t kHead = 32, kMostStreams = 8, kBody = kHead + 12 * kMostStreams;

  std::vector<Stream> streams_;
  support::Bytes body_;
};

// Its list of threads with one thread, whose stack and registers lie at those places.
inline support::Bytes ThreadList(std::uint32_t stack, std::uint32_t stackSize,
                                 std::uint32_t registers, std::uint32_t registersSize) {
  support::Bytes list;
  for (const std::uint32_t field :
       {1u, 77u, 0u, 0u, 0u, 0u, 0u, 0x100000u, 0u, stackSize, stack, registersSize, registers})
    support::AppendU32(list, field);
  return list;
}

inline support::Bytes MemoryList(std::uint32_t place, std::uint32_t size) {
  support::Bytes list;
  for (const std::uint32_t field : {1u, 0x100000u, 0u, size, place})
    support::AppendU32(list, field);
  return list;
}

// Two ranges, one behind the other from `place` on. Only the low halves are told.
inline support::Bytes LongMemoryList(std::uint32_t place, std::uint32_t size, std::uint32_t next) {
  support::Bytes list;
  for (const std::uint32_t field : {2u, 0u, place, 0u, 0x100000u, 0u, size, 0u, 0x200000u, 0u,
                                    next, 0u})
    support::AppendU32(list, field);
  return list;
}
