#include "sound/byte_source.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace sound {

namespace {

constexpr std::size_t kMostReadAtOnce = 1 << 30;

// What all sources share: a position within a known size.
class SizedSource : public ByteSource {
 public:
  explicit SizedSource(std::int64_t size) : size_(size) {}

  std::size_t Read(void* to, std::size_t size) override {
    const std::int64_t left = size_ - position_;
    if (static_cast<std::uint64_t>(left) < size) size = static_cast<std::size_t>(left);
    const std::size_t got = ReadHere(to, size);
    position_ += static_cast<std::int64_t>(got);
    return got;
  }
  bool Seek(std::int64_t position) override {
    if (position < 0 || position > size_) return false;
    position_ = position;
    return true;
  }
  std::int64_t Tell() const override { return position_; }
  std::int64_t Size() const override { return size_; }

 protected:
  // Reads at the present position, which isn't moved.
  virtual std::size_t ReadHere(void* to, std::size_t size) = 0;

 private:
  std::int64_t size_;
  std::int64_t position_ = 0;
};

class MemorySource final : public SizedSource {
 public:
  MemorySource(const void* data, std::size_t size)
      : SizedSource(static_cast<std::int64_t>(size)), data_(static_cast<const char*>(data)) {}

 private:
  std::size_t ReadHere(void* to, std::size_t size) override {
    if (size > 0) std::memcpy(to, data_ + Tell(), size);
    return size;
  }

  const char* data_;
};

// A descriptor, not a stream of the run time: a process that ends waits for the
// locks of its streams, and one whose read doesn't come back would keep its own.
class Descriptor {
 public:
  explicit Descriptor(const char* name) : fd_(_open(name, _O_RDONLY | _O_BINARY)) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) _close(fd_);
  }
  int get() const { return fd_; }

 private:
  int fd_;
};

class FileSource final : public SizedSource {
 public:
  FileSource(Descriptor file, std::int64_t size) : SizedSource(size), file_(std::move(file)) {}

 private:
  std::size_t ReadHere(void* to, std::size_t size) override {
    if (at_ != Tell() && _lseeki64(file_.get(), Tell(), SEEK_SET) < 0) return 0;
    const auto wanted = static_cast<unsigned>(std::min<std::size_t>(size, kMostReadAtOnce));
    const int got = std::max(_read(file_.get(), to, wanted), 0);
    at_ = Tell() + got;
    return static_cast<std::size_t>(got);
  }

  Descriptor file_;
  std::int64_t at_ = -1;  // of the file itself
};

class SliceSource final : public SizedSource {
 public:
  SliceSource(std::unique_ptr<ByteSource> whole, std::int64_t offset, std::int64_t size)
      : SizedSource(size), whole_(std::move(whole)), offset_(offset) {}

 private:
  std::size_t ReadHere(void* to, std::size_t size) override {
    return whole_->Seek(offset_ + Tell()) ? whole_->Read(to, size) : 0;
  }

  std::unique_ptr<ByteSource> whole_;
  std::int64_t offset_;
};

}  // namespace

std::unique_ptr<ByteSource> OpenMemory(const void* data, std::size_t size) {
  return std::make_unique<MemorySource>(data, size);
}

std::unique_ptr<ByteSource> OpenFile(const char* name) {
  Descriptor file(name);
  if (file.get() < 0) return nullptr;
  const std::int64_t size = _lseeki64(file.get(), 0, SEEK_END);
  if (size < 0) return nullptr;
  return std::make_unique<FileSource>(std::move(file), size);
}

std::unique_ptr<ByteSource> OpenSlice(std::unique_ptr<ByteSource> whole, std::int64_t offset,
                                      std::int64_t length) {
  const std::int64_t from = std::clamp<std::int64_t>(offset, 0, whole->Size());
  const std::int64_t size = std::clamp<std::int64_t>(length, 0, whole->Size() - from);
  return std::make_unique<SliceSource>(std::move(whole), from, size);
}

}  // namespace sound
