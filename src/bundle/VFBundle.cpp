// The reader of bundle files. The directory is taken in one read and walked in
// memory; every size and name in it is checked against what is there, since
// the file may be damaged.

#include "bundle/VFBundle.h"

#include "base/FindNoCase.h"
#include "base/LittleEndian.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr unsigned char kCategoryMark = 0x3F;  // "?"
constexpr int kTrailerSize = 4;
constexpr std::size_t kNumbersSize = 8;  // offset and size of a member

// An open descriptor, closed at the end of its scope.
class InputFile {
 public:
  InputFile(const char* path, int accessHint)
      : fd_(_open(path, _O_RDONLY | _O_BINARY | accessHint)) {}
  ~InputFile() {
    if (fd_ != -1) _close(fd_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  bool IsOpen() const { return fd_ != -1; }
  std::int64_t Seek(std::int64_t offset, int origin) const {
    return _lseeki64(fd_, offset, origin);
  }
  bool ReadExactly(unsigned char* to, std::uint32_t size) const {
    // One call returns at most INT_MAX bytes.
    constexpr std::uint32_t kMostAtOnce = 1u << 30;
    while (size > 0) {
      const std::uint32_t wanted = size < kMostAtOnce ? size : kMostAtOnce;
      const int got = _read(fd_, to, wanted);
      if (got <= 0) return false;
      to += got;
      size -= static_cast<std::uint32_t>(got);
    }
    return true;
  }

 private:
  int fd_;
};

// A directory as it stands in the file; no bytes if it can't be read.
struct Directory {
  std::unique_ptr<unsigned char[]> bytes;
  std::uint32_t offset = 0;
  std::uint32_t size = 0;  // at least 1
};

Directory ReadDirectory(const char* path) {
  const InputFile input(path, _O_RANDOM);
  if (!input.IsOpen()) return {};
  const std::int64_t end = input.Seek(-kTrailerSize, SEEK_END);
  unsigned char trailer[kTrailerSize];
  if (end < 0 || end > UINT32_MAX || !input.ReadExactly(trailer, kTrailerSize)) return {};
  const std::uint32_t offset = LittleEndian32(trailer);
  if (offset >= end) return {};
  const auto size = static_cast<std::uint32_t>(end - offset);
  std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[size]);
  if (!bytes || input.Seek(offset, SEEK_SET) != offset || !input.ReadExactly(bytes.get(), size))
    return {};
  return {std::move(bytes), offset, size};
}

}  // namespace

// Walks the directory's bytes, never past their end.
class VFBUNDLE::DirectoryReader {
 public:
  DirectoryReader(const unsigned char* bytes, std::size_t size) : at_(bytes), end_(bytes + size) {}

  bool AtEnd() const { return at_ == end_; }
  bool AtCategory() const { return *at_ == kCategoryMark; }
  void SkipMark() { ++at_; }
  bool ReadName(std::string& name) {
    const void* nul = std::memchr(at_, 0, Left());
    if (!nul) return false;
    const auto* stop = static_cast<const unsigned char*>(nul);
    name.assign(reinterpret_cast<const char*>(at_), static_cast<std::size_t>(stop - at_));
    at_ = stop + 1;
    return true;
  }
  bool ReadNumbers(std::uint32_t& offset, std::uint32_t& size) {
    if (Left() < kNumbersSize) return false;
    offset = LittleEndian32(at_);
    size = LittleEndian32(at_ + 4);
    at_ += kNumbersSize;
    return true;
  }

 private:
  std::size_t Left() const { return static_cast<std::size_t>(end_ - at_); }

  const unsigned char* at_;
  const unsigned char* end_;
};

// --- VFFILE ---

void VFFILE::FreeData() {
  delete[] data;
  data = nullptr;
}

// --- VFFILECAT ---

VFFILECAT::~VFFILECAT() { DeleteAll(files); }

VFFILE* VFFILECAT::FindFile(const char* fileName) {
  return FindIn(files, [fileName](const VFFILE& file) { return NamesMatch(file.name, fileName); });
}

unsigned char* VFFILECAT::ReadFile(VFFILE* file) {
  if (!file) return nullptr;
  if (file->data) return file->data;
  const InputFile input(bundlePath.c_str(), _O_SEQUENTIAL);
  if (!input.IsOpen()) return nullptr;
  // A damaged size must not become a huge allocation: the member has to lie
  // within the file.
  const std::int64_t length = input.Seek(0, SEEK_END);
  if (static_cast<std::int64_t>(file->offset) + file->size > length) return nullptr;
  if (input.Seek(file->offset, SEEK_SET) != file->offset) return nullptr;
  std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[file->size]);
  if (!bytes || !input.ReadExactly(bytes.get(), file->size)) return nullptr;
  return file->data = bytes.release();
}

unsigned char* VFFILECAT::ReadFile(const char* fileName) { return ReadFile(FindFile(fileName)); }

unsigned char* VFFILECAT::GetFileData(const char* fileName) {
  const VFFILE* file = FindFile(fileName);
  return file ? file->data : nullptr;
}

std::uint32_t VFFILECAT::GetFileSize(const char* fileName) {
  const VFFILE* file = FindFile(fileName);
  return file ? file->size : 0;
}

bool VFFILECAT::ReadAll() {
  return !FindIn(files, [this](VFFILE& file) { return !ReadFile(&file); });
}

void VFFILECAT::FreeAll() {
  ForEach(files, [](VFFILE* file) { file->FreeData(); });
}

// --- VFBUNDLE ---

VFBUNDLE::VFBUNDLE(const char* bundlePath) { Open(bundlePath); }

VFBUNDLE::~VFBUNDLE() { DeleteCategories(); }

// A directory of many small records may need more memory than there is.
bool VFBUNDLE::Open(const char* bundlePath) try {
  const std::string wanted = bundlePath ? bundlePath : "";  // it may be our own path
  if (fileCount != 0) Close();
  if (!bundlePath) return false;
  path = wanted;
  directoryOffset = kClosed;
  const Directory directory = ReadDirectory(path.c_str());
  if (!directory.bytes) return false;
  if (!TakeDirectory(directory.bytes.get(), directory.size)) {
    DeleteCategories();
    return false;
  }
  directoryOffset = directory.offset;
  return true;
} catch (const std::bad_alloc&) {
  DeleteCategories();
  directoryOffset = kClosed;
  return false;
}

// False if a record is damaged.
bool VFBUNDLE::TakeDirectory(const unsigned char* bytes, std::size_t size) {
  if (*bytes != kCategoryMark) return false;
  DirectoryReader reader(bytes, size);
  while (!reader.AtEnd())
    if (!(reader.AtCategory() ? TakeCategory(reader) : TakeMember(reader))) return false;
  return true;
}

bool VFBUNDLE::TakeCategory(DirectoryReader& reader) {
  auto category = std::make_unique<VFFILECAT>();
  category->bundlePath = path;
  reader.SkipMark();
  if (!reader.ReadName(category->name)) return false;
  categories.AddTail(category.get());
  category.release();
  categories.cursor = categories.tail;
  return true;
}

bool VFBUNDLE::TakeMember(DirectoryReader& reader) {
  auto file = std::make_unique<VFFILE>();
  if (!reader.ReadName(file->name) || !reader.ReadNumbers(file->offset, file->size)) return false;
  categories.Current()->files.AddTail(file.get());
  file.release();
  ++fileCount;
  return true;
}

void VFBUNDLE::DeleteCategories() {
  DeleteAll(categories);
  fileCount = 0;
}

void VFBUNDLE::Close() {
  DeleteCategories();
  directoryOffset = kClosed;
  path.clear();
}

bool VFBUNDLE::OpenAndReadAll(const char* bundlePath) { return Open(bundlePath) && ReadAll(); }

VFFILECAT* VFBUNDLE::FindCategory(const char* categoryName) {
  return FindIn(categories, [categoryName](const VFFILECAT& category) {
    return NamesMatch(category.name, categoryName);
  });
}

bool VFBUNDLE::ReadAll() {
  return !FindIn(categories, [](VFFILECAT& category) { return !category.ReadAll(); });
}

void VFBUNDLE::FreeAll() {
  ForEach(categories, [](VFFILECAT* category) { category->FreeAll(); });
}

VFFILECAT* VFBUNDLE::CategoryWith(const char* member) {
  return FindIn(categories, [member](VFFILECAT& category) { return category.FindFile(member); });
}

unsigned char* VFBUNDLE::ReadFile(const char* name) {
  VFFILECAT* category = CategoryWith(name);
  return category ? category->ReadFile(name) : nullptr;
}

unsigned char* VFBUNDLE::GetFileData(const char* name) {
  VFFILECAT* category = CategoryWith(name);
  return category ? category->GetFileData(name) : nullptr;
}

std::uint32_t VFBUNDLE::GetFileSize(const char* name) {
  VFFILECAT* category = CategoryWith(name);
  return category ? category->GetFileSize(name) : 0;
}

unsigned char* VFBUNDLE::ReadFile(const char* category, const char* name) {
  VFFILECAT* found = FindCategory(category);
  return found ? found->ReadFile(name) : nullptr;
}

unsigned char* VFBUNDLE::GetFileData(const char* category, const char* name) {
  VFFILECAT* found = FindCategory(category);
  return found ? found->GetFileData(name) : nullptr;
}

std::uint32_t VFBUNDLE::GetFileSize(const char* category, const char* name) {
  VFFILECAT* found = FindCategory(category);
  return found ? found->GetFileSize(name) : 0;
}

void VFBUNDLE::FreeFile(const char* category, const char* name) {
  VFFILECAT* found = FindCategory(category);
  VFFILE* file = found ? found->FindFile(name) : nullptr;
  if (file) file->FreeData();
}

const char* VFBUNDLE::GetPath() const { return path.empty() ? nullptr : path.c_str(); }
