#pragma once
// Where a decoder takes its bytes from. Portable.

#include <cstddef>
#include <cstdint>
#include <memory>

namespace sound {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Reads up to `size` bytes on from the present position; fewer only at the
  // end or when they can't be read.
  virtual std::size_t Read(void* to, std::size_t size) = 0;
  // Goes to a position between 0 and Size(); false for any other.
  virtual bool Seek(std::int64_t position) = 0;
  virtual std::int64_t Tell() const = 0;
  virtual std::int64_t Size() const = 0;
};

// Memory that isn't copied: it has to outlive the source.
std::unique_ptr<ByteSource> OpenMemory(const void* data, std::size_t size);

// Null if there is no such file.
std::unique_ptr<ByteSource> OpenFile(const char* name);

// `length` bytes of another source from `offset` on, as far as there are.
std::unique_ptr<ByteSource> OpenSlice(std::unique_ptr<ByteSource> whole, std::int64_t offset,
                                      std::int64_t length);

}  // namespace sound
